#pragma once

#include <cstdint>
#include <optional>

#include "mox/foundation/record_set.h"

namespace mox {

// Invoices to private persons, delivered as e-invoices through the intermediary MojERacun. The application
// server prepares an invoice as JSON, the request sender posts it, and files of the application's folder
// carry both ways:
//   adsB2C_<document>.txt   the JSON
//   adsB2C_<document>.xml   the answer, a record set in its text form: a refusal has the fields
//                           `statusCode` and `message`, anything else `electronicId` and `statusId`

/// The company's account with the intermediaries: Boolean `EracunSendB2CBills`, text `EracunB2CUrl`, and the
/// Boolean `EracunPokusaji` of a server that remembers attempts to send (services ERacunPokusaj,
/// ERacunPokusajPocetak and ERacunPokusajKraj). None where the server gave none.
std::optional<RecordSet> eRacunGetLoginData();

/// Whether the invoice already has an e-invoice: the server refuses to link it once more.
bool eRacunIsDocumentSent(std::int64_t doc_id);

/// Sends an invoice and records the intermediary's answer with the transaction "InsertERacunB2C"; one that
/// has an e-invoice is left alone. Dialogs say what the intermediary refused. Blocks without a time limit,
/// while the user interface processes its messages.
///
/// Raises Abort, after a dialog, when the company may not send, the buyer is no private person, or the
/// request sender cannot be started; the files of an earlier attempt stay. Raises Error when the server
/// cannot be reached or has no such invoice, or a file cannot be written or read.
///
/// An answer is removed only when nothing in it can be lost: one that could not be recorded stays in its
/// file. With such a file the request sender does not post the invoice again, so that the next attempt
/// records it.
///
/// While nobody knows whether the intermediary has the invoice, the server remembers the attempt, or where it
/// keeps none a file does; the next one asks the intermediary, or the user, before it posts again.
void eRacunB2CSendBill(std::int64_t doc_id);

}  // namespace mox

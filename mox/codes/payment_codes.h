#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/app.h"
#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"
#include "mox/foundation/record_set.h"

namespace mox {

// Pictures of QR codes. The address that a code holds is composed here; the request sender draws it into a
// fixed file of the application's folder. The result is the path of that file, empty where the sender left no
// picture that can be read; a picture of an earlier receipt is never returned. Where the sender cannot be
// started, a message says so.
//
// The addresses of the two outside parties are settings of section "GENERAL", with the defaults
//   POREZNA_URL   https://porezna.gov.hr/   the tax administration's verification of receipts
//   KEKSPAY_URL   https://kekspay.hr/       payments through KEKS Pay

/// The address through which a buyer verifies a fiscal receipt, from its protective code, total and time of
/// issue.
///
/// The total is taken to eight significant digits and two decimals (from a million on it loses cents) and
/// written by `locale`; then every "." is removed, also where the locale's decimal separator is one. Raises
/// Overflow for a total that is not finite.
std::string ReceiptVerificationAddress(std::string_view zki, double amount, DateTime issued,
                                       const LocaleSettings& locale = CurrentLocale());

/// "QRCodeLastBill.bmp": the picture of that address.
std::string GenerateQRCode(std::string_view zki, double amount, DateTime issued);

/// "QRCodeLastBill.jpg": the address that opens the payment of a receipt. The amount is a text, whose decimal
/// comma becomes a point.
std::string KeksPayGenerateQRCode(std::string_view bill_number, std::string_view amount,
                                  std::string_view merchant_id, std::string_view terminal_id);

/// The payment-reference model used for travellers; empty where the server gave none.
std::string GetTipPozivaNaBrojPutnika();

/// The data of a payment slip, none where the server gave none.
std::optional<RecordSet> GetVirmanDataFromDatabase(std::int64_t virman_id, std::int64_t par_id,
                                                   std::int64_t doc_id, Currency iznos_racuna);

}  // namespace mox

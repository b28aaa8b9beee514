#pragma once

#include <string>

#include "mox/foundation/record_set.h"
#include "mox/foundation/secrets.h"
#include "sender/http_post.h"

namespace mox {

// The answer to a posted invoice as a record set of one record, all of its fields texts.

struct InvoiceAnswer {
  RecordSet records;
  /// Whether it is known what became of the invoice. An error of the intermediary's own server, or an answer
  /// that tells nothing of the invoice, may come after it was taken.
  bool certain = true;
};

/// The members of the intermediary's JSON. What neither has a `statusCode` and a `message` nor an integer as
/// `electronicId`, and every HTTP status but success, becomes a refusal. Secrets are blanked, whatever the
/// intermediary repeats.
InvoiceAnswer ReadInvoiceAnswer(const HttpAnswer& answer, const Secrets& secrets);

/// A refusal, with the fields `statusCode` and `message`.
RecordSet Refusal(std::string status_code, std::string message);

/// A refusal for an invoice that an earlier attempt may have delivered: the field `mozda_poslan` tells the
/// host, which may ask its user.
RecordSet MaybeSent();

/// The key of the account in an invoice; empty where there is none.
std::string AccountKey(const std::string& invoice);

/// What asks after an invoice: the account, the company's `oib`, and the document's `vrsta`, `broj` and
/// `godina`. Empty where the invoice does not say which document it is.
std::string InvoiceQuestion(const std::string& invoice);

}  // namespace mox

#pragma once

#include <string>

#include "mox/foundation/record_set.h"
#include "sender/http_post.h"

namespace mox {

// The answer to a posted invoice as a record set of one record, all of its fields texts.

/// The members of the intermediary's JSON. What neither has a `statusCode` and a `message` nor an integer as
/// `electronicId`, and every HTTP status but success, becomes a refusal.
RecordSet InvoiceAnswer(const HttpAnswer& answer);

/// A refusal, with the fields `statusCode` and `message`.
RecordSet Refusal(std::string status_code, std::string message);

/// Whether the intermediary has taken the invoice: an `electronicId` above 0, and no `statusId` of a failed
/// delivery.
bool IsAccepted(RecordSet& answer);

}  // namespace mox

#include "appserver/payment_reference.h"

#include "mox/codes/payment_slip.h"
#include "mox/foundation/record_set.h"

namespace mox {

std::string PaymentReferenceFault(Database& database, const std::string& reference) {
  constexpr const char* kLeastStrict = "HR02";
  const RecordSet slips = database.Query("virman", ParseColumns("model"),
                                         "SELECT model FROM virman WHERE model <> 'HR99' ORDER BY id");
  if (slips.IsEmpty()) return ReferenceFault(kLeastStrict, reference);
  std::string first;
  for (const RecordRow& slip : slips.Rows()) {
    std::string fault = ReferenceFault(slip.AsTextView(0), reference);
    if (fault.empty()) return fault;
    if (first.empty()) first = std::move(fault);
  }
  return first;
}

}  // namespace mox

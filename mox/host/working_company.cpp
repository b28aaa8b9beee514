#include "mox/host/working_company.h"

#include "mox/foundation/clock.h"
#include "mox/foundation/record_set.h"

namespace mox {

int WorkingCompany::WorkingYear() const {
  const RecordSet* const parameters = comunication_.CompanyParameters();
  const auto year = parameters == nullptr ? std::nullopt : parameters->FindField("RadnaGodina");
  if (year && !year->IsNull()) return static_cast<int>(year->AsInteger());
  return ToCivil(Today()).year;
}

}  // namespace mox

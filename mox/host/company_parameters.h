#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"
#include "mox/server/param_list.h"

namespace mox {

/// A communication module without a server, whose company parameters are set one by one. They are the fields
/// of one record in memory, in the order in which they were first set. An additional feature is a parameter
/// of its name: "AdditionalFeaturesData" is the one service that answers. Nothing can be stored.
class CompanyParameterModule : public TdmComunication {
 public:
  /// Sets a parameter from its text; a parameter that is set already takes the new value and its kind. The
  /// kind is inferred: "true" and "false" (in any letter case) are Booleans, "3" and "-3" integers, "7.5345"
  /// is a decimal number. Everything else is a text, also "007", "+3" and "1e3", which are identifiers rather
  /// than numbers. Pointers and fields from the record set of before are no longer good. Raises Error for an
  /// empty name.
  void Set(std::string_view name, std::string_view value);
  /// Sets a parameter from "NAME=VALUE"; blanks around the name do not count. Raises Error when there is no
  /// '='.
  void SetAssignment(std::string_view assignment);

  /// Null until a parameter is set.
  RecordSet* CompanyParameters() override { return names_.empty() ? nullptr : &record_set_; }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override;
  int WriteDataService(const TAstaParamList& request) override;

 private:
  void Rebuild();

  std::vector<std::string> names_;
  std::vector<Value> values_;
  RecordSet record_set_;
};

}  // namespace mox

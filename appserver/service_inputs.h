#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "appserver/company_data.h"
#include "mox/foundation/field.h"
#include "mox/foundation/record_set.h"
#include "mox/server/param_list.h"

namespace mox {

/// The inputs of one request, checked and in the kinds that the service declares, and what the service
/// derives from them for its SQL.
class ServiceInputs {
 public:
  /// `declared` is "skl_id:integer,datum:date"; a '?' after a name means that it may be missing, which is
  /// null. Raises Error naming an input that is missing, unknown or given twice, or that has another kind.
  /// The company must outlive the inputs.
  ServiceInputs(std::string_view declared, const TAstaParamList& request, const CompanyData& company);

  /// Whom the request is made to.
  const CompanyData& Company() const { return company_; }

  /// Raises Error for a name that is no input.
  const Value& operator[](std::string_view name) const;
  FieldKind KindOf(std::string_view name) const;
  template <typename T>
  const T& As(std::string_view name) const {
    return std::get<T>((*this)[name]);
  }
  bool IsNull(std::string_view name) const { return std::holds_alternative<std::monostate>((*this)[name]); }

  /// Another value for the SQL.
  void Derive(std::string_view name, FieldKind kind, Value value);

 private:
  struct Input {
    std::string name;
    FieldKind kind;
    Value value;
  };
  const Input& Find(std::string_view name) const;

  std::vector<Input> inputs_;
  const CompanyData& company_;
};

}  // namespace mox

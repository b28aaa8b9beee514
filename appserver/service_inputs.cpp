#include "appserver/service_inputs.h"

#include <algorithm>

#include "appserver/declared_inputs.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {}  // namespace

ServiceInputs::ServiceInputs(std::string_view declared, const TAstaParamList& request,
                             const CompanyData& company)
    : company_(company) {
  for (const DeclaredInput& input : ParseDeclaredInputs(declared)) {
    const TAstaParam* const given = request.FindParam(input.name);
    Value value;
    try {
      if (given != nullptr) value = ConvertTo(input.kind, given->AsVariant());
    } catch (const Error& error) {
      throw Error("input " + InQuotes(input.name) + ": " + error.what());
    }
    if (!input.may_be_left_out && std::holds_alternative<std::monostate>(value)) {
      throw Error("input " + InQuotes(input.name) + " is missing");
    }
    inputs_.push_back({input.name, input.kind, std::move(value)});
  }
  for (std::size_t i = 0; i < request.Count(); ++i) {
    const std::string& name = request[i].Name();
    Find(name);
    if (request.FindParam(name) != &request[i]) throw Error("input " + InQuotes(name) + " is given twice");
  }
}

const ServiceInputs::Input& ServiceInputs::Find(std::string_view name) const {
  const auto same = [name](const Input& input) { return SameName(input.name, name); };
  const auto found = std::find_if(inputs_.begin(), inputs_.end(), same);
  if (found == inputs_.end()) throw Error("there is no input " + InQuotes(name));
  return *found;
}

const Value& ServiceInputs::operator[](std::string_view name) const { return Find(name).value; }

FieldKind ServiceInputs::KindOf(std::string_view name) const { return Find(name).kind; }

void ServiceInputs::Derive(std::string_view name, FieldKind kind, Value value) {
  inputs_.push_back({std::string(name), kind, std::move(value)});
}

}  // namespace mox

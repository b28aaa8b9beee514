#include "mox/host/company_parameters.h"

#include <algorithm>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

bool AreDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// A minus sign or none, and digits that begin with 0 only where it is the only one.
bool IsWhole(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  return AreDigits(text) && (text.size() == 1 || text.front() != '0');
}

// A parameter without a value is null.
Value InferValue(std::string_view text) {
  if (text.empty()) return {};
  if (SameName(text, "true")) return true;
  if (SameName(text, "false")) return false;
  const std::size_t point = text.find('.');
  try {
    if (IsWhole(text)) return ParseInteger(text);
    if (point != std::string_view::npos && IsWhole(text.substr(0, point)) &&
        AreDigits(text.substr(point + 1))) {
      return ParseNumber(text);
    }
  } catch (const Overflow&) {
    // Too long for a number: an identifier made of digits.
  }
  return std::string(text);
}

FieldKind KindOf(const Value& value) {
  if (std::holds_alternative<bool>(value)) return FieldKind::kBoolean;
  if (std::holds_alternative<std::int64_t>(value)) return FieldKind::kInteger;
  if (std::holds_alternative<double>(value)) return FieldKind::kFloat;
  return FieldKind::kText;
}

}  // namespace

void CompanyParameterModule::Set(std::string_view name, std::string_view value) {
  if (name.empty()) throw Error("a company parameter has no name");
  const auto same = [name](const std::string& known) { return SameName(known, name); };
  const auto found = std::find_if(names_.begin(), names_.end(), same);
  const auto index = static_cast<std::size_t>(found - names_.begin());
  if (found == names_.end()) {
    names_.emplace_back(name);
    values_.emplace_back();
  }
  values_[index] = InferValue(value);
  Rebuild();
}

void CompanyParameterModule::SetAssignment(std::string_view assignment) {
  const std::size_t equals = assignment.find('=');
  if (equals == std::string_view::npos) {
    throw Error("\"" + std::string(assignment) + "\" is not of the form NAME=VALUE");
  }
  Set(TrimBlanks(assignment.substr(0, equals)), assignment.substr(equals + 1));
}

std::unique_ptr<TAstaParamList> CompanyParameterModule::ReportDataService(const TAstaParamList& request,
                                                                          std::string_view service) {
  if (service != "AdditionalFeaturesData" || names_.empty()) return nullptr;
  const auto feature = record_set_.FindField(request.ParamByName("Code").AsString());
  if (!feature) return nullptr;
  RecordSet answer("adsAddFeatures");
  answer.DefineField("Allow", FieldKind::kBoolean);
  answer.Open();
  answer.AppendRecord({feature->AsBoolean()});
  auto answers = std::make_unique<TAstaParamList>();
  answers->FastAdd("adsAddFeatures", std::move(answer));
  return answers;
}

int CompanyParameterModule::WriteDataService(const TAstaParamList& /*request*/) { return 0; }

void CompanyParameterModule::Rebuild() {
  RecordSet rebuilt("company_parameters");
  for (std::size_t i = 0; i < names_.size(); ++i) rebuilt.DefineField(names_[i], KindOf(values_[i]));
  rebuilt.Open();
  rebuilt.AppendRecord(values_);
  rebuilt.First();
  record_set_ = std::move(rebuilt);
}

}  // namespace mox

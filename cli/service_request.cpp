#include "cli/service_request.h"

#include <algorithm>

#include "cli/suggestions.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

std::string KindInCapitals(FieldKind kind) {
  std::string name(KindName(kind));
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c); });
  return name;
}

// " skl_id=INTEGER [val_ozn=TEXT]".
std::string Shown(const ServiceInfo& service, std::string_view value) {
  std::string shown;
  for (const ServiceInput& input : ParseInputs(service.inputs)) {
    const std::string word =
        input.name + "=" + (value.empty() ? KindInCapitals(input.kind) : std::string(value));
    shown += input.may_be_left_out ? " [" + word + "]" : " " + word;
  }
  return shown;
}

}  // namespace

Value InputValue(const FieldDef& input, const std::string& text) {
  if (input.kind == FieldKind::kText) {
    if (!IsValidUtf8(text)) throw UsageError(input.name + ": the text is not valid UTF-8");
    return text;
  }
  try {
    return ParsePlain(text, input.kind);
  } catch (const Error& error) {
    throw UsageError(input.name + ": " + error.what());
  }
}

CompanyServer& ServerOf(const Session& session) {
  if (session.server == nullptr) throw UsageError("--db is required: the company database");
  return *session.server;
}

void ListServices(std::span<const ServiceInfo> services, std::string_view value, std::string& out) {
  for (const ServiceInfo& service : services) {
    out += std::string(service.name) + Shown(service, value) + "\n    " + std::string(service.summary) + "\n";
  }
}

const ServiceInfo& FindService(std::string_view what, std::span<const ServiceInfo> services,
                               std::string_view name) {
  if (const ServiceInfo* const service = FindRow(services, name)) return *service;
  throw UsageError(ThereIsNo(what, name, NamesOf(services)));
}

std::vector<NamedValue> NamedValues(std::span<const std::string> words) {
  ValuesAndFiles split = SplitWords(words);
  if (split.paths.empty()) return std::move(split.values);
  throw UsageError("\"" + split.paths.front() + "\" is not of the form NAME=VALUE");
}

TAstaParamList RequestFor(const ServiceInfo& service, std::span<const std::string> words) {
  const std::vector<ServiceInput> inputs = ParseInputs(service.inputs);
  TAstaParamList request;
  for (const auto& [name, text] : NamedValues(words)) {
    const auto input = std::find_if(inputs.begin(), inputs.end(), [&name = name](const ServiceInput& known) {
      return SameName(known.name, name);
    });
    if (input == inputs.end()) {
      throw UsageError(std::string(service.name) + " has no input \"" + name + "\"");
    }
    if (request.FindParam(name) != nullptr) throw UsageError(name + " is given twice");
    request.FastAdd(input->name, InputValue(*input, text));
  }
  for (const ServiceInput& input : inputs) {
    if (input.may_be_left_out || request.FindParam(input.name) != nullptr) continue;
    throw UsageError(std::string(service.name) + ": " + input.name + "= is required");
  }
  return request;
}

void RequireStored(const CompanyServer& server, bool stored) {
  if (stored) return;
  const WriteOutcome& outcome = server.LastWrite();
  throw Error(outcome.failure ? outcome.failure->ToString() : "the server refused the transaction");
}

}  // namespace mox

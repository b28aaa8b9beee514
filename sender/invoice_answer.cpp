#include "sender/invoice_answer.h"

#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

using nlohmann::json;

constexpr int kDeepestMember = 32;
constexpr std::size_t kMostMembers = 1000;
constexpr std::size_t kExcerptLength = 300;

// What an answer is judged by.
constexpr std::string_view kJudged[] = {"electronicId", "statusId", "statusCode", "message"};

// A member's name as what it is judged by; none of one that is not.
std::string_view JudgedName(std::string_view name) {
  for (const std::string_view judged : kJudged) {
    if (SameName(judged, name)) return judged;
  }
  return {};
}

// Which of several members is meant, whose names differ in letter case only: the one with the very name.
bool IsMeant(const json& object, const std::string& name) {
  const std::string_view judged = JudgedName(name);
  return judged.empty() || judged == name || !object.contains(judged);
}

// Nobody can tell which one is meant where none has the very name.
bool IsAmbiguous(const json& object) {
  std::size_t meant[std::size(kJudged)] = {};
  for (const auto& [name, member] : object.items()) {
    for (std::size_t i = 0; i < std::size(kJudged); ++i) {
      if (SameName(kJudged[i], name) && IsMeant(object, name) && ++meant[i] > 1) return true;
    }
  }
  return false;
}

// The object that a text holds; none where it is no JSON, or no object of a reasonable size, or where it may
// be read in two ways.
std::optional<json> ObjectIn(const std::string& text) {
  bool refused = false;
  std::set<std::string> names;  // of those that it is judged by
  const auto look = [&](int depth, json::parse_event_t event, const json& parsed) {
    refused = refused || depth > kDeepestMember;
    if (event == json::parse_event_t::key && depth == 1) {
      const auto& name = parsed.get_ref<const std::string&>();
      refused = refused || (!JudgedName(name).empty() && !names.insert(name).second);
    }
    return !refused;
  };
  constexpr bool kExceptions = false;
  json object = json::parse(text, look, kExceptions);
  if (refused || !object.is_object() || object.size() > kMostMembers || IsAmbiguous(object)) {
    return std::nullopt;
  }
  return object;
}

Value TextOf(const json& member) {
  if (member.is_null()) return {};
  return member.is_string() ? member.get<std::string>() : member.dump();
}

std::int64_t IntegerOr(const RecordSet& records, std::string_view field, std::int64_t otherwise) {
  const auto found = records.FindField(field);
  if (!found || found->IsNull()) return otherwise;
  try {
    return ParseInteger(TrimBlanks(found->AsText()));
  } catch (const Error&) {
    return otherwise;
  }
}

// An integer under one of these names cannot be the key of an account.
bool IsNumberOfTheInvoice(std::string_view name, const Value& value) {
  if (!SameName(name, "electronicId") && !SameName(name, "statusId")) return false;
  const auto* const text = std::get_if<std::string>(&value);
  return text != nullptr && text->find_first_not_of("0123456789-") == std::string::npos;
}

RecordSet RecordOf(const json& object, const Secrets& secrets) {
  RecordSet records;
  std::vector<Value> values;
  for (const auto& [key, member] : object.items()) {
    const std::string name = secrets.Blanked(key);
    if (name.empty() || records.FindFieldIndex(name) || !IsMeant(object, key)) continue;
    records.DefineField(name, FieldKind::kText);
    Value value = TextOf(member);
    if (auto* const text = std::get_if<std::string>(&value); text && !IsNumberOfTheInvoice(name, value)) {
      *text = secrets.Blanked(*text);
    }
    values.push_back(std::move(value));
  }
  // Whoever takes an electronicId asks for it.
  if (records.FindFieldIndex("electronicId") && !records.FindFieldIndex("statusId"))
    records.DefineField("statusId", FieldKind::kText);
  records.Open();
  records.AppendRecord(values);
  return records;
}

std::string Excerpt(std::string_view text) {
  const std::string_view trimmed = TrimBlanks(text);
  const std::string_view cut = CutToCharacters(trimmed, kExcerptLength);
  return std::string(cut) + (cut.size() < trimmed.size() ? "..." : "");
}

bool IsSuccess(long status) { return status >= 200 && status < 300; }

}  // namespace

RecordSet Refusal(std::string status_code, std::string message) {
  RecordSet records;
  records.DefineField("statusCode", FieldKind::kText);
  records.DefineField("message", FieldKind::kText);
  records.Open();
  records.AppendRecord({std::move(status_code), std::move(message)});
  return records;
}

InvoiceAnswer ReadInvoiceAnswer(const HttpAnswer& answer, const Secrets& secrets) {
  const std::string status = std::to_string(answer.status);
  constexpr long kServerErrors = 500;
  const bool refused = !IsSuccess(answer.status) && answer.status < kServerErrors;
  const std::string body = secrets.Blanked(answer.body);
  const std::optional<json> object = ObjectIn(answer.body);
  if (!object) {
    const char* const what =
        IsSuccess(answer.status) ? "Odgovor posrednika nije čitljiv: " : "Greška posrednika: ";
    return {Refusal(status, what + Excerpt(body)), refused};
  }
  RecordSet records = RecordOf(*object, secrets);
  const auto status_code = records.FindField("statusCode");
  const auto message = records.FindField("message");
  if (status_code && message) return {std::move(records)};
  constexpr std::int64_t kNone = INT64_MIN;
  const bool has_id = IntegerOr(records, "electronicId", kNone) != kNone;
  if (IsSuccess(answer.status) && !status_code && has_id) return {std::move(records)};
  return {Refusal(status_code ? status_code->AsText() : status, message ? message->AsText() : Excerpt(body)),
          refused || status_code.has_value()};
}

RecordSet MaybeSent() {
  RecordSet records;
  for (const char* const name : {"statusCode", "message", "mozda_poslan"}) {
    records.DefineField(name, FieldKind::kText);
  }
  records.Open();
  records.AppendRecord({"0", "Račun je možda već poslan, odgovor na raniji pokušaj nije stigao", "1"});
  return records;
}

std::string AccountKey(const std::string& invoice) {
  const std::optional<json> object = ObjectIn(invoice);
  const json key = object ? object->value(json::json_pointer("/prijava/kljuc"), json()) : json();
  return key.is_string() ? key.get<std::string>() : std::string();
}

std::string InvoiceQuestion(const std::string& invoice) {
  const std::optional<json> object = ObjectIn(invoice);
  if (!object) return {};
  json question = json::object();
  for (const char* const member :
       {"/prijava", "/poduzece/oib", "/dokument/vrsta", "/dokument/broj", "/dokument/godina"}) {
    const json::json_pointer path(member);
    if (!object->contains(path)) return {};
    question[path] = object->at(path);
  }
  return question.dump();
}

}  // namespace mox

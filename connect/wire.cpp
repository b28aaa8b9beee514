#include "connect/wire.h"

#include "mox/foundation/text.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

RecordSet OthersOf(const WriteFailure& failure) {
  RecordSet others("others");
  others.DefineField("row", FieldKind::kInteger);
  others.DefineField("field", FieldKind::kText);
  others.DefineField("message", FieldKind::kText);
  others.Open();
  for (const RefusedCell& cell : failure.others) {
    others.AppendRecord({static_cast<std::int64_t>(cell.row), cell.field, cell.message});
  }
  return others;
}

WriteFailure ReadFailure(TAstaParamList& list, std::string transaction) {
  WriteFailure failure;
  failure.transaction = std::move(transaction);
  failure.record_set = list.ParamByName("record_set").AsString();
  failure.row = static_cast<std::size_t>(list.ParamByName("row").AsInteger());
  failure.field = list.ParamByName("field").AsString();
  failure.message = list.ParamByName("message").AsString();
  const RecordSet& others = list.ParamByName("others").AsDataSet();
  for (const RecordRow& row : others.Rows()) {
    failure.others.push_back({static_cast<std::size_t>(row.AsInteger(row.IndexOf("row"))),
                              row.AsText(row.IndexOf("field")), row.AsText(row.IndexOf("message"))});
  }
  return failure;
}

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string OutcomeText(const WriteOutcome& outcome) {
  TAstaParamList list;
  list.FastAdd("committed", outcome.committed);
  list.FastAdd("transaction", Value(outcome.failure ? outcome.failure->transaction : outcome.transaction));
  if (outcome.stored) {
    RecordSet stored;
    stored.CleanClone(*outcome.stored);
    stored.SetName(outcome.stored->Name());
    list.FastAdd("stored", std::move(stored));
  }
  if (outcome.failure) {
    const WriteFailure& failure = *outcome.failure;
    list.FastAdd("record_set", Value(failure.record_set));
    list.FastAdd("row", failure.row);
    list.FastAdd("field", Value(failure.field));
    list.FastAdd("message", Value(failure.message));
    list.FastAdd("others", OthersOf(failure));
  }
  return list.AsTokenizedString(false);
}

WriteOutcome ReadOutcome(std::string_view text) {
  TAstaParamList list = TAstaParamList::FromTokenizedString(text);
  WriteOutcome outcome;
  outcome.committed = list.ParamByName("committed").AsBoolean();
  std::string transaction = list.ParamByName("transaction").AsString();
  if (!outcome.committed) {
    outcome.failure = ReadFailure(list, std::move(transaction));
    return outcome;
  }
  outcome.transaction = std::move(transaction);
  if (TAstaParam* const stored = list.FindParam("stored")) outcome.stored = std::move(stored->AsDataSet());
  return outcome;
}

std::string EncodedPart(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || c == '.' || c == '~';
    if (plain) {
      encoded += c;
    } else {
      encoded.append({'%', kDigits[byte >> 4U], kDigits[byte & 15U]});
    }
  }
  return encoded;
}

std::optional<std::string> DecodedPart(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '%') {
      if (i + 2 >= text.size()) return std::nullopt;
      const int high = DigitOf(text[i + 1]);
      const int low = DigitOf(text[i + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      c = static_cast<char>(high * 16 + low);
      i += 2;
    }
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') return std::nullopt;
    decoded += c;
  }
  if (!IsValidUtf8(decoded)) return std::nullopt;
  return decoded;
}

}  // namespace mox

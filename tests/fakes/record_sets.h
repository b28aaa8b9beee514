#pragma once

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/vocabulary.h"
#include "mox/server/param_list.h"
#include "mox/server/transactions.h"

namespace mox {

/// What stands between separators, also where that is nothing.
inline std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text + separator);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

/// An open set of fields "id:integer,naziv"; those without a kind are texts.
inline RecordSet EmptySet(std::string name, const std::string& fields) {
  RecordSet set(std::move(name));
  for (const std::string& field : Split(fields, ',')) {
    const std::size_t colon = std::min(field.find(':'), field.size());
    FieldKind kind = FieldKind::kText;
    if (colon < field.size() && !KindFromName(field.substr(colon + 1), kind))
      throw Error(field + ": no kind");
    set.DefineField(field.substr(0, colon), kind);
  }
  set.Open();
  return set;
}

inline RecordSet OneRecord(std::string name, const std::string& fields, std::initializer_list<Value> values) {
  RecordSet set = EmptySet(std::move(name), fields);
  set.AppendRecord(values);
  return set;
}

/// A line of numbers, by the names of their fields.
inline void EnterLine(RecordSet& lines, std::initializer_list<std::pair<const char*, double>> numbers) {
  lines.Append();
  for (const auto& [field, number] : numbers) lines.FieldByName(field).SetFloat(number);
  lines.Post();
}

/// So many lines; each number that is entered in a field of the vocabulary is what `value_of` says of that.
template <typename ValueOf>
void EnterLines(RecordSet& lines, std::int64_t count, const ValueOf& value_of) {
  for (std::int64_t line = 0; line < count; ++line) {
    lines.Append();
    for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
      const FieldDef& field = lines.Definition(i);
      const VocabularyEntry* const entry = FindVocabularyEntry(field.name);
      if (entry != nullptr && !field.calculated) lines.SetFloat(i, value_of(*entry));
    }
    lines.Post();
  }
}

/// A record "a|1|~", in which ~ is null.
inline void AppendTo(RecordSet& set, const std::string& record) {
  std::vector<Value> values;
  for (const std::string& value : Split(record, '|')) values.push_back(value == "~" ? Value() : Value(value));
  set.AppendRecord(values);
}

/// A set of such records, with semicolons between them; none of an empty text.
inline RecordSet SetOf(const std::string& fields, const std::string& records) {
  RecordSet set = EmptySet("rows", fields);
  if (records.empty()) return set;
  for (const std::string& record : Split(records, ';')) AppendTo(set, record);
  set.First();
  return set;
}

/// The visible records of a set as that text.
inline std::string TextOf(const RecordSet& set) {
  std::string text;
  for (const RecordRow& row : set.Rows()) {
    text += text.empty() ? "" : ";";
    for (std::size_t i = 0; i < row.FieldCount(); ++i) {
      text += (i > 0 ? "|" : "") + (row.IsNull(i) ? "~" : row.AsText(i));
    }
  }
  return text;
}

/// The answer of a service that is one record set.
inline std::unique_ptr<TAstaParamList> AnswerOf(std::string name, RecordSet records) {
  auto answer = std::make_unique<TAstaParamList>();
  answer->FastAdd(std::move(name), std::move(records));
  return answer;
}

inline TAstaParamList RequestOf(std::string_view transaction, std::initializer_list<const RecordSet*> sets) {
  return WriteRequest(transaction, std::span(sets.begin(), sets.size()));
}

}  // namespace mox

#include "tests/calculations/line_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <sstream>

namespace mox {
namespace {

struct Assignment {
  std::string name;
  std::string value;
  bool operator==(const Assignment&) const = default;
};

struct Row {
  std::string text;
  std::vector<std::string> arguments;
  std::vector<Assignment> settings;
  std::vector<Assignment> given;
  std::vector<Assignment> expected;
  std::string error;
  bool may_change_more = false;
};

Assignment ParseAssignment(const std::string& word) {
  const std::size_t equals = word.find('=');
  return equals == std::string::npos ? Assignment{word, ""}
                                     : Assignment{word.substr(0, equals), word.substr(equals + 1)};
}

Row ParseRow(const std::string& text) {
  Row row;
  row.text = text;
  const std::size_t error = text.find(" ! ");
  if (error != std::string::npos) row.error = text.substr(error + 3);
  std::string body = text.substr(0, error);
  if (body.front() == '(') {
    const std::size_t end = body.find(')');
    std::istringstream arguments(body.substr(1, end - 1));
    for (std::string argument; std::getline(arguments >> std::ws, argument, ',');) {
      row.arguments.push_back(argument);
    }
    body.erase(0, end + 1);
  }
  std::istringstream words(body);
  bool left = true;
  for (std::string word; words >> word;) {
    if (word == "->") {
      left = false;
    } else if (word == "...") {
      row.may_change_more = true;
    } else if (std::isupper(static_cast<unsigned char>(word.front())) != 0) {
      row.settings.push_back(ParseAssignment(word));
    } else {
      (left ? row.given : row.expected).push_back(ParseAssignment(word));
    }
  }
  EXPECT_FALSE(left) << "no arrow in: " << text;
  return row;
}

bool Names(const std::vector<Assignment>& assignments, std::string_view name) {
  return std::any_of(assignments.begin(), assignments.end(), [&](const auto& a) { return a.name == name; });
}

std::string Join(const std::vector<Assignment>& assignments) {
  std::string text;
  for (const Assignment& a : assignments) text += (text.empty() ? "" : " ") + a.name + "=" + a.value;
  return text;
}

Value ParseValue(FieldKind kind, const std::string& text) {
  switch (kind) {
    case FieldKind::kCurrency:
      return Currency::Parse(text);
    case FieldKind::kFloat:
      return std::stod(text);
    case FieldKind::kInteger:
      return std::int64_t{std::stoll(text)};
    default:
      return text;
  }
}

// A line with every field of the vocabulary, but those that the row declares absent and the one to leave out.
RecordSet MakeLine(const Row& row, std::string_view left_out) {
  RecordSet line("line");
  for (const VocabularyEntry& entry : kVocabulary) {
    const std::string name(entry.name);
    if (name == left_out || std::count(row.given.begin(), row.given.end(), Assignment{name, "absent"}) > 0) {
      continue;
    }
    FieldDef def;
    def.name = name;
    def.kind = entry.kind;
    def.calculated = row.may_change_more || Names(row.expected, name);
    line.DefineField(def);
  }
  line.Open();
  line.Append();
  for (const Assignment& a : row.given) {
    if (a.name == left_out || a.value == "absent") continue;
    Field field = line.FieldByName(a.name);
    field.SetVariant(ParseValue(field.Kind(), a.value));
  }
  line.Post();
  return line;
}

struct Outcome {
  std::string values;  // of the fields that the row expects, and of others that changed all the same
  std::string error;
};

Outcome Run(const LineFunction& function, const Row& row, Way way, std::string_view left_out = {}) {
  TestHost host;
  for (const Assignment& a : row.settings) host.settings.WriteString("GENERAL", a.name, a.value);
  RecordSet line = MakeLine(row, left_out);
  std::vector<Value> before;
  for (std::size_t i = 0; i < line.FieldCount(); ++i) before.push_back(line.AsVariant(i));

  Outcome outcome;
  try {
    if (way == Way::kCalcFields) {
      line.SetOnCalcFields([&](RecordSet& lines) { function(lines, row.arguments); });
      line.Refresh();
    } else {
      if (way == Way::kEdit) line.Edit();
      function(line, row.arguments);
    }
  } catch (const Error& error) {
    outcome.error = error.what();
  }
  const auto state = way == Way::kCalcFields ? DataSetState::kBrowse : DataSetState::kEdit;
  EXPECT_EQ(line.State(), state) << function.Name();

  std::vector<Assignment> values;
  for (const Assignment& a : row.expected) {
    if (a.name != left_out) values.push_back({a.name, Show(line.FieldByName(a.name).AsVariant())});
  }
  for (std::size_t i = 0; i < line.FieldCount() && !row.may_change_more; ++i) {
    const std::string& name = line.FieldAt(i).Name();
    if (!Names(row.expected, name) && line.AsVariant(i) != before[i]) {
      values.push_back({name, Show(line.AsVariant(i))});
    }
  }
  outcome.values = Join(values);
  return outcome;
}

void ExpectRow(const LineFunction& function, const Row& row, Way way) {
  std::vector<Assignment> expected = row.expected;
  for (Assignment& a : expected) {
    const auto id = FindInVocabulary(a.name);
    ASSERT_TRUE(id) << a.name;
    a.value = Show(ParseValue(kVocabulary[static_cast<std::size_t>(*id)].kind, a.value));
  }
  const Outcome outcome = Run(function, row, way);
  const char* where = way == Way::kCalcFields ? " in the event: " : ": ";
  EXPECT_EQ(outcome.values, Join(expected)) << function.Name() << where << row.text;
  EXPECT_EQ(outcome.error, row.error) << function.Name() << where << row.text;
}

void ExpectEveryFieldNeeded(const LineFunction& function, const Row& row) {
  std::vector<Assignment> named = row.given;
  named.insert(named.end(), row.expected.begin(), row.expected.end());
  for (const Assignment& a : named) {
    EXPECT_EQ(Run(function, row, Way::kEdit, a.name).error, "line: field \"" + a.name + "\" not found")
        << function.Name() << ": " << row.text;
  }
}

}  // namespace

int TestHost::ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                              std::string_view message) {
  std::ostringstream text;
  text << static_cast<int>(kind) << '|' << caption << '|' << heading << '|' << message;
  dialogs.push_back(text.str());
  return 0;
}

void ExpectRows(const std::vector<LineFunction>& functions, const std::vector<std::string>& rows) {
  for (const LineFunction& function : functions) {
    for (const std::string& row : rows) {
      ExpectRow(function, ParseRow(row), Way::kEdit);
      ExpectRow(function, ParseRow(row), Way::kCalcFields);
    }
    ExpectEveryFieldNeeded(function, ParseRow(rows.front()));
  }
}

void ExpectRowsIn(Way way, const LineFunction& function, const std::vector<std::string>& rows) {
  for (const std::string& row : rows) ExpectRow(function, ParseRow(row), way);
}

RecordSet Records(std::string_view text) {
  std::vector<std::vector<Assignment>> records(1);
  RecordSet set("lines");
  std::vector<std::string> names;
  std::istringstream words{std::string(text)};
  for (std::string word; words >> word;) {
    const bool last = word.back() == ';';
    if (last) word.pop_back();
    const Assignment a = ParseAssignment(word);
    if (std::find(names.begin(), names.end(), a.name) == names.end()) {
      names.push_back(a.name);
      const auto id = FindInVocabulary(a.name);
      set.DefineField(a.name, id ? kVocabulary[static_cast<std::size_t>(*id)].kind : FieldKind::kText);
    }
    if (word != a.name) records.back().push_back(a);
    if (last) records.emplace_back();
  }
  set.Open();
  for (const auto& record : records) {
    if (record.empty()) continue;
    set.Append();
    for (const Assignment& a : record) {
      Field field = set.FieldByName(a.name);
      field.SetVariant(ParseValue(field.Kind(), a.value));
    }
    set.Post();
  }
  return set;
}

std::string Show(const Value& value) {
  if (std::holds_alternative<std::monostate>(value)) return "null";
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* amount = std::get_if<Currency>(&value)) return amount->ToString();
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return std::to_string(*integer);
  std::array<char, 40> number{};
  std::snprintf(number.data(), number.size(), "%.12g", std::get<double>(value));
  return number.data();
}

std::string Show(RecordSet& records) {
  std::string text;
  for (records.First(); !records.Eof(); records.Next()) {
    if (!text.empty()) text += "; ";
    for (std::size_t i = 0; i < records.FieldCount(); ++i) {
      text += (i == 0 ? "" : " ") + Show(records.AsVariant(i));
    }
  }
  return text;
}

}  // namespace mox

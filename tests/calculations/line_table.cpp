#include "tests/calculations/line_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <map>
#include <sstream>

#include "mox/foundation/files.h"
#include "tests/fakes/error_of.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

// Names and their values, as texts.
using Values = std::map<std::string, std::string, std::less<>>;

struct Row {
  std::string text;
  std::vector<std::string> arguments;
  Values settings;
  Values given;
  Values expected;
  std::string error;
  bool may_change_more = false;
};

Values::value_type ParseAssignment(const std::string& word) {
  const std::size_t equals = std::min(word.find('='), word.size());
  return {word.substr(0, equals), word.substr(std::min(equals + 1, word.size()))};
}

Row ParseRow(const std::string& text) {
  Row row;
  row.text = text;
  const std::size_t error = text.find(" ! ");
  if (error != std::string::npos) row.error = text.substr(error + 3);
  std::istringstream words(text.substr(0, error));
  if (text.front() == '(') {
    std::string arguments;
    std::getline(words.ignore(), arguments, ')');
    std::istringstream list(arguments);
    for (std::string argument; std::getline(list, argument, ',');) row.arguments.push_back(argument);
  }
  Values* side = &row.given;
  for (std::string word; words >> word;) {
    if (word == "->") {
      side = &row.expected;
    } else if (word == "...") {
      row.may_change_more = true;
    } else {
      const bool is_setting = std::isupper(static_cast<unsigned char>(word.front())) != 0;
      (is_setting ? row.settings : *side).insert(ParseAssignment(word));
    }
  }
  EXPECT_EQ(side, &row.expected) << "no arrow in: " << text;
  return row;
}

std::vector<Row> ParseTable(const std::string& table) {
  const std::vector<std::string> texts = RowsOf(table);
  std::vector<Row> rows(texts.size());
  std::transform(texts.begin(), texts.end(), rows.begin(), ParseRow);
  return rows;
}

FieldKind UsualKind(std::string_view name) {
  const auto id = FindInVocabulary(name);
  return id ? kVocabulary[static_cast<std::size_t>(*id)].kind : FieldKind::kText;
}

Value ParseValue(std::string_view name, const std::string& text) {
  switch (UsualKind(name)) {
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

void SetFields(RecordSet& set, const Values& values) {
  for (const auto& [name, text] : values) set.FieldByName(name).SetVariant(ParseValue(name, text));
}

// A line with every field of the vocabulary but those that are absent.
RecordSet MakeLine(const Row& row, Way way, std::string_view left_out) {
  RecordSet line("line");
  Values given = row.given;
  for (const auto& [name, kind, measure] : kVocabulary) {
    const auto value = given.find(name);
    if (name == left_out || (value != given.end() && value->second == "absent")) {
      if (value != given.end()) given.erase(value);
      continue;
    }
    FieldDef def;
    def.name = name;
    def.kind = way == Way::kOtherKind && name == "kolicina" ? FieldKind::kCurrency : kind;
    def.calculated = row.may_change_more || row.expected.contains(name);
    line.DefineField(def);
  }
  line.Open();
  line.Append();
  SetFields(line, given);
  line.Post();
  return line;
}

struct Outcome {
  Values values;  // of the fields that the row expects, and of others that changed all the same
  std::string error;
};

Outcome Run(const LineFunction& function, const Row& row, Way way, std::string_view left_out = {}) {
  TestHost host;
  for (const auto& [key, value] : row.settings) host.settings.WriteString("GENERAL", key, value);
  RecordSet line = MakeLine(row, way, left_out);
  RecordSet before;
  before.CleanClone(line);
  before.First();

  Outcome outcome;
  outcome.error = ErrorOf([&] {
    if (way == Way::kCalcFields) {
      line.SetOnCalcFields([&](RecordSet& lines) { function(lines, row.arguments); });
      return line.Refresh();
    }
    if (way != Way::kBrowse) line.Edit();
    function(line, row.arguments);
  });
  EXPECT_EQ(line.State(), way == Way::kCalcFields ? DataSetState::kBrowse : DataSetState::kEdit);

  for (std::size_t i = 0; i < line.FieldCount(); ++i) {
    const std::string& name = line.FieldAt(i).Name();
    const bool changed = !row.may_change_more && line.AsVariant(i) != before.AsVariant(i);
    if (row.expected.contains(name) || changed) outcome.values[name] = Show(line.AsVariant(i));
  }
  return outcome;
}

void ExpectRow(const LineFunction& function, const Row& row, Way way) {
  Values expected = row.expected;
  for (auto& [name, text] : expected) text = Show(ParseValue(name, text));
  const Outcome outcome = Run(function, row, way);
  const char* ways[] = {": ", " with another kind: ", " in the event: ", ": "};
  const std::string where = function.Name() + std::string(ways[static_cast<int>(way)]) + row.text;
  EXPECT_EQ(outcome.values, expected) << where;
  EXPECT_EQ(outcome.error, row.error) << where;
}

void ExpectEveryFieldNeeded(const LineFunction& function, const Row& row) {
  Values named = row.given;
  named.insert(row.expected.begin(), row.expected.end());
  for (const auto& [name, text] : named) {
    EXPECT_EQ(Run(function, row, Way::kEdit, name).error, "line: field \"" + name + "\" not found")
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

std::vector<Section> ReadSections(const std::vector<std::string>& files) {
  std::vector<Section> sections;
  for (const std::string& file : files) {
    std::istringstream in(ReadWholeFile(SourceDir() + "/tests/calculations/cases/" + file + ".txt"));
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with("= ")) {
        sections.push_back({file, line.substr(2), {}});
      } else if (!sections.empty() && sections.back().file == file) {
        sections.back().rows += line + "\n";
      }
    }
  }
  return sections;
}

std::string NameOfSection(const testing::TestParamInfo<Section>& info) {
  std::string title = info.param.title.substr(0, info.param.title.find_first_of(":, "));
  std::erase_if(title, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_'; });
  return title + "_" + std::to_string(info.index);
}

std::vector<std::string> RowsOf(const std::string& table) {
  std::vector<std::string> rows;
  std::istringstream lines(table);
  for (std::string line; std::getline(lines >> std::ws, line);) {
    if (line.front() == '#') continue;
    const bool goes_on =
        line.starts_with("->") || (!rows.empty() && rows.back().find("->") == std::string::npos);
    if (!goes_on) rows.emplace_back();
    rows.back() += (goes_on ? " " : "") + line;
  }
  return rows;
}

void ExpectRowsIn(Way way, const LineFunction& function, const std::string& table) {
  for (const Row& row : ParseTable(table)) ExpectRow(function, row, way);
}

void ExpectRows(const std::vector<LineFunction>& functions, const std::string& table) {
  for (const LineFunction& function : functions) {
    for (const Way way : {Way::kEdit, Way::kOtherKind, Way::kCalcFields}) ExpectRowsIn(way, function, table);
    ExpectEveryFieldNeeded(function, ParseTable(table).front());
  }
}

std::string With(std::string table, std::string_view placeholder, std::string_view name) {
  for (std::size_t at = 0; (at = table.find(placeholder, at)) != std::string::npos;) {
    table.replace(at, placeholder.size(), name);
  }
  return table;
}

RecordSet Records(std::string_view text) {
  RecordSet set("lines");
  std::vector<Values> records(1);
  std::istringstream words{std::string(text)};
  for (std::string word; words >> word;) {
    const bool is_last = word.back() == ';';
    if (is_last) word.pop_back();
    const auto value = ParseAssignment(word);
    if (!set.FindFieldIndex(value.first)) set.DefineField(value.first, UsualKind(value.first));
    if (value.first != word) records.back().insert(value);
    if (is_last) records.emplace_back();
  }
  set.Open();
  for (const Values& record : records) {
    if (record.empty()) continue;
    set.Append();
    SetFields(set, record);
    set.Post();
  }
  set.First();
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

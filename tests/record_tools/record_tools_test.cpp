#include "mox/record_tools/record_tools.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// "-" stands for no records.
RecordSet Parse(const std::string& fields, const std::string& rows) {
  return SetOf(fields, rows == "-" ? "" : rows);
}
std::string Show(const RecordSet& records) { return records.IsEmpty() ? "-" : TextOf(records); }

std::vector<std::string_view> Views(const std::vector<std::string>& names) {
  std::vector<std::string_view> views;
  for (const std::string& name : names) {
    if (!name.empty()) views.emplace_back(name);
  }
  return views;
}

// What a function made of the set, whose current record must still be the one before: its second.
std::string AfterWriting(RecordSet& records, const std::function<std::string()>& write) {
  records.First();
  records.Next();
  const std::string before = records.IsEmpty() ? "" : records.AsText(0);
  const std::size_t count = records.RecordCount();
  const std::string said = write();
  EXPECT_TRUE(records.RecordCount() != count || records.AsText(0) == before);
  EXPECT_FALSE(records.ControlsDisabled());
  return said + Show(records);
}

// FIELDS ROWS KEYS SUMS
std::string Grouped(const Words& row) {
  RecordSet records = Parse(row[0], row[1]);
  records.Edit();  // pending, and still so afterwards
  records.SetNull(0);
  RecordSet grouped = GroupRecords(records, Views(Split(row[2], ',')), Views(Split(row[3], ',')), "broj");
  EXPECT_EQ(records.State(), DataSetState::kEdit);
  EXPECT_EQ(grouped.Position(), 0U);
  return Show(grouped);
}

// FIELDS ROWS FIELD
std::string Summed(const Words& row) {
  RecordSet sum("sum");
  const RecordSet records = Parse(row[0], row[1]);
  sum.DefineField("sum", records.Definition(*records.FindFieldIndex(row[2])).kind);
  sum.Open();
  sum.AppendRecord({SumField(records, row[2])});
  return sum.AsText(0);
}

// FIELDS ROWS FIELDS ROWS KEYS [FILTER]; with one on k, how many records it shows then
std::string Synchronised(const Words& row) {
  RecordSet records = Parse(row[0], row[1]);
  const RecordSet other = Parse(row[2], row[3]);
  const std::string before = records.SaveToString();
  if (row.size() > 5) records.SetFilter("k like '" + row[5] + "'");
  records.SetFiltered(row.size() > 5);
  try {
    return AfterWriting(records, [&] {
      const auto [inserted, changed, removed] = SynchroniseRecords(records, other, Views(Split(row[4], ',')));
      std::string shows;
      if (records.IsFiltered()) {
        shows = "(" + std::to_string(records.RecordCount()) + ") ";
        records.SetFiltered(false);
      }
      return "+" + std::to_string(inserted) + " *" + std::to_string(changed) + " -" +
             std::to_string(removed) + " " + shows;
    });
  } catch (const Error&) {
    EXPECT_EQ(records.SaveToString(), before);
    throw;
  }
}

// FIELDS ROWS FILTER FIELD [FIRST]; the filter is on k
std::string Renumbered(const Words& row) {
  RecordSet records = Parse(row[0], row[1]);
  if (!row[2].empty()) records.SetFilter("k like '" + row[2] + "'");
  records.SetFiltered(!row[2].empty());
  return AfterWriting(records, [&] {
    if (row.size() == 4) {
      RenumberField(records, row[3]);
    } else {
      RenumberField(records, row[3], std::stoi(row[4]));
    }
    records.SetFiltered(false);
    return std::string();
  });
}

// FIELDS ROWS FIELD=VALUE...
std::string WithDefaults(const Words& row) {
  RecordSet records = Parse(row[0], row[1]);
  std::vector<std::vector<std::string>> words;
  for (std::size_t i = 2; i < row.size(); ++i) words.push_back(Split(row[i], '='));
  std::vector<std::pair<std::string_view, Value>> defaults;
  for (const auto& word : words) defaults.emplace_back(word.at(0), word.at(1));
  return AfterWriting(records, [&] {
    FillDefaults(records, defaults);
    return std::string();
  });
}

TEST(RecordTools, AnswersTables) {
  ExpectTables(
      "record_tools",
      {{"group", Grouped},
       {"sum", Summed},
       {"synchronise", Synchronised},
       {"renumber", Renumbered},
       {"defaults", WithDefaults},
       {"next number",
        [](const Words& row) { return std::to_string(NextNumber(Parse("k:integer", row[0]), "K")); }},
       {"next code", [](const Words& row) { return NextCode(row[0]); }},
       {"next code in", [](const Words& row) { return NextCodeIn(Parse("k:text", row[0]), "k"); }}},
      "record_tools");
}

// However two sets differ, one is in step with the other afterwards, and then nothing is left to change.
TEST(RecordTools, SynchronisesRandomSets) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    const auto make = [&] {
      RecordSet records = Parse("k:integer,v:currency,t:text", "-");
      for (int key = 0; key < 12; ++key) {
        if (random() % 2 == 0) continue;
        const Value text = random() % 3 == 0 ? Value() : Value(std::string(random() % 3, 'x'));
        records.AppendRecord({std::int64_t{key}, Currency::FromScaled(random() % 3), text});
      }
      return records;
    };
    RecordSet records = make();
    RecordSet other = make();
    const std::size_t before = records.RecordCount();
    constexpr std::string_view kKeys[] = {"k"};
    const RecordChanges changes = SynchroniseRecords(records, other, kKeys);
    EXPECT_EQ(before + changes.inserted - changes.removed, other.RecordCount());
    EXPECT_EQ(SynchroniseRecords(records, other, kKeys), RecordChanges());
    std::vector<std::string> rows = Split(Show(records), ';');
    std::vector<std::string> expected = Split(Show(other), ';');
    std::sort(rows.begin(), rows.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(rows, expected);
  }
}

// A key that is typed while the sets are synchronised counts as typed, and the filter is back after an error.
TEST(RecordTools, SynchronisesWhatIsBeingTyped) {
  constexpr std::string_view kKeys[] = {"k"};
  RecordSet records = Parse("k:text,v:text", "a|1;b|2");
  records.SetFilter("k = 'b'");
  records.SetFiltered(true);
  records.Edit();
  records.SetText(0, "a");
  EXPECT_ERROR(SynchroniseRecords(records, Parse("k:text,v:text", "a|1"), kKeys),
               "! the record set \"rows\" has a key twice");
  EXPECT_TRUE(records.IsFiltered());
}

}  // namespace
}  // namespace mox

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "case_file.h"
#include "record_set_kinds.h"

namespace mox {
namespace {

// Articles with fields of several kinds; "Opis robe" has a name with a blank.
RecordSet Articles() {
  RecordSet set("artikli");
  set.DefineField("id", FieldKind::kInteger);
  set.DefineField("naziv", FieldKind::kText);
  set.DefineField("kolicina", FieldKind::kFloat);
  set.DefineField("pc", FieldKind::kCurrency);
  set.DefineField("datum", FieldKind::kDate);
  set.DefineField("Opis robe", FieldKind::kText);
  set.Open();
  for (const Values& record :
       {Values{"0", "Čaša", 1.5, 12.5, "01.03.2024", "O'Neil"},
        Values{"1", "ČAŠA", 2.0, 12.5, "02.03.2024", "50% popusta"},
        Values{"2", "šalica", 0.0, 0.0, "02.03.2024", ""}, Values{"3", "", -2.0, Value(), Value(), Value()},
        Values{"4", Value(), Value(), 1e-4, "31.12.1999", "a_b\nc"}}) {
    set.AppendRecord(record);
  }
  return set;
}

TEST(RecordSetFilter, ShowsTheRecordsThatFit) {
  RecordSet set = Articles();
  set.SetFiltered(true);
  ForEachCase<3>("filter", "shown", [&](auto& letter_case, auto& expression, auto& articles) {
    set.SetFilter(expression, letter_case == "any");
    std::string shown;
    for (set.First(); !set.Eof(); set.Next()) shown += set.AsText(0);
    EXPECT_EQ(shown, articles);
  });
  set.SetFilter("naziv = 'šalica'");
  ForEachCase<1>("filter", "refused", [&](auto& expression) {
    EXPECT_THAT([&] { set.SetFilter(expression); },
                testing::ThrowsMessage<Error>("filter: \"" + expression +
                                              "\" is neither FIELD = 'text' nor FIELD like 'text'"));
  });
  EXPECT_THROW(set.SetFilter("nema = 'a'"), FieldNotFound);
  EXPECT_EQ(set.Filter(), "naziv = 'šalica'");
  EXPECT_EQ(set.RecordCount(), 1U);
}

TEST(RecordSetLocate, FindsTheFirstRecordWithTheKeys) {
  RecordSet set = Articles();
  ForEachCase<4>("filter", "located", [&](auto& letter_case, auto& names, auto& keys, auto& found) {
    Values values;
    std::istringstream in(keys);
    for (std::string key; std::getline(in, key, ';');) values.push_back(ValueFrom(key));
    set.Last();
    EXPECT_EQ(set.Locate(names, values, {.case_insensitive = letter_case == "any"}), found != "none");
    EXPECT_EQ(std::to_string(set.Position()), found == "none" ? "4" : found);
  });
  EXPECT_TRUE(set.Locate(field::kolicina, 0));
  EXPECT_EQ(set.Position(), 2U) << "null is not 0";
  EXPECT_FALSE(set.Locate(field::kolicina, 7));
  EXPECT_THROW(set.Locate(field::rbp1, 0), FieldNotFound);
  EXPECT_THROW(set.Locate("naziv;nema", {Value(), Value()}), FieldNotFound);
  EXPECT_THROW(set.Locate("naziv;pc", {Value()}), Error);
  EXPECT_THROW(set.Locate("naziv", {Value(), Value()}), Error);
  EXPECT_THROW(set.Locate("pc", {"abc"}), ConversionError);
  EXPECT_EQ(set.Position(), 2U);
}

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>

#include <sstream>

#include "case_file.h"
#include "record_set_kinds.h"
#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// Articles with fields of several kinds; "Opis robe" has a name with a blank.
RecordSet Articles() {
  RecordSet set = EmptySet("artikli", "id:integer,naziv,kolicina:float,pc:currency,datum:date,Opis robe");
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
  ExpectTables("filter", {{"shown", [&](auto& row) {
                             set.SetFilter(row.at(1), row.at(0) == "any");
                             std::string shown;
                             for (set.First(); !set.Eof(); set.Next()) shown += set.AsText(0);
                             return shown;
                           }}});
  set.SetFilter("naziv = 'šalica'");
  EXPECT_ERROR(set.SetFilter("naziv = 'a' or 1"),
               "! filter: \"naziv = 'a' or 1\" is neither FIELD = 'text' nor FIELD like 'text'");
  EXPECT_THROW(set.SetFilter("nema = 'a'"), FieldNotFound);
  EXPECT_EQ(set.Filter(), "naziv = 'šalica'");
  EXPECT_EQ(set.RecordCount(), 1U);
}

TEST(RecordSetLocate, FindsTheFirstRecordWithTheKeys) {
  RecordSet set = Articles();
  ExpectTables("locate", {{"located", [&](auto& row) {
                             Values values;
                             std::istringstream in(row.at(2));
                             for (std::string key; std::getline(in, key, ';');)
                               values.push_back(ValueFrom(key));
                             set.Last();
                             const bool found =
                                 set.Locate(row.at(1), values, {.case_insensitive = row.at(0) == "any"});
                             EXPECT_TRUE(found || set.Position() == 4U);
                             return found ? Text(static_cast<std::int64_t>(set.Position())) : "none";
                           }}});
  EXPECT_TRUE(set.Locate(field::kolicina, 0));
  EXPECT_EQ(set.Position(), 2U) << "null is not 0";
  EXPECT_FALSE(set.Locate(field::kolicina, 7));
  EXPECT_THROW(set.Locate(field::rbp1, 0), FieldNotFound);
  EXPECT_THROW(set.Locate("naziv;nema", {Value(), Value()}), FieldNotFound);
  EXPECT_ERROR(set.Locate("naziv;pc", {Value()}), "! artikli: locate has more fields than values");
  EXPECT_ERROR(set.Locate("naziv", {Value(), Value()}), "! artikli: locate has more values than fields");
  EXPECT_THROW(set.Locate("pc", {"abc"}), ConversionError);
  EXPECT_EQ(set.Position(), 2U);
}

}  // namespace
}  // namespace mox

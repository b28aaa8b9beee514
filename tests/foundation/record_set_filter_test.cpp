#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mox/foundation/error.h"
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
  // Rows of "expression -> ids of the records"; "i:" stands before one without regard to case.
  for (const std::string row : {"naziv = 'Čaša' -> 0",
                                "i: NAZIV='čAŠa'  -> 01",
                                "naziv = 'Čaš' -> ",
                                "naziv = '' -> 34",
                                "naziv = '%' -> ",
                                "naziv like '%a' -> 02",
                                "i:naziv Like '%A%' -> 012",
                                "naziv like '_aša' -> 0",
                                "naziv like '____' -> 01",
                                "i:naziv like 'š%l%a' -> 2",
                                "naziv like '%' -> 01234",
                                "[Opis robe] = 'O'Neil' -> 0",
                                "[opis robe]like'%''%' -> 0",
                                "[Opis robe] like '50_ %' -> 1",
                                "[Opis robe] like 'a_b_c' -> 4",
                                "kolicina = '1,5' -> 0",
                                "kolicina = '' -> 4",
                                "pc like '12,5%' -> 01",
                                "datum like '%.03.2024' -> 012",
                                "  -> 01234"}) {
    const std::size_t begin = row.starts_with("i:") ? 2 : 0;
    const std::size_t arrow = row.find(" -> ");
    std::string records;
    set.SetFilter(row.substr(begin, arrow - begin), begin > 0);
    for (set.First(); !set.Eof(); set.Next()) records += set.AsText(0);
    EXPECT_EQ(records, row.substr(arrow + 4)) << row;
  }
  set.SetFilter("naziv = 'šalica'");
  for (const std::string expression :
       {"naziv", "naziv =", "naziv = Čaša", "naziv = 'Čaša", "naziv = '", "= 'a'", "naziv <> 'a'",
        "naziv like", "naziv liked 'a'", "naziv 'a'", "[naziv = 'a'", "[] = 'a'", "naziv = 'a' or 1"}) {
    EXPECT_THAT([&] { set.SetFilter(expression); },
                testing::ThrowsMessage<Error>("filter: \"" + expression +
                                              "\" is neither FIELD = 'text' nor FIELD like 'text'"));
  }
  EXPECT_THROW(set.SetFilter("nema = 'a'"), FieldNotFound);
  EXPECT_EQ(set.Filter(), "naziv = 'šalica'");
  EXPECT_EQ(set.RecordCount(), 1U);
}

TEST(RecordSetLocate, FindsTheFirstRecordWithTheKeys) {
  const struct {
    const char* names;
    Values values;
    std::size_t found;  // 4, the record before, where there is none
    bool case_insensitive = false;
  } rows[] = {{"naziv", {"ČAŠA"}, 1},
              {"naziv", {"čaša"}, 4},
              {"Naziv", {"čaša"}, 0, true},
              {"naziv", {""}, 3},
              {"naziv; kolicina", {"čaša", 2.0}, 1, true},
              {"naziv;kolicina", {"čaša", 3.0}, 4, true},
              {"kolicina", {-0.0}, 2},
              {"kolicina", {"1,5"}, 0},
              {"kolicina", {std::int64_t{2}}, 1},
              {"pc", {"12,50"}, 0},
              {"pc", {0.0}, 2},
              {"datum", {"02.03.2024."}, 1},
              {"datum;kolicina", {*MakeDate(2024, 3, 2), 0.0}, 2},
              {"pc;kolicina;naziv;datum", {Value(), -2.0, "", Value()}, 3, true}};
  RecordSet set = Articles();
  for (const auto& row : rows) {
    set.Last();
    const bool found = set.Locate(row.names, row.values, {.case_insensitive = row.case_insensitive});
    EXPECT_EQ(found, row.found < 4) << row.names;
    EXPECT_EQ(set.Position(), row.found) << row.names;
  }
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

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "mox/foundation/record_set.h"

namespace mox {
namespace {

// Articles with fields of several kinds; "Opis robe" has a name with a blank.
RecordSet Articles() {
  RecordSet set("artikli");
  set.DefineField("naziv", FieldKind::kText);
  set.DefineField("kolicina", FieldKind::kFloat);
  set.DefineField("pc", FieldKind::kCurrency);
  set.DefineField("datum", FieldKind::kDate);
  set.DefineField("Opis robe", FieldKind::kText);
  set.DefineField("id", FieldKind::kInteger);
  set.Open();
  const auto row = [&](Value name, Value quantity, Value price, const char* date, Value text) {
    const Value day = ParseIsoDate(date) ? Value(*ParseIsoDate(date)) : Value();
    set.AppendRecord({std::move(name), std::move(quantity), std::move(price), day, std::move(text),
                      static_cast<std::int64_t>(set.RecordCount())});
  };
  row("Čaša", 1.5, 12.5, "2024-03-01", "O'Neil");
  row("ČAŠA", 2.0, 12.5, "2024-03-02", "50% popusta");
  row("šalica", 0.0, 0.0, "2024-03-02", "");
  row("", -2.0, Value(), "", Value());
  row(Value(), Value(), 1e-4, "1999-12-31", "a_b\nc");
  set.First();
  return set;
}

TEST(RecordSetFilter, ShowsTheRecordsThatFit) {
  const struct {
    const char* expression;
    bool case_insensitive;
    const char* shown;  // the records by their id
  } rows[] = {{"naziv = 'Čaša'", false, "0"},
              {"NAZIV='čAŠa'", true, "01"},
              {" naziv  =  'Čaša' ", false, "0"},
              {"naziv = 'Čaš'", false, ""},
              {"naziv = ' Čaša'", false, ""},
              {"naziv = ''", false, "34"},
              {"naziv like '%a'", false, "02"},
              {"naziv Like '%A%'", true, "012"},
              {"naziv like '_aša'", false, "0"},
              {"naziv like '___'", false, ""},
              {"naziv like '____'", false, "01"},
              {"naziv like 'š%l%a'", true, "2"},
              {"naziv like '%'", false, "01234"},
              {"naziv like ''", false, "34"},
              {"naziv = '%'", false, ""},
              {"[Opis robe] = 'O'Neil'", false, "0"},
              {"[Opis robe] = 'O''Neil'", false, "0"},
              {"[opis robe]like'%''%'", false, "0"},
              {"[Opis robe] like '50_ %'", false, "1"},
              {"[Opis robe] like 'a_b_c'", false, "4"},
              // fields of other kinds are compared by the text that the locale gives them
              {"kolicina = '1,5'", false, "0"},
              {"kolicina = '0'", false, "2"},
              {"kolicina = ''", false, "4"},
              {"pc like '12,5%'", false, "01"},
              {"datum like '%.03.2024'", false, "012"},
              {"", false, "01234"},
              {"  ", true, "01234"}};
  for (const auto& row : rows) {
    RecordSet set = Articles();
    std::string records;
    set.SetFiltered(true);
    set.SetFilter(row.expression, row.case_insensitive);
    for (set.First(); !set.Eof(); set.Next()) records += set.FieldByName("id").AsText();
    EXPECT_EQ(records, row.shown) << row.expression;
    EXPECT_EQ(set.RecordCount(), records.size());
  }
}

TEST(RecordSetFilter, RefusesOtherExpressionsAndStaysAsItWas) {
  RecordSet set = Articles();
  set.SetFilter("naziv = 'šalica'");
  set.SetFiltered(true);
  for (const char* expression : {"naziv", "naziv =", "naziv = Čaša", "naziv = 'Čaša", "naziv = '", "= 'a'",
                                 "naziv <> 'a'", "naziv > 'a'", "naziv like", "naziv liked 'a'", "naziv 'a'",
                                 "[naziv = 'a'", "[] = 'a'", "naziv = 'a' or 1"}) {
    try {
      set.SetFilter(expression);
      ADD_FAILURE() << expression;
    } catch (const FieldNotFound&) {
      ADD_FAILURE() << expression;
    } catch (const Error& error) {
      EXPECT_NE(std::string(error.what()).find(expression), std::string::npos) << error.what();
    }
  }
  EXPECT_THROW(set.SetFilter("nema = 'a'"), FieldNotFound);
  EXPECT_EQ(set.Filter(), "naziv = 'šalica'");
  EXPECT_EQ(set.RecordCount(), 1U);
  set.SetFilter("");
  EXPECT_EQ(set.RecordCount(), 5U);
}

TEST(RecordSetLocate, FindsTheFirstRecordWithTheKeys) {
  using Values = std::vector<Value>;
  const Value march_second = *ParseIsoDate("2024-03-02");
  const struct {
    const char* names;
    Values values;
    bool case_insensitive;
    int found;  // -1: none
  } rows[] = {{"naziv", {"ČAŠA"}, false, 1},
              {"naziv", {"čaša"}, false, -1},
              {"Naziv", {"čaša"}, true, 0},
              {"naziv", {""}, false, 3},
              {"naziv", {Value()}, false, 4},
              {"naziv;pc", {"ČAŠA", 12.5}, false, 1},
              {"naziv; kolicina", {"čaša", 2.0}, true, 1},
              {"naziv;kolicina", {"čaša", 3.0}, true, -1},
              {"kolicina", {-0.0}, false, 2},  // 0, not null
              {"kolicina", {Value()}, false, 4},
              {"kolicina", {"-2"}, false, 3},
              {"kolicina", {"1,5"}, false, 0},
              {"kolicina", {std::int64_t{2}}, false, 1},
              {"pc", {"12,50"}, false, 0},
              {"pc", {Currency::FromScaled(1)}, false, 4},
              {"pc", {0.0}, false, 2},
              {"pc", {Value()}, false, 3},
              {"datum", {march_second}, false, 1},
              {"datum", {"02.03.2024."}, false, 1},
              {"datum;kolicina", {march_second, 0.0}, false, 2},
              {"datum", {Value()}, false, 3},
              {"pc;kolicina;naziv;datum", {Value(), -2.0, "", Value()}, true, 3}};
  for (const auto& row : rows) {
    RecordSet set = Articles();
    set.Last();
    const bool found = set.Locate(row.names, row.values, {.case_insensitive = row.case_insensitive});
    EXPECT_EQ(found, row.found >= 0) << row.names;
    EXPECT_EQ(set.Position(), row.found >= 0 ? static_cast<std::size_t>(row.found) : 4U) << row.names;
  }
  RecordSet set = Articles();
  EXPECT_TRUE(set.Locate(field::kolicina, -2));
  EXPECT_EQ(set.Position(), 3U);
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

#include "mox/foundation/precision.h"

#include <gtest/gtest.h>

#include <map>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

class FakeIni : public TAppIni {
 public:
  std::map<std::string, std::string> values;  // by "SECTION.KEY"

 private:
  std::optional<std::string> Find(std::string_view section, std::string_view key) const override {
    const auto found = values.find(Path(section, key));
    return found == values.end() ? std::nullopt : std::optional(found->second);
  }
  void Store(std::string_view section, std::string_view key, std::string_view value) override {
    values[Path(section, key)] = value;
  }
  static std::string Path(std::string_view section, std::string_view key) {
    return std::string(section) + "." + std::string(key);
  }
};

class FakeComunication : public TdmComunication {
 public:
  RecordSet* parameters = nullptr;
  RecordSet* CompanyParameters() override { return parameters; }
};

class FakeLocale : public AppLocale {
 public:
  LocaleSettings settings;
  const LocaleSettings& Settings() const override { return settings; }
  void SetCurrencySymbol(std::string_view symbol) override { settings.currency_symbol = symbol; }
};

class Precision : public testing::Test {
 protected:
  FakeIni ini_;
  FakeComunication comunication_;
  FakeLocale locale_;
  ScopedApp app_{{.ini = &ini_, .comunication = &comunication_, .locale = &locale_}};
};

TEST_F(Precision, ReadsAndWritesTheSettingsOfEachPrice) {
  const struct {
    const char* kind;
    int (*get)();
    void (*set)(int);
    void (*set_mask)();
  } rows[] = {{"NC", GetNcCalcDigit, SetNcCalcDigit, SetNcCalcMask},
              {"PC", GetPcCalcDigit, SetPcCalcDigit, SetPcCalcMask},
              {"FC", GetFcCalcDigit, SetFcCalcDigit, SetFcCalcMask}};
  for (const auto& row : rows) {
    const std::string key = std::string(row.kind) + "_CALC_DIGIT";
    const std::string digits = "GENERAL." + key;
    const std::string mask = std::string("GENERAL.") + row.kind + "_CALC_MASK";
    ini_.values.clear();
    EXPECT_EQ(row.get(), 2) << row.kind;
    row.set_mask();
    EXPECT_EQ(ini_.values, (std::map<std::string, std::string>{{mask, "#,0.00;-#,0.00"}}));
    row.set(4);
    EXPECT_EQ(row.get(), 4) << row.kind;
    EXPECT_EQ(ini_.values[mask], "#,0.00;-#,0.00") << "the mask is refreshed separately";
    row.set_mask();
    EXPECT_EQ(ini_.values, (std::map<std::string, std::string>{{digits, "4"}, {mask, "#,0.0000;-#,0.0000"}}));
    ini_.WriteString("GENERAL", key, " -1 ");
    EXPECT_EQ(row.get(), -1) << "as read";
    ini_.WriteString("GENERAL", key, "two");
    EXPECT_EQ(row.get(), 2) << "not an integer";
  }
}

TEST_F(Precision, ReadsTheSettingsOfQuantities) {
  EXPECT_EQ(GetKolDecimalPlaces(), 2);
  EXPECT_EQ(GetKolFormat(), "#,0.00;-#,0.00");
  ini_.WriteString("GENERAL", "KOL_NUM", "0");
  ini_.WriteString("GENERAL", "KOL_MASK", "0.000");
  EXPECT_EQ(GetKolDecimalPlaces(), 0);
  EXPECT_EQ(GetKolFormat(), "0.000");
}

TEST_F(Precision, TaxDecimalsAreAtLeastTwo) {
  EXPECT_EQ(GetPdviCalcDigit(), 2) << "no parameters are loaded";
  const struct {
    FieldKind kind;
    Value value;
    int digits;
  } rows[] = {{FieldKind::kInteger, std::int64_t{0}, 2},
              {FieldKind::kInteger, std::int64_t{1}, 2},
              {FieldKind::kInteger, std::int64_t{3}, 3},
              {FieldKind::kInteger, std::int64_t{-5}, 2},
              {FieldKind::kInteger, std::int64_t{1} << 32, std::numeric_limits<int>::max()},
              {FieldKind::kInteger, Value(), 2},
              {FieldKind::kFloat, 4.0, 4},
              {FieldKind::kText, std::string("3"), 3}};
  for (const auto& row : rows) {
    RecordSet parameters;
    comunication_.parameters = &parameters;
    parameters.DefineField("FaktorEura", FieldKind::kFloat);
    EXPECT_EQ(GetPdviCalcDigit(), 2) << "no such field";
    parameters.DefineField("PDVICALCDIGIT", row.kind);
    parameters.Open();
    EXPECT_EQ(GetPdviCalcDigit(), 2) << "no record";
    parameters.AppendRecord({Value(), row.value});
    EXPECT_EQ(GetPdviCalcDigit(), row.digits);
  }
  RecordSet faulty;
  faulty.DefineField("PdviCalcDigit", FieldKind::kText);
  faulty.Open();
  faulty.AppendRecord({std::string("dva")});
  comunication_.parameters = &faulty;
  EXPECT_THROW(GetPdviCalcDigit(), ConversionError);
}

TEST_F(Precision, MasksHaveTheirDigits) {
  const struct {
    int digits;
    const char* mask;
  } rows[] = {{2, "#,0.00;-#,0.00"}, {3, "#,0.000;-#,0.000"}, {0, "#,0.;-#,0."}, {-3, "#,0.;-#,0."}};
  for (const auto& row : rows) {
    EXPECT_EQ(GetFieldDisplayFormat(row.digits), row.mask);
    EXPECT_EQ(FormatMask(row.digits), row.mask);
  }
}

TEST_F(Precision, FormatsCurrencyFieldsOnly) {
  SetPcCalcDigit(4);
  RecordSet set;
  set.DefineField("naziv", FieldKind::kText);
  set.DefineField("kolicina", FieldKind::kFloat);
  for (const char* name : {"pc", "ukupno"}) set.DefineField(name, FieldKind::kCurrency);
  set.FieldByName("kolicina").SetDisplayFormat("0.000");
  set.FieldByName("pc").SetDisplayFormat("0.0");
  set.Open();
  SetCurrencyFieldFormat(set);
  std::string formats;
  for (std::size_t i = 0; i < set.FieldCount(); ++i) formats += set.FieldAt(i).DisplayFormat() + "|";
  EXPECT_EQ(formats, "|0.000|#,0.00;-#,0.00|#,0.00;-#,0.00|");
  set.AppendRecord({Value(), -2.5, -1234.5, Value()});
  EXPECT_EQ(set.FieldByName("pc").DisplayText(), "-1.234,50");
  EXPECT_EQ(set.FieldByName("kolicina").DisplayText(), "-2,500");
  EXPECT_EQ(set.FieldByName("ukupno").DisplayText(), "") << "null";
}

TEST_F(Precision, SetsTheCurrencySymbolOfTheLocale) {
  SetSystemCurrencySymbol("kn");
  EXPECT_EQ(locale_.settings.currency_symbol, "kn");
}

TEST(PrecisionOfNoHost, SaysWhatIsMissing) {
  EXPECT_THROW(GetKolFormat(), Error);
  const ScopedApp empty({});
  for (const auto call :
       {+[] { GetPcCalcDigit(); }, +[] { GetPdviCalcDigit(); }, +[] { SetSystemCurrencySymbol("kn"); }}) {
    try {
      call();
      ADD_FAILURE();
    } catch (const Error& error) {
      EXPECT_TRUE(std::string(error.what()).starts_with("the host supplies no ")) << error.what();
    }
  }
}

TEST(DataSetStateNames, FollowTheEnumeration) {
  const char* const names[] = {"dsInactive",   "dsBrowse",       "dsEdit",     "dsInsert",   "dsSetKey",
                               "dsCalcFields", "dsFilter",       "dsNewValue", "dsOldValue", "dsCurValue",
                               "dsBlockRead",  "dsInternalCalc", "dsOpening",  "Unknown"};
  for (std::size_t i = 0; i < std::size(names); ++i) {
    EXPECT_EQ(DataSetStateToStr(static_cast<DataSetState>(i)), names[i]);
  }
  EXPECT_EQ(DataSetStateToStr(static_cast<DataSetState>(255)), "Unknown");
  EXPECT_EQ(DataSetStateToStr(DataSetState::kCalcFields), "dsCalcFields");
  EXPECT_EQ(DataSetStateToStr(DataSetState::kOpening), "dsOpening");
}

}  // namespace
}  // namespace mox

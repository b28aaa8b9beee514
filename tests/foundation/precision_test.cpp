#include "mox/foundation/precision.h"

#include <gtest/gtest.h>

#include <climits>

#include "mox/foundation/error.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

class Precision : public testing::Test {
 protected:
  RecordingHost host_;
  ScopedApp app_{host_.Parts()};
};

TEST_F(Precision, ReadsAndWritesTheSettingsOfEachPrice) {
  const struct {
    std::string kind;
    int (*get)();
    void (*set)(int);
    void (*set_mask)();
  } rows[] = {{"NC", GetNcCalcDigit, SetNcCalcDigit, SetNcCalcMask},
              {"PC", GetPcCalcDigit, SetPcCalcDigit, SetPcCalcMask},
              {"FC", GetFcCalcDigit, SetFcCalcDigit, SetFcCalcMask}};
  for (const auto& row : rows) {
    const std::string digits = row.kind + "_CALC_DIGIT";
    const auto stored = [&] {
      return host_.settings.ReadString("GENERAL", digits, "none") + " " +
             host_.settings.ReadString("GENERAL", row.kind + "_CALC_MASK", "none");
    };
    EXPECT_EQ(row.get(), 2) << row.kind;
    row.set_mask();
    EXPECT_EQ(stored(), "none #,0.00;-#,0.00");
    row.set(4);
    EXPECT_EQ(row.get(), 4) << row.kind;
    EXPECT_EQ(stored(), "4 #,0.00;-#,0.00") << "refreshed separately";
    row.set_mask();
    EXPECT_EQ(stored(), "4 #,0.0000;-#,0.0000");
    host_.settings.WriteString("GENERAL", digits, " -1 ");
    EXPECT_EQ(row.get(), -1) << "as read";
    host_.settings.WriteString("GENERAL", digits, "two");
    EXPECT_EQ(row.get(), 2) << "not an integer";
  }
  EXPECT_EQ(GetKolDecimalPlaces(), 2);
  EXPECT_EQ(GetKolFormat(), "#,0.00;-#,0.00");
  host_.settings.WriteString("GENERAL", "KOL_NUM", "0");
  host_.settings.WriteString("GENERAL", "KOL_MASK", "0.000");
  EXPECT_EQ(GetKolDecimalPlaces(), 0);
  EXPECT_EQ(GetKolFormat(), "0.000");
}

TEST_F(Precision, IsThatOfTheInstalledApplication) {
  SetPcCalcDigit(3);
  EXPECT_EQ(GetPcCalcDigit(), 3);
  {
    MemorySettings other;
    const ScopedApp app({.ini = &other});
    EXPECT_EQ(GetPcCalcDigit(), 2);
    other = host_.settings;
    EXPECT_EQ(GetPcCalcDigit(), 3);
    SetPcCalcDigit(4);
    EXPECT_EQ(GetPcCalcDigit(), 4);
  }
  EXPECT_EQ(GetPcCalcDigit(), 3);
}

// As a file that is read whole before it is written again, and a disk that fails.
TEST_F(Precision, AreThoseThatWereStoredLast) {
  class ReadingSettings : public TAppIni {
    std::optional<std::string> Find(std::string_view /*section*/, std::string_view /*key*/) const override {
      return value_;
    }
    void Store(std::string_view section, std::string_view key, std::string_view value) override {
      static_cast<void>(ReadInteger(section, key, 2));
      value_ = value;
      if (value == "5") throw Error("the disk is full");
    }
    std::string value_;
  } settings;
  const ScopedApp app({.ini = &settings});
  EXPECT_EQ(GetPcCalcDigit(), 2);
  SetPcCalcDigit(4);
  EXPECT_EQ(GetPcCalcDigit(), 4);
  EXPECT_THROW(SetPcCalcDigit(5), Error);
  EXPECT_EQ(GetPcCalcDigit(), 5) << "what is there now";
}

TEST_F(Precision, TaxDecimalsAreAtLeastTwo) {
  RecordSet parameters;
  EXPECT_EQ(GetPdviCalcDigit(), 2) << "no parameters are loaded";
  host_.parameters = &parameters;
  parameters.DefineField("FaktorEura", FieldKind::kFloat);
  EXPECT_EQ(GetPdviCalcDigit(), 2) << "no such field";
  parameters.DefineField("PDVICALCDIGIT", FieldKind::kText);
  parameters.Open();
  EXPECT_EQ(GetPdviCalcDigit(), 2) << "no record";
  const std::pair<Value, int> rows[] = {{"0", 2},   {"1", 2},  {"2", 2},     {"3", 3},
                                        {"4,9", 4}, {"-5", 2}, {Value(), 2}, {"10000000000", INT_MAX}};
  for (const auto& [value, digits] : rows) {
    parameters.AppendRecord({Value(), value});
    EXPECT_EQ(GetPdviCalcDigit(), digits);
  }
  parameters.AppendRecord({Value(), "dva"});
  EXPECT_THROW(GetPdviCalcDigit(), ConversionError);
}

TEST_F(Precision, GivesDisplayFormats) {
  for (const auto get : {GetFieldDisplayFormat, FormatMask}) {
    EXPECT_EQ(get(2), "#,0.00;-#,0.00");
    EXPECT_EQ(get(3), "#,0.000;-#,0.000");
    for (const int digits : {0, -3}) EXPECT_EQ(get(digits), "#,0.;-#,0.");
  }
  SetPcCalcDigit(4);
  RecordSet set = EmptySet("", "kolicina:float,pc:currency,ukupno:currency");
  for (const char* name : {"kolicina", "pc"}) set.FieldByName(name).SetDisplayFormat("0.000");
  set.AppendRecord({-2.5, -1234.5, Value()});
  SetCurrencyFieldFormat(set);
  EXPECT_EQ(set.FieldByName("kolicina").DisplayText(), "-2,500") << "no currency, left alone";
  EXPECT_EQ(set.FieldByName("pc").DisplayText(), "-1.234,50") << "whatever the settings say";
  EXPECT_EQ(set.FieldByName("ukupno").DisplayFormat(), "#,0.00;-#,0.00");
  EXPECT_EQ(set.FieldByName("ukupno").DisplayText(), "") << "null";
  SetSystemCurrencySymbol("kn");
  EXPECT_EQ(CurrentLocale().currency_symbol, "kn");
}

TEST(PrecisionOfNoHost, SaysWhatIsMissing) {
  EXPECT_ERROR(GetKolFormat(), "! no application is installed") << "no application";
  const ScopedApp without_parts({});
  EXPECT_ERROR(GetPcCalcDigit(), "! the host supplies no settings file");
  EXPECT_ERROR(GetPdviCalcDigit(), "! the host supplies no communication module");
  EXPECT_ERROR(SetSystemCurrencySymbol("kn"), "! the host supplies no locale");
  EXPECT_ERROR(App().Dialogs(), "! the host supplies no message dialogs");
}

}  // namespace
}  // namespace mox

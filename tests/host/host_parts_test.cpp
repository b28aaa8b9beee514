#include <gtest/gtest.h>

#include <sstream>

#include "mox/foundation/error.h"
#include "mox/host/company_parameters.h"
#include "mox/host/console_dialogs.h"
#include "mox/host/locale.h"
#include "mox/host/memory_settings.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(MemorySettings, ReadTypedValuesAndDefaults) {
  MemorySettings settings;
  settings.WriteInteger("GENERAL", "DIGITS", -3);
  settings.WriteBool("GENERAL", "FLAG", true);
  settings.WriteFloat("General", "rate", 7.5345);
  settings.WriteString("GENERAL", "TEXT", "abc");
  settings.WriteString("OTHER", "TEXT", " TRUE ");
  settings.WriteString("OTHER", "NOT", "False");
  settings.WriteString("general", "text", "1.5");
  EXPECT_EQ(settings.ReadInteger("general", "digits", 2), -3);
  EXPECT_EQ(settings.ReadInteger("GENERAL", "TEXT", 2), 2);
  EXPECT_EQ(settings.ReadFloat("GENERAL", "TEXT", 2), 1.5);
  EXPECT_EQ(settings.ReadFloat("GENERAL", "RATE", 0), 7.5345);
  EXPECT_TRUE(settings.ReadBool("GENERAL", "FLAG", false));
  EXPECT_TRUE(settings.ReadBool("OTHER", "TEXT", false));
  EXPECT_FALSE(settings.ReadBool("GENERAL", "TEXT", false));
  EXPECT_FALSE(settings.ReadBool("OTHER", "NOT", true));
  EXPECT_EQ(settings.ReadString("OTHER", "FLAG", "none"), "none");
}

TEST(ConsoleDialogs, ShowOneLineAndTakeAnAnswer) {
  constexpr auto kInformation = TVCustomDialogType::kInformation;
  constexpr auto kConfirmation = TVCustomDialogType::kConfirmation;
  const struct {
    const char* heading;
    const char* message;
    const char* input;
    const char* line;
    TVCustomDialogType kind;
    int answer;
  } rows[] = {{"Stanje", "Nema\r\n\r\nrobe.\n", "da", "Upozorenje: Stanje: Nema robe.\n", kInformation, 0},
              {"", "a \nb", "da", "Upozorenje: a b\n", TVCustomDialogType::kError, 0},
              {"\n", "", " DA \r\nne", "Upozorenje\n[d/n] ", kConfirmation, kDialogYes},
              {"", "", "y", "Upozorenje\n[d/n] ", kConfirmation, kDialogYes},
              {"", "", "dan", "Upozorenje\n[d/n] ", kConfirmation, kDialogNo},
              {"", "", "", "Upozorenje\n[d/n] ", kConfirmation, kDialogNo}};
  for (const auto& row : rows) {
    std::ostringstream output;
    std::istringstream input(row.input);
    ConsoleDialogs dialogs(output, input);
    EXPECT_EQ(dialogs.ShowVelorDialog(row.kind, "Upozorenje", row.heading, row.message), row.answer)
        << row.input;
    EXPECT_EQ(output.str(), row.line);
  }
  std::ostringstream output;
  EXPECT_EQ(ConsoleDialogs(output, kDialogYes).ShowVelorDialog(kConfirmation, "a", "b", "c"), kDialogYes);
  EXPECT_EQ(output.str(), "a: b: c\n");
}

TEST(ConsoleDialogs, TakeALine) {
  std::ostringstream output;
  std::istringstream input("like\r\n\n");
  ConsoleDialogs dialogs(output, input);
  EXPECT_EQ(dialogs.InputBox("Filter", "Unesite:", "="), "like");
  EXPECT_EQ(dialogs.InputBox("Filter", "Unesite:", "="), "=");
  EXPECT_EQ(dialogs.InputBox("Filter", "", "="), std::nullopt);
  EXPECT_EQ(output.str(), "Filter: Unesite: [=] Filter: Unesite: [=] Filter:  [=] ");
  EXPECT_EQ(ConsoleDialogs(output, kDialogYes).InputBox("", "", "="), "=");
  EXPECT_EQ(ConsoleDialogs(output, kDialogNo).InputBox("", "", "="), std::nullopt);
}

TEST(CompanyParameterModule, InfersTheKindOfAValue) {
  CompanyParameterModule module;
  const auto parameter = [&] { return module.CompanyParameters()->FieldByName("p"); };
  const auto kind_of = [&](const char* value) {
    module.Set("P", value);
    return parameter().Kind();
  };
  for (const bool flag : {true, false}) {
    EXPECT_EQ(kind_of(flag ? "True" : "false"), FieldKind::kBoolean);
    EXPECT_EQ(parameter().AsBoolean(), flag);
  }
  EXPECT_EQ(kind_of("0"), FieldKind::kInteger);
  EXPECT_EQ(parameter().AsText(), "0");
  EXPECT_EQ(kind_of("-12"), FieldKind::kInteger);
  EXPECT_EQ(kind_of("7.5345"), FieldKind::kFloat);
  EXPECT_EQ(parameter().AsText(), "7,5345");
  for (const char* text : {"", "-", "007", "+3", "1e3", "1.", "12345678901234567890", "true story"}) {
    EXPECT_EQ(kind_of(text), FieldKind::kText) << text;
    EXPECT_EQ(parameter().AsText(), text);
  }
}

TEST(CompanyParameterModule, KeepsOneRecord) {
  CompanyParameterModule module;
  EXPECT_EQ(module.CompanyParameters(), nullptr);
  module.SetAssignment("PdviCalcDigit=3");
  module.SetAssignment(" Naziv = A=B ");
  module.SetAssignment("PDVICALCDIGIT=četiri");
  module.SetAssignment("pdvicalcdigit=4");
  RecordSet& parameters = *module.CompanyParameters();
  EXPECT_EQ(parameters.RecordCount(), 1U);
  EXPECT_EQ(parameters.FieldCount(), 2U);
  EXPECT_EQ(parameters.State(), DataSetState::kBrowse);
  EXPECT_EQ(parameters.FieldByName("PdviCalcDigit").AsInteger(), 4);
  EXPECT_EQ(parameters.FieldByName("Naziv").AsText(), " A=B ");
  EXPECT_ERROR(module.SetAssignment("PdviCalcDigit"), "! \"PdviCalcDigit\" is not of the form NAME=VALUE");
  EXPECT_ERROR(module.SetAssignment(" =3"), "! a company parameter has no name");
  EXPECT_EQ(module.CompanyParameters()->FieldCount(), 2U);
}

TEST(StandardLocale, IsCroatianUntilChanged) {
  StandardLocale locale;
  MemorySettings settings;
  const ScopedApp app({.ini = &settings, .locale = &locale});
  EXPECT_EQ(CurrentLocale().decimal_separator, ",");
  EXPECT_EQ(CurrentLocale().currency_symbol, "€");
  App().Locale().SetCurrencySymbol("KM");
  EXPECT_EQ(CurrentLocale().currency_symbol, "KM");
  EXPECT_EQ(CurrentLocale().short_date, "dd.MM.yyyy");
}

}  // namespace
}  // namespace mox

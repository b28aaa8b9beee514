#include "mox/codes/payment_slip.h"

#include <gtest/gtest.h>

#include <sstream>

#include "mox/foundation/record_set.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// A slip that fits; one field of it changed a row.
std::string CodeWith(std::string_view field, const Value& value) {
  constexpr std::pair<const char*, const char*> kTexts[] = {{"platitelj_naziv", "Ana Horvat"},
                                                            {"platitelj_adresa", "Korzo 2"},
                                                            {"platitelj_mjesto", "51000 Rijeka"},
                                                            {"primatelj_naziv", "Žito i sinovi d.o.o."},
                                                            {"primatelj_adresa", "Ilica 10"},
                                                            {"primatelj_mjesto", "10000 Zagreb"},
                                                            {"primatelj_iban", "HR1210010051863000160"},
                                                            {"model", "HR00"},
                                                            {"poziv_na_br", "1-2026"},
                                                            {"valuta", "EUR"},
                                                            {"sifra_namjene", "COST"},
                                                            {"opis_placanja", "Plaćanje računa"}};
  RecordSet slip("adsVirmanData");
  for (const auto& text : kTexts) slip.DefineField(text.first, FieldKind::kText);
  slip.DefineField("iznos", FieldKind::kCurrency);
  slip.Open();
  slip.Append();
  for (const auto& [name, text] : kTexts) slip.FieldByName(name).SetText(text);
  slip.FieldByName("iznos").SetCurrency(Currency::Parse("1234.56"));
  if (!field.empty()) slip.FieldByName(field).SetVariant(value);
  slip.Post();
  const SlipCode code = PaymentSlipCode(slip.RowAt(0));
  std::string said = code.text;
  for (const std::string& left_out : code.left_out) said += "left out: " + left_out;
  return said;
}

TEST(PaymentSlipTest, HasTheLinesOfTheStandard) {
  EXPECT_EQ(
      CodeWith("", {}),
      "HRVHUB30\nEUR\n000000000123456\nAna Horvat\nKorzo 2\n51000 Rijeka\nŽito i sinovi d.o.o.\nIlica 10\n"
      "10000 Zagreb\nHR1210010051863000160\nHR00\n1-2026\nCOST\nPlaćanje računa\n");
}

TEST(PaymentSlipTest, ReducesTextsAndRefusesWhatDoesNotFit) {
  const auto changed_lines = [](const Words& row) {
    const bool is_amount = row.at(0) == "iznos";
    std::istringstream code(CodeWith(row[0], is_amount ? Value(Currency::Parse(row.at(1))) : row.at(1)));
    std::istringstream before(CodeWith("", {}));
    std::string changed;
    for (std::string line, line_before; std::getline(code, line);) {
      std::getline(before, line_before);
      if (line != line_before) changed += "[" + line + "]";
    }
    return changed;
  };
  ExpectTables("payment_slip", {{"fields", changed_lines}}, "codes");
}

}  // namespace
}  // namespace mox

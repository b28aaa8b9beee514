#include "mox/codes/payment_slip.h"

#include <gtest/gtest.h>

#include "mox/foundation/record_set.h"

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
  const std::string longest(35, 'x');
  const struct {
    const char* field;
    Value value;
    const char* says;  // a line of the code, or a part of the error
    bool fits = false;
  } rows[] = {
      {"opis_placanja", longest, longest.c_str(), true},
      {"opis_placanja", longest + "x", "has 36 characters, the code has room for 35"},
      {"opis_placanja", "čćđšž ČĆĐŠŽ ,.:-+?'/()", "čćđšž ČĆĐŠŽ ,.:-+?'/()", true},
      {"opis_placanja", "Müller & Søn \"Évora\" №7\n\t*", "Muller + Son 'Evora' 7", true},
      {"opis_placanja", "", "COST\n\n", true},
      {"platitelj_naziv", "Ćirilica d.o.o. za trgovinu i us", "456\n\nKorzo 2\n", true},
      {"platitelj_adresa", "Ulica hrvatske bratske zajednice 4", "platitelj_adresa: \"Ulica hrvatske", true},
      {"platitelj_naziv", "Žžžžžžžžžžžžžžžžžžžžžžžžžžžžžž", "Žžžžžžžžžžžžžžžžžžžžžžžžžžžžžž", true},
      {"primatelj_naziv", "Trgovina i usluge Zagreb d", "primatelj_naziv: \"Trgovina"},
      {"primatelj_naziv", "***", "primatelj_naziv: must not be empty"},
      {"primatelj_iban", "HR1210010051863000161", "is no Croatian account"},
      {"primatelj_iban", "DE89370400440532013000", "is no Croatian account"},
      {"model", "00", "model: \"00\" is not HR and two digits"},
      {"poziv_na_br", "17/PP1/1", "has other characters than digits and hyphens"},
      {"poziv_na_br", "123456789012-1234567890", "has 23 characters, the code has room for 22"},
      {"poziv_na_br", "123456789012-1-2026", "\n123456789012-1-2026\n", true},
      {"poziv_na_br", "1234567890123", "has a part that is not 1 to 12 digits"},
      {"poziv_na_br", "---", "has a part that is not 1 to 12 digits"},
      {"poziv_na_br", "1-", "has a part that is not 1 to 12 digits"},
      {"poziv_na_br", "1-2-3-4", "has 4 parts, the model HR00 has at most 3"},
      {"poziv_na_br", "", "poziv_na_br: must not be empty under the model HR00"},
      {"model", "HR99", "\"1-2026\" is given, but the model HR99 has no reference"},
      {"model", "HR42", "\nHR42\n1-2026\n", true},
      {"sifra_namjene", "cost", "is not four capitals"},
      {"valuta", "HRK", "\"HRK\" is not EUR"},
      {"iznos", Currency::Parse("0"), "0.00 is not above 0"},
      {"iznos", Currency::Parse("-1"), "is not above 0"},
      {"iznos", Currency::Parse("0.005"), "has parts of a cent"},
      {"iznos", Currency::Parse("0.01"), "\n000000000000001\n", true},
      {"iznos", Currency::Parse("922337203685477.58"), "has more than 15 digits"},
      {"iznos", Currency::Parse("9999999999999.99"), "\n999999999999999\n", true},
  };
  for (const auto& row : rows) {
    std::string said;
    try {
      said = CodeWith(row.field, row.value);
      EXPECT_TRUE(row.fits) << row.field << ": " << said;
    } catch (const Error& error) {
      said = error.what();
      EXPECT_FALSE(row.fits) << said;
    }
    EXPECT_NE(said.find(row.says), std::string::npos) << row.says << " in " << said;
  }
}

}  // namespace
}  // namespace mox

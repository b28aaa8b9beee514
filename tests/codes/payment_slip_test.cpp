#include "mox/codes/payment_slip.h"

#include <gtest/gtest.h>

#include <sstream>

#include "mox/foundation/record_set.h"
#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// A slip that fits; one field of it changed a row.
std::string CodeWith(std::string_view field, const Value& value) {
  RecordSet slip = SetOf(
      "platitelj_naziv,platitelj_adresa,platitelj_mjesto,primatelj_naziv,primatelj_adresa,primatelj_mjesto,"
      "primatelj_iban,model,poziv_na_br,valuta,sifra_namjene,opis_placanja,iznos:currency",
      "Ana Horvat|Korzo 2|51000 Rijeka|Žito i sinovi d.o.o.|Ilica 10|10000 Zagreb|HR1210010051863000160|HR00|"
      "1-2026|EUR|COST|Plaćanje računa|1234,56");
  slip.Edit();
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

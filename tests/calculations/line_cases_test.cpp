#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "mox/calculations/customs.h"
#include "mox/calculations/document_lines.h"
#include "mox/calculations/line_formulas.h"
#include "mox/calculations/receipt_costing.h"
#include "tests/calculations/line_table.h"

// Runs the tables of the folder cases/, one test a section. A section begins with the functions that its rows
// hold for: "= NAME NAME", or "= NAME:PRICE=pc,AMOUNT=pci" where the rows have PRICE and AMOUNT in place of
// fields that differ; "[edit]" and "[browse]" before the names run the rows only in that way.

namespace mox {
namespace {

// clang-format off
#define MOX_LINE_FUNCTIONS(X) \
  X(calcPci_pc_kolicina) X(calcNc_Kolicina) X(calcFC_Kolicina) X(calcVpc_Kolicina) X(calcMPC_Kolicina) \
  X(calcNMPC_Kolicina) X(calcPov_nak_Kolicina) X(calcPot_nak_Kolicina) X(calcRabat) X(calcRabat1_2_3) \
  X(calcRabatUlazni1_2_3) X(calcVpc_maloprodaja) X(calcVpc_maloprodaja_pov_nak) X(calcOsnovicaPdviUkupno) \
  X(calcPDVI_mal) X(calcPDVI_mal_pov_nak) X(calcPDVI_malPC) X(calcPDVI_malPC_pov_nak) \
  X(calcMarza_vpci_nci) X(calcMari_vpci_nci) X(calcMarpMarzaNci) X(calcMal_Mari) X(calcMal_Mari_pov_naki) \
  X(calcMal_Marp) X(calc_NC_PrimkaKalkulacija) X(MalPrimkaZaduzenjeStavkeCalcFields) \
  X(RazduzenjeOtpisStavkeCalcFields) X(MeduskladisnicaUlazSetData) \
  X(MeduskladisnicaIzlazStavkeCalcFields) X(PocetnoStanjeStavkeCalcFields) \
  X(RazduzenjeManjakStavkeCalcFields) X(IzmjenaCijenaStavkeCalcFields) \
  X(PovratnicaDobavljacuStavkeCalcFields) X(MalPovratnicaDobavljacuStavkeCalcFields) \
  X(MatPovratnicaDobavljacuStavkeCalcFields) X(PovratnicaKupcaStavkeCalcFields) \
  X(RacunVlastitePotrebeStavkeCalcFields) X(PredracunStavkeCalcFields) X(PredracunUslugeCalcFields) \
  X(OtpremnicaRacunStavkeCalcFields) X(OtpremnicaRacunUslugeCalcFields) \
  X(StornoOtpremnicaRacunStavkeCalcFields) X(StornoOtpremnicaRacunUslugeCalcFields) \
  X(RacunUslugaCalcFields) X(RacunUslugaInozemstvoCalcFields) X(BezGotovinskiRacunServisUslugeCalcFields) \
  X(BezGotovinskiRacunServisMaterijalCalcFields) X(GotovinskiRacunStavkeCalcFields) \
  X(GotovinskiRacunUslugeCalcFields) X(StornoGotovinskiRacunStavkeCalcFields) \
  X(GotovinskiRacunUslugaCalcFields) X(GotovinskiRacunUslugaMarinaCalcFields) \
  X(GotovinskiRacunServisUslugeCalcFields) X(GotovinskiRacunServisMaterijalCalcFields) \
  X(MalGotovinskiRacunCalcFields) X(MalGotovinskiRacunCalcUsluge) X(RadniNalogStavkeCalcFields) \
  X(RadniNalogUslugeCalcFields) X(MalDnevniIzvBlagCalcFields) X(PrimkaKalkulacija01CalcFields) \
  X(StornoPrimkeKalkulacijeCalcFields) X(CalcVPC_Marza_PrimkaKalkulacija) \
  X(Calc_PrimkaKalkulacija_VPC_OR_Marza) X(CalcMPC_Marza_PrimkaKalkulacija) \
  X(CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH) X(CalcNC_PrimkaZaTuduRobu) \
  X(Calc_Marp_ZadanaMarza_ArtInsert) X(CarIzlazRaspodjelaTezinaPoKolicini)
// clang-format on

const LineFunction& Function(const std::string& name) {
#define MOX_ENTRY(function) {#function, LineFunction(#function, function)},
  static const std::map<std::string, LineFunction> functions = {MOX_LINE_FUNCTIONS(MOX_ENTRY)};
#undef MOX_ENTRY
  return functions.at(name);
}

class LineCases : public testing::TestWithParam<Section> {};

TEST_P(LineCases, Hold) {
  SCOPED_TRACE(GetParam().file + ": " + GetParam().title);
  std::istringstream words(GetParam().title);
  std::string way;
  for (std::string word; words >> word;) {
    if (word.front() == '[') {
      way = word;
      continue;
    }
    std::istringstream parts(word);
    std::string name;
    std::getline(parts, name, ':');
    std::string rows = GetParam().rows;
    for (std::string field; std::getline(parts, field, ',');) {
      const std::size_t equals = field.find('=');
      rows = With(rows, field.substr(0, equals), field.substr(equals + 1));
    }
    if (way.empty()) {
      ExpectRows({Function(name)}, rows);
    } else {
      ExpectRowsIn(way == "[edit]" ? Way::kEdit : Way::kBrowse, Function(name), rows);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, LineCases,
                         testing::ValuesIn(ReadSections({"line_formulas", "document_lines", "receipt_costing",
                                                         "customs"})),
                         NameOfSection);

}  // namespace
}  // namespace mox

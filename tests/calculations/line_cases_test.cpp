#include <gtest/gtest.h>

#include <array>
#include <fstream>
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

struct Section {
  std::string file;
  std::string title;
  std::string rows;
};

std::vector<Section> ReadSections() {
  std::vector<Section> sections;
  for (const char* file : {"line_formulas", "document_lines", "receipt_costing", "customs"}) {
    std::ifstream in(MOX_SOURCE_DIR "/tests/calculations/cases/" + std::string(file) + ".txt");
    if (!in) throw std::runtime_error(std::string("cannot read the cases of ") + file);
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with("= ")) {
        sections.push_back({file, line.substr(2), {}});
      } else if (!sections.empty() && sections.back().file == file) {
        sections.back().rows += line + "\n";
      }
    }
  }
  return sections;
}

const LineFunction& Function(const std::string& name) {
  static const auto functions =
      std::to_array<LineFunction>({MOX_FUNCTION(calcPci_pc_kolicina),
                                   MOX_FUNCTION(calcNc_Kolicina),
                                   MOX_FUNCTION(calcFC_Kolicina),
                                   MOX_FUNCTION(calcVpc_Kolicina),
                                   MOX_FUNCTION(calcMPC_Kolicina),
                                   MOX_FUNCTION(calcNMPC_Kolicina),
                                   MOX_FUNCTION(calcPov_nak_Kolicina),
                                   MOX_FUNCTION(calcPot_nak_Kolicina),
                                   MOX_FUNCTION(calcRabat),
                                   MOX_FUNCTION(calcRabat1_2_3),
                                   MOX_FUNCTION(calcRabatUlazni1_2_3),
                                   MOX_FUNCTION(calcVpc_maloprodaja),
                                   MOX_FUNCTION(calcVpc_maloprodaja_pov_nak),
                                   MOX_FUNCTION(calcOsnovicaPdviUkupno),
                                   MOX_FUNCTION(calcPDVI_mal),
                                   MOX_FUNCTION(calcPDVI_mal_pov_nak),
                                   MOX_FUNCTION(calcPDVI_malPC),
                                   MOX_FUNCTION(calcPDVI_malPC_pov_nak),
                                   MOX_FUNCTION(calcMarza_vpci_nci),
                                   MOX_FUNCTION(calcMari_vpci_nci),
                                   MOX_FUNCTION(calcMarpMarzaNci),
                                   MOX_FUNCTION(calcMal_Mari),
                                   MOX_FUNCTION(calcMal_Mari_pov_naki),
                                   MOX_FUNCTION(calcMal_Marp),
                                   MOX_FUNCTION(calc_NC_PrimkaKalkulacija),
                                   MOX_FUNCTION(MalPrimkaZaduzenjeStavkeCalcFields),
                                   MOX_FUNCTION(RazduzenjeOtpisStavkeCalcFields),
                                   MOX_FUNCTION(MeduskladisnicaUlazSetData),
                                   MOX_FUNCTION(MeduskladisnicaIzlazStavkeCalcFields),
                                   MOX_FUNCTION(PocetnoStanjeStavkeCalcFields),
                                   MOX_FUNCTION(RazduzenjeManjakStavkeCalcFields),
                                   MOX_FUNCTION(IzmjenaCijenaStavkeCalcFields),
                                   MOX_FUNCTION(PovratnicaDobavljacuStavkeCalcFields),
                                   MOX_FUNCTION(MalPovratnicaDobavljacuStavkeCalcFields),
                                   MOX_FUNCTION(MatPovratnicaDobavljacuStavkeCalcFields),
                                   MOX_FUNCTION(PovratnicaKupcaStavkeCalcFields),
                                   MOX_FUNCTION(RacunVlastitePotrebeStavkeCalcFields),
                                   MOX_FUNCTION(PredracunStavkeCalcFields),
                                   MOX_FUNCTION(PredracunUslugeCalcFields),
                                   MOX_FUNCTION(OtpremnicaRacunStavkeCalcFields),
                                   MOX_FUNCTION(OtpremnicaRacunUslugeCalcFields),
                                   MOX_FUNCTION(StornoOtpremnicaRacunStavkeCalcFields),
                                   MOX_FUNCTION(StornoOtpremnicaRacunUslugeCalcFields),
                                   MOX_FUNCTION(RacunUslugaCalcFields),
                                   MOX_FUNCTION(RacunUslugaInozemstvoCalcFields),
                                   MOX_FUNCTION(BezGotovinskiRacunServisUslugeCalcFields),
                                   MOX_FUNCTION(BezGotovinskiRacunServisMaterijalCalcFields),
                                   MOX_FUNCTION(GotovinskiRacunStavkeCalcFields),
                                   MOX_FUNCTION(GotovinskiRacunUslugeCalcFields),
                                   MOX_FUNCTION(StornoGotovinskiRacunStavkeCalcFields),
                                   MOX_FUNCTION(GotovinskiRacunUslugaCalcFields),
                                   MOX_FUNCTION(GotovinskiRacunUslugaMarinaCalcFields),
                                   MOX_FUNCTION(GotovinskiRacunServisUslugeCalcFields),
                                   MOX_FUNCTION(GotovinskiRacunServisMaterijalCalcFields),
                                   MOX_FUNCTION(MalGotovinskiRacunCalcFields),
                                   MOX_FUNCTION(MalGotovinskiRacunCalcUsluge),
                                   MOX_FUNCTION(RadniNalogStavkeCalcFields),
                                   MOX_FUNCTION(RadniNalogUslugeCalcFields),
                                   MOX_FUNCTION(MalDnevniIzvBlagCalcFields),
                                   MOX_FUNCTION(PrimkaKalkulacija01CalcFields),
                                   MOX_FUNCTION(StornoPrimkeKalkulacijeCalcFields),
                                   MOX_FUNCTION(CalcVPC_Marza_PrimkaKalkulacija),
                                   MOX_FUNCTION(Calc_PrimkaKalkulacija_VPC_OR_Marza),
                                   MOX_FUNCTION(CalcMPC_Marza_PrimkaKalkulacija),
                                   MOX_FUNCTION(CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH),
                                   MOX_FUNCTION(CalcNC_PrimkaZaTuduRobu),
                                   MOX_FUNCTION(Calc_Marp_ZadanaMarza_ArtInsert),
                                   MOX_FUNCTION(CarIzlazRaspodjelaTezinaPoKolicini)});
  for (const LineFunction& function : functions) {
    if (function.Name() == name) return function;
  }
  throw std::runtime_error("no function " + name);
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

std::string TestName(const testing::TestParamInfo<Section>& info) {
  std::string title = info.param.title.substr(0, info.param.title.find_first_of(": "));
  std::erase_if(title, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_'; });
  return title + "_" + std::to_string(info.index);
}

INSTANTIATE_TEST_SUITE_P(Tables, LineCases, testing::ValuesIn(ReadSections()), TestName);

}  // namespace
}  // namespace mox

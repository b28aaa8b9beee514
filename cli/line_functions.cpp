#include "cli/line_functions.h"

#include <array>
#include <tuple>
#include <utility>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/calculations/customs.h"
#include "mox/calculations/document_lines.h"
#include "mox/calculations/line_formulas.h"
#include "mox/calculations/line_formulas_internal.h"
#include "mox/calculations/receipt_costing.h"

namespace mox {
namespace {

// --- a row of the table from a function: the kinds of its arguments are those of its declaration ---

template <typename T>
struct ArgumentOf;
template <>
struct ArgumentOf<int> {
  static constexpr std::string_view kKind = "integer";
  static constexpr auto* kParse = IntegerArgument;
};
template <>
struct ArgumentOf<Currency> {
  static constexpr std::string_view kKind = "currency";
  static constexpr auto* kParse = CurrencyArgument;
};
template <>
struct ArgumentOf<bool> {
  static constexpr std::string_view kKind = "boolean";
  static constexpr auto* kParse = BooleanArgument;
};

template <typename... Args>
using Names = std::array<std::string_view, sizeof...(Args)>;

template <typename... Args, std::size_t... I>
LineFunction MakeRow(std::string_view name, void (*function)(RecordSet&, Args...), Names<Args...> names,
                     std::index_sequence<I...>) {
  LineFunction row;
  row.name = name;
  row.arguments = {{names[I], ArgumentOf<Args>::kKind}...};
  row.bind = [=]([[maybe_unused]] std::span<const std::string> texts) -> BoundLineFunction {
    const std::tuple<Args...> values{ArgumentOf<Args>::kParse(names[I], texts[I])...};
    return [function, values](RecordSet& lines) {
      std::apply([&](const Args&... args) { function(lines, args...); }, values);
    };
  };
  return row;
}

template <typename... Args>
LineFunction Row(std::string_view name, void (*function)(RecordSet&, Args...),
                 std::type_identity_t<Names<Args...>> names = {}) {
  return MakeRow(name, function, names, std::index_sequence_for<Args...>());
}

LineFunction WalkingItself(LineFunction row) {
  row.walks_itself = true;
  return row;
}

// A step of the calculators that the library does not export.
void OsnovicaPdviUkupnoBezPovNak(RecordSet& lines, int d) {
  formulas::calcOsnovicaPdviUkupnoBezPovNak(lines, d);
}

#define MOX_ROW(function, ...) Row(#function, function __VA_OPT__(, ) __VA_ARGS__)

// The members of the calculators that take the decimals of tax amounts, or nothing.
#define MOX_WITH_D(function) Row(#function, function, {"d"})

std::vector<LineFunction> Formulas() {
  return {MOX_ROW(calcPci_pc_kolicina),
          MOX_ROW(calcNc_Kolicina),
          MOX_ROW(calcFC_Kolicina),
          MOX_ROW(calcVpc_Kolicina),
          MOX_ROW(calcMPC_Kolicina),
          MOX_ROW(calcNMPC_Kolicina),
          MOX_ROW(calcPov_nak_Kolicina),
          MOX_ROW(calcPot_nak_Kolicina),
          MOX_ROW(calcRabat),
          MOX_ROW(calcRabat1_2_3),
          MOX_ROW(calcRabatUlazni1_2_3),
          MOX_ROW(calcVpc_maloprodaja),
          MOX_ROW(calcVpc_maloprodaja_pov_nak),
          MOX_WITH_D(calcOsnovicaPdviUkupno),
          Row("calcOsnovicaPdviUkupnoBezPovNak", OsnovicaPdviUkupnoBezPovNak, {"d"}),
          MOX_WITH_D(calcPDVI_mal),
          MOX_WITH_D(calcPDVI_mal_pov_nak),
          MOX_WITH_D(calcPDVI_malPC),
          MOX_WITH_D(calcPDVI_malPC_pov_nak),
          MOX_ROW(calcMarza_vpci_nci),
          MOX_ROW(calcMari_vpci_nci),
          MOX_ROW(calcMarpMarzaNci),
          MOX_ROW(calcMal_Mari),
          MOX_ROW(calcMal_Mari_pov_naki),
          MOX_ROW(calcMal_Marp),
          MOX_WITH_D(calc_NC_PrimkaKalkulacija)};
}

std::vector<LineFunction> Costing() {
  return {MOX_ROW(CalcVPC_Marza_PrimkaKalkulacija, {"Mode", "Digits"}),
          MOX_ROW(Calc_PrimkaKalkulacija_VPC_OR_Marza, {"Mode", "Digits"}),
          MOX_ROW(CalcMPC_Marza_PrimkaKalkulacija, {"Mode", "VatDigits", "PriceDigits"}),
          MOX_ROW(CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH, {"Mode", "VatDigits"}),
          MOX_ROW(CalcNC_PrimkaZaTuduRobu),
          MOX_ROW(Calc_Marp_ZadanaMarza_ArtInsert, {"Price", "WithVat"})};
}

std::vector<LineFunction> Calculators() {
  return {MOX_ROW(MalPrimkaZaduzenjeStavkeCalcFields),
          MOX_ROW(RazduzenjeOtpisStavkeCalcFields),
          MOX_ROW(MeduskladisnicaUlazSetData),
          MOX_ROW(MeduskladisnicaIzlazStavkeCalcFields),
          MOX_ROW(PocetnoStanjeStavkeCalcFields),
          MOX_WITH_D(RazduzenjeManjakStavkeCalcFields),
          MOX_ROW(IzmjenaCijenaStavkeCalcFields),
          MOX_WITH_D(PovratnicaDobavljacuStavkeCalcFields),
          MOX_WITH_D(MalPovratnicaDobavljacuStavkeCalcFields),
          MOX_WITH_D(MatPovratnicaDobavljacuStavkeCalcFields),
          MOX_WITH_D(PovratnicaKupcaStavkeCalcFields),
          MOX_WITH_D(RacunVlastitePotrebeStavkeCalcFields),
          MOX_WITH_D(PredracunStavkeCalcFields),
          MOX_WITH_D(PredracunUslugeCalcFields),
          MOX_WITH_D(OtpremnicaRacunStavkeCalcFields),
          MOX_WITH_D(OtpremnicaRacunUslugeCalcFields),
          MOX_WITH_D(StornoOtpremnicaRacunStavkeCalcFields),
          MOX_WITH_D(StornoOtpremnicaRacunUslugeCalcFields),
          MOX_WITH_D(RacunUslugaCalcFields),
          MOX_WITH_D(RacunUslugaInozemstvoCalcFields),
          MOX_WITH_D(BezGotovinskiRacunServisUslugeCalcFields),
          MOX_WITH_D(BezGotovinskiRacunServisMaterijalCalcFields),
          MOX_WITH_D(GotovinskiRacunStavkeCalcFields),
          MOX_WITH_D(GotovinskiRacunUslugeCalcFields),
          MOX_WITH_D(StornoGotovinskiRacunStavkeCalcFields),
          MOX_WITH_D(GotovinskiRacunUslugaCalcFields),
          MOX_WITH_D(GotovinskiRacunUslugaMarinaCalcFields),
          MOX_WITH_D(GotovinskiRacunServisUslugeCalcFields),
          MOX_WITH_D(GotovinskiRacunServisMaterijalCalcFields),
          MOX_WITH_D(MalGotovinskiRacunCalcFields),
          MOX_WITH_D(MalGotovinskiRacunCalcUsluge),
          MOX_WITH_D(RadniNalogStavkeCalcFields),
          MOX_WITH_D(RadniNalogUslugeCalcFields),
          MOX_WITH_D(MalDnevniIzvBlagCalcFields),
          MOX_ROW(PrimkaKalkulacija01CalcFields),
          MOX_ROW(StornoPrimkeKalkulacijeCalcFields, {"NcDigits", "Digits"})};
}

std::vector<LineFunction> Customs() {
  return {MOX_ROW(CarIzlazRaspodjelaTezinaPoKolicini),
          WalkingItself(MOX_ROW(PonistiCarinuPdv, {"ClearCustoms", "ClearVat"}))};
}

#undef MOX_ROW
#undef MOX_WITH_D

}  // namespace

const std::vector<LineFunctionGroup>& LineFunctions() {
  static const std::vector<LineFunctionGroup> groups = {{"line formulas", Formulas()},
                                                        {"costing of goods receipts", Costing()},
                                                        {"lines of whole documents", Calculators()},
                                                        {"customs", Customs()}};
  return groups;
}

const LineFunction& FindLineFunction(std::string_view name) {
  std::vector<std::string_view> names;
  for (const LineFunctionGroup& group : LineFunctions()) {
    if (const LineFunction* found = FindRow(group.functions, name)) return *found;
    for (const LineFunction& function : group.functions) names.push_back(function.name);
  }
  throw UsageError(ThereIsNo("function", name, names));
}

}  // namespace mox

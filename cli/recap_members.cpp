#include "cli/recap_members.h"

#include "cli/argument_text.h"
#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/calculations/special_procedures.h"
#include "mox/calculations/vat_recapitulation.h"

namespace mox {
namespace {

using SecondFile = RecapMember::SecondFile;

constexpr NamedArgument kDigits = {"Digits", true, "N"};

const std::vector<NamedArgument> kTwoAmounts = {
    {"AmountField1", false}, {"AmountField2", false}, {"RateField1", false}, {"RateField2", false}};
const std::vector<NamedArgument> kTwoAmountsAndDigits = [] {
  auto arguments = kTwoAmounts;
  arguments.push_back(kDigits);
  return arguments;
}();
const std::vector<NamedArgument> kSpecial = {{"SaleAmountField", false},
                                             {"PurchaseAmountField", false},
                                             {"RateField"},
                                             {"KindValueField"},
                                             {"KindFieldName"}};
const std::vector<NamedArgument> kSpecialWithConsumptionTax = [] {
  auto arguments = kSpecial;
  arguments.insert(arguments.begin() + 3, {"ConsumptionTaxRateField"});
  return arguments;
}();

const std::vector<std::string_view> kByRate = {"osnovica", "porez", "stopa", "oznaka_stope", "ukupno"};
const std::vector<std::string_view> kByRateAndKind = {"osnovica", "porez", "ukupno",      "neoporezivo",
                                                      "vrsta",    "stopa", "oznaka_stope"};
const std::vector<std::string_view> kByRatesAndKind = {
    "osnovica", "porez", "ukupno", "neoporezivo", "vrsta", "stopa", "oznaka_stope", "pp_iznos", "pp_stopa"};

// The members in their three shapes, as functions of a call.
template <auto kMember>
void TwoAmounts(const RecapCall& call, RecordSet& recap) {
  kMember(call.Numbers("AmountField1"), call.SecondNumbers("AmountField2"), call.Numbers("RateField1"),
          call.SecondNumbers("RateField2"), recap, call.Integer("Digits"));
}

template <auto kMember>
void Special(const RecapCall& call, RecordSet& recap) {
  kMember(call.Numbers("SaleAmountField"), call.Numbers("PurchaseAmountField"), *call.Numbers("RateField"),
          call.Column("KindValueField"), recap, call.Column("KindFieldName").Name());
}

const std::vector<RecapMember> kMembers = {
    {"FillPDVData", kTwoAmountsAndDigits, SecondFile::kOptional, kByRate, TwoAmounts<FillPDVData>},
    {"FillPDVDataPPOM", kTwoAmountsAndDigits, SecondFile::kOptional, kByRate, TwoAmounts<FillPDVDataPPOM>},
    {"FillPDVDataIznosBezPDV", kTwoAmounts, SecondFile::kOptional, kByRate,
     [](const RecapCall& call, RecordSet& recap) {
       FillPDVDataIznosBezPDV(call.Numbers("AmountField1"), call.SecondNumbers("AmountField2"),
                              call.Numbers("RateField1"), call.SecondNumbers("RateField2"), recap);
     }},
    {"FillPDVDataPovDob",
     {{"RateField"}, {"AmountField"}, kDigits},
     SecondFile::kNone,
     kByRate,
     [](const RecapCall& call, RecordSet& recap) {
       FillPDVDataPovDob(*call.Numbers("RateField"), *call.Numbers("AmountField"), recap,
                         call.Integer("Digits"));
     }},
    {"FillPDVDataKnjigaPopisa",
     {},
     SecondFile::kRequired,
     {},
     [](const RecapCall& call, RecordSet& book) { FillPDVDataKnjigaPopisa(call.Lines(), book); },
     {"ukupno", "pdvi", "tbr_stp"},
     {"stopa", "roba_iznos", "porezroba_iznos", "pov_nak_izn"}},
    {"FillPDVDataPosebniPostupak", kSpecial, SecondFile::kNone, kByRateAndKind,
     Special<FillPDVDataPosebniPostupak>},
    {"FillPDVDataAranzmanPosebniPostupak", kSpecial, SecondFile::kNone, kByRateAndKind,
     Special<FillPDVDataAranzmanPosebniPostupak>},
    {"FillPDVDataHTLPosebniPostupakPP", kSpecialWithConsumptionTax, SecondFile::kNone, kByRatesAndKind,
     [](const RecapCall& call, RecordSet& recap) {
       FillPDVDataHTLPosebniPostupakPP(call.Numbers("SaleAmountField"), call.Numbers("PurchaseAmountField"),
                                       *call.Numbers("RateField"), *call.Numbers("ConsumptionTaxRateField"),
                                       call.Column("KindValueField"), recap,
                                       call.Column("KindFieldName").Name());
     }}};

}  // namespace

int RecapCall::Integer(std::string_view name) const { return IntegerArgument(name, Text(name)); }

Field RecapCall::ColumnOf(RecordSet& records, std::string_view name) const {
  const std::string& column = Text(name);
  if (const auto field = records.FindField(column)) return *field;
  std::vector<std::string_view> names;
  for (std::size_t i = 0; i < records.FieldCount(); ++i) names.push_back(records.Definition(i).name);
  throw Error(records.Name() + ": " + std::string(name) + "=: field \"" + column + "\" not found" +
              DidYouMean(column, names));
}

std::optional<Field> RecapCall::NumbersOf(RecordSet& records, std::string_view name) const {
  if (Find(name) == nullptr) return std::nullopt;
  const Field field = ColumnOf(records, name);
  const FieldKind kind = field.Kind();
  if (kind != FieldKind::kCurrency && kind != FieldKind::kFloat && kind != FieldKind::kInteger) {
    throw Error(records.Name() + ": " + NoNumbersText(records.Definition(field.Index())));
  }
  return field;
}

std::span<const RecapMember> RecapMembers() { return kMembers; }

const RecapMember& FindRecapMember(std::string_view name) {
  if (const RecapMember* found = FindRow(kMembers, name)) return *found;
  throw UsageError(ThereIsNo("member", name, NamesOf(kMembers)));
}

void CheckRecapValues(const RecapMember& member, std::span<const NamedValue> values) {
  CheckNamedValues(member.name, member.arguments, values);
  for (const std::string number : {"1", "2"}) {
    const std::string amount = "AmountField" + number;
    const std::string rate = "RateField" + number;
    const bool has_rate = FindValue(values, rate) != nullptr;
    if (has_rate == (FindValue(values, amount) != nullptr)) continue;
    throw UsageError(has_rate ? rate + "= is given without " + amount + "="
                              : amount + "= is given without " + rate + "=");
  }
}

RecordSet DeclareRecap(const RecapMember& member) {
  RecordSet recap("recapitulation");
  for (const std::string_view name : member.fields) {
    recap.DefineField(name, kVocabulary[static_cast<std::size_t>(*FindInVocabulary(name))].kind);
  }
  recap.Open();
  return recap;
}

}  // namespace mox

#include "cli/recap_members.h"

#include <algorithm>
#include <cctype>

#include "cli/argument_text.h"
#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/calculations/vat_recapitulation.h"

namespace mox {
namespace {

using Need = RecapMember::Need;
using SecondFile = RecapMember::SecondFile;

const std::vector<RecapMember::Argument> kTwoAmounts = {{"AmountField1", Need::kOptional},
                                                        {"AmountField2", Need::kOptional},
                                                        {"RateField1", Need::kWithAmount},
                                                        {"RateField2", Need::kWithAmount}};
const std::vector<RecapMember::Argument> kTwoAmountsAndDigits = [] {
  auto arguments = kTwoAmounts;
  arguments.push_back({"Digits", Need::kRequired});
  return arguments;
}();
const std::vector<RecapMember::Argument> kSpecial = {{"SaleAmountField", Need::kOptional},
                                                     {"PurchaseAmountField", Need::kOptional},
                                                     {"RateField", Need::kRequired},
                                                     {"KindValueField", Need::kRequired},
                                                     {"KindFieldName", Need::kRequired}};
const std::vector<RecapMember::Argument> kSpecialWithConsumptionTax = [] {
  auto arguments = kSpecial;
  arguments.insert(arguments.begin() + 3, {"ConsumptionTaxRateField", Need::kRequired});
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
     {{"RateField", Need::kRequired}, {"AmountField", Need::kRequired}, {"Digits", Need::kRequired}},
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

bool IsGiven(std::span<const RecapValue> values, std::string_view name) {
  return std::any_of(values.begin(), values.end(),
                     [&](const RecapValue& value) { return value.name == name; });
}

void CheckMissing(const RecapMember::Argument& argument, std::span<const RecapValue> values) {
  const std::string name(argument.name);
  const bool given = IsGiven(values, name);
  if (argument.need == Need::kRequired && !given) throw UsageError(name + "= is required");
  if (argument.need != Need::kWithAmount) return;
  const std::string amount = std::string("AmountField") + name.back();
  if (IsGiven(values, amount) == given) return;
  throw UsageError(given ? name + "= is given without " + amount + "="
                         : amount + "= is given without " + name + "=");
}

}  // namespace

std::optional<RecapValue> ParseRecapValue(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view name = text.substr(0, equals);
  const bool is_name = !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '_';
  });
  if (!is_name) return std::nullopt;
  return RecapValue{std::string(name), std::string(text.substr(equals + 1))};
}

const std::string* RecapCall::Find(std::string_view name) const {
  for (const RecapValue& value : values_) {
    if (value.name == name) return &value.value;
  }
  return nullptr;
}

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

void CheckRecapValues(const RecapMember& member, std::span<const RecapValue> values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string& name = values[i].name;
    const auto* const argument = FindRow(member.arguments, name);
    if (argument == nullptr) {
      throw UsageError(std::string(member.name) + " has no argument \"" + name + "\"" +
                       DidYouMeanAmong(member.arguments, name));
    }
    if (values[i].value.empty()) throw UsageError(name + "= has no value");
    if (IsGiven(values.subspan(i + 1), name)) throw UsageError(name + "= is given twice");
    if (name == "Digits") IntegerArgument(name, values[i].value);
  }
  for (const RecapMember::Argument& argument : member.arguments) CheckMissing(argument, values);
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

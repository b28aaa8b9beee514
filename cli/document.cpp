#include "cli/document.h"

#include <algorithm>
#include <array>

#include "cli/column_check.h"
#include "cli/recap_members.h"
#include "mox/foundation/precision.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::array<std::string_view, 13> kUnitPrices = {
    "nc", "fc", "vpc", "mpc", "mpcv", "nmpc", "nvpc", "pc", "pc_int", "nca", "mpca", "pov_nak", "pot_nak"};

auto FindByName(std::vector<FieldDef>& fields, std::string_view name) {
  return std::find_if(fields.begin(), fields.end(),
                      [name](const FieldDef& field) { return SameName(field.name, name); });
}

// Refuses a file without the input columns, and adds the calculated ones that it does not have.
void DeclareLines(const LineSchema& schema, const std::string& label, std::vector<FieldDef>& fields) {
  std::string missing;
  for (const std::string_view name : SplitNames(schema.inputs)) {
    if (const auto field = FindByName(fields, name); field != fields.end()) {
      if (HoldsNoNumbers(*field)) throw Error(label + ":1: " + NoNumbersText(*field));
      continue;
    }
    missing += (missing.empty() ? "" : ", ") + std::string(name);
  }
  if (!missing.empty()) throw Error(label + ":1: columns are missing: " + missing);
  for (const std::string_view name : SplitNames(schema.calculated)) {
    auto field = FindByName(fields, name);
    if (field == fields.end()) {
      FieldDef added;
      added.name = name;
      added.kind = kVocabulary[static_cast<std::size_t>(*FindInVocabulary(name))].kind;
      field = fields.insert(fields.end(), std::move(added));
    }
    field->calculated = true;
  }
}

struct Sum {
  std::string field;
  Currency amount;
};

void AddAmounts(RecordSet& records, std::vector<Sum>& sums) {
  std::vector<std::pair<std::size_t, std::size_t>> columns;  // index of the field, of the sum
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    if (!IsAmountField(field)) continue;
    const auto sum = std::find_if(sums.begin(), sums.end(),
                                  [&](const Sum& known) { return SameName(known.field, field.name); });
    columns.emplace_back(i, static_cast<std::size_t>(sum - sums.begin()));
    if (sum == sums.end()) sums.push_back({field.name, Currency()});
  }
  for (records.First(); !records.Eof(); records.Next()) {
    for (const auto& [index, sum] : columns) sums[sum].amount += records.AsCurrency(index);
  }
}

Currency SumOf(RecordSet& records, std::string_view field) {
  Currency sum;
  const Field amount = records.FieldByName(field);
  for (records.First(); !records.Eof(); records.Next()) sum += amount.AsCurrency();
  return sum;
}

bool HasTotal(const LineSchema& schema) {
  const std::vector<std::string_view> calculated = SplitNames(schema.calculated);
  return std::find(calculated.begin(), calculated.end(), schema.total) != calculated.end();
}

}  // namespace

bool IsAmountField(const FieldDef& field) {
  if (field.kind != FieldKind::kCurrency || !FindInVocabulary(field.name)) return false;
  return std::none_of(kUnitPrices.begin(), kUnitPrices.end(),
                      [&](std::string_view price) { return SameName(price, field.name); });
}

Document::Document(const DocumentKind& kind, const std::vector<FileText>& files)
    : kind_(kind), digits_{GetPdviCalcDigit(), GetNcCalcDigit(), GetPcCalcDigit()} {
  auto file = files.begin();
  if (kind.goods.Exists() && file != files.end()) goods_ = Load(kind.goods, *file++);
  if (kind.services.Exists() && file != files.end()) services_ = Load(kind.services, *file++);
  watch_.Run([this] { FillRecap(); });
  watch_.Run([this] { FillTotals(); });
}

std::unique_ptr<Document::Lines> Document::Load(const LineSchema& schema, const FileText& text) {
  ReadOptions options;
  options.declare = [&schema](const std::string& label, std::vector<FieldDef>& fields) {
    DeclareLines(schema, label, fields);
  };
  options.on_calc_fields = [&schema, this](RecordSet& lines) { schema.calculate(lines, digits_); };
  auto loaded = std::unique_ptr<Lines>(new Lines{schema, ReadRecordSet(text, options)});
  loaded->file.records.SetOnCalcFields([lines = loaded.get(), this](RecordSet& records) {
    watch_.Visit(lines->file, records);
    lines->schema.calculate(records, digits_);
  });
  return loaded;
}

void Document::FillRecap() {
  if (kind_.recap_member.empty()) return;
  const RecapMember& member = FindRecapMember(kind_.recap_member);
  const bool has_both_sorts = kind_.goods.Exists() && kind_.services.Exists();
  std::vector<NamedValue> values;
  for (const std::string_view word : SplitNames(kind_.recap_values)) {
    NamedValue value = *ParseNamedValue(word);
    const bool of_services = has_both_sorts && value.name.ends_with('2');
    if (!of_services || services_) values.push_back(std::move(value));
  }
  const bool has_digits = std::any_of(member.arguments.begin(), member.arguments.end(),
                                      [](const auto& argument) { return argument.name == "Digits"; });
  const int digits = kind_.recap_digits != 0 ? kind_.recap_digits : digits_.vat;
  if (has_digits) values.push_back({"Digits", std::to_string(digits)});
  CheckRecapValues(member, values);

  RecordSet* const lines = goods_ ? Goods() : Services();
  recap_ = DeclareRecap(member);
  member.fill(RecapCall(values, *lines, goods_ ? Services() : nullptr), *recap_);
}

void Document::FillTotals() {
  std::vector<Sum> sums;
  if (goods_) AddAmounts(*Goods(), sums);
  if (services_) AddAmounts(*Services(), sums);
  std::vector<Sum> recap_sums;
  if (recap_) AddAmounts(*recap_, recap_sums);

  totals_ = RecordSet("totals");
  totals_.DefineField("izvor", FieldKind::kText);
  totals_.DefineField("polje", FieldKind::kText);
  totals_.DefineField("iznos", FieldKind::kCurrency);
  totals_.Open();
  for (const Sum& sum : sums) totals_.AppendRecord({std::string("stavke"), sum.field, sum.amount});
  for (const Sum& sum : recap_sums) {
    totals_.AppendRecord({std::string("rekapitulacija"), sum.field, sum.amount});
  }
}

std::optional<Currency> Document::Total() {
  Currency total;
  for (const auto* lines : {&goods_, &services_}) {
    if (*lines == nullptr) continue;
    if (!HasTotal((*lines)->schema)) return recap_ ? std::optional(SumOf(*recap_, "ukupno")) : std::nullopt;
    total += SumOf((*lines)->file.records, (*lines)->schema.total);
  }
  return total;
}

}  // namespace mox

#include "mox/documents/document_figures.h"

#include <algorithm>
#include <string>

#include "mox/documents/record_walk_internal.h"

namespace mox {
namespace {

constexpr Currency kHundredth = Currency::FromScaled(Currency::kScale / 100);

struct BaseAndTax {
  Currency base;
  Currency tax;
  std::size_t lines = 0;
};

bool Calculates(const LineSchema& schema, std::string_view field) {
  const std::vector<std::string_view> names = SplitNames(schema.calculated);
  return std::find(names.begin(), names.end(), field) != names.end();
}

Currency SumOfAll(const RecordSet& records, std::string_view fields) {
  Currency sum;
  for (const std::string_view field : SplitNames(fields)) sum += SumOf(records, field);
  return sum;
}

// The fees that the lines have by their kind, which carry no tax.
Currency Fees(const LineSchema& schema, const RecordSet& lines) {
  return Calculates(schema, field::pov_naki.text) ? SumOf(lines, field::pov_naki.text) : Currency();
}

BaseAndTax FiguresOf(const LineSchema& schema, const DocumentRecap::Columns& columns,
                     const RecordSet& lines) {
  BaseAndTax figures;
  figures.tax = SumOfAll(lines, schema.tax);
  figures.base = !schema.base.empty() ? SumOfAll(lines, schema.base)
                                      : SumOf(lines, columns.amount.text) - Fees(schema, lines) - figures.tax;
  figures.lines = lines.RowCount();
  return figures;
}

bool HasOutputTaxKinds(const RecordSet& recap) {
  bool has = false;
  if (const auto kind = recap.FindFieldIndex(field::vrsta.text)) {
    ForEachRow(recap, [&](const RecordRow& row) { has = has || !row.IsNull(*kind); });
  }
  return has;
}

bool Differ(Currency a, Currency b, std::size_t roundings) {
  const Currency difference = a < b ? b - a : a - b;
  return difference > Currency::FromScaled(kHundredth.scaled() * static_cast<std::int64_t>(roundings));
}

std::string Shown(const BaseAndTax& figures, bool with_tax) {
  return "base " + figures.base.ToString() + (with_tax ? " and tax " + figures.tax.ToString() : "");
}

}  // namespace

std::optional<Currency> ToBePaid(const DocumentKind& kind, const DocumentSets& sets) {
  Currency total;
  if (!kind.goods.to_be_paid && !kind.services.to_be_paid) {
    if (!kind.recap.Exists()) return std::nullopt;
    if (sets.recap != nullptr) {
      total = SumOf(*sets.recap, field::osnovica.text) + SumOf(*sets.recap, field::porez.text);
    }
    if (sets.goods != nullptr) total += Fees(kind.goods, *sets.goods);
    return total;
  }
  if (sets.goods != nullptr && kind.goods.to_be_paid)
    total += SumOf(*sets.goods, kind.goods.to_be_paid->text);
  if (sets.services != nullptr && kind.services.to_be_paid) {
    total += SumOf(*sets.services, kind.services.to_be_paid->text);
  }
  return total;
}

void CheckRecapitulation(const DocumentKind& kind, const DocumentSets& sets) {
  if (!kind.recap.Exists() || sets.recap == nullptr || HasOutputTaxKinds(*sets.recap)) return;
  const bool has_both_sorts = kind.goods.Exists() && kind.services.Exists();
  BaseAndTax lines;
  bool with_tax = false;
  const auto add = [&](const LineSchema& schema, const DocumentRecap::Columns& columns,
                       const RecordSet* records) {
    if (records == nullptr || !schema.Exists()) return;
    const BaseAndTax figures = FiguresOf(schema, columns, *records);
    lines.base += figures.base;
    lines.tax += figures.tax;
    lines.lines += figures.lines;
    with_tax = with_tax || !schema.tax.empty();
  };
  add(kind.goods, kind.recap.first, sets.goods);
  add(kind.services, has_both_sorts ? kind.recap.second.value_or(kind.recap.first) : kind.recap.first,
      sets.services);
  const BaseAndTax recap{SumOf(*sets.recap, field::osnovica.text), SumOf(*sets.recap, field::porez.text)};
  const std::size_t roundings = lines.lines + sets.recap->RowCount();
  if (Differ(lines.base, recap.base, roundings) || (with_tax && Differ(lines.tax, recap.tax, roundings))) {
    throw Error("the lines have the " + Shown(lines, with_tax) + ", the recapitulation has the " +
                Shown(recap, with_tax));
  }
}

bool IsAmountField(const FieldDef& field) {
  if (field.kind != FieldKind::kCurrency) return false;
  const VocabularyEntry* const known = FindVocabularyEntry(field.name);
  return known != nullptr && known->measure == Measure::kAmount;
}

}  // namespace mox

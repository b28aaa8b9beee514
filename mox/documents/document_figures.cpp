#include "mox/documents/document_figures.h"

#include <algorithm>
#include <string>

#include "mox/calculations/supplier_totals.h"
#include "mox/documents/record_walk_internal.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"
#include "mox/foundation/write_and_post_internal.h"

namespace mox {
namespace {

constexpr Currency kHalfHundredth = Currency::FromScaled(Currency::kScale / 200);

using Names = std::vector<std::string_view>;

bool Has(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

Currency SumInRow(const RecordRow& row, const std::vector<std::size_t>& columns) {
  Currency sum;
  for (const std::size_t column : columns) sum += row.AsCurrency(column);
  return sum;
}

// The columns of those names that the records have.
std::vector<std::size_t> ColumnsOf(const RecordSet& records, const Names& names) {
  std::vector<std::size_t> columns;
  for (const std::string_view name : names) {
    if (const auto column = records.FindFieldIndex(name)) columns.push_back(*column);
  }
  return columns;
}

// One sort of lines of a document, how it is calculated and what of it is recapitulated.
struct Sort {
  const char* name;
  const LineSchema& schema;
  const DocumentRecap::Columns& recapitulated;
  const RecordSet* records;
};

std::vector<Sort> SortsOf(const DocumentKind& kind, const DocumentSets& sets) {
  const bool has_both_sorts = kind.goods.Exists() && kind.services.Exists();
  const DocumentRecap& recap = kind.recap;
  std::vector<Sort> sorts;
  if (sets.goods != nullptr && kind.goods.Exists()) {
    sorts.push_back({"Stavke", kind.goods, recap.first, sets.goods});
  }
  if (sets.services != nullptr && kind.services.Exists()) {
    sorts.push_back({"Usluge", kind.services, has_both_sorts && recap.second ? *recap.second : recap.first,
                     sets.services});
  }
  return sorts;
}

// The calculated fields on which the figures of a document rest; of lines without tax all amounts.
Names FiguresOf(const DocumentKind& kind, const Sort& sort) {
  const LineSchema& schema = sort.schema;
  Names figures;
  for (const std::string_view name : SplitNames(schema.calculated)) {
    const bool counts = !kind.recap.Exists()
                            ? FindVocabularyEntry(name)->measure == Measure::kAmount
                            : name == sort.recapitulated.amount.text || name == field::pov_naki.text ||
                                  (schema.to_be_paid && name == schema.to_be_paid->text) ||
                                  Has(SplitNames(schema.base), name) || Has(SplitNames(schema.tax), name);
    if (counts) figures.push_back(name);
  }
  return figures;
}

// Some calculators leave a line without quantity as it is.
void RequireCalculated(const DocumentKind& kind, const Sort& sort) {
  const auto quantity = sort.records->FindFieldIndex(field::kolicina.text);
  for (const std::string_view name : FiguresOf(kind, sort)) {
    const auto column = sort.records->FindFieldIndex(name);
    for (std::size_t row = 0; row < sort.records->RowCount(); ++row) {
      const RecordRow line = sort.records->RowAt(row);
      if (column && !line.IsNull(*column)) continue;
      if (quantity && line.AsFloat(*quantity) == 0) continue;
      throw Error(std::string(sort.name) + ": row " + std::to_string(row + 1) + ": " + std::string(name) +
                  ": is not calculated");
    }
  }
}

bool IsFinerThanHundredths(Currency amount) { return amount.scaled() % (2 * kHalfHundredth.scaled()) != 0; }

struct BaseAndTax {
  Currency base;
  Currency tax;
};

// What lines and recapitulation say of one rate.
struct RateFigures {
  double rate;
  BaseAndTax lines;
  BaseAndTax recap;
  std::int64_t roundings = 0;  // of tax, in the lines
  bool is_finer = false;       // than hundredths
};

RateFigures& OfRate(std::vector<RateFigures>& figures, double rate) {
  const auto found = std::find_if(figures.begin(), figures.end(),
                                  [rate](const RateFigures& known) { return known.rate == rate; });
  if (found != figures.end()) return *found;
  return figures.emplace_back(RateFigures{.rate = rate, .lines = {}, .recap = {}});
}

void AddLines(const Sort& sort, std::vector<RateFigures>& figures) {
  const RecordSet& records = *sort.records;
  const LineSchema& schema = sort.schema;
  const std::vector<std::size_t> taxes = ColumnsOf(records, SplitNames(schema.tax));
  std::vector<std::size_t> bases = ColumnsOf(records, SplitNames(schema.base));
  std::vector<std::size_t> fees;
  if (schema.base.empty()) {
    bases = ColumnsOf(records, {sort.recapitulated.amount.text});
    if (HasFees(schema)) fees = ColumnsOf(records, {field::pov_naki.text});
  }
  const auto rate = records.FindFieldIndex(sort.recapitulated.rate.text);
  ForEachRow(records, [&](const RecordRow& row) {
    RateFigures& of_rate = OfRate(figures, rate ? row.AsFloat(*rate) : 0);
    const Currency tax = SumInRow(row, taxes);
    of_rate.lines.tax += tax;
    of_rate.lines.base += SumInRow(row, bases);
    if (schema.base.empty()) of_rate.lines.base -= SumInRow(row, fees) + tax;
    of_rate.is_finer = of_rate.is_finer || IsFinerThanHundredths(tax);
    of_rate.roundings += static_cast<std::int64_t>(taxes.size());
  });
}

void AddRecapitulation(const RecordSet& recap, std::vector<RateFigures>& figures) {
  for (const std::string_view name : {field::neoporezivo.text, field::pp_iznos.text}) {
    if (!SumOf(recap, name).IsZero()) {
      throw Error("the recapitulation has " + std::string(name) + ", which no line can have");
    }
  }
  const auto rate = recap.FindFieldIndex(field::stopa.text);
  const std::vector<std::size_t> base = ColumnsOf(recap, {field::osnovica.text});
  const std::vector<std::size_t> tax = ColumnsOf(recap, {field::porez.text});
  ForEachRow(recap, [&](const RecordRow& row) {
    RateFigures& of_rate = OfRate(figures, rate ? row.AsFloat(*rate) : 0);
    of_rate.recap.base += SumInRow(row, base);
    of_rate.is_finer = of_rate.is_finer || IsFinerThanHundredths(of_rate.recap.base);
    of_rate.recap.tax += SumInRow(row, tax);
  });
}

// Where the recapitulation taxes the whole base of a rate.
Currency TaxOfBase(const RateFigures& of_rate) { return R2(of_rate.lines.base * Real(of_rate.rate) / 100); }

Currency Distance(Currency a, Currency b) { return a < b ? b - a : a - b; }

std::string Shown(const BaseAndTax& figures) {
  return "base " + figures.base.ToString() + " and tax " + figures.tax.ToString();
}

Currency HalfHundredths(std::int64_t count) { return Currency::FromScaled(kHalfHundredth.scaled() * count); }

// Taxes of whole hundredths leave nothing to rounding. Of lines with finer ones the totals are rounded, and
// so is the tax of a rate. Where the tax is that of the whole base of a rate, each tax of a line was rounded.
bool Agree(const DocumentRecap& recap, const RateFigures& of_rate) {
  const Currency base_gap = Distance(of_rate.lines.base, of_rate.recap.base);
  const Currency tax_gap = Distance(of_rate.lines.tax, of_rate.recap.tax);
  if (!recap.takes_digits) {
    return base_gap.IsZero() && of_rate.recap.tax == TaxOfBase(of_rate) &&
           tax_gap <= HalfHundredths(1 + of_rate.roundings);
  }
  if (!of_rate.is_finer) return base_gap.IsZero() && tax_gap.IsZero();
  return base_gap <= HalfHundredths(of_rate.roundings) && tax_gap <= HalfHundredths(1 + of_rate.roundings);
}

void CompareRates(const DocumentKind& kind, const std::vector<RateFigures>& figures) {
  for (const RateFigures& of_rate : figures) {
    if (Agree(kind.recap, of_rate)) continue;
    throw Error("at " + ShortestNumber(of_rate.rate) + " % the lines have the " + Shown(of_rate.lines) +
                ", the recapitulation has the " + Shown(of_rate.recap));
  }
}

}  // namespace

bool HasSupplierTotals(const DocumentKind& kind) {
  return kind.is == DocumentClass::kGoodsReceipt && kind.recap.Exists();
}

bool HasFees(const LineSchema& schema) { return Has(SplitNames(schema.calculated), field::pov_naki.text); }

Currency Fees(const DocumentKind& kind, const DocumentSets& sets) {
  Currency fees;
  for (const Sort& sort : SortsOf(kind, sets)) {
    if (HasFees(sort.schema)) fees += SumOf(*sort.records, field::pov_naki.text);
  }
  return fees;
}

std::optional<Currency> ToBePaid(const DocumentKind& kind, const DocumentSets& sets) {
  if (!kind.recap.Exists()) return std::nullopt;
  Currency total;
  if (kind.goods.to_be_paid || kind.services.to_be_paid) {
    for (const Sort& sort : SortsOf(kind, sets)) {
      if (sort.schema.to_be_paid) total += SumOf(*sort.records, sort.schema.to_be_paid->text);
    }
    return total;
  }
  if (sets.recap != nullptr) total = SumOf(*sets.recap, field::osnovica.text);
  if (HasSupplierTotals(kind) && !CarriesInputTax(sets.supplier_document)) return total;
  if (sets.recap != nullptr) total += SumOf(*sets.recap, field::porez.text);
  return total + Fees(kind, sets);
}

void CheckFigures(const DocumentKind& kind, const DocumentSets& sets) {
  const std::vector<Sort> sorts = SortsOf(kind, sets);
  for (const Sort& sort : sorts) RequireCalculated(kind, sort);
  const bool is_recapitulated = sets.recap != nullptr && !sets.recap->IsEmpty();
  if (!kind.recap.Exists()) {
    if (is_recapitulated) throw Error(std::string(kind.name) + " has no tax, but a recapitulation");
    return;
  }
  if (!is_recapitulated) throw Error(std::string(kind.name) + " has tax, but no recapitulation");
  std::vector<RateFigures> figures;
  for (const Sort& sort : sorts) AddLines(sort, figures);
  AddRecapitulation(*sets.recap, figures);
  // Lines without a tax of their own have that of their base.
  for (RateFigures& of_rate : figures) {
    if (!kind.recap.takes_digits && of_rate.roundings == 0) of_rate.lines.tax = TaxOfBase(of_rate);
  }
  CompareRates(kind, figures);
}

void FillSupplierTotals(RecordSet& totals, const RecordSet& goods, const SupplierTerms& terms) {
  RecordSet lines;
  for (const char* const name :
       {field::tbr_stp.text, field::nfci.text, field::zti.text, field::pov_nak.text, field::kolicina.text}) {
    const auto given = goods.FindFieldIndex(name);
    lines.DefineField(name, given ? goods.Definition(*given).kind : FindVocabularyEntry(name)->kind);
  }
  lines.Open();
  lines.DataTransfer(goods);
  totals.First();
  WriteAndPost(totals, [&] {
    if (totals.FindField("roba_17")) {
      CalcDocDobavljacaBIH(DocDobavljacaBIHFieldsOf(totals), lines, terms.supplier_document);
    } else {
      CalcDocDobavljaca(DocDobavljacaFieldsOf(totals), lines, terms.supplier_document, terms.digits,
                        terms.costs_count);
    }
  });
}

bool IsAmountField(const FieldDef& field) {
  if (field.kind != FieldKind::kCurrency) return false;
  const VocabularyEntry* const known = FindVocabularyEntry(field.name);
  return known != nullptr && known->measure == Measure::kAmount;
}

}  // namespace mox

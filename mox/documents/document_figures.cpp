#include "mox/documents/document_figures.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>

#include "mox/calculations/by_rate_internal.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/documents/column_sum_internal.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"
#include "mox/foundation/write_and_post_internal.h"

namespace mox {
namespace {

constexpr Currency kHalfHundredth = Currency::FromScaled(Currency::kScale / 200);
constexpr Currency kHundredth = Currency::FromScaled(Currency::kScale / 100);

using Names = std::vector<std::string_view>;

bool Has(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

Currency SumInRow(const RecordRow& row, const std::vector<std::size_t>& columns) {
  Currency sum;
  for (const std::size_t column : columns) sum += row.AsCurrency(column);
  return sum;
}

Currency Distance(Currency a, Currency b) { return a < b ? b - a : a - b; }

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

// A unit price that was entered, and the amount that is quantity times it.
struct Product {
  std::string_view price;
  std::size_t price_column;
  std::size_t amount_column;
};

std::vector<Product> ProductsOf(const Sort& sort) {
  std::vector<Product> products;
  const Names calculated = SplitNames(sort.schema.calculated);
  for (const std::string_view price : SplitNames(sort.schema.inputs)) {
    const std::string amount = std::string(price) + 'i';
    const auto price_column = sort.records->FindFieldIndex(price);
    const auto amount_column = sort.records->FindFieldIndex(amount);
    if (!price_column || !amount_column || !Has(calculated, amount)) continue;
    products.push_back({price, *price_column, *amount_column});
  }
  return products;
}

// The lines of one sort, one after the other.
class LineChecks {
 public:
  LineChecks(const DocumentKind& kind, const Sort& sort)
      : sort_(sort),
        quantity_(sort.records->FindFieldIndex(field::kolicina.text)),
        products_(quantity_ ? ProductsOf(sort) : std::vector<Product>()) {
    for (const std::string_view name : FiguresOf(kind, sort)) {
      figures_.emplace_back(name, sort.records->FindFieldIndex(name));
    }
    if (Has(SplitNames(sort.schema.inputs), field::tbr_stp.text)) {
      rate_ = sort.records->FindFieldIndex(field::tbr_stp.text);
    }
    is_taxed_ = kind.recap.Exists();
    amounts_ = ColumnsOf(*sort.records, {sort.recapitulated.amount.text});
    bases_ = ColumnsOf(*sort.records, SplitNames(sort.schema.base));
    taxes_ = ColumnsOf(*sort.records, SplitNames(sort.schema.tax));
    if (HasFees(sort.schema)) fees_ = ColumnsOf(*sort.records, {field::pov_naki.text});
    if (sort.schema.to_be_paid) paid_ = sort.records->FindFieldIndex(sort.schema.to_be_paid->text);
  }

  void Check() {
    for (const RecordRow& line : sort_.records->Rows()) {
      ++row_;
      const double quantity = quantity_ ? line.AsFloat(*quantity_) : 0;
      // Some calculators leave a line without quantity as it is.
      if (!quantity_ || quantity != 0) RequireCalculated(line);
      if (quantity != 0) RequireProducts(line, quantity);
      if (rate_) RequireRate(line.AsFloat(*rate_));
      if (is_taxed_) RequireSum(line);
    }
  }

 private:
  [[noreturn]] void Refuse(std::string_view field, const std::string& reason) const {
    throw Error(std::string(sort_.name) + ": row " + std::to_string(row_) + ": " + std::string(field) + ": " +
                reason);
  }

  void RequireCalculated(const RecordRow& line) const {
    for (const auto& [name, column] : figures_) {
      if (!column || line.IsNull(*column)) Refuse(name, "is not calculated");
    }
  }

  // A price may be shown with fewer decimals than the amount was made of; more than that parts them only in a
  // line that nobody calculated.
  void RequireProducts(const RecordRow& line, double quantity) const {
    for (const Product& product : products_) {
      if (line.IsNull(product.price_column) || line.IsNull(product.amount_column)) continue;
      const double price = line.AsFloat(product.price_column);
      const double product_of_both = price * quantity;
      const Currency amount = line.AsCurrency(product.amount_column);
      const double gap = std::abs(amount.ToDouble() - product_of_both);
      if (gap <= kHalfHundredth.ToDouble()) continue;
      const double half_of_last_decimal = std::nearbyint(price * 100) / 100 == price ? 0.005 : 0.00005;
      const double explained = kHalfHundredth.ToDouble() + std::abs(quantity) * half_of_last_decimal;
      if (gap <= explained + std::abs(product_of_both) * kErrorOfProduct) continue;
      Refuse(sort_.records->Definition(product.amount_column).name,
             amount.ToString() + " is not kolicina " + ShortestNumber(quantity) + " times " +
                 std::string(product.price) + ' ' + ShortestNumber(price));
    }
  }

  // Calculators round each of these amounts once, so a cent may part them.
  void RequireSame(std::size_t column, Currency amount, Currency expected, const std::string& as) const {
    if (Distance(amount, expected) <= kHundredth) return;
    Refuse(sort_.records->Definition(column).name, amount.ToString() + " is not " + as);
  }

  // Base, tax and fee of a line, and what is to be paid for it.
  void RequireSum(const RecordRow& line) const {
    const Currency tax = SumInRow(line, taxes_);
    const Currency fee = SumInRow(line, fees_);
    Currency base = SumInRow(line, bases_);
    if (bases_.empty()) base = SumInRow(line, amounts_) - tax - fee;
    if (paid_) {
      RequireSame(*paid_, line.AsCurrency(*paid_), base + tax + fee,
                  "base " + base.ToString() + ", tax " + tax.ToString() + " and fee " + fee.ToString());
    }
    if (taxes_.empty() || !rate_) return;
    const double rate = line.AsFloat(*rate_);
    RequireSame(taxes_.front(), tax, R2(base * Real(rate) / 100),
                ShortestNumber(rate) + " % of base " + base.ToString());
  }

  void RequireRate(double rate) const {
    if (rate >= 0 && rate <= 100) return;
    Refuse(field::tbr_stp.text, ShortestNumber(rate) + " is no rate of tax, which is 0 to 100");
  }

  static constexpr double kErrorOfProduct = 1e-15;  // of factors and product together, as part of it

  const Sort& sort_;
  std::size_t row_ = 0;
  std::optional<std::size_t> quantity_;
  std::vector<Product> products_;
  std::vector<std::pair<std::string_view, std::optional<std::size_t>>> figures_;
  std::optional<std::size_t> rate_;
  bool is_taxed_ = false;
  std::vector<std::size_t> amounts_;
  std::vector<std::size_t> bases_;
  std::vector<std::size_t> taxes_;
  std::vector<std::size_t> fees_;
  std::optional<std::size_t> paid_;
};

bool IsFinerThanHundredths(Currency amount) { return amount.scaled() % (2 * kHalfHundredth.scaled()) != 0; }

struct BaseAndTax {
  Currency base;
  Currency tax;
};

// What lines and recapitulation say of one rate.
struct RateFigures {
  double rate = 0;
  BaseAndTax lines;
  BaseAndTax recap;
  std::int64_t roundings = 0;  // of tax, in the lines
  bool is_finer = false;       // than hundredths
};

void AddLines(const Sort& sort, ByRate<RateFigures>& figures) {
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
  for (const RecordRow& row : records.Rows()) {
    RateFigures& of_rate = figures.Of(rate ? row.AsFloat(*rate) : 0);
    const Currency tax = SumInRow(row, taxes);
    of_rate.lines.tax += tax;
    of_rate.lines.base += SumInRow(row, bases);
    if (schema.base.empty()) of_rate.lines.base -= SumInRow(row, fees) + tax;
    of_rate.is_finer = of_rate.is_finer || IsFinerThanHundredths(tax);
    of_rate.roundings += static_cast<std::int64_t>(taxes.size());
  }
}

std::string Shown(const BaseAndTax& figures) {
  return "base " + figures.base.ToString() + " and tax " + figures.tax.ToString();
}

// Every row of a recapitulation carries the fee of the last line of the first sort.
Currency CarriedFee(const std::vector<Sort>& sorts) {
  if (sorts.empty() || !HasFees(sorts.front().schema)) return {};
  const RecordTable& lines = sorts.front().records->Table();
  const auto fee = lines.Find(field::pov_naki.text);
  return fee && !lines.empty() ? lines[lines.size() - 1].AsCurrency(*fee) : Currency();
}

void AddRecapitulation(const RecordSet& recap, ByRate<RateFigures>& figures) {
  for (const std::string_view name : {field::neoporezivo.text, field::pp_iznos.text}) {
    if (!SumOf(recap, name).IsZero()) {
      throw Error("the recapitulation has " + std::string(name) + ", which no line can have");
    }
  }
  const auto rate = recap.FindFieldIndex(field::stopa.text);
  const std::vector<std::size_t> base = ColumnsOf(recap, {field::osnovica.text});
  const std::vector<std::size_t> tax = ColumnsOf(recap, {field::porez.text});
  for (const RecordRow& row : recap.Rows()) {
    const BaseAndTax of_row = {SumInRow(row, base), SumInRow(row, tax)};
    RateFigures& of_rate = figures.Of(rate ? row.AsFloat(*rate) : 0);
    of_rate.recap.base += of_row.base;
    of_rate.is_finer = of_rate.is_finer || IsFinerThanHundredths(of_rate.recap.base);
    of_rate.recap.tax += of_row.tax;
  }
}

// Where the recapitulation taxes the whole base of a rate.
Currency TaxOfBase(const RateFigures& of_rate) { return R2(of_rate.lines.base * Real(of_rate.rate) / 100); }

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

void CompareRates(const DocumentKind& kind, const ByRate<RateFigures>& figures) {
  for (const RateFigures& of_rate : figures.All()) {
    if (Agree(kind.recap, of_rate)) continue;
    throw Error("at " + ShortestNumber(of_rate.rate) + " % the lines have the " + Shown(of_rate.lines) +
                ", the recapitulation has the " + Shown(of_rate.recap));
  }
}

// What a row says besides base and tax is that of its base, tax and rate. The rate as people read it may be
// written as in any country, or in words.
void RequireRowOfRate(const RecordRow& row, Currency carried) {
  const double rate = row.Optional(field::stopa).ToDouble();
  const BaseAndTax figures = {row.Optional(field::osnovica), row.Optional(field::porez)};
  const std::string of_rate = "the recapitulation of " + ShortestNumber(rate) + " % ";
  const auto total = row.FindFieldIndex(field::ukupno.text);
  if (total && !row.IsNull(*total)) {
    const Currency rest = row.AsCurrency(*total) - figures.base - figures.tax;
    if (Distance(rest, {}) > kHundredth && Distance(rest, carried) > kHundredth) {
      throw Error(of_rate + "has the total " + row.AsCurrency(*total).ToString() + " of " + Shown(figures));
    }
  }
  const auto label = row.FindFieldIndex(field::oznaka_stope.text);
  if (!label || row.IsNull(*label)) return;
  std::string number = row.AsText(*label);
  std::erase_if(number, [](char c) { return c == '%' || c == ' '; });
  std::replace(number.begin(), number.end(), ',', '.');
  double shown = 0;
  const auto [end, fault] = std::from_chars(number.data(), number.data() + number.size(), shown);
  const bool is_number = fault == std::errc() && end == number.data() + number.size();
  if (!is_number || std::abs(shown - rate) < kHundredth.ToDouble()) return;
  throw Error(of_rate + "is labelled \"" + row.AsText(*label) + '"');
}

}  // namespace

bool HasSupplierTotals(const DocumentKind& kind) {
  return kind.is == DocumentClass::kGoodsReceipt && kind.recap.Exists();
}

bool IsUncharged(const DocumentKind& kind, std::string_view supplier_document) {
  return HasSupplierTotals(kind) && !CarriesInputTax(supplier_document);
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
    return R2(total);
  }
  if (sets.recap != nullptr) total = SumOf(*sets.recap, field::osnovica.text);
  if (IsUncharged(kind, sets.supplier_document)) return R2(total);
  if (sets.recap != nullptr) total += SumOf(*sets.recap, field::porez.text);
  return R2(total + Fees(kind, sets));
}

void CheckFigures(const DocumentKind& kind, const DocumentSets& sets) {
  const std::vector<Sort> sorts = SortsOf(kind, sets);
  for (const Sort& sort : sorts) LineChecks(kind, sort).Check();
  const bool is_recapitulated = sets.recap != nullptr && !sets.recap->IsEmpty();
  if (!kind.recap.Exists()) {
    if (is_recapitulated) throw Error(std::string(kind.name) + " has no tax, but a recapitulation");
    return;
  }
  if (!is_recapitulated) throw Error(std::string(kind.name) + " has tax, but no recapitulation");
  ByRate<RateFigures> figures;
  for (const Sort& sort : sorts) AddLines(sort, figures);
  AddRecapitulation(*sets.recap, figures);
  // Lines without a tax of their own have that of their base.
  for (RateFigures& of_rate : figures.All()) {
    if (!kind.recap.takes_digits && of_rate.roundings == 0) of_rate.lines.tax = TaxOfBase(of_rate);
  }
  CompareRates(kind, figures);
  const Currency carried = CarriedFee(sorts);
  for (const RecordRow& row : sets.recap->Rows()) RequireRowOfRate(row, carried);
}

void FillSupplierTotals(RecordSet& totals, const RecordSet& goods, const SupplierTerms& terms) {
  totals.First();
  WriteAndPost(totals, [&] {
    SumSupplierDocument(totals, goods.Table(), terms.supplier_document, terms.digits, terms.costs_count);
  });
}

bool IsAmountField(const FieldDef& field) {
  if (field.kind != FieldKind::kCurrency) return false;
  const VocabularyEntry* const known = FindVocabularyEntry(field.name);
  return known != nullptr && known->measure == Measure::kAmount;
}

}  // namespace mox

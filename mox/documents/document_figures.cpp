#include "mox/documents/document_figures.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>

#include "mox/calculations/by_rate_internal.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/documents/column_sum_internal.h"
#include "mox/documents/line_ties_internal.h"
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

// A cent may part what is the same in documents of old.
bool AreSame(Currency a, Currency b, FiguresOf of) {
  return a == b || (of == FiguresOf::kStored && Distance(a, b) <= kHundredth);
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
Names FiguresOfLine(const DocumentKind& kind, const Sort& sort) {
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

// A unit price, and an amount that is quantity times it.
struct Product {
  std::string_view price;
  std::string amount;
  std::size_t price_column;
  std::optional<std::size_t> amount_column;
  bool is_needed;  // as others follow from the amount
};

// Whether other amounts are sums or percentages of one.
bool IsFollowed(const LineSchema& schema, std::string_view amount) {
  return std::any_of(schema.sums.begin(), schema.sums.end(),
                     [&](std::string_view sum) { return Has(SplitNames(sum), amount); }) ||
         std::any_of(schema.percents.begin(), schema.percents.end(),
                     [&](const PercentOf& percent) { return Has(SplitNames(percent.of), amount); });
}

// Of the prices that were entered, and of those that are calculated and paid by. What goods cost the company
// is spread over them as finely or coarsely as it likes.
std::vector<Product> ProductsOf(const Sort& sort, FiguresOf of) {
  std::vector<Product> products;
  const LineSchema& schema = sort.schema;
  const Names calculated = SplitNames(schema.calculated);
  const auto add = [&](std::string_view price, std::string_view amount) {
    const auto price_column = sort.records->FindFieldIndex(price);
    const auto amount_column = sort.records->FindFieldIndex(amount);
    if (!price_column || !Has(calculated, amount)) return;
    const bool is_needed = of == FiguresOf::kNew && IsFollowed(schema, amount);
    if (amount_column || is_needed) {
      products.push_back({price, std::string(amount), *price_column, amount_column, is_needed});
    }
  };
  for (const std::string_view price : SplitNames(schema.inputs)) add(price, std::string(price) + 'i');
  if (of == FiguresOf::kStored) return products;
  add(field::mpcv.text, field::mpci_v.text);
  add(field::pc_int.text, field::pci_int.text);
  for (const std::string_view price : {field::pc.text, field::mpc.text, field::vpc.text}) {
    if (Has(calculated, price)) add(price, std::string(price) + 'i');
  }
  if (Has(calculated, field::mpc.text) && schema.to_be_paid) add(field::mpc.text, schema.to_be_paid->text);
  return products;
}

// The lines of one sort, one after the other.
class LineChecks {
 public:
  LineChecks(const DocumentKind& kind, const Sort& sort, FiguresOf of)
      : sort_(sort),
        of_(of),
        quantity_(sort.records->FindFieldIndex(field::kolicina.text)),
        products_(quantity_ ? ProductsOf(sort, of) : std::vector<Product>()),
        ties_(of == FiguresOf::kNew ? std::optional<LineTies>(std::in_place, sort.schema, *sort.records)
                                    : std::nullopt) {
    for (const std::string_view name : FiguresOfLine(kind, sort)) {
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
      if (!quantity_ || quantity != 0) RequireCalculated(line);
      // Some calculators leave a line without quantity as it is.
      const bool stays = sort_.schema.stays_without_quantity && quantity_ && !line.IsNull(*quantity_);
      if (quantity_ && (quantity != 0 || !stays)) RequireProducts(line, quantity);
      if (rate_) RequireRate(line.AsFloat(*rate_));
      if (ties_) {
        if (const auto loose = ties_->Find(line, quantity)) Refuse(line, loose->column, loose->as);
      }
      if (is_taxed_) RequirePaid(line);
    }
  }

 private:
  [[noreturn]] void Refuse(std::string_view field, const std::string& reason) const {
    throw Error(std::string(sort_.name) + ": row " + std::to_string(row_) + ": " + std::string(field) + ": " +
                reason);
  }
  [[noreturn]] void Refuse(const RecordRow& line, std::size_t column, const std::string& as) const {
    Refuse(line.Definition(column).name, line.AsCurrency(column).ToString() + " is not " + as);
  }

  void RequireCalculated(const RecordRow& line) const {
    for (const auto& [name, column] : figures_) {
      if (!column || line.IsNull(*column)) Refuse(name, "is not calculated");
    }
  }

  // A price may be shown with fewer decimals than the amount was made of, or than it was made of itself; more
  // than that parts them only in a line that nobody calculated.
  void RequireProducts(const RecordRow& line, double quantity) const {
    const auto has_price = [&line](const Product& product) {
      return line.AsFloat(product.price_column) != 0;
    };
    if (of_ == FiguresOf::kNew && quantity == 0 && paid_ && !line.AsCurrency(*paid_).IsZero() &&
        (!line.IsNull(*quantity_) || std::any_of(products_.begin(), products_.end(), has_price))) {
      Refuse(line, *paid_, "0.00, which no quantity costs");
    }
    for (const Product& product : products_) {
      const double price = line.AsFloat(product.price_column);
      if (!product.amount_column || line.IsNull(*product.amount_column)) {
        if (product.is_needed && price != 0 && quantity != 0) Refuse(product.amount, "is not calculated");
        continue;
      }
      if (line.IsNull(product.price_column)) continue;
      const double product_of_both = price * quantity;
      const double gap = std::abs(line.AsCurrency(*product.amount_column).ToDouble() - product_of_both);
      if (gap <= kHalfHundredth.ToDouble()) continue;
      const double explained =
          kHalfHundredth.ToDouble() + std::abs(quantity) * HalfOfLastDecimal(price) + kNudgeOfRounding;
      if (gap <= explained + std::abs(product_of_both) * kErrorOfProduct) continue;
      Refuse(line, *product.amount_column,
             "kolicina " + ShortestNumber(quantity) + " times " + std::string(product.price) + ' ' +
                 ShortestNumber(price));
    }
  }

  // Base, tax and fee of a line are what is to be paid for it, and the tax is that of the base.
  void RequirePaid(const RecordRow& line) const {
    const Currency tax = SumInRow(line, taxes_);
    const Currency fee = SumInRow(line, fees_);
    Currency base = SumInRow(line, bases_);
    if (bases_.empty()) base = SumInRow(line, amounts_) - tax - fee;
    if (paid_ && !AreSame(line.AsCurrency(*paid_), base + tax + fee, of_)) {
      Refuse(line, *paid_,
             "base " + base.ToString() + ", tax " + tax.ToString() + " and fee " + fee.ToString());
    }
    if (bases_.size() != taxes_.size()) {
      if (!taxes_.empty()) RequireTax(line, taxes_.front(), tax, base);
      return;
    }
    for (std::size_t i = 0; i < taxes_.size(); ++i) {
      RequireTax(line, taxes_[i], line.AsCurrency(taxes_[i]), line.AsCurrency(bases_[i]));
    }
  }

  // Rounded once, whether it was put on the base or taken out of what base and tax come to.
  void RequireTax(const RecordRow& line, std::size_t column, Currency tax, Currency base) const {
    if (!rate_) return;
    const double rate = line.AsFloat(*rate_);
    const Amount exact = base * Real(rate) / 100;
    const Amount gap = tax - exact;
    const Extended rounded = of_ == FiguresOf::kStored ? 3 : 1 + rate / 100;
    if (std::fabs(gap.scaled()) <= rounded * kHalfHundredth.scaled() + 1) return;
    Refuse(line, column, ShortestNumber(rate) + " % of base " + base.ToString());
  }

  void RequireRate(double rate) const {
    if (rate >= 0 && rate <= 100) return;
    Refuse(field::tbr_stp.text, ShortestNumber(rate) + " is no rate of tax, which is 0 to 100");
  }

  const Sort& sort_;
  FiguresOf of_;
  std::size_t row_ = 0;
  std::optional<std::size_t> quantity_;
  std::vector<Product> products_;
  std::optional<LineTies> ties_;
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
  bool has_lines = false;
  std::int64_t rows = 0;  // of the recapitulation
  bool is_finer = false;  // than hundredths
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
    of_rate.has_lines = true;
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

// What every row of a recapitulation may carry of the last line of the first sort, besides base and tax: what
// the line keeps out of the tax, whether the kind knows of it or not.
std::vector<Currency> CarriedAmounts(const std::vector<Sort>& sorts) {
  std::vector<Currency> carried(1);
  if (sorts.empty() || sorts.front().records->IsEmpty()) return carried;
  const RecordSet& lines = *sorts.front().records;
  const RecordRow last = lines.RowAt(lines.RowCount() - 1);
  const Currency fee = last.Optional(field::pov_naki);
  carried.insert(carried.end(), {fee, fee + last.Optional(field::neoporezivo)});
  return carried;
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
    ++of_rate.rows;
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

void CompareRates(const DocumentKind& kind, const ByRate<RateFigures>& figures, FiguresOf of) {
  for (const RateFigures& of_rate : figures.All()) {
    if (of == FiguresOf::kNew && of_rate.rows > (of_rate.has_lines ? 1 : 0)) {
      throw Error("the recapitulation has " + ShortestNumber(of_rate.rate) +
                  (of_rate.has_lines ? " % more than once" : " %, which no line has"));
    }
    if (Agree(kind.recap, of_rate)) continue;
    throw Error("at " + ShortestNumber(of_rate.rate) + " % the lines have the " + Shown(of_rate.lines) +
                ", the recapitulation has the " + Shown(of_rate.recap));
  }
}

// What a row says besides base and tax is that of its base, tax and rate. The rate as people read it may be
// written as in any country, or in words.
void RequireRowOfRate(const RecordRow& row, const std::vector<Currency>& carried, FiguresOf of) {
  const double rate = row.Optional(field::stopa).ToDouble();
  const BaseAndTax figures = {row.Optional(field::osnovica), row.Optional(field::porez)};
  const std::string of_rate = "the recapitulation of " + ShortestNumber(rate) + " % ";
  const auto total = row.FindFieldIndex(field::ukupno.text);
  if (total && !row.IsNull(*total)) {
    const Currency rest = row.AsCurrency(*total) - figures.base - figures.tax;
    if (std::none_of(carried.begin(), carried.end(), [&](Currency c) { return AreSame(rest, c, of); })) {
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

SupplierEdition EditionOf(const DocumentSets& sets) {
  const RecordSet* const records = sets.goods != nullptr ? sets.goods : sets.recap;
  if (records == nullptr) return SupplierEdition::kDomestic;
  const auto rate = records->FindFieldIndex(records == sets.goods ? field::tbr_stp.text : field::stopa.text);
  if (!rate) return SupplierEdition::kDomestic;
  for (const RecordRow& row : records->Rows()) {
    if (row.AsFloat(*rate) == kBosnianRate) return SupplierEdition::kBosnian;
  }
  return SupplierEdition::kDomestic;
}

}  // namespace

bool HasSupplierTotals(const DocumentKind& kind) {
  return kind.is == DocumentClass::kGoodsReceipt && kind.recap.Exists();
}

bool IsUncharged(const DocumentKind& kind, const DocumentSets& sets) {
  return HasSupplierTotals(kind) && !CarriesInputTax(sets.supplier_document, EditionOf(sets));
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
  if (IsUncharged(kind, sets)) return R2(total);
  if (sets.recap != nullptr) total += SumOf(*sets.recap, field::porez.text);
  return R2(total + Fees(kind, sets));
}

void CheckFigures(const DocumentKind& kind, const DocumentSets& sets, FiguresOf of) {
  const std::vector<Sort> sorts = SortsOf(kind, sets);
  for (const Sort& sort : sorts) LineChecks(kind, sort, of).Check();
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
  CompareRates(kind, figures, of);
  const std::vector<Currency> carried = CarriedAmounts(sorts);
  for (const RecordRow& row : sets.recap->Rows()) RequireRowOfRate(row, carried, of);
}

void FillSupplierTotals(RecordSet& totals, const RecordSet& goods, const SupplierTerms& terms) {
  const SupplierEdition edition = EditionOf({.goods = &goods});
  if (EditionOfTotals(totals) != edition) totals.CleanClone(MakeSupplierTotals(edition));
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

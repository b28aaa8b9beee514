#include "paper/page_tables.h"

#include <algorithm>
#include <cmath>

#include "mox/documents/document_figures.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "paper/article_pictures.h"

namespace mox {
namespace {

std::string OnOneLine(std::string_view entered) {
  std::string text(entered);
  std::erase(text, '\r');
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  return VisibleText(TrimBlanks(text));
}

constexpr std::string_view kDiscountPercents[] = {"rbp1", "rbp2", "rbp3", "popust"};
constexpr std::string_view kDiscountAmounts[] = {"rbi1", "rbi2", "rbi3", "popust_iznos"};

const NumberMask& AmountMask() {
  static const NumberMask mask("#,0.00##;-#,0.00##");
  return mask;
}
const NumberMask& UnitPriceMask() {
  static const NumberMask mask("#,0.00######;-#,0.00######");
  return mask;
}
const NumberMask& QuantityMask() {
  static const NumberMask mask("#,0.#########;-#,0.#########");
  return mask;
}
const NumberMask& RateMask() {
  static const NumberMask mask("#,0.##########");
  return mask;
}
const NumberMask& PercentMask() {
  static const NumberMask mask("#,0.####;-#,0.####");
  return mask;
}

// The lines of one sort as they become rows of a table. A field that lines of the kind do not have is
// nothing, whatever is stored there.
class TableMaker {
 public:
  TableMaker(const LineSchema& schema, const RecordSet& lines, const LinePictures* pictures)
      : lines_(lines), pictures_(pictures) {
    std::vector<std::string_view> known = SplitNames(schema.inputs);
    for (const std::string_view name : SplitNames(schema.calculated)) known.push_back(name);
    for (std::size_t i = 0; i < std::size(kDiscountPercents); ++i) {
      percents_.push_back(IndexOf(known, kDiscountPercents[i]));
      amounts_.push_back(IndexOf(known, kDiscountAmounts[i]));
    }
    if (!schema.to_be_paid) return;
    to_be_paid_ = IndexOf(known, schema.to_be_paid->text);
    consumer_price_ = IndexOf(known, field::mpc.text);
    const std::vector<std::string_view> entered = SplitNames(schema.inputs);
    is_price_entered_ = std::find(entered.begin(), entered.end(), field::mpc.text) != entered.end();
    quantity_ = IndexOf(known, field::kolicina.text);
    rate_ = IndexOf(known, field::tbr_stp.text);
    if (HasFees(schema)) fee_ = IndexOf(known, field::pov_naki.text);
  }

  PageTable Make(std::span<const PageColumn* const> wanted, const PaperTemplate& paper, bool has_fees) {
    PageTable table;
    for (const PageColumn* const column : wanted) {
      if (!has_fees && (column->name == field::pov_naki.text || column->name == field::pot_naki.text))
        continue;
      const auto field = lines_.FindFieldIndex(column->name);
      if (!(column->always ? HasValue(*column, field) : HasAnything(*column, field))) continue;
      table.columns.push_back({column, paper.HeadingOf(*column)});
      fields_.push_back(field);
      if (column->IsSummed()) table.sums.emplace_back();
    }
    for (const RecordRow& line : lines_.Rows()) AddRow(line, table);
    return table;
  }

  Currency Discounts() const { return discounts_; }
  // By the prices that slips show: of lines that are paid those with tax.
  Currency ShownDiscounts() const { return to_be_paid_ ? consumer_discounts_ : discounts_; }

 private:
  std::optional<std::size_t> IndexOf(const std::vector<std::string_view>& known,
                                     std::string_view name) const {
    const bool has = std::find(known.begin(), known.end(), name) != known.end();
    return has ? lines_.FindFieldIndex(name) : std::nullopt;
  }

  // A number that the lines of a document do not have, such as the prices of goods that were not costed.
  bool HasValue(const PageColumn& column, std::optional<std::size_t> field) const {
    if (column.IsText() || column.value == PageValue::kNumber) return true;
    for (const RecordRow& line : lines_.Rows()) {
      if (column.value == PageValue::kDiscounts || (field && !line.IsNull(*field))) return true;
    }
    return false;
  }

  bool HasAnything(const PageColumn& column, std::optional<std::size_t> field) const {
    for (const RecordRow& line : lines_.Rows()) {
      if (column.IsPicture()) {
        if (pictures_ != nullptr && pictures_->Of(line) != nullptr) return true;
      } else if (column.value == PageValue::kDiscounts) {
        if (!DiscountText(line).empty()) return true;
      } else if (field && !line.IsNull(*field)) {
        if (column.IsText() ? !line.AsTextView(*field).empty() : line.AsFloat(*field) != 0) return true;
      }
    }
    return false;
  }

  // "10 + 5": each discount is taken of what the one before has left.
  std::string DiscountText(const RecordRow& line) const {
    std::string text;
    for (const auto& field : percents_) {
      if (!field || line.AsFloat(*field) == 0) continue;
      text += (text.empty() ? "" : "+") + PercentMask().Show(line.AsFloat(*field), locale_);
    }
    return text;
  }

  std::string CellText(const RecordRow& line, const PageColumn& column,
                       std::optional<std::size_t> field) const {
    switch (column.value) {
      case PageValue::kNumber:
        return std::to_string(row_);
      case PageValue::kDiscounts:
        return DiscountText(line);
      default:
        break;
    }
    if (!field || line.IsNull(*field)) return {};
    switch (column.value) {
      case PageValue::kText:
        return OnOneLine(line.AsTextView(*field));
      case PageValue::kQuantity:
        return QuantityMask().Show(line.AsFloat(*field), locale_);
      case PageValue::kPercent:
        return PercentMask().Show(line.AsFloat(*field), locale_);
      default:
        return AmountMask().Show(line.AsCurrency(*field), locale_);
    }
  }

  // How much is sold, less what the discounts take.
  long double SoldOf(const RecordRow& line) const {
    long double sold = quantity_ ? line.AsFloat(*quantity_) : 0;
    for (const auto& field : percents_) {
      if (field) sold *= 1 - static_cast<long double>(line.AsFloat(*field)) / 100;
    }
    return sold;
  }

  // By how much what is sold at that price misses the amount, to its cents or to its last decimal.
  static Currency Missing(long double sold, long double price, Currency amount) {
    constexpr std::int64_t kCent = Currency::kScale / 100;
    const std::int64_t unit = amount.scaled() % kCent == 0 ? kCent : 1;
    const std::int64_t units_of_one = Currency::kScale / unit;
    const auto units = std::llround(sold * price * static_cast<long double>(units_of_one));
    return Currency::FromScaled(units * unit) - amount;
  }

  // The shortest price that comes to the amount.
  static double ShortestPrice(long double sold, Currency amount) {
    constexpr int kFewest = 2;
    constexpr int kMost = 8;
    const long double exact = static_cast<long double>(amount.scaled()) / Currency::kScale / sold;
    long double price = 0;
    for (int decimals = kFewest; decimals <= kMost; ++decimals) {
      const long double parts = std::pow(10.0L, decimals);
      price = std::round(exact * parts) / parts;
      if (Missing(sold, price, amount).IsZero()) break;
    }
    return static_cast<double>(price);
  }

  // The price with tax of what is given away: what the discounts have taken, and the tax on it.
  double PriceOfGift(const RecordRow& line, long double quantity) const {
    if (quantity == 0) return 0;
    Currency taken;
    for (const auto& field : amounts_) {
      if (field) taken += line.AsCurrency(*field);
    }
    const Real rate = rate_ ? Real(line.AsFloat(*rate_)) : Real(0);
    return ShortestPrice(quantity, R2(taken * (Real(1) + rate / Real(100))));
  }

  // The line's price with tax where it comes to what is paid; a cent may be lost where price and discount
  // were rounded one by one. Else a price that does. The fee is in a price that was entered so, and in any
  // that comes to what is paid with it; else it stands beside.
  void AddConsumerPrice(const RecordRow& line, PageTable::Row& row) {
    const long double quantity = quantity_ ? line.AsFloat(*quantity_) : 0;
    const long double sold = SoldOf(line);
    const Currency paid = line.AsCurrency(*to_be_paid_);
    const Currency fee = fee_ ? line.AsCurrency(*fee_) : Currency();
    const bool has_price = consumer_price_ && !line.IsNull(*consumer_price_);
    const Currency price = has_price ? line.AsCurrency(*consumer_price_) : Currency();
    const auto missing = [&](Currency amount) {
      return std::abs(Missing(sold, price.ToDouble(), amount).scaled());
    };
    constexpr std::int64_t kCent = Currency::kScale / 100;
    const bool has_fee_in_it =
        has_price && missing(paid) < missing(paid - fee) && (is_price_entered_ || missing(paid) <= kCent);
    const Currency amount = has_fee_in_it ? paid : paid - fee;
    row.consumer_amount = AmountMask().Show(amount, locale_);
    if (amount != paid) row.fee = AmountMask().Show(fee, locale_);
    if (has_price && (sold == 0 ? is_price_entered_ : missing(amount) <= kCent)) {
      row.consumer_price = AmountMask().Show(price, locale_);
      AddConsumerDiscount(line, quantity, price.ToDouble(), amount);
    } else {
      const double shown = sold != 0 ? ShortestPrice(sold, amount) : PriceOfGift(line, quantity);
      row.consumer_price = UnitPriceMask().Show(shown, locale_);
      AddConsumerDiscount(line, quantity, shown, amount);
    }
  }
  void AddConsumerDiscount(const RecordRow& line, long double quantity, long double price, Currency amount) {
    if (DiscountText(line).empty()) return;
    consumer_discounts_ += R2(Amount::OfUnits(quantity * price)) - amount;
  }

  void AddRow(const RecordRow& line, PageTable& table) {
    ++row_;
    PageTable::Row row;
    row.cells.reserve(table.columns.size());
    std::size_t summed = 0;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      const PageColumn& column = *table.columns[i].column;
      row.cells.push_back(CellText(line, column, fields_[i]));
      if (column.IsPicture()) row.picture = pictures_->Of(line);
      if (!column.IsSummed()) continue;
      const Currency amount = fields_[i] ? line.AsCurrency(*fields_[i]) : Currency();
      row.amounts.push_back(amount);
      table.sums[summed++] += amount;
    }
    if (!DiscountText(line).empty()) {
      for (const auto& field : amounts_) {
        if (field) discounts_ += line.AsCurrency(*field);
      }
    }
    if (to_be_paid_) AddConsumerPrice(line, row);
    table.rows.push_back(std::move(row));
  }

  const RecordSet& lines_;
  const LinePictures* pictures_;  // null where no column shows them
  const LocaleSettings& locale_ = CurrentLocale();
  std::vector<std::optional<std::size_t>> percents_;
  std::vector<std::optional<std::size_t>> amounts_;
  std::vector<std::optional<std::size_t>> fields_;  // of the columns
  // Where lines are paid.
  std::optional<std::size_t> to_be_paid_;
  std::optional<std::size_t> consumer_price_;
  bool is_price_entered_ = false;
  std::optional<std::size_t> quantity_;
  std::optional<std::size_t> rate_;
  std::optional<std::size_t> fee_;
  std::size_t row_ = 0;
  Currency discounts_;
  Currency consumer_discounts_;
};

}  // namespace

Currency FillTables(const PageSource& source, const PaperTemplate& paper, DocumentPage& page) {
  Currency discounts;
  Currency shown_discounts;
  const bool both = !source.goods.IsEmpty() && !source.services.IsEmpty();
  for (const bool services : {false, true}) {
    const RecordSet& lines = services ? source.services : source.goods;
    if (lines.IsEmpty()) continue;
    const DocumentKind& kind = *source.figures_kind;
    const std::vector<const PageColumn*> columns = paper.ColumnsOf(kind, services);
    const bool pictures =
        !services && std::any_of(columns.begin(), columns.end(),
                                 [](const PageColumn* column) { return column->IsPicture(); });
    std::optional<LinePictures> shown;
    if (pictures) shown.emplace(page.id, page.warnings);
    TableMaker maker(services ? kind.services : kind.goods, lines, shown ? &*shown : nullptr);
    PageTable table = maker.Make(columns, paper, !source.IsUncharged());
    const auto& to_be_paid = (services ? kind.services : kind.goods).to_be_paid;
    if (to_be_paid) table.to_be_paid = to_be_paid->text;
    if (both) table.heading = services ? "Usluge" : "Roba";
    page.tables.push_back(std::move(table));
    discounts += maker.Discounts();
    shown_discounts += maker.ShownDiscounts();
  }
  if (!shown_discounts.IsZero()) page.slip_discount = AmountText(shown_discounts, CurrentLocale());
  return discounts;
}

std::vector<std::string> PageTable::SumCells(const std::vector<Currency>& amounts,
                                             const LocaleSettings& locale) const {
  std::vector<std::string> cells;
  std::size_t next = 0;
  for (const Column& column : columns) {
    cells.push_back(column.column->IsSummed() ? AmountText(amounts[next++], locale) : std::string());
  }
  return cells;
}

std::string PercentText(double percent, const LocaleSettings& locale) {
  return PercentMask().Show(percent, locale);
}

std::string RateText(double rate, const LocaleSettings& locale) { return RateMask().Show(rate, locale); }

std::string AmountText(Currency amount, const LocaleSettings& locale) {
  return AmountMask().Show(amount, locale);
}

}  // namespace mox

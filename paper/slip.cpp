#include "paper/slip.h"

#include <algorithm>
#include <cmath>

#include "paper/text_painter.h"

namespace mox {
namespace {

constexpr double kPoint = 72.0 / 203;  // of a dot
constexpr double kMargin = 4;
constexpr double kSmall = 18;
constexpr double kNormal = 22;
constexpr double kLarge = 32;
constexpr double kLeastModule = 2;  // dots that telephones still read

class SlipLayout {
 public:
  SlipLayout(const DocumentPage& page, TextPainter& painter, SlipPaper width)
      : page_(page), painter_(painter), width_(static_cast<double>(width)), inner_(width_ - 2 * kMargin) {
    document_.title = page.title + " " + page.number;
    document_.author = page.seller.name;
    document_.width = width_;
    document_.unit = kPoint;
    document_.sheets.emplace_back();
  }

  LaidDocument Make() {
    Center(page_.seller.name, {kNormal * 1.15, true});
    for (const std::string& line : page_.seller.lines) Center(line, {kSmall});
    Rule();
    Center(page_.title + " " + page_.number, {kNormal * 1.1, true});
    for (const PageFact& fact : page_.facts) Left(fact.label + ": " + fact.text, {kSmall});
    if (!page_.partner.name.empty()) {
      Left(page_.partner.heading + ": " + page_.partner.name, {kSmall, true});
      for (const std::string& line : page_.partner.lines) Left(line, {kSmall});
    }
    for (const PageTable& table : page_.tables) PlaceTable(table);
    PlaceSums();
    PlaceTaxes();
    PlaceCodes();
    for (const std::string& note : page_.notes) Center(note, {kSmall});
    if (!page_.footer.empty()) Center(page_.footer, {kSmall});
    document_.height = std::ceil(y_ + kMargin);
    return std::move(document_);
  }

 private:
  LaidSheet& Sheet() { return document_.sheets.front(); }

  void Place(const std::string& text, const TextStyle& style, Align align) {
    if (text.empty()) return;
    Sheet().texts.push_back({kMargin, y_, inner_, text, style, align, true});
    y_ += painter_.Measure(text, style, inner_).height;
  }
  void Left(const std::string& text, const TextStyle& style) { Place(text, style, Align::kLeft); }
  void Center(const std::string& text, const TextStyle& style) { Place(text, style, Align::kCenter); }

  // A text with a number behind it, in one line where both have room.
  void Pair(const std::string& text, const std::string& number, const TextStyle& style) {
    const double wide = painter_.Measure(number, style).width;
    const double room = inner_ - wide - kNormal / 2;
    const double text_width = painter_.Measure(text, style).width;
    if (text_width > room) {
      Left(text, style);
      Place(number, style, Align::kRight);
      return;
    }
    Sheet().texts.push_back({kMargin, y_, room, text, style, Align::kLeft, false});
    Sheet().texts.push_back({kMargin + inner_ - wide - 1, y_, wide + 1, number, style, Align::kRight, false});
    y_ += painter_.LineHeight(style);
  }

  void Rule() {
    Sheet().rules.push_back({kMargin, y_ + 5, inner_, 2, 0});
    y_ += 12;
  }

  // The column with what a line costs, else the one that is quantity times the price that is shown; none
  // where the lines have neither.
  static std::size_t AmountColumn(const PageTable& table) {
    std::size_t found = table.columns.size();
    const PageColumn* price = nullptr;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      const PageColumn& column = *table.columns[i].column;
      if (price == nullptr && column.value == PageValue::kPrice) price = &column;
      if (!column.IsSummed()) continue;
      if (column.name == table.to_be_paid) return i;
      // Net of discounts; a column of that name which belongs to a new price is something else.
      const std::string net = price == nullptr ? std::string() : 'n' + std::string(price->name);
      const bool is_net = !net.empty() && column.name == net + 'i' && FindPageColumn(net) == nullptr;
      const bool is_product = price != nullptr && column.name == std::string(price->name) + 'i';
      if (is_net || (is_product && found == table.columns.size())) found = i;
    }
    return found;
  }

  static std::string CellOf(const PageTable& table, const PageTable::Row& row, PageValue value,
                            std::string_view name = {}) {
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      const PageColumn& column = *table.columns[i].column;
      if (column.value == value && (name.empty() || column.name == name)) return row.cells[i];
    }
    return {};
  }

  void PlaceTable(const PageTable& table) {
    Rule();
    if (!table.heading.empty()) Left(table.heading, {kNormal, true});
    const std::size_t amount = AmountColumn(table);
    for (const PageTable::Row& row : table.rows) {
      Left(CellOf(table, row, PageValue::kText, "naziv"), {kNormal});
      std::string how = CellOf(table, row, PageValue::kQuantity);
      const std::string unit = CellOf(table, row, PageValue::kText, "jm");
      if (!unit.empty() && !how.empty()) how += " " + unit;
      const std::string price =
          row.consumer_price.empty() ? CellOf(table, row, PageValue::kPrice) : row.consumer_price;
      if (!price.empty()) how += (how.empty() ? "" : " x ") + price;
      const std::string discount = CellOf(table, row, PageValue::kDiscounts);
      if (!discount.empty()) how += " -" + discount + "%";
      const std::string rate = CellOf(table, row, PageValue::kPercent, "tbr_stp");
      if (!rate.empty()) how += " (" + rate + "%)";
      const std::string other = amount < row.cells.size() ? row.cells[amount] : std::string();
      Pair(how, row.consumer_amount.empty() ? other : row.consumer_amount, {kNormal});
      if (!row.fee.empty()) Pair("Povratna naknada", row.fee, {kSmall});
    }
  }

  void PlaceSums() {
    if (page_.sums.empty()) return;
    Rule();
    if (!page_.slip_discount.empty()) {
      Pair("Odobreni popust " + page_.currency, page_.slip_discount, {kSmall});
    }
    for (const PageSum& sum : page_.sums) {
      const std::string label = sum.label + " " + page_.currency;
      if (sum.strong) {
        Large(label, sum.amount);
      } else {
        Pair(label, sum.amount, {kSmall});
      }
    }
  }

  // In one line by the largest letters that fit, else the number below in large ones.
  void Large(const std::string& text, const std::string& number) {
    const TextStyle large{kLarge, true};
    const double wide =
        painter_.Measure(text, large).width + painter_.Measure(number, large).width + kNormal / 2;
    const TextStyle fits{std::floor(kLarge * std::min(1.0, inner_ / wide)), true};
    if (fits.size >= kNormal) return Pair(text, number, fits);
    Left(text, {kNormal, true});
    Place(number, large, Align::kRight);
  }

  void PlaceTaxes() {
    if (page_.taxes.empty()) return;
    Rule();
    for (const PageTaxRow& tax : page_.taxes) {
      const std::string rate = tax.is_sum ? "ukupno" : tax.rate;
      Pair("PDV " + rate + " (osnovica " + tax.base + ")", tax.tax, {kSmall});
    }
  }

  // What it is called stands in messages.
  void PlaceCode(const std::string& text, CodeKind kind, double most_module, const char* name) {
    if (text.empty()) return;
    LaidCode laid;
    laid.code = std::make_shared<CodePicture>(MakeCode(kind, text));
    const double quiet = 2.0 * QuietModules(kind);
    laid.module = std::min(most_module, std::floor(width_ / (laid.code->width + quiet)));
    if (laid.module < kLeastModule) {
      document_.left_out.push_back(std::string(name) +
                                   " is not on the slip, whose paper is too narrow for it");
      return;
    }
    laid.x = std::floor((width_ - laid.code->width * laid.module) / 2);
    laid.y = std::ceil(y_ + QuietModules(kind) * laid.module);
    y_ = laid.y + (laid.code->height + QuietModules(kind)) * laid.module;
    Sheet().codes.push_back(std::move(laid));
  }

  void PlaceCodes() {
    for (const std::vector<PageFact>* facts : {&page_.payment, &page_.fiscal}) {
      if (!facts->empty()) Rule();
      for (const PageFact& fact : *facts) Left(fact.label + ": " + fact.text, {kSmall});
    }
    PlaceCode(page_.verification_code, CodeKind::kQr, 6, "the code that verifies it");
    PlaceCode(page_.payment_code, CodeKind::kPdf417, 2, "the payment code");
    y_ += 6;
  }

  const DocumentPage& page_;
  TextPainter& painter_;
  double width_;
  double inner_;
  double y_ = kMargin;
  LaidDocument document_;
};

}  // namespace

LaidDocument LayOutSlip(const DocumentPage& page, const PaperTemplate& /*paper*/, TextPainter& painter,
                        SlipPaper width) {
  return SlipLayout(page, painter, width).Make();
}

}  // namespace mox

#include "paper/a4_layout.h"

#include <algorithm>
#include <cmath>

#include "mox/foundation/error.h"
#include "paper/table_layout.h"
#include "paper/text_painter.h"

namespace mox {
namespace {

constexpr double kPointsPerMm = 72 / 25.4;
constexpr double kPageWidth = 210 * kPointsPerMm;
constexpr double kPageHeight = 297 * kPointsPerMm;
constexpr double kMargin = 15 * kPointsPerMm;
constexpr double kTop = 12 * kPointsPerMm;
constexpr double kBottom = 10 * kPointsPerMm;
constexpr double kWidth = kPageWidth - 2 * kMargin;
constexpr double kGap = 8;
constexpr double kHairline = 0.6;

// A code that telephones read from paper: the square of a receipt at least 20 mm wide.
constexpr double kQrWidth = 24 * kPointsPerMm;
constexpr double kSlipCodeWidth = 62 * kPointsPerMm;

// The sheets as they fill from above.
class Sheets {
 public:
  Sheets(const DocumentPage& page, const PaperTemplate& paper, TextPainter& painter)
      : page_(page), painter_(painter), size_(paper.Number("stranica", "velicina")) {
    footer_height_ = painter_.LineHeight(Small()) + 4;
    if (!page.footer.empty()) footer_height_ += painter_.Measure(page.footer, Small(), kWidth).height + 2;
    if (footer_height_ > kPageHeight / 3) {
      throw Error("the footer ([podnozje] of the template) takes more than a third of the sheet");
    }
    NewSheet();
  }

  TextStyle Normal() const { return {size_, false}; }
  TextStyle Bold() const { return {size_, true}; }
  TextStyle Small() const { return {size_ * 0.82, false}; }
  TextStyle Title() const { return {size_ * 1.65, true}; }

  double y() const { return y_; }
  void Skip(double height) { y_ += height; }
  double Room() const { return kPageHeight - kBottom - footer_height_ - y_; }
  LaidSheet& sheet() { return sheets_.back(); }

  void NewSheet() {
    sheets_.emplace_back();
    y_ = kTop;
    if (sheets_.size() == 1) return;
    Text(kMargin, kWidth, page_.title + " " + page_.number + "   " + page_.seller.name, Small());
    y_ += painter_.LineHeight(Small()) + 6;
  }
  /// What belongs together comes on one sheet.
  void Need(double height) {
    if (height > Room() && y_ > kTop * 2) NewSheet();
  }

  /// Where the pen stands; answers the height.
  double Text(double x, double width, const std::string& text, const TextStyle& style,
              Align align = Align::kLeft) {
    return TextAt(x, y_, width, text, style, align);
  }
  double TextAt(double x, double y, double width, const std::string& text, const TextStyle& style,
                Align align = Align::kLeft) {
    if (text.empty()) return 0;
    const double height = painter_.Measure(text, style, width).height;
    sheet().texts.push_back({x, y, width, text, style, align, true});
    return height;
  }
  /// What `place` places is one row of the table that was begun last.
  template <typename Place>
  void Row(TextRole role, const Place& place) {
    const std::size_t first = sheet().texts.size();
    place();
    ++row_;
    for (std::size_t i = first; i < sheet().texts.size(); ++i) {
      LaidText& text = sheet().texts[i];
      text.role = role;
      text.table = table_;
      text.row = row_;
    }
  }
  void BeginTable() { ++table_; }
  void Rule(double x, double y, double width, double gray = 0.2) {
    sheet().rules.push_back({x, y, width, kHairline, gray});
  }

  std::vector<LaidSheet> Finish() {
    for (std::size_t i = 0; i < sheets_.size(); ++i) {
      const double line = painter_.LineHeight(Small());
      const double top = kPageHeight - kBottom - footer_height_ + 2;
      sheets_[i].rules.push_back({kMargin, top, kWidth, kHairline, 0.6});
      if (!page_.footer.empty()) {
        sheets_[i].texts.push_back({kMargin, top + 2, kWidth, page_.footer, Small(), Align::kCenter, true});
      }
      const std::string number = "Stranica " + std::to_string(i + 1) + " / " + std::to_string(sheets_.size());
      sheets_[i].texts.push_back(
          {kMargin, kPageHeight - kBottom - line, kWidth, number, Small(), Align::kRight, true});
    }
    return std::move(sheets_);
  }

 private:
  const DocumentPage& page_;
  TextPainter& painter_;
  double size_;
  double footer_height_ = 0;
  double y_ = 0;
  int table_ = 0;
  int row_ = 0;
  std::vector<LaidSheet> sheets_;
};

class A4Layout {
 public:
  A4Layout(const DocumentPage& page, const PaperTemplate& paper, TextPainter& painter,
           const LocaleSettings& locale)
      : page_(page), paper_(paper), painter_(painter), locale_(locale), sheets_(page, paper, painter) {}

  LaidDocument Make() {
    PlaceSeller();
    PlaceTitle();
    PlaceFactsAndPartner();
    for (const PageTable& table : page_.tables) PlaceTable(table);
    PlaceTaxesAndSums();
    PlaceWords();
    PlacePayment();
    PlaceFiscal();
    PlaceNotes();
    LaidDocument document{page_.title + " " + page_.number, page_.seller.name, kPageWidth, kPageHeight, {}};
    document.sheets = sheets_.Finish();
    return document;
  }

 private:
  void PlaceSeller() {
    const double most = paper_.Number("stranica", "logo_visina") * kPointsPerMm;
    double text_width = kWidth;
    double logo_height = 0;
    if (paper_.Logo() != nullptr) {
      LaidPicture logo = Logo(most);
      logo_height = logo.height;
      text_width -= logo.width + kGap;
      logo.x = kMargin + kWidth - logo.width;
      logo.y = sheets_.y();
      sheets_.sheet().pictures.push_back(std::move(logo));
    }
    const double top = sheets_.y();
    sheets_.Skip(sheets_.Text(kMargin, text_width, page_.seller.name, {sheets_.Title().size * 0.85, true}) +
                 1);
    for (const std::string& line : page_.seller.lines) {
      sheets_.Skip(sheets_.Text(kMargin, text_width, line, sheets_.Normal()));
    }
    sheets_.Skip(std::max(0.0, top + logo_height - sheets_.y()) + 4);
    sheets_.Rule(kMargin, sheets_.y(), kWidth);
    sheets_.Skip(kGap);
  }

  LaidPicture Logo(double most_height) const {
    LaidPicture laid;
    laid.picture = paper_.Logo();
    laid.height = most_height;
    laid.width = most_height * laid.picture->width / laid.picture->height;
    const double most_width = kWidth / 2;
    if (laid.width > most_width) {
      laid.height *= most_width / laid.width;
      laid.width = most_width;
    }
    return laid;
  }

  void PlaceTitle() {
    sheets_.Skip(sheets_.Text(kMargin, kWidth, page_.title + " " + page_.number, sheets_.Title()) + kGap);
    sheets_.sheet().texts.back().role = TextRole::kTitle;
  }

  // Labels in one column, what they stand for in another; answers the height.
  double PlaceFacts(const std::vector<PageFact>& facts, double x, double y, double width) {
    double label_width = 0;
    for (const PageFact& fact : facts) {
      label_width = std::max(label_width, painter_.Measure(fact.label + ":", sheets_.Normal()).width);
    }
    const double top = y;
    for (const PageFact& fact : facts) {
      const double label = sheets_.TextAt(x, y, label_width + 2, fact.label + ":", sheets_.Normal());
      const double text =
          sheets_.TextAt(x + label_width + kGap, y, width - label_width - kGap, fact.text, sheets_.Bold());
      y += std::max(label, text);
    }
    return y - top;
  }

  void PlaceFactsAndPartner() {
    constexpr double kSplit = 0.54;
    const double top = sheets_.y();
    double height = PlaceFacts(page_.facts, kMargin, top, kWidth * kSplit - kGap);
    if (!page_.partner.name.empty()) {
      const double x = kMargin + kWidth * kSplit + kGap;
      const double width = kWidth * (1 - kSplit) - kGap;
      double y = top;
      y += sheets_.TextAt(x, y, width, page_.partner.heading, sheets_.Small());
      y += sheets_.TextAt(x, y, width, page_.partner.name, {sheets_.Normal().size * 1.1, true});
      for (const std::string& line : page_.partner.lines)
        y += sheets_.TextAt(x, y, width, line, sheets_.Normal());
      sheets_.sheet().rules.push_back({x - kGap, top, 1.5, y - top, 0.6});
      height = std::max(height, y - top);
    }
    sheets_.Skip(height + kGap * 1.5);
  }

  void PlaceTable(const PageTable& table) {
    if (!table.heading.empty()) {
      sheets_.Need(60);
      sheets_.Skip(sheets_.Text(kMargin, kWidth, table.heading, sheets_.Bold()) + 2);
    }
    TableLayout layout(table, painter_, sheets_.Normal().size, kWidth,
                       paper_.Number("stranica", "slika_visina") * kPointsPerMm);
    sheets_.Need(layout.HeadingHeight() + 3 * layout.LineHeight());
    sheets_.BeginTable();
    PlaceHeading(layout);
    std::vector<Currency> carried(table.sums.size());
    const bool sums = !carried.empty();
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
      const bool is_last = i + 1 == table.rows.size();
      const double height = layout.RowHeight(i);
      // Below each row there is room for what is carried over, or for the sum.
      if (height + (sums ? layout.LineHeight() : 0) > sheets_.Room() && i > 0) {
        if (sums) PlaceSums(layout, table.SumCells(carried, locale_), "Za prijenos");
        sheets_.NewSheet();
        PlaceHeading(layout);
        if (sums) PlaceSums(layout, table.SumCells(carried, locale_), "Prijenos");
      }
      sheets_.Row(TextRole::kCell, [&] { layout.PlaceRow(i, kMargin, sheets_.y(), sheets_.sheet()); });
      sheets_.Skip(height);
      if (!is_last) sheets_.Rule(kMargin, sheets_.y() - kHairline, kWidth, 0.85);
      for (std::size_t sum = 0; sum < carried.size(); ++sum) carried[sum] += table.rows[i].amounts[sum];
    }
    if (sums) PlaceSums(layout, table.SumCells(table.sums, locale_), "Ukupno");
    sheets_.Skip(kGap);
  }

  void PlaceHeading(TableLayout& layout) {
    sheets_.Row(TextRole::kHeading, [&] { layout.PlaceHeading(kMargin, sheets_.y(), sheets_.sheet()); });
    sheets_.Skip(layout.HeadingHeight());
    sheets_.Rule(kMargin, sheets_.y() - kHairline, kWidth);
  }

  void PlaceSums(TableLayout& layout, const std::vector<std::string>& cells, const char* label) {
    sheets_.Rule(kMargin, sheets_.y(), kWidth);
    sheets_.Row(TextRole::kCell,
                [&] { layout.PlaceSums(cells, label, kMargin, sheets_.y(), sheets_.sheet()); });
    sheets_.Skip(layout.LineHeight());
  }

  void PlaceTaxesAndSums() {
    if (page_.taxes.empty() && page_.sums.empty()) return;
    const double line = painter_.LineHeight(sheets_.Normal()) + 3;
    const double rows = static_cast<double>(std::max(page_.taxes.size() + 1, page_.sums.size() + 2));
    sheets_.Need(rows * line + kGap);
    const double top = sheets_.y();
    const double taxes = PlaceTaxes(top, kWidth * 0.52, line);
    const double sums = PlaceSumRows(top, kMargin + kWidth * 0.58, kWidth * 0.42, line);
    sheets_.Skip(std::max(taxes, sums) + kGap);
  }

  double PlaceTaxes(double top, double width, double line) {
    if (page_.taxes.empty()) return 0;
    const double column = width / 4;
    const double gap = sheets_.Normal().size / 2;  // between numbers of any length
    double y = top;
    sheets_.BeginTable();
    const auto row = [&](const std::array<std::string, 4>& cells, const TextStyle& style, TextRole role) {
      sheets_.Row(role, [&] {
        for (std::size_t i = 0; i < cells.size(); ++i) {
          const double x = kMargin + column * static_cast<double>(i);
          const double before = i == 0 ? 0 : gap;
          PlaceFitting(x + before, y, column - before, cells[i], style,
                       i == 0 ? Align::kLeft : Align::kRight);
        }
      });
      y += line;
    };
    row({"PDV", "Osnovica", "Iznos PDV-a", "Ukupno"}, sheets_.Bold(), TextRole::kHeading);
    sheets_.Rule(kMargin, y - 2, width);
    for (const PageTaxRow& tax : page_.taxes) {
      row({tax.rate, tax.base, tax.tax, tax.total}, sheets_.Normal(), TextRole::kCell);
    }
    return y - top;
  }

  // Smaller where its box is too narrow for it.
  void PlaceFitting(double x, double y, double width, const std::string& text, TextStyle style, Align align) {
    const double wide = painter_.Measure(text, style).width;
    if (wide > width) style.size *= width / wide * 0.99;
    sheets_.TextAt(x, y, width, text, style, align);
  }

  double PlaceSumRows(double top, double x, double width, double line) {
    double y = top;
    sheets_.BeginTable();
    const auto row = [&](const std::string& label, const std::string& amount, bool strong) {
      const TextStyle style = strong ? TextStyle{sheets_.Normal().size * 1.2, true} : sheets_.Normal();
      if (strong) sheets_.Rule(x, y - 1, width);
      const double space = strong ? 2 : 0;
      sheets_.Row(TextRole::kCell, [&] {
        PlaceFitting(x, y + space, width * 0.55, label, style, Align::kLeft);
        PlaceFitting(x + width * 0.55, y + space, width * 0.45, amount, style, Align::kRight);
      });
      y += line * (strong ? 1.4 : 1);
    };
    if (!page_.discount.empty()) row("Odobreni popust", page_.discount, false);
    for (const PageSum& sum : page_.sums) {
      row(sum.label, sum.strong ? sum.amount + " " + page_.currency : sum.amount, sum.strong);
    }
    return y - top;
  }

  // What no sheet takes as a whole goes on on the next one, behind a blank.
  void PlaceParagraph(const std::string& text, const TextStyle& style) {
    if (text.empty()) return;
    sheets_.Need(painter_.Measure(text, style, kWidth).height);
    std::string rest = text;
    while (painter_.Measure(rest, style, kWidth).height > sheets_.Room()) {
      const std::size_t fits = LengthInRoom(rest, style);
      sheets_.Text(kMargin, kWidth, rest.substr(0, fits), style);
      rest.erase(0, fits);
      sheets_.NewSheet();
    }
    sheets_.Skip(sheets_.Text(kMargin, kWidth, rest, style) + 2);
  }

  // Of the words that this sheet still takes.
  std::size_t LengthInRoom(const std::string& text, const TextStyle& style) {
    std::vector<std::size_t> ends;
    for (std::size_t at = 0; (at = text.find_first_of(" \n", at)) != std::string::npos;) ends.push_back(++at);
    const auto last = std::partition_point(ends.begin(), ends.end(), [&](std::size_t end) {
      return painter_.Measure(text.substr(0, end), style, kWidth).height <= sheets_.Room();
    });
    if (last == ends.begin())
      throw Error("a text without blanks is longer than a sheet: " + text.substr(0, 60));
    return *std::prev(last);
  }

  void PlaceWords() {
    if (!page_.words.empty()) PlaceParagraph("Slovima: " + page_.words, sheets_.Normal());
    sheets_.Skip(kGap / 2);
  }

  // Facts to the left, a code to the right of them.
  void PlaceWithCode(const std::vector<PageFact>& facts, const std::string& code_text, CodeKind kind,
                     double code_width) {
    if (facts.empty() && code_text.empty()) return;
    double height = static_cast<double>(facts.size()) * (painter_.LineHeight(sheets_.Normal()) + 1);
    LaidCode code;
    if (!code_text.empty()) {
      code.code = std::make_shared<CodePicture>(MakeCode(kind, code_text));
      code.module = code_width / code.code->width;
      height = std::max(height, code.module * (code.code->height + 2 * QuietModules(kind)));
    }
    sheets_.Need(height);
    const double top = sheets_.y();
    PlaceFacts(facts, kMargin, top, kWidth - (code.code ? code_width + 3 * kGap : 0));
    if (code.code) {
      code.x = kMargin + kWidth - code_width - QuietModules(kind) * code.module;
      code.y = top + QuietModules(kind) * code.module;
      sheets_.sheet().codes.push_back(std::move(code));
    }
    sheets_.Skip(height + kGap / 2);
  }

  void PlacePayment() { PlaceWithCode(page_.payment, page_.payment_code, CodeKind::kPdf417, kSlipCodeWidth); }
  void PlaceFiscal() { PlaceWithCode(page_.fiscal, page_.verification_code, CodeKind::kQr, kQrWidth); }

  void PlaceNotes() {
    for (const std::string& note : page_.notes) PlaceParagraph(note, sheets_.Normal());
  }

  const DocumentPage& page_;
  const PaperTemplate& paper_;
  TextPainter& painter_;
  const LocaleSettings& locale_;
  Sheets sheets_;
};

}  // namespace

LaidDocument LayOutA4(const DocumentPage& page, const PaperTemplate& paper, TextPainter& painter,
                      const LocaleSettings& locale) {
  return A4Layout(page, paper, painter, locale).Make();
}

}  // namespace mox

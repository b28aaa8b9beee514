#include "desktop/report_page.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <algorithm>
#include <iterator>

#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "mox/documents/document_kinds.h"
#include "mox/entry/line_screen.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

// A report: its service with what rows are grouped by, and the columns that the bars show.
struct Report {
  const char16_t* title;
  std::string_view service;
  std::string_view answer;
  std::string_view by;
  std::string_view name;
  std::string_view value;
  std::vector<std::string_view> fields;
};

const std::vector<Report>& Reports() {
  static const std::vector<Report> reports = {
      {u"Promet po danima",
       "Izvjestaj\\Promet",
       "adsPromet",
       "dan",
       "datum",
       "ukupno",
       {"datum", "dokumenata", "osnovica", "porez", "naknade", "gotovina", "bezgotovinski", "ukupno"}},
      {u"Promet po vrstama",
       "Izvjestaj\\Promet",
       "adsPromet",
       "vrsta",
       "vrsta",
       "ukupno",
       {"vrsta", "dokumenata", "osnovica", "porez", "naknade", "ukupno"}},
      {u"Promet po partnerima",
       "Izvjestaj\\Promet",
       "adsPromet",
       "partner",
       "naziv",
       "ukupno",
       {"sifra", "naziv", "dokumenata", "osnovica", "porez", "ukupno"}},
      {u"Promet po artiklima",
       "Izvjestaj\\Promet",
       "adsPromet",
       "artikl",
       "naziv",
       "ukupno",
       {"sifra", "naziv", "jm", "kolicina", "osnovica", "porez", "ukupno"}},
      {u"PDV po stopama",
       "Izvjestaj\\Porez",
       "adsPorez",
       "",
       "stopa",
       "porez",
       {"strana", "stopa", "dokumenata", "osnovica", "porez"}},
      {u"Salda partnera",
       "Izvjestaj\\Saldo",
       "adsSaldo",
       "",
       "naziv",
       "saldo",
       {"sifra", "naziv", "pocetno", "duguje", "potrazuje", "saldo"}},
      {u"Stanje skladišta",
       "Izvjestaj\\Skladiste",
       "adsSkladiste",
       "",
       "naziv",
       "vrijednost",
       {"skl_naziv", "sifra", "naziv", "jm", "pocetno", "ulaz", "izlaz", "stanje", "nc", "vrijednost"}}};
  return reports;
}

Date DayOf(const QLineEdit& line) {
  const std::string text = FromQt(line.text().trimmed());
  const auto day = ParseLocaleDate(text, CurrentLocale());
  if (!day) throw Error(text + " nije datum (" + CurrentLocale().short_date + ").");
  return *day;
}

void ShowKindTitles(RecordSet& rows, std::size_t kind) {
  for (rows.First(); !rows.Eof(); rows.Next()) {
    const DocumentKind* const known = FindDocumentTip(rows.AsText(kind));
    if (known == nullptr) continue;
    rows.Edit();
    rows.SetText(kind, known->title);
    rows.Post();
  }
}

}  // namespace

BarChart::BarChart() {
  [[maybe_unused]] static const bool is_chart = [] {
    QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
      auto* const chart = dynamic_cast<BarChart*>(object);
      return chart == nullptr ? nullptr : new QAccessibleWidget(chart, QAccessible::Chart);
    });
    return true;
  }();
}

void BarChart::SetBars(const QString& title, std::vector<Bar> bars) {
  bars_ = std::move(bars);
  QStringList told;
  for (const Bar& bar : bars_) told.append(bar.name + QStringLiteral(": ") + bar.amount);
  setAccessibleName(QStringLiteral("Grafikon: ") + title);
  setAccessibleDescription(told.join(QStringLiteral("; ")));
  update();
}

void BarChart::paintEvent(QPaintEvent* /*event*/) {
  constexpr int kSpace = 4;
  constexpr double kWidest = 80;
  if (bars_.empty()) return;
  QPainter painter(this);
  double most = 0;
  for (const Bar& bar : bars_) most = std::max(most, std::abs(bar.value));
  const int text = fontMetrics().height() + kSpace;
  const double step = static_cast<double>(width()) / static_cast<double>(bars_.size());
  const double room = height() - 2 * text;
  for (std::size_t i = 0; i < bars_.size(); ++i) {
    const double left = static_cast<double>(i) * step;
    const double high = most == 0 ? 0 : std::abs(bars_[i].value) / most * room;
    const double wide = std::clamp(step - 2 * kSpace, 1.0, kWidest);
    const QRectF bar(left + (step - wide) / 2, text + room - high, wide, high);
    painter.fillRect(bar, bars_[i].value < 0 ? QColor(200, 80, 80) : palette().color(QPalette::Highlight));
    const auto write = [&](double top, const QString& what) {
      painter.drawText(QRectF(left, top, step, text), Qt::AlignCenter,
                       fontMetrics().elidedText(what, Qt::ElideRight, static_cast<int>(step)));
    };
    write(bar.top() - text, bars_[i].amount);
    write(height() - text, bars_[i].name);
  }
}

ReportPage::ReportPage(DesktopHost& host)
    : RecordPage(host, QStringLiteral("Izvještaji"), RecordSet("izvjestaj")) {
  Model().SetEditable(false);
  View().SetAppending(false);
  for (const Report& report : Reports()) report_.addItem(QString::fromUtf16(report.title));
  const Date today = Today();
  const CivilDate civil = ToCivil(today);
  from_.setText(ToQt(DateToText(*MakeDate(civil.year, 1, 1), CurrentLocale())));
  to_.setText(ToQt(DateToText(today, CurrentLocale())));
  report_.setAccessibleName(QStringLiteral("Izvještaj"));
  from_.setAccessibleName(QStringLiteral("Od datuma"));
  to_.setAccessibleName(QStringLiteral("Do datuma"));
  Filters()->addWidget(&report_);
  Filters()->addWidget(new QLabel(QStringLiteral("Od:")));
  Filters()->addWidget(&from_);
  Filters()->addWidget(new QLabel(QStringLiteral("Do:")));
  Filters()->addWidget(&to_);
  for (QLineEdit* const line : {&from_, &to_}) {
    connect(line, &QLineEdit::returnPressed, this, [this] { Guarded([this] { Reload(); }); });
  }
  connect(&report_, &QComboBox::currentIndexChanged, this, [this] { Guarded([this] { Reload(); }); });
  layout()->addWidget(&chart_);
  Reload();
}

void ReportPage::Clear() {
  RecordPage::Clear();
  chart_.SetBars({}, {});
}

void ReportPage::Read() {
  const Report& report = Reports()[static_cast<std::size_t>(report_.currentIndex())];
  TAstaParamList request;
  request.FastAdd("od", Value(DayOf(from_)));
  request.FastAdd("do", Value(DayOf(to_)));
  if (!report.by.empty()) request.FastAdd("po", Value(std::string(report.by)));
  auto answer = CreateDBDataSet(report.service, report.answer, request);
  if (!answer) throw Error("Poslužitelj nema takav izvještaj.");
  PrepareLinesForScreen(*answer);
  if (const auto kind = answer->FindFieldIndex("vrsta")) ShowKindTitles(*answer, *kind);
  Show(std::move(*answer), report.fields);
  View().FitColumns();
  SetNote(QStringLiteral("Redaka: %1").arg(Model().rowCount()));
  ShowBars();
}

// The latest days, or the largest amounts.
void ReportPage::ShowBars() {
  constexpr std::size_t kMost = 12;
  const Report& report = Reports()[static_cast<std::size_t>(report_.currentIndex())];
  const auto name = Rows().FindFieldIndex(report.name);
  const auto value = Rows().FindFieldIndex(report.value);
  const auto side = Rows().FindFieldIndex("strana");
  std::vector<BarChart::Bar> bars;
  for (const RecordRow& row : Rows().Rows()) {
    if (!name || !value) break;
    const std::string title = side ? row.AsText(*side) + " " + row.AsText(*name) + " %" : row.AsText(*name);
    bars.push_back({ToQt(title), ToQt(row.DisplayText(*value)), row.AsFloat(*value)});
  }
  const bool by_day = report.name == "datum";
  if (!by_day) {
    std::stable_sort(bars.begin(), bars.end(), [&](const BarChart::Bar& a, const BarChart::Bar& b) {
      return std::abs(a.value) > std::abs(b.value);
    });
  }
  const std::size_t surplus = bars.size() - std::min(bars.size(), kMost);
  const auto from = by_day ? bars.begin() : bars.end() - static_cast<std::ptrdiff_t>(surplus);
  bars.erase(from, from + static_cast<std::ptrdiff_t>(surplus));
  chart_.SetBars(QString::fromUtf16(report.title), std::move(bars));
}

}  // namespace mox

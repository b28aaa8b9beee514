// Measures the table of the window against a plain QStandardItemModel with the same texts, and how long a key
// takes to the painted total of a document of 1,000 lines. Nothing is shown: the platform is offscreen.

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>

#include "appserver/database.h"
#include "bench/measurements.h"
#include "desktop/clipboard_table.h"
#include "desktop/document_editor.h"
#include "desktop/host.h"
#include "desktop/qt_text.h"
#include "desktop/record_set_view.h"
#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"

namespace mox::bench {
namespace {

constexpr int kRows = 100'000;
constexpr int kColumns = 20;
constexpr int kTextColumns = 4;
constexpr int kRepaints = 100;
constexpr int kLines = 1000;

RecordSet EmptyRows() {
  RecordSet rows("Redci");
  for (int column = 0; column < kColumns; ++column) {
    const bool text = column < kTextColumns;
    rows.DefineField({.name = "polje" + std::to_string(column),
                      .kind = text ? FieldKind::kText : FieldKind::kCurrency,
                      .display_format = text ? "" : "#,0.00;-#,0.00"});
  }
  rows.Open();
  return rows;
}

QString PastedText() {
  QString text;
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      if (column > 0) text += u'\t';
      text += column < kTextColumns ? QStringLiteral("tekst %1").arg(row)
                                    : QStringLiteral("%1,25").arg(row + column);
    }
    text += u'\n';
  }
  return text;
}

void ShowAsBoth(QTableView& view) {
  view.resize(1300, 700);
  view.setAlternatingRowColors(true);
  view.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  view.verticalHeader()->setDefaultSectionSize(view.fontMetrics().height() + 8);
  view.show();
  QApplication::processEvents();
}

void Repaint(benchmark::State& state, QTableView& view) {
  for (auto _ : state) {
    for (int i = 0; i < kRepaints; ++i) {
      view.verticalScrollBar()->setValue(i * (kRows / kRepaints));
      view.viewport()->repaint();
    }
  }
  state.SetItemsProcessed(state.iterations() * kRepaints);
}

void AddRow(QStandardItemModel& model, const QStringList& cells) {
  QList<QStandardItem*> items;
  items.reserve(cells.size());
  for (const QString& cell : cells) items.append(new QStandardItem(cell));
  for (qsizetype column = kTextColumns; column < items.size(); ++column) {
    items[column]->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
  }
  model.appendRow(items);
}

// Before a view looks at it: an item that comes later makes every view lay all its rows out anew.
void FillStandard(QStandardItemModel& model, const QString& text) {
  model.setColumnCount(kColumns);
  for (const QStringList& cells : ReadClipboardTable(text)) AddRow(model, cells);
}

// The same texts on the screen: amounts as the other model shows them.
void FillAsShown(QStandardItemModel& model, const RecordSetModel& shown) {
  model.setColumnCount(kColumns);
  for (int row = 0; row < shown.rowCount(); ++row) {
    QStringList cells;
    for (int column = 0; column < kColumns; ++column) {
      cells.append(shown.index(row, column).data().toString());
    }
    AddRow(model, cells);
  }
}

void PasteRecordSet(benchmark::State& state, const QString& text) {
  for (auto _ : state) {
    RecordSet rows = EmptyRows();
    RecordSetModel model(rows);
    RecordSetView view(model);
    model.Paste({}, ReadClipboardTable(text));
    ShowAsBoth(view);
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}

void PasteStandard(benchmark::State& state, const QString& text) {
  for (auto _ : state) {
    QStandardItemModel model;
    QTableView view;
    FillStandard(model, text);
    view.setModel(&model);
    ShowAsBoth(view);
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}

RecordSetView* ServicesOf(const DocumentEditor& editor) {
  for (RecordSetView* const view : editor.findChildren<RecordSetView*>()) {
    if (view->accessibleName() == QStringLiteral("Usluge")) return view;
  }
  return nullptr;
}

// From a key in a quantity to the total on the screen.
void TypeDigit(benchmark::State& state, DesktopHost& host) {
  DocumentEditor editor(host, Document("racun-usluga"), Draft::Begin());
  editor.resize(1300, 800);
  editor.show();
  RecordSetView* const view = ServicesOf(editor);
  QString text;
  for (int i = 0; i < kLines; ++i) text += QStringLiteral("\tUsluga\tsat\t1\t10\t5\t25\n");
  view->Model().Paste({}, ReadClipboardTable(text));
  view->setCurrentIndex(view->Model().index(kLines / 2, *view->Model().ColumnOf("kolicina")));
  QApplication::processEvents();
  QTest::keyClick(view, '1');
  QWidget* const cell = view->viewport()->findChild<QLineEdit*>();
  if (cell == nullptr || view->Model().rowCount() != kLines) return state.SkipWithError("no line is edited");
  bool more = true;
  for (auto _ : state) {
    if (more) {
      QTest::keyClick(cell, '2');
    } else {
      QTest::keyClick(cell, Qt::Key_Backspace);
    }
    more = !more;
    QApplication::processEvents();
  }
  state.SetItemsProcessed(state.iterations());
}

int Run() {
  QTemporaryDir folder;
  const std::string company = FromQt(folder.filePath(QStringLiteral("firma.db")));
  Database::Create(company, WithDemo::kYes);
  DesktopHost host({}, FromQt(folder.path() + u'/'));
  host.Open(company);
  const QString text = PastedText();
  RecordSet rows = EmptyRows();
  RecordSetModel model(rows);
  RecordSetView view(model);
  model.Paste({}, ReadClipboardTable(text));
  ShowAsBoth(view);
  QStandardItemModel standard;
  QTableView standard_view;
  FillAsShown(standard, model);
  standard_view.setModel(&standard);
  ShowAsBoth(standard_view);

  benchmark::RegisterBenchmark("grid_paint", Repaint, std::ref<QTableView>(view))->Repetitions(5);
  benchmark::RegisterBenchmark("grid_paint_standard", Repaint, std::ref(standard_view))->Repetitions(5);
  benchmark::RegisterBenchmark("grid_open", PasteRecordSet, text)->Iterations(1)->Repetitions(3);
  benchmark::RegisterBenchmark("grid_open_standard", PasteStandard, text)->Iterations(1)->Repetitions(3);
  benchmark::RegisterBenchmark("type_latency", TypeDigit, std::ref(host));
  Measurements measurements;
  benchmark::RunSpecifiedBenchmarks(&measurements);
  measurements.PrintRatio({"grid_paint", "grid_paint", "grid_paint_standard"});
  measurements.PrintRatio({"grid_open", "grid_open", "grid_open_standard"});
  if (const auto latency = measurements.Fastest("type_latency")) {
    std::printf("ratio type_latency_ms %.2f\n", *latency / 1e6);
  }
  return 0;
}

}  // namespace
}  // namespace mox::bench

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  benchmark::Initialize(&argc, argv);
  return mox::bench::Run();
}

#include "desktop/record_page.h"

#include <QGuiApplication>
#include <QMetaProperty>
#include <QSignalBlocker>
#include <algorithm>

#include "desktop/action_button.h"
#include "desktop/dialogs.h"
#include "desktop/keys.h"
#include "desktop/qt_text.h"
#include "desktop/status_window.h"
#include "desktop/storing.h"

namespace mox {

RecordPage::RecordPage(DesktopHost& host, const QString& title, RecordSet empty, QWidget* parent)
    : QWidget(parent),
      host_(host),
      rows_(std::move(empty)),
      model_(rows_),
      view_(model_),
      layout_(new QVBoxLayout(this)) {
  setWindowTitle(title);
  setFocusProxy(&view_);
  view_.setAccessibleName(title);
  view_.setSortingEnabled(true);
  view_.sortByColumn(-1, Qt::AscendingOrder);
  view_.SetEmptyText(QStringLiteral("Nema podataka."));
  layout_->addLayout(&filters_);
  layout_->addWidget(&view_, 1);
  layout_->addLayout(&buttons_);
  note_.setAccessibleName(QStringLiteral("Napomena"));
  note_.setWordWrap(true);
  buttons_.addWidget(&note_, 1);
  MakeShortcut(this, Qt::Key_F5, [this] { Reload(); });
  read_soon_.setSingleShot(true);
  connect(&read_soon_, &QTimer::timeout, this, [this] { ReadSoon(); });
  listener_ = rows_.AddListener([this](const RecordSet& rows, const RecordSetChange& /*change*/) {
    if (waits_ && rows.State() == DataSetState::kBrowse) ReadSoon();
  });
}

RecordPage::~RecordPage() { rows_.RemoveListener(listener_); }

bool RecordPage::Reload() {
  try {
    return ReadAnew();
  } catch (const Abort&) {
    SetNote(QStringLiteral("Čitanje je prekinuto."));
  }
  return true;
}

bool RecordPage::ReadAnew() {
  if (!view_.TakeRow()) return false;
  read_.Forget();
  ReadNow();
  return true;
}

void RecordPage::Clear() {
  Forget();
  model_.revert();
  if (rows_.IsActive()) rows_.Clear();
  note_.clear();
}

void RecordPage::Forget() {
  read_.Forget();
  read_soon_.stop();
  waits_ = false;
}

void RecordPage::ReadNow() {
  if (reading_) return;
  reading_ = true;
  try {
    const LongRun run(host_, QStringLiteral("Čitanje podataka"));
    Read();
    KeepFilters();
    if (std::exchange(stale_, false)) model_.SetEditable(true);
    reading_ = false;
  } catch (...) {
    PutFiltersBack();
    reading_ = false;
    throw;
  }
}

std::vector<QWidget*> RecordPage::FilterWidgets() const {
  std::vector<QWidget*> widgets;
  for (int i = 0; i < filters_.count(); ++i) {
    if (QWidget* const widget = filters_.itemAt(i)->widget()) widgets.push_back(widget);
  }
  return widgets;
}

void RecordPage::KeepFilters() {
  shown_.clear();
  for (const QWidget* const widget : FilterWidgets()) {
    shown_.push_back(widget->metaObject()->userProperty().read(widget));
  }
}

void RecordPage::PutFiltersBack() {
  const std::vector<QWidget*> widgets = FilterWidgets();
  for (std::size_t i = 0; i < std::min(widgets.size(), shown_.size()); ++i) {
    const QSignalBlocker quiet(widgets[i]);
    widgets[i]->metaObject()->userProperty().write(widgets[i], shown_[i]);
  }
}

bool RecordPage::MayClose() {
  return view_.TakeRow() ||
         AskToLose("Redak nije pohranjen.", FromQt(model_.Refusal()) + "\nOdbaciti upisano?");
}

void RecordPage::Show(RecordSet answer, const std::vector<std::string_view>& fields) {
  const bool first = rows_.FieldCount() == 0;
  const std::size_t row = rows_.IsActive() ? rows_.CurrentRow() : 0;
  {
    const ControlsGuard guard(rows_);
    rows_.CleanClone(answer);
    if (row < rows_.RowCount()) rows_.GoToRow(row);
  }
  model_.ShowFields(fields);
  if (first || !fits_) view_.FitColumns();
  fits_ = fits_ || rows_.RowCount() > 0;
}

// What a mouse button was pressed on is still there when it is let go.
void RecordPage::ReadSoon() {
  constexpr int kAgain = 50;  // milliseconds
  read_.Run([this] {
    if (QGuiApplication::mouseButtons() != Qt::NoButton) {
      return read_soon_.start(kAgain);
    }
    waits_ = rows_.State() != DataSetState::kBrowse || view_.IsTyping();
    if (waits_) return;
    stale_ = true;
    model_.SetEditable(false);
    Guarded([this] { Reload(); });
    if (stale_) SetNote(QStringLiteral("Pohranjeno je, ali nije ponovo pročitano; osvježite (F5)."));
  });
}

void RecordPage::ReadAgain(const QString& done) {
  ReadAfter(
      done, [this] { ReadAnew(); }, [this](const QString& note) { SetNote(note); });
}

void RecordPage::OnlyShow() {
  model_.SetEditable(false);
  view_.SetAppending(false);
  view_.setSelectionBehavior(QAbstractItemView::SelectRows);
}

QPushButton* RecordPage::AddButton(const QString& text, const std::function<void()>& action,
                                   const QKeySequence& key) {
  return AddActionButton(this, buttons_, text, action, key);
}

Value RecordPage::Current(std::string_view field) const {
  const auto index = rows_.FindFieldIndex(field);
  if (!index || model_.CurrentTableRow() < 0) return {};
  return rows_.RowAt(rows_.CurrentRow()).AsVariant(*index);
}

Currency RecordPage::Sum(std::string_view field) const {
  Currency sum;
  const auto index = rows_.FindFieldIndex(field);
  for (int row = 0; index && row < model_.rowCount(); ++row) {
    sum += rows_.RowAt(model_.SetRow(row)).AsCurrency(*index);
  }
  return sum;
}

}  // namespace mox

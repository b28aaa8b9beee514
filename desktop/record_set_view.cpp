#include "desktop/record_set_view.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>
#include <algorithm>

#include "desktop/clipboard_table.h"

namespace mox {
namespace {

constexpr int kMostWidth = 360;

bool CanEdit(const QModelIndex& index) { return (index.flags() & Qt::ItemIsEditable) != 0; }

}  // namespace

// A line of text as the locale writes it; what is typed shows its results at once.
class RecordSetView::CellDelegate : public QStyledItemDelegate {
 public:
  explicit CellDelegate(RecordSetView& view) : QStyledItemDelegate(&view), view_(view) {}

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                        const QModelIndex& index) const override {
    auto* const editor = new QLineEdit(parent);
    editor->setFrame(false);
    editor->setAlignment(Qt::Alignment(index.data(Qt::TextAlignmentRole).toInt()));
    editor->setAccessibleName(
        view_.model()->headerData(index.column(), Qt::Horizontal, Qt::DisplayRole).toString());
    RecordSetModel& model = view_.Model();
    view_.opened_by_editor_ =
        model.Set().State() == DataSetState::kBrowse || index.row() != model.CurrentTableRow();
    view_.before_ = index.data(Qt::EditRole).toString();
    const std::size_t field = model.Columns()[static_cast<std::size_t>(index.column())].field;
    if (!HoldsText(model.Set().Definition(field).kind)) {
      connect(editor, &QLineEdit::textEdited, editor,
              [&model, at = QPersistentModelIndex(index)](auto& text) {
                model.setData(at, text, RecordSetModel::kTryRole);
              });
    }
    return editor;
  }
  void setEditorData(QWidget* editor, const QModelIndex& index) const override {
    auto* const line = static_cast<QLineEdit*>(editor);
    if (!line->isModified()) line->setText(index.data(Qt::EditRole).toString());
  }
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override {
    model->setData(index, static_cast<QLineEdit*>(editor)->text(), Qt::EditRole);
  }

 private:
  RecordSetView& view_;
};

RecordSetView::RecordSetView(RecordSetModel& model, QWidget* parent) : QTableView(parent), model_(model) {
  setModel(&model);
  setItemDelegate(new CellDelegate(*this));
  setEditTriggers(DoubleClicked | EditKeyPressed | AnyKeyPressed);
  setSelectionMode(ContiguousSelection);
  setAlternatingRowColors(true);
  setTabKeyNavigation(false);
  setWordWrap(false);
  setHorizontalScrollMode(ScrollPerPixel);
  horizontalHeader()->setResizeContentsPrecision(0);
  horizontalHeader()->setHighlightSections(false);
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
  model.SetOnMoved([this] { FollowSet(); });
  FollowSet();
}

void RecordSetView::FollowSet() {
  if (following_) return;
  const int row = model_.CurrentTableRow();
  const QModelIndex current = currentIndex();
  if (row < 0 || (current.isValid() && current.row() == row && !isColumnHidden(current.column()))) return;
  following_ = true;
  int column = std::min(column_, model_.columnCount() - 1);
  while (isColumnHidden(column) && column + 1 < model_.columnCount()) ++column;
  setCurrentIndex(model_.index(row, column));
  following_ = false;
}

void RecordSetView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
  QTableView::currentChanged(current, previous);
  if (current.isValid()) column_ = current.column();
  if (following_ || model_.IsHearing() || !current.isValid() || current.row() == model_.CurrentTableRow())
    return;
  following_ = true;
  const bool moved = model_.MoveTo(current.row());
  following_ = false;
  if (moved && model_.CurrentTableRow() == currentIndex().row()) return;
  // The cell that keeps its row open, or the row's new place where the one left was dropped.
  const QModelIndex back = moved ? model_.index(model_.CurrentTableRow(), current.column())
                                 : (model_.RefusedCell().isValid() ? model_.RefusedCell() : previous);
  go_back_.Run([this, at = QPersistentModelIndex(back)] {
    if (at.isValid()) setCurrentIndex(at);
  });
}

// Enter goes on; neither it nor Escape in a cell ends the edit of the row.
void RecordSetView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
  const QModelIndex at = currentIndex();
  const bool back = hint == QAbstractItemDelegate::RevertModelCache;
  const bool on = hint == QAbstractItemDelegate::SubmitModelCache;
  QTableView::closeEditor(editor, back || on ? QAbstractItemDelegate::NoHint : hint);
  if (back && at.isValid() && static_cast<QLineEdit*>(editor)->isModified()) {
    if (opened_by_editor_) {
      model_.revert();
    } else {
      model_.setData(at, before_, RecordSetModel::kTryRole);
    }
  }
  if (on && model_.Refusal().isEmpty()) GoOn();
}

// The next cell that can be edited, behind the last one that of the next row, which may be a new one.
void RecordSetView::GoOn() {
  const QModelIndex at = currentIndex();
  if (!at.isValid()) return;
  for (int column = at.column() + 1; column < model_.columnCount(); ++column) {
    if (isColumnHidden(column) || !CanEdit(model_.index(at.row(), column))) continue;
    return setCurrentIndex(model_.index(at.row(), column));
  }
  int first = 0;
  while (first + 1 < model_.columnCount() &&
         (isColumnHidden(first) || !CanEdit(model_.index(at.row(), first)))) {
    ++first;
  }
  if (at.row() + 1 < model_.rowCount()) {
    setCurrentIndex(model_.index(at.row() + 1, first));
  } else if (appending_ && model_.Append()) {
    setCurrentIndex(model_.index(model_.CurrentTableRow(), first));
  }
}

void RecordSetView::AppendRow() {
  if (!appending_ || !model_.Append()) return;
  const int row = model_.CurrentTableRow();
  int column = 0;
  while (column + 1 < model_.columnCount() &&
         (isColumnHidden(column) || !CanEdit(model_.index(row, column)))) {
    ++column;
  }
  setCurrentIndex(model_.index(row, column));
}

void RecordSetView::DeleteRow() {
  if (!appending_ || !currentIndex().isValid()) return;
  if (confirm_delete_ && !confirm_delete_()) return;
  model_.Remove(currentIndex().row());
}

void RecordSetView::TakeCell() {
  for (QLineEdit* const editor : viewport()->findChildren<QLineEdit*>()) {
    if (editor->isHidden()) continue;  // closed before
    commitData(editor);
    closeEditor(editor, QAbstractItemDelegate::NoHint);
  }
}

bool RecordSetView::TakeRow() {
  TakeCell();
  return model_.submit();
}

void RecordSetView::CopySelection() const {
  const QItemSelection ranges = selectionModel()->selection();
  if (ranges.isEmpty()) return;
  const QItemSelectionRange& range = ranges.first();
  QApplication::clipboard()->setText(model_.Copy(range.topLeft(), range.bottomRight()));
}

void RecordSetView::PasteClipboard() {
  const QString text = ClipboardText(QApplication::clipboard()->mimeData());
  if (const QString fault = FaultOfPasted(text); !fault.isEmpty()) return model_.Tell(fault);
  const auto rows = ReadClipboardTable(text);
  const QModelIndex from = currentIndex();
  const std::size_t room = static_cast<std::size_t>(model_.rowCount() - (from.isValid() ? from.row() : 0));
  model_.Paste(from, appending_ || rows.size() <= room
                         ? rows
                         : std::vector(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(room)));
  if (model_.RefusedCell().isValid()) setCurrentIndex(model_.RefusedCell());
}

void RecordSetView::ClearSelected() {
  for (const QModelIndex& cell : selectedIndexes()) {
    if (CanEdit(cell) && !model_.setData(cell, QString())) return;
  }
}

bool RecordSetView::HandleKey(const QKeyEvent& event) {
  const bool ctrl = event.modifiers() == Qt::ControlModifier;
  const bool plain = event.modifiers() == Qt::NoModifier || event.modifiers() == Qt::KeypadModifier;
  const QModelIndex at = currentIndex();
  if (event.matches(QKeySequence::Copy)) return CopySelection(), true;
  if (event.matches(QKeySequence::Paste)) return PasteClipboard(), true;
  if (ctrl && event.key() == Qt::Key_Delete) return DeleteRow(), true;
  const bool sorts = event.modifiers() == Qt::AltModifier && isSortingEnabled() && at.isValid();
  if (sorts && event.key() == Qt::Key_Up) return sortByColumn(at.column(), Qt::AscendingOrder), true;
  if (sorts && event.key() == Qt::Key_Down) return sortByColumn(at.column(), Qt::DescendingOrder), true;
  if (!plain) return false;
  switch (event.key()) {
    case Qt::Key_Escape:
      if (model_.Set().State() == DataSetState::kBrowse) return false;
      return model_.revert(), true;
    case Qt::Key_Insert:
      return AppendRow(), true;
    case Qt::Key_Down:
      if (!appending_ || at.row() + 1 < model_.rowCount()) return false;
      return AppendRow(), true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (state() == EditingState) return true;  // the cell goes on itself when it is taken
      if (on_chosen_) return on_chosen_(), true;
      return GoOn(), true;
    case Qt::Key_Delete:
      return ClearSelected(), true;
    case Qt::Key_F4: {
      if (!on_look_up_ || !at.isValid()) return false;
      const std::size_t field = model_.Columns()[static_cast<std::size_t>(at.column())].field;
      return on_look_up_(model_.Set().Definition(field).name);
    }
    default:
      return false;
  }
}

void RecordSetView::keyPressEvent(QKeyEvent* event) {
  if (HandleKey(*event)) {
    event->accept();
  } else {
    QTableView::keyPressEvent(event);
  }
}

void RecordSetView::mouseDoubleClickEvent(QMouseEvent* event) {
  QTableView::mouseDoubleClickEvent(event);
  if (on_chosen_ && indexAt(event->pos()).isValid()) on_chosen_();
}

void RecordSetView::paintEvent(QPaintEvent* event) {
  QTableView::paintEvent(event);
  if (model_.rowCount() > 0 || empty_text_.isEmpty()) return;
  QPainter painter(viewport());
  painter.setPen(palette().color(QPalette::PlaceholderText));
  painter.drawText(viewport()->rect(), Qt::AlignCenter, empty_text_);
}

void RecordSetView::SetElastic(std::string_view field, std::string_view up_to) {
  elastic_ = field;
  up_to_ = up_to;
  connect(horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column) {
    if (!stretching_ && isVisible() && model_.ColumnOf(elastic_) == column) elastic_.clear();
  });
  Stretch();
}

void RecordSetView::resizeEvent(QResizeEvent* event) {
  QTableView::resizeEvent(event);
  Stretch();
}

// Where the columns are too many for the screen, the other one comes forward, behind the elastic one.
void RecordSetView::Stretch() {
  constexpr int kNarrowest = 130;
  constexpr int kUsual = 220;
  const auto elastic = model_.ColumnOf(elastic_);
  const auto last = model_.ColumnOf(up_to_);
  if (!elastic || !last || *last < *elastic) return;
  int others = 0;
  for (int column = 0; column <= *last; ++column) others += column == *elastic ? 0 : columnWidth(column);
  const int room = viewport()->width() - others;
  QHeaderView& header = *horizontalHeader();
  header.moveSection(header.visualIndex(*last), room >= kNarrowest ? *last : *elastic + 1);
  stretching_ = true;
  setColumnWidth(*elastic, room >= kNarrowest ? std::min(room, kMostWidth) : kUsual);
  stretching_ = false;
}

// Titles of several words stand one below the other, rather than to push columns off the screen. An amount is
// never cut to what reads as another one: its column is there for usual ones before there are any.
void RecordSetView::FitColumns() {
  constexpr int kNarrowest = 48;
  constexpr int kAround = 16;
  QHeaderView& header = *horizontalHeader();
  header.setDefaultAlignment(Qt::AlignCenter | static_cast<Qt::Alignment>(Qt::TextWordWrap));
  int lines = 1;
  for (int column = 0; column < model_.columnCount(); ++column) {
    if (isColumnHidden(column)) continue;
    const QString title = model_.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    QFont bold = header.font();
    bold.setBold(true);
    const QFontMetrics letters(bold);
    int word = 0;
    for (const QString& part : title.split(u' ')) word = std::max(word, letters.horizontalAdvance(part));
    const auto field = model_.Columns()[static_cast<std::size_t>(column)].field;
    const bool is_amount = model_.Set().Definition(field).kind == FieldKind::kCurrency;
    const int usual = is_amount ? fontMetrics().horizontalAdvance(QStringLiteral("00.000,00")) : 0;
    const int wanted = std::max({sizeHintForColumn(column), word + kAround, usual + kAround});
    setColumnWidth(column, std::clamp(wanted + 4, kNarrowest, kMostWidth));
    const QRect text = letters.boundingRect(QRect(0, 0, columnWidth(column) - 8, 1000),
                                            Qt::AlignCenter | Qt::TextWordWrap, title);
    lines = std::max(lines, (text.height() + letters.lineSpacing() / 2) / letters.lineSpacing());
  }
  header.setMinimumHeight(lines * header.fontMetrics().lineSpacing() + 8);
}

}  // namespace mox

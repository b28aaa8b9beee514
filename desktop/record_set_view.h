#pragma once

#include <QTableView>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/later.h"
#include "desktop/record_set_model.h"

namespace mox {

/// A table of a record set for the keyboard.
///
/// Typing or F2 edits a cell, Enter takes it and goes on to the next one that can be edited, Escape takes
/// back first the cell, then the row. Down on the last row, and Insert, begin a new one; Ctrl+Delete deletes
/// one. Ctrl+C and Ctrl+V exchange ranges with spreadsheets, Delete empties cells, F4 opens the look-up of a
/// cell.
class RecordSetView : public QTableView {
 public:
  /// The model must outlive the view.
  explicit RecordSetView(RecordSetModel& model, QWidget* parent = nullptr);

  RecordSetModel& Model() const { return model_; }
  /// New rows may be begun and old ones deleted.
  void SetAppending(bool appending) { appending_ = appending; }
  /// F4 in a cell of these fields; the function answers whether it has written something.
  void SetOnLookUp(std::function<bool(std::string_view field)> look_up) { on_look_up_ = std::move(look_up); }
  /// Asked before a row is deleted.
  void SetConfirmDelete(std::function<bool()> confirm) { confirm_delete_ = std::move(confirm); }
  /// Called with Enter or a double click where cells cannot be edited.
  void SetOnChosen(std::function<void()> chosen) { on_chosen_ = std::move(chosen); }
  /// What the empty table says.
  void SetEmptyText(const QString& text) { empty_text_ = text; }

  void AppendRow();
  void DeleteRow();
  /// The cell that is being typed goes into the open record, as far as it is a value.
  void TakeCell();
  bool IsTyping() const { return state() == EditingState; }
  /// The row that is being typed is posted; false where that was refused.
  bool TakeRow();
  void CopySelection() const;
  void PasteClipboard();
  /// As wide as what is on the screen needs, within reason.
  void FitColumns();
  /// The column of a field is as wide as lets all columns up to that of another one be seen, until the user
  /// makes it wider or narrower. Where they are too many, that one comes behind it.
  void SetElastic(std::string_view field, std::string_view up_to);
  /// The current cell of the row that is current in the set.
  void FollowSet();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
  void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

 private:
  class CellDelegate;

  bool HandleKey(const QKeyEvent& event);
  void GoOn();
  void Stretch();
  void ClearSelected();

  RecordSetModel& model_;
  bool appending_ = true;
  bool following_ = false;
  int column_ = 0;                 // in which the user was, also while everything is read anew
  bool opened_by_editor_ = false;  // the row was closed before its cell was edited
  QString before_;                 // what the cell had then
  QString empty_text_;
  std::string elastic_;
  std::string up_to_;
  bool stretching_ = false;
  std::function<bool(std::string_view)> on_look_up_;
  std::function<bool()> confirm_delete_;
  std::function<void()> on_chosen_;
  Later go_back_;
};

}  // namespace mox

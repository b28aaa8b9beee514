#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QStringList>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/display_format.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// A record set as a table for views. Painting reads rows where they stand: it moves, posts and fires
/// nothing.
///
/// Rows are edited as a whole: a cell goes into the record that is open, leaving the row posts it (submit),
/// and taking it back (revert) brings the row as it was. A text that is no value of its field, and a post
/// that is refused, keep the row open with what was typed; the cell tells why. While somebody walks or checks
/// the set, nothing is written, posted, moved, appended or deleted: what would do it answers that it did not.
///
/// Sorting and filtering are an index over the set's rows, which stays as it is until the user asks anew: a
/// row that is edited does not jump away, and one that comes stands last.
class RecordSetModel : public QAbstractTableModel {
 public:
  /// What is wrong with a cell, for people; empty where nothing is. Row and field are those of the set.
  using FaultOf = std::function<QString(std::size_t row, std::size_t field)>;
  using RowFilter = std::function<bool(std::size_t row)>;

  /// A column of the table: a field of the set.
  struct Column {
    std::size_t field = 0;
    QString title = {};
    bool editable = true;
    NumberMask mask = NumberMask({});
    bool has_mask = false;
  };

  /// The set must outlive the model. All of its fields are shown until ShowFields says otherwise.
  explicit RecordSetModel(RecordSet& set, QObject* parent = nullptr);
  ~RecordSetModel() override;

  RecordSet& Set() const { return set_; }
  /// Shows these fields in this order; those that the set does not have are left out. Number formats and
  /// labels are read anew.
  void ShowFields(const std::vector<std::string_view>& fields);
  /// The number formats of the set are others now.
  void ReadFormats();
  void SetEditable(bool editable) { editable_ = editable; }
  void SetFieldEditable(std::string_view field, bool editable);
  void SetFaultOf(FaultOf fault_of);
  /// The colour of a whole row's text; an invalid one is that of the view.
  void SetRowColor(std::function<QVariant(std::size_t row)> color) { row_color_ = std::move(color); }
  /// Called for each cell that was written into the open record.
  void SetOnCellWritten(std::function<void(std::size_t field)> written) { on_written_ = std::move(written); }
  /// Called with the reason when something typed was refused, and with nothing when it is in order again.
  void SetOnRefused(std::function<void(const QString& reason)> refused) { on_refused_ = std::move(refused); }
  /// Tells a reason to whoever is called with those of refusals.
  void Tell(const QString& reason) const {
    if (on_refused_) on_refused_(reason);
  }
  /// Called when another row of the set became current.
  /// Called before a row is appended, once the one before is posted.
  void SetOnAppending(std::function<void()> appending) { on_appending_ = std::move(appending); }
  void SetOnMoved(std::function<void()> moved) { on_moved_ = std::move(moved); }

  const std::vector<Column>& Columns() const { return columns_; }
  std::optional<int> ColumnOf(std::string_view field) const;
  /// The row of the set that a row of the table shows, and the other way round; none where it is hidden.
  std::size_t SetRow(int row) const;
  std::optional<int> TableRow(std::size_t set_row) const;
  /// The current row of the set; -1 where it is not shown.
  int CurrentTableRow() const;

  /// Shows the rows that the filter lets through, or all.
  void SetRowFilter(RowFilter filter);
  /// Those in which a shown cell has the text, whatever its letter case; all for an empty text.
  void SetTextFilter(const QString& text);
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

  /// Makes a row of the table current, posting the open one; false where that was refused.
  bool MoveTo(int row);
  /// Appends a record at the end; false where the open one could not be posted.
  bool Append();
  /// Deletes a row without asking.
  bool Remove(int row);
  /// The cells of a rectangle as they would be typed.
  QString Copy(const QModelIndex& top_left, const QModelIndex& bottom_right) const;
  /// Writes cells from an index on, one line into a row, beyond the last row into new ones; cells that may
  /// not be edited stay. Several rows are posted, a single one stays open. Ends at the first cell that is
  /// refused; answers how many rows were written whole.
  int Paste(const QModelIndex& from, const std::vector<QStringList>& rows);
  /// Why something typed is refused at present; empty where nothing is.
  QString Refusal() const { return rejected_ ? rejected_->reason : QString(); }
  /// The same where it is the text of a cell, which the record does not have.
  QString CellRefusal() const { return rejected_ && !rejected_->of_row ? rejected_->reason : QString(); }
  /// Views are being told of a change of the set, which nobody moves meanwhile.
  bool IsHearing() const { return hearing_; }
  /// The cell that keeps its row open.
  QModelIndex RefusedCell() const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  /// With this role a text that is being typed is tried: it goes into the open record where it is a value of
  /// its field, and is let pass where it is none yet.
  static constexpr int kTryRole = Qt::UserRole + 1;
  bool submit() override;
  void revert() override;

 private:
  // What was typed into the open record and could not be taken.
  struct Rejected {
    std::size_t field;
    QString text;
    QString reason;
    bool of_row;  // the whole record was refused, and the cell has its value
  };
  enum class Phase : std::uint8_t { kNone, kInserting, kRemoving };

  void Heard(const RecordSetChange& change);
  void CameRow(std::size_t set_row);
  void WentRow(std::size_t set_row);
  void ReadAnew();
  void ReadColumns();
  void RebuildOrder();
  void SortOrder();
  void TellCells(int row, int first_column, int last_column);
  void TellAll();
  void Refuse(Rejected rejected);
  void ForgetRefused();
  bool Attempt(const std::function<void()>& action);
  void SetCell(std::size_t field, const QString& text);
  bool WriteCell(std::size_t field, const QString& text);
  bool TryCell(std::size_t field, const QString& text);
  bool IsRejected(std::size_t set_row, std::size_t field) const;
  QString CellText(const RecordRow& row, const Column& column) const;
  QVariant Background(const RecordRow& row, std::size_t set_row, const Column& column) const;
  QString FaultText(std::size_t set_row, std::size_t field) const;
  // Views are being told, or somebody walks, checks or calculates the set: nobody edits or moves it now.
  bool IsOffLimits() const { return hearing_ || set_.IsBusy(); }
  bool IsIdentity() const { return !ordered_; }

  RecordSet& set_;
  int listener_ = 0;
  bool hearing_ = false;
  std::vector<Column> columns_;
  std::vector<std::string> shown_;  // fields; empty for all
  std::vector<std::string> read_only_;
  bool editable_ = true;
  bool ordered_ = false;            // order_ holds; else the rows are those of the set
  std::vector<std::size_t> order_;  // of the set's rows
  int row_count_ = 0;
  int sort_column_ = -1;
  Qt::SortOrder sort_order_ = Qt::AscendingOrder;
  RowFilter filter_;
  Phase phase_ = Phase::kNone;  // between what views are told before and after a change
  std::size_t changing_row_ = 0;
  std::optional<Rejected> rejected_;
  FaultOf fault_of_;
  std::function<QVariant(std::size_t)> row_color_;
  std::function<void(std::size_t)> on_written_;
  std::function<void(const QString&)> on_refused_;
  std::function<void()> on_appending_;
  std::function<void()> on_moved_;
};

}  // namespace mox

// The rows of the model: what it hears of the set, their order, and whole ranges of them.

#include <QCollator>
#include <QLocale>
#include <algorithm>
#include <numeric>
#include <utility>

#include "desktop/clipboard_table.h"
#include "desktop/qt_text.h"
#include "desktop/record_set_model.h"

namespace mox {

// --- the rows of the set ---

std::size_t RecordSetModel::SetRow(int row) const {
  const auto place = static_cast<std::size_t>(row);
  if (!IsIdentity()) return order_[place];
  if (phase_ == Phase::kInserting && place >= changing_row_) return place + 1;
  if (phase_ == Phase::kRemoving && place > changing_row_) return place - 1;
  return place;
}

std::optional<int> RecordSetModel::TableRow(std::size_t set_row) const {
  if (IsIdentity()) {
    return set_row < static_cast<std::size_t>(row_count_) ? std::optional(static_cast<int>(set_row))
                                                          : std::nullopt;
  }
  const auto found = std::find(order_.begin(), order_.end(), set_row);
  return found == order_.end() ? std::nullopt : std::optional(static_cast<int>(found - order_.begin()));
}

int RecordSetModel::CurrentTableRow() const {
  return set_.IsActive() && set_.RowCount() > 0 ? TableRow(set_.CurrentRow()).value_or(-1) : -1;
}

void RecordSetModel::Heard(const RecordSetChange& change) {
  hearing_ = true;
  switch (change.kind) {
    case RecordSetChange::kMoved:
      break;
    case RecordSetChange::kCell:
    case RecordSetChange::kRecord: {
      const auto row = TableRow(change.row);
      if (!row) break;
      TellCells(*row, 0, columnCount() - 1);
      Q_EMIT headerDataChanged(Qt::Vertical, *row, *row);
      break;
    }
    case RecordSetChange::kInserted:
      CameRow(change.row);
      break;
    case RecordSetChange::kRemoved:
      WentRow(change.row);
      break;
    case RecordSetChange::kReset:
    case RecordSetChange::kClosed:
      ReadAnew();
      break;
  }
  if (on_moved_ && change.kind != RecordSetChange::kCell) on_moved_();
  hearing_ = false;
}

void RecordSetModel::TellCells(int row, int first_column, int last_column) {
  if (row < 0 || last_column < first_column) return;
  Q_EMIT dataChanged(index(row, first_column), index(row, last_column));
}

void RecordSetModel::TellAll() {
  if (row_count_ == 0 || columnCount() == 0) return;
  Q_EMIT dataChanged(index(0, 0), index(row_count_ - 1, columnCount() - 1));
}

void RecordSetModel::CameRow(std::size_t set_row) {
  for (std::size_t& row : order_) row += row >= set_row ? 1 : 0;
  const int at = IsIdentity() ? static_cast<int>(set_row) : row_count_;
  phase_ = Phase::kInserting;
  changing_row_ = set_row;
  beginInsertRows({}, at, at);
  phase_ = Phase::kNone;
  if (!IsIdentity()) order_.push_back(set_row);
  ++row_count_;
  endInsertRows();
}

void RecordSetModel::WentRow(std::size_t set_row) {
  const auto at = TableRow(set_row);
  const auto close = [&] {
    for (std::size_t& row : order_) row -= row > set_row ? 1 : 0;
  };
  if (!at) return close();
  if (!IsIdentity()) order_[static_cast<std::size_t>(*at)] = SIZE_MAX;
  close();
  phase_ = Phase::kRemoving;
  changing_row_ = static_cast<std::size_t>(*at);
  beginRemoveRows({}, *at, *at);
  phase_ = Phase::kNone;
  if (!IsIdentity()) order_.erase(order_.begin() + *at);
  --row_count_;
  endRemoveRows();
}

void RecordSetModel::ReadAnew() {
  beginResetModel();
  rejected_.reset();
  ReadColumns();
  RebuildOrder();
  endResetModel();
}

// --- order and filter ---

void RecordSetModel::RebuildOrder() {
  const std::size_t count = set_.IsActive() ? set_.RowCount() : 0;
  ordered_ = filter_ || sort_column_ >= 0;
  order_.clear();
  if (ordered_) {
    for (std::size_t row = 0; row < count; ++row) {
      if (!filter_ || filter_(row)) order_.push_back(row);
    }
    SortOrder();
  }
  row_count_ = static_cast<int>(ordered_ ? order_.size() : count);
}

void RecordSetModel::SortOrder() {
  if (sort_column_ < 0 || sort_column_ >= columnCount()) return;
  const std::size_t field = columns_[static_cast<std::size_t>(sort_column_)].field;
  const auto arrange = [this](const auto& keys) {
    std::vector<std::size_t> places(order_.size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    const bool down = sort_order_ == Qt::DescendingOrder;
    std::stable_sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
      return down ? keys[b] < keys[a] : keys[a] < keys[b];
    });
    std::vector<std::size_t> sorted;
    sorted.reserve(places.size());
    for (const std::size_t place : places) sorted.push_back(order_[place]);
    order_ = std::move(sorted);
  };
  switch (set_.Definition(field).kind) {
    case FieldKind::kText:
    case FieldKind::kBinary: {
      QCollator collator{QLocale(QLocale::Croatian, QLocale::Croatia)};
      collator.setCaseSensitivity(Qt::CaseInsensitive);
      collator.setNumericMode(true);
      std::vector<QCollatorSortKey> keys;
      keys.reserve(order_.size());
      for (const std::size_t row : order_) {
        keys.push_back(collator.sortKey(ToQt(set_.RowAt(row).AsTextView(field))));
      }
      return arrange(keys);
    }
    case FieldKind::kCurrency: {
      std::vector<Currency> keys;
      keys.reserve(order_.size());
      for (const std::size_t row : order_) keys.push_back(set_.RowAt(row).AsCurrency(field));
      return arrange(keys);
    }
    default: {
      std::vector<double> keys;
      keys.reserve(order_.size());
      for (const std::size_t row : order_) keys.push_back(set_.RowAt(row).AsFloat(field));
      return arrange(keys);
    }
  }
}

void RecordSetModel::sort(int column, Qt::SortOrder order) {
  if (!submit()) return;
  beginResetModel();
  sort_column_ = column;
  sort_order_ = order;
  RebuildOrder();
  endResetModel();
  if (on_moved_) on_moved_();
}

void RecordSetModel::SetRowFilter(RowFilter filter) {
  if (!submit()) return;
  beginResetModel();
  filter_ = std::move(filter);
  RebuildOrder();
  endResetModel();
  if (on_moved_) on_moved_();
}

void RecordSetModel::SetTextFilter(const QString& text) {
  const QString wanted = text.trimmed();
  if (wanted.isEmpty()) return SetRowFilter(nullptr);
  SetRowFilter([this, wanted](std::size_t row) {
    const RecordRow cells = set_.RowAt(row);
    return std::any_of(columns_.begin(), columns_.end(), [&](const Column& column) {
      return CellText(cells, column).contains(wanted, Qt::CaseInsensitive);
    });
  });
}

void RecordSetModel::SetFaultOf(FaultOf fault_of) {
  fault_of_ = std::move(fault_of);
  TellAll();
}

// --- ranges ---

QString RecordSetModel::Copy(const QModelIndex& top_left, const QModelIndex& bottom_right) const {
  std::vector<QStringList> rows;
  for (int row = top_left.row(); row <= bottom_right.row(); ++row) {
    QStringList& cells = rows.emplace_back();
    for (int column = top_left.column(); column <= bottom_right.column(); ++column) {
      cells.append(index(row, column).data(Qt::EditRole).toString());
    }
  }
  return WriteClipboardTable(rows);
}

int RecordSetModel::Paste(const QModelIndex& from, const std::vector<QStringList>& rows) {
  if (!editable_ || rows.empty() || IsOffLimits()) return 0;
  const int first_row = from.isValid() ? from.row() : row_count_;
  const int first_column = from.isValid() ? from.column() : 0;
  // The rows of the table as they are now; those that come stand behind them.
  std::vector<std::size_t> targets;
  for (int row = first_row; row < row_count_ && targets.size() < rows.size(); ++row) {
    targets.push_back(SetRow(row));
  }
  int whole = 0;
  std::optional<Rejected> refused;
  const auto write = [&](std::size_t i) {
    const bool open = Attempt([&] {
      if (i < targets.size()) return set_.GoToRow(targets[i]);
      set_.PostPending();
      set_.Append();
    });
    if (!open) return false;
    for (qsizetype cell = 0; cell < rows[i].size(); ++cell) {
      const auto column = static_cast<std::size_t>(first_column + cell);
      if (column >= columns_.size()) break;
      if (columns_[column].editable && !WriteCell(columns_[column].field, rows[i][cell])) return false;
    }
    ++whole;
    return true;
  };
  if (rows.size() == 1) {
    write(0);
    return whole;
  }
  {
    const ControlsGuard guard(set_);
    for (std::size_t i = 0; i < rows.size() && write(i); ++i) {
    }
    if (!rejected_) Attempt([this] { set_.PostPending(); });
    refused = rejected_;
  }
  if (refused) Refuse(*refused);  // reading everything anew has forgotten it
  return whole;
}

}  // namespace mox

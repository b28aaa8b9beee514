#include "desktop/record_set_model.h"

#include <QColor>
#include <QFont>
#include <algorithm>

#include "desktop/croatian.h"
#include "desktop/money.h"
#include "desktop/qt_text.h"
#include "mox/foundation/app.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// Over whatever the theme paints below, so that both light and dark ones stay readable.
constexpr int kTint = 60;
const QColor kMissing(240, 190, 0, kTint);
const QColor kFaulty(230, 0, 0, kTint);

bool IsNumber(FieldKind kind) {
  return kind == FieldKind::kInteger || kind == FieldKind::kFloat || kind == FieldKind::kCurrency;
}

// What a field wants, where a text is none of it.
QString NotOfKind(const FieldDef& field, const QString& text) {
  const QString quoted = QStringLiteral("„") + text + QStringLiteral("” ");
  switch (field.kind) {
    case FieldKind::kDate:
    case FieldKind::kDateTime:
      return quoted + QStringLiteral("nije datum (npr. %1)").arg(ToQt(CurrentLocale().short_date));
    case FieldKind::kBoolean:
      return quoted + QStringLiteral("nije da ili ne");
    default:
      return quoted + QStringLiteral("nije broj");
  }
}

QString LabelOf(const FieldDef& field) {
  return ToQt(field.display_name.empty() ? field.name : field.display_name);
}

}  // namespace

RecordSetModel::RecordSetModel(RecordSet& set, QObject* parent) : QAbstractTableModel(parent), set_(set) {
  ReadColumns();
  RebuildOrder();
  listener_ = set_.AddListener([this](const RecordSet&, const RecordSetChange& change) { Heard(change); });
}

RecordSetModel::~RecordSetModel() { set_.RemoveListener(listener_); }

// --- columns ---

void RecordSetModel::ShowFields(const std::vector<std::string_view>& fields) {
  beginResetModel();
  shown_.assign(fields.begin(), fields.end());
  ReadColumns();
  endResetModel();
  if (on_moved_) on_moved_();
}

void RecordSetModel::ReadFormats() {
  ReadColumns();
  TellAll();
}

void RecordSetModel::SetFieldEditable(std::string_view field, bool editable) {
  std::erase_if(read_only_, [field](const std::string& name) { return SameName(name, field); });
  if (!editable) read_only_.emplace_back(field);
  if (const auto column = ColumnOf(field)) columns_[static_cast<std::size_t>(*column)].editable = editable;
}

void RecordSetModel::ReadColumns() {
  columns_.clear();
  const auto add = [this](std::size_t index) {
    const FieldDef& field = set_.Definition(index);
    const bool kept = std::any_of(read_only_.begin(), read_only_.end(),
                                  [&field](const std::string& name) { return SameName(name, field.name); });
    columns_.push_back({index, LabelOf(field), !field.calculated && !kept && field.kind != FieldKind::kBinary,
                        NumberMask(field.display_format), !field.display_format.empty()});
  };
  for (const std::string& name : shown_) {
    if (const auto index = set_.FindFieldIndex(name)) add(*index);
  }
  if (!shown_.empty()) return;
  for (std::size_t i = 0; i < set_.FieldCount(); ++i) add(i);
}

std::optional<int> RecordSetModel::ColumnOf(std::string_view field) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (SameName(set_.Definition(columns_[i].field).name, field)) return static_cast<int>(i);
  }
  return std::nullopt;
}

int RecordSetModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

int RecordSetModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : row_count_; }

// --- cells ---

Qt::ItemFlags RecordSetModel::flags(const QModelIndex& index) const {
  Qt::ItemFlags flags = QAbstractTableModel::flags(index);
  if (!index.isValid()) return flags;
  const Column& column = columns_[static_cast<std::size_t>(index.column())];
  if (!editable_ || !column.editable) return flags;
  const bool is_boolean = set_.Definition(column.field).kind == FieldKind::kBoolean;
  return flags | (is_boolean ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

bool RecordSetModel::IsRejected(std::size_t set_row, std::size_t field) const {
  return rejected_ && rejected_->field == field && set_row == set_.CurrentRow();
}

QString RecordSetModel::CellText(const RecordRow& row, const Column& column) const {
  const FieldDef& field = row.Definition(column.field);
  if (HoldsText(field.kind)) return ToQt(row.AsTextView(column.field));
  if (row.IsNull(column.field)) return {};
  if (!column.has_mask || !IsNumber(field.kind)) return ToQt(row.AsText(column.field));
  return ToQt(field.kind == FieldKind::kCurrency
                  ? column.mask.Show(row.AsCurrency(column.field), CurrentLocale())
                  : column.mask.Show(row.AsFloat(column.field), CurrentLocale()));
}

QString RecordSetModel::FaultText(std::size_t set_row, std::size_t field) const {
  if (IsRejected(set_row, field)) return rejected_->reason;
  return fault_of_ ? fault_of_(set_row, field) : QString();
}

QVariant RecordSetModel::Background(const RecordRow& row, std::size_t set_row, const Column& column) const {
  if (!FaultText(set_row, column.field).isEmpty()) return kFaulty;
  const FieldDef& field = row.Definition(column.field);
  const bool missing = field.required && column.editable && editable_ && row.AsText(column.field).empty();
  return missing ? QVariant(kMissing) : QVariant();
}

QVariant RecordSetModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= row_count_) return {};
  const Column& column = columns_[static_cast<std::size_t>(index.column())];
  const FieldKind kind = set_.Definition(column.field).kind;
  if (role == Qt::TextAlignmentRole) {
    return QVariant(Qt::Alignment((HoldsText(kind) ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter));
  }
  // Of a row that has just gone nothing can be told any more.
  if (phase_ == Phase::kRemoving && static_cast<std::size_t>(index.row()) == changing_row_) return {};
  const std::size_t set_row = SetRow(index.row());
  const RecordRow row = set_.RowAt(set_row);
  switch (role) {
    case Qt::DisplayRole:
      if (kind == FieldKind::kBoolean) return {};
      if (IsRejected(set_row, column.field) && !rejected_->of_row) return rejected_->text;
      return CellText(row, column);
    case Qt::EditRole:
      if (IsRejected(set_row, column.field) && !rejected_->of_row) return rejected_->text;
      return ToQt(row.AsText(column.field));
    case Qt::CheckStateRole:
      if (kind != FieldKind::kBoolean) return {};
      return row.IsNull(column.field)      ? Qt::PartiallyChecked
             : row.AsBoolean(column.field) ? Qt::Checked
                                           : Qt::Unchecked;
    case Qt::BackgroundRole:
      return Background(row, set_row, column);
    case Qt::ForegroundRole:
      return row_color_ ? row_color_(set_row) : QVariant();
    case Qt::ToolTipRole:
    case Qt::AccessibleDescriptionRole:
      return FaultText(set_row, column.field);
    default:
      return {};
  }
}

QVariant RecordSetModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (section < 0 || section >= (orientation == Qt::Horizontal ? columnCount() : row_count_)) return {};
  if (orientation == Qt::Vertical) {
    if (role != Qt::DisplayRole) return {};
    const bool open = set_.State() != DataSetState::kBrowse && section == CurrentTableRow();
    return QString::number(section + 1) + (open ? QStringLiteral(" ✎") : QString());
  }
  const Column& column = columns_[static_cast<std::size_t>(section)];
  if (role == Qt::DisplayRole) return column.title;
  if (role == Qt::FontRole && editable_ && set_.Definition(column.field).required) {
    QFont bold;
    bold.setBold(true);
    return bold;
  }
  return {};
}

// --- editing ---

bool RecordSetModel::Attempt(const std::function<void()>& action) {
  try {
    action();
    return true;
  } catch (const Abort&) {
    Refuse(
        {columns_.empty() ? 0 : columns_.front().field, {}, QStringLiteral("Redak nije prihvaćen."), true});
  } catch (const Error& error) {
    Refuse({columns_.empty() ? 0 : columns_.front().field, {}, InCroatian(error.what()), true});
  }
  return false;
}

void RecordSetModel::Refuse(Rejected rejected) {
  rejected_ = std::move(rejected);
  if (on_refused_) on_refused_(rejected_->reason);
  TellCells(CurrentTableRow(), 0, columnCount() - 1);
}

void RecordSetModel::ForgetRefused() {
  if (!rejected_) return;
  rejected_.reset();
  if (on_refused_) on_refused_({});
}

QModelIndex RecordSetModel::RefusedCell() const {
  if (!rejected_) return {};
  const auto column = std::find_if(columns_.begin(), columns_.end(),
                                   [this](const Column& c) { return c.field == rejected_->field; });
  return column == columns_.end() ? QModelIndex()
                                  : index(CurrentTableRow(), static_cast<int>(column - columns_.begin()));
}

// Into the open record, which is opened where none is.
void RecordSetModel::SetCell(std::size_t field, const QString& text) {
  if (set_.State() == DataSetState::kBrowse) set_.Edit();
  if (text.isEmpty()) {
    set_.SetNull(field);
  } else {
    const FieldKind kind = set_.Definition(field).kind;
    const bool is_number =
        kind == FieldKind::kFloat || kind == FieldKind::kCurrency || kind == FieldKind::kInteger;
    set_.SetText(field, is_number ? WithoutGroups(text) : FromQt(text));
  }
}

bool RecordSetModel::WriteCell(std::size_t field, const QString& text) {
  const FieldDef& definition = set_.Definition(field);
  try {
    SetCell(field, text);
    ForgetRefused();
    if (on_written_) on_written_(field);
    return true;
  } catch (const ConversionError&) {
    Refuse({field, text, NotOfKind(definition, text), false});
  } catch (const Error& error) {
    Refuse({field, text, InCroatian(error.what()), false});
  }
  return false;
}

bool RecordSetModel::TryCell(std::size_t field, const QString& text) {
  try {
    SetCell(field, text);
    if (on_written_) on_written_(field);
    return true;
  } catch (const Error&) {
    return false;
  }
}

bool RecordSetModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid() || IsOffLimits()) return false;
  if (role != Qt::EditRole && role != Qt::CheckStateRole && role != kTryRole) return false;
  if ((flags(index) & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable)) == 0) return false;
  if (index.row() != CurrentTableRow() && !MoveTo(index.row())) return false;
  const std::size_t field = columns_[static_cast<std::size_t>(index.column())].field;
  if (rejected_ && !rejected_->of_row && rejected_->field != field) return false;
  if (role == Qt::CheckStateRole) {
    return WriteCell(field, value.toInt() == Qt::Checked ? QStringLiteral("true") : QStringLiteral("false"));
  }
  const QString text = value.toString();
  if (role == kTryRole) return TryCell(field, text);
  const bool same = text == index.data(Qt::EditRole).toString();
  if (same && !(rejected_ && rejected_->field == field)) return true;
  WriteCell(field, text);
  return true;  // what was refused stands in the cell, too
}

bool RecordSetModel::submit() {
  if (set_.State() == DataSetState::kBrowse || !set_.IsActive()) return true;
  if (IsOffLimits()) return false;
  if (rejected_ && !rejected_->of_row) {
    if (on_refused_) on_refused_(rejected_->reason);
    return false;
  }
  if (!Attempt([this] { set_.PostPending(); })) return false;
  ForgetRefused();
  return true;
}

void RecordSetModel::revert() {
  if (IsOffLimits()) return;
  ForgetRefused();
  if (set_.IsActive()) set_.Cancel();
}

bool RecordSetModel::MoveTo(int row) {
  if (hearing_ || row < 0 || row >= row_count_) return false;
  const std::size_t set_row = SetRow(row);
  if (set_row == set_.CurrentRow()) return true;
  if (set_.IsBusy() || (rejected_ && !rejected_->of_row)) {
    if (rejected_ && on_refused_) on_refused_(rejected_->reason);
    return false;
  }
  if (!Attempt([&] { set_.GoToRow(set_row); })) return false;
  ForgetRefused();
  return true;
}

bool RecordSetModel::Append() {
  if (!editable_ || IsOffLimits() || !submit()) return false;
  if (on_appending_) on_appending_();
  return Attempt([this] { set_.Append(); });
}

bool RecordSetModel::Remove(int row) {
  if (!editable_ || IsOffLimits() || row < 0 || row >= row_count_) return false;
  if (row == CurrentTableRow() && set_.State() != DataSetState::kBrowse) {
    const bool came = set_.State() == DataSetState::kInsert;
    revert();
    if (came) return true;
  }
  return MoveTo(row) && Attempt([this] { set_.Delete(); });
}

}  // namespace mox

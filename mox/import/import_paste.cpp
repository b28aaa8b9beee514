#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/text.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_rules_internal.h"

namespace mox {
namespace {

// The lines of a text, which end with LF or CR LF. The last line break opens no further line.
std::vector<std::string_view> LinesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    const bool ended = end != std::string_view::npos;
    if (ended && line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
  }
  return lines;
}

// A column that is pasted into: its position in the field list, and its field.
struct PastedColumn {
  std::size_t position;
  std::size_t field;
};

// A cell without text has no value. One that the grid cannot hold is cut, and noted whole.
void StoreCell(RecordSet& set, const PastedColumn& column, std::string_view cell, RecordFaults& cut) {
  if (cell.empty()) return set.SetNull(column.field);
  set.SetText(column.field, cell);
  const std::size_t most = set.Definition(column.field).size;
  if (!IsLongerThan(most, cell)) return;
  cut.Add({set.NumberOfRow(set.CurrentRow()), column.position, ImportPass::kFormat, std::string(cell),
           LongerThanText(most)},
          *set.GetBookmark());
}

// Posts the record and goes to the one for the next line. Where the post takes the record out of the filter,
// the next one is current already.
void PostAndGoOn(RecordSet& set) {
  const std::size_t shown = set.RecordCount() + (set.State() == DataSetState::kInsert ? 1 : 0);
  const bool was_last = set.Position() + 1 >= set.RecordCount();
  set.Post();
  const bool left = set.RecordCount() < shown;
  if (left ? was_last : set.Position() + 1 >= set.RecordCount()) {
    set.Append();
  } else if (!left) {
    set.Next();
  }
}

// Stores the cells of one line. The record is posted by the last cell of the line; surplus cells are dropped
// and leave it open, so that the next line overwrites it.
void PasteLine(RecordSet& set, const std::vector<PastedColumn>& columns, std::string_view rest,
               RecordFaults& cut) {
  if (set.IsEmpty() && set.State() == DataSetState::kBrowse) {
    set.Append();
  } else {
    set.Edit();
  }
  for (const PastedColumn& column : columns) {
    const std::size_t tab = rest.find('\t');
    StoreCell(set, column, rest.substr(0, tab), cut);
    if (tab != std::string_view::npos) {
      rest.remove_prefix(tab + 1);
      continue;
    }
    return PostAndGoOn(set);
  }
}

}  // namespace

bool TfrmImportGrid::GridKeyDown(char32_t key, ShiftState shift) {
  const bool paste = shift.alt && !shift.shift && !shift.ctrl && (key == U'E' || key == U'e');
  if (paste) ReadDataFromExcelClipboard();
  return paste;
}

void TfrmImportGrid::ReadDataFromExcelClipboard() {
  const StatusWindow status(status_, "Učitavanje podataka iz clipboard-a", 0);
  const std::string text = App().Platform().ClipboardText();
  const std::vector<std::string_view> lines = LinesOf(text);
  status_.SetMaximum(static_cast<std::int64_t>(lines.size()));
  std::vector<PastedColumn> columns;
  columns.reserve(columns_.size());
  for (const GridColumn& column : columns_) {
    if (column.position < kFirstDataPosition) continue;
    columns.push_back({column.position, source_.Table().IndexOf(column.field_name)});
  }
  if (columns.empty()) return;
  const ControlsGuard controls(source_);
  try {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      status_.SetPosition(static_cast<std::int64_t>(i));
      PasteLine(source_, columns, lines[i], sheet_faults_);
    }
  } catch (...) {
    sheet_faults_.Sort();
    throw;
  }
  sheet_faults_.Sort();
}

}  // namespace mox

#include <vector>

#include "mox/foundation/app.h"
#include "mox/import/import_grid.h"

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

// A cell without text has no value.
void StoreCell(RecordSet& set, std::size_t field, std::string_view cell) {
  if (cell.empty()) {
    set.SetNull(field);
  } else {
    set.SetText(field, cell);
  }
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
void PasteLine(RecordSet& set, const std::vector<std::size_t>& fields, std::string_view rest) {
  if (set.IsEmpty() && set.State() == DataSetState::kBrowse) {
    set.Append();
  } else {
    set.Edit();
  }
  for (const std::size_t field : fields) {
    const std::size_t tab = rest.find('\t');
    StoreCell(set, field, rest.substr(0, tab));
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
  std::vector<std::size_t> fields;
  for (const GridColumn& column : columns_) {
    if (column.position < kFirstDataPosition) continue;
    fields.push_back(source_.FieldByName(column.field_name).Index());
  }
  if (fields.empty()) return;
  const ControlsGuard controls(source_);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    status_.SetPosition(static_cast<std::int64_t>(i));
    PasteLine(source_, fields, lines[i]);
  }
}

}  // namespace mox

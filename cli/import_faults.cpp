#include "cli/import_faults.h"

#include <algorithm>
#include <vector>

#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::string_view kService = "ImportGrid";

// A view of a grid that nobody sees.
class NoView : public ImportGridView {
 public:
  void ShowModal(TfrmImportGrid& /*form*/) override {}
};

template <typename Action>
void ForEachRow(RecordSet& source, Action action) {
  const ControlsGuard controls(source);
  const SavedPosition position(source);
  std::size_t row = 0;
  for (source.First(); !source.Eof(); source.Next()) action(++row);
}

bool IsFaulty(const RecordSet& source) {
  return !source.IsNull(kValidacijaPosition) && !source.AsBoolean(kValidacijaPosition);
}

// One pass of the check of a column.
struct Pass {
  std::string_view reason;
  std::string ImportFieldDef::*flag;  // none where the pass always runs
  void (*run)(TfrmImportGrid& grid, std::size_t column);
};

constexpr std::string_view kFormat = "format";

const Pass kPasses[] = {
    {"is required", &ImportFieldDef::required,
     [](TfrmImportGrid& grid, std::size_t column) { grid.ValidateRequired(column); }},
    {"is not in the database", &ImportFieldDef::lookup,
     [](TfrmImportGrid& grid, std::size_t column) { grid.ValidateLookup(column, kService); }},
    {kFormat, nullptr, [](TfrmImportGrid& grid, std::size_t column) { grid.ValidateFormat(column); }},
    {"is in the database already", &ImportFieldDef::unique,
     [](TfrmImportGrid& grid, std::size_t column) { grid.ValidateUnique(column, kService); }},
};

std::string_view ReasonOf(const Pass& pass, const ImportFieldDef& field) {
  if (pass.reason != kFormat) return pass.reason;
  if (field.field_type == field_type::kDate) return "is not a date";
  return field.field_type == field_type::kBoolean ? "is not true or false" : "is not a number";
}

// A grid of the faulty rows of another one; `rows` are their numbers there.
void CopyFaultyRows(TfrmImportGrid& from, TfrmImportGrid& to, std::vector<std::size_t>& rows) {
  RecordSet& copies = to.AdsForImport();
  ForEachRow(from.AdsForImport(), [&](std::size_t row) {
    const RecordSet& source = from.AdsForImport();
    if (!IsFaulty(source)) return;
    rows.push_back(row);
    copies.Append();
    for (std::size_t i = kFirstDataPosition; i < source.FieldCount(); ++i) {
      if (!source.IsNull(i)) copies.SetText(i, source.AsText(i));
    }
    copies.Post();
  });
}

struct Fault {
  std::size_t row;
  std::size_t column;
  std::string_view reason;
  std::string value;
};

// Takes down the faults that a pass left, and clears them for the next one.
void TakeFaults(RecordSet& source, std::size_t column, std::string_view reason,
                const std::vector<std::size_t>& rows, std::vector<Fault>& faults) {
  ForEachRow(source, [&](std::size_t row) {
    const bool faulty = !source.AsTextView(kErrMsgPosition).empty();
    if (faulty) faults.push_back({rows[row - 1], column, reason, source.AsText(column)});
    source.Edit();
    source.SetText(kErrMsgPosition, "");
    source.SetBoolean(kVTempPosition, false);
    source.Post();
  });
}

bool BeginsWithRowNumber(std::string_view text) {
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  return digits > 0 && digits < text.size() && text[digits] == '\t';
}

}  // namespace

const OutputKind kFaultList = {"a list of faults", BeginsWithRowNumber};

std::string FaultLines(TfrmImportGrid& form) {
  std::string lines;
  if (!form.AdsForImport().IsActive()) return lines;
  ForEachRow(form.AdsForImport(), [&](std::size_t row) {
    const RecordSet& source = form.AdsForImport();
    if (!IsFaulty(source)) return;
    std::string message = source.AsText(kErrMsgPosition);
    std::replace(message.begin(), message.end(), '\r', ' ');
    lines += std::to_string(row) + "\t" + message + "\n";
  });
  return lines;
}

RecordSet CollectFaults(TfrmImportGrid& form) {
  NoView no_view;
  TfrmImportGrid grid(no_view, form.ProfileKey());
  grid.OnShow();
  std::vector<std::size_t> rows;
  CopyFaultyRows(form, grid, rows);
  std::vector<Fault> faults;
  for (const GridColumn& column : grid.Columns()) {
    if (column.position < kFirstDataPosition) continue;
    const ImportFieldDef& field = grid.Fields()[column.position];
    const std::size_t index = grid.AdsForImport().FieldByName(field.field_name).Index();
    for (const Pass& pass : kPasses) {
      if (pass.flag != nullptr && !ToBoolean(field.*pass.flag)) continue;
      pass.run(grid, column.position);
      TakeFaults(grid.AdsForImport(), index, ReasonOf(pass, field), rows, faults);
    }
  }
  std::stable_sort(faults.begin(), faults.end(),
                   [](const Fault& a, const Fault& b) { return a.row < b.row; });

  RecordSet table("faults");
  table.DefineField("row", FieldKind::kInteger);
  table.DefineField("column", FieldKind::kText);
  table.DefineField("value", FieldKind::kText);
  table.DefineField("reason", FieldKind::kText);
  table.Open();
  for (const Fault& fault : faults) {
    table.AppendRecord({static_cast<std::int64_t>(fault.row),
                        grid.AdsForImport().Definition(fault.column).name, fault.value,
                        std::string(fault.reason)});
  }
  return table;
}

}  // namespace mox

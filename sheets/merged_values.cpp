#include "sheets/merged_values.h"

#include <algorithm>

namespace mox {
namespace {

constexpr std::size_t kMostNamed = 5;

}  // namespace

bool MergedValues::Start(const MergedCells& cells, const SheetCell& value) {
  if (values_.size() == kMostSheetColumns) return false;
  values_.push_back({cells, std::string(value.text), {value.kind, value.fault}});
  return true;
}

void MergedValues::FillInto(RowBuilder& row, std::size_t number) {
  std::erase_if(values_, [&](const Value& value) { return value.cells.last_row < number; });
  if (values_.empty() || row.HasNoText()) return;
  for (const Value& value : values_) {
    if (value.cells.first_row == number || !row.IsEmpty(value.cells.column)) continue;
    row.Replace(value.cells.column, {value.text, value.form.kind, value.form.fault});
    if (filled_.size() > kMostNamed) continue;
    const std::string name = CellName(value.cells.column, value.cells.first_row) + ":" +
                             CellName(value.cells.column, value.cells.last_row);
    if (std::find(filled_.begin(), filled_.end(), name) == filled_.end()) filled_.push_back(name);
  }
}

std::vector<std::string> MergedValues::Remarks() const {
  if (filled_.empty()) return {};
  std::string names;
  for (std::size_t i = 0; i < std::min(filled_.size(), kMostNamed); ++i)
    names += (i == 0 ? "" : ", ") + filled_[i];
  if (filled_.size() > kMostNamed) names += " and others";
  return {"the value of merged cells stands in each of their rows: " + names};
}

std::string CellName(std::size_t column, std::size_t row) {
  std::string letters;
  for (std::size_t rest = column + 1; rest > 0; rest = (rest - 1) / 26) {
    letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % 26));
  }
  return letters + std::to_string(row);
}

}  // namespace mox

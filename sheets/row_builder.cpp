#include "sheets/row_builder.h"

#include <algorithm>

namespace mox {

void RowBuilder::Clear() {
  text_.clear();
  places_.clear();
  cell_begin_ = 0;
}

void RowBuilder::EndCell(CellForm form) {
  places_.push_back({cell_begin_, text_.size() - cell_begin_, nullptr, form});
  cell_begin_ = text_.size();
}

void RowBuilder::Replace(std::size_t column, const SheetCell& cell) {
  if (column >= places_.size()) PadTo(column + 1);
  places_[column] = {0, cell.text.size(), cell.text.data(), {cell.kind, cell.fault}};
}

void RowBuilder::Repeat(std::size_t column, std::size_t times) {
  const Place place = places_[column];
  places_.insert(places_.end(), times, place);
}

bool RowBuilder::HasNoText() const {
  return std::all_of(places_.begin(), places_.end(), [](const Place& place) { return place.length == 0; });
}

std::span<const SheetCell> RowBuilder::Cells() {
  while (!places_.empty() && places_.back().length == 0) places_.pop_back();
  cells_.clear();
  for (const Place& place : places_) {
    const char* const begin = place.elsewhere != nullptr ? place.elsewhere : text_.data() + place.begin;
    cells_.push_back({std::string_view(begin, place.length), place.form.kind, place.form.fault});
  }
  return cells_;
}

}  // namespace mox

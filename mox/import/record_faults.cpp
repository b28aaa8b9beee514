#include "mox/import/record_faults.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

namespace mox {
namespace {

auto PlaceOf(const ImportFault& fault) { return std::tie(fault.row, fault.column, fault.pass); }

bool IsBefore(const ImportFault& a, const ImportFault& b) { return PlaceOf(a) < PlaceOf(b); }

// The numbers of records by their ids, one that is being inserted among them; 0 for those that are not there.
std::vector<std::size_t> NumbersById(const RecordSet& records) {
  const std::vector<RecordTable::Id>& order = records.Table().order();
  const bool inserting = records.State() == DataSetState::kInsert;
  const RecordTable::Id inserted = inserting ? records.GetBookmark()->record : 0;
  const std::size_t inserted_at = inserting ? records.NumberOfRow(records.CurrentRow()) : 0;
  RecordTable::Id last = inserted;
  for (const RecordTable::Id id : order) last = std::max(last, id);
  std::vector<std::size_t> numbers(std::size_t{last} + 1);
  std::size_t number = 0;
  for (const RecordTable::Id id : order) {
    if (++number == inserted_at) ++number;
    numbers[id] = number;
  }
  if (inserting) numbers[inserted] = inserted_at;
  return numbers;
}

}  // namespace

void RecordFaults::Clear() {
  faults_.clear();
  records_.clear();
}

void RecordFaults::Add(ImportFault fault, const Bookmark& record) {
  faults_.push_back(std::move(fault));
  records_.push_back(record);
}

void RecordFaults::Assign(std::vector<ImportFault> faults, const RecordSet& records,
                          const std::function<void()>& reached) {
  Clear();
  // Those of a check are in order, and many.
  if (!std::is_sorted(faults.begin(), faults.end(), IsBefore)) {
    std::stable_sort(faults.begin(), faults.end(), IsBefore);
  }
  faults_.reserve(faults.size());
  records_.reserve(faults.size());
  std::size_t taken = 0;
  try {
    for (ImportFault& fault : faults) {
      if (reached && ++taken % kImportRowsBetween == 0) reached();
      if (const auto record = records.BookmarkOfNumber(fault.row)) Add(std::move(fault), *record);
    }
  } catch (...) {
    Clear();
    throw;
  }
}

void RecordFaults::Sort() {
  std::vector<std::size_t> order(faults_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [this](std::size_t a, std::size_t b) { return IsBefore(faults_[a], faults_[b]); });
  RecordFaults sorted;
  sorted.faults_.reserve(order.size());
  sorted.records_.reserve(order.size());
  for (const std::size_t i : order) {
    if (!sorted.faults_.empty() && PlaceOf(sorted.faults_.back()) == PlaceOf(faults_[i])) {
      sorted.faults_.pop_back();
      sorted.records_.pop_back();
    }
    sorted.Add(std::move(faults_[i]), records_[i]);
  }
  *this = std::move(sorted);
}

void RecordFaults::Follow(const RecordSet& records) {
  if (faults_.empty()) return;
  const std::vector<std::size_t> numbers = NumbersById(records);
  std::size_t kept = 0;
  for (std::size_t i = 0; i < faults_.size(); ++i) {
    if (!records.Holds(records_[i])) continue;
    faults_[i].row = numbers[records_[i].record];
    if (kept != i) {
      faults_[kept] = std::move(faults_[i]);
      records_[kept] = records_[i];
    }
    ++kept;
  }
  faults_.erase(faults_.begin() + static_cast<std::ptrdiff_t>(kept), faults_.end());
  records_.erase(records_.begin() + static_cast<std::ptrdiff_t>(kept), records_.end());
}

std::span<const ImportFault> RecordFaults::OfRow(std::size_t number) const {
  const auto is_above = [](const ImportFault& fault, std::size_t below) { return fault.row < below; };
  const auto first = std::lower_bound(faults_.begin(), faults_.end(), number, is_above);
  return {first, std::lower_bound(first, faults_.end(), number + 1, is_above)};
}

}  // namespace mox

#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "mox/foundation/record_set.h"
#include "mox/import/import_check.h"

namespace mox {

/// Faults of a grid's cells that stay with their records: a fault's row follows its record while others come
/// and go, and a fault goes with its record. They are in the order of rows, columns and passes.
class RecordFaults {
 public:
  /// One of a record of the set that is followed, wherever it stands among the others; Sort() puts it there.
  void Add(ImportFault fault, const Bookmark& record);
  /// All anew, by the numbers that records of the set have now. What is of none of them is left out.
  /// `reached` is called after every kImportRowsBetween faults; where it raises, there are none.
  void Assign(std::vector<ImportFault> faults, const RecordSet& records,
              const std::function<void()>& reached = nullptr);
  /// After some were added: of those with the same row, column and pass the last one stays.
  void Sort();
  /// After records came or went.
  void Follow(const RecordSet& records);
  void Clear();

  std::span<const ImportFault> All() const { return faults_; }
  std::span<const ImportFault> OfRow(std::size_t number) const;

 private:
  std::vector<ImportFault> faults_;
  std::vector<Bookmark> records_;  // of the faults, at the same places
};

}  // namespace mox

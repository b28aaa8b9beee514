#pragma once

#include <array>
#include <atomic>

#include "mox/foundation/record_set.h"
#include "mox/foundation/unrounded.h"

namespace mox {

/// The names that a row of steps over a line reads and writes.
struct LineNames {
  NameSet read;
  NameSet written;
};

/// The current record of a set that is known to have the fields of a calculator, in their usual kinds and
/// writable: reading and writing ask nothing any more. It holds until the set moves or changes its state.
///
/// What was written is kept at hand, so that the next step takes it from a register and not from its cell:
/// once steps are inlined, their names are constants, and nothing is left of the two tables.
class LineView {
 public:
  /// False where the set lacks one of the fields, has it in another kind, or may not write it now.
  static bool Fits(const RecordSet::OpenLine& line, const LineNames& names) {
    const bool readable = (names.read & ~line.readable.names).none();
    const bool writable = (names.written & ~line.writable.names).none();
    return readable && writable;
  }
  explicit LineView(const RecordSet::OpenLine& line)
      : slots_(line.readable.places.data()),
        cells_(line.cells),
        nulls_(line.marks),
        modified_(line.modified) {}

  MOX_ALWAYS_INLINE Currency operator[](CurrencyName name) const {
    return Currency::FromScaled(static_cast<std::int64_t>(Read(name.id)));
  }
  MOX_ALWAYS_INLINE Number operator[](FloatName name) const { return std::bit_cast<double>(Read(name.id)); }
  MOX_ALWAYS_INLINE void Set(CurrencyName name, Currency value) {
    Write(name.id, static_cast<std::uint64_t>(value.scaled()));
  }
  MOX_ALWAYS_INLINE void Set(FloatName name, Real value) {
    Write(name.id, std::bit_cast<std::uint64_t>(value.ToDouble()));
  }

 private:
  std::size_t SlotOf(NameId id) const { return slots_[static_cast<std::size_t>(id)]; }
  MOX_ALWAYS_INLINE std::uint64_t Read(NameId id) const {
    const auto at = static_cast<std::size_t>(id);
    return is_written_[at] ? written_[at] : cells_[SlotOf(id)];
  }
  MOX_ALWAYS_INLINE void Write(NameId id, std::uint64_t bits) {
    const std::size_t slot = SlotOf(id);
    written_[static_cast<std::size_t>(id)] = bits;
    is_written_[static_cast<std::size_t>(id)] = true;
    cells_[slot] = bits;
    nulls_[slot] = NullMark::kValue;
    *modified_ = true;
  }

  const std::uint16_t* slots_;
  std::uint64_t* cells_;
  NullMark* nulls_;
  bool* modified_;
  std::array<bool, kVocabularySize> is_written_{};
  std::array<std::uint64_t, kVocabularySize> written_;  // of those
};

/// The current record of any set, asked at each step whether the field is there and may be written. It reads
/// a unit price that stands in a float field with all of its decimals, and calculates in extended precision.
class AnyLine {
 public:
  explicit AnyLine(RecordSet& lines) : lines_(lines) {}

  Currency operator[](CurrencyName name) const { return lines_[name]; }
  Amount operator[](PriceName name) const { return lines_.Price(name); }
  Real operator[](FloatName name) const { return lines_[name]; }
  void Set(CurrencyName name, Currency value) { lines_.Set(name, value); }
  void Set(FloatName name, Real value) { lines_.Set(name, value); }

 private:
  RecordSet& lines_;
};

/// A line of ones that notes which names steps use.
class LineRecorder {
 public:
  Currency operator[](CurrencyName name) {
    names_.read.set(static_cast<std::size_t>(name.id));
    return Currency::FromScaled(Currency::kScale);
  }
  Number operator[](FloatName name) {
    names_.read.set(static_cast<std::size_t>(name.id));
    return 1;
  }
  void Set(CurrencyName name, Amount) { names_.written.set(static_cast<std::size_t>(name.id)); }
  void Set(FloatName name, Real) { names_.written.set(static_cast<std::size_t>(name.id)); }

  const LineNames& names() const { return names_; }

 private:
  LineNames names_;
};

/// The names that the steps of one calculator use, noted once for all threads on a line of ones, where every
/// test for a quantity other than 0 is passed.
class NotedNames {
 public:
  /// Null where the steps refuse a setting: the line itself reports it, and the next one tries again.
  template <typename Steps>
  const LineNames* For(const Steps& steps) {
    if (const LineNames* const names = noted_.load(std::memory_order_acquire)) [[likely]] {
      return names;
    }
    LineRecorder line;
    try {
      steps(line);
    } catch (const Error&) {
      return nullptr;
    }
    return Note(line.names());
  }

 private:
  const LineNames* Note(const LineNames& names);

  std::atomic<const LineNames*> noted_ = nullptr;
  LineNames names_;
};

/// Runs the steps of a calculator, `steps(line)`, over the current record. A set that has all of the fields
/// that they use in their usual kinds is read and written without asking at each step. Any other set is gone
/// through step by step, and what is missing or may not be written raises at its own step. Steps must use the
/// same fields whatever the values, apart from tests for a quantity of 0.
template <typename Steps>
void Calculate(RecordSet& lines, const Steps& steps) {
  static constinit NotedNames noted;
  if (const LineNames* const names = noted.For(steps)) [[likely]] {
    const RecordSet::OpenLine open = lines.Line();
    if (LineView::Fits(open, *names)) [[likely]] {
      LineView line(open);
      steps(line);
      return;
    }
  }
  AnyLine line(lines);
  steps(line);
}

}  // namespace mox

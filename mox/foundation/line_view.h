#pragma once

#include <optional>

#include "mox/foundation/record_set.h"

namespace mox {

/// The names that a row of steps over a line reads and writes.
struct LineNames {
  NameSet read;
  NameSet written;
};

/// The current record of a set that is known to have the fields of a calculator, in their usual kinds and
/// writable: reading and writing ask nothing any more. It holds until the set moves or changes its state.
class LineView {
 public:
  /// None where the set lacks one of the fields, has it in another kind, or may not write it now.
  static std::optional<LineView> Of(RecordSet& lines, const LineNames& names) {
    const bool readable = (names.read & ~lines.slots_->usual.names).none();
    const bool writable = (names.written & ~lines.writable_->names).none();
    if (!readable || !writable) return std::nullopt;
    return LineView(lines);
  }

  MOX_ALWAYS_INLINE Currency operator[](CurrencyName name) const {
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[SlotOf(name.id)]));
  }
  MOX_ALWAYS_INLINE Real operator[](FloatName name) const {
    return std::bit_cast<double>(cells_[SlotOf(name.id)]);
  }
  MOX_ALWAYS_INLINE void Set(CurrencyName name, Currency value) {
    Write(name.id, static_cast<std::uint64_t>(value.scaled()));
  }
  MOX_ALWAYS_INLINE void Set(FloatName name, Real value) {
    Write(name.id, std::bit_cast<std::uint64_t>(value.ToDouble()));
  }

 private:
  explicit LineView(RecordSet& lines)
      : slots_(lines.slots_->usual.slots.data()),
        cells_(lines.cells_),
        nulls_(reinterpret_cast<NullMark*>(lines.cells_ + lines.field_count_)),
        modified_(&lines.modified_) {}

  std::size_t SlotOf(NameId id) const { return slots_[static_cast<std::size_t>(id)]; }
  MOX_ALWAYS_INLINE void Write(NameId id, std::uint64_t bits) {
    const std::size_t slot = SlotOf(id);
    cells_[slot] = bits;
    nulls_[slot] = NullMark::kValue;
    *modified_ = true;
  }

  const std::uint16_t* slots_;
  std::uint64_t* cells_;
  NullMark* nulls_;
  bool* modified_;
};

/// A line of ones that notes which names steps use.
class LineRecorder {
 public:
  Currency operator[](CurrencyName name) {
    names_.read.set(static_cast<std::size_t>(name.id));
    return Currency::FromScaled(Currency::kScale);
  }
  Real operator[](FloatName name) {
    names_.read.set(static_cast<std::size_t>(name.id));
    return 1;
  }
  void Set(CurrencyName name, Amount) { names_.written.set(static_cast<std::size_t>(name.id)); }
  void Set(FloatName name, Real) { names_.written.set(static_cast<std::size_t>(name.id)); }

  const LineNames& names() const { return names_; }

 private:
  LineNames names_;
};

/// Runs the steps of a calculator, `steps(line)`, over the current record. The names that they use are noted
/// once, on a line of ones, where every test for a quantity other than 0 is passed; a set that has all of
/// those fields in their usual kinds is then read and written without asking at each step. Any other set is
/// gone through step by step, and what is missing or may not be written raises at its own step. Steps must
/// use the same fields whatever the values, apart from such tests.
template <typename Steps>
void Calculate(RecordSet& lines, const Steps& steps) {
  static std::optional<LineNames> names;
  if (!names) [[unlikely]] {
    try {
      LineRecorder line;
      steps(line);
      names = line.names();
    } catch (const Error&) {
      // A setting that the steps refuse: the line itself reports it, and the next one tries again.
      names.reset();
    }
  }
  if (names) [[likely]] {
    if (auto line = LineView::Of(lines, *names)) [[likely]] {
      steps(*line);
      return;
    }
  }
  steps(lines);
}

}  // namespace mox

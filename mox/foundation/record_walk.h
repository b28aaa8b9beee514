#pragma once

#include <optional>
#include <utility>

#include "mox/foundation/record_set.h"

// Going over many records: by rows that are only read, or by moves, whose guards put things back.

namespace mox {

/// The rows of a set, to be iterated while the set is left alone.
class RowRange {
 public:
  class Iterator {
   public:
    Iterator(const RecordSet& set, std::size_t row) : set_(&set), row_(row) {}
    RecordRow operator*() const { return set_->RowAt(row_); }
    Iterator& operator++() {
      ++row_;
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.row_ == b.row_; }

   private:
    const RecordSet* set_;
    std::size_t row_;
  };

  explicit RowRange(const RecordSet& set) : set_(set) {}
  Iterator begin() const { return {set_, 0}; }
  Iterator end() const { return {set_, set_.RowCount()}; }

 private:
  const RecordSet& set_;
};

inline RowRange RecordSet::Rows() const { return RowRange(*this); }

/// Disables the controls bound to a set for its own lifetime, while which the set is not moved away; guards
/// nest.
class [[nodiscard]] ControlsGuard {
 public:
  explicit ControlsGuard(RecordSet& set) : set_(set) { set_.DisableControls(); }
  ~ControlsGuard() {
    if (set_.ControlsDisabled()) set_.EnableControls();
  }
  ControlsGuard(const ControlsGuard&) = delete;
  ControlsGuard& operator=(const ControlsGuard&) = delete;

 private:
  RecordSet& set_;
};

/// Keeps the calculate-fields event of a set from running for its own lifetime, while which the set is not
/// moved: for who reads lines as they are, or calculates them himself.
class [[nodiscard]] CalculationPause {
 public:
  explicit CalculationPause(RecordSet& set) : set_(set) { set_.PauseCalculation(); }
  ~CalculationPause() {
    if (set_.CalculationPaused()) set_.ResumeCalculation();
  }
  CalculationPause(const CalculationPause&) = delete;
  CalculationPause& operator=(const CalculationPause&) = delete;

 private:
  RecordSet& set_;
};

/// Remembers the current record and goes back to it: by Restore() at the end of a walk, or in its destructor
/// where an error left the walk early; then an error of the calculate-fields event does not cover the first.
class [[nodiscard]] SavedPosition {
 public:
  explicit SavedPosition(RecordSet& set) : set_(set), bookmark_(set.GetBookmark()) {}
  ~SavedPosition();
  SavedPosition(const SavedPosition&) = delete;
  SavedPosition& operator=(const SavedPosition&) = delete;
  void Restore();

 private:
  RecordSet& set_;
  std::optional<Bookmark> bookmark_;
  bool done_ = false;
};

/// Until Restore(), at the end of the walk, a set shows all its records, whatever its filter, and its bound
/// controls are disabled for its own lifetime. Then the filter and the position are what they were; in the
/// destructor where an error left the walk early, which an error of the filter does not cover.
class [[nodiscard]] WholeSetWalk {
 public:
  explicit WholeSetWalk(RecordSet& set) : controls_(set), position_(set), filter_(set) {}
  void Restore() {
    filter_.Restore();
    position_.Restore();
  }

 private:
  struct FilterPause {
    explicit FilterPause(RecordSet& paused) : set(paused), filtered(paused.IsFiltered()) {
      if (filtered) set.SetFiltered(false);
    }
    ~FilterPause() {
      try {
        Restore();
      } catch (const std::exception&) {
        filtered = false;  // an error left the walk early, and it is the one to report
      }
    }
    void Restore() {
      if (std::exchange(filtered, false)) set.SetFiltered(true);
    }
    FilterPause(const FilterPause&) = delete;
    FilterPause& operator=(const FilterPause&) = delete;

    RecordSet& set;
    bool filtered;
  };

  ControlsGuard controls_;
  SavedPosition position_;
  FilterPause filter_;
};

}  // namespace mox

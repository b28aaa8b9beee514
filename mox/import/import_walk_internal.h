#pragma once

#include <exception>

#include "mox/foundation/record_set.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// For its own lifetime a set shows all its records, whatever its filter, and its bound controls are
/// disabled. The position is restored afterwards.
class [[nodiscard]] WholeSetWalk {
 public:
  explicit WholeSetWalk(RecordSet& set) : controls_(set), position_(set), filter_(set) {}

 private:
  struct FilterPause {
    explicit FilterPause(RecordSet& paused) : set(paused), filtered(paused.IsFiltered()) {
      if (filtered) set.SetFiltered(false);
    }
    ~FilterPause() {
      if (!filtered) return;
      try {
        set.SetFiltered(true);
      } catch (const std::exception&) {
        filtered = false;  // an error left the walk early, and it is the one to report
      }
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

#pragma GCC visibility pop

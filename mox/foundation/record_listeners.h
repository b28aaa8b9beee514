#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace mox {

class RecordSet;

/// What those bound to a record set are told. Rows are places among the rows as a screen shows them, as they
/// are after the change. One that copies what it is told of holds the same rows as the set.
struct RecordSetChange {
  enum Kind {
    kMoved,     ///< another row is current
    kCell,      ///< a pending value was written
    kRecord,    ///< the current record was opened, posted, cancelled or calculated: its values or its state
    kInserted,  ///< a row came; it is current, and not posted yet
    kRemoved,   ///< a row went; where there are others, kMoved follows
    kReset,     ///< everything is to be read anew: rows, current row, fields and labels
    kClosed     ///< the set was closed and has no rows
  };

  Kind kind = kReset;
  std::size_t row = 0;    ///< of all but kReset and kClosed
  std::size_t field = 0;  ///< of kCell
};

/// Those that are told of the changes of a record set, in the order in which they came: each change at once,
/// or, while they are disabled, one for all of them afterwards.
class Listeners {
 public:
  /// Reads the set as it likes, but neither changes nor moves it, and does not raise.
  using Listener = std::function<void(const RecordSet&, const RecordSetChange&)>;

  /// The answer names the listener, and none of another set.
  int Add(Listener listener);
  void Remove(int id);
  /// Those of another set come to these, under the names that they have.
  void Join(Listeners&& others);
  bool empty() const { return listeners_.empty(); }
  void Tell(const RecordSet& set, const RecordSetChange& change);
  /// Nested; the last enabling tells what went unseen.
  void Disable() { ++disabled_; }
  void Enable(const RecordSet& set);
  bool AreDisabled() const { return disabled_ > 0; }

 private:
  struct Entry {
    int id;
    std::shared_ptr<const Listener> listener;  // null: removed while others were told
  };

  std::vector<Entry> listeners_;
  int telling_ = 0;
  int disabled_ = 0;
  bool moved_unseen_ = false;
  bool changed_unseen_ = false;
};

}  // namespace mox

#include "mox/foundation/record_listeners.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "mox/foundation/record_set.h"

namespace mox {

int Listeners::Add(Listener listener) {
  static std::atomic<int> last_id = 0;
  const int id = ++last_id;
  listeners_.push_back({id, std::make_shared<const Listener>(std::move(listener))});
  return id;
}

void Listeners::Join(Listeners&& others) {
  std::ranges::move(others.listeners_, std::back_inserter(listeners_));
  others.listeners_.clear();
}

void Listeners::Remove(int id) {
  for (Entry& entry : listeners_) {
    if (entry.id == id) entry.listener.reset();
  }
  if (telling_ == 0) std::erase_if(listeners_, [](const Entry& entry) { return !entry.listener; });
}

void Listeners::Tell(const RecordSet& set, const RecordSetChange& change) {
  if (disabled_ > 0) {
    bool& unseen = change.kind == RecordSetChange::kMoved ? moved_unseen_ : changed_unseen_;
    unseen = true;
    return;
  }
  ++telling_;
  // by place: a listener may add or remove others, and itself
  for (std::size_t i = 0; i < listeners_.size(); ++i) {
    if (const auto listener = listeners_[i].listener) (*listener)(set, change);
  }
  if (--telling_ == 0) std::erase_if(listeners_, [](const Entry& entry) { return !entry.listener; });
}

void Listeners::Enable(const RecordSet& set) {
  if (--disabled_ > 0 || !(moved_unseen_ || changed_unseen_)) return;
  const bool changed = std::exchange(changed_unseen_, false);
  moved_unseen_ = false;
  if (!set.IsActive()) return Tell(set, {.kind = RecordSetChange::kClosed});
  if (changed) return Tell(set, {.kind = RecordSetChange::kReset});
  Tell(set, {.kind = RecordSetChange::kMoved, .row = set.CurrentRow()});
}

}  // namespace mox

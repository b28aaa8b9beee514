#include "mox/foundation/listeners.h"

#include <utility>

namespace mox {

int Listeners::Add(Listener listener) {
  listeners_.push_back({++last_id_, std::make_shared<const Listener>(std::move(listener))});
  return last_id_;
}

void Listeners::Remove(int id) {
  for (Entry& entry : listeners_) {
    if (entry.id == id) entry.listener.reset();
  }
  if (telling_ == 0) std::erase_if(listeners_, [](const Entry& entry) { return !entry.listener; });
}

void Listeners::Tell(const RecordSet& set, const RecordSetChange& change) {
  ++telling_;
  // by place: a listener may add or remove others, and itself
  for (std::size_t i = 0; i < listeners_.size(); ++i) {
    if (const auto listener = listeners_[i].listener) (*listener)(set, change);
  }
  if (--telling_ == 0) std::erase_if(listeners_, [](const Entry& entry) { return !entry.listener; });
}

}  // namespace mox

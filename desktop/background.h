#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>

namespace mox {

/// Runs what takes long in a thread of its own, one task after the other, while the window looks every now
/// and then whether the user has ended it.
class Background {
 public:
  /// Answers what the task gives, and raises what it raises. `look` is called some fifty times a second; when
  /// it raises, the task goes on alone and what it gives is dropped. So a task owns what it works on, or that
  /// waits by Finish() until it is touched again.
  template <typename Task>
  auto Run(Task task, const std::function<void()>& look) {
    const auto result = std::make_shared<std::optional<decltype(task())>>();
    Start([result, task = std::move(task)] { *result = task(); }, look);
    return std::move(**result);
  }
  /// Waits for a task that goes on alone.
  void Finish();

 private:
  void Start(std::function<void()> task, const std::function<void()>& look);
  using Running = std::shared_future<void>;
  static void Await(const Running& running, const std::function<void()>& look);
  Running running_;  // the last one
};

}  // namespace mox

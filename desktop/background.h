#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace mox {

/// Runs what takes long in threads of its own, while the window looks every now and then whether the user has
/// ended it. The last ones are waited for when this goes.
class Background {
 public:
  /// Answers what the task gives, and raises what it raises. `look` is called some fifty times a second; when
  /// it raises, the task goes on alone and what it gives is dropped. So a task owns what it works on, or that
  /// waits by Finish() until it is touched again.
  template <typename Task>
  auto Run(Task task, const std::function<void()>& look) {
    const auto result = std::make_shared<std::optional<decltype(task())>>();
    Start([result, task = std::move(task)]() mutable { result->emplace(task()); }, look);
    return std::move(**result);
  }
  /// Waits until no task goes on; `look` is called meanwhile and may raise.
  void Finish(const std::function<void()>& look);
  bool IsRunning() const;
  /// The tasks of another one that go on alone are waited for here.
  void TakeOver(Background& other);

 private:
  void Start(std::function<void()> task, const std::function<void()>& look);
  using Running = std::shared_future<void>;
  static bool IsReady(const Running& running);
  static void Await(const Running& running, const std::function<void()>& look);
  std::vector<Running> running_;
};

}  // namespace mox

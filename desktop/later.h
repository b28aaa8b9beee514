#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <functional>
#include <utility>

namespace mox {

/// Runs an action once what happens now is over, before further keys and clicks, unless its owner is gone by
/// then. Of actions asked for before that only the last one runs.
class Later : public QObject {
 public:
  void Run(std::function<void()> action) {
    action_ = std::move(action);
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
  }
  /// For its lifetime what was asked for before does not run; afterwards it does.
  class Pause {
   public:
    explicit Pause(Later& later) : later_(later), action_(std::exchange(later.action_, nullptr)) {}
    ~Pause() {
      if (action_) later_.Run(std::move(action_));
    }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    Later& later_;
    std::function<void()> action_;
  };
  /// What was asked for is not wanted any more.
  void Forget() { action_ = nullptr; }
  /// Runs at once what was asked for.
  void RunNow() {
    if (const auto action = std::exchange(action_, nullptr)) action();
  }

 protected:
  bool event(QEvent* event) override {
    if (event->type() != QEvent::User) return QObject::event(event);
    RunNow();
    return true;
  }

 private:
  std::function<void()> action_;
};

}  // namespace mox

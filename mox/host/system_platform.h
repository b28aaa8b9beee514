#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "mox/foundation/app.h"

namespace mox {

/// The operating system that the program runs on, for a host without a user interface of its own; a host that
/// has one overrides what concerns it. Started programs read nothing and show nothing: no window, no input,
/// no standard output; their messages go to the host's standard error.
///
/// The cursor is only remembered. The clipboard is that of Windows; elsewhere it belongs to the desktop, and
/// a host that runs on one gives a function that reads it, without which it is empty.
class SystemPlatform : public AppPlatform {
 public:
  explicit SystemPlatform(std::function<std::string()> clipboard = {});
  ~SystemPlatform() override;
  SystemPlatform(const SystemPlatform&) = delete;
  SystemPlatform& operator=(const SystemPlatform&) = delete;

  MouseCursor SetCursor(MouseCursor cursor) override;
  /// Waits for some milliseconds where there is nothing to process.
  void ProcessMessages() override;
  bool IsTerminated() const override { return terminated_; }
  /// Ends whatever waits: from now on the application is closing.
  void Terminate() { terminated_ = true; }
  /// Raises Error where the system does not tell.
  std::string ApplicationFolder() const override;
  /// The program's folder where it is the user's: he owns it and may write it. Otherwise the folder mox of
  /// his state (XDG_STATE_HOME or ~/.local/state, on Windows LOCALAPPDATA), made for him alone. Raises Error
  /// where it cannot be made.
  std::string StateFolder() const override;
  /// The latter, wherever the program lies.
  static std::string UserStateFolder();
  /// An exit code beyond 128 is that of a program which was ended by a signal, as shells have it.
  std::unique_ptr<AppProgram> StartHidden(std::string_view file, std::string_view parameters) override;
  std::string ClipboardText() override;

 private:
  struct Children;  // programs that still ran when nobody waited for them any more

  std::function<std::string()> clipboard_;
  std::shared_ptr<Children> children_;
  MouseCursor cursor_ = MouseCursor::kDefault;
  bool terminated_ = false;
};

}  // namespace mox

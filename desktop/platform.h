#pragma once

#include <QLocale>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "mox/host/system_platform.h"

namespace mox {

/// The operating system with a screen: cursor, clipboard and event loop are Qt's.
class QtPlatform : public SystemPlatform {
 public:
  /// Where files are handed on and drafts lie; the system's own place for an empty folder.
  void SetStateFolder(std::string folder) { state_folder_ = std::move(folder); }
  std::string StateFolder() const override {
    return state_folder_.empty() ? SystemPlatform::StateFolder() : state_folder_;
  }
  MouseCursor SetCursor(MouseCursor cursor) override;
  /// Windows are painted meanwhile; keys and clicks wait, so that nothing is edited while the library works.
  void ProcessMessages() override;
  bool IsTerminated() const override;
  std::string ClipboardText() override;
  /// For the time being, waiting for an outside program is long work, which `look` shows and ends by raising
  /// Abort; what waits is told that the application is closing then. The next call with none ends that.
  void SetLook(std::function<void()> look) {
    look_ = std::move(look);
    ended_ = false;
  }
  /// For the time being the clipboard has this text; the next call with none gives it back to the desktop.
  void SetClipboard(std::optional<std::string> text) { clipboard_ = std::move(text); }

 private:
  std::function<void()> look_;
  bool ended_ = false;
  std::optional<std::string> clipboard_;
  std::string state_folder_;
  MouseCursor shown_ = MouseCursor::kDefault;
};

/// How the user's system writes numbers and dates; in the Croatian way where it does not say.
LocaleSettings SystemLocaleSettings();
LocaleSettings LocaleSettingsOf(const QLocale& system);

}  // namespace mox

#include "mox/host/system_platform.h"

#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
// Needs windows.h before it.
#include <shellapi.h>

#include <utility>

#include "mox/foundation/error.h"
#include "mox/host/command_line.h"

namespace mox {
namespace {

std::wstring ToUtf16(std::string_view text) {
  const int length = static_cast<int>(text.size());
  const int count = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(count), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), count);
  return wide;
}

std::string ToUtf8(std::wstring_view wide) {
  const int length = static_cast<int>(wide.size());
  const int count = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(count), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, text.data(), count, nullptr, nullptr);
  return text;
}

class Program : public AppProgram {
 public:
  explicit Program(HANDLE process) : process_(process) {}
  ~Program() override { ::CloseHandle(process_); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  int ExitCode() override {
    DWORD code = 0;
    return ::GetExitCodeProcess(process_, &code) != 0 ? static_cast<int>(code) : -1;
  }

 private:
  HANDLE process_;
};

static_assert(kStillActive == STILL_ACTIVE);

// The clipboard, open for the object's lifetime.
class OpenedClipboard {
 public:
  OpenedClipboard() : open_(::OpenClipboard(nullptr) != 0) {}
  ~OpenedClipboard() {
    if (open_) ::CloseClipboard();
  }
  OpenedClipboard(const OpenedClipboard&) = delete;
  OpenedClipboard& operator=(const OpenedClipboard&) = delete;

  std::string Text() const {
    const HANDLE handle = open_ ? ::GetClipboardData(CF_UNICODETEXT) : nullptr;
    const void* const block = handle != nullptr ? ::GlobalLock(handle) : nullptr;
    if (block == nullptr) return {};
    std::string text = ToUtf8(static_cast<const wchar_t*>(block));
    ::GlobalUnlock(handle);
    return text;
  }

 private:
  bool open_;
};

}  // namespace

// Nothing is left to be done for a program that nobody waits for.
struct SystemPlatform::Children {};

SystemPlatform::SystemPlatform(std::function<std::string()> clipboard) : clipboard_(std::move(clipboard)) {}

SystemPlatform::~SystemPlatform() = default;

MouseCursor SystemPlatform::SetCursor(MouseCursor cursor) { return std::exchange(cursor_, cursor); }

void SystemPlatform::ProcessMessages() {
  constexpr DWORD kPauseMilliseconds = 2;
  ::MsgWaitForMultipleObjects(0, nullptr, FALSE, kPauseMilliseconds, QS_ALLINPUT);
  MSG message;
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
    if (message.message == WM_QUIT) {
      Terminate();
      ::PostQuitMessage(static_cast<int>(message.wParam));  // the host's own loop is to see it as well
      return;
    }
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
}

std::string SystemPlatform::ApplicationFolder() const {
  constexpr DWORD kLongestPath = 32'768;
  std::wstring path(kLongestPath, L'\0');
  const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), kLongestPath);
  if (length == 0 || length == kLongestPath) throw Error("the folder of the program is not known");
  path.resize(length);
  return ToUtf8(path.substr(0, path.rfind(L'\\') + 1));
}

// A file that goes at once shows whether the program's folder may be written.
std::string SystemPlatform::StateFolder() const {
  const std::string own = ApplicationFolder();
  const HANDLE trial =
      ::CreateFileW(ToUtf16(own + "mox.trial").c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr,
                    CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (trial != INVALID_HANDLE_VALUE) {
    ::CloseHandle(trial);
    return own;
  }
  return UserStateFolder();
}

std::string SystemPlatform::UserStateFolder() {
  constexpr DWORD kLongestPath = 32'768;
  std::wstring folder(kLongestPath, L'\0');
  const DWORD length = ::GetEnvironmentVariableW(L"LOCALAPPDATA", folder.data(), kLongestPath);
  if (length == 0 || length >= kLongestPath) throw Error("the folder of the user is not known");
  folder.resize(length);
  folder += L"\\mox\\";
  // The folder of the user lets nobody else in, and what is made in it inherits that.
  if (::CreateDirectoryW(folder.c_str(), nullptr) == 0 && ::GetLastError() != ERROR_ALREADY_EXISTS) {
    throw Error(ToUtf8(folder) + ": cannot be made");
  }
  return ToUtf8(folder);
}

std::unique_ptr<AppProgram> SystemPlatform::StartHidden(std::string_view file, std::string_view parameters) {
  const std::wstring program = ToUtf16(WithoutQuotes(file));
  const std::wstring parameter_text = ToUtf16(parameters);
  SHELLEXECUTEINFOW start{};
  start.cbSize = sizeof start;
  // The process handle is kept; the caller tells of a failure, not the shell.
  start.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
  start.hwnd = ::GetActiveWindow();
  start.lpFile = program.c_str();
  start.lpParameters = parameter_text.c_str();
  start.nShow = SW_HIDE;
  if (::ShellExecuteExW(&start) == 0 || start.hProcess == nullptr) return nullptr;
  return std::make_unique<Program>(start.hProcess);
}

std::string SystemPlatform::ClipboardText() {
  if (clipboard_) return clipboard_();
  return OpenedClipboard().Text();
}

}  // namespace mox

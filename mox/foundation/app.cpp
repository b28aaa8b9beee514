#include "mox/foundation/app.h"

#include <atomic>
#include <charconv>

#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"

namespace mox {

constinit thread_local const TAppIni* installed_settings = nullptr;

namespace {

thread_local TAppSys* installed = nullptr;

void Install(TAppSys* app) {
  installed = app;
  installed_settings = app != nullptr ? app->Settings() : nullptr;
}

std::optional<int> IntegerIn(const std::string& text) {
  const std::string_view trimmed = TrimBlanks(text);
  int value = 0;
  const auto [end, error] = std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), value);
  if (error != std::errc() || end != trimmed.data() + trimmed.size()) return std::nullopt;
  return value;
}

// Asks for a line until it can be read, or until the user gives up.
template <typename Value>
std::optional<Value> InputValue(AppDialogs& dialogs, std::string_view title, std::string_view prompt,
                                std::string text, std::string_view wanted,
                                std::optional<Value> (*read)(std::string_view, const LocaleSettings&)) {
  while (const auto line = dialogs.InputBox(title, prompt, text)) {
    if (const auto value = read(*line, CurrentLocale())) return value;
    text = *line;
    dialogs.ShowMessage("\"" + text + "\" nije " + std::string(wanted) + ".");
  }
  return std::nullopt;
}

template <typename Part>
Part& Supplied(Part* part, const char* name) {
  if (part == nullptr) throw Error(std::string("the host supplies no ") + name);
  return *part;
}

}  // namespace

std::string TAppIni::ReadString(std::string_view section, std::string_view key,
                                std::string_view default_value) const {
  return Find(section, key).value_or(std::string(default_value));
}

void TAppIni::WriteString(std::string_view section, std::string_view key, std::string_view value) {
  const auto forget = [this] {
    read_before_ = {};
    version_ = NewVersion();
  };
  // Behind the store, which may read the former value on its way, and may fail half way.
  try {
    Store(section, key, value);
  } catch (...) {
    forget();
    throw;
  }
  forget();
}

std::uint64_t TAppIni::NewVersion() {
  static std::atomic<std::uint64_t> latest = 0;
  return ++latest;
}

int TAppIni::ReadInteger(std::string_view section, std::string_view key, int default_value) const {
  for (const ReadBefore& before : read_before_) {
    if (before.key == key && before.section == section) return before.value.value_or(default_value);
  }
  ReadBefore& read = read_before_[next_to_replace_++ % kRemembered];
  read = {std::string(section), std::string(key), IntegerIn(Find(section, key).value_or(""))};
  return read.value.value_or(default_value);
}

bool TAppIni::ReadBool(std::string_view section, std::string_view key, bool default_value) const {
  const std::string text = ReadString(section, key, "");
  const std::string_view trimmed = TrimBlanks(text);
  if (trimmed == "1" || SameName(trimmed, "true")) return true;
  if (trimmed == "0" || SameName(trimmed, "false")) return false;
  return default_value;
}

double TAppIni::ReadFloat(std::string_view section, std::string_view key, double default_value) const {
  const std::string text = ReadString(section, key, "");
  try {
    return ParseNumber(TrimBlanks(text));
  } catch (const Error&) {
    return default_value;
  }
}

void TAppIni::WriteInteger(std::string_view section, std::string_view key, int value) {
  WriteString(section, key, std::to_string(value));
}

void TAppIni::WriteBool(std::string_view section, std::string_view key, bool value) {
  WriteString(section, key, value ? "1" : "0");
}

void TAppIni::WriteFloat(std::string_view section, std::string_view key, double value) {
  WriteString(section, key, ShortestNumber(value));
}

std::optional<std::string> AppDialogs::InputBox(std::string_view /*title*/, std::string_view /*prompt*/,
                                                std::string_view /*default_text*/) {
  return std::nullopt;
}

std::optional<std::string> AppDialogs::InputText(std::string_view title, std::string_view prompt,
                                                 std::string_view default_text) {
  return InputBox(title, prompt, default_text);
}

std::optional<double> AppDialogs::InputNumber(std::string_view title, std::string_view prompt,
                                              double default_value) {
  return InputValue(*this, title, prompt, NumberToText(default_value, CurrentLocale()), "broj",
                    ParseLocaleNumber);
}

std::optional<Date> AppDialogs::InputDate(std::string_view title, std::string_view prompt,
                                          Date default_date) {
  return InputValue(*this, title, prompt, DateToText(default_date, CurrentLocale()), "datum",
                    ParseLocaleDate);
}

TAppIni& TAppSys::Ini() const { return Supplied(parts_.ini, "settings file"); }
TdmComunication& TAppSys::Comunication() const {
  return Supplied(parts_.comunication, "communication module");
}
AppDialogs& TAppSys::Dialogs() const { return Supplied(parts_.dialogs, "message dialogs"); }
AppLocale& TAppSys::Locale() const { return Supplied(parts_.locale, "locale"); }
AppPlatform& TAppSys::Platform() const { return Supplied(parts_.platform, "platform"); }
TCompany& TAppSys::Company() const { return Supplied(parts_.company, "company"); }
AppLookUps& TAppSys::LookUps() const { return Supplied(parts_.look_ups, "look-up forms"); }
AppForms& TAppSys::Forms() const { return Supplied(parts_.forms, "forms"); }

TAppSys& App() {
  if (installed == nullptr) throw Error("no application is installed");
  return *installed;
}

ScopedApp::ScopedApp(const AppParts& parts) : app_(parts), previous_(installed) { Install(&app_); }

ScopedApp::~ScopedApp() { Install(previous_); }

HourglassCursor::HourglassCursor()
    : platform_(installed != nullptr && installed->HasPlatform() ? &installed->Platform() : nullptr) {
  if (platform_ != nullptr) before_ = platform_->SetCursor(MouseCursor::kHourglass);
}

HourglassCursor::~HourglassCursor() {
  if (platform_ != nullptr) platform_->SetCursor(before_);
}

const LocaleSettings& CurrentLocale() {
  static const LocaleSettings croatian;
  return installed != nullptr && installed->HasLocale() ? installed->Locale().Settings() : croatian;
}

int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                    std::string_view message) {
  return App().Dialogs().ShowVelorDialog(kind, caption, heading, message);
}

void ShowMessage(std::string_view text) { App().Dialogs().ShowMessage(text); }

std::optional<std::string> InputBox(std::string_view title, std::string_view prompt,
                                    std::string_view default_text) {
  return App().Dialogs().InputBox(title, prompt, default_text);
}

}  // namespace mox

#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/dates.h"

namespace mox {

class ImportGridView;
class RecordSet;
class TAstaParamList;

/// The user's settings file: sections of keys with typed reads. A read of a missing key, or of one whose text
/// is not of the asked type, gives the default. Section and key names are compared without regard to case.
///
/// Integers that were read are remembered until something is written through this object: a host whose store
/// changes otherwise installs a new one. An object serves one thread.
class TAppIni {
 public:
  virtual ~TAppIni() = default;
  std::string ReadString(std::string_view section, std::string_view key,
                         std::string_view default_value) const;
  /// This and the other writes raise Error when the setting cannot be stored.
  void WriteString(std::string_view section, std::string_view key, std::string_view value);

  int ReadInteger(std::string_view section, std::string_view key, int default_value) const;
  bool ReadBool(std::string_view section, std::string_view key, bool default_value) const;
  double ReadFloat(std::string_view section, std::string_view key, double default_value) const;
  void WriteInteger(std::string_view section, std::string_view key, int value);
  void WriteBool(std::string_view section, std::string_view key, bool value);
  void WriteFloat(std::string_view section, std::string_view key, double value);

  /// What the settings are, as a number: as long as it stays the same, so does every integer that is read. No
  /// two objects have the same, but for copies that nobody wrote to since.
  std::uint64_t Version() const { return version_; }

 private:
  /// The stored text of a setting, none where it is missing.
  virtual std::optional<std::string> Find(std::string_view section, std::string_view key) const = 0;
  /// Raises Error when the setting cannot be stored.
  virtual void Store(std::string_view section, std::string_view key, std::string_view value) = 0;

  static std::uint64_t NewVersion();

  std::uint64_t version_ = NewVersion();
  // The latest integers are remembered until something is written.
  struct ReadBefore {
    std::string section;
    std::string key;
    std::optional<int> value;
  };
  static constexpr std::size_t kRemembered = 4;
  mutable std::array<ReadBefore, kRemembered> read_before_;
  mutable std::size_t next_to_replace_ = 0;
};

/// The host's communication module: everything that the library asks of the application server. Calls block
/// until the server has answered, and raise Error when it cannot be reached.
class TdmComunication {
 public:
  virtual ~TdmComunication() = default;
  /// The company parameters, kept open on their one record; null where the host has loaded none.
  virtual RecordSet* CompanyParameters() = 0;
  /// The answer of a named read service to the request's input values: record sets under fixed names. Null
  /// where the server has no such service or no answer.
  virtual std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                            std::string_view service) = 0;
  /// Stores the record sets of a write request in one transaction. Other than 0 when the server committed it.
  virtual int WriteDataService(const TAstaParamList& request) = 0;
  /// Why the last write request was refused, for people; empty where it was not or nobody knows.
  virtual std::string WriteRefusal() const { return {}; }
};

/// Which dialog ShowVelorDialog shows.
enum class TVCustomDialogType : std::uint8_t { kInformation = 0, kConfirmation = 1, kError = 2 };

/// What the user answered to a confirmation; a dialog of another kind is just closed.
inline constexpr int kDialogYes = 1;
inline constexpr int kDialogNo = 2;

/// The host's message dialogs.
class AppDialogs {
 public:
  virtual ~AppDialogs() = default;
  virtual int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                              std::string_view message) = 0;
  /// A plain message with nothing but its text.
  virtual void ShowMessage(std::string_view text) = 0;
  /// The line of text that the user entered, beginning with the default; none where he cancelled, and always
  /// from a host without input boxes.
  virtual std::optional<std::string> InputBox(std::string_view title, std::string_view prompt,
                                              std::string_view default_text);
  /// The same for a text of several lines. A host with lines alone asks for one.
  virtual std::optional<std::string> InputText(std::string_view title, std::string_view prompt,
                                               std::string_view default_text);
  /// A number or a date, as the locale writes them. A host with lines alone asks until the text is one.
  virtual std::optional<double> InputNumber(std::string_view title, std::string_view prompt,
                                            double default_value);
  virtual std::optional<Date> InputDate(std::string_view title, std::string_view prompt, Date default_date);
};

/// What the host's look-up forms choose from.
enum class LookUpForm : std::uint8_t {
  kPartner,
  kPlace,
  kAccount,
  kArticle,
  kService,
  kWarehouse,
  kDocument,
  kText,
  kPayment,
  kUser
};

/// The host's look-up forms.
class AppLookUps {
 public:
  virtual ~AppLookUps() = default;
  /// Shows what has the text in any of its texts, everything for an empty one. The record that the user
  /// chose, alone in a set of the fields that the server's answer has; null where he chose none.
  virtual std::unique_ptr<RecordSet> LookUp(LookUpForm form, std::string_view text) = 0;
};

/// The host's main form, which owns the windows that it opens. A host derives the class of its window from
/// it.
class TMainForm {
 public:
  virtual ~TMainForm() = default;
};

/// Makes the windows of the library's forms.
class AppForms {
 public:
  virtual ~AppForms() = default;
  virtual std::unique_ptr<ImportGridView> NewImportGridView() = 0;
  /// Null before the host has one.
  virtual TMainForm* MainForm() = 0;
};

/// A program that was started. It goes on when this object goes away.
class AppProgram {
 public:
  virtual ~AppProgram() = default;
  /// kStillActive as long as it runs.
  virtual int ExitCode() = 0;
};

inline constexpr int kStillActive = 259;

enum class MouseCursor : std::uint8_t { kDefault, kHourglass };

/// What the library needs of the operating system and of the screen's event loop.
class AppPlatform {
 public:
  virtual ~AppPlatform() = default;
  /// Answers the cursor that was shown before.
  virtual MouseCursor SetCursor(MouseCursor cursor) = 0;
  /// Lets the user interface process its pending messages. It is called over and over while the library
  /// waits, so a host pauses in it for some milliseconds when there are none.
  virtual void ProcessMessages() = 0;
  /// The application is closing.
  virtual bool IsTerminated() const = 0;
  /// The folder of the host program, with a trailing path delimiter.
  virtual std::string ApplicationFolder() const = 0;
  /// Where the files lie that the library and the programs it starts hand each other, with a trailing path
  /// delimiter: the folder of the host program, or one of the user's own where that one is not his.
  virtual std::string StateFolder() const { return ApplicationFolder(); }
  /// Starts a program without a window, owned by the main form. The file may stand in quotation marks; the
  /// parameters are one text, split as the command lines of Windows are. Null when it cannot be started.
  virtual std::unique_ptr<AppProgram> StartHidden(std::string_view file, std::string_view parameters) = 0;
  virtual std::string ClipboardText() = 0;
};

/// How the user's system writes numbers and dates.
struct LocaleSettings {
  std::string decimal_separator = ",";
  std::string thousands_separator = ".";
  std::string short_date = "dd.MM.yyyy";
  std::string currency_symbol = "€";
};

class AppLocale {
 public:
  virtual ~AppLocale() = default;
  virtual const LocaleSettings& Settings() const = 0;
  /// Changes the currency symbol of the user's default locale.
  virtual void SetCurrencySymbol(std::string_view symbol) = 0;
};

/// The company that the user works in.
class TCompany {
 public:
  virtual ~TCompany() = default;
  /// The working year that the user selected.
  virtual int WorkingYear() const = 0;
  /// Where the company's data lie. It tells the files of one company from those of another that is worked
  /// with in the same folder; empty where there is one company only.
  virtual std::string CompanyPath() const { return {}; }
};

/// The parts of the host program that the library calls back into. The host owns them; a part that it does
/// not supply is null.
struct AppParts {
  TAppIni* ini = nullptr;
  TdmComunication* comunication = nullptr;
  AppDialogs* dialogs = nullptr;
  AppLocale* locale = nullptr;
  AppPlatform* platform = nullptr;
  TCompany* company = nullptr;
  AppLookUps* look_ups = nullptr;
  AppForms* forms = nullptr;
};

/// The host's application object. Asking for a part that the host did not supply raises Error naming it.
class TAppSys {
 public:
  explicit TAppSys(const AppParts& parts) : parts_(parts) {}
  TAppIni& Ini() const;
  TdmComunication& Comunication() const;
  AppDialogs& Dialogs() const;
  AppLocale& Locale() const;
  AppPlatform& Platform() const;
  TCompany& Company() const;
  AppLookUps& LookUps() const;
  AppForms& Forms() const;
  /// Null where the host did not supply them.
  const TAppIni* Settings() const { return parts_.ini; }
  bool HasCompany() const { return parts_.company != nullptr; }
  bool HasPlatform() const { return parts_.platform != nullptr; }
  bool HasLocale() const { return parts_.locale != nullptr; }

 private:
  AppParts parts_;
};

/// The application object installed in this thread; raises Error when there is none.
///
/// Each thread has its own application object and its own FWorkWithLagerNegative, so that threads do not
/// calculate with each other's settings; the parts that a host hands to two threads it makes safe itself.
TAppSys& App();

/// Installs an application object in this thread for its own lifetime and then brings back the one before.
class ScopedApp {
 public:
  explicit ScopedApp(const AppParts& parts);
  ~ScopedApp();
  ScopedApp(const ScopedApp&) = delete;
  ScopedApp& operator=(const ScopedApp&) = delete;

 private:
  TAppSys app_;
  TAppSys* previous_;
};

/// Shows the hourglass for its own lifetime, where the host has a screen.
class [[nodiscard]] HourglassCursor {
 public:
  HourglassCursor();
  ~HourglassCursor();
  HourglassCursor(const HourglassCursor&) = delete;
  HourglassCursor& operator=(const HourglassCursor&) = delete;

 private:
  AppPlatform* platform_;
  MouseCursor before_ = MouseCursor::kDefault;
};

/// The settings file of the application installed in this thread, null where there is none. ScopedApp sets
/// it.
extern constinit thread_local const TAppIni* installed_settings;

/// TAppIni::Version of the installed application's settings file, 0 where there is none. Asked for every
/// line that is calculated.
inline std::uint64_t SettingsVersion() {
  return installed_settings != nullptr ? installed_settings->Version() : 0;
}

/// The locale of the installed application, and the Croatian one where none is installed.
const LocaleSettings& CurrentLocale();

/// The host's custom message dialog.
int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                    std::string_view message);

/// The host's plain message.
void ShowMessage(std::string_view text);

/// The host's input box.
std::optional<std::string> InputBox(std::string_view title, std::string_view prompt,
                                    std::string_view default_text);

}  // namespace mox

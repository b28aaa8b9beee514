#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/company_access.h"
#include "cli/command.h"
#include "mox/foundation/app.h"
#include "mox/foundation/visible_text.h"
#include "mox/host/company_parameters.h"
#include "mox/host/console_dialogs.h"
#include "mox/host/locale.h"
#include "mox/host/system_platform.h"
#include "mox/host/working_company.h"

namespace mox {

/// The options that every command has.
struct HostOptions {
  std::string ini;
  std::string database;
  std::string server;  ///< a company on an application server, in place of a database
  std::vector<std::string> parameters;
};

/// A message on one line and not too long, whatever stands in it.
inline std::string OnOneLine(std::string_view message) { return VisibleMessage(message); }

/// Dialogs on standard error that say first at which line of a file they are shown, and show no secret. A
/// confirmation is answered with no.
class SessionDialogs : public ConsoleDialogs {
 public:
  explicit SessionDialogs(Session& session) : ConsoleDialogs(session.err, kDialogNo), session_(session) {}
  /// A confirmation is answered with yes, or asked of a user who sits at a terminal.
  SessionDialogs(Session& session, bool yes);

  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override;
  void ShowMessage(std::string_view text) override;

 private:
  const Session& session_;
};

/// The host program that the library calls back into, installed for the object's lifetime: settings, dialogs
/// on standard error, the operating system with the session's clipboard, and the company as its
/// application server where one is named.
class Host {
 public:
  /// Raises UsageError for a faulty parameter, Error for a file that cannot be read.
  Host(const HostOptions& options, Session& session);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

 private:
  void SetParameter(const std::string& parameter);
  void CheckTaxDigits(const std::string& text);
  TdmComunication& Comunication();

  std::unique_ptr<TAppIni> settings_;
  std::unique_ptr<CompanyAccess> server_;
  CompanyParameterModule parameters_;  ///< without a server
  SessionDialogs dialogs_;
  std::unique_ptr<WorkingCompany> company_;
  StandardLocale locale_;
  SystemPlatform platform_;
  std::optional<ScopedApp> app_;
};

}  // namespace mox

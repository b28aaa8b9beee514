#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/company_server.h"
#include "cli/command.h"
#include "mox/foundation/app.h"
#include "mox/host/company_parameters.h"
#include "mox/host/console_dialogs.h"
#include "mox/host/locale.h"
#include "mox/host/system_platform.h"

namespace mox {

/// The options that every command has.
struct HostOptions {
  std::string ini;
  std::string database;
  std::vector<std::string> parameters;
};

/// A message on one line, whatever stands in it.
std::string OnOneLine(std::string_view message);

/// The host program that the library calls back into, installed for the object's lifetime: settings, dialogs
/// on standard error, the operating system with the session's clipboard, and the company database as its
/// application server where one is named.
class Host {
 public:
  /// Raises UsageError for a faulty parameter, Error for a file that cannot be read.
  Host(const HostOptions& options, Session& session, std::ostream& err);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

 private:
  class PlacedDialogs;

  void SetParameter(const std::string& parameter);
  void CheckTaxDigits(const std::string& text);
  TdmComunication& Comunication();

  std::unique_ptr<TAppIni> settings_;
  std::unique_ptr<CompanyServer> server_;
  CompanyParameterModule parameters_;  ///< without a server
  std::unique_ptr<PlacedDialogs> dialogs_;
  StandardLocale locale_;
  SystemPlatform platform_;
  std::optional<ScopedApp> app_;
};

}  // namespace mox

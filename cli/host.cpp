#include "cli/host.h"

#include <filesystem>
#include <ostream>

#include "appserver/database_location.h"
#include "cli/argument_text.h"
#include "cli/progress_bar.h"
#include "connect/open_company.h"
#include "mox/foundation/text.h"
#include "mox/host/memory_settings.h"
#include "mox/host/settings_file.h"

namespace mox {
namespace {

constexpr const char* kTaxDigits = "PdviCalcDigit";

std::unique_ptr<TAppIni> OpenSettings(const std::string& path) {
  if (path.empty()) return std::make_unique<MemorySettings>();
  if (!std::filesystem::exists(path)) throw Error(path + ": there is no such settings file");
  return std::make_unique<SettingsFile>(path);
}

}  // namespace

SessionDialogs::SessionDialogs(Session& session, bool yes)
    : ConsoleDialogs(!yes && IsTerminal(session.in)
                         ? ConsoleDialogs(session.err, session.in)
                         : ConsoleDialogs(session.err, yes ? kDialogYes : kDialogNo)),
      session_(session) {}

int SessionDialogs::ShowVelorDialog(TVCustomDialogType kind, std::string_view caption,
                                    std::string_view heading, std::string_view message) {
  if (session_.place) session_.err << OnOneLine(session_.place());
  const Secrets& secrets = session_.secrets;
  return ConsoleDialogs::ShowVelorDialog(kind, caption, secrets.Blanked(heading), secrets.Blanked(message));
}

void SessionDialogs::ShowMessage(std::string_view text) {
  ConsoleDialogs::ShowMessage(session_.secrets.Blanked(text));
}

Host::Host(const HostOptions& options, Session& session)
    : settings_(OpenSettings(options.ini)),
      dialogs_(session),
      platform_([&session] { return session.clipboard; }) {
  std::string company_path;
  if (const std::string& address = options.server.empty() ? options.database : options.server;
      !address.empty()) {
    if (options.server.empty()) session.secrets.AddThoseOf(DatabaseLocation(address).connection());
    server_ = OpenCompany(address);
    session.server = server_.get();
    server_->AddSecrets(session.secrets);
    company_path = address;
    if (options.server.empty()) {
      const DatabaseLocation location(address);
      company_path = location.IsFile() ? std::filesystem::canonical(address).string() : location.ToString();
    }
  }
  for (const std::string& parameter : options.parameters) SetParameter(parameter);
  company_ = std::make_unique<WorkingCompany>(Comunication(), company_path);
  app_.emplace(AppParts{.ini = settings_.get(),
                        .comunication = &Comunication(),
                        .dialogs = &dialogs_,
                        .locale = &locale_,
                        .platform = &platform_,
                        .company = company_.get()});
}

Host::~Host() = default;

TdmComunication& Host::Comunication() {
  if (server_) return *server_;
  return parameters_;
}

void Host::SetParameter(const std::string& parameter) {
  try {
    if (server_) {
      server_->SetParameter(parameter);
    } else {
      parameters_.SetAssignment(parameter);
    }
  } catch (const DatabaseError&) {
    throw;
  } catch (const Error& error) {
    throw UsageError(std::string("--param: ") + error.what());
  }
  const std::size_t equals = parameter.find('=');
  if (SameName(TrimBlanks(parameter.substr(0, equals)), kTaxDigits)) {
    CheckTaxDigits(parameter.substr(equals + 1));
  }
}

// The decimals of tax amounts are a whole number, or null.
void Host::CheckTaxDigits(const std::string& text) {
  const ConstField digits = Comunication().CompanyParameters()->FieldByName(kTaxDigits);
  if (digits.IsNull()) return;
  const std::string name = std::string("--param: ") + kTaxDigits;
  if (digits.Kind() != FieldKind::kInteger) {
    throw UsageError(name + ": \"" + text + "\" is not a whole number");
  }
  IntegerArgument(name, text);
}

}  // namespace mox

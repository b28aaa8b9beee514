#include "cli/host.h"

#include <cstdio>
#include <filesystem>
#include <ostream>

#include "cli/argument_text.h"
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

// A file that may not be written is still good for reading.
Database OpenDatabase(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "r+b");
  const bool is_read_only = file == nullptr && std::filesystem::exists(path);
  if (file != nullptr) std::fclose(file);
  return Database(path, is_read_only ? Database::Access::kReadOnly : Database::Access::kReadWrite);
}

}  // namespace

std::string OnOneLine(std::string_view message) {
  std::string line;
  for (const char c : message) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      line += c;
    } else if (c == '\n') {
      line += "\\n";
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%02X", byte);
      line += escape;
    }
  }
  return line;
}

// Dialogs that say first at which line of a file they are shown.
class Host::PlacedDialogs : public ConsoleDialogs {
 public:
  PlacedDialogs(std::ostream& err, const Session& session)
      : ConsoleDialogs(err, kDialogNo), err_(err), session_(session) {}

  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override {
    if (session_.place) err_ << OnOneLine(session_.place());
    return ConsoleDialogs::ShowVelorDialog(kind, caption, heading, message);
  }

 private:
  std::ostream& err_;
  const Session& session_;
};

Host::Host(const HostOptions& options, Session& session, std::ostream& err)
    : settings_(OpenSettings(options.ini)),
      dialogs_(std::make_unique<PlacedDialogs>(err, session)),
      platform_([&session] { return session.clipboard; }) {
  if (!options.database.empty()) {
    server_ = std::make_unique<CompanyServer>(OpenDatabase(options.database));
    session.server = server_.get();
  }
  for (const std::string& parameter : options.parameters) SetParameter(parameter);
  app_.emplace(AppParts{.ini = settings_.get(),
                        .comunication = &Comunication(),
                        .dialogs = dialogs_.get(),
                        .locale = &locale_,
                        .platform = &platform_});
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
  const Field digits = Comunication().CompanyParameters()->FieldByName(kTaxDigits);
  if (digits.IsNull()) return;
  const std::string name = std::string("--param: ") + kTaxDigits;
  if (digits.Kind() != FieldKind::kInteger) {
    throw UsageError(name + ": \"" + text + "\" is not a whole number");
  }
  IntegerArgument(name, text);
}

}  // namespace mox

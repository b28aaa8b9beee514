#include "connect/open_company.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "appserver/company_server.h"
#include "connect/login_store.h"
#include "connect/server_address.h"
#include "connect/server_connection.h"
#include "mox/foundation/text.h"
#include "mox/host/system_platform.h"

namespace mox {
namespace {

// What may not be written, the file or its folder, is still good for reading, and so is a full disk.
std::unique_ptr<CompanyAccess> OpenDatabase(const std::string& address) {
  try {
    auto server = std::make_unique<CompanyServer>(Database(address, Database::Access::kReadWrite));
    server->SetRequester({.user = LoginName()});
    return server;
  } catch (const DatabaseUnavailable& unwritable) {
    try {
      auto server = std::make_unique<CompanyServer>(Database(address, Database::Access::kReadOnly));
      server->SetUnwritable(unwritable.what());
      return server;
    } catch (const DatabaseError&) {
    }
    throw;
  }
}

std::unique_ptr<CompanyAccess> OpenOnServer(const std::string& text) {
  const ServerAddress address = ServerAddress::Parse(text);
  if (address.company.empty()) throw Error(text + ": a company is missing: " + address.server + "/COMPANY");
  const auto login = LoginStore(SystemPlatform::UserStateFolder()).Find(address.server);
  if (!login) throw NotLoggedIn(address.server + ": not logged in: mox login " + address.server);
  return std::make_unique<ServerConnection>(address, *login);
}

}  // namespace

std::string LoginName() {
  if (const char* const name = std::getenv("USER"); name != nullptr && *name != '\0') return name;
  const passwd* const user = ::getpwuid(::geteuid());
  return user == nullptr ? "" : user->pw_name;
}

bool IsServerAddress(std::string_view text) { return FoldCase(text).starts_with("https://"); }

std::unique_ptr<CompanyAccess> OpenCompany(const std::string& address) {
  return IsServerAddress(address) ? OpenOnServer(address) : OpenDatabase(address);
}

}  // namespace mox

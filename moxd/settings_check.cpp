#include "moxd/settings_check.h"

#include <exception>
#include <filesystem>

#include "appserver/database.h"
#include "mox/foundation/error.h"
#include "moxd/directory_schema.h"
#include "moxd/listen_address.h"

namespace mox {

void RequireDirectory(const std::string& location) {
  std::error_code failed;
  if (DatabaseLocation(location).IsFile() && !std::filesystem::exists(location, failed) && !failed) {
    throw Error(location + ": there is no such directory of companies; moxd init makes it");
  }
  try {
    static_cast<void>(Database(location, DirectorySchema()));
  } catch (const NoSuchCompany&) {
    throw Error(DatabaseLocation(location).ToString() +
                ": there is no such directory of companies; moxd init makes it");
  }
}

CheckedSettings CheckThingsNamed(const ServerSettings& settings) {
  CheckedSettings checked;
  const auto attempt = [&checked](const auto& work) {
    try {
      work();
    } catch (const std::exception& error) {
      checked.faults.emplace_back(error.what());
    }
  };
  for (const std::string& text : {settings.listen, settings.operations}) {
    if (const auto address = ListenAddress::Parse(text)) attempt([&] { address->RequireHere(); });
  }
  if (!settings.tls.certificate.empty() && !settings.tls.key.empty()) {
    attempt([&] { HttpServer(settings.http).UseTls(settings.tls); });
  }
  if (settings.directory.empty()) return checked;
  attempt([&] {
    RequireDirectory(settings.directory);
    const std::vector<CompanyInfo> companies = Accounts(settings.directory, settings.accounts).Companies();
    checked.companies = companies.size();
    for (const CompanyInfo& company : companies) {
      attempt([&] { static_cast<void>(Database(company.address, Database::Access::kReadOnly)); });
    }
  });
  return checked;
}

}  // namespace mox

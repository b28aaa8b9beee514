#include "moxd/settings_check.h"

#include <sys/resource.h>

#include <algorithm>
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

std::string TakeDescriptors(const ServerSettings& settings) {
  constexpr std::size_t kOfFile = 5;  // with its log, the log's index, and two that keep locks
  constexpr std::size_t kOthers = 32;
  const std::size_t databases =
      std::max(settings.databases, settings.workers) + settings.workers;  // and each worker's directory
  const rlim_t wanted = settings.http.connections + databases * kOfFile + kOthers;
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return {};
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  if (::setrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur >= wanted) return {};
  return "limits.connections, limits.databases and server.workers come to " + std::to_string(wanted) +
         " open files, and the system lets this user have " + std::to_string(limit.rlim_max) +
         " (ulimit -n, LimitNOFILE)";
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

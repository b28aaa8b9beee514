#include "connect/login_store.h"

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/file_lock.h"
#include "mox/foundation/files.h"

namespace mox {
namespace {

using Json = nlohmann::ordered_json;

Json ReadLogins(const std::string& path) {
  if (!std::filesystem::exists(path)) return Json::object();
  Json logins = Json::parse(ReadWholeFile(path), nullptr, false);
  if (!logins.is_object()) throw Error(path + ": is damaged; remove it, and log in again");
  return logins;
}

std::string TextOf(const Json& login, const char* name) {
  const auto found = login.find(name);
  return found != login.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// The other program is done in a moment.
FileLock Lock(const std::string& path) {
  constexpr int kAttempts = 250;
  for (int i = 0; i < kAttempts; ++i) {
    if (auto lock = FileLock::Try(path)) return std::move(*lock);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  throw Error(path + ": another program keeps it locked");
}

}  // namespace

LoginStore::LoginStore(std::string folder) : path_(std::move(folder) + "logins.json") {}

std::optional<StoredLogin> LoginStore::Find(const std::string& server) const {
  const Json logins = ReadLogins(path_);
  const auto found = logins.find(server);
  if (found == logins.end() || !found->is_object()) return std::nullopt;
  return StoredLogin{TextOf(*found, "token"), TextOf(*found, "user"), TextOf(*found, "ca_file")};
}

void LoginStore::Keep(const std::string& server, const StoredLogin& login) {
  const FileLock lock = Lock(path_ + ".lock");
  Json logins = ReadLogins(path_);
  logins[server] = {{"token", login.token}, {"user", login.user}, {"ca_file", login.ca_file}};
  ReplaceFile(path_, logins.dump(2) + "\n", FileAccess::kOwnerOnly);
}

bool LoginStore::Forget(const std::string& server) {
  const FileLock lock = Lock(path_ + ".lock");
  Json logins = ReadLogins(path_);
  if (logins.erase(server) == 0) return false;
  ReplaceFile(path_, logins.dump(2) + "\n", FileAccess::kOwnerOnly);
  return true;
}

}  // namespace mox

#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "moxd/accounts.h"
#include "moxd/http_server.h"

namespace mox {

/// How the server program runs: moxd.ini.
struct ServerSettings {
  std::string listen = "0.0.0.0:8443";
  std::string operations = "127.0.0.1:9443";  ///< for health and counters; loopback only
  TlsFiles tls;
  std::string directory;  ///< of users and companies: a file, or an address of a database
  std::size_t io_threads = 1;
  std::size_t workers = 4;
  std::size_t queue = 64;  ///< requests that wait for a worker
  std::size_t login_queue = 16;
  std::size_t databases = 64;                ///< of companies that are open, beside those in use
  std::chrono::seconds longest_unused{300};  ///< then one of them is closed
  std::size_t unpacked_bytes = 256U << 20U;  ///< of one request
  std::chrono::seconds longest_wait{30};     ///< of a request in the queue
  std::chrono::seconds stop{30};             ///< for requests under way when the server is stopped
  HttpLimits http;
  AccountSettings accounts;
};

/// Settings with everything that is wrong with them, a line each: "moxd.ini:12: ...".
struct ReadSettings {
  ServerSettings settings;
  std::vector<std::string> faults;
};

/// `label` is the file's name. Files named in it stand beside it unless their paths are absolute.
ReadSettings ReadServerSettings(std::string_view text, const std::string& label);

/// A line for each setting: section, key, its default and what it is, for the documentation.
std::string SettingsHelp();

}  // namespace mox

#include "moxd/settings.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <set>
#include <utility>

#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/listen_address.h"

namespace mox {
namespace {

std::optional<std::uint64_t> WholeNumber(std::string_view text) {
  constexpr std::size_t kMostDigits = 15;
  const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!digits || text.empty() || text.size() > kMostDigits) return std::nullopt;
  return std::stoull(std::string(text));
}

// "64 MB", "64KB", "1024".
std::optional<std::uint64_t> Bytes(std::string_view text) {
  for (const auto& [unit, shift] : {std::pair("KB", 10U), std::pair("MB", 20U), std::pair("GB", 30U)}) {
    if (!text.ends_with(unit)) continue;
    const auto number = WholeNumber(TrimBlanks(text.substr(0, text.size() - 2)));
    const bool fits = number && *number <= std::numeric_limits<std::uint64_t>::max() >> shift;
    return fits ? std::optional(*number << shift) : std::nullopt;
  }
  return WholeNumber(text);
}

struct Range {
  std::uint64_t least;
  std::uint64_t most;
};

// What a setter answers is what is wrong; empty where nothing is.
using Setter = std::string (*)(ServerSettings& settings, std::string_view value);

template <auto Member, Range kRange>
std::string SetNumber(ServerSettings& settings, std::string_view value) {
  const auto number = WholeNumber(value);
  if (!number || *number < kRange.least || *number > kRange.most) {
    return InQuotes(value) + " is not a whole number from " + std::to_string(kRange.least) + " to " +
           std::to_string(kRange.most);
  }
  Member(settings) = static_cast<std::remove_reference_t<decltype(Member(settings))>>(*number);
  return {};
}

template <auto Member, Range kRange>
std::string SetBytes(ServerSettings& settings, std::string_view value) {
  const auto bytes = Bytes(value);
  if (!bytes || *bytes < kRange.least || *bytes > kRange.most) {
    return InQuotes(value) + " is not a number of bytes (1024, 64 KB, 64 MB) from " +
           std::to_string(kRange.least) + " to " + std::to_string(kRange.most);
  }
  Member(settings) = static_cast<std::size_t>(*bytes);
  return {};
}

template <auto Member>
std::string SetPath(ServerSettings& settings, std::string_view value) {
  Member(settings) = std::string(value);
  return {};
}

std::string SetListen(ServerSettings& settings, std::string_view value) {
  settings.listen = value;
  return ListenAddress::Parse(value)
             ? ""
             : InQuotes(value) + " is not an address and port such as 0.0.0.0:8443 or [::]:8443";
}

std::string SetOperations(ServerSettings& settings, std::string_view value) {
  settings.operations = value;
  const auto address = ListenAddress::Parse(value);
  return address && address->IsLoopback()
             ? ""
             : InQuotes(value) + " is not a loopback address and port such as 127.0.0.1:9443";
}

// The members that settings fill.
constexpr auto kCertificate = [](ServerSettings & s) -> auto& { return s.tls.certificate; };
constexpr auto kKey = [](ServerSettings & s) -> auto& { return s.tls.key; };
constexpr auto kDirectory = [](ServerSettings & s) -> auto& { return s.directory; };
constexpr auto kIoThreads = [](ServerSettings & s) -> auto& { return s.io_threads; };
constexpr auto kWorkers = [](ServerSettings & s) -> auto& { return s.workers; };
constexpr auto kQueue = [](ServerSettings & s) -> auto& { return s.queue; };
constexpr auto kLoginQueue = [](ServerSettings & s) -> auto& { return s.login_queue; };
constexpr auto kHeader = [](ServerSettings & s) -> auto& { return s.http.header_bytes; };
constexpr auto kDatabases = [](ServerSettings & s) -> auto& { return s.databases; };
constexpr auto kUnused = [](ServerSettings & s) -> auto& { return s.longest_unused; };
constexpr auto kBody = [](ServerSettings & s) -> auto& { return s.http.body_bytes; };
constexpr auto kUnpacked = [](ServerSettings & s) -> auto& { return s.unpacked_bytes; };
constexpr auto kInFlight = [](ServerSettings & s) -> auto& { return s.http.bytes_in_flight; };
constexpr auto kConnections = [](ServerSettings & s) -> auto& { return s.http.connections; };
constexpr auto kRate = [](ServerSettings & s) -> auto& { return s.http.slowest_bytes_per_second; };
constexpr auto kHandshakeTime = [](ServerSettings & s) -> auto& { return s.http.handshake; };
constexpr auto kIdleTime = [](ServerSettings & s) -> auto& { return s.http.idle; };
constexpr auto kHeaderTime = [](ServerSettings & s) -> auto& { return s.http.header; };
constexpr auto kBodyTime = [](ServerSettings & s) -> auto& { return s.http.body; };
constexpr auto kReplyTime = [](ServerSettings & s) -> auto& { return s.http.reply; };
constexpr auto kWait = [](ServerSettings & s) -> auto& { return s.longest_wait; };
constexpr auto kStop = [](ServerSettings & s) -> auto& { return s.stop; };
constexpr auto kTokenIdle = [](ServerSettings & s) -> auto& { return s.accounts.idle_time; };
constexpr auto kTokenLongest = [](ServerSettings & s) -> auto& { return s.accounts.longest_time; };

constexpr Range kSeconds{1, 3600};
constexpr Range kLongSeconds{60, 366UL * 24 * 3600};
constexpr Range kBig{1U << 10U, 64UL << 30U};

struct Setting {
  std::string_view section;
  std::string_view key;
  Setter set;
  std::string_view fallback;  ///< what it is where it is left out
  std::string_view summary;
};

constexpr Setting kSettings[] = {
    {"server", "listen", SetListen, "0.0.0.0:8443", "address and port for clients"},
    {"server", "operations", SetOperations, "127.0.0.1:9443",
     "loopback address and port of /healthz, /readyz, /metrics"},
    {"server", "certificate", SetPath<kCertificate>, "(required)", "certificate chain, PEM"},
    {"server", "key", SetPath<kKey>, "(required)", "its private key, PEM"},
    {"server", "directory", SetPath<kDirectory>, "(required)", "database of users, grants and companies"},
    {"server", "io_threads", SetNumber<kIoThreads, Range{1, 64}>, "1", "threads at the network at a time"},
    {"server", "workers", SetNumber<kWorkers, Range{1, 256}>, "4", "threads with connections to databases"},
    {"limits", "queue", SetNumber<kQueue, Range{1, 100000}>, "64", "requests that wait for a worker"},
    {"limits", "login_queue", SetNumber<kLoginQueue, Range{1, 1000}>, "16", "log-ins that wait"},
    {"limits", "databases", SetNumber<kDatabases, Range{1, 100000}>, "64",
     "of companies that are open at a time, if workers do not use more"},
    {"limits", "connections", SetNumber<kConnections, Range{1, 1000000}>, "4096", "open at a time"},
    {"limits", "header", SetBytes<kHeader, Range{1U << 10U, 1U << 20U}>, "16 KB", "of a request"},
    {"limits", "body", SetBytes<kBody, kBig>, "64 MB", "of a request, as it is sent"},
    {"limits", "unpacked", SetBytes<kUnpacked, kBig>, "256 MB", "of a request, unpacked"},
    {"limits", "in_flight", SetBytes<kInFlight, kBig>, "256 MB", "of all requests together"},
    {"limits", "slowest", SetBytes<kRate, Range{1, 1U << 30U}>, "16 KB",
     "a second, below which a client is too slow"},
    {"seconds", "handshake", SetNumber<kHandshakeTime, kSeconds>, "10", "for the TLS handshake"},
    {"seconds", "idle", SetNumber<kIdleTime, kSeconds>, "75", "between two requests"},
    {"seconds", "header", SetNumber<kHeaderTime, kSeconds>, "10", "for a header"},
    {"seconds", "body", SetNumber<kBodyTime, kSeconds>, "20",
     "for a body, and what its bytes take at the slowest rate"},
    {"seconds", "reply", SetNumber<kReplyTime, kSeconds>, "30", "for an answer, likewise"},
    {"seconds", "database", SetNumber<kUnused, kSeconds>, "300",
     "unused, then a company's database is closed"},
    {"seconds", "wait", SetNumber<kWait, kSeconds>, "30", "in the queue"},
    {"seconds", "stop", SetNumber<kStop, kSeconds>, "30", "for requests under way when the server stops"},
    {"accounts", "idle", SetNumber<kTokenIdle, kLongSeconds>, "43200",
     "seconds after its last use a token ends"},
    {"accounts", "longest", SetNumber<kTokenLongest, kLongSeconds>, "2592000",
     "seconds after log-in a token ends"},
};

constexpr std::string_view kRequired[] = {"certificate", "key", "directory"};

const Setting* FindSetting(std::string_view section, std::string_view key) {
  const auto* const found =
      std::find_if(std::begin(kSettings), std::end(kSettings),
                   [&](const Setting& known) { return known.section == section && known.key == key; });
  return found == std::end(kSettings) ? nullptr : found;
}

// Reads line by line; what is wrong with one does not keep the others from being read.
class Reader {
 public:
  explicit Reader(std::string label) : label_(std::move(label)) {}

  ReadSettings Read(std::string_view text) {
    for (std::size_t number = 1; !text.empty(); ++number) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      number_ = number;
      ReadLine(TrimBlanks(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    for (const std::string_view key : kRequired) {
      if (!given_.contains("server." + std::string(key))) {
        read_.faults.push_back(label_ + ": section server: " + std::string(key) + " is missing");
      }
    }
    CheckTogether();
    for (std::string* const path :
         {&read_.settings.tls.certificate, &read_.settings.tls.key, &read_.settings.directory}) {
      MakeAbsolute(*path);
    }
    return std::move(read_);
  }

 private:
  // What one setting makes of another one.
  void CheckTogether() {
    const ServerSettings& settings = read_.settings;
    const auto fault = [this](bool is_one, const char* what) {
      if (is_one) read_.faults.push_back(label_ + ": " + what);
    };
    fault(settings.http.body_bytes > settings.http.bytes_in_flight,
          "limits.in_flight is less than limits.body, so that the largest request never passes");
    fault(settings.http.body_bytes > settings.unpacked_bytes,
          "limits.unpacked is less than limits.body, so that the largest request never passes in zstd");
    fault(given_.contains("accounts.idle") && settings.accounts.idle_time > settings.accounts.longest_time,
          "accounts.idle is more than accounts.longest, so that no log-in ever lasts so long");
    const auto listen = ListenAddress::Parse(settings.listen);
    const auto operations = ListenAddress::Parse(settings.operations);
    fault(listen && operations && listen->Overlaps(*operations),
          "server.operations is where server.listen is; it needs a port of its own");
  }

  void Fault(const std::string& what) {
    read_.faults.push_back(label_ + ":" + std::to_string(number_) + ": " + what);
  }

  void ReadLine(std::string_view line) {
    if (number_ == 1 && line.starts_with("\xEF\xBB\xBF")) line.remove_prefix(3);
    if (line.empty() || line.starts_with('#') || line.starts_with(';')) return;
    if (line.starts_with('[')) return ReadSection(line);
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos)
      return Fault(InQuotes(line) + " is neither [SECTION] nor KEY = VALUE");
    ReadSetting(TrimBlanks(line.substr(0, equals)), TrimBlanks(line.substr(equals + 1)));
  }

  void ReadSection(std::string_view line) {
    section_ = line.ends_with(']') ? TrimBlanks(line.substr(1, line.size() - 2)) : line;
    const auto same = [this](const Setting& known) { return known.section == section_; };
    known_section_ = std::any_of(std::begin(kSettings), std::end(kSettings), same);
    if (!known_section_) Fault("there is no section " + InQuotes(section_));
  }

  void ReadSetting(std::string_view key, std::string_view value) {
    if (!known_section_) {
      if (section_.empty()) Fault(std::string(key) + " stands before the first section");
      return;
    }
    const Setting* const known = FindSetting(section_, key);
    if (known == nullptr) return Fault("section " + section_ + " has no setting " + InQuotes(key));
    if (!given_.insert(section_ + "." + std::string(key)).second)
      return Fault(std::string(key) + " is given twice");
    if (value.empty()) return Fault(std::string(key) + " is empty");
    if (const std::string wrong = known->set(read_.settings, value); !wrong.empty()) {
      Fault(std::string(key) + ": " + wrong);
    }
  }

  void MakeAbsolute(std::string& path) const {
    if (path.empty() || path.find("://") != std::string::npos) return;
    const std::filesystem::path folder = std::filesystem::absolute(label_).parent_path();
    path = (folder / path).lexically_normal().string();
  }

  std::string label_;
  std::size_t number_ = 0;
  std::string section_;
  bool known_section_ = false;
  std::set<std::string> given_;
  ReadSettings read_;
};

}  // namespace

ReadSettings ReadServerSettings(std::string_view text, const std::string& label) {
  return Reader(label).Read(text);
}

std::string SettingsHelp() {
  std::string help;
  std::string_view section;
  for (const Setting& setting : kSettings) {
    if (setting.section != section) {
      section = setting.section;
      help += (help.empty() ? "[" : "\n[") + std::string(section) + "]\n";
    }
    help += "# " + std::string(setting.summary) + "\n# " + std::string(setting.key) + " = " +
            std::string(setting.fallback) + "\n";
  }
  return help;
}

}  // namespace mox

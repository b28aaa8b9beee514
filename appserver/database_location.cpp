#include "appserver/database_location.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kSchemes[] = {"postgresql://", "postgres://"};
constexpr std::string_view kCompany = "company";
// How long it is waited for a connection, and for the machine at the other end of one to say that it has got
// what was sent, or that it is there still. Of libpq, which waits for as long as the machine is silent.
constexpr std::pair<std::string_view, std::string_view> kTimes[] = {
    {"connect_timeout", "10"},
    {"tcp_user_timeout", "10000"},
    {"keepalives_idle", "10"},
    {"keepalives_interval", "5"},
};
constexpr std::string_view kSchemaPrefix = "mox_";
constexpr std::size_t kLongestName = 50;
constexpr std::string_view kBlanked = "***";

// "NAME" or "NAME=VALUE" up to the next '&', which goes too.
std::string_view TakeParameter(std::string_view& query) {
  const std::string_view parameter = query.substr(0, query.find('&'));
  query.remove_prefix(std::min(parameter.size() + 1, query.size()));
  return parameter;
}

bool IsSecret(std::string_view name) { return name == "password" || name == "sslpassword"; }

// An address with "***" for its passwords. What stands between the first colon and the last '@' may be one,
// also where it has characters that should have been written by their codes.
std::string WithoutPasswords(std::string_view address) {
  std::string shown(address.substr(0, address.find("//") + 2));
  address.remove_prefix(shown.size());
  const std::size_t at = address.rfind('@');
  const std::size_t colon = address.find(':');
  if (at != std::string_view::npos && colon < at) {
    shown.append(address.substr(0, colon + 1)).append(kBlanked);
    address.remove_prefix(at);
  }
  const std::size_t question = std::min(address.find('?'), address.size());
  shown += address.substr(0, question);
  std::string_view query = address.substr(std::min(question + 1, address.size()));
  for (char before = '?'; !query.empty(); before = '&') {
    const std::string_view parameter = TakeParameter(query);
    const std::string_view name = parameter.substr(0, parameter.find('='));
    shown += before;
    shown += parameter.substr(0, IsSecret(name) ? name.size() + 1 : parameter.size());
    if (IsSecret(name)) shown += kBlanked;
  }
  return shown;
}

// A name that may stand in a schema's, in small letters. Raises DatabaseError.
std::string CompanyName(std::string_view name, const std::string& shown) {
  std::string small;
  for (const char c : name) small += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
  const bool is_name = !small.empty() && small.size() <= kLongestName &&
                       kLetters.find(small.front()) != std::string_view::npos &&
                       small.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_") == std::string::npos;
  if (is_name) return small;
  throw DatabaseError(shown + ": \"" + std::string(CutToCharacters(name, kLongestName)) +
                      "\" is no name of a company; it has letters a to z, digits, '-' and '_', at most " +
                      std::to_string(kLongestName));
}

}  // namespace

bool IsPostgresqlAddress(std::string_view text) {
  return std::any_of(std::begin(kSchemes), std::end(kSchemes),
                     [&](std::string_view scheme) { return text.starts_with(scheme); });
}

DatabaseLocation::DatabaseLocation(std::string_view text) {
  if (IsPostgresqlAddress(text)) {
    ParseAddress(text);
  } else {
    path_ = text;
    shown_ = text;
  }
}

DatabaseLocation::DatabaseLocation(const std::string& text) : DatabaseLocation(std::string_view(text)) {}
DatabaseLocation::DatabaseLocation(const char* text) : DatabaseLocation(std::string_view(text)) {}

// libpq knows no parameter "company", which is taken out of the query.
void DatabaseLocation::ParseAddress(std::string_view text) {
  kind_ = Kind::kPostgresql;
  shown_ = WithoutPasswords(text);
  const std::size_t question = std::min(text.find('?'), text.size());
  connection_ = text.substr(0, question);
  std::string_view query = text.substr(std::min(question + 1, text.size()));
  std::optional<std::string_view> company;
  char before = '?';
  std::vector<std::string_view> given;
  while (!query.empty()) {
    const std::string_view parameter = TakeParameter(query);
    const std::string_view name = parameter.substr(0, parameter.find('='));
    if (name != kCompany) {
      given.push_back(name);
      connection_ += before + std::string(parameter);
      before = '&';
      continue;
    }
    if (company) throw DatabaseError(shown_ + ": the company is named twice");
    company = parameter.substr(std::min(name.size() + 1, parameter.size()));
  }
  if (!company) throw DatabaseError(shown_ + ": the company is not named; company=NAME behind '?' does");
  company_ = CompanyName(*company, shown_);
  for (const auto& [name, time] : kTimes) {
    if (std::find(given.begin(), given.end(), name) != given.end()) continue;
    connection_.append(1, std::exchange(before, '&')).append(name).append("=").append(time);
  }
}

std::string DatabaseLocation::schema() const {
  return company_.empty() ? std::string() : std::string(kSchemaPrefix) + company_;
}

}  // namespace mox

#include "connect/server_address.h"

#include <algorithm>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kScheme = "https://";
constexpr std::string_view kUsualPort = ":443";
constexpr std::size_t kLongestCompany = 48;

bool IsHost(std::string_view host) {
  const bool is_v6 = host.starts_with('[') && host.ends_with(']');
  if (is_v6) host = host.substr(1, host.size() - 2);
  const std::string_view allowed = is_v6 ? "0123456789abcdef:." : "abcdefghijklmnopqrstuvwxyz0123456789-.";
  return !host.empty() && host.find_first_not_of(allowed) == std::string_view::npos;
}

bool IsPort(std::string_view port) {
  constexpr std::size_t kMostDigits = 5;
  return !port.empty() && port.size() <= kMostDigits &&
         std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool IsCompanyName(std::string_view name) {
  const auto is_allowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
  };
  return !name.empty() && name.size() <= kLongestCompany && std::all_of(name.begin(), name.end(), is_allowed);
}

ServerAddress ServerAddress::Parse(std::string_view text) {
  const std::string folded = FoldCase(text);
  std::string_view rest = folded;
  if (!rest.starts_with(kScheme)) throw Error("the address of a server begins with https://");
  rest.remove_prefix(kScheme.size());
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  std::string_view host = rest.substr(0, slash);
  std::string_view company = rest.substr(std::min(slash + 1, rest.size()));
  if (company.ends_with('/')) company.remove_suffix(1);
  std::string_view port = kUsualPort;
  const std::size_t colon = host.rfind(':');
  if (colon != std::string_view::npos && !host.ends_with(']')) {
    port = host.substr(colon);
    host = host.substr(0, colon);
  }
  if (!IsHost(host) || !IsPort(port.substr(1))) {
    throw Error("the address of a server is https://HOST, or https://HOST:PORT where its port is not 443");
  }
  if (!company.empty() && !IsCompanyName(company)) throw Error(std::string(kCompanyNameRule));
  const std::string_view shown_port = port == kUsualPort ? std::string_view() : port;
  return {std::string(kScheme) + std::string(host) + std::string(shown_port), std::string(company)};
}

}  // namespace mox

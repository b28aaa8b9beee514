#include "moxd/listen_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr std::size_t kMostDigits = 5;
constexpr int kMostPort = 65535;

std::optional<std::uint16_t> PortOf(std::string_view text) {
  const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!digits || text.empty() || text.size() > kMostDigits) return std::nullopt;
  const int port = std::stoi(std::string(text));
  return port > kMostPort ? std::nullopt : std::optional(static_cast<std::uint16_t>(port));
}

bool IsNumeric(const std::string& host, bool is_v6) {
  in6_addr bytes{};
  return ::inet_pton(is_v6 ? AF_INET6 : AF_INET, host.c_str(), &bytes) == 1;
}

bool IsEvery(const ListenAddress& address) {
  in6_addr bytes{};
  ::inet_pton(address.is_v6 ? AF_INET6 : AF_INET, address.host.c_str(), &bytes);
  return std::all_of(std::begin(bytes.s6_addr), std::end(bytes.s6_addr), [](auto byte) { return byte == 0; });
}

}  // namespace

std::optional<ListenAddress> ListenAddress::Parse(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto port = PortOf(text.substr(colon + 1));
  std::string_view host = text.substr(0, colon);
  const bool is_v6 = host.starts_with('[') && host.ends_with(']');
  if (is_v6) host = host.substr(1, host.size() - 2);
  if (!port || !IsNumeric(std::string(host), is_v6)) return std::nullopt;
  return ListenAddress{std::string(host), *port, is_v6};
}

bool ListenAddress::IsLoopback() const { return is_v6 ? host == "::1" : host.starts_with("127."); }

bool ListenAddress::Overlaps(const ListenAddress& other) const {
  if (port == 0 || port != other.port) return false;
  return host == other.host || IsEvery(*this) || IsEvery(other);
}

// At a port that is free, since the server may be running.
void ListenAddress::RequireHere() const {
  sockaddr_in v4{};
  v4.sin_family = AF_INET;
  sockaddr_in6 v6{};
  v6.sin6_family = AF_INET6;
  ::inet_pton(is_v6 ? AF_INET6 : AF_INET, host.c_str(),
              is_v6 ? static_cast<void*>(&v6.sin6_addr) : static_cast<void*>(&v4.sin_addr));
  const int socket = ::socket(is_v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto* const name =
      is_v6 ? reinterpret_cast<const sockaddr*>(&v6) : reinterpret_cast<const sockaddr*>(&v4);
  const bool is_here = socket >= 0 && ::bind(socket, name, is_v6 ? sizeof v6 : sizeof v4) == 0;
  const int fault = errno;
  if (socket >= 0) ::close(socket);
  if (!is_here) {
    throw Error("it is not possible to listen at " + host + ": " +
                std::error_code(fault, std::generic_category()).message());
  }
}

}  // namespace mox

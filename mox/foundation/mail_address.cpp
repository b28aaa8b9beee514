#include "mox/foundation/mail_address.h"

#include <algorithm>

#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c); }

// Words of these characters with single dots between them.
bool IsDotted(std::string_view text, std::string_view others) {
  if (text.empty() || text.front() == '.' || text.back() == '.') return false;
  if (text.find("..") != std::string_view::npos) return false;
  return std::all_of(text.begin(), text.end(), [others](char c) {
    return IsLetterOrDigit(c) || c == '.' || others.find(c) != std::string_view::npos;
  });
}

bool IsPort(std::string_view text) {
  constexpr int kHighest = 65535;
  constexpr std::size_t kMostDigits = 5;
  if (text.empty() || text.size() > kMostDigits || !std::all_of(text.begin(), text.end(), IsDigit))
    return false;
  int port = 0;
  for (const char c : text) port = port * 10 + (c - '0');
  return port > 0 && port <= kHighest;
}

// A name or a number, the latter in brackets where it has colons, and behind it a port or none.
bool IsHost(std::string_view text) {
  std::size_t end = text.find(':');
  if (text.starts_with('[')) {
    end = text.find(']');
    if (end == std::string_view::npos || end == 1) return false;
    const std::string_view number = text.substr(1, end - 1);
    if (number.find_first_not_of("0123456789abcdefABCDEF:.") != std::string_view::npos) return false;
    ++end;
  } else if (!IsDotted(text.substr(0, end), "-")) {
    return false;
  }
  if (end >= text.size()) return true;
  return text[end] == ':' && IsPort(text.substr(end + 1));
}

}  // namespace

std::string AddressFault(std::string_view address) {
  constexpr std::size_t kMost = 254;
  constexpr std::size_t kMostLocal = 64;
  const std::size_t at = std::min(address.rfind('@'), address.size());
  const std::string_view local = address.substr(0, at);
  const std::string_view domain = address.substr(std::min(at + 1, address.size()));
  const bool valid = address.size() <= kMost && local.size() <= kMostLocal &&
                     IsDotted(local, "!#$%&'*+-/=?^_`{|}~") && IsDotted(domain, "-");
  return valid ? std::string() : InQuotes(address) + " is no address of a mail";
}

std::string MailServerFault(std::string_view url) {
  constexpr std::string_view kFault = "the address of the mail server is not smtps://HOST or smtp://HOST";
  const std::size_t scheme = std::min(url.find("://"), url.size());
  std::string_view host = url.substr(std::min(scheme + 3, url.size()));
  if (url.substr(0, scheme) != "smtps" && url.substr(0, scheme) != "smtp") return std::string(kFault);
  if (host.ends_with('/')) host.remove_suffix(1);
  // Before the only @ stand user and password, in which other characters are written %40: whoever reads the
  // address finds the same host.
  const std::size_t at = host.rfind('@');
  const std::string_view user = at == std::string_view::npos ? std::string_view() : host.substr(0, at);
  if (at != std::string_view::npos) host.remove_prefix(at + 1);
  const bool has_others = std::any_of(user.begin(), user.end(), [](char c) {
    return !IsLetterOrDigit(c) && std::string_view("-._~!$&'()*+,;=:%").find(c) == std::string_view::npos;
  });
  return !has_others && IsHost(host) ? std::string() : std::string(kFault);
}

}  // namespace mox

#include "moxd/request_route.h"

#include <algorithm>
#include <optional>

#include "connect/server_address.h"
#include "connect/wire.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kLongestService = 200;
constexpr std::size_t kLongestKey = 64;
constexpr std::size_t kMostParameters = 32;

// What stands before the next '/', which is taken away.
std::string_view TakePart(std::string_view& rest) {
  const std::size_t end = std::min(rest.find('/'), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

bool IsKey(std::string_view key) {
  return key.size() <= kLongestKey &&
         std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}

}  // namespace

const char* FaultOfTarget(std::string_view target, RequestRoute& route) {
  constexpr std::string_view kRoot = "/v1/";
  if (!target.starts_with(kRoot) || target.find('?') != std::string_view::npos) return "not_found";
  std::string_view rest = target.substr(kRoot.size());
  if (rest == "login" || rest == "logout") {
    route.kind = rest == "login" ? RequestRoute::Kind::kLogIn : RequestRoute::Kind::kLogOut;
    return nullptr;
  }
  // What a client wrote as a name may have slashes; the last words tell what it asks for.
  const bool is_write = rest.ends_with("/write");
  const std::size_t service = rest.find("/service/");
  if (!is_write && service == std::string_view::npos) return "not_found";
  const std::string_view company = is_write ? rest.substr(0, rest.size() - 6) : rest.substr(0, service);
  if (!IsCompanyName(company)) return "bad_company";
  route.company = FoldCase(TakePart(rest));
  route.kind = is_write ? RequestRoute::Kind::kWrite : RequestRoute::Kind::kService;
  if (is_write) return nullptr;
  TakePart(rest);
  const std::optional<std::string> name = DecodedPart(rest);
  if (!name || name->empty() || name->size() > kLongestService) return "unknown_service";
  route.service = *name;
  return nullptr;
}

const char* FaultOfHead(const RequestHead& head, RequestRoute& route) {
  if (head.is_framed_twice) return "bad_request";
  if (const char* const fault = FaultOfTarget(head.target, route)) return fault;
  if (head.method != "POST") return "wrong_method";
  const bool known = head.protocol.empty() || std::find(kKnownProtocols.begin(), kKnownProtocols.end(),
                                                        head.protocol) != kKnownProtocols.end();
  if (!known) return "unknown_protocol";
  if (head.is_chunked || !head.has_length) return "length_required";
  const std::string_view encoding = TrimBlanks(head.content_encoding);
  const bool is_log_in = route.kind == RequestRoute::Kind::kLogIn;
  // Nothing is unpacked for somebody who has not said yet who he is.
  const bool is_read =
      encoding.empty() || SameName(encoding, "identity") || (SameName(encoding, kZstd) && !is_log_in);
  if (!is_read) return "unknown_encoding";
  if (!IsKey(head.key) || head.parameters.size() > kMostParameters) return "bad_request";
  if (!is_log_in && head.token.empty()) return "not_logged_in";
  constexpr std::uint64_t kLongestLogIn = 16U << 10U;
  if (is_log_in && head.length > kLongestLogIn) return "too_large";
  return nullptr;
}

}  // namespace mox

#include "moxd/request_route.h"

#include <algorithm>
#include <optional>

#include "connect/server_address.h"
#include "connect/wire.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kLongestService = 200;

// What stands before the next '/', which is taken away.
std::string_view TakePart(std::string_view& rest) {
  const std::size_t end = std::min(rest.find('/'), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
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

}  // namespace mox

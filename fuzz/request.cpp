// What the server reads of strangers, and a client of a server: the path of a request, a packed body, the
// outcome of a write. Anything is read or refused within the memory that it may take; what was read is
// written and read again as the same.

#include <algorithm>
#include <string>

#include "connect/server_address.h"
#include "connect/wire.h"
#include "connect/zstd_text.h"
#include "fuzz/fuzz_target.h"
#include "mox/foundation/error.h"
#include "moxd/request_route.h"

namespace mox {
namespace {

constexpr std::size_t kMost = 1U << 20U;

void CheckTarget(std::string_view target) {
  RequestRoute route;
  if (FaultOfTarget(target, route) != nullptr || route.company.empty()) return;
  Require(IsCompanyName(route.company), "a company has a name that companies may have");
  const bool is_write = route.kind == RequestRoute::Kind::kWrite;
  Require(is_write == route.service.empty(), "a service is named where one is asked for");
  const std::string same =
      "/v1/" + route.company + (is_write ? "/write" : "/service/" + EncodedPart(route.service));
  RequestRoute again;
  Require(FaultOfTarget(same, again) == nullptr && again.kind == route.kind &&
              again.company == route.company && again.service == route.service,
          "a path that was written of what was read is read as the same");
}

void CheckOutcome(std::string_view text) {
  std::string written;
  try {
    written = OutcomeText(ReadOutcome(text));
  } catch (const Error&) {
    return;
  }
  Require(OutcomeText(ReadOutcome(written)) == written, "an outcome that was written is read as the same");
}

void CheckPacked(std::string_view packed) {
  std::size_t taken = 0;
  const auto may_grow = [&taken](std::size_t bytes) { return (taken += bytes) <= kMost / 2; };
  std::string text;
  const UnpackFault fault = Unpack(packed, kMost, may_grow, text);
  Require(text.size() <= kMost / 2, "no more memory is taken than was given");
  if (fault != UnpackFault::kNone) return;
  std::string again;
  Require(Unpack(
              Packed(text), text.size(), [](std::size_t) { return true; }, again) == UnpackFault::kNone &&
              again == text,
          "a packed text is unpacked as it was");
  CheckOutcome(text);
}

}  // namespace
}  // namespace mox

// A path, and behind its line the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = mox::TextOf(data, size);
  const std::size_t line = std::min(text.find('\n'), text.size());
  const std::string_view body = text.substr(std::min(line + 1, text.size()));
  mox::CheckTarget(text.substr(0, line));
  mox::CheckOutcome(body);
  mox::CheckPacked(body);
  return 0;
}

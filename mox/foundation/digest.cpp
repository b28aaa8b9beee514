#include "mox/foundation/digest.h"

#include <cstdint>

namespace mox {

std::string DigestText(std::string_view text) {
  std::uint64_t digest = 0xCBF2'9CE4'8422'2325;
  for (const char c : text) digest = (digest ^ static_cast<unsigned char>(c)) * 0x100'0000'01B3;
  std::string digits;
  for (int shift = 60; shift >= 0; shift -= 4) digits += "0123456789abcdef"[digest >> shift & 0xFU];
  return digits;
}

}  // namespace mox

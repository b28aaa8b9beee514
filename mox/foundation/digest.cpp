#include "mox/foundation/digest.h"

namespace mox {

void TextDigest::Add(std::string_view text) {
  for (const char c : text) digest_ = (digest_ ^ static_cast<unsigned char>(c)) * 0x100'0000'01B3;
}

std::string TextDigest::Digits() const {
  std::string digits;
  for (int shift = 60; shift >= 0; shift -= 4) digits += "0123456789abcdef"[digest_ >> shift & 0xFU];
  return digits;
}

std::string DigestText(std::string_view text) {
  TextDigest digest;
  digest.Add(text);
  return digest.Digits();
}

}  // namespace mox

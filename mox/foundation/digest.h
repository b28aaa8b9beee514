#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mox {

/// Sixteen hexadecimal digits that tell texts apart (FNV-1a of 64 bits). Good against mistakes, not against
/// somebody who looks for two texts with the same digest.
class TextDigest {
 public:
  /// The text goes on where the last one ended.
  void Add(std::string_view text);
  std::string Digits() const;

 private:
  std::uint64_t digest_ = 0xCBF2'9CE4'8422'2325;
};

std::string DigestText(std::string_view text);

}  // namespace mox

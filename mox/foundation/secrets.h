#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// Texts that nobody is to see: passwords and keys of accounts. What is shown, logged or kept as an answer of
/// an outside party goes through Blanked.
class Secrets {
 public:
  /// Remembers a secret, and how it stands in JSON, in an address and in base64. One of less than four
  /// characters hides nothing and is left alone.
  void Add(std::string_view secret);
  /// The text with "***" wherever a secret stands in it.
  std::string Blanked(std::string_view text) const;

 private:
  std::vector<std::string> forms_;  // the longest first
};

}  // namespace mox

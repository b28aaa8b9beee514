#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// Texts that nobody is to see: passwords and keys of accounts. What is shown, logged or kept as an answer of
/// an outside party goes through Blanked.
class Secrets {
 public:
  Secrets();
  Secrets(const Secrets&);
  Secrets(Secrets&&) noexcept;
  Secrets& operator=(const Secrets&);
  Secrets& operator=(Secrets&&) noexcept;
  ~Secrets();

  /// Remembers a secret, however it is encoded: as in JSON, in an address (each character of it as it is or
  /// by its code), in HTML, in Windows-1250 or in base64. One of less than four characters is one where it
  /// stands as a word.
  void Add(std::string_view secret);
  /// Remembers the password of an address, and values that it calls a key, token or the like; also of one
  /// that is not valid, where more than the password may count as one.
  void AddThoseOf(std::string_view address);
  /// The text with "***" wherever a secret stands in it.
  std::string Blanked(std::string_view text) const;

 private:
  struct Character;
  std::size_t LengthAt(std::string_view text, std::size_t at) const;

  std::vector<std::vector<Character>> secrets_;  // the longest first
  std::vector<std::string> forms_;               // in base64, likewise
};

}  // namespace mox

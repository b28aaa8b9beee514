// Any text is checked, and no part of the verdict depends on how the check is made fast.

#include <algorithm>
#include <string>

#include "fuzz/fuzz_target.h"
#include "mox/codes/control_digits.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// ISO 7064 MOD 11,10, step by step.
bool IsOib(std::string_view text) {
  if (text.size() != 11 || !std::all_of(text.begin(), text.end(), IsDigit)) return false;
  int a = 10;
  for (const char c : text.substr(0, 10)) {
    a = (a + (c - '0')) % 10;
    if (a == 0) a = 10;
    a = a * 2 % 11;
  }
  return (a == 1 ? 0 : 11 - a) == text[10] - '0';
}

// ISO 13616 by pieces of at most nine digits; -1 for a text of less than four characters.
int RemainderByPieces(std::string_view text) {
  std::string capitals(text);
  for (char& c : capitals) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  }
  if (const std::size_t at = capitals.find("IBAN"); at != std::string::npos) capitals.erase(at, 4);
  if (CountCharacters(capitals) < 4) return -1;
  const std::string digits = ChangeAlpha(capitals.substr(4) + capitals.substr(0, 4));
  if (!std::all_of(digits.begin(), digits.end(), IsDigit)) return 0;
  std::string piece;
  for (const char c : digits) {
    piece += c;
    if (piece.size() == 9) piece = std::to_string(std::stoi(piece) % 97);
  }
  return std::stoi(piece) % 97;
}

void CheckIdentifiers(const std::string& text) {
  const std::string message = CheckOIBvalidity(text);
  Require(message.empty() == IsOib(text), "an OIB is eleven digits of which the last is right");
  Require(message.empty() || message.starts_with("OIB (" + text + ") nije ispravan:\r\nO") ||
              message.starts_with("OIB (" + text + ") nije ispravan:\r\nK"),
          "the message quotes the number and gives a reason");

  std::string compact = text;
  std::erase(compact, ' ');
  const std::int32_t remainder = CalculateDigits(compact);
  Require(remainder >= 0 && remainder < 97, "a remainder is below 97");
  Require(CheckIBANvalidity(text) == (remainder == 1), "an account number is valid where its remainder is 1");
  const int expected = RemainderByPieces(compact);
  Require(expected < 0 || remainder == expected, "the remainder is that by pieces");
}

}  // namespace
}  // namespace mox

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mox::CheckIdentifiers(std::string(mox::TextOf(data, size)));
  return 0;
}

#include "mox/codes/control_digits.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kOibLength = 11;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsCapital(char c) { return c >= 'A' && c <= 'Z'; }
unsigned LetterNumber(char capital) { return static_cast<unsigned>(capital - 'A') + 10; }

// ISO 7064 MOD 11,10 over all digits but the last.
int OibControlDigit(std::string_view oib) {
  int product = 10;
  for (const char digit : oib.substr(0, kOibLength - 1)) {
    int sum = product + (digit - '0');  // modulo 10, where 10 stands for 0
    if (sum > 10) sum -= 10;
    product = 2 * sum;  // modulo 11, which never gives 0
    if (product > 11) product -= 11;
  }
  return product == 1 ? 0 : 11 - product;
}

std::string OibMessage(std::string_view oib, std::string_view reason) {
  std::string message = "OIB (";
  message.append(oib).append(") nije ispravan:\r\n").append(reason);
  return message;
}

std::string InCapitals(std::string_view text) {
  std::string capitals(text);
  for (char& c : capitals) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return capitals;
}

// The remainder modulo 97 of the number that the digits and the letters' numbers make; 0 where there is
// another character.
std::int32_t Remainder(std::string_view text) {
  constexpr std::uint64_t kModulus = 97;
  constexpr std::uint64_t kRoomForTwoDigits = UINT64_MAX / 100 - 1;
  std::uint64_t number = 0;
  for (const char c : text) {
    if (number > kRoomForTwoDigits) number %= kModulus;
    if (IsDigit(c)) {
      number = number * 10 + static_cast<unsigned>(c - '0');
    } else if (IsCapital(c)) {
      number = number * 100 + LetterNumber(c);
    } else {
      return 0;
    }
  }
  return static_cast<std::int32_t>(number % kModulus);
}

}  // namespace

std::string CheckOIBvalidity(std::string_view oib) {
  if (oib.size() == kOibLength && std::all_of(oib.begin(), oib.end(), IsDigit)) {
    if (OibControlDigit(oib) == oib.back() - '0') return {};
    return OibMessage(oib, "Kontrolna znamenka je neispravna ili je pogreška u unosu prvih deset znamenki.");
  }
  if (CountCharacters(oib) != kOibLength) return OibMessage(oib, "OIB treba biti duljine 11.");
  return OibMessage(oib, "OIB treba biti sadržavati samo znamenke.");
}

bool CheckIBANvalidity(std::string_view iban) {
  std::string without_blanks(iban);
  std::erase(without_blanks, ' ');
  return CalculateDigits(without_blanks) == 1;
}

std::int32_t CalculateDigits(std::string_view iban) {
  constexpr std::string_view kWord = "IBAN";
  std::string text = InCapitals(iban);
  if (const std::size_t at = text.find(kWord); at != std::string::npos) text.erase(at, kWord.size());
  // The first four characters go to the end. Of a shorter text the doubled one loses its first four.
  text.append(CutToCharacters(text, 4));
  text.erase(0, CutToCharacters(text, 4).size());
  return Remainder(text);
}

std::string ChangeAlpha(std::string_view text) {
  std::string numbers;
  for (const char c : text) {
    if (IsCapital(c)) {
      numbers += std::to_string(LetterNumber(c));
    } else {
      numbers += c;
    }
  }
  return numbers;
}

}  // namespace mox

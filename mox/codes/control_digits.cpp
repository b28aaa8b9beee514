#include "mox/codes/control_digits.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kOibLength = 11;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsCapital(char c) { return c >= 'A' && c <= 'Z'; }
constexpr unsigned LetterNumber(char capital) { return static_cast<unsigned>(capital - 'A') + 10; }

// One step of ISO 7064 MOD 11,10, for the products 1 to 10.
constexpr std::size_t NextProduct(std::size_t product, std::size_t digit) {
  const std::size_t sum = (product + digit) % 10;
  return (sum == 0 ? 10 : sum) * 2 % 11;
}

// Two steps at once, for each pair of digits: every step waits for the one before it.
constexpr auto kNextProduct = [] {
  std::array<std::array<std::uint8_t, 100>, 11> next{};
  for (std::size_t product = 1; product < next.size(); ++product) {
    for (std::size_t pair = 0; pair < 100; ++pair) {
      next[product][pair] =
          static_cast<std::uint8_t>(NextProduct(NextProduct(product, pair / 10), pair % 10));
    }
  }
  return next;
}();

std::size_t Digit(char c) { return static_cast<std::size_t>(c - '0'); }

// Eight characters at once. Adding 0x46 sets the top bit of a byte above '9', taking 0x30 away that of one
// below '0'; a carry or borrow comes only from a byte that is no digit itself.
bool AreDigits(const char* eight) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, eight, sizeof bytes);
  constexpr std::uint64_t kEach = 0x0101'0101'0101'0101U;
  return (((bytes + 0x46 * kEach) | (bytes - 0x30 * kEach)) & (0x80 * kEach)) == 0;
}

// The second eight overlap the first.
bool IsAllDigits(std::string_view oib) {
  return AreDigits(oib.data()) && AreDigits(oib.data() + kOibLength - 8);
}

std::size_t OibControlDigit(std::string_view oib) {
  std::size_t product = 10;
  for (std::size_t at = 0; at + 1 < kOibLength; at += 2) {
    product = kNextProduct[product][Digit(oib[at]) * 10 + Digit(oib[at + 1])];
  }
  return (11 - product) % 10;
}

std::string OibMessage(std::string_view oib, std::string_view reason) {
  std::string message = "OIB (";
  message.append(oib).append(") nije ispravan:\r\n").append(reason);
  return message;
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

std::int32_t AccountRemainder(std::string text) {
  constexpr std::string_view kWord = "IBAN";
  constexpr std::size_t kMoved = 4;
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  if (const std::size_t at = text.find(kWord); at != std::string::npos) text.erase(at, kWord.size());
  // The first four characters go to the end. Of a shorter text the doubled one loses its first four.
  text.append(CutToCharacters(text, kMoved));
  text.erase(0, CutToCharacters(text, kMoved).size());
  return Remainder(text);
}

// What a character of an account number stands for, letters of either case alike.
constexpr std::uint8_t kBlank = 254;
constexpr std::uint8_t kOther = 255;
constexpr auto kCharacterNumbers = [] {
  std::array<std::uint8_t, 256> numbers{};
  numbers.fill(kOther);
  numbers[' '] = kBlank;
  for (unsigned i = 0; i < 10; ++i) numbers['0' + i] = static_cast<std::uint8_t>(i);
  for (unsigned i = 0; i < 26; ++i) numbers['A' + i] = numbers['a' + i] = static_cast<std::uint8_t>(10 + i);
  return numbers;
}();

constexpr std::uint64_t LetterBits(std::string_view letters) {
  std::uint64_t bits = 0;
  for (const char letter : letters) bits |= std::uint64_t{1} << LetterNumber(letter);
  return bits;
}

// The remainder in one pass over the text as it was typed: the first four characters are kept apart and
// joined at the end. None where there is another character or less than four, and where the word "IBAN" may
// stand in it.
std::optional<std::int32_t> RemainderAsTyped(std::string_view iban) {
  constexpr std::uint64_t kModulus = 97;
  constexpr std::uint64_t kRoomForTwoDigits = UINT64_MAX / 100 - 1;
  constexpr std::uint64_t kWord = LetterBits("IBAN");
  std::uint64_t seen = 0;
  std::uint64_t moved_power = 1;
  const auto join = [&seen](std::uint64_t number, std::uint8_t next) {
    if (next < 10) return number * 10 + next;
    seen |= std::uint64_t{1} << next;
    return number * 100 + next;
  };
  std::size_t at = 0;
  std::uint64_t moved = 0;
  for (int count = 0; count < 4; ++at) {
    if (at == iban.size()) return std::nullopt;
    const std::uint8_t next = kCharacterNumbers[static_cast<unsigned char>(iban[at])];
    if (next == kBlank) continue;
    if (next == kOther) return std::nullopt;
    moved = join(moved, next);
    moved_power *= next < 10 ? 10 : 100;
    ++count;
  }
  std::uint64_t number = 0;
  for (; at < iban.size(); ++at) {
    const std::uint8_t next = kCharacterNumbers[static_cast<unsigned char>(iban[at])];
    if (next >= kBlank) {
      if (next == kOther) return std::nullopt;
      continue;
    }
    if (number > kRoomForTwoDigits) number %= kModulus;
    number = join(number, next);
  }
  if ((seen & kWord) == kWord) return std::nullopt;
  return static_cast<std::int32_t>((number % kModulus * moved_power + moved) % kModulus);
}

}  // namespace

std::string CheckOIBvalidity(std::string_view oib) {
  if (oib.size() == kOibLength && IsAllDigits(oib)) {
    if (OibControlDigit(oib) == Digit(oib.back())) return {};
    return OibMessage(oib, "Kontrolna znamenka je neispravna ili je pogreška u unosu prvih deset znamenki.");
  }
  if (CountCharacters(oib) != kOibLength) return OibMessage(oib, "OIB treba biti duljine 11.");
  return OibMessage(oib, "OIB treba biti sadržavati samo znamenke.");
}

bool CheckIBANvalidity(std::string_view iban) {
  if (const auto remainder = RemainderAsTyped(iban)) return *remainder == 1;
  std::string without_blanks(iban);
  std::erase(without_blanks, ' ');
  return AccountRemainder(std::move(without_blanks)) == 1;
}

std::int32_t CalculateDigits(std::string_view iban) { return AccountRemainder(std::string(iban)); }

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

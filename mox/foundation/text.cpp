#include "mox/foundation/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <optional>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// ---- UTF-8 ----

struct Character {
  char32_t code = 0;
  std::size_t bytes = 1;
};

// A byte that is not part of a valid character has a code of its own, above all of Unicode.
constexpr char32_t kStrayByte = 0x110000;

constexpr bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

constexpr unsigned ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// The character that begins at `at`, which is inside the text.
Character Decode(std::string_view text, std::size_t at) {
  const unsigned lead = ByteAt(text, at);
  if (lead < 0x80) return {lead, 1};
  const Character stray{kStrayByte + lead, 1};
  const std::size_t bytes = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (bytes == 0 || text.size() - at < bytes) return stray;
  char32_t code = lead & (0x7FU >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    const unsigned next = ByteAt(text, at + i);
    if ((next & 0xC0U) != 0x80U) return stray;
    code = code << 6U | (next & 0x3FU);
  }
  const bool overlong = (bytes == 3 && code < 0x800) || (bytes == 4 && code < 0x10000);
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  if (overlong || surrogate || code > 0x10FFFF) return stray;
  return {code, bytes};
}

// ---- Letter case ----

// Capitals from `first` to `last`, every one or every second code of them; the small letter is `distance`
// away.
struct Capitals {
  char32_t first;
  char32_t last;
  char32_t step;
  std::int32_t distance;
};

// Simple case folding: forms of one letter (long and final s, the micro sign, title-case digraphs) become
// one. The dotted capital I has no single small letter and stays.
constexpr Capitals kCapitals[] = {
    // Latin
    {0x0041, 0x005A, 1, 32},
    {0x00B5, 0x00B5, 1, 775},
    {0x00C0, 0x00D6, 1, 32},
    {0x00D8, 0x00DE, 1, 32},
    {0x0100, 0x012E, 2, 1},
    {0x0132, 0x0136, 2, 1},
    {0x0139, 0x0147, 2, 1},
    {0x014A, 0x0176, 2, 1},
    {0x0178, 0x0178, 1, -121},
    {0x0179, 0x017D, 2, 1},
    {0x017F, 0x017F, 1, -268},
    {0x01A0, 0x01A4, 2, 1},
    {0x01AF, 0x01AF, 1, 1},
    {0x01C4, 0x01C4, 1, 2},
    {0x01C5, 0x01C5, 1, 1},
    {0x01C7, 0x01C7, 1, 2},
    {0x01C8, 0x01C8, 1, 1},
    {0x01CA, 0x01CA, 1, 2},
    {0x01CB, 0x01DB, 2, 1},
    {0x01DE, 0x01EE, 2, 1},
    {0x01F1, 0x01F1, 1, 2},
    {0x01F2, 0x01F4, 2, 1},
    {0x01F8, 0x021E, 2, 1},
    {0x0222, 0x0232, 2, 1},
    // Greek
    {0x0370, 0x0372, 2, 1},
    {0x0376, 0x0376, 1, 1},
    {0x037F, 0x037F, 1, 116},
    {0x0386, 0x0386, 1, 38},
    {0x0388, 0x038A, 1, 37},
    {0x038C, 0x038C, 1, 64},
    {0x038E, 0x038F, 1, 63},
    {0x0391, 0x03A1, 1, 32},
    {0x03A3, 0x03AB, 1, 32},
    {0x03C2, 0x03C2, 1, 1},
    {0x03D8, 0x03EE, 2, 1},
    {0x03F7, 0x03F7, 1, 1},
    {0x03FA, 0x03FA, 1, 1},
    // Cyrillic
    {0x0400, 0x040F, 1, 80},
    {0x0410, 0x042F, 1, 32},
    {0x0460, 0x0480, 2, 1},
    {0x048A, 0x04BE, 2, 1},
    {0x04C0, 0x04C0, 1, 15},
    {0x04C1, 0x04CD, 2, 1},
    {0x04D0, 0x052E, 2, 1},
    // Latin Extended Additional, and the signs for ohm, kelvin and angstrom
    {0x1E00, 0x1E94, 2, 1},
    {0x1E9E, 0x1E9E, 1, -7615},
    {0x1EA0, 0x1EFE, 2, 1},
    {0x2126, 0x2126, 1, -7517},
    {0x212A, 0x212A, 1, -8383},
    {0x212B, 0x212B, 1, -8262},
};

static_assert(std::is_sorted(std::begin(kCapitals), std::end(kCapitals),
                             [](const Capitals& a, const Capitals& b) { return a.last < b.first; }));

constexpr char FoldAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

char32_t Fold(char32_t code) {
  const auto* range = std::lower_bound(std::begin(kCapitals), std::end(kCapitals), code,
                                       [](const Capitals& r, char32_t c) { return r.last < c; });
  if (range == std::end(kCapitals) || code < range->first || (code - range->first) % range->step != 0)
    return code;
  return static_cast<char32_t>(static_cast<std::int32_t>(code) + range->distance);
}

// The folded character at `at`, which moves behind it.
char32_t TakeFolded(std::string_view text, std::size_t& at) {
  const Character character = Decode(text, at);
  at += character.bytes;
  return Fold(character.code);
}

// ---- Windows-1250 ----

constexpr char16_t kReplacement = 0xFFFD;

// The bytes 0x80 to 0xFF; the lower half is ASCII.
constexpr std::array<char16_t, 128> kWindows1250 = {
    0x20AC, 0xFFFD, 0x201A, 0xFFFD, 0x201E, 0x2026, 0x2020, 0x2021, 0xFFFD, 0x2030, 0x0160, 0x2039, 0x015A,
    0x0164, 0x017D, 0x0179, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0xFFFD, 0x2122,
    0x0161, 0x203A, 0x015B, 0x0165, 0x017E, 0x017A, 0x00A0, 0x02C7, 0x02D8, 0x0141, 0x00A4, 0x0104, 0x00A6,
    0x00A7, 0x00A8, 0x00A9, 0x015E, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x017B, 0x00B0, 0x00B1, 0x02DB, 0x0142,
    0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x0105, 0x015F, 0x00BB, 0x013D, 0x02DD, 0x013E, 0x017C, 0x0154,
    0x00C1, 0x00C2, 0x0102, 0x00C4, 0x0139, 0x0106, 0x00C7, 0x010C, 0x00C9, 0x0118, 0x00CB, 0x011A, 0x00CD,
    0x00CE, 0x010E, 0x0110, 0x0143, 0x0147, 0x00D3, 0x00D4, 0x0150, 0x00D6, 0x00D7, 0x0158, 0x016E, 0x00DA,
    0x0170, 0x00DC, 0x00DD, 0x0162, 0x00DF, 0x0155, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x013A, 0x0107, 0x00E7,
    0x010D, 0x00E9, 0x0119, 0x00EB, 0x011B, 0x00ED, 0x00EE, 0x010F, 0x0111, 0x0144, 0x0148, 0x00F3, 0x00F4,
    0x0151, 0x00F6, 0x00F7, 0x0159, 0x016F, 0x00FA, 0x0171, 0x00FC, 0x00FD, 0x0163, 0x02D9,
};

[[noreturn]] void RefuseForWindows1250(const Character& character, std::string_view bytes,
                                       std::size_t position) {
  char code[16];
  std::string name;
  if (character.code >= kStrayByte) {
    std::snprintf(code, sizeof code, "0x%02X", static_cast<unsigned>(character.code - kStrayByte));
    name = "byte " + std::string(code);
  } else {
    std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(character.code));
    name = "\"" + std::string(bytes) + "\" (" + code + ")";
  }
  throw ConversionError(name + " at position " + std::to_string(position) +
                        " is not a character of Windows-1250");
}

// ---- Numbers ----

[[noreturn]] void RefuseNumber(std::string_view text, const char* wanted) {
  throw ConversionError("\"" + std::string(text) + "\" is not " + wanted);
}

[[noreturn]] void RefuseRange(std::string_view text) {
  throw Overflow("\"" + std::string(text) + "\" is outside the range of numbers");
}

constexpr std::int64_t kFewDecimals = 10'000;
constexpr double kFewDigits = 1e11;  // with four decimals 15 digits, which no two doubles have the same

// Ten-thousandths, where the number is the double nearest to them: no shorter text can read back to it.
std::optional<std::int64_t> AsFewDecimals(double value) {
  if (!(std::fabs(value) < kFewDigits)) return std::nullopt;
  const auto scaled = static_cast<std::int64_t>(value * kFewDecimals + (value < 0 ? -0.5 : 0.5));
  if (static_cast<double>(scaled) / kFewDecimals != value) return std::nullopt;
  return scaled;
}

void AppendFewDecimals(std::string& out, std::int64_t scaled) {
  char buffer[24];
  char* at = buffer;
  if (scaled < 0) *at++ = '-';
  const auto magnitude = static_cast<std::uint64_t>(scaled < 0 ? -scaled : scaled);
  at = std::to_chars(at, buffer + sizeof buffer, magnitude / kFewDecimals).ptr;
  auto decimals = static_cast<unsigned>(magnitude % kFewDecimals);
  if (decimals != 0) *at++ = '.';
  for (unsigned place = kFewDecimals / 10; decimals != 0; place /= 10) {
    *at++ = static_cast<char>('0' + decimals / place);
    decimals %= place;
  }
  out.append(buffer, at);
}

// The text behind a leading plus sign, which std::from_chars does not take.
std::string_view SkipPlus(std::string_view text) {
  const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
  return plus ? text.substr(1) : text;
}

}  // namespace

void AppendUtf8(std::string& text, char32_t code) {
  const auto append = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    append(code);
  } else if (code < 0x800) {
    append(0xC0U | code >> 6U);
    append(0x80U | (code & 0x3FU));
  } else if (code < 0x10000) {
    append(0xE0U | code >> 12U);
    append(0x80U | (code >> 6U & 0x3FU));
    append(0x80U | (code & 0x3FU));
  } else if (code < kStrayByte) {
    append(0xF0U | code >> 18U);
    append(0x80U | (code >> 12U & 0x3FU));
    append(0x80U | (code >> 6U & 0x3FU));
    append(0x80U | (code & 0x3FU));
  } else {
    append(code - kStrayByte);
  }
}

std::size_t CountCharacters(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); ++count) at += IsAscii(text[at]) ? 1 : Decode(text, at).bytes;
  return count;
}

std::string_view CutToCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  std::size_t at = 0;
  for (; count > 0 && at < text.size(); --count) at += IsAscii(text[at]) ? 1 : Decode(text, at).bytes;
  return text.substr(0, at);
}

std::string FoldCase(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    if (IsAscii(text[at])) {
      folded += FoldAscii(text[at++]);
    } else {
      AppendUtf8(folded, TakeFolded(text, at));
    }
  }
  return folded;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  std::size_t in_a = 0;
  std::size_t in_b = 0;
  while (in_a < a.size() && in_b < b.size()) {
    if (IsAscii(a[in_a]) && IsAscii(b[in_b])) {
      if (FoldAscii(a[in_a++]) != FoldAscii(b[in_b++])) return false;
    } else if (TakeFolded(a, in_a) != TakeFolded(b, in_b)) {
      return false;
    }
  }
  return in_a == a.size() && in_b == b.size();
}

bool SameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return FoldAscii(x) == FoldAscii(y); });
}

std::string_view TrimBlanks(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return text.substr(0, 0);
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool IsValidUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    if (IsAscii(text[at])) {
      ++at;
      continue;
    }
    const Character character = Decode(text, at);
    if (character.code >= kStrayByte) return false;
    at += character.bytes;
  }
  return true;
}

std::string FromWindows1250(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    if (IsAscii(c)) {
      text += c;
    } else {
      AppendUtf8(text, kWindows1250[static_cast<unsigned char>(c) - 0x80U]);
    }
  }
  return text;
}

std::string ToWindows1250(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  std::size_t position = 1;
  for (std::size_t at = 0; at < text.size(); ++position) {
    const Character character = Decode(text, at);
    if (character.code < 0x80) {
      bytes += text[at];
    } else {
      const auto entry = std::find(kWindows1250.begin(), kWindows1250.end(), character.code);
      if (entry == kWindows1250.end() || *entry == kReplacement) {
        RefuseForWindows1250(character, text.substr(at, character.bytes), position);
      }
      bytes += static_cast<char>(static_cast<unsigned char>(0x80 + (entry - kWindows1250.begin())));
    }
    at += character.bytes;
  }
  return bytes;
}

std::string ShortestNumber(double value) {
  std::string text;
  AppendNumber(text, value);
  return text;
}

void AppendNumber(std::string& out, double value) {
  if (!std::isfinite(value)) throw Overflow("a number that is not finite has no text");
  if (const auto scaled = AsFewDecimals(value)) return AppendFewDecimals(out, *scaled);
  const double magnitude = std::fabs(value);
  const bool positional = magnitude >= 1e-7 && magnitude < 1e17;
  char text[48];
  const auto [end, error] = std::to_chars(
      text, text + sizeof text, value, positional ? std::chars_format::fixed : std::chars_format::scientific);
  if (error != std::errc()) throw Overflow("a number has too long a text");
  out.append(text, end);
}

double ParseNumber(std::string_view text) {
  const std::string_view number = SkipPlus(text);
  const char* const last = number.data() + number.size();
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), last, value);
  if (error == std::errc::invalid_argument || end != last) RefuseNumber(text, "a number");
  if (error == std::errc::result_out_of_range) RefuseRange(text);
  if (!std::isfinite(value)) RefuseNumber(text, "a number");
  return value;
}

std::int64_t ParseInteger(std::string_view text) {
  const std::string_view number = SkipPlus(text);
  const char* const last = number.data() + number.size();
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(number.data(), last, value);
  if (error == std::errc::invalid_argument || end != last) RefuseNumber(text, "an integer");
  if (error == std::errc::result_out_of_range) RefuseRange(text);
  return value;
}

}  // namespace mox

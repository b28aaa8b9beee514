#include "mox/foundation/currency.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <optional>

#include "mox/foundation/error.h"

namespace mox {
namespace {

struct DecimalText {
  bool negative = false;
  std::string digits;  // without leading zeros; the value is 0.digits * 10^exponent
  std::int64_t exponent = 0;
};

[[noreturn]] void Refuse(std::string_view text) {
  throw ConversionError("\"" + std::string(text) + "\" is not a number");
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads the whole text or refuses it.
DecimalText ReadDecimal(std::string_view text) {
  DecimalText number;
  std::size_t at = 0;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) number.negative = text[at++] == '-';
  bool point = false;
  bool any = false;
  for (; at < text.size() && (IsDigit(text[at]) || (text[at] == '.' && !point)); ++at) {
    if (text[at] == '.') {
      point = true;
      continue;
    }
    any = true;
    if (text[at] == '0' && number.digits.empty()) {
      if (point) --number.exponent;
      continue;
    }
    number.digits += text[at];
    if (!point) ++number.exponent;
  }
  if (!any) Refuse(text);
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    ++at;
    if (at + 1 < text.size() && text[at] == '+' && IsDigit(text[at + 1])) ++at;
    int exponent = 0;
    const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), exponent);
    if (error == std::errc::invalid_argument) Refuse(text);
    if (error == std::errc::result_out_of_range) exponent = text[at] == '-' ? -1'000'000'000 : 1'000'000'000;
    number.exponent += exponent;
    at = static_cast<std::size_t>(end - text.data());
  }
  if (at != text.size()) Refuse(text);
  return number;
}

// Amounts as they are nearly always written: few enough digits, a point and at most four decimals.
std::optional<std::int64_t> ReadUsual(std::string_view text) {
  constexpr std::size_t kMostCharacters = 16;
  if (text.size() > kMostCharacters) return std::nullopt;
  const char* at = text.data();
  const char* const end = at + text.size();
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  std::int64_t scaled = 0;
  const char* const units = at;
  for (; at != end && IsDigit(*at); ++at) scaled = scaled * 10 + (*at - '0');
  if (at == units || at == end || *at != '.') return std::nullopt;
  const char* const decimals = ++at;
  for (; at != end && IsDigit(*at); ++at) scaled = scaled * 10 + (*at - '0');
  const auto count = at - decimals;
  if (at != end || count == 0 || count > 4) return std::nullopt;
  constexpr std::int64_t kMissing[] = {1, 1000, 100, 10, 1};
  scaled *= kMissing[count];
  return negative ? -scaled : scaled;
}

}  // namespace

void ThrowCurrencyOverflow() { throw Overflow("amount is outside the range of a currency"); }

Currency Currency::FromUnits(std::int64_t units) {
  std::int64_t scaled = 0;
  if (__builtin_mul_overflow(units, kScale, &scaled)) ThrowCurrencyOverflow();
  return Currency(scaled);
}

Currency Currency::Parse(std::string_view text) {
  if (const auto usual = ReadUsual(text)) return Currency(*usual);
  const DecimalText number = ReadDecimal(text);
  if (number.digits.empty()) return Currency();
  const std::int64_t kept = number.exponent + 4;  // digits that stand before the cut
  if (kept > 19) ThrowCurrencyOverflow();
  if (kept < 0) return Currency();
  std::int64_t scaled = 0;
  const auto digit_at = [&](std::size_t i) { return i < number.digits.size() ? number.digits[i] - '0' : 0; };
  const auto add_digit = [&](int digit) {
    const int signed_digit = number.negative ? -digit : digit;
    if (__builtin_mul_overflow(scaled, std::int64_t{10}, &scaled) ||
        __builtin_add_overflow(scaled, std::int64_t{signed_digit}, &scaled)) {
      ThrowCurrencyOverflow();
    }
  };
  const auto cut = static_cast<std::size_t>(kept);
  for (std::size_t i = 0; i < cut; ++i) add_digit(digit_at(i));
  const int next = digit_at(cut);
  const bool more =
      cut + 1 < number.digits.size() && number.digits.find_first_not_of('0', cut + 1) != std::string::npos;
  const bool away = next > 5 || (next == 5 && (more || scaled % 2 != 0));
  if (away && __builtin_add_overflow(scaled, std::int64_t{number.negative ? -1 : 1}, &scaled)) {
    ThrowCurrencyOverflow();
  }
  return Currency(scaled);
}

std::string Currency::ToString() const {
  std::string text;
  AppendTo(text);
  return text;
}

void Currency::AppendTo(std::string& out) const {
  const std::uint64_t magnitude =
      scaled_ < 0 ? 0U - static_cast<std::uint64_t>(scaled_) : static_cast<std::uint64_t>(scaled_);
  std::array<char, 32> buffer;
  char* at = buffer.data();
  if (scaled_ < 0) *at++ = '-';
  at = std::to_chars(at, buffer.data() + buffer.size(), magnitude / kScale).ptr;
  const auto decimals = static_cast<unsigned>(magnitude % kScale);
  *at++ = '.';
  *at++ = static_cast<char>('0' + decimals / 1000);
  *at++ = static_cast<char>('0' + decimals / 100 % 10);
  if (decimals % 100 != 0) *at++ = static_cast<char>('0' + decimals / 10 % 10);
  if (decimals % 10 != 0) *at++ = static_cast<char>('0' + decimals % 10);
  out.append(buffer.data(), at);
}

}  // namespace mox

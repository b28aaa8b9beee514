#include "mox/foundation/display_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// ---- The number: decimal digits that can be rounded ----

// The magnitude 0.DIGITS * 10^point; the digits begin with no zero, and zero has none.
struct Decimal {
  bool negative = false;
  std::string digits;
  int point = 0;
};

Decimal FromDouble(double value) {
  if (!std::isfinite(value)) throw Overflow("a number that is not finite cannot be shown");
  if (value == 0) return {};
  char buffer[32];  // "d.ddde+nn"
  const auto [end, error] =
      std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value), std::chars_format::scientific);
  if (error != std::errc()) throw Overflow("a number has too long a text");
  const std::string_view text(buffer, static_cast<std::size_t>(end - buffer));
  const std::size_t mark = text.find('e');
  const int exponent = static_cast<int>(ParseInteger(text.substr(mark + 1)));
  Decimal number{value < 0, std::string(text.substr(0, mark)), exponent + 1};
  std::erase(number.digits, '.');
  return number;
}

Decimal FromCurrency(Currency value) {
  if (value.IsZero()) return {};
  std::string digits = std::to_string(value.scaled());
  if (value.Sign() < 0) digits.erase(0, 1);
  const int point = static_cast<int>(digits.size()) - 4;
  return {value.Sign() < 0, std::move(digits), point};
}

// Half away from zero.
void RoundTo(Decimal& number, int decimals) {
  const int kept = number.point + decimals;
  if (kept >= static_cast<int>(number.digits.size())) return;
  if (kept < 0) {
    number = {};
    return;
  }
  auto cut = static_cast<std::size_t>(kept);
  bool carry = number.digits[cut] >= '5';
  number.digits.resize(cut);
  for (; carry && cut > 0; --cut) {
    char& digit = number.digits[cut - 1];
    carry = digit == '9';
    digit = carry ? '0' : static_cast<char>(digit + 1);
  }
  if (carry) {
    number.digits.insert(0, 1, '1');
    ++number.point;
  }
  if (number.digits.empty()) number = {};
}

// The digit that stands for 10^power.
char DigitOf(const Decimal& number, int power) {
  const int index = number.point - 1 - power;
  return index >= 0 && index < static_cast<int>(number.digits.size())
             ? number.digits[static_cast<std::size_t>(index)]
             : '0';
}

// ---- The mask ----

using Token = NumberMask::Token;
using Section = NumberMask::Section;

void AddDigitPlace(Section& section, bool always, bool behind_point) {
  section.tokens.push_back({Token::Kind::kDigit, {}});
  if (behind_point) {
    ++section.decimals;
    if (always) section.least_decimals = section.decimals;
  } else {
    ++section.integer_places;
    if (always || section.least_integers > 0) ++section.least_integers;
  }
}

void AddLiteral(Section& section, std::string_view text) {
  if (section.tokens.empty() || section.tokens.back().kind != Token::Kind::kLiteral)
    section.tokens.emplace_back();
  section.tokens.back().text += text;
}

// Reads a section and its closing ';' off the front of the mask.
Section TakeSection(std::string_view& mask) {
  Section section;
  bool point = false;
  std::size_t at = 0;
  for (; at < mask.size() && mask[at] != ';'; ++at) {
    const char c = mask[at];
    if (c == '0' || c == '#') {
      AddDigitPlace(section, c == '0', point);
    } else if (c == ',') {
      section.grouped = true;
    } else if (c == '.') {
      if (!point) section.tokens.push_back({Token::Kind::kPoint, {}});
      point = true;
    } else if (c == '"' || c == '\'') {
      const std::size_t close = std::min(mask.find(c, at + 1), mask.size());
      AddLiteral(section, mask.substr(at + 1, close - at - 1));
      at = std::min(close, mask.size() - 1);
    } else {
      AddLiteral(section, mask.substr(at, 1));
    }
  }
  mask.remove_prefix(std::min(at + 1, mask.size()));
  return section;
}

// ---- Showing one by the other ----

class Writer {
 public:
  Writer(const Section& section, const Decimal& number, const LocaleSettings& locale)
      : section_(section), number_(number), locale_(locale) {
    const int stored_decimals = static_cast<int>(number.digits.size()) - number.point;
    // Digits after the last that is not zero stand only where the mask asks for them.
    const std::size_t last = number.digits.find_last_not_of('0');
    const int significant =
        last == std::string::npos ? 0 : stored_decimals - static_cast<int>(number.digits.size() - 1 - last);
    decimals_ = std::max(section.least_decimals, std::min(section.decimals, significant));
    integers_ = std::max(section.least_integers, number.digits.empty() ? 0 : number.point);
  }

  std::string Write() {
    if (section_.integer_places == 0 && section_.decimals == 0) return Literals();
    int place = section_.integer_places;  // the power of ten of the place to come, plus one
    for (const Token& token : section_.tokens) {
      if (token.kind == Token::Kind::kLiteral) {
        text_ += token.text;
      } else if (token.kind == Token::Kind::kPoint) {
        if (section_.integer_places == 0) WriteDigits(integers_, 0);
        if (decimals_ > 0) text_ += locale_.decimal_separator;
      } else if (place > 0) {
        // The first place takes the digits that have no place of their own.
        WriteDigits(place == section_.integer_places ? std::max(integers_, place) : place, place - 1);
        --place;
      } else {
        if (-place < decimals_) text_ += DigitOf(number_, place - 1);
        --place;
      }
    }
    return std::move(text_);
  }

 private:
  std::string Literals() const {
    std::string text;
    for (const Token& token : section_.tokens) text += token.text;
    return text;
  }

  // The integer digits below 10^from, down to that of 10^to.
  void WriteDigits(int from, int to) {
    for (int power = from - 1; power >= to; --power) {
      if (power >= integers_) continue;
      text_ += DigitOf(number_, power);
      if (section_.grouped && power > 0 && power % 3 == 0) text_ += locale_.thousands_separator;
    }
  }

  const Section& section_;
  const Decimal& number_;
  const LocaleSettings& locale_;
  int decimals_ = 0;  // that are shown
  int integers_ = 0;  // that are shown
  std::string text_;
};

std::string ShowBy(const std::array<Section, 3>& sections, const Decimal& number,
                   const LocaleSettings& locale) {
  const auto own_or_first = [&](std::size_t index) -> const Section& {
    return sections[index].tokens.empty() ? sections[0] : sections[index];
  };
  const Section& by_sign = own_or_first(number.negative ? 1 : 0);
  Decimal rounded = number;
  RoundTo(rounded, by_sign.decimals);
  if (rounded.digits.empty()) return Writer(own_or_first(2), rounded, locale).Write();
  const bool needs_sign = number.negative && &by_sign == &sections[0];
  return (needs_sign ? "-" : "") + Writer(by_sign, rounded, locale).Write();
}

// Whether negative numbers are shown as they are without a section of their own.
bool IsMinusAnd(Section negative, const Section& positive) {
  if (negative.tokens.empty()) return true;
  if (negative.tokens.front() != Token{Token::Kind::kLiteral, "-"}) return false;
  negative.tokens.erase(negative.tokens.begin());
  return negative == positive;
}

}  // namespace

NumberMask::NumberMask(std::string_view mask) {
  for (Section& section : sections_) section = TakeSection(mask);
  Section& first = sections_[0];
  if (first.tokens.empty()) {
    std::string_view as_it_is = "0.####################";
    first = TakeSection(as_it_is);
  }
  const auto is_literal = [](const Token& token) { return token.kind == Token::Kind::kLiteral; };
  plain_ = IsMinusAnd(sections_[1], first) && sections_[2].tokens.empty() && first.integer_places > 0 &&
           first.least_integers <= 1 && first.least_decimals <= 4 &&
           std::none_of(first.tokens.begin(), first.tokens.end(), is_literal);
}

// Ten-thousandths, most numbers of a table, without a step through their digits. False, and nothing appended,
// for other masks and for separators of more than a byte.
bool NumberMask::AppendPlainly(std::string& out, std::int64_t scaled, const LocaleSettings& locale) const {
  if (!plain_ || locale.decimal_separator.size() != 1 || locale.thousands_separator.size() != 1) return false;
  constexpr std::uint64_t kUnit = 10'000;
  constexpr std::uint64_t kLast[] = {10'000, 1'000, 100, 10, 1};  // the unit of the last decimal
  const Section& section = sections_[0];
  auto magnitude = scaled < 0 ? 0U - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
  const std::uint64_t last = kLast[std::min(section.decimals, 4)];
  magnitude = (magnitude + last / 2) / last * last;
  const bool negative = scaled < 0 && magnitude > 0;
  std::array<char, 40> text;
  char* const end = text.data() + text.size();
  char* at = end;
  std::uint64_t decimals = magnitude % kUnit;
  int places = 4;
  for (; places > section.least_decimals && decimals % 10 == 0; --places) decimals /= 10;
  for (int i = 0; i < places; ++i, decimals /= 10) *--at = static_cast<char>('0' + decimals % 10);
  if (places > 0) *--at = locale.decimal_separator[0];
  std::uint64_t units = magnitude / kUnit;
  for (int written = 0; units > 0 || written < section.least_integers; ++written, units /= 10) {
    if (section.grouped && written > 0 && written % 3 == 0) *--at = locale.thousands_separator[0];
    *--at = static_cast<char>('0' + units % 10);
  }
  if (negative) *--at = '-';
  out.append(at, end);
  return true;
}

void NumberMask::AppendTo(std::string& out, double value, const LocaleSettings& locale) const {
  // with four decimals 15 digits, which no two doubles have the same: these are the digits of the number
  constexpr double kFewDigits = 1e11;
  if (plain_ && std::fabs(value) < kFewDigits) {
    const auto scaled = static_cast<std::int64_t>(value * 10'000 + (value < 0 ? -0.5 : 0.5));
    if (static_cast<double>(scaled) / 10'000 == value && AppendPlainly(out, scaled, locale)) return;
  }
  out += ShowBy(sections_, FromDouble(value), locale);
}

void NumberMask::AppendTo(std::string& out, Currency value, const LocaleSettings& locale) const {
  if (!AppendPlainly(out, value.scaled(), locale)) out += ShowBy(sections_, FromCurrency(value), locale);
}

std::string NumberMask::Show(double value, const LocaleSettings& locale) const {
  std::string text;
  AppendTo(text, value, locale);
  return text;
}

std::string NumberMask::Show(Currency value, const LocaleSettings& locale) const {
  std::string text;
  AppendTo(text, value, locale);
  return text;
}

std::string FormatFloat(std::string_view mask, double value, const LocaleSettings& locale) {
  return NumberMask(mask).Show(value, locale);
}

std::string FormatFloat(std::string_view mask, Currency value, const LocaleSettings& locale) {
  return NumberMask(mask).Show(value, locale);
}

}  // namespace mox

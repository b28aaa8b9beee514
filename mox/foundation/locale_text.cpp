#include "mox/foundation/locale_text.h"

#include <cstdio>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

std::string WithSeparator(std::string text, const LocaleSettings& locale) {
  const std::size_t point = text.find('.');
  if (point != std::string::npos) text.replace(point, 1, locale.decimal_separator);
  return text;
}

// The text with a decimal point; none when it has a point already that is not the locale's.
std::optional<std::string> WithPoint(std::string_view text, const LocaleSettings& locale) {
  text = TrimBlanks(text);
  std::string result(text);
  if (locale.decimal_separator != ".") {
    if (result.find('.') != std::string::npos) return std::nullopt;
    const std::size_t separator = result.find(locale.decimal_separator);
    if (separator != std::string::npos) result.replace(separator, locale.decimal_separator.size(), ".");
  }
  return result;
}

template <typename Parse>
auto Attempt(std::string_view text, const LocaleSettings& locale, Parse parse)
    -> std::optional<decltype(parse(text))> {
  const auto pointed = WithPoint(text, locale);
  if (!pointed) return std::nullopt;
  try {
    return parse(*pointed);
  } catch (const ConversionError&) {
    return std::nullopt;
  }
}

// Digits with at most one separator between them, few enough that number and power of ten are exact, so that
// one division rounds as it should: what nearly all numbers of a sheet look like.
std::optional<double> PlainNumber(std::string_view text, const LocaleSettings& locale) {
  constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
  if (text.size() > 15 || locale.decimal_separator.size() != 1) return std::nullopt;
  const char separator = locale.decimal_separator.front();
  std::int64_t digits = 0;
  std::size_t point = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] >= '0' && text[i] <= '9') {
      digits = digits * 10 + (text[i] - '0');
    } else if (text[i] == separator && i > 0 && point == text.size()) {
      point = i;
    } else {
      return std::nullopt;
    }
  }
  if (text.empty() || point + 1 == text.size()) return std::nullopt;
  const std::size_t decimals = point == text.size() ? 0 : text.size() - point - 1;
  return static_cast<double>(digits) / kPowers[decimals];
}

bool IsDatePart(char c) { return c == 'd' || c == 'M' || c == 'y'; }

// Takes up to `most` digits, at least one.
std::optional<int> TakeNumber(std::string_view& text, std::size_t most) {
  int value = 0;
  std::size_t digits = 0;
  while (digits < most && digits < text.size() && text[digits] >= '0' && text[digits] <= '9') {
    value = value * 10 + (text[digits++] - '0');
  }
  if (digits == 0) return std::nullopt;
  text.remove_prefix(digits);
  return value;
}

std::size_t RunLength(std::string_view pattern, std::size_t at) {
  std::size_t length = 1;
  while (at + length < pattern.size() && pattern[at + length] == pattern[at]) ++length;
  return length;
}

// Takes a date in the pattern from the front of the text.
std::optional<Date> TakeDate(std::string_view& text, std::string_view pattern) {
  CivilDate civil;
  for (std::size_t at = 0; at < pattern.size();) {
    if (!IsDatePart(pattern[at])) {
      const bool last = pattern.find_first_of("dMy", at) == std::string_view::npos;
      if (!text.empty() && text.front() == pattern[at]) {
        text.remove_prefix(1);
      } else if (!last) {
        return std::nullopt;
      }
      ++at;
      continue;
    }
    const std::size_t run = RunLength(pattern, at);
    const bool is_year = pattern[at] == 'y';
    const std::size_t left = text.size();
    const auto value = TakeNumber(text, is_year ? 4 : 2);
    if (!value) return std::nullopt;
    if (!is_year) {
      (pattern[at] == 'd' ? civil.day : civil.month) = *value;
    } else if (run > 2) {
      if (left - text.size() < 4) return std::nullopt;
      civil.year = *value;
    } else {
      civil.year = *value >= 100 ? *value : *value < 50 ? 2000 + *value : 1900 + *value;
    }
    at += run;
  }
  return MakeDate(civil.year, civil.month, civil.day);
}

}  // namespace

std::string NumberToText(double value, const LocaleSettings& locale) {
  return WithSeparator(ShortestNumber(value), locale);
}

std::string CurrencyToText(Currency value, const LocaleSettings& locale) {
  return WithSeparator(value.ToString(), locale);
}

std::string DateToText(Date date, const LocaleSettings& locale) {
  const CivilDate civil = ToCivil(date);
  const std::string_view pattern = locale.short_date;
  std::string result;
  for (std::size_t at = 0; at < pattern.size();) {
    if (!IsDatePart(pattern[at])) {
      result += pattern[at++];
      continue;
    }
    const std::size_t run = RunLength(pattern, at);
    const bool is_year = pattern[at] == 'y';
    int value = is_year ? civil.year : pattern[at] == 'd' ? civil.day : civil.month;
    if (is_year && run <= 2) value %= 100;
    char digits[16];
    std::snprintf(digits, sizeof digits, "%0*d", is_year && run > 2 ? 4 : static_cast<int>(run > 2 ? 2 : run),
                  value);
    result += digits;
    at += run;
  }
  return result;
}

std::string DateTimeToText(DateTime moment, const LocaleSettings& locale) {
  const Date date = DayOf(moment);
  const std::int64_t seconds = (moment.milliseconds - StartOf(date).milliseconds) / 1000;
  std::string result = DateToText(date, locale);
  if (moment == StartOf(date)) return result;
  char time[32];
  std::snprintf(time, sizeof time, " %02d:%02d:%02d", static_cast<int>(seconds / 3600),
                static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  return result + time;
}

std::optional<double> ParseLocaleNumber(std::string_view text, const LocaleSettings& locale) {
  if (const auto plain = PlainNumber(text, locale)) return plain;
  return Attempt(text, locale, [](std::string_view pointed) { return ParseNumber(pointed); });
}

std::optional<Currency> ParseLocaleCurrency(std::string_view text, const LocaleSettings& locale) {
  return Attempt(text, locale, [](std::string_view pointed) { return Currency::Parse(pointed); });
}

std::optional<Date> ParseLocaleDate(std::string_view text, const LocaleSettings& locale) {
  text = TrimBlanks(text);
  const auto date = TakeDate(text, locale.short_date);
  if (text == ".") text = {};
  return text.empty() ? date : std::nullopt;
}

std::optional<DateTime> ParseLocaleDateTime(std::string_view text, const LocaleSettings& locale) {
  text = TrimBlanks(text);
  const auto date = TakeDate(text, locale.short_date);
  if (!date) return std::nullopt;
  if (!text.empty() && text.front() == '.') text.remove_prefix(1);
  if (text.empty()) return StartOf(*date);
  const std::string_view time = TrimBlanks(text);
  if (time.size() == text.size()) return std::nullopt;  // no blank in between
  return ParseIsoDateTime(FormatIsoDate(*date) + "T" + std::string(time));
}

}  // namespace mox

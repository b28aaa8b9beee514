#include "sheets/number_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <optional>

#include "mox/foundation/dates.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

using Shows = NumberFormat::Shows;

constexpr int kKeptDigits = 15;
constexpr double kFirstRounded = 1e15;
constexpr std::int64_t kSecondsPerDay = 86'400;

struct Range {
  int first;
  int last;
  Shows shows;
};

constexpr Range kBuiltIn[] = {
    {9, 10, Shows::kPercent}, {14, 17, Shows::kDate}, {18, 21, Shows::kTime},
    {22, 22, Shows::kMoment}, {27, 31, Shows::kDate}, {32, 35, Shows::kTime},
    {36, 36, Shows::kDate},   {45, 47, Shows::kTime}, {50, 58, Shows::kDate},
};

// The letters and signs of a format code that are not shown as they stand: without quoted texts, escaped and
// padding characters, colours, conditions and languages, but with the brackets of hours beyond a day.
std::string Signs(std::string_view code) {
  std::string signs;
  for (std::size_t i = 0; i < code.size(); ++i) {
    const char c = code[i];
    if (c == '\\' || c == '_' || c == '*') {
      ++i;
    } else if (c == '"') {
      i = std::min(code.find('"', i + 1), code.size());
    } else if (c == '[') {
      const std::size_t end = std::min(code.find(']', i), code.size());
      const std::string_view inside = code.substr(i + 1, end - i - 1);
      if (!inside.empty() && inside.find_first_not_of("hHmMsS") == std::string_view::npos) signs += inside;
      i = end;
    } else {
      signs += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
  }
  return signs;
}

bool HasAny(std::string_view text, std::string_view letters) {
  return text.find_first_of(letters) != std::string_view::npos;
}

void EraseAll(std::string& text, std::string_view part) {
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
    text.erase(at, part.size());
  }
}

// 15 digits, without an exponent as far as that is readable.
void AppendShown(double value, std::string& text) {
  char digits[64];
  const auto shown_as = [&](std::chars_format form, int precision) {
    const char* const end = std::to_chars(std::begin(digits), std::end(digits), value, form, precision).ptr;
    return std::string_view(digits, static_cast<std::size_t>(end - digits));
  };
  const double size = std::fabs(value);
  if (size != 0 && (size < 1e-15 || size >= 1e21)) {
    text += shown_as(std::chars_format::general, kKeptDigits);
    return;
  }
  // As many decimals as make 15 digits; those that are zeros at the end are not shown.
  const int whole = size == 0 ? 1 : static_cast<int>(std::floor(std::log10(size))) + 1;
  const int decimals = std::max(0, kKeptDigits - whole);
  std::string_view shown = shown_as(std::chars_format::fixed, decimals);
  if (decimals > 0) {
    shown = shown.substr(0, shown.find_last_not_of('0') + 1);
    if (shown.ends_with('.')) shown.remove_suffix(1);
  }
  text += shown == "-0" ? "0" : shown;
}

// A stored number that is shown as it stands.
bool IsPlainWhole(std::string_view stored) {
  if (stored.empty() || stored.size() > static_cast<std::size_t>(kKeptDigits)) return false;
  if (stored.front() == '0' && stored.size() > 1) return false;
  return stored.find_first_not_of("0123456789") == std::string_view::npos;
}

void AppendTime(std::int64_t seconds, std::string& text) {
  char time[48];
  const auto part = [&](std::int64_t unit, std::int64_t most) {
    return static_cast<int>(seconds / unit % most);
  };
  std::snprintf(time, sizeof time, "%02lld:%02d", static_cast<long long>(seconds / 3600), part(60, 60));
  text += time;
  if (seconds % 60 == 0) return;
  std::snprintf(time, sizeof time, ":%02d", part(1, 60));
  text += time;
}

// The first calendar counts a 29 February 1900, which there was not: before it the days are one less.
std::optional<Date> DayOf(std::int64_t serial, DateEpoch epoch) {
  if (epoch == DateEpoch::k1904) {
    constexpr std::int64_t kMost = 2'957'003;  // 9999-12-31
    if (serial < 0 || serial > kMost) return std::nullopt;
    return Date{MakeDate(1904, 1, 1)->days + static_cast<std::int32_t>(serial)};
  }
  constexpr std::int64_t kMost = 2'958'465;
  constexpr std::int64_t kNoDay = 60;
  if (serial < 1 || serial == kNoDay || serial > kMost) return std::nullopt;
  const std::int64_t days = serial > kNoDay ? serial - 1 : serial;
  return Date{MakeDate(1899, 12, 31)->days + static_cast<std::int32_t>(days)};
}

CellForm AppendMoment(double serial, Shows shows, DateEpoch epoch, std::string& text) {
  constexpr double kMost = 1e8;
  if (!(std::fabs(serial) < kMost)) return {CellKind::kText, kNoDayFault};
  const auto seconds = static_cast<std::int64_t>(std::llround(serial * static_cast<double>(kSecondsPerDay)));
  if (shows == Shows::kTime && seconds >= 0) {
    AppendTime(seconds, text);
    return {};
  }
  const std::int64_t whole = shows == Shows::kDate ? static_cast<std::int64_t>(std::floor(serial))
                                                   : (seconds < 0 ? -1 : seconds / kSecondsPerDay);
  const std::optional<Date> day = DayOf(whole, epoch);
  if (!day) {
    AppendShown(serial, text);
    return {CellKind::kText, kNoDayFault};
  }
  const std::int64_t rest = shows == Shows::kDate ? 0 : seconds % kSecondsPerDay;
  if (rest == 0) {
    text += FormatIsoDate(*day);
    return {CellKind::kDate};
  }
  text += FormatIsoDateTime({StartOf(*day).milliseconds + rest * 1000});
  return {CellKind::kMoment};
}

}  // namespace

NumberFormat ReadNumberFormat(std::string_view code) {
  std::string signs = Signs(code);
  for (const char* const half : {"am/pm", "a/p", "general"}) EraseAll(signs, half);
  const bool time = HasAny(signs, "hs");
  const bool date = HasAny(signs, "yd") || (!time && HasAny(signs, "m"));
  if (date) return {time ? Shows::kMoment : Shows::kDate};
  if (time) return {Shows::kTime};
  if (HasAny(signs, "%")) return {Shows::kPercent};
  constexpr std::size_t kMostZeros = 40;
  const bool zeros = code.size() <= kMostZeros && code.find_first_not_of('0') == std::string_view::npos;
  return {Shows::kNumber, static_cast<std::uint8_t>(zeros ? code.size() : 0)};
}

NumberFormat BuiltInNumberFormat(int id) {
  for (const Range& range : kBuiltIn) {
    if (id >= range.first && id <= range.last) return {range.shows};
  }
  return {};
}

CellForm AppendNumber(std::string_view stored, NumberFormat format, DateEpoch epoch, std::string& text) {
  stored = TrimBlanks(stored);
  const bool number = format.shows == Shows::kNumber;
  if (number && format.least_digits <= stored.size() && IsPlainWhole(stored)) {
    text += stored;
    return {CellKind::kNumber};
  }
  double value = 0;
  const char* const end = stored.data() + stored.size();
  const auto [last, error] = std::from_chars(stored.data(), end, value);
  if (error != std::errc() || last != end || !std::isfinite(value)) {
    text += stored;
    return {CellKind::kText, kNoNumberFault};
  }
  if (number && std::fabs(value) >= kFirstRounded) {
    AppendShown(value, text);
    return {CellKind::kNumber, kRoundedFault};
  }
  if (number) {
    const std::size_t begin = text.size();
    AppendShown(value, text);
    const std::string_view shown = std::string_view(text).substr(begin);
    const bool padded = shown.size() < format.least_digits && IsPlainWhole(shown);
    if (padded) text.insert(begin, format.least_digits - shown.size(), '0');
    return {padded ? CellKind::kText : CellKind::kNumber};
  }
  if (format.shows != Shows::kPercent) return AppendMoment(value, format.shows, epoch, text);
  AppendShown(value * 100, text);
  text += '%';
  return {};
}

CellForm FormOfText(std::string_view text) {
  constexpr std::string_view kErrors[] = {"#N/A", "#REF!", "#VALUE!", "#DIV/0!", "#NAME?", "#NUM!", "#NULL!"};
  if (!text.starts_with('#')) return {};
  const bool error = std::find(std::begin(kErrors), std::end(kErrors), text) != std::end(kErrors);
  return {CellKind::kText, error ? kErrorFault : std::string_view()};
}

CellForm AppendIsoMoment(std::string_view stored, std::string& text) {
  int hours = 0, minutes = 0, seconds = 0;
  if (std::sscanf(std::string(stored.substr(0, 40)).c_str(), "PT%6dH%2dM%2d", &hours, &minutes, &seconds) ==
          3 &&
      hours >= 0 && minutes >= 0 && seconds >= 0) {
    AppendTime((hours * 60LL + minutes) * 60 + seconds, text);
    return {};
  }
  // Parts of a second may have more digits than a moment has.
  std::string_view seconds_end = stored.substr(0, stored.find('.'));
  if (seconds_end.ends_with('Z')) seconds_end.remove_suffix(1);
  const auto moment = ParseIsoDateTime(seconds_end);
  if (!moment) {
    text += stored;
    return {CellKind::kText, kNoDayFault};
  }
  const Date day = DayOf(*moment);
  if (*moment == StartOf(day)) {
    text += FormatIsoDate(day);
    return {CellKind::kDate};
  }
  text += FormatIsoDateTime(*moment);
  return {CellKind::kMoment};
}

}  // namespace mox

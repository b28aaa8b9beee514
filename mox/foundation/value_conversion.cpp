#include "mox/foundation/value_conversion.h"

#include <bit>
#include <cmath>
#include <type_traits>

#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

[[noreturn]] void Refuse(const Value& value, const char* wanted) {
  throw ConversionError("\"" + ToText(value) + "\" is not " + wanted);
}

std::int64_t Truncated(double value) {
  if (!(value >= -0x1p63 && value < 0x1p63)) throw Overflow("number is outside the range of an integer");
  return static_cast<std::int64_t>(value);
}

// Runs one function object per alternative: for numbers (integer, Boolean, float, currency), texts and dates.
template <typename Result, typename FromNumber, typename FromText, typename FromDate>
Result Convert(const Value& value, FromNumber from_number, FromText from_text, FromDate from_date) {
  return std::visit(
      [&](const auto& held) -> Result {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
          return Result{};
        } else if constexpr (std::is_same_v<Held, std::string>) {
          return from_text(held);
        } else if constexpr (std::is_same_v<Held, Date> || std::is_same_v<Held, DateTime>) {
          return from_date(held);
        } else {
          return from_number(held);
        }
      },
      value);
}

// Only days that have a text are stored.
DateTime InCalendar(DateTime moment) {
  static const DateTime first = StartOf(*MakeDate(1, 1, 1));
  static const DateTime last = StartOf(*MakeDate(9999, 12, 31));
  if (moment < first || moment.milliseconds >= last.milliseconds + kMillisecondsPerDay) {
    throw Overflow("date is outside the years 1 to 9999");
  }
  return moment;
}

constexpr auto kDayMilliseconds = static_cast<double>(kMillisecondsPerDay);

double DayCountOf(Date date) { return static_cast<double>(std::int64_t{date.days} - kDayZero.days); }
double DayCountOf(DateTime moment) {
  return static_cast<double>(moment.milliseconds - StartOf(kDayZero).milliseconds) / kDayMilliseconds;
}

DateTime MomentOf(double day_count) {
  constexpr double kFarAway = 1e7;  // days, beyond the calendar
  if (!(std::fabs(day_count) < kFarAway)) throw Overflow("date is outside the years 1 to 9999");
  const auto milliseconds = static_cast<std::int64_t>(std::rint(day_count * kDayMilliseconds));
  return InCalendar({milliseconds + StartOf(kDayZero).milliseconds});
}

template <typename Number>
auto OrRefuse(const std::optional<Number>& parsed, const Value& value, const char* wanted) {
  if (!parsed) Refuse(value, wanted);
  return *parsed;
}

}  // namespace

double ToFloat(const Value& value) {
  return Convert<double>(
      value,
      [](auto number) {
        if constexpr (std::is_same_v<decltype(number), Currency>) {
          return number.ToDouble();
        } else {
          return static_cast<double>(number);
        }
      },
      [&](const std::string& text) {
        return OrRefuse(ParseLocaleNumber(text, CurrentLocale()), value, "a number");
      },
      [](auto date) { return DayCountOf(date); });
}

Currency ToCurrency(const Value& value) {
  return Convert<Currency>(
      value,
      [](auto number) {
        if constexpr (std::is_same_v<decltype(number), Currency>) {
          return number;
        } else if constexpr (std::is_same_v<decltype(number), double>) {
          return Currency::FromReal(number);
        } else {
          return Currency::FromUnits(number);
        }
      },
      [&](const std::string& text) {
        return OrRefuse(ParseLocaleCurrency(text, CurrentLocale()), value, "a number");
      },
      [](auto date) { return Currency::FromReal(DayCountOf(date)); });
}

std::int64_t ToInteger(const Value& value) {
  return Convert<std::int64_t>(
      value,
      [](auto number) {
        if constexpr (std::is_same_v<decltype(number), Currency>) {
          return number.ToUnits();
        } else if constexpr (std::is_same_v<decltype(number), double>) {
          return Truncated(number);
        } else {
          return static_cast<std::int64_t>(number);
        }
      },
      [&](const std::string& text) {
        try {
          return ParseInteger(TrimBlanks(text));
        } catch (const ConversionError&) {
          return Truncated(OrRefuse(ParseLocaleNumber(text, CurrentLocale()), value, "a number"));
        }
      },
      [](auto date) { return Truncated(DayCountOf(date)); });
}

bool ToBoolean(const Value& value) {
  return Convert<bool>(
      value,
      [](auto number) {
        if constexpr (std::is_same_v<decltype(number), Currency>) {
          return !number.IsZero();
        } else {
          return number != 0;
        }
      },
      [&](const std::string& text) {
        const std::string_view trimmed = TrimBlanks(text);
        if (SameName(trimmed, "true")) return true;
        if (SameName(trimmed, "false")) return false;
        return OrRefuse(ParseLocaleNumber(trimmed, CurrentLocale()), value, "true or false") != 0;
      },
      [&](auto) -> bool { Refuse(value, "true or false"); });
}

Date ToDate(const Value& value) { return DayOf(ToDateTime(value)); }

DateTime ToDateTime(const Value& value) {
  if (std::holds_alternative<std::monostate>(value)) return StartOf(kDayZero);
  return Convert<DateTime>(
      value,
      [&](auto number) -> DateTime {
        if constexpr (std::is_same_v<decltype(number), bool>) {
          Refuse(value, "a date");
        } else {
          return MomentOf(ToFloat(value));
        }
      },
      [&](const std::string& text) {
        return OrRefuse(ParseLocaleDateTime(text, CurrentLocale()), value, "a date");
      },
      [](auto date) {
        if constexpr (std::is_same_v<decltype(date), Date>) {
          return StartOf(date);
        } else {
          return date;
        }
      });
}

std::string ToText(const Value& value) {
  return Convert<std::string>(
      value,
      [](auto number) -> std::string {
        if constexpr (std::is_same_v<decltype(number), Currency>) {
          return CurrencyToText(number, CurrentLocale());
        } else if constexpr (std::is_same_v<decltype(number), bool>) {
          return number ? "True" : "False";
        } else if constexpr (std::is_same_v<decltype(number), double>) {
          return NumberToText(number, CurrentLocale());
        } else {
          return std::to_string(number);
        }
      },
      [](const std::string& text) { return text; },
      [](auto date) {
        if constexpr (std::is_same_v<decltype(date), Date>) {
          return DateToText(date, CurrentLocale());
        } else {
          return DateTimeToText(date, CurrentLocale());
        }
      });
}

bool MakesNull(FieldKind kind, const Value& value) {
  if (std::holds_alternative<std::monostate>(value)) return true;
  const auto* const text = std::get_if<std::string>(&value);
  return text != nullptr && !HoldsText(kind) && TrimBlanks(*text).empty();
}

Value ConvertTo(FieldKind kind, const Value& value) {
  if (std::holds_alternative<std::monostate>(value)) return {};
  switch (kind) {
    case FieldKind::kInteger:
      return ToInteger(value);
    case FieldKind::kBoolean:
      return ToBoolean(value);
    case FieldKind::kFloat:
      return ToFloat(value);
    case FieldKind::kCurrency:
      return ToCurrency(value);
    case FieldKind::kDate:
      return DayOf(InCalendar(ToDateTime(value)));
    case FieldKind::kDateTime:
      return InCalendar(ToDateTime(value));
    case FieldKind::kText:
    case FieldKind::kBinary:
      break;
  }
  return ToText(value);
}

std::uint64_t PackNumber(FieldKind kind, const Value& value) {
  switch (kind) {
    case FieldKind::kInteger:
      return static_cast<std::uint64_t>(ToInteger(value));
    case FieldKind::kBoolean:
      return ToBoolean(value) ? 1 : 0;
    case FieldKind::kFloat:
      return std::bit_cast<std::uint64_t>(ToFloat(value));
    case FieldKind::kCurrency:
      return static_cast<std::uint64_t>(ToCurrency(value).scaled());
    case FieldKind::kDate:
      return static_cast<std::uint64_t>(std::int64_t{DayOf(InCalendar(ToDateTime(value))).days});
    case FieldKind::kDateTime:
      return static_cast<std::uint64_t>(InCalendar(ToDateTime(value)).milliseconds);
    case FieldKind::kText:
    case FieldKind::kBinary:
      break;
  }
  throw Error("a text has no number");
}

}  // namespace mox

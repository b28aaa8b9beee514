#pragma once

#include <compare>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace mox {

/// For the few steps that every formula is made of: out of line they would spill the numbers in flight.
#define MOX_ALWAYS_INLINE [[gnu::always_inline]] inline

/// Quotients are formed in this precision: a mantissa of 64 bits or more, which holds every currency.
using Extended = long double;
static_assert(std::numeric_limits<Extended>::digits >= 64, "every currency needs an exact Extended");

/// An amount or a price: a signed 64-bit integer scaled by 10,000 (four decimals).
///
/// Sums, differences and comparisons are exact; a result outside the range raises Overflow. There is no
/// conversion from or to a floating-point number that is not spelled out.
class Currency {
 public:
  static constexpr std::int64_t kScale = 10'000;

  constexpr Currency() = default;

  /// From ten-thousandths.
  static constexpr Currency FromScaled(std::int64_t scaled) { return Currency(scaled); }
  /// From whole units. Raises Overflow.
  static Currency FromUnits(std::int64_t units);
  /// The nearest ten-thousandth, ties to even. Raises Overflow, also for values that are not finite.
  static Currency FromReal(double value);
  static Currency FromReal(Extended value);
  /// The same from ten-thousandths that need not be whole.
  static Currency FromScaledReal(Extended scaled);
  /// From a decimal text with a decimal point and an optional sign, such as "-12.5" or "1e2"; digits after
  /// the fourth decimal are rounded to the nearest, ties to even. Raises ConversionError, Overflow.
  static Currency Parse(std::string_view text);

  constexpr std::int64_t scaled() const { return scaled_; }
  constexpr bool IsZero() const { return scaled_ == 0; }
  constexpr int Sign() const { return (scaled_ > 0) - (scaled_ < 0); }
  double ToDouble() const { return static_cast<double>(scaled_) / 10'000.0; }
  Extended ToExtended() const { return static_cast<Extended>(scaled_) / 10'000.0L; }
  /// Whole units; the decimals are cut off.
  constexpr std::int64_t ToUnits() const { return scaled_ / kScale; }
  /// Hundredths; the third and fourth decimal are cut off.
  constexpr std::int64_t ToCents() const { return scaled_ / 100; }
  /// With a decimal point and two to four decimals: "12.50", "0.3333".
  std::string ToString() const;
  /// Appends that.
  void AppendTo(std::string& out) const;

  friend constexpr auto operator<=>(Currency, Currency) = default;

 private:
  explicit constexpr Currency(std::int64_t scaled) : scaled_(scaled) {}
  std::int64_t scaled_ = 0;
};

[[noreturn]] void ThrowCurrencyOverflow();

inline Currency operator+(Currency a, Currency b) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a.scaled(), b.scaled(), &sum)) ThrowCurrencyOverflow();
  return Currency::FromScaled(sum);
}

inline Currency operator-(Currency a, Currency b) {
  std::int64_t difference = 0;
  if (__builtin_sub_overflow(a.scaled(), b.scaled(), &difference)) ThrowCurrencyOverflow();
  return Currency::FromScaled(difference);
}

inline Currency operator-(Currency a) { return Currency() - a; }
inline Currency& operator+=(Currency& a, Currency b) { return a = a + b; }
inline Currency& operator-=(Currency& a, Currency b) { return a = a - b; }

/// The nearest whole number, ties to even. The caller guarantees |value| < 2^62.
std::int64_t NearestInteger(Extended value);

}  // namespace mox

#include "mox/foundation/currency_inline.h"

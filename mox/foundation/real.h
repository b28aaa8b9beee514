#pragma once

#include <cmath>
#include <compare>
#include <limits>

#include "mox/foundation/currency.h"
#include "mox/foundation/error.h"

namespace mox {

/// A number in the middle of a formula, carried in extended precision. A currency enters an expression at
/// its real value (the scaled integer divided by 10,000); a quotient checks its divisor.
class Real {
 public:
  constexpr Real(Extended value) : value_(value) {}     // NOLINT(google-explicit-constructor)
  constexpr Real(double value) : value_(value) {}       // NOLINT(google-explicit-constructor)
  constexpr Real(int value) : value_(value) {}          // NOLINT(google-explicit-constructor)
  Real(Currency value) : value_(value.ToExtended()) {}  // NOLINT(google-explicit-constructor)

  constexpr Extended value() const { return value_; }

  /// The nearest double. Raises Overflow where that is not finite.
  double ToDouble() const {
    if (!(std::fabs(value_) <= static_cast<Extended>(std::numeric_limits<double>::max()))) {
      throw Overflow("result is outside the range of a floating-point number");
    }
    return static_cast<double>(value_);
  }

  friend constexpr auto operator<=>(Real a, Real b) { return a.value_ <=> b.value_; }
  friend constexpr bool operator==(Real a, Real b) { return a.value_ == b.value_; }

 private:
  Extended value_;
};

inline constexpr Real operator+(Real a, Real b) { return a.value() + b.value(); }
inline constexpr Real operator-(Real a, Real b) { return a.value() - b.value(); }
inline constexpr Real operator*(Real a, Real b) { return a.value() * b.value(); }

/// Raises DivisionByZero when b is 0, whatever a is.
inline constexpr Real operator/(Real a, Real b) {
  if (b.value() == 0) throw DivisionByZero();
  return a.value() / b.value();
}

}  // namespace mox

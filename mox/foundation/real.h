#pragma once

#include <cmath>
#include <compare>
#include <limits>

#include "mox/foundation/currency.h"
#include "mox/foundation/error.h"

namespace mox {

/// A plain number in the middle of a formula (a quantity, a rate, a percent), carried in extended precision.
/// A quotient checks its divisor.
class Real {
 public:
  constexpr Real(Extended value) : value_(value) {}  // NOLINT(google-explicit-constructor)
  constexpr Real(double value) : value_(value) {}    // NOLINT(google-explicit-constructor)
  constexpr Real(int value) : value_(value) {}       // NOLINT(google-explicit-constructor)

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

/// An amount in the middle of a formula, not rounded yet. It is carried in extended precision and in
/// ten-thousandths, so that a currency enters without a division and loses nothing. An amount times a number
/// is an amount, an amount by an amount a number.
class Amount {
 public:
  constexpr Amount(Currency value) : scaled_(static_cast<Extended>(value.scaled())) {}  // NOLINT
  static constexpr Amount FromScaled(Extended scaled) { return Amount(scaled); }
  /// A plain number taken as an amount of so many units.
  static constexpr Amount OfUnits(Real units) { return Amount(units.value() * Currency::kScale); }
  constexpr Extended scaled() const { return scaled_; }

 private:
  explicit constexpr Amount(Extended scaled) : scaled_(scaled) {}
  Extended scaled_;
};

[[noreturn]] void ThrowDivisionByZero();

constexpr Extended CheckedDivisor(Extended divisor) {
  if (divisor == 0) [[unlikely]]
    ThrowDivisionByZero();
  return divisor;
}

constexpr Real operator+(Real a, Real b) { return a.value() + b.value(); }
constexpr Real operator-(Real a, Real b) { return a.value() - b.value(); }
constexpr Real operator*(Real a, Real b) { return a.value() * b.value(); }
/// Raises DivisionByZero when b is 0, whatever a is; so do the other quotients.
constexpr Real operator/(Real a, Real b) { return a.value() / CheckedDivisor(b.value()); }

constexpr Amount operator+(Amount a, Amount b) { return Amount::FromScaled(a.scaled() + b.scaled()); }
constexpr Amount operator-(Amount a, Amount b) { return Amount::FromScaled(a.scaled() - b.scaled()); }
constexpr Amount operator*(Amount a, Real b) { return Amount::FromScaled(a.scaled() * b.value()); }
constexpr Amount operator/(Amount a, Real b) {
  return Amount::FromScaled(a.scaled() / CheckedDivisor(b.value()));
}
constexpr Real operator/(Amount a, Amount b) { return a.scaled() / CheckedDivisor(b.scaled()); }

}  // namespace mox

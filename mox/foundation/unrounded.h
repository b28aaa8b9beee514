#pragma once

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <concepts>
#include <type_traits>

#include "mox/foundation/rounding.h"

// An amount that is not rounded yet, kept as the form by which it comes about: `price * quantity / 100` is a
// small object that knows its operands. So it can be evaluated twice: in double, with a proven bound on the
// error, and again in extended precision where the bound leaves open to which side it is rounded. The result
// is always that of the extended precision. docs/PERFORMANCE.md argues the bound.

namespace mox {

static_assert(FLT_EVAL_METHOD == 0, "the bound counts on doubles that are rounded at each step");
#if defined(__FAST_MATH__) || defined(__ASSOCIATIVE_MATH__) || __FINITE_MATH_ONLY__
#error "amounts are rounded by sums that must be formed as written: compile without -ffast-math"
#endif

/// A number of a line as it is stored: a quantity, a rate, a percent.
class Number {
 public:
  constexpr Number(double value) : value_(value) {}  // NOLINT(google-explicit-constructor)
  constexpr double value() const { return value_; }
  constexpr operator Real() const { return value_; }  // NOLINT(google-explicit-constructor)
  friend constexpr bool operator==(Number a, Number b) { return a.value_ == b.value_; }

 private:
  double value_;
};

/// What is known of a form before its operands are. Its value in double is off by gamma(roundings) times its
/// size at most, where gamma(n) = n u / (1 - n u) and u = 2^-53; the size is that value's own unless terms of
/// a sum may cancel each other.
struct FormShape {
  bool is_amount = false;   ///< in ten-thousandths; else a plain number
  bool may_cancel = false;  ///< a sum of terms that have errors of their own
  int roundings = 0;
  int numbers = 0;  ///< of a line, among the factors
};

template <typename T>
concept Form = std::same_as<std::remove_cv_t<decltype(T::kShape)>, FormShape>;

// --- what forms are made of ---
//
// Each has Near(), its value in double; Exact(), the same operations in extended precision; and IsUsual(),
// which is false where a double might get too small or too great on the way.

struct CurrencyForm {
  static constexpr FormShape kShape{.is_amount = true, .roundings = 1};  // beyond 2^53

  MOX_ALWAYS_INLINE double Near() const { return static_cast<double>(currency.scaled()); }
  Extended Exact() const { return static_cast<Extended>(currency.scaled()); }
  MOX_ALWAYS_INLINE bool IsUsual() const { return true; }

  Currency currency;
};

struct NumberForm {
  static constexpr FormShape kShape{.numbers = 1};

  MOX_ALWAYS_INLINE double Near() const { return number; }
  Extended Exact() const { return number; }
  MOX_ALWAYS_INLINE bool IsUsual() const { return true; }

  double number;
};

/// A whole number that stands in the formula.
struct WholeForm {
  static constexpr FormShape kShape{};

  MOX_ALWAYS_INLINE double Near() const { return whole; }
  Extended Exact() const { return whole; }
  MOX_ALWAYS_INLINE bool IsUsual() const { return true; }

  int whole;
};

template <Form F>
MOX_ALWAYS_INLINE double SizeOf(const F& form) {
  if constexpr (F::kShape.may_cancel) {
    return form.Size();
  } else {
    return std::fabs(form.Near());
  }
}

constexpr bool IsSum(char operation) { return operation == '+' || operation == '-'; }

constexpr FormShape ShapeOf(char operation, const FormShape& a, const FormShape& b, bool by_whole) {
  if (IsSum(operation)) {
    // The sum of what has no error is rounded once, so that its own value bounds its error.
    const bool of_numbers = a.roundings == 0 && b.roundings == 0;
    return {a.is_amount, !of_numbers, std::max(a.roundings, b.roundings) + 1, std::max(a.numbers, b.numbers)};
  }
  const bool is_quotient = operation == '/';
  // By a whole number the compiler multiplies by the reciprocal, which it rounds.
  return {a.is_amount || b.is_amount, a.may_cancel || b.may_cancel,
          a.roundings + b.roundings + (by_whole ? 2 : 1), a.numbers + (is_quotient ? 0 : b.numbers)};
}

/// Two forms and what is done with them.
template <char kOperation, Form A, Form B>
struct CombinedForm {
  static constexpr bool kByWhole = kOperation == '/' && std::same_as<B, WholeForm>;
  static constexpr FormShape kShape = ShapeOf(kOperation, A::kShape, B::kShape, kByWhole);
  static_assert(!IsSum(kOperation) || A::kShape.is_amount == B::kShape.is_amount);
  static_assert(kOperation != '*' || !A::kShape.is_amount || !B::kShape.is_amount);
  static_assert(kOperation != '/' || (!B::kShape.is_amount && !B::kShape.may_cancel),
                "a divisor's error is bounded by its own value");

  MOX_ALWAYS_INLINE double Near() const {
    if constexpr (kOperation == '+') return a.Near() + b.Near();
    if constexpr (kOperation == '-') return a.Near() - b.Near();
    if constexpr (kOperation == '*') return a.Near() * b.Near();
    if constexpr (kOperation == '/') return Divided(a.Near());
  }
  MOX_ALWAYS_INLINE double Size() const {
    if constexpr (IsSum(kOperation)) return SizeOf(a) + SizeOf(b);
    if constexpr (kOperation == '*') return SizeOf(a) * SizeOf(b);
    if constexpr (kOperation == '/') return std::fabs(Divided(SizeOf(a)));
  }
  constexpr Extended Exact() const {
    if constexpr (kOperation == '+') return a.Exact() + b.Exact();
    if constexpr (kOperation == '-') return a.Exact() - b.Exact();
    if constexpr (kOperation == '*') return a.Exact() * b.Exact();
    if constexpr (kOperation == '/') return a.Exact() / CheckedDivisor(b.Exact());
  }
  MOX_ALWAYS_INLINE bool IsUsual() const {
    if constexpr (kOperation == '/' && !kByWhole) {
      const double divisor = std::fabs(b.Near());
      if (!(divisor > 0x1p-60 && divisor < 0x1p60)) return false;
    }
    return a.IsUsual() && b.IsUsual();
  }

  /// Used as an amount or a number, it is that of the extended precision.
  constexpr operator Amount() const  // NOLINT(google-explicit-constructor)
      requires(kShape.is_amount) {
    return Amount::FromScaled(Exact());
  }
  constexpr operator Real() const  // NOLINT(google-explicit-constructor)
      requires(!kShape.is_amount) {
    return Exact();
  }

  A a;
  B b;

 private:
  MOX_ALWAYS_INLINE double Divided(double value) const {
    if constexpr (kByWhole) return value * (1.0 / b.Near());
    return value / b.Near();
  }
};

// --- writing them ---

MOX_ALWAYS_INLINE constexpr CurrencyForm AsForm(Currency currency) { return {currency}; }
MOX_ALWAYS_INLINE constexpr NumberForm AsForm(Number number) { return {number.value()}; }
MOX_ALWAYS_INLINE constexpr WholeForm AsForm(int whole) { return {whole}; }
template <Form F>
MOX_ALWAYS_INLINE constexpr F AsForm(F form) {
  return form;
}

template <typename T>
concept Operand = Form<T> || std::same_as<T, Currency> || std::same_as<T, Number> || std::same_as<T, int>;

/// Those that make a form together: two currencies or two whole numbers do not.
template <typename A, typename B>
concept Operands = Operand<A> && Operand<B> &&(!std::same_as<A, B> || Form<A> || std::same_as<A, Number>);

template <char kOperation, typename A, typename B>
MOX_ALWAYS_INLINE constexpr auto Combine(A a, B b) {
  return CombinedForm<kOperation, decltype(AsForm(a)), decltype(AsForm(b))>{AsForm(a), AsForm(b)};
}

template <typename A, typename B>
requires Operands<A, B> MOX_ALWAYS_INLINE constexpr auto operator+(A a, B b) { return Combine<'+'>(a, b); }
template <typename A, typename B>
requires Operands<A, B> MOX_ALWAYS_INLINE constexpr auto operator-(A a, B b) { return Combine<'-'>(a, b); }
template <typename A, typename B>
requires Operands<A, B> MOX_ALWAYS_INLINE constexpr auto operator*(A a, B b) { return Combine<'*'>(a, b); }
template <typename A, typename B>
requires Operands<A, B> MOX_ALWAYS_INLINE constexpr auto operator/(A a, B b) { return Combine<'/'>(a, b); }

// --- rounding them ---

/// The value in double times a constant. A whole divisor at the end of the form is joined with the constant.
template <Form F>
MOX_ALWAYS_INLINE double NearTimes(const F& form, double constant) {
  if constexpr (requires { requires F::kByWhole; }) {
    return form.a.Near() * (constant * (1.0 / form.b.Near()));
  } else {
    return form.Near() * constant;
  }
}

/// Rounds the amount to 0 to 4 decimals where its value in double leaves no doubt; else answers false. The
/// roundoff is that of a double.
template <Form F>
MOX_ALWAYS_INLINE bool RoundInDouble(const F& form, int decimals, Currency& rounded,
                                     double roundoff = 0x1p-53) {
  // The unit's reciprocal in ten-thousandths, and the nudge in units.
  static constexpr double kPerUnit[] = {1e-4, 1e-3, 1e-2, 1e-1, 1};
  static constexpr double kNudgeInUnits[] = {1e-7, 1e-6, 1e-5, 1e-4, 1e-3};
  static constexpr std::int64_t kScaledUnit[] = {10'000, 1'000, 100, 10, 1};
  static constexpr double kBias = 0x1.8p52;  // leaves no room for a fraction: adding it rounds
  const auto index = static_cast<unsigned>(decimals);
  if (F::kShape.numbers > 1 || index > 4U) [[unlikely]]
    return false;
  const double units = NearTimes(form, kPerUnit[index]);
  const double nudged = units + std::copysign(kNudgeInUnits[index], units);
  const double biased = nudged + kBias;
  const double to_half = 0.5 - std::fabs(nudged - (biased - kBias));
  double size = std::fabs(nudged);
  if constexpr (F::kShape.may_cancel) size = form.Size() * kPerUnit[index] + kNudgeInUnits[index];
  // Also false for what is no number, and for what is too great for the bias.
  const bool certain = to_half > size * ((2 * F::kShape.roundings + 8) * roundoff);
  if (!certain || !form.IsUsual()) [[unlikely]]
    return false;
  const std::int64_t multiple = std::bit_cast<std::int64_t>(biased) - std::bit_cast<std::int64_t>(kBias);
  rounded = Currency::FromScaled(multiple * kScaledUnit[index]);
  return true;
}

template <Form F>
[[gnu::noinline, gnu::cold]] Currency RoundExactly(F form, int decimals) {
  return Round(Amount::FromScaled(form.Exact()), decimals);
}

/// Round of the amount in extended precision, by way of double where that leaves no doubt. Raises as that
/// does, and DivisionByZero.
template <Form F>
requires(F::kShape.is_amount) MOX_ALWAYS_INLINE Currency Round(const F& form, int decimals) {
  Currency rounded;
  if (!RoundInDouble(form, decimals, rounded)) [[unlikely]]
    return RoundExactly(form, decimals);
  return rounded;
}
MOX_ALWAYS_INLINE Currency Round(Currency currency, int decimals) {
  return Round(CurrencyForm{currency}, decimals);
}

MOX_ALWAYS_INLINE Currency R2(const Form auto& form) { return Round(form, 2); }
MOX_ALWAYS_INLINE Currency R2(Currency currency) { return Round(currency, 2); }

}  // namespace mox

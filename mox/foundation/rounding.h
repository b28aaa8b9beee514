#pragma once

#include <cstdint>

#include "mox/foundation/real.h"

namespace mox {

/// The single rounding rule of all calculations, to the multiple of 10^digits: digits is 0 for units, -2 for
/// hundredths. The value is first moved away from zero by 0.0000001 and then rounded to the nearest multiple,
/// ties to even, so that what lies within 1e-07 of a half rounds away from zero (2.675 to 2.68, -2.675 to
/// -2.68). The nudge is absolute: above about 10^9 it is lost in the precision of a double. The result is the
/// double nearest to its decimal; more than 22 decimals count as 22.
///
/// Raises Error "Nepravilno pozivanje fukcije MyRound!!!!!!!" when digits is positive, Overflow when the
/// value is not finite.
double MyRound(double value, int digits);

/// MyRound of an amount to a count of decimals and the storing into a currency field in one step. The nudge
/// and the rounding are done in extended precision, so the nudge holds for amounts up to 10^12.
/// Decimals above the fourth are then rounded off to the nearest ten-thousandth, ties to even, as storing
/// does. Raises as MyRound does for a negative count, and Overflow when a currency cannot hold the result.
Currency Round(Amount amount, int decimals);

/// Round to hundredths.
Currency R2(Amount amount);

/// The nearest ten-thousandth, ties to even: what storing an amount without rounding gives. Raises Overflow.
Currency Stored(Amount amount);

/// Tax amounts and most digit settings have at least two decimals.
constexpr int AtLeast2(int decimals) { return decimals < 2 ? 2 : decimals; }

}  // namespace mox

#include "mox/foundation/rounding_inline.h"

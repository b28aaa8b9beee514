#pragma once

#include "mox/foundation/record_set.h"
#include "mox/foundation/rounding.h"

namespace mox {

// What the calculators share with the line formulas; no part of the library's interface.

/// calcOsnovicaPdviUkupno for lines without a fee: ukupno := osnovica + pdvi.
void calcOsnovicaPdviUkupnoBezPovNak(RecordSet& lines, int d);

/// The tax contained in a gross amount.
inline Amount ContainedTax(Amount gross, Real rate) { return gross * rate / (rate + 100); }

/// A net amount of a gross one.
inline Amount WithoutTax(Amount gross, Real rate) { return gross * 100 / (rate + 100); }

/// percent := margin / base * 100, not rounded; with a base of 0 it keeps its value.
inline void SetMarginPercent(RecordSet& lines, FloatName percent, Currency margin, Currency base) {
  if (!base.IsZero()) lines.Set(percent, Amount(margin) / base * 100);
}

}  // namespace mox

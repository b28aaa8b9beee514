#pragma once

#include <span>
#include <vector>

#include "bench/lines.h"

// The limit that the record set is measured against: the same arithmetic, with the same currency and
// rounding, written by hand over an array of plain structs. Nothing is looked up, checked, undone or told to
// anybody.

namespace mox::bench {

/// Decimals, settings of the user here as there.
struct Digits {
  int tax = 2;
  int price = 2;
};

/// What unrounded amounts are formed in.
enum class Arithmetic {
  kExtended,      ///< extended precision throughout: what all that is measured here is compared with
  kRoundingTest,  ///< double, and extended precision where that leaves the rounding open, as the record set
};

/// What GotovinskiRacunStavkeCalcFields does, once for each line.
void CalculatePlainly(std::span<PlainLine> lines, Digits digits,
                      Arithmetic arithmetic = Arithmetic::kExtended);

/// Adds to the selling price of each line, and calculates before and after: the record set calculates a line
/// twice too, when it becomes current and when it is posted.
void RaisePricesPlainly(std::span<PlainLine> lines, Currency by, Digits digits,
                        Arithmetic arithmetic = Arithmetic::kExtended);

/// The same as a loop that knows no events would do it: each line is calculated once, with the new price.
void RaisePricesOncePlainly(std::span<PlainLine> lines, Currency by, Digits digits,
                            Arithmetic arithmetic = Arithmetic::kExtended);

struct RateRow {
  double rate = 0;
  Currency base;
  Currency tax;
  Currency total;
};

/// What FillPDVData does over ukupno and tbr_stp.
std::vector<RateRow> RecapitulatePlainly(std::span<const PlainLine> lines, Digits digits,
                                         Arithmetic arithmetic = Arithmetic::kExtended);

}  // namespace mox::bench

#include "bench/plain_loop.h"

#include <benchmark/benchmark.h>

#include "mox/foundation/unrounded.h"

namespace mox::bench {
namespace {

// Of numbers as Real all is extended precision.
template <typename Numeric>
void Calculate(PlainLine& line, Digits digits) {
  if (line.kolicina == 0) return;
  const Numeric quantity = line.kolicina;
  const Numeric rate = line.tbr_stp;

  const Currency pci = R2(line.pc * quantity);
  const Currency rbi1 = R2(pci * Numeric(line.rbp1) / 100);
  const Currency rbi2 = R2((pci - rbi1) * Numeric(line.rbp2) / 100);
  const Currency rbi3 = R2((pci - rbi1 - rbi2) * Numeric(line.rbp3) / 100);
  const Currency fee = R2(line.pov_nak * quantity);
  const Currency net = pci - rbi1 - rbi2 - rbi3;

  const Currency mpc = Round((net + net * rate / 100 + fee) / quantity, digits.price);
  const Currency total = R2(mpc * quantity);
  const Currency tax = Round((total - fee) * rate / (rate + 100), digits.tax);
  const Currency base = total - tax - fee;
  const Currency balanced = rbi3 + (net - base);

  line.pci = pci;
  line.rbi1 = rbi1;
  line.rbi2 = rbi2;
  line.rbi3 = balanced;
  line.pov_naki = fee;
  line.mpc = mpc;
  line.ukupno = total;
  line.pdvi = tax;
  line.osnovica = base;
  line.rabatIznos = rbi1 + rbi2 + balanced;
  line.mpci = R2(mpc * quantity);
}

RateRow& RowOf(std::vector<RateRow>& rows, double rate) {
  for (RateRow& row : rows) {
    if (row.rate == rate) return row;
  }
  rows.push_back(RateRow{.rate = rate, .base = {}, .tax = {}, .total = {}});
  return rows.back();
}

template <typename Numeric>
std::vector<RateRow> Recapitulate(std::span<const PlainLine> lines, Digits digits) {
  std::vector<RateRow> rows;
  for (const PlainLine& line : lines) {
    const Numeric rate = line.tbr_stp;
    const Currency taxable = line.ukupno - line.pov_naki - line.neoporezivo;
    const Currency tax = Round(taxable * rate / (rate + 100), digits.tax);
    RateRow& row = RowOf(rows, line.tbr_stp);
    row.base += taxable - tax;
    row.tax += tax;
  }
  for (RateRow& row : rows) {
    row.tax = R2(row.tax);
    row.total = row.base + row.tax + lines.back().pov_naki + lines.back().neoporezivo;
  }
  return rows;
}

// work(calculate) with the calculation of a line in that arithmetic.
template <typename Work>
void WithArithmetic(Arithmetic arithmetic, Work work) {
  if (arithmetic == Arithmetic::kExtended) {
    work([](PlainLine& line, Digits digits) { Calculate<Real>(line, digits); });
  } else {
    work([](PlainLine& line, Digits digits) { Calculate<Number>(line, digits); });
  }
}

}  // namespace

void CalculatePlainly(std::span<PlainLine> lines, Digits digits, Arithmetic arithmetic) {
  WithArithmetic(arithmetic, [&](auto calculate) {
    for (PlainLine& line : lines) calculate(line, digits);
  });
}

void RaisePricesPlainly(std::span<PlainLine> lines, Currency by, Digits digits, Arithmetic arithmetic) {
  WithArithmetic(arithmetic, [&](auto calculate) {
    for (PlainLine& line : lines) {
      calculate(line, digits);
      benchmark::ClobberMemory();  // or the compiler might see that the first pass is overwritten
      line.pc += by;
      calculate(line, digits);
    }
  });
}

void RaisePricesOncePlainly(std::span<PlainLine> lines, Currency by, Digits digits, Arithmetic arithmetic) {
  WithArithmetic(arithmetic, [&](auto calculate) {
    for (PlainLine& line : lines) {
      line.pc += by;
      calculate(line, digits);
    }
  });
}

std::vector<RateRow> RecapitulatePlainly(std::span<const PlainLine> lines, Digits digits,
                                         Arithmetic arithmetic) {
  return arithmetic == Arithmetic::kExtended ? Recapitulate<Real>(lines, digits)
                                             : Recapitulate<Number>(lines, digits);
}

}  // namespace mox::bench

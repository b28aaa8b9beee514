#include "bench/plain_loop.h"

#include <benchmark/benchmark.h>

#include "mox/foundation/rounding.h"

namespace mox::bench {
namespace {

inline void Calculate(PlainLine& line, Digits digits) {
  if (line.kolicina == 0) return;
  const Real quantity = line.kolicina;
  const Real rate = line.tbr_stp;

  const Currency pci = R2(line.pc * quantity);
  const Currency rbi1 = R2(pci * line.rbp1 / 100);
  const Currency rbi2 = R2((pci - rbi1) * line.rbp2 / 100);
  const Currency rbi3 = R2((pci - rbi1 - rbi2) * line.rbp3 / 100);
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

}  // namespace

void CalculatePlainly(std::span<PlainLine> lines, Digits digits) {
  for (PlainLine& line : lines) Calculate(line, digits);
}

void RaisePricesPlainly(std::span<PlainLine> lines, Currency by, Digits digits) {
  for (PlainLine& line : lines) {
    Calculate(line, digits);
    benchmark::ClobberMemory();  // or the compiler might see that the first pass is overwritten
    line.pc += by;
    Calculate(line, digits);
  }
}

void RaisePricesOncePlainly(std::span<PlainLine> lines, Currency by, Digits digits) {
  for (PlainLine& line : lines) {
    line.pc += by;
    Calculate(line, digits);
  }
}

std::vector<RateRow> RecapitulatePlainly(std::span<const PlainLine> lines, Digits digits) {
  std::vector<RateRow> rows;
  for (const PlainLine& line : lines) {
    const Real rate = line.tbr_stp;
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

}  // namespace mox::bench

#include "bench/naive_record_set.h"

#include "mox/foundation/rounding.h"

namespace mox::bench {

NaiveRecordSet::NaiveRecordSet(std::span<const PlainLine> lines) {
  records_.reserve(lines.size());
  for (const PlainLine& line : lines) {
    Record& record = records_.emplace_back();
    for (const Column& column : Columns()) record[column.name] = column.ValueOf(line);
  }
}

void CalculateNaively(NaiveRecordSet& s, Digits digits) {
  const double quantity = s.AsFloat("kolicina");
  if (quantity == 0) return;

  s.SetCurrency("pci", R2(s.AsCurrency("pc") * s.AsFloat("kolicina")));
  s.SetCurrency("rbi1", R2(s.AsCurrency("pci") * s.AsFloat("rbp1") / 100));
  s.SetCurrency("rbi2", R2((s.AsCurrency("pci") - s.AsCurrency("rbi1")) * s.AsFloat("rbp2") / 100));
  s.SetCurrency("rbi3", R2((s.AsCurrency("pci") - s.AsCurrency("rbi1") - s.AsCurrency("rbi2")) *
                           s.AsFloat("rbp3") / 100));
  s.SetCurrency("pov_naki", R2(s.AsCurrency("pov_nak") * s.AsFloat("kolicina")));

  const Currency net =
      s.AsCurrency("pci") - s.AsCurrency("rbi1") - s.AsCurrency("rbi2") - s.AsCurrency("rbi3");
  s.SetCurrency("mpc", Round((net + net * s.AsFloat("tbr_stp") / 100 + s.AsCurrency("pov_naki")) / quantity,
                             digits.price));
  s.SetCurrency("ukupno", R2(s.AsCurrency("mpc") * s.AsFloat("kolicina")));

  const Real rate = s.AsFloat("tbr_stp");
  s.SetCurrency("pdvi",
                Round((s.AsCurrency("ukupno") - s.AsCurrency("pov_naki")) * rate / (rate + 100), digits.tax));
  s.SetCurrency("osnovica", s.AsCurrency("ukupno") - s.AsCurrency("pdvi") - s.AsCurrency("pov_naki"));
  s.SetCurrency("rbi3", s.AsCurrency("rbi3") + (net - s.AsCurrency("osnovica")));
  s.SetCurrency("rabatIznos", s.AsCurrency("rbi1") + s.AsCurrency("rbi2") + s.AsCurrency("rbi3"));
  s.SetCurrency("mpci", R2(s.AsCurrency("mpc") * s.AsFloat("kolicina")));
}

}  // namespace mox::bench

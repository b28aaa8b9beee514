#include "mox/calculations/vat_recapitulation.h"

#include <array>
#include <vector>

#include "mox/calculations/by_rate_internal.h"
#include "mox/calculations/line_formulas_internal.h"
#include "mox/calculations/walks_internal.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"

namespace mox {

using namespace formulas;

namespace {

// What a line keeps out of the tax base.
struct Deductions {
  Currency fee;
  Currency non_taxable;
  Currency Sum() const { return fee + non_taxable; }
};

constexpr auto kOfTheLine = [](const RecordSet& lines) {
  return Deductions{lines.Optional(pov_naki), lines.Optional(neoporezivo)};
};
constexpr auto kNone = [](const RecordSet&) { return Deductions(); };

struct RateSum {
  double rate = 0;
  Currency base;
  Currency tax;
};

// The sums of each rate, in order of first appearance. The rows of the recapitulation are made from them at
// the end of the walks, so that an error on the way leaves it empty rather than half filled.
class RateSums {
 public:
  void Add(double rate, Currency base, Currency tax) {
    RateSum& sum = sums_.Of(rate);
    sum.base += base;
    sum.tax += tax;
  }

  /// Appends a row for each rate: its total is base, tax and what is carried over into every row.
  void WriteTo(RecordSet& recap, Currency carried) const {
    std::vector<std::array<Value, 5>> rows;
    for (const RateSum& sum : sums_.All()) {
      const Currency tax = R2(sum.tax);
      rows.push_back({sum.base, tax, sum.rate, RateText(sum.rate), sum.base + tax + carried});
    }
    for (const auto& row : rows) recap.AppendRecord(row);
    recap.Last();
  }

  std::vector<RateSum>& sums() { return sums_.All(); }

 private:
  ByRate<RateSum> sums_;
};

// Rows are written by position, so the fields are looked at before anything is changed.
void RequireRateRecap(const RecordSet& recap) {
  struct Place {
    const char* name;
    FieldKind kind;
  };
  constexpr Place kPlaces[] = {{osnovica.text, FieldKind::kCurrency},
                               {porez.text, FieldKind::kCurrency},
                               {stopa.text, FieldKind::kFloat},
                               {nullptr, FieldKind::kText},  // the rate as people read it, by any name
                               {ukupno.text, FieldKind::kCurrency}};
  for (std::size_t i = 0; i < std::size(kPlaces); ++i) {
    const auto [name, kind] = kPlaces[i];
    const FieldDef* const field = i < recap.FieldCount() ? &recap.Definition(i) : nullptr;
    if (field != nullptr && field->kind == kind && (name == nullptr || SameName(field->name, name))) continue;
    throw Error(recap.Name() + ": field " + std::to_string(i + 1) + " of a recapitulation by rate is " +
                (name == nullptr ? "a text" : name + std::string(":") + std::string(KindName(kind))) +
                (field == nullptr ? ", and it is missing"
                                  : ", not " + field->name + ":" + std::string(KindName(field->kind))));
  }
}

// Where the amounts and rates of goods and of services stand; either may be absent.
struct AmountFields {
  const std::optional<Field>& amount1;
  const std::optional<Field>& amount2;
  const std::optional<Field>& rate1;
  const std::optional<Field>& rate2;
};

// Walks the lines of both amount fields, add(rate, amount, deductions) each, with what the line keeps out of
// the tax base; lines of the second field keep nothing out. Answers the deductions of the last line of the
// first set.
template <typename ReadDeductions, typename Add>
Deductions SumAmounts(const AmountFields& fields, ReadDeductions read_deductions, Add add) {
  Deductions last;
  for (const bool first : {true, false}) {
    const std::optional<Field>& amount_field = first ? fields.amount1 : fields.amount2;
    const std::optional<Field>& rate_field = first ? fields.rate1 : fields.rate2;
    if (!amount_field) continue;
    if (!rate_field) {
      throw Error(std::string("an amount field is given without its ") +
                  (first ? "RateField1" : "RateField2"));
    }
    RecordSet& lines = amount_field->DataSet();
    std::vector<std::size_t> read = {amount_field->Index(), rate_field->Index()};
    for (const CurrencyName name : {pov_naki, neoporezivo}) {
      if (const auto index = lines.FindFieldIndex(name.text)) read.push_back(*index);
    }
    WalkAndReturn(lines, read, [&] {
      const Currency amount = amount_field->AsCurrency();
      const double rate = rate_field->AsFloat();
      const Deductions deductions = first ? read_deductions(lines) : Deductions();
      add(rate, amount, deductions);
      if (first) last = deductions;
    });
  }
  return last;
}

// Amounts with tax.
template <typename ReadDeductions>
void FillFromGross(const AmountFields& fields, ReadDeductions read_deductions, RecordSet& recap, int digits) {
  digits = AtLeast2(digits);
  RequireRateRecap(recap);
  recap.Clear();
  RateSums sums;
  const Deductions last =
      SumAmounts(fields, read_deductions, [&](double rate, Currency amount, const Deductions& deductions) {
        const Currency taxable = amount - deductions.fee - deductions.non_taxable;
        const Currency tax = Round(ContainedTax(taxable, Number(rate)), digits);
        sums.Add(rate, taxable - tax, tax);
      });
  sums.WriteTo(recap, last.Sum());
}

}  // namespace

void FillPDVData(const std::optional<Field>& amount_field1, const std::optional<Field>& amount_field2,
                 const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                 RecordSet& recap, int digits) {
  FillFromGross({amount_field1, amount_field2, rate_field1, rate_field2}, kOfTheLine, recap, digits);
}

void FillPDVDataPPOM(const std::optional<Field>& amount_field1, const std::optional<Field>& amount_field2,
                     const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                     RecordSet& recap, int digits) {
  FillFromGross({amount_field1, amount_field2, rate_field1, rate_field2}, kNone, recap, digits);
}

void FillPDVDataIznosBezPDV(const std::optional<Field>& amount_field1,
                            const std::optional<Field>& amount_field2,
                            const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                            RecordSet& recap) {
  RequireRateRecap(recap);
  recap.Clear();
  RateSums sums;
  const Deductions last = SumAmounts(
      {amount_field1, amount_field2, rate_field1, rate_field2}, kOfTheLine,
      [&](double rate, Currency amount, const Deductions&) { sums.Add(rate, amount, Currency()); });
  for (RateSum& sum : sums.sums()) sum.tax = R2(sum.base * Number(sum.rate) / 100);
  sums.WriteTo(recap, last.Sum());
}

void FillPDVDataPovDob(const Field& rate_field, const Field& amount_field, RecordSet& recap, int digits) {
  digits = AtLeast2(digits);
  RequireRateRecap(recap);
  recap.Clear();
  RecordSet& lines = amount_field.DataSet();
  RateSums sums;
  Currency last_fee;
  WalkToEnd(lines, [&] {
    const Currency amount = amount_field.AsCurrency();
    const double rate = rate_field.AsFloat();
    last_fee = lines.Optional(pov_naki);
    sums.Add(rate, amount, Round(amount * Number(rate) / 100, digits));
  });
  sums.WriteTo(recap, last_fee);
}

void FillPDVDataKnjigaPopisa(RecordSet& lines, RecordSet& book) {
  const ControlsGuard book_guard(book);
  WalkToEnd(lines, [&] {
    const Currency tax = lines[pdvi];
    const Currency fee = lines.Optional(pov_naki);
    const Currency base = lines[ukupno] - tax - fee;
    const Real rate = lines[tbr_stp];
    WalkToEnd(book, [&] {
      if (book[stopa] != rate) return;
      book.Edit();
      WriteAndPost(book, [&] {
        book.Set(roba_iznos, book[roba_iznos] + base);
        book.Set(porezroba_iznos, book[porezroba_iznos] + tax);
        book.Set(pov_nak_izn, book[pov_nak_izn] + fee);
      });
    });
  });
}

}  // namespace mox

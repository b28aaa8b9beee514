#include "mox/calculations/vat_recapitulation.h"

#include "mox/calculations/line_formulas_internal.h"
#include "mox/calculations/walks_internal.h"
#include "mox/foundation/rounding.h"

namespace mox {

using namespace formulas;

namespace {

// What a line keeps out of the tax base.
struct Deductions {
  Currency fee;
  Currency non_taxable;
  Currency Sum() const { return fee + non_taxable; }
};

Deductions ReadDeductions(const RecordSet& lines) {
  return {lines.Optional(pov_naki), lines.Optional(neoporezivo)};
}

void AddToRate(RecordSet& recap, double rate, Currency base, Currency tax, Currency total) {
  if (recap.Locate(stopa, rate)) {
    recap.Edit();
    recap.Set(osnovica, recap[osnovica] + base);
    recap.Set(porez, recap[porez] + tax);
    recap.Set(ukupno, recap[ukupno] + total);
    recap.Post();
  } else {
    recap.AppendRecord({base, tax, rate, RateText(rate), total});
  }
}

// Walks the lines of one amount field, where it is given: visit(lines, amount, rate).
template <typename Visit>
void WalkAmounts(const std::optional<Field>& amount_field, const std::optional<Field>& rate_field,
                 const char* rate_argument, Visit visit) {
  if (!amount_field) return;
  if (!rate_field) throw Error(std::string("an amount field is given without its ") + rate_argument);
  RecordSet& lines = amount_field->DataSet();
  WalkAndReturn(lines, [&] { visit(lines, amount_field->AsCurrency(), rate_field->AsFloat()); });
}

// Visits every row of the recapitulation, each edited and posted.
template <typename Change>
void FinishRates(RecordSet& recap, Change change) {
  for (recap.First(); !recap.Eof(); recap.Next()) {
    recap.Edit();
    change();
    recap.Post();
  }
}

void RoundTaxAndTotal(RecordSet& recap, Currency carried) {
  FinishRates(recap, [&] {
    recap.Set(porez, R2(recap[porez]));
    recap.Set(ukupno, recap[osnovica] + recap[porez] + carried);
  });
}

// The amount with tax, split into base and tax, joins its rate.
void AddGross(RecordSet& recap, Currency amount, double rate, int digits) {
  const Currency tax = Round(ContainedTax(amount, rate), digits);
  AddToRate(recap, rate, amount - tax, tax, amount);
}

}  // namespace

void FillPDVData(const std::optional<Field>& amount_field1, const std::optional<Field>& amount_field2,
                 const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                 RecordSet& recap, int digits) {
  digits = AtLeast2(digits);
  recap.Clear();
  Deductions last;
  WalkAmounts(amount_field1, rate_field1, "RateField1",
              [&](const RecordSet& lines, Currency amount, double rate) {
                last = ReadDeductions(lines);
                AddGross(recap, amount - last.fee - last.non_taxable, rate, digits);
              });
  WalkAmounts(amount_field2, rate_field2, "RateField2",
              [&](const RecordSet&, Currency amount, double rate) { AddGross(recap, amount, rate, digits); });
  RoundTaxAndTotal(recap, last.Sum());
}

void FillPDVDataPPOM(const std::optional<Field>& amount_field1, const std::optional<Field>& amount_field2,
                     const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                     RecordSet& recap, int digits) {
  digits = AtLeast2(digits);
  recap.Clear();
  const auto add = [&](const RecordSet&, Currency amount, double rate) {
    AddGross(recap, amount, rate, digits);
  };
  WalkAmounts(amount_field1, rate_field1, "RateField1", add);
  WalkAmounts(amount_field2, rate_field2, "RateField2", add);
  RoundTaxAndTotal(recap, Currency());
}

void FillPDVDataIznosBezPDV(const std::optional<Field>& amount_field1,
                            const std::optional<Field>& amount_field2,
                            const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                            RecordSet& recap) {
  recap.Clear();
  Deductions last;
  WalkAmounts(amount_field1, rate_field1, "RateField1",
              [&](const RecordSet& lines, Currency amount, double rate) {
                last = ReadDeductions(lines);
                AddToRate(recap, rate, amount, Currency(), Currency());
              });
  WalkAmounts(amount_field2, rate_field2, "RateField2", [&](const RecordSet&, Currency amount, double rate) {
    AddToRate(recap, rate, amount, Currency(), Currency());
  });
  FinishRates(recap, [&] {
    recap.Set(porez, R2(recap[osnovica] * recap[stopa] / 100));
    recap.Set(ukupno, recap[osnovica] + recap[porez] + last.Sum());
  });
}

void FillPDVDataPovDob(const Field& rate_field, const Field& amount_field, RecordSet& recap, int digits) {
  digits = AtLeast2(digits);
  recap.Clear();
  RecordSet& lines = amount_field.DataSet();
  Currency last_fee;
  WalkToEnd(lines, [&] {
    const Currency amount = amount_field.AsCurrency();
    const double rate = rate_field.AsFloat();
    last_fee = lines.Optional(pov_naki);
    AddToRate(recap, rate, amount, Round(amount * Real(rate) / 100, digits), amount - last_fee);
  });
  RoundTaxAndTotal(recap, last_fee);
}

void FillPDVDataKnjigaPopisa(RecordSet& lines, RecordSet& book) {
  WalkToEnd(lines, [&] {
    const Currency tax = lines[pdvi];
    const Currency fee = lines.Optional(pov_naki);
    const Currency base = lines[ukupno] - tax - fee;
    const Real rate = lines[tbr_stp];
    WalkToEnd(book, [&] {
      if (book[stopa] != rate) return;
      book.Edit();
      book.Set(roba_iznos, book[roba_iznos] + base);
      book.Set(porezroba_iznos, book[porezroba_iznos] + tax);
      book.Set(pov_nak_izn, book[pov_nak_izn] + fee);
      book.Post();
    });
  });
}

}  // namespace mox

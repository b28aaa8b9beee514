#include "mox/calculations/supplier_totals.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "mox/calculations/walks_internal.h"
#include "mox/foundation/rounding.h"
#include "mox/server/read_services.h"

namespace mox {

using namespace field;

namespace {

struct Total {
  Field written_to;
  Currency sum = {};
};

// The goods of one rate and their tax.
struct RateTotals {
  double rate;
  Total goods;
  Total tax;
};

struct Totals {
  std::span<RateTotals> rates;
  Total other_goods;
  Total fee;

  void Write() const {
    const auto write = [](const Total& total) { Field(total.written_to).SetCurrency(total.sum); };
    write(other_goods);
    for (const RateTotals& row : rates) {
      write(row.goods);
      write(row.tax);
    }
    write(fee);
  }
};

// Which lines are summed, and how.
struct Terms {
  bool costs_count;  // with dependent costs
  bool taxed;        // with input tax and return fees
  int digits;        // of the tax of a line
};

// An unrounded amount: a currency is taken as it is, another number with all of its decimals.
Amount AmountOf(const Field& column) {
  if (column.Kind() == FieldKind::kCurrency) return column.AsCurrency();
  return Amount::OfUnits(column.AsFloat());
}

void SumLines(Totals totals, RecordSet& lines, const Terms& terms) {
  totals.other_goods.written_to.DataSet().Edit();
  totals.Write();

  const Field net_value = lines.FieldByName(nfci.text);
  std::optional<Field> costs;
  if (terms.costs_count) costs = lines.FieldByName(zti.text);
  WalkToEnd(lines, [&] {
    const Amount value = costs ? AmountOf(net_value) + AmountOf(*costs) : AmountOf(net_value);
    const Real rate = lines[tbr_stp];
    const auto row = std::find_if(totals.rates.begin(), totals.rates.end(),
                                  [rate](const RateTotals& totals_of) { return rate == totals_of.rate; });
    const bool listed = row != totals.rates.end();
    Currency& goods = listed ? row->goods.sum : totals.other_goods.sum;
    goods = Stored(goods + value);
    if (!terms.taxed) return;
    if (listed) row->tax.sum += Round(value * rate / 100, terms.digits);
    totals.fee.sum += R2(lines.Price(pov_nak) * lines[kolicina]);
  });

  for (RateTotals& row : totals.rates) row.tax.sum = R2(row.tax.sum);
  totals.Write();
}

constexpr DocDobavljacaCaption kBosnianFields[] = {{"roba_0", ""}, {"roba_10", ""}, {"roba_17", ""},
                                                   {"pdv_10", ""}, {"pdv_17", ""},  {"pov_nak", ""}};

RecordSet MakeHeader(std::span<const DocDobavljacaCaption> fields) {
  RecordSet header("DokDobavljaca");
  std::vector<Value> zeros;
  for (const auto& [name, caption] : fields) {
    FieldDef field;
    field.name = name;
    field.kind = FieldKind::kCurrency;
    field.display_name = caption;
    header.DefineField(std::move(field));
    zeros.emplace_back(Currency());
  }
  header.Open();
  header.AppendRecord(zeros);
  return header;
}

}  // namespace

RecordSet MakeDocDobavljaca() { return MakeHeader(kDocDobavljacaCaptions); }

RecordSet MakeDocDobavljacaBIH() { return MakeHeader(kBosnianFields); }

DocDobavljacaBIHFields DocDobavljacaBIHFieldsOf(RecordSet& header) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return DocDobavljacaBIHFields{header.FieldByName(kBosnianFields[I].field)...};
  }
  (std::make_index_sequence<std::size(kBosnianFields)>());
}

DocDobavljacaFields DocDobavljacaFieldsOf(RecordSet& header) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return DocDobavljacaFields{header.FieldByName(kDocDobavljacaCaptions[I].field)...};
  }
  (std::make_index_sequence<std::size(kDocDobavljacaCaptions)>());
}

bool CarriesInputTax(std::string_view doc_kind) { return doc_kind != "RU" && doc_kind != "OK"; }

void CalcDocDobavljaca(const DocDobavljacaFields& header, RecordSet& lines, std::string_view doc_kind,
                       int digits) {
  CalcDocDobavljaca(header, lines, doc_kind, digits, IsAdditionalFeatureAllowed(kCostsCountFeature));
}

void CalcDocDobavljaca(const DocDobavljacaFields& header, RecordSet& lines, std::string_view doc_kind,
                       int digits, bool costs_count) {
  const Terms terms = {
      .costs_count = costs_count, .taxed = CarriesInputTax(doc_kind), .digits = AtLeast2(digits)};
  RateTotals rates[] = {{22, {header.roba_22}, {header.pdv_22}}, {23, {header.roba_23}, {header.pdv_23}},
                        {25, {header.roba_25}, {header.pdv_25}}, {13, {header.roba_13}, {header.pdv_13}},
                        {10, {header.roba_10}, {header.pdv_10}}, {5, {header.roba_5}, {header.pdv_5}}};
  SumLines({rates, {header.roba_0}, {header.pov_nak}}, lines, terms);
}

void CalcDocDobavljacaBIH(const DocDobavljacaBIHFields& header, RecordSet& lines, std::string_view doc_kind) {
  RateTotals rates[] = {{17, {header.roba_17}, {header.pdv_17}}, {10, {header.roba_10}, {header.pdv_10}}};
  SumLines({rates, {header.roba_0}, {header.pov_nak}}, lines,
           {.costs_count = false, .taxed = doc_kind != "RU", .digits = 2});
}

}  // namespace mox

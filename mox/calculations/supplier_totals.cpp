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
  std::vector<RateTotals> rates;
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

Totals TotalsOf(const DocDobavljacaFields& header) {
  return {{{22, {header.roba_22}, {header.pdv_22}},
           {23, {header.roba_23}, {header.pdv_23}},
           {25, {header.roba_25}, {header.pdv_25}},
           {13, {header.roba_13}, {header.pdv_13}},
           {10, {header.roba_10}, {header.pdv_10}},
           {5, {header.roba_5}, {header.pdv_5}}},
          {header.roba_0},
          {header.pov_nak}};
}

Totals TotalsOf(const DocDobavljacaBIHFields& header) {
  return {{{17, {header.roba_17}, {header.pdv_17}}, {10, {header.roba_10}, {header.pdv_10}}},
          {header.roba_0},
          {header.pov_nak}};
}

// Which lines are summed, and how.
struct Terms {
  bool costs_count;  // with dependent costs
  bool taxed;        // with input tax and return fees
  int digits;        // of the tax of a line
};

Terms TermsOf(std::string_view doc_kind, int digits, bool costs_count) {
  return {.costs_count = costs_count,
          .taxed = CarriesInputTax(doc_kind, SupplierEdition::kDomestic),
          .digits = AtLeast2(digits)};
}

Terms BosnianTermsOf(std::string_view doc_kind) {
  return {.costs_count = false, .taxed = CarriesInputTax(doc_kind, SupplierEdition::kBosnian), .digits = 2};
}

// An unrounded amount of a line: a currency is taken as it is, another number with all of its decimals.
template <typename Line>
Amount AmountOf(const Line& line, std::size_t column) {
  if (line.Definition(column).kind == FieldKind::kCurrency) return line.AsCurrency(column);
  return Amount::OfUnits(line.AsFloat(column));
}

// Sums what `visit(add)` adds, add(value, rate, fee) for each line, into the header's record.
template <typename Visit>
void SumInto(Totals totals, const Terms& terms, Visit visit) {
  totals.other_goods.written_to.DataSet().Edit();
  totals.Write();

  visit([&](Amount value, Real rate, const auto& fee) {
    const auto row = std::find_if(totals.rates.begin(), totals.rates.end(),
                                  [rate](const RateTotals& totals_of) { return rate == totals_of.rate; });
    const bool listed = row != totals.rates.end();
    Currency& goods = listed ? row->goods.sum : totals.other_goods.sum;
    goods = Stored(goods + value);
    if (!terms.taxed) return;
    if (listed) row->tax.sum += Round(value * rate / 100, terms.digits);
    totals.fee.sum += R2(fee());
  });

  for (RateTotals& row : totals.rates) row.tax.sum = R2(row.tax.sum);
  totals.Write();
}

// Walks the lines to their end. They have all of the columns.
void SumLines(Totals totals, RecordSet& lines, const Terms& terms) {
  SumInto(std::move(totals), terms, [&](const auto& add) {
    const Field net_value = lines.FieldByName(nfci.text);
    std::optional<Field> costs;
    if (terms.costs_count) costs = lines.FieldByName(zti.text);
    WalkToEnd(lines, [&] {
      const Amount value = AmountOf(lines, net_value.Index());
      add(costs ? value + AmountOf(lines, costs->Index()) : value, lines[tbr_stp],
          [&] { return lines.Price(pov_nak) * lines[kolicina]; });
    });
  });
}

constexpr DocDobavljacaCaption kBosnianFields[] = {{"roba_0", "Vrijednost robe (0%):"},
                                                   {"roba_10", "Vrijednost robe (10%):"},
                                                   {"roba_17", "Vrijednost robe (17%):"},
                                                   {"pdv_10", "PDV (10%):"},
                                                   {"pdv_17", "PDV (17%):"},
                                                   {"pov_nak", "Povratna naknada:"}};

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

RecordSet MakeSupplierTotals(SupplierEdition edition) {
  return edition == SupplierEdition::kBosnian ? MakeDocDobavljacaBIH() : MakeDocDobavljaca();
}

SupplierEdition EditionOfTotals(const RecordSet& header) {
  const bool is_bosnian = header.FindFieldIndex("roba_17") && !header.FindFieldIndex("roba_25");
  return is_bosnian ? SupplierEdition::kBosnian : SupplierEdition::kDomestic;
}

std::span<const std::string_view> KindsWithoutInputTax(SupplierEdition edition) {
  static constexpr std::string_view kKinds[] = {"RU", "OK"};
  return std::span(kKinds).first(edition == SupplierEdition::kBosnian ? 1 : std::size(kKinds));
}

bool CarriesInputTax(std::string_view doc_kind, SupplierEdition edition) {
  const auto without = KindsWithoutInputTax(edition);
  return std::find(without.begin(), without.end(), doc_kind) == without.end();
}

void CalcDocDobavljaca(const DocDobavljacaFields& header, RecordSet& lines, std::string_view doc_kind,
                       int digits) {
  const bool costs_count = IsAdditionalFeatureAllowed(kCostsCountFeature);
  SumLines(TotalsOf(header), lines, TermsOf(doc_kind, digits, costs_count));
}

void CalcDocDobavljacaBIH(const DocDobavljacaBIHFields& header, RecordSet& lines, std::string_view doc_kind) {
  SumLines(TotalsOf(header), lines, BosnianTermsOf(doc_kind));
}

void SumSupplierDocument(RecordSet& header, const RecordTable& lines, std::string_view doc_kind, int digits,
                         bool costs_count) {
  const bool bosnian = EditionOfTotals(header) == SupplierEdition::kBosnian;
  const Terms terms = bosnian ? BosnianTermsOf(doc_kind) : TermsOf(doc_kind, digits, costs_count);
  const auto net_value = lines.Find(nfci.text);
  const auto costs = terms.costs_count ? lines.Find(zti.text) : std::nullopt;
  SumInto(bosnian ? TotalsOf(DocDobavljacaBIHFieldsOf(header)) : TotalsOf(DocDobavljacaFieldsOf(header)),
          terms, [&](const auto& add) {
            for (const RecordRow& line : lines) {
              const auto amount = [&line](const std::optional<std::size_t>& column) {
                return column ? AmountOf(line, *column) : Amount(Currency());
              };
              add(amount(net_value) + amount(costs), line.Optional(tbr_stp), [&] {
                return (line.Has(pov_nak) ? line.Price(pov_nak) : Currency()) * line.Optional(kolicina);
              });
            }
          });
}

}  // namespace mox

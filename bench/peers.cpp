#include "bench/peers.h"

#include <algorithm>
#include <stdexcept>

#include "mox/calculations/document_lines.h"
#include "mox/calculations/vat_recapitulation.h"
#include "mox/documents/document_kinds.h"

namespace mox::bench {
namespace {

std::vector<PlainLine> MakeCalculatedLines() {
  std::vector<PlainLine> lines = MakeLines(kLineCount);
  CalculatePlainly(lines, kDigits);
  return lines;
}

RecordSet MakeRecapitulation() {
  RecordSet set("pdv");
  set.DefineField("osnovica", FieldKind::kCurrency);
  set.DefineField("porez", FieldKind::kCurrency);
  set.DefineField("stopa", FieldKind::kFloat);
  set.DefineField("oznaka_stope", FieldKind::kText, 20);
  set.DefineField("ukupno", FieldKind::kCurrency);
  set.Open();
  return set;
}

std::string RateName(double rate) { return "rate " + std::to_string(static_cast<int>(rate)); }

[[noreturn]] void Differ(const std::string& where, Currency value, Currency expected) {
  throw std::runtime_error("the benchmark's peers differ: " + where + " is " + value.ToString() + ", and " +
                           expected.ToString() + " in the plain loop");
}

// Compares all calculated fields of as many lines as the set has, value_of(column) of its current record.
template <typename Set, typename ValueOf>
void CheckLines(const char* whose, Set& set, std::span<const PlainLine> plain, ValueOf value_of) {
  auto expected = plain.begin();
  for (set.First(); !set.Eof(); set.Next(), ++expected) {
    if (expected == plain.end()) throw std::runtime_error(std::string(whose) + " has too many lines");
    for (std::size_t i = 0; i < kColumnCount; ++i) {
      const Column& column = Columns()[i];
      if (!column.calculated) continue;
      const Currency value = value_of(i);
      const auto plain_value = std::get<Currency>(column.ValueOf(*expected));
      if (value != plain_value) {
        Differ(std::string(whose) + "'s " + column.name + " of line " + std::to_string(expected->id), value,
               plain_value);
      }
    }
  }
  if (expected != plain.end()) throw std::runtime_error(std::string(whose) + " has too few lines");
}

void CheckRecapitulation(RecordSet& recapitulation, const std::vector<RateRow>& plain) {
  if (recapitulation.RecordCount() != plain.size()) throw std::runtime_error("the peers' rates differ");
  recapitulation.First();
  for (const RateRow& row : plain) {
    const std::string of_rate = " of " + RateName(row.rate);
    if (recapitulation[field::stopa] != row.rate) {
      throw std::runtime_error("the recapitulation has no row" + of_rate + " in its place");
    }
    const auto check = [&](CurrencyName name, Currency expected) {
      if (recapitulation[name] != expected) Differ(name.text + of_rate, recapitulation[name], expected);
    };
    check(field::osnovica, row.base);
    check(field::porez, row.tax);
    check(field::ukupno, row.total);
    recapitulation.Next();
  }
}

// Doubles may round a line to the next cent; more than a handful of cents in a sum is a fault.
std::string DescribeSqliteDifference(const std::vector<RateRow>& rows, const std::vector<RateRow>& plain) {
  constexpr Currency kTolerated = Currency::FromScaled(Currency::kScale);
  if (rows.size() != plain.size()) throw std::runtime_error("SQLite has other rates than the plain loop");
  std::string differences;
  for (const RateRow& expected : plain) {
    const auto row =
        std::find_if(rows.begin(), rows.end(), [&](const RateRow& r) { return r.rate == expected.rate; });
    if (row == rows.end()) throw std::runtime_error("SQLite has no sums of " + RateName(expected.rate));
    const Currency base = row->base - expected.base;
    const Currency tax = row->tax - expected.tax;
    if (std::max({base, -base, tax, -tax}) > kTolerated) {
      Differ("SQLite's tax of " + RateName(expected.rate), row->tax, expected.tax);
    }
    if (base.IsZero() && tax.IsZero()) continue;
    differences +=
        "; at " + RateName(expected.rate) + " base by " + base.ToString() + ", tax by " + tax.ToString();
  }
  return differences.empty() ? "no difference" : "differ" + differences;
}

}  // namespace

Peers::Peers()
    : plain_(MakeCalculatedLines()),
      lines_(MakeRecordSet(MakeLines(kLineCount))),
      naive_(MakeLines(kNaiveLineCount)),
      sqlite_(plain_),
      some_lines_(MakeRecordSet(std::span(plain_).first(kTextLineCount))),
      recapitulation_(MakeRecapitulation()) {
  naive_.SetOnCalcFields([](NaiveRecordSet& line) { CalculateNaively(line, kDigits); });
  Walk(LinesWithEvent());
}

RecordSet& Peers::LinesWithEvent() {
  lines_.SetOnCalcFields([](RecordSet& line) { GotovinskiRacunStavkeCalcFields(line, kDigits.tax); });
  return lines_;
}

RecordSet& Peers::LinesWithSettlingEvent() {
  CalculateByEvent(DocumentKindByName("gotovinski-racun").goods, lines_, {.vat = kDigits.tax});
  return lines_;
}

RecordSet& Peers::LinesWithoutEvent() {
  lines_.SetOnCalcFields(nullptr);
  return lines_;
}

void Peers::Check() {
  RecordSet& lines = LinesWithoutEvent();
  const auto value_of_field = [&](std::size_t column) { return lines.AsCurrency(column); };
  CheckLines("the record set", lines, plain_, value_of_field);
  CheckLines("the naive record set", naive_, std::span(plain_).first(kNaiveLineCount),
             [&](std::size_t column) { return naive_.AsCurrency(Columns()[column].name); });

  // Both post, and both come back to the prices that the others have.
  const Currency by = Currency::FromUnits(1);
  RaisePrices(LinesWithEvent(), by);
  RaisePricesPlainly(plain_, by, kDigits);
  CheckLines("the posted record set", LinesWithoutEvent(), plain_, value_of_field);
  Walk(LinesWithSettlingEvent());
  RaisePrices(lines_, by);
  RaisePrices(lines_, -by - by);
  RaisePricesOncePlainly(plain_, -by, kDigits);
  CheckLines("the record set posted again", LinesWithoutEvent(), plain_, value_of_field);

  const std::vector<RateRow> expected = RecapitulatePlainly(plain_, kDigits);
  Recapitulate(lines, recapitulation_);
  CheckRecapitulation(recapitulation_, expected);
  sqlite_difference_ = DescribeSqliteDifference(sqlite_.Recapitulate(), expected);
}

void Walk(RecordSet& lines) {
  for (lines.First(); !lines.Eof(); lines.Next()) {
  }
}

void RaisePrices(RecordSet& lines, Currency by) {
  for (lines.First(); !lines.Eof(); lines.Next()) {
    lines.Edit();
    lines.Set(field::pc, lines[field::pc] + by);
    lines.Post();
  }
}

void Recapitulate(RecordSet& lines, RecordSet& recapitulation) {
  FillPDVData(lines.FieldByName("ukupno"), std::nullopt, lines.FieldByName("tbr_stp"), std::nullopt,
              recapitulation, kDigits.tax);
}

}  // namespace mox::bench

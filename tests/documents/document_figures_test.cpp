#include "mox/documents/document_figures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>

#include "mox/calculations/vat_recapitulation.h"
#include "mox/documents/document.h"
#include "mox/foundation/error.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/with_parameters.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

using Names = std::vector<std::string_view>;

using DocumentFiguresTest = WithParameters;

using Changes = std::vector<std::pair<std::string_view, Value>>;

// The fault of lines of which some fields are others.
std::string FaultOf(const DocumentKind& kind, RecordSet& lines, const Changes& changes) {
  RecordSet changed;
  changed.CleanClone(lines);
  changed.First();
  changed.Edit();
  for (const auto& [field, value] : changes) changed.FieldByName(field).SetVariant(value);
  changed.Post();
  const bool are_goods = lines.Name() == "Stavke";
  return ErrorOf([&] {
    CheckFigures(kind, {are_goods ? &changed : nullptr, are_goods ? nullptr : &changed});
  });
}

// What the calculators make of odd quantities and prices is never refused; an amount that no rounding of its
// price explains, and a rate that is none, is.
TEST_F(DocumentFiguresTest, RefuseAmountsThatAreNotQuantityTimesPrice) {
  std::mt19937 random(5);  // NOLINT: the same lines in every run
  for (const DocumentKind& kind : DocumentKinds()) {
    Document document(kind);
    for (RecordSet* const lines : {document.Goods(), document.Services()}) {
      for (const double quantity : {1.0, -3.0, 0.125, 1.0 / 3, 1000.0, 123456.789}) {
        if (lines == nullptr) continue;
        EnterLines(*lines, 1, [&](const VocabularyEntry& entry) {
          const double value = static_cast<double>(random() % 1'000'000) / 10'000;
          if (entry.name == "kolicina") return quantity;
          return entry.name == "tbr_stp" ? 13 : entry.name.starts_with("rbp") ? value / 4 : value;
        });
      }
    }
    EXPECT_NO_THROW(document.StoreRequest()) << kind.name;
    for (RecordSet* const lines : {document.Goods(), document.Services()}) {
      if (lines == nullptr) continue;
      const LineSchema& schema = lines == document.Goods() ? kind.goods : kind.services;
      const Names calculated = SplitNames(schema.calculated);
      const auto is_calculated = [&](std::string_view name) {
        return std::find(calculated.begin(), calculated.end(), name) != calculated.end();
      };
      for (const std::string_view price : SplitNames(schema.inputs)) {
        const std::string amount = std::string(price) + 'i';
        if (!is_calculated(amount)) continue;
        lines->First();
        const Value wrong = lines->FieldByName(amount).AsCurrency() + Currency::Parse("0.02");
        EXPECT_NE(FaultOf(kind, *lines, {{amount, wrong}}).find("is not kolicina 1 times"), std::string::npos)
            << kind.name << " " << amount;
      }
      for (const std::string_view sum : schema.sums) {
        const std::string whole(SplitNames(sum).front());
        lines->First();
        const Value wrong = lines->FieldByName(whole).AsCurrency() + Currency::Parse("0.02");
        EXPECT_NE(FaultOf(kind, *lines, {{whole, wrong}}).find(" row 1: " + whole + ": "), std::string::npos)
            << kind.name << " " << sum;
      }
      for (const PercentOf& rule : schema.percents) {
        lines->First();
        const Value wrong = lines->FieldByName(rule.percent).AsFloat() + 3;
        const std::string told = " % (" + std::string(rule.percent) + ") o";
        EXPECT_NE(FaultOf(kind, *lines, {{rule.percent, wrong}}).find(told), std::string::npos)
            << kind.name << " " << rule.amount;
      }
      // The base, the tax and what is to be paid rest on the calculation; of lines with tax no discount does.
      const auto is_missed = [&](std::string_view name) {
        return FaultOf(kind, *lines, {{name, Value()}}).find(std::string(name) + ": is not calculated") !=
               std::string::npos;
      };
      std::string figures = std::string(schema.base) + ' ' + std::string(schema.tax) + ' ';
      if (schema.to_be_paid) figures += schema.to_be_paid->text;
      for (const std::string_view name : SplitNames(figures)) {
        EXPECT_EQ(is_missed(name), is_calculated(name)) << kind.name << " " << name;
      }
      EXPECT_FALSE(lines->FindField("rbi1") && is_missed("rbi1")) << kind.name;
      for (const double rate : {-5.0, 100.5}) {
        if (!lines->FindField("tbr_stp")) continue;
        EXPECT_NE(FaultOf(kind, *lines, {{"tbr_stp", rate}}).find("is no rate of tax"), std::string::npos)
            << kind.name;
      }
    }
  }
}

// QUANTITY PRICE AMOUNT of a line of stock
std::string FaultOfPrice(const Words& row) {
  RecordSet lines =
      EmptySet("Stavke", "kolicina:float,nc:currency,nci:currency,vpci:currency,marza:currency");
  AppendTo(lines, row.at(0) + '|' + row.at(1) + '|' + row.at(2) + '|' + row.at(2) + "|0");
  return FaultOf(DocumentKindByName("pocetno-stanje"), lines, {});
}

// KIND FIELD=AMOUNT...: fields of a line of one piece at 10 that are others than the calculated ones; nothing
// stands for null
std::string FaultOfFigures(const Words& row) {
  Document document(row.at(0));
  RecordSet& lines = document.Goods() != nullptr ? *document.Goods() : *document.Services();
  lines.Append();
  for (const char* const name :
       {"kolicina", "pc", "vpc", "mpc", "nc", "fc", "tbr_stp", "osnovicaroba", "osnovicausluge"}) {
    const auto field = lines.FindFieldIndex(name);
    if (!field || lines.Definition(*field).calculated) continue;
    lines.SetFloat(*field, std::string_view(name) == "kolicina"  ? 1
                           : std::string_view(name) == "tbr_stp" ? 25
                                                                 : 10);
  }
  lines.Post();
  Changes changes;
  for (const std::string& word : std::span(row).subspan(1)) {
    const std::size_t equals = word.find('=');
    const std::string amount = word.substr(equals + 1);
    changes.emplace_back(std::string_view(word).substr(0, equals),
                         amount.empty() ? Value() : Value(Currency::Parse(amount)));
  }
  return FaultOf(document.Kind(), lines, changes);
}

TEST_F(DocumentFiguresTest, FollowTheirTables) {
  ExpectTables("figures", {{"prices", FaultOfPrice}, {"figures", FaultOfFigures}}, "documents");
}

// What the last line keeps out of the tax stands in the total of a rate, as whoever recapitulates such lines
// has it.
TEST_F(DocumentFiguresTest, TakeTotalsThatCarryWhatTheLastLineKeepsOut) {
  for (const char* const column : {"pov_naki", "neoporezivo"}) {
    Document document("storno-primke-kalkulacije");
    RecordSet& entered = *document.Goods();
    for (const double price : {3.36, 5.0})
      EnterLine(entered, {{"fc", price}, {"vpc", price}, {"tbr_stp", price}, {"kolicina", -2}});
    RecordSet goods("Stavke");
    for (std::size_t i = 0; i < entered.FieldCount(); ++i) goods.DefineField(entered.Definition(i));
    if (!goods.FindField(column)) goods.DefineField(column, FieldKind::kCurrency);
    goods.Open();
    goods.DataTransfer(entered);
    goods.Last();
    goods.Edit();
    goods.FieldByName(column).SetFloat(-0.5);
    goods.Post();
    RecordSet& recap = *document.Recapitulation();
    FillPDVDataIznosBezPDV(goods.FieldByName("nfci"), std::nullopt, goods.FieldByName("tbr_stp"),
                           std::nullopt, recap);
    EXPECT_NO_THROW(CheckFigures(document.Kind(), {&goods, nullptr, &recap})) << column;
    recap.Edit();
    recap.Set(field::ukupno, recap[field::ukupno] - Currency::Parse("0.5"));
    recap.Post();
    EXPECT_THROW(CheckFigures(document.Kind(), {&goods, nullptr, &recap}), Error) << column;
  }
}

}  // namespace
}  // namespace mox

#include "mox/documents/document_figures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "mox/calculations/vat_recapitulation.h"
#include "mox/documents/document.h"
#include "mox/foundation/error.h"
#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"

namespace mox {
namespace {

using Names = std::vector<std::string_view>;

class DocumentFiguresTest : public testing::Test {
 protected:
  CompanyParameterModule parameters_;

 private:
  MemorySettings settings_;
  ScopedApp app_{{.ini = &settings_, .comunication = &parameters_}};
};

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
  try {
    CheckFigures(kind, {are_goods ? &changed : nullptr, are_goods ? nullptr : &changed});
  } catch (const Error& error) {
    return error.what();
  }
  return {};
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
        lines->Append();
        for (std::size_t f = 0; f < lines->FieldCount(); ++f) {
          const FieldDef& field = lines->Definition(f);
          if (field.calculated || FindVocabularyEntry(field.name) == nullptr) continue;
          const double value = static_cast<double>(random() % 1'000'000) / 10'000;
          lines->SetFloat(f, field.name == "kolicina" ? quantity : field.name == "tbr_stp" ? 13 : value);
        }
        lines->Post();
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

// Prices that were cut to two or to four decimals after their amounts were made.
TEST_F(DocumentFiguresTest, AllowPricesThatWereRounded) {
  const auto fault = [](double quantity, const char* price, const char* amount) {
    RecordSet lines("Stavke");
    lines.DefineField("kolicina", FieldKind::kFloat);
    for (const char* const name : {"nc", "nci", "vpci", "marza"}) {
      lines.DefineField(name, FieldKind::kCurrency);
    }
    lines.Open();
    const Value price_or_null = *price == '\0' ? Value() : Value(Currency::Parse(price));
    lines.AppendRecord({quantity, price_or_null, Currency::Parse(amount), Currency(), Currency()});
    return FaultOf(DocumentKindByName("pocetno-stanje"), lines, {{"vpci", Currency()}});
  };
  EXPECT_EQ(fault(3, "3.33", "10.00"), "");
  EXPECT_EQ(fault(-3, "3.33", "-10.00"), "");
  EXPECT_EQ(fault(100'000, "0.1235", "12345.60"), "");
  EXPECT_EQ(fault(0, "5.00", "7.00"), "");
  EXPECT_EQ(fault(3, "", "10.00"), "");
  // just half a hundredth and half the last decimal apart, and in floating point a little more
  EXPECT_EQ(fault(1, "0.00", "0.01"), "");
  EXPECT_EQ(fault(1, "0.03", "0.04"), "");
  // just below it, and rounded up all the same
  EXPECT_EQ(fault(0.000001, "4999.95", "0.01"), "");
  EXPECT_EQ(fault(3, "3.33", "10.02"), "Stavke: row 1: nci: 10.02 is not kolicina 3 times nc 3.33");
  EXPECT_NE(fault(3, "3.3334", "10.02"), "");
  EXPECT_NE(fault(100'000, "0.1235", "12356.00"), "");
  EXPECT_NE(fault(-2, "10.00", "20.00"), "");
}

// Figures of one line that agree among themselves, but rest on nothing, or are a cent off.
TEST_F(DocumentFiguresTest, RefuseFiguresThatDoNotFollowFromEachOther) {
  struct Case {
    const char* kind;
    Changes changes;
    const char* fault;
  };
  const auto money = [](const char* text) { return Value(Currency::Parse(text)); };
  const Case cases[] = {
      {"mal-gotovinski-racun",
       {{"pdvi", money("199.80")}, {"pci", money("999")}, {"pc", money("999")}},
       "pci: 999.00 is not mpci 10.00 less popust_iznos 0.00"},
      {"mal-gotovinski-racun",
       {{"pdvi", money("199.80")}, {"pci", money("999")}, {"popust_iznos", money("-989")}},
       "pci: 999.00 is not kolicina 1 times pc 10"},
      {"racun-usluga",
       {{"osnovica", money("1")}, {"pdvi", money("0.25")}, {"ukupno", money("1.25")}},
       "osnovica: 1.00 is not pci 10.00 less rbi1 0.00"},
      {"racun-usluga",
       {{"ukupno", money("12.51")}},
       "ukupno: 12.51 is not base 10.00, tax 2.50 and fee 0.00"},
      {"racun-usluga",
       {{"pdvi", money("2.51")}, {"ukupno", money("12.51")}},
       "pdvi: 2.51 is not 25 % of base 10.00"},
      {"gotovinski-racun",
       {{"osnovica", money("20")}, {"pdvi", money("5")}, {"ukupno", money("25")}, {"rbi3", money("-10")}},
       "ukupno: 25.00 is not kolicina 1 times mpc 12.5"},
      {"gotovinski-racun-usluga",
       {{"vpci", money("80")}, {"pdvi", money("20")}, {"ukupno", money("100")}},
       "ukupno: 100.00 is not mpci 10.00 less rbi1 0.00"},
      {"radni-nalog",
       {{"mpci", money("125")}, {"pdvi", money("25")}},
       "mpci: 125.00 is not kolicina 1 times mpc 12.5"},
      {"mal-dnevni-izv-blag",
       {{"pdviroba", money("102.50")}, {"pdviusluge", money("-97.50")}},
       "pdviroba: 102.50 is not 25 % of base 10.00"},
      {"primka-kalkulacija",
       {{"nfci", money("1")}},
       "nfci: 1.00 is not fci 10.00 less rbi1 0.00 less rbi2 0.00 less rbi3 0.00 and pot_naki 0.00"},
      {"racun-vlastite-potrebe",
       {{"osnovica", money("1")}, {"pdvi", money("0.25")}, {"ukupno", money("1.25")}},
       "ukupno: 1.25 is not nci 10.00 and pdvi 0.25 and pov_naki 0.00"},
  };
  for (const auto& [kind, changes, fault] : cases) {
    Document document(kind);
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
    EXPECT_EQ(FaultOf(document.Kind(), lines, changes), lines.Name() + ": row 1: " + fault) << kind;
  }
}

// What the last line keeps out of the tax stands in the total of a rate, as whoever recapitulates such lines
// has it.
TEST_F(DocumentFiguresTest, TakeTotalsThatCarryWhatTheLastLineKeepsOut) {
  for (const char* const column : {"pov_naki", "neoporezivo"}) {
    Document document("storno-primke-kalkulacije");
    RecordSet& entered = *document.Goods();
    for (const double price : {3.36, 5.0}) {
      entered.Append();
      for (const char* const name : {"fc", "vpc", "tbr_stp"}) entered.FieldByName(name).SetFloat(price);
      entered.FieldByName("kolicina").SetFloat(-2);
      entered.Post();
    }
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

// The discounts stand in one sum alone.
TEST_F(DocumentFiguresTest, TakeLinesWithoutEachDiscount) {
  Document document("gotovinski-racun");
  RecordSet& entered = *document.Goods();
  entered.Append();
  entered.FieldByName("kolicina").SetFloat(3);
  entered.FieldByName("pc").SetFloat(10);
  entered.FieldByName("rbp1").SetFloat(10);
  entered.FieldByName("tbr_stp").SetFloat(25);
  entered.Post();
  RecordSet goods("Stavke");
  for (std::size_t i = 0; i < entered.FieldCount(); ++i) {
    if (!entered.Definition(i).name.starts_with("rbi")) goods.DefineField(entered.Definition(i));
  }
  goods.Open();
  goods.DataTransfer(entered);
  document.Recapitulate();
  EXPECT_NO_THROW(CheckFigures(document.Kind(), {&goods, nullptr, document.Recapitulation()}));
}

}  // namespace
}  // namespace mox

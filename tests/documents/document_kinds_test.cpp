#include "mox/documents/document_kinds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "mox/documents/document.h"
#include "mox/documents/document_books.h"
#include "mox/documents/pending_links.h"
#include "mox/foundation/error.h"
#include "tests/documents/counted_kind.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/with_parameters.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

using Names = std::vector<std::string_view>;

Names Without(Names names, std::string_view left_out) {
  std::erase(names, left_out);
  return names;
}

// Calculates one line whose inputs are 2 and whose calculated fields are null, and hands out which of these
// were written. Raises what the calculator raises.
std::set<std::string_view> WrittenBy(const LineSchema& schema, const Names& inputs, const Names& calculated) {
  RecordSet lines;
  const auto define = [&lines](std::string_view name, bool is_calculated) {
    FieldDef field;
    field.name = name;
    field.kind = FindVocabularyEntry(name)->kind;
    field.calculated = is_calculated;
    lines.DefineField(std::move(field));
  };
  for (const std::string_view name : inputs) define(name, false);
  for (const std::string_view name : calculated) define(name, true);
  lines.SetOnCalcFields([&](RecordSet& records) { schema.calculate(records, {}); });
  lines.Open();
  lines.Append();
  for (const std::string_view name : inputs) lines.FieldByName(name).SetFloat(2);
  lines.Post();
  std::set<std::string_view> written;
  for (const std::string_view name : calculated) {
    if (!lines.FieldByName(name).IsNull()) written.insert(name);
  }
  return written;
}

std::vector<const LineSchema*> SchemasOf(const DocumentKind& kind) {
  std::vector<const LineSchema*> schemas;
  if (kind.goods.Exists()) schemas.push_back(&kind.goods);
  if (kind.services.Exists()) schemas.push_back(&kind.services);
  return schemas;
}

// The columns that the recapitulation of a kind takes.
std::set<std::string> RecapColumns(const DocumentKind& kind) {
  std::set<std::string> columns = {kind.recap.first.amount.text, kind.recap.first.rate.text};
  if (kind.recap.second) columns.insert({kind.recap.second->amount.text, kind.recap.second->rate.text});
  return columns;
}

// Without its event; empty where there is none.
RecordSet CopyOf(const RecordSet* records) {
  RecordSet copy;
  if (records == nullptr) return copy;
  copy.CleanClone(*records);
  copy.First();
  return copy;
}

// What is wrong with the figures where the recapitulation says something else: a field with another value, or
// with so much more, one row more, or no rows. Kinds that tax the whole base leave the tax of their lines
// more room.
std::string FaultAfter(Document& document, const std::string& change) {
  RecordSet goods = CopyOf(document.Goods());
  RecordSet services = CopyOf(document.Services());
  RecordSet recap("Rekapitulacija");
  for (std::size_t i = 0; i < document.Recapitulation()->FieldCount(); ++i) {
    recap.DefineField(document.Recapitulation()->Definition(i));
  }
  recap.DefineField("neoporezivo", FieldKind::kCurrency);
  recap.Open();
  if (change != "rows") {
    recap.DataTransfer(*document.Recapitulation());
    recap.First();
    const bool is_row = change.starts_with("row ");
    is_row ? recap.Append() : recap.Edit();
    Field field = recap.FieldByName(is_row ? "stopa" : change.substr(0, change.find(' ')));
    const double value = std::stod(change.substr(change.find(' ')));
    field.SetFloat(field.Name() == "stopa" ? value : field.AsFloat() + value);
    recap.Post();
  }
  return ErrorOf([&] {
    CheckFigures(document.Kind(), {document.Goods() != nullptr ? &goods : nullptr,
                                   document.Services() != nullptr ? &services : nullptr, &recap});
  });
}

void Enter(RecordSet& lines, int count) {
  EnterLines(lines, count, [](const VocabularyEntry& entry) {
    return entry.name == "tbr_stp" ? 25 : entry.name.starts_with("po") ? 0.07 : 3.36;
  });
}

// The lines as they were before they were calculated.
RecordSet InputsOf(const LineSchema& schema, const RecordSet& lines) {
  RecordSet inputs("Ulaz");
  for (const std::string_view name : SplitNames(schema.inputs)) {
    inputs.DefineField(name, FindVocabularyEntry(name)->kind);
  }
  inputs.Open();
  inputs.DataTransfer(lines);
  return inputs;
}

// Everything that is calculated of the lines.
std::string AmountsOf(const Document& document) {
  std::string text;
  for (const RecordSet* const lines : {document.Goods(), document.Services()}) {
    if (lines == nullptr) continue;
    for (const RecordRow& row : lines->Rows()) {
      for (std::size_t i = 0; i < row.FieldCount(); ++i) {
        if (row.Definition(i).calculated) text += row.Definition(i).name + "=" + row.AsText(i) + " ";
      }
    }
  }
  return text;
}

using DocumentKindsTest = WithParameters;

// Neither a field too many nor one too few: the calculator misses every one that is taken away, may write
// those that are called calculated, and does write them.
TEST_F(DocumentKindsTest, NameJustTheFieldsOfTheirCalculators) {
  for (const DocumentKind& kind : DocumentKinds()) {
    const std::set<std::string> recap = RecapColumns(kind);
    for (const LineSchema* schema : SchemasOf(kind)) {
      const Names inputs = SplitNames(schema->inputs);
      const Names calculated = SplitNames(schema->calculated);
      EXPECT_EQ(WrittenBy(*schema, inputs, calculated),
                std::set<std::string_view>(calculated.begin(), calculated.end()))
          << kind.name;
      for (const std::string_view name : inputs) {
        if (recap.contains(std::string(name))) continue;
        EXPECT_THROW(WrittenBy(*schema, Without(inputs, name), calculated), FieldNotFound)
            << kind.name << " " << name;
      }
      for (const std::string_view name : calculated) {
        EXPECT_THROW(WrittenBy(*schema, inputs, Without(calculated, name)), FieldNotFound)
            << kind.name << " " << name;
      }
    }
  }
}

// Two lines at 25 % of every kind that is taxed: lines and recapitulation find the same base and tax, and
// without what the kind does not know.
TEST_F(DocumentKindsTest, RecapitulateTheBaseAndTaxOfTheirLines) {
  for (const DocumentKind& kind : DocumentKinds()) {
    Document document(kind);
    for (RecordSet* const lines : {document.Goods(), document.Services()}) {
      if (lines != nullptr) Enter(*lines, 2);
    }
    document.Recapitulate();
    EXPECT_EQ(document.ToBePaid().has_value(), kind.recap.Exists()) << kind.name;
    const TaxRole role = TaxRoleOf(kind);
    EXPECT_EQ(std::abs(role.sign), role.side == TaxSide::kNone ? 0 : 1) << kind.name;
    EXPECT_EQ(document.Goods() != nullptr && document.Goods()->FindField("zti"),
              kind.is == DocumentClass::kGoodsReceipt || kind.goods.inputs.find("zti") != std::string::npos)
        << kind.name;
    if (!kind.recap.Exists()) continue;
    EXPECT_NO_THROW(document.StoreRequest()) << kind.name;
    ASSERT_EQ(document.Recapitulation()->RecordCount(), 1U) << kind.name;
    EXPECT_EQ((*document.Recapitulation())[field::stopa], 25) << kind.name;
    for (const char* const change :
         {"osnovica 0", "osnovica 0.01", "osnovica -0.01", "porez 0.01", "porez -0.01", "ukupno 0.01",
          "neoporezivo 1", "stopa 13", "row 25", "row 0", "rows"}) {
      EXPECT_EQ(FaultAfter(document, change).empty(), std::string_view(change) == "osnovica 0")
          << kind.name << " " << change << ": " << FaultAfter(document, change);
    }
  }
  // Finer tax leaves more room, of hundredths; one kind has tax of two decimals always.
  parameters_.Set("PdviCalcDigit", "4");
  for (const auto& [kind, base] :
       {std::pair("gotovinski-racun", "osnovica"), {"mal-povratnica-dobavljacu", "nfci"}}) {
    Document document(kind);
    Enter(*document.Goods(), 3);
    document.Recapitulate();
    const auto sum = [&](std::string_view field) {
      Currency total;
      for (const RecordRow& row : document.Goods()->Rows()) {
        total += row.AsCurrency(*document.Goods()->FindFieldIndex(field));
      }
      return total.ToString();
    };
    const RecordSet& recap = *document.Recapitulation();
    EXPECT_EQ(recap.RowAt(0).AsCurrency(0).ToString(), sum(base)) << kind;
    if (std::string_view(base) == "nfci") {
      EXPECT_EQ(recap.RowAt(0).AsCurrency(1).ToString(), sum("pdvi_dob"));
    }
    for (const char* const change : {"osnovica 0.05", "porez 0.05"}) {
      EXPECT_NE(FaultAfter(document, change), "") << kind << " " << change;
    }
  }
}

// A line is calculated once when it is entered, or taken over and calculated (material of a service job in
// two passes); whoever then reads, prints, sums or stores it, or moves over it on a screen, calculates
// nothing, but where a setting was changed meanwhile.
TEST_F(DocumentKindsTest, CalculateALineNoMoreOftenThanItChanges) {
  constexpr int kLines = 4;
  for (const DocumentKind& known : DocumentKinds()) {
    SCOPED_TRACE(known.name);
    const CountedKind counted(known);
    int passes = 0;
    int reads_settings = 0;
    for (const LineSchema* const schema : {&known.goods, &known.services}) {
      if (!schema->Exists()) continue;
      passes += schema->passes;
      if (schema->reads == CalcFieldsReads::kItsInputsAndSettings) ++reads_settings;
    }
    Document document(counted.kind);
    const auto for_lines = [&](const auto& act) {
      for (RecordSet* const lines : {document.Goods(), document.Services()}) {
        if (lines != nullptr) act(*lines);
      }
      return std::exchange(CountedKind::runs, 0);
    };
    const auto read = [&](const auto& act) {
      act();
      return for_lines([](const RecordSet& lines) {
        for (const RecordRow& row : lines.Rows()) static_cast<void>(row.AsText(0));
        static_cast<void>(lines.SaveToString());
      });
    };
    const auto walk = [&] {
      return for_lines([](RecordSet& lines) {
        for (lines.First(); !lines.Eof(); lines.Next()) {
        }
      });
    };
    EXPECT_EQ(for_lines([](RecordSet& lines) { Enter(lines, kLines); }), kLines * passes);
    EXPECT_EQ(read([&] { document.Recapitulate(); }), 0);
    EXPECT_EQ(read([&] { static_cast<void>(document.ToBePaid()); }), 0);
    EXPECT_EQ(read([&] { document.StoreRequest(); }), 0);
    EXPECT_EQ(walk(), 0);
    EXPECT_EQ(read([&] { document.Recapitulate(); }), 0);
    App().Ini().WriteInteger("GENERAL", "PC_CALC_DIGIT", 2);
    EXPECT_EQ(walk(), kLines * reads_settings);
    EXPECT_EQ(walk(), 0);
    App().Ini().WriteInteger("GENERAL", "PC_CALC_DIGIT", 3);
    EXPECT_EQ(read([&] { document.Recapitulate(); }), kLines * reads_settings);
    EXPECT_EQ(walk(), 0);
    EXPECT_EQ(read([&] { document.Calculate(); }), kLines * passes);
    EXPECT_EQ(read([&] { document.Recapitulate(); }), 0);
  }
}

// A document comes to the same amounts however its lines come into it: entered, calculated once more, handed
// over as they were entered, or put into it uncalculated, which summing makes up for without a move.
TEST_F(DocumentKindsTest, ComeToTheSameHoweverTheirLinesCome) {
  for (const DocumentKind& kind : DocumentKinds()) {
    SCOPED_TRACE(kind.name);
    Document document(kind);
    Document filled(kind);
    std::optional<RecordSet> inputs[2];
    RecordSet* const sorts[] = {document.Goods(), document.Services()};
    RecordSet* const filled_sorts[] = {filled.Goods(), filled.Services()};
    for (std::size_t i = 0; i < std::size(sorts); ++i) {
      if (sorts[i] == nullptr) continue;
      Enter(*sorts[i], 2);
      inputs[i] = InputsOf(i == 0 ? kind.goods : kind.services, *sorts[i]);
      const CalculationPause pause(*filled_sorts[i]);
      filled_sorts[i]->DataTransfer(*inputs[i]);
      filled_sorts[i]->Last();
    }
    const std::string expected = AmountsOf(document);
    document.Calculate();
    EXPECT_EQ(AmountsOf(document), expected) << "calculated";
    document.Recapitulate();
    filled.Recapitulate();
    EXPECT_EQ(AmountsOf(filled), expected) << "summed";
    EXPECT_EQ(filled.ToBePaid(), document.ToBePaid());
    for (const RecordSet* const lines : filled_sorts) {
      EXPECT_TRUE(lines == nullptr || lines->CurrentRow() == 1);
    }
    Document handed_over(kind, std::move(inputs[0]), std::move(inputs[1]));
    handed_over.Calculate();
    EXPECT_EQ(AmountsOf(handed_over), expected);
  }
}

// A set with a column to be added is copied, another one taken as it is; either has the line being entered.
// Columns that the kind does not know change neither its base nor its totals.
TEST_F(DocumentKindsTest, KeepTheLineThatIsBeingEntered) {
  for (const char* const columns : {"", "pci rbi1 osnovica pdvi ukupno", "neoporezivo", "pov_naki"}) {
    RecordSet services("Usluge");
    services.DefineField("napomena", FieldKind::kText);
    const std::string names = std::string("kolicina pc rbp1 tbr_stp ") + columns;
    for (const std::string_view name : SplitNames(names)) {
      services.DefineField(name, FindVocabularyEntry(name)->kind);
    }
    services.Open();
    for (const double price : {100.0, 50.0}) {
      services.Append();
      services.SetText(0, "hitno");
      services.Set(field::kolicina, 1);
      services.FieldByName("pc").SetFloat(price);
      services.FieldByName("tbr_stp").SetFloat(25);
      for (const char* const foreign : {"neoporezivo", "pov_naki"}) {
        if (auto field = services.FindField(foreign)) field->SetFloat(40);
      }
    }
    Document document(DocumentKindByName("racun-usluga"), std::nullopt, std::move(services));
    EXPECT_EQ(document.LineCount(), 2U) << columns;
    EXPECT_EQ(document.Services()->RowAt(1).AsText(0), "hitno") << columns;
    document.Calculate();
    document.Recapitulate();
    EXPECT_EQ(document.ToBePaid(), Currency::Parse("187.50")) << columns;
    std::string totals;
    for (const RecordRow& total : document.Totals().Rows()) {
      for (std::size_t i = 0; i < 3; ++i) totals += total.AsText(i) + " ";
    }
    EXPECT_EQ(
        totals,
        "stavke pci 150,00 stavke rbi1 0,00 stavke osnovica 150,00 stavke pdvi 37,50 stavke ukupno 187,50 "
        "rekapitulacija osnovica 150,00 rekapitulacija porez 37,50 rekapitulacija ukupno 187,50 ")
        << columns;
  }
}

// An error of the calculator, or a screen's check that does not let a line be posted, leaves the line closed
// and as it was.
TEST_F(DocumentKindsTest, CancelTheLineThatCannotBeCalculated) {
  Document document("storno-gotovinski-racun");
  RecordSet& goods = *document.Goods();
  for (const double quantity : {-1.0, -2.0}) {
    EnterLine(goods, {{"kolicina", quantity}, {"pc", 10}});
  }
  const std::string before = goods.SaveToString();
  goods.SetOnBeforePost([](RecordSet&) { throw mox::Abort(); });
  EXPECT_THROW(document.Calculate(), mox::Abort);
  EXPECT_EQ(goods.State(), DataSetState::kBrowse);
  EXPECT_EQ(goods.SaveToString(), before);
  goods.SetOnBeforePost(nullptr);
  goods.Edit();
  goods.Set(field::kolicina, 0);
  EXPECT_THROW(goods.Post(), DivisionByZero);
  EXPECT_THROW(document.Calculate(), DivisionByZero);
  EXPECT_EQ(goods.State(), DataSetState::kBrowse);
  // what was half calculated is neither summed nor stored, until the line is mended
  EXPECT_ERROR(document.Recapitulate(), "! Stavke: row 2: division by zero");
  EXPECT_ERROR(document.StoreRequest(), "! Stavke: row 2: division by zero");
  EXPECT_EQ(goods.CurrentRow(), 1U);
  goods.Edit();
  goods.Set(field::kolicina, -2);
  goods.Post();
  EXPECT_NO_THROW(document.StoreRequest());
}

TEST_F(DocumentKindsTest, RefuseLinesAndTaxThatTheyDoNotHave) {
  const DocumentKind& stock = DocumentKindByName("pocetno-stanje");
  EXPECT_ERROR(Document(DocumentKindByName("racun-usluga"), RecordSet("Stavke")),
               "! Stavke: racun-usluga has no such lines");
  Document document(stock);
  RecordSet recap = EmptySet("Rekapitulacija", "osnovica:currency");
  EXPECT_NO_THROW(CheckFigures(stock, {document.Goods(), nullptr, &recap}));
  Document receipt(DocumentKindByName("primka-kalkulacija"), std::nullopt);
  receipt.FillSupplierTotals();
  EXPECT_EQ(receipt.SupplierTotals()->RowAt(0).AsFloat(0), 0);
  recap.AppendRecord({Currency()});
  EXPECT_ERROR(CheckFigures(stock, {document.Goods(), nullptr, &recap}),
               "! pocetno-stanje has no tax, but a recapitulation");
}

// A receipt with a line at exactly 17 % is of the Bosnian edition, in which only "RU" charges neither tax nor
// fees; its totals follow its lines.
TEST_F(DocumentKindsTest, TellTheEditionOfAReceiptByItsLines) {
  struct Case {
    double rate;
    const char* supplier;
    const char* totals;
    const char* to_be_paid;
  };
  const Case cases[] = {{17, "UR", "roba_0=10.00 roba_17=20.00 pdv_17=3.40 pov_nak=1.00", "34.40"},
                        {17, "OK", "roba_0=10.00 roba_17=20.00 pdv_17=3.40 pov_nak=1.00", "34.40"},
                        {17, "RU", "roba_0=10.00 roba_17=20.00", "30.00"},
                        {17.5, "UR", "roba_0=30.00 pov_nak=1.00", "34.50"},
                        {25, "UR", "roba_0=10.00 roba_25=20.00 pdv_25=5.00 pov_nak=1.00", "36.00"},
                        {25, "OK", "roba_0=10.00 roba_25=20.00", "30.00"}};
  Document document("primka-kalkulacija");
  RecordSet& lines = *document.Goods();
  for (const double price : {10.0, 20.0}) {
    lines.Append();
    lines.FieldByName("kolicina").SetFloat(1);
    lines.FieldByName("fc").SetFloat(price);
    lines.FieldByName("pov_nak").SetFloat(0.5);
    lines.Post();
  }
  for (const auto& [rate, supplier, expected, to_be_paid] : cases) {
    SCOPED_TRACE(std::string(supplier) + " " + std::to_string(rate));
    document.SetHeader("vrsta_dok_dob", supplier);
    lines.Last();
    lines.Edit();
    lines.FieldByName("tbr_stp").SetFloat(rate);
    lines.Post();
    document.StoreRequest();
    const RecordSet& totals = *document.SupplierTotals();
    std::string written;
    for (std::size_t i = 0; i < totals.FieldCount(); ++i) {
      if (totals.RowAt(0).AsCurrency(i).IsZero()) continue;
      written += (written.empty() ? "" : " ") + totals.Definition(i).name + '=' +
                 totals.RowAt(0).AsCurrency(i).ToString();
    }
    EXPECT_EQ(written, expected);
    EXPECT_EQ(document.ToBePaid()->ToString(), to_be_paid);
    // of its tax by rate alone it is told as well
    const std::string code = supplier;
    EXPECT_EQ(IsUncharged(document.Kind(), {.recap = document.Recapitulation(), .supplier_document = code}),
              IsUncharged(document.Kind(), {.goods = &lines, .supplier_document = code}));
  }
}

// Codes are found, and so are names that were cut to a code's length, unless several kinds begin so.
TEST_F(DocumentKindsTest, AreFoundByTheirCodes) {
  const auto name_of = [](std::string_view tip) {
    const DocumentKind* const kind = FindDocumentTip(tip);
    return kind == nullptr ? "-" : kind->name;
  };
  for (const DocumentKind& kind : DocumentKinds()) {
    EXPECT_EQ(name_of(kind.tip), kind.name);
    EXPECT_EQ(name_of(kind.name), kind.name);
  }
  EXPECT_EQ(name_of("povratnica-kupc"), "povratnica-kupca");
  for (const char* unknown :
       {"gotovinski-racu", "meduskladisnica", "povratnica-kup", "povratnica-kupx", ""}) {
    EXPECT_EQ(name_of(unknown), "-") << unknown;
  }
}

// Whatever a screen calls the kind, its code is sent; a text of no kind goes as far as the field reaches.
TEST_F(DocumentKindsTest, LinkLaterByTheirCodes) {
  struct Writer : RecordingHost {
    std::string written;
    int WriteDataService(const TAstaParamList& request) override {
      written = request[0].AsTextView();
      return RecordingHost::WriteDataService(request);
    }
  } host;
  const ScopedApp app(host.Parts());
  for (const auto& [tip, sent] : {std::pair("gotovinski-racun", "9:got-racun"),
                                  {"got-racun", "9:got-racun"},
                                  {"1234567890123456", "15:123456789012345"}}) {
    EXPECT_TRUE(SaveDocDataToLinkLater(std::string(101, 't'), "rac_id", 7, tip, "žžžžžž"));
    EXPECT_EQ(host.log.back(), "write UpisParentFieldForVD=<list FTransTempVezeDataSet=<1 record>>");
    EXPECT_EQ(TokenizedItems(host.written).at(0).value,
              "moxrs 1\nname 21:FTransTempVezeDataSet\nfields 5\nfield 12:parent_table text 100 - 0: 0:\n"
              "field 13:parent_column text 100 - 0: 0:\nfield 13:parent_doc_id integer 0 - 0: 0:\n"
              "field 9:child_tip text 15 - 0: 0:\nfield 7:user_id text 5 - 0: 0:\nrecords 1\n100:" +
                  std::string(100, 't') + " 6:rac_id 7 " + sent + " 10:žžžžž\nend\n");
  }
}

}  // namespace
}  // namespace mox

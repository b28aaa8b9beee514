#include "mox/entry/document_entry.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <tuple>

#include "mox/entry/line_screen.h"
#include "mox/foundation/dates.h"
#include "mox/foundation/text.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

class DocumentEntryTest : public testing::Test {
 protected:
  RecordingHost host_;
  ScopedApp app_{host_.Parts()};
};

// What people type into a cell; none is a divisor of 0.
Value RandomCell(FieldKind kind, std::mt19937& random) {
  constexpr double kNumbers[] = {1, 2.5, -3, 0.333, 13, 25, 99.99, 1234.5678};
  const double number = kNumbers[random() % std::size(kNumbers)];
  if (kind == FieldKind::kCurrency) return Currency::FromReal(number);
  if (kind == FieldKind::kFloat) return number;
  if (kind == FieldKind::kInteger) return static_cast<std::int64_t>(number);
  return HoldsText(kind) ? Value("tekst " + std::to_string(random() % 5)) : Value();
}

std::vector<Value> CellsOf(const RecordSet& lines) {
  std::vector<Value> cells;
  for (const RecordRow& row : lines.Rows()) {
    for (std::size_t i = 0; i < lines.FieldCount(); ++i) cells.push_back(row.AsVariant(i));
  }
  return cells;
}

// What a screen calculates with every key, and takes back before it posts, is what the same lines come to
// where nobody looks; lines are entered, changed again and left.
TEST_F(DocumentEntryTest, CalculatesWhatIsEnteredAsIfNobodyLooked) {
  std::mt19937 random(7);
  for (const DocumentKind& kind : DocumentKinds()) {
    SCOPED_TRACE(kind.name);
    Document watched(kind);
    Document alone(kind);
    for (const auto& [watched_lines, lines_alone, schema] :
         {std::tuple(watched.Goods(), alone.Goods(), &kind.goods),
          {watched.Services(), alone.Services(), &kind.services}}) {
      if (watched_lines == nullptr) continue;
      RecordSet* const shown = watched_lines;
      RecordSet* const unseen = lines_alone;
      const Document& document = watched;
      shown->SetOnBeforePost([&document](RecordSet& lines) { document.TakeBackPreview(lines); });
      for (int step = 0; step < 12; ++step) {
        const bool adds = shown->RowCount() == 0 || random() % 3 != 0;
        const std::size_t row = adds ? 0 : random() % shown->RowCount();
        for (RecordSet* const lines : {shown, unseen}) {
          if (!adds) lines->GoToRow(row);
          adds ? lines->Append() : lines->Edit();
        }
        for (const std::string_view name : SplitNames(schema->inputs)) {
          const std::size_t field = *shown->FindFieldIndex(name);
          const Value cell = RandomCell(shown->Definition(field).kind, random);
          if (!adds && random() % 4 == 0) continue;
          shown->SetVariant(field, cell);
          unseen->SetVariant(*unseen->FindFieldIndex(name), cell);
          ErrorOf([&] { watched.PreviewLine(*shown); });  // while a divisor is not there yet
        }
        if (random() % 5 == 0) {
          shown->Cancel();
          unseen->Cancel();
        }
        const std::string fault = ErrorOf([&] { shown->PostPending(); });
        ASSERT_EQ(ErrorOf([&] { unseen->PostPending(); }), fault) << "step " << step;
        for (RecordSet* const lines : {shown, unseen}) {
          if (!fault.empty()) lines->Cancel();
        }
        ASSERT_EQ(CellsOf(*shown), CellsOf(*unseen)) << "step " << step;
      }
    }
  }
}

TEST_F(DocumentEntryTest, KeepsWhatIsPendingInADraft) {
  for (const DocumentKind& kind : DocumentKinds()) {
    SCOPED_TRACE(kind.name);
    Document document(kind);  // of two lines, of which the second one is not posted
    document.SetHeader("opis", Value("hitno, „danas”\n"));
    RecordSet& lines = document.Goods() != nullptr ? *document.Goods() : *document.Services();
    for (const char* const name : {"prvi", "drugi"}) {
      lines.Append();
      lines.SetText(*lines.FindFieldIndex("naziv"), name);
      for (const std::string_view input :
           SplitNames(document.Goods() != nullptr ? kind.goods.inputs : kind.services.inputs)) {
        lines.SetFloat(*lines.FindFieldIndex(input), 1);
      }
    }
    if (RecordSet* const supplier = document.SupplierTotals()) {
      supplier->Edit();
      supplier->FieldByName("pdv_25").SetCurrency(Currency::Parse("12.34"));
      supplier->Post();
    }
    const std::string draft = DraftOf(document);
    const Document again = FromDraft(draft);
    EXPECT_EQ(again.Kind().name, kind.name);
    EXPECT_EQ(DraftOf(again), draft);
    EXPECT_EQ(lines.State(), DataSetState::kInsert) << "the screen goes on";
  }
  for (const char* const text : {"", "nacrt", "Nacrt"}) EXPECT_THROW(FromDraft(text), Error) << text;
}

// DATE, and of the supplier's document DATE and DUE
TEST_F(DocumentEntryTest, AsksAboutTheDatesOfAReceipt) {
  const auto told = [this](const Words& row) {
    host_.log.clear();
    Document document("primka-kalkulacija");
    document.Header().Edit();  // what is pending counts, and stays pending
    for (const auto& [field, day] :
         {std::pair("datum", row.at(0)), {"datum_dok_dob", row.at(1)}, {"datum_dospijeca", row.at(2)}}) {
      document.Header().FieldByName(field).SetVariant(day.empty() ? Value() : Value(*ParseIsoDate(day)));
    }
    const bool goes_on = CheckDocument(document);
    EXPECT_EQ(document.Header().State(), DataSetState::kEdit);
    std::string said;
    for (const std::string& line : host_.log) said += line + " ";
    return said + (goes_on ? "yes" : "no");
  };
  ExpectTables("receipt_dates", {{"receipts", told}}, "entry");
}

// Every field that a line of any kind shows has a caption, and is shown once.
TEST(LineScreen, CaptionsWhatLinesShow) {
  for (const DocumentKind& kind : DocumentKinds()) {
    for (const LineSchema* const schema : {&kind.goods, &kind.services}) {
      if (!schema->Exists()) continue;
      std::vector<std::string_view> fields = LineFieldsForScreen(*schema);
      for (const std::string_view field : fields) {
        EXPECT_NE(CaptionOf(field), field) << kind.name << ' ' << field;
      }
      std::sort(fields.begin(), fields.end());
      EXPECT_EQ(std::adjacent_find(fields.begin(), fields.end()), fields.end()) << kind.name;
    }
  }
}

}  // namespace
}  // namespace mox

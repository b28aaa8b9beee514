#include "mox/documents/storno.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/fakes/how_many.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/with_parameters.h"

namespace mox {
namespace {

class Random {
 public:
  std::int64_t Between(std::int64_t least, std::int64_t most) {
    return std::uniform_int_distribution<std::int64_t>(least, most)(engine_);
  }

  // Prices and amounts of up to four decimals, any rates, discounts and raises, quantities of either sign, at
  // times hardly any.
  double ValueOf(const VocabularyEntry& entry) {
    if (entry.name == field::tbr_stp.text) return static_cast<double>(Between(0, 1) * Between(0, 100));
    switch (entry.measure) {
      case Measure::kQuantity:
        return static_cast<double>(Between(1, 20'000) * (Between(0, 3) == 0 ? -1 : 1)) /
               (Between(0, 9) == 0 ? 1e6 : 1000);
      case Measure::kPercent:
        return Between(0, 1) == 0 ? 0 : static_cast<double>(Between(-40, 1000)) / 10;
      default:
        return static_cast<double>(Between(0, 5'000'000)) / 10'000;
    }
  }

 private:
  std::mt19937_64 engine_{20'240'301};  // NOLINT: the same documents in every run
};

// Every amount and quantity of both together is 0, and everything else is the same.
void ExpectCancelled(const RecordSet& original, const RecordSet& storno, std::string_view kind) {
  ASSERT_EQ(original.RecordCount(), storno.RecordCount()) << kind;
  for (std::size_t row = 0; row < original.RowCount(); ++row) {
    for (std::size_t i = 0; i < original.FieldCount(); ++i) {
      const FieldDef& field = original.Definition(i);
      const RecordRow one = original.RowAt(row);
      const RecordRow other = storno.RowAt(row);
      if (IsAmountField(field)) {
        ASSERT_TRUE((one.AsCurrency(i) + other.AsCurrency(i)).IsZero()) << kind << " " << field.name;
      } else if (field.name == field::kolicina.text) {
        ASSERT_EQ(one.AsFloat(i), -other.AsFloat(i)) << kind;
      } else {
        ASSERT_EQ(one.AsVariant(i), other.AsVariant(i)) << kind << " " << field.name;
      }
    }
  }
}

using StornoTest = WithParameters;

TEST_F(StornoTest, CancelsEveryAmountOfRandomDocumentsOfEveryKind) {
  Random random;
  const auto of_each = HowMany("MOX_STORNO_DOCUMENTS", 1400) / std::ssize(DocumentKinds());
  for (const DocumentKind& kind : DocumentKinds()) {
    for (std::int64_t i = 0; i < of_each; ++i) {
      parameters_.Set("PdviCalcDigit", std::to_string(2 + i % 3));
      App().Ini().WriteInteger("GENERAL", "PC_CALC_DIGIT", static_cast<int>(i / 3 % 5));
      Document document(kind);
      for (RecordSet* const lines : {document.Goods(), document.Services()}) {
        if (lines == nullptr) continue;
        EnterLines(*lines, random.Between(1, 6), [&](const auto& entry) { return random.ValueOf(entry); });
      }
      ASSERT_NO_THROW(document.StoreRequest()) << kind.name;
      std::optional<RecordSet> mirrors[3];
      const RecordSet* const sets[] = {document.Goods(), document.Services(), document.Recapitulation()};
      for (std::size_t set = 0; set < std::size(sets); ++set) {
        if (sets[set] == nullptr) continue;
        mirrors[set] = MirrorOf(*sets[set]);
        ExpectCancelled(*sets[set], *mirrors[set], kind.name);
      }
      const auto mirror = [&](std::size_t set) { return mirrors[set] ? &*mirrors[set] : nullptr; };
      ASSERT_NO_THROW(CheckFigures(kind, {mirror(0), mirror(1), mirror(2)})) << kind.name;
      const auto cancelled = ToBePaid(kind, {mirror(0), mirror(1), mirror(2)});
      ASSERT_EQ(cancelled.has_value(), document.ToBePaid().has_value()) << kind.name;
      if (cancelled) {
        ASSERT_TRUE((*cancelled + *document.ToBePaid()).IsZero()) << kind.name;
      }
      if (HasFatalFailure()) return;
    }
  }
}

// Asked once, by whoever stores; a refusal stores nothing, and asks the server nothing.
TEST_F(StornoTest, AsksBeforeItSellsAgain) {
  RecordingHost host;
  host.dialog_answers = {kDialogNo, kDialogYes};
  const ScopedApp app(host.Parts());
  Document document("storno-gotovinski-racun");
  EnterLine(*document.Goods(), {{"kolicina", -1}, {"pc", 10}});
  EXPECT_TRUE(ConfirmQuantities(document));
  EnterLine(*document.Goods(), {{"kolicina", 1}, {"pc", 10}});
  EXPECT_FALSE(document.Store());
  EXPECT_EQ(FindSellingLine(document.Kind(), document.Goods())->row, 2U);
  ASSERT_EQ(host.log.size(), 1U);
  EXPECT_EQ(host.log.front(),
            "dialog 1 | Upozorenje | Mogući krivi unos podataka! | Količine storna moraju biti negativne! "
            "Nastavak rada?");
  EXPECT_TRUE(ConfirmQuantities(document));
  EXPECT_TRUE(ConfirmQuantities(document));
  EXPECT_EQ(host.log.size(), 2U);
  EXPECT_TRUE(document.Header().FieldByName("potvrdeno").AsBoolean());
  Document sale("storno-gotovinski-racun");  // by a price below 0
  EnterLine(*sale.Goods(), {{"kolicina", -1}, {"pc", -10}});
  EXPECT_EQ(FindSellingLine(sale.Kind(), sale.Goods())->row, 1U);
  EXPECT_FALSE(MakeStornoHeader(5).FieldByName("datum").IsNull());
  document.SetHeader("par_id", 7);
  EXPECT_TRUE(document.ConfirmCredit()) << "nothing is known of a limit";
}

// A quantity of 0 stays 0 and not -0, nothing stays nothing, and a price has the sign that it had. Every
// decimal of the others stays.
TEST_F(StornoTest, LeavesWhatHasNoSign) {
  RecordSet lines =
      OneRecord("", "kolicina:float,mpci:currency,mpc:currency", {0.0, Value(), Currency::Parse("2.50")});
  lines.AppendRecord({0.123456, Currency::Parse("900000000000000.0001"), Value()});
  EXPECT_EQ(FindSellingLine(DocumentKindByName("storno-gotovinski-racun"), &lines)->row, 2U);
  const RecordSet mirror = MirrorOf(lines);
  EXPECT_FALSE(std::signbit(mirror.RowAt(0).AsFloat(0)));
  EXPECT_TRUE(mirror.RowAt(0).IsNull(1));
  EXPECT_EQ(mirror.RowAt(0).AsCurrency(2).ToString(), "2.50");
  EXPECT_EQ(mirror.RowAt(1).AsFloat(0), -0.123456);
  EXPECT_EQ(mirror.RowAt(1).AsCurrency(1).ToString(), "-900000000000000.0001");
}

}  // namespace
}  // namespace mox

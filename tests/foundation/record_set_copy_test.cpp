#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "mox/foundation/error.h"
#include "record_set_kinds.h"
#include "record_set_script.h"
#include "tests/fakes/record_sets.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(CleanClone, TakesOverStructureAndRecordsOnly) {
  RecordSet source = AllKinds(Samples());
  source.FieldByName("float").SetDisplayFormat("0.000");
  source.SetFilter("integer = '-7'");
  source.SetFiltered(true);
  const std::string saved = source.SaveToString();
  RecordSet clone = Letters("a b");
  int fired = 0;
  clone.SetOnCalcFields([&](RecordSet&) { ++fired; });
  RunScript(clone, "e =x");
  clone.CleanClone(source);
  EXPECT_EQ(clone.State(), DataSetState::kBrowse);
  EXPECT_EQ(clone.Name(), "slova");
  EXPECT_EQ(fired, 1) << "its own event, for the first record";
  clone.SetName(source.Name());
  EXPECT_EQ(clone.SaveToString(), saved);

  // What one of them changes the other does not.
  clone.FieldByName("text").SetDisplayName("Naziv");
  clone.FieldByName("text").SetRequired(true);
  clone.FieldByName("float").SetDisplayFormat("0.0");
  RunScript(clone, "L e =x . F D");
  EXPECT_EQ(source.SaveToString(), saved);
  EXPECT_EQ(clone.FieldByName("text").DisplayName() + source.FieldByName("text").DisplayName(), "Nazivtext");
  source.Close();
  clone.First();
  EXPECT_EQ(ValuesOf(clone), Samples()[1]);
  clone.CleanClone(source);
  EXPECT_FALSE(clone.IsActive());
  EXPECT_EQ(clone.FieldCount(), kFieldKindCount);
}

// A label may be changed while a record is open, also where the structure was shared with a set that goes.
TEST(CleanClone, MayChangeALabelInTheMiddleOfAnEdit) {
  std::optional<RecordSet> source(std::in_place);
  source->DefineField("pc", FieldKind::kCurrency);
  source->DefineField({.name = "pci", .kind = FieldKind::kCurrency, .calculated = true});
  source->Open();
  source->AppendRecord({1.0, 1.0});
  RecordSet clone;
  clone.CleanClone(*source);
  bool first = true;
  clone.SetOnCalcFields([&](RecordSet& line) {
    if (first) line.FieldByName("pc").SetDisplayFormat("0.00");
    if (first) source.reset();
    first = false;
    line.Set(field::pci, Currency::FromUnits(3));
  });
  clone.Edit();
  clone.Refresh();
  clone.Set(field::pc, Currency::FromUnits(2));
  clone.Post();
  EXPECT_EQ(clone[field::pc].ToString() + clone[field::pci].ToString(), "2.003.00");
}

TEST(Copying, LeavesAPendingChangeOut) {
  RecordSet source = Letters("a b");
  RunScript(source, "N e =x");
  RecordSet clone;
  clone.CleanClone(source);
  EXPECT_EQ(Outcome(clone), "<[a] b");
  clone.DataTransfer(source);
  EXPECT_EQ(Outcome(clone), "a [b] a b");
  EXPECT_EQ(Outcome(source), "a [b] edit:x");
  RunScript(source, "f a =x");
  clone.LoadFromString(source.SaveToString());
  EXPECT_EQ(Outcome(clone), "<[a] b") << "and holds what the filter hides";
}

TEST(DataTransfer, AppendsRecordsByFieldName) {
  RecordSet source = EmptySet("izvor", "SIFRA:integer,naziv,iznos,visak");
  source.AppendRecord({std::int64_t{7}, "Čašica", "12,5"});
  source.AppendRecord({Value(), "", " ", "y"});
  source.AppendRecord({std::int64_t{9}, Value(), Value(), "z"});
  source.SetFilter("visak = 'y'");
  source.SetFiltered(true);

  RecordSet target("cilj");
  target.DefineField("naziv", FieldKind::kText, 3);
  target.DefineField("iznos", FieldKind::kCurrency);
  target.DefineField("sifra", FieldKind::kText);
  for (const char* name : {"datum", "rok", "dvo", "valuta"}) target.DefineField(name, FieldKind::kDate);
  target.Open();
  target.AppendRecord({"a", 1.0});
  RunScript(target, "e =b");
  target.DataTransfer(source);
  EXPECT_EQ(target.Position(), 0U);
  EXPECT_EQ(target.State(), DataSetState::kBrowse);
  std::string records;
  for (target.First(); !target.Eof(); target.Next()) {
    for (std::size_t i = 0; i < 4; ++i) records += (target.IsNull(i) ? "~" : target.AsText(i)) + "|";
  }
  EXPECT_EQ(records, "b|1,00|~|~|Čaš|12,50|7|~||~|~|~|~|~|9|~|");
  target.DataTransfer(Letters(""));
  EXPECT_TRUE(target.Eof()) << "nothing came";

  source.SetFiltered(false);
  source.AppendRecord({Value(), "x", "abc"});
  const std::string before = target.SaveToString();
  EXPECT_THAT([&] { target.DataTransfer(source); },
              testing::ThrowsMessage<ConversionError>("iznos: \"abc\" is not a number"));
  EXPECT_EQ(target.SaveToString(), before);
  EXPECT_EQ(target.Position(), 3U);
  EXPECT_ERROR(target.DataTransfer(target), "! cilj: a record set cannot be transferred into itself");
}

TEST(MovedFromSets, AreEmptyAndUsable) {
  RecordSet source = Letters("a1 b a2");
  int fired = 0;
  source.SetOnCalcFields([&](RecordSet&) { ++fired; });
  RunScript(source, "f N e =x");
  RecordSet target(std::move(source));
  EXPECT_EQ(Outcome(target), "a1 [a2] edit:x");
  fired = 0;
  for (int round = 0; round < 2; ++round) {
    EXPECT_FALSE(source.IsActive());  // NOLINT(bugprone-use-after-move)
    source.DefineField("slovo", FieldKind::kText);
    source.Open();
    source.AppendRecord({"c"});
    EXPECT_EQ(Outcome(source), "[c]");
    target = std::move(source);
  }
  EXPECT_EQ(target.AsText(0), "c");
  EXPECT_EQ(fired, 0);
}

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>

#include "case_file.h"
#include "record_set_script.h"

namespace mox {
namespace {

TEST(CalcFieldsEvent, FiresForARecordThatBecomesCurrentAndOnPostAndRefresh) {
  ExpectTables("calc_fields", {{"fired", [](auto& row) {
                                  RecordSet set = Letters("a b c");
                                  std::string fired;
                                  set.SetOnCalcFields([&](RecordSet& current) {
                                    fired += (fired.empty() ? "" : " ") + current.AsText(0);
                                    EXPECT_EQ(&current, &set);
                                  });
                                  RunScript(set, row.at(0));
                                  return fired;
                                }}});
}

// Lines of which the event calculates `pci` and `naziv`.
RecordSet Lines() {
  RecordSet lines("stavke");
  lines.DefineField("slovo", FieldKind::kText);
  lines.DefineField("pc", FieldKind::kCurrency);
  lines.DefineField({.name = "pci", .kind = FieldKind::kCurrency, .calculated = true});
  lines.DefineField({.name = "naziv", .kind = FieldKind::kText, .calculated = true});
  lines.Open();
  lines.AppendRecord({"a", 5.0});
  lines.AppendRecord({"b", 7.0});
  return lines;
}

TEST(CalcFieldsEvent, WritesCalculatedFieldsOnly) {
  RecordSet lines = Lines();
  lines.SetOnCalcFields([&](RecordSet& line) {
    EXPECT_EQ(line.State(), DataSetState::kCalcFields);
    line.Set(field::pci, line[field::pc] + line[field::pc]);
    line.SetNull(3);
    line.SetText(3, "red " + line.AsText(0));
    EXPECT_THROW(line.Set(field::pc, Currency()), StateError);
    EXPECT_THROW(line.SetText(0, "X"), StateError);
    EXPECT_THROW(line.SetNull(1), StateError);
  });
  for (const char* script : {"F", "a R", "L", "R", "e R"}) {
    RunScript(lines, script);
    EXPECT_EQ(lines.AsText(3), "red " + lines.AsText(0)) << script;
    EXPECT_NE(lines.State(), DataSetState::kCalcFields) << script;
    EXPECT_FALSE(lines.IsModified()) << script << ": calculated fields are no change of the record";
  }
  lines.Set(field::pc, Currency::FromUnits(10));
  lines.Refresh();
  EXPECT_TRUE(lines.IsModified());
  EXPECT_EQ(lines[field::pci].ToString(), "20.00");
  lines.Cancel();
  EXPECT_EQ(lines[field::pci].ToString(), "14.00");
  EXPECT_THROW(lines.Set(field::pci, Currency()), StateError) << "after the event, browsing";
}

TEST(CalcFieldsEvent, NothingMovesInside) {
  using Operation = void (*)(RecordSet&);
  const Operation operations[] = {[](RecordSet& set) { set.AppendRecord({"c"}); },
                                  [](RecordSet& set) { set.Close(); },
                                  [](RecordSet& set) { set.SetFilter(""); },
                                  [](RecordSet& set) { set.CleanClone(Lines()); },
                                  [](RecordSet& set) { set.DataTransfer(Lines()); },
                                  [](RecordSet& set) { set.LoadFromString(Lines().SaveToString()); },
                                  [](RecordSet& set) { set.SetOnCalcFields(nullptr); }};
  RecordSet lines = Lines();
  const std::string before = lines.SaveToString();
  lines.SetOnCalcFields([&](RecordSet& line) {
    for (const char* step : {"F", "N", "P", "L", "?a", "g", "e", "i", "a", ".", "D", "C", "R", "f", "u"}) {
      EXPECT_THROW(RunScript(line, step), StateError) << step;
    }
    for (const Operation operation : operations) EXPECT_THROW(operation(line), StateError);
    line.Cancel();
    EXPECT_EQ(line.State(), DataSetState::kCalcFields);
  });
  lines.Prior();
  EXPECT_EQ(lines.Position(), 0U);
  EXPECT_EQ(lines.State(), DataSetState::kBrowse);
  EXPECT_EQ(lines.SaveToString(), before);
}

TEST(CalcFieldsEvent, AnErrorOnPostLeavesTheRecordOpen) {
  RecordSet lines = Lines();
  bool faulty = true;
  lines.SetOnCalcFields([&](RecordSet& line) {
    line.SetText(3, "written before the error");
    line.Set(field::pci, line[field::pc]);
    if (faulty) throw Abort();
  });
  for (const char* opening : {"e", "i", "a"}) {
    for (const char* leaving : {".", "N", "F", "u", "i"}) {
      RunScript(lines, opening);
      const DataSetState state = lines.State();
      lines.Set(field::pc, Currency::FromUnits(99));
      EXPECT_THROW(RunScript(lines, leaving), Abort) << opening << leaving;
      EXPECT_EQ(lines.State(), state) << opening << leaving;
      EXPECT_TRUE(lines.IsModified());
      EXPECT_EQ(lines[field::pc].ToString() + lines[field::pci].ToString(), "99.0099.00");
      lines.Cancel();
      EXPECT_EQ(lines.AsText(0) + lines[field::pc].ToString() + lines.AsText(3), "b7.00")
          << opening << leaving;
    }
  }
  EXPECT_THROW(lines.AppendRecord({"c"}), Abort);
  EXPECT_EQ(lines.RecordCount(), 2U);
  RunScript(lines, "e =x");
  EXPECT_THROW(lines.Post(), Abort);
  faulty = false;
  lines.Post();
  EXPECT_EQ(lines.AsText(0), "x");
}

TEST(CalcFieldsEvent, AnErrorOnAMoveLeavesAUsableSet) {
  RecordSet set = Letters("a b c");
  set.SetOnCalcFields([](RecordSet& current) {
    if (current.AsText(0) == "b") throw DivisionByZero();
  });
  for (const char* move : {"N", "N P", "?b", "R"}) EXPECT_THROW(RunScript(set, move), DivisionByZero) << move;
  EXPECT_EQ(set.State(), DataSetState::kBrowse);
  set.SetOnCalcFields(nullptr);
  EXPECT_EQ(Outcome(set), "a [b] c");
}

TEST(ControlsGuards, TellTheListenerOnceOfAllChanges) {
  RecordSet set = Letters("a b c");
  std::string heard;
  set.SetListener([&](RecordSet&, RecordSetChange change) { heard += "mrs"[static_cast<int>(change)]; });
  RunScript(set, "N e =x .");
  {
    const ControlsGuard outer(set);
    {
      const ControlsGuard inner(set);
      RunScript(set, "F N D a =y . L");
    }
    set.LoadFromString(Letters("a b").SaveToString());
    EXPECT_EQ(heard, "mr") << "nothing in between, also in a set that was loaded anew";
  }
  EXPECT_EQ(heard, "mrs");
  { const ControlsGuard nothing_changes(set); }
  EXPECT_EQ(heard, "mrs");
  EXPECT_FALSE(set.ControlsDisabled());
}

TEST(SavedPositions, ComeBackOnceAlsoAfterAnError) {
  RecordSet set = Letters("a b c");
  RunScript(set, "N");
  {
    SavedPosition saved(set);
    set.Last();
    saved.Restore();
    EXPECT_EQ(set.AsText(0), "b");
    set.Last();
  }
  EXPECT_EQ(set.AsText(0), "c");
  // An event that raises on the way back does not cover the first error.
  set.SetOnCalcFields([](RecordSet& current) {
    if (current.AsText(0) == "c") throw Abort();
  });
  const auto walk = [&] {
    const SavedPosition saved(set);
    set.First();
    throw DivisionByZero();
  };
  EXPECT_THROW(walk(), DivisionByZero);
  EXPECT_EQ(set.AsText(0), "c");
}

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>

#include "case_file.h"
#include "record_set_script.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

constexpr char kLetters[] = "mcrid*x";  // of the kinds of change

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
    EXPECT_TRUE(line.IsBusy());
    line.Set(field::pci, line[field::pc] + line[field::pc]);
    line.SetNull(3);
    line.SetText(3, "red " + line.AsText(0));
    EXPECT_ERROR(line.Set(field::pc, Currency()),
                 "! pc: inside the calculate-fields event only calculated fields are written");
    EXPECT_ERROR(line.SetText(0, "X"),
                 "! slovo: inside the calculate-fields event only calculated fields are written");
    EXPECT_ERROR(line.SetNull(1),
                 "! pc: inside the calculate-fields event only calculated fields are written");
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
  EXPECT_ERROR(lines.Set(field::pci, Currency()), "! pci: the record is not being edited or inserted")
      << "after the event, browsing";
}

TEST(CalcFieldsEvent, NothingMovesInside) {
  const struct {
    const char* word;
    void (*run)(RecordSet&);
  } operations[] = {{"move", [](RecordSet& set) { set.AppendRecord({"c"}); }},
                    {"close", [](RecordSet& set) { set.Close(); }},
                    {"move", [](RecordSet& set) { set.SetFilter(""); }},
                    {"clone", [](RecordSet& set) { set.CleanClone(Lines()); }},
                    {"move", [](RecordSet& set) { set.DataTransfer(Lines()); }},
                    {"load", [](RecordSet& set) { set.LoadFromString(Lines().SaveToString()); }},
                    {"clear", [](RecordSet& set) { set.Clear(); }},
                    {"post", [](RecordSet& set) { set.Post(); }},
                    {"replace the event", [](RecordSet& set) { set.SetOnCalcFields(nullptr); }}};
  RecordSet lines = Lines();
  const std::string before = lines.SaveToString();
  lines.SetOnCalcFields([&](RecordSet& line) {
    for (const char* step : {"F", "N", "P", "L", "?a", "g", "e", "i", "a", ".", "D", "C", "R", "f", "u"}) {
      EXPECT_THROW(RunScript(line, step), StateError) << step;
    }
    for (const auto& operation : operations) {
      EXPECT_ERROR(operation.run(line),
                   "! stavke: cannot " + std::string(operation.word) + " inside the calculate-fields event");
    }
    line.Cancel();
    EXPECT_EQ(line.State(), DataSetState::kCalcFields);
  });
  lines.Prior();
  EXPECT_EQ(lines.Position(), 0U);
  EXPECT_EQ(lines.State(), DataSetState::kBrowse);
  EXPECT_EQ(lines.SaveToString(), before);
}

TEST(CalcFieldsEvent, AnErrorAfterAPostLeavesTheRecordPosted) {
  for (const char* opening : {"e", "i", "a"}) {
    for (const char* leaving : {".", "N", "P", "F", "L", "?a", "g", "i", "f"}) {
      SCOPED_TRACE(std::string(opening) + leaving);
      RecordSet lines = Lines();
      std::string heard;
      lines.AddListener(
          [&](const RecordSet&, const RecordSetChange& change) { heard += kLetters[change.kind]; });
      lines.SetOnCalcFields([&](RecordSet& line) {
        line.SetText(3, "written before the error");
        if (line[field::pc] == Currency::FromUnits(99)) throw DivisionByZero();
        line.Set(field::pci, line[field::pc]);
      });
      RunScript(lines, opening);
      lines.Set(field::pc, Currency::FromUnits(99));
      heard.clear();
      EXPECT_THROW(RunScript(lines, leaving), DivisionByZero);
      EXPECT_EQ(heard, "r") << "the screen hears of the post all the same";
      EXPECT_EQ(lines.State(), DataSetState::kBrowse);
      EXPECT_EQ(lines[field::pc].ToString() + lines.AsText(3), "99.00written before the error");
      lines.Cancel();
      EXPECT_EQ(lines[field::pc].ToString(), "99.00") << "nothing is left to cancel";
      EXPECT_NO_THROW(RunScript(lines, lines.Position() == 0 ? "N" : "P"))
          << "a move away does not raise again";
    }
  }
  RecordSet lines = Lines();
  lines.SetOnCalcFields([](RecordSet&) { throw Abort(); });
  EXPECT_THROW(lines.AppendRecord({"c"}), Abort);
  EXPECT_THROW(lines.InsertRecord({"d"}), Abort);
  lines.SetOnCalcFields(nullptr);
  EXPECT_EQ(Outcome(lines), "a b [d] c");
}

TEST(BeforePostEvent, CancelsThePostAndTheMoveWhoeverPosts) {
  for (const char* opening : {"e", "i", "a"}) {
    for (const char* leaving : {".", "N", "P", "F", "L", "?a", "g", "i", "a", "f", "u"}) {
      SCOPED_TRACE(std::string(opening) + leaving);
      RecordSet set = Letters("a b c");
      RunScript(set, "N");
      int fired = 0;
      set.SetOnBeforePost([&](RecordSet& current) {
        ++fired;
        EXPECT_TRUE(current.IsBeingChecked() && current.IsBusy());
        EXPECT_EQ(current.AsText(0), "x");
        throw Abort();
      });
      RunScript(set, std::string(opening) + " =x");
      const DataSetState state = set.State();
      EXPECT_THROW(RunScript(set, leaving), Abort);
      EXPECT_THROW(set.PostPending(), Abort);
      EXPECT_EQ(fired, 2);
      EXPECT_FALSE(set.IsBeingChecked() || set.IsBusy());
      EXPECT_EQ(set.State(), state);
      EXPECT_EQ(set.Position(), 1U);
      EXPECT_EQ(set.AsText(0), "x") << "what was written is still there";
      EXPECT_EQ(Outcome(set), state == DataSetState::kEdit ? "a [b] c edit:x" : "a [b] c insert:x");
    }
  }
  RecordSet set = Letters("a b");
  set.SetOnBeforePost([](RecordSet&) { throw Abort(); });
  EXPECT_THROW(set.AppendRecord({"c"}), Abort);
  EXPECT_EQ(Outcome(set), "[a] b");
  EXPECT_NO_THROW(RunScript(set, "e N i N a F")) << "what nobody changed is not posted";
}

TEST(BeforePostEvent, MayWriteTheRecordAndNothingElse) {
  RecordSet set = Letters("a b");
  set.SetOnBeforePost([](RecordSet& current) {
    for (const char* step : {"F", "N", "P", "L", "?a", "g", "i", "a", ".", "~", "D", "C", "f", "u", "X"}) {
      EXPECT_THROW(RunScript(current, step), StateError) << step;
    }
    EXPECT_ERROR(current.CleanClone(Letters("c")), "! slova: cannot clone inside the before-post event");
    EXPECT_ERROR(current.LoadFromString(Letters("c").SaveToString()),
                 "! slova: cannot load inside the before-post event");
    EXPECT_ERROR(current.SetOnBeforePost(nullptr),
                 "! slova: cannot replace the event inside the before-post event");
    RunScript(current, "R e");
    current.SetText(0, current.AsText(0) + "!");
  });
  RunScript(set, "e =x N i =y .");
  EXPECT_EQ(Outcome(set), "x! [y!] b");
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
  set.AddListener([&](const RecordSet&, const RecordSetChange& change) { heard += kLetters[change.kind]; });
  RunScript(set, "N e =x .");
  EXPECT_EQ(std::exchange(heard, ""), "mrcr");
  {
    const ControlsGuard outer(set);
    {
      const ControlsGuard inner(set);
      RunScript(set, "F N D a =y . L");
    }
    set.LoadFromString(Letters("a b").SaveToString());
    EXPECT_TRUE(set.IsBusy());
    EXPECT_EQ(heard, "") << "nothing in between, also in a set that was loaded anew";
  }
  EXPECT_EQ(std::exchange(heard, ""), "*");
  { const ControlsGuard nothing_changes(set); }
  {
    const ControlsGuard moves_only(set);
    RunScript(set, "F N P");
  }
  EXPECT_EQ(std::exchange(heard, ""), "m");
  {
    const ControlsGuard closes(set);
    set.Close();
  }
  EXPECT_EQ(heard, "x");
  EXPECT_FALSE(set.ControlsDisabled());
}

TEST(ControlsGuards, AreNotUndoneWithoutHavingBeenMade) {
  RecordSet set = Letters("a b");
  for (int time = 0; time < 2; ++time) {
    EXPECT_ERROR(set.EnableControls(), "! slova: the controls are enabled without having been disabled");
    EXPECT_ERROR(set.ResumeCalculation(), "! slova: the calculation is resumed without a pause");
  }
  int runs = 0;
  set.SetOnCalcFields([&runs](RecordSet&) { ++runs; });
  {
    const ControlsGuard controls(set);
    const CalculationPause pause(set);
    EXPECT_TRUE(set.ControlsDisabled());
    set.First();
  }
  EXPECT_FALSE(set.ControlsDisabled());
  EXPECT_EQ(runs, 0);
  set.First();
  EXPECT_EQ(runs, 1);
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

// What the filter raises when it comes back reaches who walked to the end, and covers no other error.
TEST(WholeSetWalks, TellOfTheFilterThatCannotComeBack) {
  RecordSet set = Letters("a b c");
  bool fails = false;
  set.SetOnCalcFields([&](RecordSet&) {
    if (fails) throw Abort();
  });
  set.SetFilter(set.Definition(0).name + " = 'b'");
  set.SetFiltered(true);
  const auto walk = [&](bool is_left_early) {
    WholeSetWalk whole(set);
    EXPECT_EQ(set.RecordCount(), 3U);
    set.First();
    fails = true;
    if (is_left_early) throw DivisionByZero();
    whole.Restore();
  };
  EXPECT_THROW(walk(false), Abort);
  EXPECT_FALSE(set.ControlsDisabled());
  fails = false;
  EXPECT_THROW(walk(true), DivisionByZero);
}

}  // namespace
}  // namespace mox

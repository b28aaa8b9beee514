#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "record_set_script.h"

namespace mox {
namespace {

TEST(CalcFieldsEvent, FiresForARecordThatBecomesCurrentAndOnPostAndRefresh) {
  const struct {
    const char* records;
    const char* script;
    const char* fired;  // the words of the records that were current
  } rows[] = {{"a b c", "F", "a"},
              {"a b c", "N P", "b a"},
              {"a b c", "N N N N", "b c"},  // past the end no record becomes current
              {"a b c", "P", ""},
              {"a b c", "L", "c"},
              {"a b c", "?c", "c"},
              {"a b c", "?z", ""},
              {"a b c", "N b L g", "b c b"},
              {"a b c", "R", "a"},
              {"", "F N L R", ""},
              {"a b c", "e =x .", "x"},
              {"a b c", "e .", "a"},
              {"a b c", "e =x ~", ""},
              {"a b c", "e =x N", "x b"},
              {"a b c", "e N", "b"},
              {"a b c", "a", ""},
              {"a b c", "i =x .", "x"},
              {"a b c", "i =x N", "x a"},
              {"a b c", "a =x ~", ""},
              {"a b c", "D", "b"},
              {"a", "D", ""},
              {"a b c", "C", ""},
              {"a1 b a2", "N f", "b a1"},
              {"a1 b a2", "f e =x .", "x a2"}};
  for (const auto& row : rows) {
    RecordSet set = Letters(row.records);
    std::string fired;
    set.SetOnCalcFields([&](RecordSet& current) {
      EXPECT_EQ(&current, &set);
      fired += (fired.empty() ? "" : " ") + current.AsText(0);
    });
    RunScript(set, row.script);
    EXPECT_EQ(fired, row.fired) << "\"" << row.records << "\" " << row.script;
  }
}

// Lines of which the event calculates `pci`, `naziv` and `dana`.
RecordSet Lines() {
  RecordSet lines("stavke");
  lines.DefineField("kolicina", FieldKind::kFloat);
  lines.DefineField("pc", FieldKind::kCurrency);
  lines.DefineField("sifra", FieldKind::kText);
  lines.DefineField({.name = "pci", .kind = FieldKind::kCurrency, .calculated = true});
  lines.DefineField({.name = "marp", .kind = FieldKind::kFloat, .calculated = true});
  lines.DefineField({.name = "naziv", .kind = FieldKind::kText, .calculated = true});
  lines.DefineField({.name = "dana", .kind = FieldKind::kInteger, .calculated = true});
  lines.Open();
  lines.AppendRecord({2.0, 5.0, std::string("A")});
  lines.AppendRecord({3.0, 7.0, std::string("B")});
  lines.First();
  return lines;
}

TEST(CalcFieldsEvent, WritesCalculatedFieldsOnly) {
  RecordSet lines = Lines();
  int fired = 0;
  lines.SetOnCalcFields([&](RecordSet& line) {
    ++fired;
    EXPECT_EQ(line.State(), DataSetState::kCalcFields);
    line.Set(field::pci, Currency::FromReal(line.AsFloat(0) * line.AsFloat(1)));
    line.Set(field::marp, 12.5);
    line.FieldByName("naziv").SetText("red " + line.AsText(2));
    line.FieldByName("dana").SetNull();
    line.FieldByName("dana").SetInteger(30);
    EXPECT_THROW(line.Set(field::pc, Currency()), StateError);
    EXPECT_THROW(line.Set(field::kolicina, 1), StateError);
    EXPECT_THROW(line.SetFloat(0, 1), StateError);
    EXPECT_THROW(line.SetText(2, "X"), StateError);
    EXPECT_THROW(line.SetNull(1), StateError);
  });
  const struct {
    const char* script;
    DataSetState state;
  } rows[] = {{"N", DataSetState::kBrowse},
              {"R", DataSetState::kBrowse},
              {"e R", DataSetState::kEdit},
              {"a R", DataSetState::kInsert}};
  for (const auto& row : rows) {
    fired = 0;
    RunScript(lines, row.script);
    EXPECT_EQ(fired, 1) << row.script;
    EXPECT_EQ(lines.State(), row.state) << row.script;
    EXPECT_FALSE(lines.IsModified()) << row.script << ": calculated fields are no change of the record";
    lines.Cancel();
  }
  lines.Refresh();
  EXPECT_EQ(lines[field::pci].ToString(), "21.00");
  EXPECT_EQ(lines.FieldByName("naziv").AsText(), "red B");
  EXPECT_EQ(lines.FieldByName("dana").AsInteger(), 30);
  EXPECT_THROW(lines.Set(field::pci, Currency()), StateError) << "after the event, browsing";
  lines.Edit();
  lines.Set(field::kolicina, 10);
  lines.Set(field::pci, Currency());
  lines.Refresh();
  EXPECT_TRUE(lines.IsModified());
  EXPECT_EQ(lines[field::pci].ToString(), "70.00");
  lines.Set(field::pc, Currency());
  lines.Cancel();
  EXPECT_EQ(lines[field::pci].ToString(), "21.00");
  EXPECT_EQ(lines.RecordCount(), 2U);
}

TEST(CalcFieldsEvent, NothingMovesInside) {
  RecordSet lines = Lines();
  const std::string text = lines.SaveToString();
  const Bookmark bookmark = lines.GetBookmark().value();
  using Operation = void (*)(RecordSet&);
  const Operation operations[] = {[](RecordSet& set) { set.First(); },
                                  [](RecordSet& set) { set.Next(); },
                                  [](RecordSet& set) { set.Prior(); },
                                  [](RecordSet& set) { set.Last(); },
                                  [](RecordSet& set) { set.Locate("sifra", {std::string("B")}); },
                                  [](RecordSet& set) { set.Locate(field::kolicina, 2); },
                                  [](RecordSet& set) { set.Edit(); },
                                  [](RecordSet& set) { set.Insert(); },
                                  [](RecordSet& set) { set.Append(); },
                                  [](RecordSet& set) { set.AppendRecord({1.0}); },
                                  [](RecordSet& set) { set.Post(); },
                                  [](RecordSet& set) { set.Delete(); },
                                  [](RecordSet& set) { set.Clear(); },
                                  [](RecordSet& set) { set.Close(); },
                                  [](RecordSet& set) { set.Refresh(); },
                                  [](RecordSet& set) { set.SetFilter("sifra = 'B'"); },
                                  [](RecordSet& set) { set.SetFiltered(true); },
                                  [](RecordSet& set) { set.CleanClone(Lines()); },
                                  [](RecordSet& set) { set.DataTransfer(Lines()); },
                                  [](RecordSet& set) { set.LoadFromString(Lines().SaveToString()); },
                                  [](RecordSet& set) { set.SetOnCalcFields(nullptr); }};
  lines.SetOnCalcFields([&](RecordSet& line) {
    for (std::size_t i = 0; i < std::size(operations); ++i) {
      EXPECT_THROW(operations[i](line), StateError) << "operation " << i;
      EXPECT_EQ(line.State(), DataSetState::kCalcFields);
    }
    EXPECT_THROW(line.GotoBookmark(bookmark), StateError);
    line.Cancel();
  });
  lines.Next();
  EXPECT_EQ(lines.Position(), 1U);
  EXPECT_EQ(lines.State(), DataSetState::kBrowse);
  EXPECT_EQ(lines.SaveToString(), text);
}

TEST(CalcFieldsEvent, AnErrorOnPostLeavesTheRecordOpen) {
  RecordSet lines = Lines();
  const std::string before = lines.SaveToString();
  bool faulty = true;
  lines.SetOnCalcFields([&](RecordSet& line) {
    line.FieldByName("naziv").SetText("written before the error, and long enough not to be found by chance");
    line.Set(field::pci, line[field::pc]);
    if (faulty) throw Abort();
  });
  for (const char* opening : {"e", "i", "a"}) {
    for (const char* leaving : {".", "N", "F", "u", "i"}) {
      faulty = false;
      RunScript(lines, "L");
      faulty = true;
      RunScript(lines, opening);
      const DataSetState state = lines.State();
      lines.Set(field::pc, Currency::FromUnits(99));
      EXPECT_THROW(RunScript(lines, leaving), Abort) << opening << leaving;
      EXPECT_EQ(lines.State(), state) << opening << leaving;
      EXPECT_TRUE(lines.IsModified());
      EXPECT_EQ(lines[field::pc].ToString(), "99.00");
      EXPECT_EQ(lines[field::pci].ToString(), "99.00") << "fields written before the error keep it";
      lines.Cancel();
      EXPECT_EQ(lines.RecordCount(), 2U) << opening << leaving;
      EXPECT_EQ(lines[field::pc].ToString(), "7.00");
    }
  }
  EXPECT_THROW(lines.AppendRecord({1.0}), Abort);
  EXPECT_EQ(lines.State(), DataSetState::kBrowse);
  EXPECT_EQ(lines.RecordCount(), 2U);
  lines.Edit();
  lines.Set(field::pc, Currency::FromUnits(99));
  EXPECT_THROW(lines.Post(), Abort);
  faulty = false;
  lines.Post();
  EXPECT_EQ(lines[field::pci].ToString(), "99.00");
}

TEST(CalcFieldsEvent, AnErrorOnAMoveLeavesAUsableSet) {
  RecordSet set = Letters("a b c");
  set.SetOnCalcFields([](RecordSet& current) {
    if (current.AsText(0) == "b") throw DivisionByZero();
  });
  EXPECT_THROW(set.Next(), DivisionByZero);
  EXPECT_EQ(set.State(), DataSetState::kBrowse);
  EXPECT_EQ(set.AsText(0), "b");
  EXPECT_FALSE(set.Eof());
  set.Next();
  EXPECT_EQ(set.AsText(0), "c");
  EXPECT_THROW(RunScript(set, "?b"), DivisionByZero);
  EXPECT_THROW(set.Refresh(), DivisionByZero);
  set.SetOnCalcFields(nullptr);
  EXPECT_EQ(Outcome(set), "a [b] c");
}

TEST(ControlsGuards, TellTheListenerOnceOfAllChanges) {
  RecordSet set = Letters("a b c");
  std::string heard;
  set.SetListener([&](RecordSet&, RecordSetChange change) {
    heard += change == RecordSetChange::kMoved ? 'm' : change == RecordSetChange::kRecord ? 'r' : 's';
  });
  RunScript(set, "N e =x .");
  EXPECT_EQ(heard, "mr");
  heard.clear();
  {
    const ControlsGuard outer(set);
    RunScript(set, "F");
    try {
      const ControlsGuard inner(set);
      RunScript(set, "N D a =y . L");
      throw Abort();
    } catch (const Abort&) {
      EXPECT_TRUE(set.ControlsDisabled());
    }
    EXPECT_EQ(heard, "");
    set.LoadFromString(Letters("a b").SaveToString());
    EXPECT_TRUE(set.ControlsDisabled()) << "also in a set that was loaded anew";
  }
  EXPECT_EQ(heard, "s");
  EXPECT_FALSE(set.ControlsDisabled());
  { const ControlsGuard nothing_changes(set); }
  EXPECT_EQ(heard, "s");
  RunScript(set, "L D");
  EXPECT_EQ(heard, "smms");
}

TEST(SavedPositions, ComeBackAlsoAfterAnError) {
  RecordSet set = Letters("a b c");
  set.Next();
  {
    SavedPosition saved(set);
    RunScript(set, "F i =x . L");
    saved.Restore();
    EXPECT_EQ(set.AsText(0), "b");
    set.Last();
  }
  EXPECT_EQ(set.AsText(0), "c") << "restored once";
  const auto walk = [&] {
    const SavedPosition saved(set);
    set.First();
    throw DivisionByZero();
  };
  EXPECT_THROW(walk(), DivisionByZero);
  EXPECT_EQ(set.AsText(0), "c");
  // An event that raises on the way back does not cover the first error.
  set.SetOnCalcFields([](RecordSet& current) {
    if (current.AsText(0) == "c") throw Abort();
  });
  EXPECT_THROW(walk(), DivisionByZero);
  EXPECT_EQ(set.AsText(0), "c");
  {
    SavedPosition saved(set);
    set.First();
    EXPECT_THROW(saved.Restore(), Abort);
  }
  set.SetOnCalcFields(nullptr);
  {
    const SavedPosition of_a_record_that_goes(set);
    set.Delete();
  }
  EXPECT_EQ(set.AsText(0), "b");
  set.Clear();
  const SavedPosition of_nothing(set);
  set.AppendRecord({std::string("a")});
}

}  // namespace
}  // namespace mox

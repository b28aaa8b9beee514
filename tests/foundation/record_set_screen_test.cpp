#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "record_set_script.h"
#include "tests/fakes/shortened.h"
#include "tests/foundation/case_file.h"

// A set and a screen that knows of it only what it is told, driven by random operations.

namespace mox {
namespace {

template <typename Record>
std::string TextOf(const Record& row) {
  std::string text;
  for (std::size_t i = 0; i < row.FieldCount(); ++i) text += (row.IsNull(i) ? "~" : row.DisplayText(i)) + "|";
  return text;
}

std::string Join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += word + " ";
  return text;
}

/// Keeps its own copy of the rows by what it is told, reading no more of the set than that.
class FakeScreen {
 public:
  void Hear(const RecordSet& set, const RecordSetChange& change) {
    const auto row = rows.begin() + static_cast<std::ptrdiff_t>(change.row);
    switch (change.kind) {
      case RecordSetChange::kMoved:
        current = change.row;
        break;
      case RecordSetChange::kCell:
      case RecordSetChange::kRecord:
        rows.at(change.row) = TextOf(set.RowAt(change.row));
        current = change.row;
        break;
      case RecordSetChange::kInserted:
        rows.insert(row, TextOf(set.RowAt(change.row)));
        current = change.row;
        break;
      case RecordSetChange::kRemoved:
        rows.erase(row);
        break;
      case RecordSetChange::kReset:
        rows.clear();
        for (const RecordRow& each : set.Rows()) rows.push_back(TextOf(each));
        current = set.CurrentRow();
        required = set.Definition(0).required;
        break;
      case RecordSetChange::kClosed:
        rows.clear();
        current = 0;
        break;
    }
    ++heard;
  }

  std::vector<std::string> rows;
  std::size_t current = 0;
  bool required = false;  // the first field, which a heading shows
  int heard = 0;
};

// Hears of a set, and is held against it.
class WatchingScreen {
 public:
  explicit WatchingScreen(RecordSet& set) : set_(set) {
    set.AddListener([this](const RecordSet& of, const RecordSetChange& change) { screen_.Hear(of, change); });
  }
  WatchingScreen(const WatchingScreen&) = delete;
  WatchingScreen& operator=(const WatchingScreen&) = delete;

  // Where it differs from the set, or nothing.
  std::string Difference() const {
    std::vector<std::string> rows;
    const int heard = screen_.heard;
    for (const RecordRow& row : set_.Rows()) rows.push_back(TextOf(row));
    if (screen_.heard != heard) return "reading told the screen something";
    if (rows != screen_.rows) return "set " + Join(rows) + "screen " + Join(screen_.rows);
    if (set_.IsActive() && screen_.required != set_.Definition(0).required) return "required";
    if (!rows.empty() && screen_.current != set_.CurrentRow()) {
      return "row " + std::to_string(set_.CurrentRow()) + ", screen " + std::to_string(screen_.current);
    }
    if (!rows.empty() && rows[set_.CurrentRow()] != TextOf(set_)) {
      return "the current row is not the current record";
    }
    return "";
  }

 private:
  const RecordSet& set_;
  FakeScreen screen_;
};

using Calculator = void (*)(RecordSet& line, int& runs);

void SetEvents(RecordSet& set, int& runs, Calculator calculate, CalcFieldsReads reads) {
  set.SetOnCalcFields([&runs, calculate](RecordSet& line) { calculate(line, runs); }, reads);
  set.SetOnBeforePost([](RecordSet& line) {
    if (line.AsText(0) == "?") throw Abort();
  });
}

// Calculates from what is typed and from how often it ran; what it wrote before it raises stays.
void CountRuns(RecordSet& line, int& runs) {
  line.SetText(1, line.AsText(0) + std::to_string(++runs % 3));
  if (line.AsText(0) == "!") throw DivisionByZero();
}

// A set of two fields: a letter that is typed, and what the event makes of it. The event raises for "!", the
// check before a post for "?".
RecordSet WatchedSet(int& runs, Calculator calculate = CountRuns,
                     CalcFieldsReads reads = CalcFieldsReads::kAnything) {
  RecordSet set("slova");
  set.DefineField("slovo", FieldKind::kText);
  set.DefineField({.name = "naziv", .kind = FieldKind::kText, .calculated = true});
  set.Open();
  set.SetFilter("slovo like 'a%'");
  SetEvents(set, runs, calculate, reads);
  return set;
}

constexpr const char* kSteps[] = {"F",   "N",  "P",  "L", "e", "e", "i",  "a",  "=a",  "=b",
                                  "=ab", "=!", "=?", ".", ".", "~", "D",  "?a", "b g", "( F )",
                                  "f",   "u",  "R",  "C", "X", "c", "g0", "g1", "g2",  "g3",
                                  "l",   "t",  "w",  "n", "A", "p", "m",  "M",  "k"};

// One of the steps of a script, or a step of more than one set.
void Step(RecordSet& set, const std::string& step) {
  if (step == "c") return set.CleanClone(Letters("a b ab"));
  if (step == "l") return set.LoadFromString(set.SaveToString());
  if (step == "t") return set.DataTransfer(Letters("a c"));
  if (step == "k") return set.Mark(set.Table().size(), 0, std::string("ak"));
  if (step == "m") {
    RecordSet elsewhere(std::move(set));
    set = std::move(elsewhere);
    return;
  }
  if (step == "M") {  // another set in its place, without events
    RecordSet other;
    other.CleanClone(set);
    other.AppendRecord({"am"});
    set = std::move(other);
    return;
  }
  if (step == "p") {
    const CalculationPause pause(set);
    return RunScript(set, "e =ab . N R");
  }
  if (step == "A") return set.AppendRecord({"ad"});
  if (step == "n") return set.SetRequired(0, !set.Definition(0).required);
  if (step[0] == 'g') return set.GoToRow(static_cast<std::size_t>(step[1] - '0'));
  if (step == "w") {
    const ControlsGuard guard(set);
    for (set.First(); !set.Eof(); set.Next()) {
      set.Edit();
      set.SetText(0, set.AsText(0) + "w");
      if (set.RecordCount() > 6) set.Delete();
    }
    return;
  }
  RunScript(set, step);
}

void TryStep(RecordSet& set, const std::string& step) {
  try {
    Step(set, step);
  } catch (const Error&) {  // refused, or an error of the event
  } catch (const Abort&) {
  }
}

using Steps = std::vector<std::string>;

// Where the screen differs from the set after the steps, or nothing.
std::string ScreenDifference(const Steps& steps) {
  int runs = 0;
  RecordSet set = WatchedSet(runs);
  const WatchingScreen screen(set);
  for (const std::string& step : steps) {
    TryStep(set, step);
    if (const std::string difference = screen.Difference(); !difference.empty()) {
      return step + ": " + difference;
    }
    if (step == "M") SetEvents(set, runs, CountRuns, CalcFieldsReads::kAnything);
    if (!set.IsActive()) set.Open();
  }
  return "";
}

// Calculates from what is typed and from what it calculated before, so that it settles after some runs only;
// of "ab" from what is typed alone.
void Settle(RecordSet& line, int& runs) {
  ++runs;
  const std::string typed = line.AsText(0);
  if (typed == "!") throw DivisionByZero();
  if (typed == "ab") return line.SetText(1, "fixed");
  const std::string before = line.AsText(1);
  line.SetText(1, before.size() < typed.size() + 2 ? before + "+" : before.substr(0, typed.size() + 2));
}

// Calculates from what is typed alone; of "b" it leaves what is there.
void SettleAtOnce(RecordSet& line, int& runs) {
  ++runs;
  const std::string typed = line.AsText(0);
  if (typed == "!") throw DivisionByZero();
  if (typed != "b") line.SetText(1, "of " + typed);
}

// Where a set whose event is declared to read no more than its record, with a screen or without one, differs
// from one that runs it always, or from its screen.
template <CalcFieldsReads kReads, Calculator kCalculate, bool kWatched>
std::string SettledDifference(const Steps& steps) {
  const auto text_of = [](const RecordSet& set) {
    std::string text = std::to_string(set.CurrentRow()) + ":";
    for (const RecordRow& row : set.Rows()) text += " " + TextOf(row);
    return text;
  };
  int runs = 0;
  int fewer_runs = 0;
  RecordSet always = WatchedSet(runs, kCalculate);
  RecordSet settled = WatchedSet(fewer_runs, kCalculate, kReads);
  std::optional<WatchingScreen> screen;
  if (kWatched) screen.emplace(settled);
  for (const std::string& step : steps) {
    TryStep(always, step);
    TryStep(settled, step);
    if (text_of(always) != text_of(settled)) return step + ": " + text_of(always) + " / " + text_of(settled);
    if (fewer_runs > runs) return step + ": more runs";
    if (const std::string difference = screen ? screen->Difference() : ""; !difference.empty()) {
      return step + ": " + difference;
    }
    if (step == "M") {
      SetEvents(always, runs, kCalculate, CalcFieldsReads::kAnything);
      SetEvents(settled, fewer_runs, kCalculate, kReads);
    }
    for (RecordSet* const set : {&always, &settled}) {
      if (!set->IsActive()) set->Open();
    }
  }
  return "";
}

using DifferenceOf = std::string (*)(const Steps&);

// Of random steps that differ, the shortest ones with what differs; empty where none do.
std::string FoundDifference(DifferenceOf difference, int runs) {
  constexpr int kStepsARun = 200;
  std::mt19937 random(7);
  for (int run = 0; run < runs; ++run) {
    Steps steps;
    for (int i = 0; i < kStepsARun; ++i) steps.emplace_back(kSteps[random() % std::size(kSteps)]);
    if (difference(steps).empty()) continue;
    const Steps shrunk = Shortened(steps, [&](const Steps& fewer) { return !difference(fewer).empty(); });
    return Join(shrunk) + "\n" + difference(shrunk);
  }
  return "";
}

TEST(Screens, HoldWhatTheyWereTold) { EXPECT_EQ(FoundDifference(ScreenDifference, 500), ""); }

TEST(SettledRecords, HoldWhatTheyWouldHoldAnyway) {
  using enum CalcFieldsReads;
  EXPECT_EQ(FoundDifference(SettledDifference<kItsRecord, Settle, false>, 200), "");
  EXPECT_EQ(FoundDifference(SettledDifference<kItsRecord, Settle, true>, 200), "");
  EXPECT_EQ(FoundDifference(SettledDifference<kItsInputs, SettleAtOnce, false>, 200), "");
  EXPECT_EQ(FoundDifference(SettledDifference<kItsInputs, SettleAtOnce, true>, 200), "");
  EXPECT_NE(FoundDifference(SettledDifference<kItsInputs, Settle, false>, 5), "") << "it reads what it wrote";
}

TEST(SettledRecords, AreNotCalculatedAgain) {
  const struct {
    CalcFieldsReads reads;
    int loaded;  // runs for three lines of which each needs one, and a second that changes nothing
    int walked;
    int edited;
  } rows[] = {{CalcFieldsReads::kAnything, 3, 6, 3},
              {CalcFieldsReads::kItsRecord, 3, 3, 1},
              {CalcFieldsReads::kItsInputs, 3, 0, 1}};
  for (const auto& row : rows) {
    int runs = 0;
    RecordSet set("slova");
    set.DefineField("slovo", FieldKind::kText);
    set.DefineField({.name = "naziv", .kind = FieldKind::kText, .calculated = true});
    set.Open();
    set.SetOnCalcFields(
        [&runs](RecordSet& line) {
          ++runs;
          line.SetText(1, "naziv " + line.AsText(0));
        },
        row.reads);
    for (const char* letter : {"a", "b", "c"}) set.AppendRecord({letter});
    EXPECT_EQ(std::exchange(runs, 0), row.loaded);
    for (int walk = 0; walk < 2; ++walk) {
      for (set.First(); !set.Eof(); set.Next()) {
      }
    }
    EXPECT_EQ(std::exchange(runs, 0), row.walked);
    for (const RecordRow& read : set.Rows()) EXPECT_EQ(read.AsText(1), "naziv " + read.AsText(0));
    EXPECT_EQ(runs, 0) << "reading";
    RunScript(set, "F N");
    runs = 0;
    RunScript(set, "e =x . P");
    set.Last();
    EXPECT_EQ(std::exchange(runs, 0), row.edited);
    set.Refresh();
    EXPECT_EQ(runs, 1);
  }
}

// A table view paints every row while a line is half typed; afterwards Cancel still brings the line back.
TEST(Screens, ReadRowsInTheMiddleOfAnEdit) {
  for (const char* opening : {"e", "i", "a"}) {
    RecordSet set = Letters("a b c");
    RunScript(set, "N");
    int fired = 0;
    set.SetOnCalcFields([&](RecordSet&) { ++fired; });
    RunScript(set, std::string(opening) + " =x");
    const RecordSet& painted = set;
    std::string rows;
    for (const RecordRow& row : painted.Rows()) rows += row.AsText(0);
    EXPECT_EQ(rows, *opening == 'e' ? "axc" : *opening == 'i' ? "axbc" : "abcx");
    EXPECT_EQ(painted.RowAt(painted.CurrentRow()).AsText(0), "x");
    EXPECT_EQ(painted.FindRow("slovo", std::vector<Value>{"x"}), painted.CurrentRow());
    EXPECT_EQ(painted.FindRow("slovo", std::vector<Value>{"a"}, {}, 1), std::nullopt);
    // A check marks another line so that memory of texts is given back; what is open keeps its own.
    const std::size_t marked = painted.NumberOfRow(*painted.FindRow("slovo", std::vector<Value>{"c"}));
    set.Mark(marked, 0, std::string(2U << 20U, 'm'));
    set.Mark(marked, 0, std::string("c"));
    EXPECT_ERROR(set.Mark(painted.NumberOfRow(painted.CurrentRow()), 0, std::string("m")),
                 "! slova: a record that is being edited is not marked");
    EXPECT_EQ(painted.AsText(0), "x");
    EXPECT_EQ(fired, 0);
    EXPECT_EQ(set.Table().size(), 3U);
    const std::string place = std::to_string(painted.RowCount());
    EXPECT_ERROR(static_cast<void>(painted.RowAt(painted.RowCount())),
                 "! slova: there is no row at place " + place + " of " + place);
    set.Cancel();
    EXPECT_EQ(Outcome(set), "a [b] c");
  }
}

TEST(Screens, GoToARowInOneMove) {
  int calculated = 0;
  RecordSet set = WatchedSet(calculated);
  for (int i = 0; i < 5'000; ++i) set.AppendRecord({std::to_string(i)});
  calculated = 0;
  int heard = 0;
  const int listener = set.AddListener([&](const RecordSet&, const RecordSetChange&) { ++heard; });
  set.GoToRow(17);
  EXPECT_EQ(calculated, 1);
  EXPECT_EQ(heard, 2) << "the record that the event calculated, and the move";
  set.RemoveListener(listener);
  EXPECT_EQ(set.AsText(0), "17");
  set.Edit();
  set.SetText(0, "x");
  set.GoToRow(17);
  EXPECT_EQ(set.State(), DataSetState::kEdit) << "the current row stays as it is";
  set.Insert();
  set.GoToRow(4'999);
  EXPECT_EQ(set.AsText(0), "4998") << "the row as it was shown, under the insert that was dropped";
  EXPECT_ERROR(set.GoToRow(5'000), "! slova: there is no row at place 5000 of 5000");
}

TEST(Screens, ComeAndGoWhileOthersAreTold) {
  RecordSet set = Letters("a b");
  std::string heard;
  int second = 0;
  const auto say = [&](char who) {
    return [&heard, who](const RecordSet&, const RecordSetChange&) { heard += who; };
  };
  set.AddListener([&](const RecordSet&, const RecordSetChange&) {
    heard += '1';
    set.RemoveListener(second);
    if (heard.size() == 1) set.AddListener(say('3'));
  });
  second = set.AddListener(say('2'));
  RunScript(set, "N P");
  EXPECT_EQ(heard, "1313");
}

}  // namespace
}  // namespace mox

#include "mox/validations/validations.h"

#include <chrono>
#include <cstdlib>
#include <ctime>

#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

// Runs the table of the checks: what they are given, what they answer, and the dialogs in their order.

namespace mox {
namespace {

// A set from words such as "Iznos:float=2,5", with "!" after the kind of a required field; without a value it
// is null. "|" begins a further record; "edit" and "insert" take what follows in that state, at the first
// one; "closed" closes the set. Other words count for nothing.
RecordSet SetOf(const Words& words) {
  RecordSet set;
  for (const std::string& word : words) {
    const std::size_t colon = word.find(':');
    if (colon == std::string::npos) continue;
    FieldDef field;
    field.name = word.substr(0, colon);
    field.display_name = "Naziv " + field.name;
    const std::string kind = word.substr(colon + 1, word.find_first_of("!=") - colon - 1);
    EXPECT_TRUE(KindFromName(kind, field.kind));
    field.required = word.find('!') != std::string::npos;
    set.DefineField(field);
  }
  set.Open();
  set.Append();
  bool stays_open = false;
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (word == "|") set.Append();
    if (word == "edit" || word == "insert") {
      set.First();
      word == "edit" ? set.Edit() : set.Insert();
      stays_open = true;
    }
    if (equals != std::string::npos) {
      set.FieldByName(word.substr(0, word.find_first_of(":="))).SetText(word.substr(equals + 1));
    }
  }
  if (!stays_open) set.First();
  if (std::find(words.begin(), words.end(), "closed") != words.end()) set.Close();
  return set;
}

std::vector<ConstField> FieldsOf(const RecordSet& set, std::size_t from = 0) {
  std::vector<ConstField> fields;
  for (std::size_t i = from; i < set.FieldCount(); ++i) fields.push_back(set.FieldAt(i));
  return fields;
}

bool Has(const Words& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// The answer of a check and its dialogs. A row may begin with the setting "lager=1", the company parameter
// "override", "alone" without a communication module, and the answers "yes" and "no".
std::string Outcome(Words row, const std::function<bool(const Words&)>& check) {
  RecordingHost host;
  RecordSet parameters = SetOf({"override_constraints:boolean=True"});
  bool alone = false;
  for (; !row.empty(); row.erase(row.begin())) {
    const std::string& word = row.front();
    if (word.starts_with("lager=")) {
      host.settings.WriteString("GENERAL", "LAGERNEGATIVE", word.substr(6));
    } else if (word.starts_with("override")) {
      if (word != "override") parameters = SetOf({"override_constraints:text" + word.substr(8)});
      host.parameters = &parameters;
    } else if (word == "alone") {
      alone = true;
    } else if (word == "yes" || word == "no") {
      host.dialog_answers.push_back(word == "yes" ? kDialogYes : kDialogNo);
    } else {
      break;
    }
  }
  AppParts parts = host.Parts();
  if (alone) parts.comunication = nullptr;
  const ScopedApp app(parts);
  SetConstraintsOnLager();
  std::string outcome;
  try {
    outcome = check(row) ? "true" : "false";
  } catch (const Abort&) {
    outcome = "abort";
  }
  for (const std::string& line : host.log) outcome += " " + line;
  return outcome;
}

TableFunction OnTexts(const std::function<bool(const Words&)>& check) {
  return [check](const Words& row) { return Outcome(row, check); };
}

// The set as it was before its pending edit, which it cancels, after all else that a check must leave alone.
std::string StateOf(RecordSet& set) {
  if (!set.IsActive()) return "closed";
  std::string state = std::to_string(set.Position()) + " of " + set.SaveToString();
  state += std::to_string(static_cast<int>(set.State())) + (set.IsModified() ? " modified" : "");
  for (std::size_t i = 0; i < set.FieldCount(); ++i) state += " " + set.AsText(i);
  set.Cancel();
  for (std::size_t i = 0; i < set.FieldCount(); ++i) state += " " + set.AsText(i);
  return state;
}

// A check of a set, which it may not change, post or leave on another record.
bool Unchanged(const Words& words, const std::function<bool(const RecordSet&)>& check) {
  RecordSet set = SetOf(words);
  RecordSet untouched = SetOf(words);
  const bool result = check(set);
  EXPECT_FALSE(set.ControlsDisabled());
  EXPECT_EQ(StateOf(set), StateOf(untouched));
  return result;
}

TableFunction OnSet(const std::function<bool(const RecordSet&, const Words&)>& check) {
  return OnTexts([check](const Words& words) {
    return Unchanged(words, [&](const RecordSet& set) { return check(set, words); });
  });
}

TableFunction OnTwoFields(bool (*check)(const ConstField&, const ConstField&)) {
  return OnSet([check](const RecordSet& set, auto&) { return check(set.FieldAt(0), set.FieldAt(1)); });
}

TableFunction Related(bool (*check)(const ConstField&, const ConstField&, std::string_view, bool, bool,
                                    bool)) {
  return OnSet([check](const RecordSet& set, const Words& words) {
    return check(set.FieldAt(0), set.FieldAt(1), "Poruka", Has(words, "earlier"), Has(words, "later"),
                 Has(words, "equal"));
  });
}

// So many seconds from now, in a time zone five hours ahead of the world's time.
bool CheckSecondsAhead(const Words& words) {
  ::setenv("TZ", "MOX-5", 1);
  ::tzset();
  const auto moment = std::chrono::system_clock::now().time_since_epoch() + std::chrono::hours(5) +
                      std::chrono::seconds(std::stoi(words.at(0)));
  RecordSet set = SetOf({"Datum:datetime"});
  set.Append();
  set.SetDateTime(0, {std::chrono::duration_cast<std::chrono::milliseconds>(moment).count()});
  return CheckDateForward(set.FieldAt(0));
}

// A text check with the message that it may replace.
TableFunction Contact(bool (*check)(std::string_view, std::string&)) {
  return OnTexts([check](const Words& words) {
    std::string message = "before";
    const bool result = check(words.at(0), message);
    EXPECT_EQ(message == "before", result);
    return result;
  });
}

TEST(Validations, FollowTheirTable) {
  ExpectTables(
      "validations",
      {{"CheckLagerNegative", OnTwoFields(CheckLagerNegative)},
       {"CheckLager", OnTwoFields(CheckLager)},
       {"CheckLagerValue", OnSet([](const RecordSet& set, const Words& words) {
          const std::vector<ConstField> fields = FieldsOf(set, 1);
          return CheckLagerValue(fields, set.FieldAt(0), Has(words, "second") ? 1 : 0);
        })},
       {"CheckLagerZero", OnSet([](const RecordSet& set, auto&) { return CheckLagerZero(set.FieldAt(0)); })},
       {"CheckIfZero", OnSet([](const RecordSet& set, auto&) { return CheckIfZero(FieldsOf(set)); })},
       {"CheckIfGreaterThenZero", OnSet([](const RecordSet& set, const Words& words) {
          return CheckIfGreaterThenZero(FieldsOf(set), Has(words, "allowed"));
        })},
       {"CheckDateForward", OnTexts(CheckSecondsAhead)},
       {"CheckDate", OnSet([](const RecordSet& set, auto&) { return CheckDate(set.FieldAt(0)); })},
       {"CheckDateActiveAndNextYear", OnSet([](const RecordSet& set, const Words& words) {
          return CheckDateActiveAndNextYear(set.FieldAt(0), Has(words, "Poruka") ? "Poruka" : "");
        })},
       {"CheckDateOnRelatedDate", Related(CheckDateOnRelatedDate)},
       {"CheckFieldOnRelatedField", Related(CheckFieldOnRelatedField)},
       {"CheckDatesOnPrimka", OnSet([](const RecordSet& set, auto&) {
          return CheckDatesOnPrimka(set.FieldAt(0), set.FieldAt(1), set.FieldAt(2));
        })},
       {"CheckRequiredFields", OnSet([](const RecordSet& set, auto&) { return CheckRequiredFields(set); })},
       {"CheckRequiredFieldsFull",
        OnSet([](const RecordSet& set, auto&) { return CheckRequiredFieldsFull(set, FieldsOf(set)); })},
       {"CheckFieldUnique",
        OnSet([](const RecordSet& set, auto&) { return CheckFieldUnique(set.FieldAt(0)); })},
       {"CheckFieldUnique in another set", OnTexts([](const Words& words) {
          RecordSet field = SetOf({words.front()});
          return Unchanged({words.begin() + 1, words.end()},
                           [&](const RecordSet& set) { return CheckFieldUnique(field.FieldAt(0), set); });
        })},
       {"CheckFieldUnique in its own set",
        OnSet([](const RecordSet& set, auto&) { return CheckFieldUnique(set.FieldAt(0), set); })},
       {"CheckEmail", Contact(CheckEmail)},
       {"CheckTelefonFax", Contact(CheckTelefonFax)},
       {"CheckObrSast", OnSet([](const RecordSet& set, auto&) {
          CheckObrSast(set);
          return true;
        })},
       {"CheckFiskalniNaziv", OnTexts([](const Words& words) {
          return CheckFiskalniNaziv(words.at(0), words.size() > 1 ? words[1] : "");
        })}},
      "validations");
}

}  // namespace
}  // namespace mox

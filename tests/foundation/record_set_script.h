#pragma once

#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>

#include "mox/foundation/record_set.h"

namespace mox {

/// A set of one text field, "slovo", with a record for each word, on the first record. Its filter, still
/// switched off, shows the words that begin with "a".
inline RecordSet Letters(const std::string& words) {
  RecordSet set("slova");
  set.DefineField("slovo", FieldKind::kText);
  set.Open();
  std::istringstream in(words);
  for (std::string word; in >> word;) set.AppendRecord({word});
  set.SetFilter("slovo like 'a%'");
  set.First();
  return set;
}

/// Runs the steps of a script, which are separated by blanks; cases/navigation.txt lists them.
inline void RunScript(RecordSet& set, const std::string& script) {
  std::optional<Bookmark> bookmark;
  std::optional<SavedPosition> saved;
  using Step = std::function<void(const std::string& word)>;
  const std::map<char, Step> steps = {{'F', [&](auto&) { set.First(); }},
                                      {'N', [&](auto&) { set.Next(); }},
                                      {'P', [&](auto&) { set.Prior(); }},
                                      {'L', [&](auto&) { set.Last(); }},
                                      {'e', [&](auto&) { set.Edit(); }},
                                      {'i', [&](auto&) { set.Insert(); }},
                                      {'a', [&](auto&) { set.Append(); }},
                                      {'=', [&](auto& word) { set.SetText(0, word); }},
                                      {'.', [&](auto&) { set.Post(); }},
                                      {'~', [&](auto&) { set.Cancel(); }},
                                      {'D', [&](auto&) { set.Delete(); }},
                                      {'C', [&](auto&) { set.Clear(); }},
                                      {'?', [&](auto& word) { set.Locate("slovo", {word}); }},
                                      {'b', [&](auto&) { bookmark = set.GetBookmark(); }},
                                      {'g', [&](auto&) { set.GotoBookmark(bookmark.value_or(Bookmark())); }},
                                      {'(', [&](auto&) { saved.emplace(set); }},
                                      {')', [&](auto&) { saved.reset(); }},
                                      {'f', [&](auto&) { set.SetFiltered(true); }},
                                      {'u', [&](auto&) { set.SetFiltered(false); }},
                                      {'X', [&](auto&) { set.Close(); }},
                                      {'R', [&](auto&) { set.Refresh(); }}};
  std::istringstream in(script);
  for (std::string step; in >> step;) steps.at(step[0])(step.substr(1));
}

/// The visible records with the current one in brackets, after "<" at Bof, before ">" at Eof, and then what
/// an open edit or insert holds: "a [b] c edit:x". The edit or insert is cancelled.
inline std::string Outcome(RecordSet& set) {
  const std::string bof = set.Bof() ? "<" : "";
  std::string end = set.Eof() ? ">" : "";
  if (set.State() == DataSetState::kEdit) end += " edit:" + set.AsText(0);
  if (set.State() == DataSetState::kInsert) end += " insert:" + set.AsText(0);
  const std::size_t position = set.Position();
  set.Cancel();
  std::string records;
  std::size_t count = 0;
  for (set.First(); !set.Eof(); set.Next(), ++count) {
    const std::string word = set.AsText(0);
    records += (count > 0 ? " " : "") + (count == position ? "[" + word + "]" : word);
  }
  if (count != set.RecordCount()) records += " counted as " + std::to_string(set.RecordCount());
  return bof + records + end;
}

}  // namespace mox

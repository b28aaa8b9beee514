#include <CLI/CLI.hpp>
#include <memory>

#include "cli/command.h"
#include "cli/recap_members.h"
#include "cli/record_set_file.h"
#include "cli/text_table.h"

namespace mox {
namespace {

struct RecapArguments {
  std::string member;
  std::vector<std::string> words;
  bool list = false;
  bool table = false;
};

void ListMembers(std::string& out) {
  for (const RecapMember& member : RecapMembers()) {
    out += member.name;
    for (const RecapMember::Argument& argument : member.arguments) {
      const bool required = argument.need == RecapMember::Need::kRequired;
      const std::string text = std::string(argument.name) + "=";
      out += required ? " " + text : " [" + text + "]";
    }
    const bool needs_second = member.second_file == RecapMember::SecondFile::kRequired;
    out += needs_second ? " FILE FILE2" : " [FILE]";
    if (member.second_file == RecapMember::SecondFile::kOptional) out += " [FILE2]";
    out += "\n";
  }
}

// The files among the words; the rest are values.
struct Words {
  std::vector<RecapValue> values;
  std::vector<std::string> paths;
};

Words SplitWords(const std::vector<std::string>& words) {
  Words split;
  for (const std::string& word : words) {
    if (auto value = ParseRecapValue(word)) {
      split.values.push_back(std::move(*value));
    } else {
      split.paths.push_back(word);
    }
  }
  return split;
}

void CheckPaths(const RecapMember& member, const std::vector<std::string>& paths) {
  using SecondFile = RecapMember::SecondFile;
  const std::string name(member.name);
  if (member.second_file == SecondFile::kRequired && paths.size() != 2) {
    throw UsageError(name + " takes two files, the lines and the book");
  }
  if (paths.size() > (member.second_file == SecondFile::kNone ? 1U : 2U)) {
    throw UsageError(name + " does not take the file \"" + paths.back() + "\"");
  }
  if (paths.size() == 2 && paths[0] == "-" && paths[1] == "-") {
    throw UsageError("only one of the files can be standard input");
  }
}

void RunRecap(const RecapArguments& arguments, Session& session) {
  if (arguments.list) return ListMembers(session.out);
  if (arguments.member.empty()) throw UsageError("MEMBER is required; --list names them");
  const RecapMember& member = FindRecapMember(arguments.member);
  const Words words = SplitWords(arguments.words);
  CheckRecapValues(member, words.values);
  CheckPaths(member, words.paths);

  WalkWatch watch;
  RecordSetFile lines = ReadRecordSet(ReadFileText(words.paths.empty() ? "-" : words.paths[0], session.in));
  watch.Observe(lines);
  RecordSetFile second;
  const bool has_second = words.paths.size() == 2;
  if (has_second) second = ReadRecordSet(ReadFileText(words.paths[1], session.in));
  RecordSet declared;
  const bool fills_second = member.fields.empty();
  if (fills_second) {
    // The lines are what the watch follows.
  } else {
    declared = DeclareRecap(member);
    if (has_second) watch.Observe(second);
  }
  RecordSet& recap = fills_second ? second.records : declared;
  watch.Run([&] {
    member.fill(RecapCall(words.values, lines.records, has_second ? &second.records : nullptr), recap);
  });
  if (arguments.table) {
    AppendTable(recap, {}, session.out);
  } else {
    WriteRecordSet(recap, session.out);
  }
}

void Declare(CLI::App& options, Action& action) {
  auto arguments = std::make_shared<RecapArguments>();
  options.add_option("MEMBER", arguments->member, "the member of the family, letter for letter");
  options.add_option(
      "NAME=VALUE", arguments->words,
      "its arguments by name; then FILE, the lines (standard input where it is left out or -), "
      "and FILE2, the lines of the second amount field, or the inventory book");
  options.add_flag("--list", arguments->list, "list the members with their arguments");
  options.add_flag("--table", arguments->table, "print a table for people instead of a record-set file");
  options.callback(
      [arguments, &action] { action = [arguments](Session& session) { RunRecap(*arguments, session); }; });
}

}  // namespace

const Command kRecapCommand = {"recap", "MEMBER NAME=VALUE... [FILE [FILE2]]",
                               "Recapitulate the tax of lines by rate with one member of the family.",
                               R"(Example:
  mox recap FillPDVData AmountField1=ukupno RateField1=tbr_stp Digits=2 lines.csv)",
                               Declare};

}  // namespace mox

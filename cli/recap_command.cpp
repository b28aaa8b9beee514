#include <algorithm>
#include <memory>
#include <optional>

#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/recap_members.h"
#include "cli/record_set_file.h"
#include "cli/suggestions.h"
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
    out += Signature(member.name, member.arguments);
    const bool needs_second = member.second_file == RecapMember::SecondFile::kRequired;
    out += needs_second ? " FILE FILE2" : " [FILE]";
    if (member.second_file == RecapMember::SecondFile::kOptional) out += " [FILE2]";
    out += "\n";
  }
}

void CheckPaths(const RecapMember& member, const ValuesAndFiles& words) {
  using SecondFile = RecapMember::SecondFile;
  const std::vector<std::string>& paths = words.paths;
  const std::string name(member.name);
  if (member.second_file == SecondFile::kRequired && paths.size() != 2) {
    throw UsageError(name + " takes two files, the lines and the book");
  }
  if (paths.size() > (member.second_file == SecondFile::kNone ? 1U : 2U)) {
    throw UsageError(name + " does not take the file \"" + paths.back() + "\"");
  }
  const bool has_second_field = std::any_of(words.values.begin(), words.values.end(),
                                            [](const auto& value) { return value.name.ends_with('2'); });
  if (paths.size() == 2 && member.second_file == SecondFile::kOptional && !has_second_field) {
    throw UsageError("the file \"" + paths[1] + "\" is given without AmountField2=");
  }
  if (paths.size() == 2 && paths[0] == "-" && paths[1] == "-") {
    throw UsageError("only one of the files can be standard input");
  }
}

// Of the current line, with its kind where the member divides lines by kinds: `lines.csv:3: vrsta "XYZ": `.
std::string PlaceOf(const WalkWatch& watch, const RecapCall& call, const RecapMember& member) {
  std::string place = watch.Where();
  if (place.empty()) return place;
  place += ": ";
  if (FindRow(member.arguments, "KindFieldName") != nullptr) {
    const Field kind = call.Column("KindFieldName");
    place += kind.Name() + " \"" + kind.AsText() + "\": ";
  }
  return place;
}

void RunRecap(const RecapArguments& arguments, Session& session) {
  if (arguments.list) return ListMembers(session.out);
  if (arguments.member.empty()) throw UsageError("MEMBER is required; --list names them");
  const RecapMember& member = FindRecapMember(arguments.member);
  const ValuesAndFiles words = SplitWords(arguments.words);
  CheckRecapValues(member, words.values);
  CheckPaths(member, words);

  WalkWatch watch;
  RecordSetFile lines = ReadRecordSet(ReadFileText(words.paths.empty() ? "-" : words.paths[0], session.in));
  watch.Observe(lines);
  std::optional<RecordSetFile> second;
  if (words.paths.size() == 2) second = ReadRecordSet(ReadFileText(words.paths[1], session.in));
  const bool fills_book = member.fields.empty();
  if (second && !fills_book) watch.Observe(*second);

  RequireColumns(lines.records, member.line_columns);
  if (second) RequireColumns(second->records, member.second_columns);
  RecordSet declared;
  if (!fills_book) declared = DeclareRecap(member);
  RecordSet& recap = fills_book ? second->records : declared;
  const RecapCall call(words.values, lines.records, second ? &second->records : nullptr);
  session.place = [&] { return PlaceOf(watch, call, member); };
  watch.Run([&] { member.fill(call, recap); });
  session.place = nullptr;
  AppendTableOrFile(recap, arguments.table, session.out);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<RecapArguments>();
  options.Argument("MEMBER", arguments->member, "the member of the family, letter for letter");
  options.Arguments("NAME=VALUE", arguments->words,
                    "its arguments by name, in any order; then FILE, the lines\n"
                    "(standard input where it is left out or -), and FILE2, the lines\n"
                    "of the second amount field, or the inventory book");
  options.Flag("--list", arguments->list, "list the members with their arguments");
  options.Flag("--table", arguments->table, "print a table for people instead of a record-set file");
  options.Run([arguments](Session& session) { RunRecap(*arguments, session); });
}

}  // namespace

const Command kRecapCommand = {"recap", "MEMBER NAME=VALUE... [FILE [FILE2]]",
                               "Recapitulate the tax of lines by rate with one member of the family.",
                               R"(Example:
  mox recap FillPDVData AmountField1=ukupno RateField1=tbr_stp Digits=2 lines.csv)",
                               Declare};

}  // namespace mox

#include <memory>
#include <span>

#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/line_functions.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/text_table.h"

namespace mox {
namespace {

struct CalcArguments {
  std::string function;
  std::vector<std::string> words;
  bool list = false;
  bool table = false;
};

std::string Signature(const LineFunction& function) {
  std::string text(function.name);
  for (const LineFunction::Argument& argument : function.arguments) {
    text += " " + std::string(argument.name) + ":" + std::string(argument.kind);
  }
  return text;
}

void ListFunctions(std::string& out) {
  for (const LineFunctionGroup& group : LineFunctions()) {
    if (!out.empty()) out += "\n";
    out += std::string(group.title) + "\n";
    for (const LineFunction& function : group.functions) out += "  " + Signature(function) + "\n";
  }
  out += R"(
d            decimals of tax amounts, 2 as a rule
Mode         0: prices from the margin percent; any other: the margin from the price
Digits       decimals of prices; so are NcDigits (purchase prices) and PriceDigits, VatDigits of tax
Price        the selling price, WithVat says whether it includes tax
ClearCustoms, ClearVat  which rates become 0
)";
}

void ApplyToEveryRecord(const BoundLineFunction& function, RecordSet& lines) {
  for (lines.First(); !lines.Eof(); lines.Next()) {
    lines.Edit();
    function(lines);
    lines.Post();
  }
}

void RunCalc(const CalcArguments& arguments, Session& session) {
  if (arguments.list) return ListFunctions(session.out);
  if (arguments.function.empty()) throw UsageError("FUNCTION is required; --list names them");
  const LineFunction& function = FindLineFunction(arguments.function);
  const std::size_t count = function.arguments.size();
  if (arguments.words.size() < count || arguments.words.size() > count + 1) {
    throw UsageError("wrong number of arguments, it is " + Signature(function) + " [FILE]");
  }
  const BoundLineFunction bound = function.bind(std::span(arguments.words).first(count));
  const std::string path = arguments.words.size() > count ? arguments.words.back() : "-";
  RecordSetFile file = ReadRecordSet(ReadFileText(path, session.in));

  const auto apply = [&](RecordSet& lines) {
    if (function.walks_itself) {
      bound(lines);
    } else {
      ApplyToEveryRecord(bound, lines);
    }
  };
  RequireColumnsOf(file.records, apply);
  WalkWatch watch;
  watch.Observe(file);
  watch.Run([&] { apply(file.records); });
  AppendTableOrFile(file.records, arguments.table, session.out, {.number_records = true, .hide_empty = true});
}

void Declare(Options& options) {
  auto arguments = std::make_shared<CalcArguments>();
  options.Argument("FUNCTION", arguments->function, "the function, letter for letter");
  options.Arguments("ARG", arguments->words,
                    "its own arguments after the record set, in its own order;\n"
                    "then FILE, the record set (standard input where it is left out or -)");
  options.Flag("--list", arguments->list, "list the functions with their arguments");
  options.Flag("--table", arguments->table, "print a table for people instead of a record-set file");
  options.Run([arguments](Session& session) { RunCalc(*arguments, session); });
}

}  // namespace

const Command kCalcCommand = {
    "calc", "FUNCTION [ARG...] [FILE]",
    "Apply one function to every record of a file, in order, and print the record set.",
    R"(Examples:
  mox calc GotovinskiRacunStavkeCalcFields 2 lines.csv
  mox calc calcRabat1_2_3 <lines.csv | mox calc calcOsnovicaPdviUkupno 2 --table)",
    Declare};

}  // namespace mox

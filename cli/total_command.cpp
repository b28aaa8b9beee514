#include <memory>
#include <utility>

#include "cli/argument_text.h"
#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/named_values.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/suggestions.h"
#include "cli/text_table.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/foundation/precision.h"

namespace mox {
namespace {

struct TotalFunction {
  std::string_view name;
  std::vector<NamedArgument> arguments;
  std::vector<std::string_view> fields;  ///< of the header, in the order of the parameters
  void (*calculate)(RecordSet& header, RecordSet& lines, std::string_view doc_kind, int digits);
};

// The fields of a header as the parameters of a function.
template <typename Fields, std::size_t... kIndex>
Fields FieldsOf(RecordSet& header, std::index_sequence<kIndex...> /*count*/) {
  return {header.FieldAt(kIndex)...};
}

std::vector<std::string_view> FieldsOfDocDobavljaca() {
  std::vector<std::string_view> fields;
  for (const DocDobavljacaCaption& row : kDocDobavljacaCaptions) fields.push_back(row.field);
  return fields;
}

const std::vector<TotalFunction> kFunctions = {
    {"CalcDocDobavljaca",
     {{"DocKind", true, "KIND"}, {"Digits", false, "N"}},
     FieldsOfDocDobavljaca(),
     [](RecordSet& header, RecordSet& lines, std::string_view doc_kind, int digits) {
       CalcDocDobavljaca(DocDobavljacaFieldsOf(header), lines, doc_kind, digits);
     }},
    {"CalcDocDobavljacaBIH",
     {{"DocKind", true, "KIND"}},
     {"roba_0", "roba_10", "roba_17", "pdv_10", "pdv_17", "pov_nak"},
     [](RecordSet& header, RecordSet& lines, std::string_view doc_kind, int /*digits*/) {
       CalcDocDobavljacaBIH(FieldsOf<DocDobavljacaBIHFields>(header, std::make_index_sequence<6>()), lines,
                            doc_kind);
     }}};

struct TotalArguments {
  std::string function;
  std::vector<std::string> words;
  bool list = false;
  bool table = false;
};

const TotalFunction& FindTotalFunction(std::string_view name) {
  if (const TotalFunction* found = FindRow(kFunctions, name)) return *found;
  throw UsageError(ThereIsNo("function", name, NamesOf(kFunctions)));
}

// A header of zeros.
RecordSet DeclareHeader(const TotalFunction& function) {
  RecordSet header("totals");
  for (const std::string_view name : function.fields) header.DefineField(name, FieldKind::kCurrency);
  header.Open();
  header.AppendRecord({});
  return header;
}

void RunTotal(const TotalArguments& arguments, Session& session) {
  if (arguments.list) {
    for (const TotalFunction& function : kFunctions) {
      session.out += Signature(function.name, function.arguments) + " [FILE]\n";
    }
    return;
  }
  if (arguments.function.empty()) throw UsageError("FUNCTION is required; --list names them");
  const TotalFunction& function = FindTotalFunction(arguments.function);
  const ValuesAndFiles words = SplitWords(arguments.words);
  CheckNamedValues(function.name, function.arguments, words.values);
  if (words.paths.size() > 1) {
    throw UsageError(std::string(function.name) + " does not take the file \"" + words.paths.back() + "\"");
  }
  const std::string& doc_kind = *FindValue(words.values, "DocKind");
  const std::string* const digits_text = FindValue(words.values, "Digits");
  const int digits = digits_text != nullptr ? IntegerArgument("Digits", *digits_text) : GetPdviCalcDigit();

  RecordSetFile lines = ReadRecordSet(ReadFileText(words.paths.empty() ? "-" : words.paths[0], session.in));
  RequireColumnsOf(lines.records, [&](RecordSet& records) {
    RecordSet header = DeclareHeader(function);
    function.calculate(header, records, doc_kind, digits);
  });
  RecordSet header = DeclareHeader(function);
  WalkWatch watch;
  watch.Observe(lines);
  watch.Run([&] { function.calculate(header, lines.records, doc_kind, digits); });
  header.Post();
  AppendTableOrFile(header, arguments.table, session.out);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<TotalArguments>();
  options.Argument("FUNCTION", arguments->function, "the function, letter for letter");
  options.Arguments("NAME=VALUE", arguments->words,
                    "its arguments by name, in any order; then FILE, the lines of the\n"
                    "goods receipt (standard input where it is left out or -)");
  options.Flag("--list", arguments->list, "list the functions with their arguments");
  options.Flag("--table", arguments->table, "print a table for people instead of a record-set file");
  options.Run([arguments](Session& session) { RunTotal(*arguments, session); });
}

}  // namespace

const Command kTotalCommand = {
    "total", "FUNCTION DocKind=KIND [Digits=N] [FILE]",
    "Sum the lines of a goods receipt into the totals of the supplier's document.",
    R"(One row: the goods values by rate, the input taxes by rate, the return fee. Kinds RU and OK (in
CalcDocDobavljacaBIH only RU) carry no input tax and no fee. Digits are the decimals of a line's tax;
without them the parameter PdviCalcDigit is taken. Dependent costs count with the additional feature
PrimkaDocDobInZTI.

Examples:
  mox total CalcDocDobavljaca DocKind=UR Digits=2 lines.csv
  mox total CalcDocDobavljaca DocKind=UR --param PrimkaDocDobInZTI=true lines.csv)",
    Declare};

}  // namespace mox

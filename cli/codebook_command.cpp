#include <algorithm>
#include <memory>

#include "cli/command.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "cli/suggestions.h"
#include "cli/text_table.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

struct CodebookArguments {
  std::string name;
  std::string find;
  std::string skip;
  std::string most;
  std::string store;
  std::string remove;
  bool columns = false;
  bool table = false;
};

RecordSet Ask(std::string_view service, std::string_view answer, const TAstaParamList& request = {}) {
  auto records = CreateDBDataSet(service, answer, request);
  if (!records) throw Error("the server does not answer \"" + std::string(service) + "\"");
  return std::move(*records);
}

// The codebook's row in the list of all.
RecordSet FindCodebookRow(const std::string& name) {
  RecordSet codebooks = Ask("Kat\\Sifarnici", "adsSifarnici");
  if (codebooks.Locate(codebooks.Definition(0).name, {name}, {.case_insensitive = true})) return codebooks;
  std::vector<std::string> known;
  for (const RecordRow& row : codebooks.Rows()) known.push_back(row.AsText(0));
  const std::vector<std::string_view> names(known.begin(), known.end());
  throw UsageError("there is no codebook \"" + name + "\"" + DidYouMean(name, names) +
                   "; mox codebook lists them all");
}

// Its columns only: a server answers those of all codebooks at once.
RecordSet ColumnsOf(const std::string& name) {
  RecordSet columns = Ask("Kat\\Sifarnici", "adsStupci");
  columns.SetFilter("sifarnik = '" + name + "'", true);
  columns.SetFiltered(true);
  columns.First();
  return columns;
}

// The columns of a file have the kinds of the codebook's.
RecordSetFile ReadRows(const CodebookArguments& arguments, Session& session) {
  const RecordSet columns = ColumnsOf(arguments.name);
  const auto declare = [&](const std::string& /*label*/, std::vector<FieldDef>& fields) {
    for (FieldDef& field : fields) {
      for (const RecordRow& column : columns.Rows()) {
        if (!SameName(column.AsText(column.IndexOf("stupac")), field.name)) continue;
        KindFromName(column.AsText(column.IndexOf("vrsta")), field.kind);
      }
    }
  };
  return ReadRecordSet(ReadFileText(arguments.store, session.in),
                       {.declare = declare, .on_calc_fields = nullptr});
}

void Store(const CodebookArguments& arguments, Session& session) {
  const CompanyAccess& server = ServerOf(session);
  RecordSetFile file = ReadRows(arguments, session);
  file.records.SetName(arguments.name);
  RequireStored(server, ExecuteTransaction("KatalogUpis", {&file.records}));
  session.stored = "the rows were stored";
  RecordSet stored;
  stored.CleanClone(server.LastWrite().Stored());
  AppendTableOrFile(stored, arguments.table, session.out);
}

// The parts of a key are separated by semicolons, in the order of the codebook's key.
void Delete(const CodebookArguments& arguments, const std::string& key_fields, Session& session) {
  const auto take = [](std::string_view& rest) {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    const std::string part(TrimBlanks(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return part;
  };
  const RecordSet columns = ColumnsOf(arguments.name);
  RecordSet row(arguments.name);
  std::vector<Value> values;
  std::string_view names = key_fields;
  std::string_view texts = arguments.remove;
  while (!names.empty()) {
    FieldDef field{.name = take(names)};
    const Value name[] = {field.name};
    if (const auto column = columns.FindRow("stupac", name)) {
      KindFromName(columns.RowAt(*column).AsText(*columns.FindFieldIndex("vrsta")), field.kind);
    }
    const std::string text = take(texts);
    values.push_back(text.empty() ? Value() : InputValue(field, text));
    row.DefineField(std::move(field));
  }
  if (!texts.empty()) throw UsageError("--delete: the key is " + key_fields);
  row.Open();
  row.AppendRecord(values);
  RequireStored(ServerOf(session), ExecuteTransaction("KatalogBrisanje", {&row}));
}

void Print(const CodebookArguments& arguments, Session& session) {
  TAstaParamList request;
  if (!arguments.find.empty()) request.FastAdd("trazi", arguments.find);
  for (const auto& [name, text] :
       {std::pair("preskoci", &arguments.skip), std::pair("najvise", &arguments.most)}) {
    if (!text->empty()) request.FastAdd(name, InputValue({.name = name, .kind = FieldKind::kInteger}, *text));
  }
  RecordSet rows = Ask("Kat\\" + arguments.name, arguments.name, request);
  AppendTableOrFile(rows, arguments.table, session.out, {.hide_empty = true});
}

void RunCodebook(CodebookArguments arguments, Session& session) {
  ServerOf(session);
  if (arguments.name.empty()) {
    RecordSet codebooks = Ask("Kat\\Sifarnici", "adsSifarnici");
    return AppendTableOrFile(codebooks, arguments.table, session.out);
  }
  const RecordSet codebook = FindCodebookRow(arguments.name);
  arguments.name = codebook.AsText(0);
  const int actions =
      (arguments.store.empty() ? 0 : 1) + (arguments.remove.empty() ? 0 : 1) + (arguments.columns ? 1 : 0);
  if (actions > 1) throw UsageError("--store, --delete and --columns exclude each other");
  if (!arguments.store.empty()) return Store(arguments, session);
  if (!arguments.remove.empty()) return Delete(arguments, codebook.AsText(2), session);
  if (!arguments.columns) return Print(arguments, session);
  RecordSet columns;
  const RecordSet filtered = ColumnsOf(arguments.name);
  for (std::size_t i = 1; i < filtered.FieldCount(); ++i) columns.DefineField(filtered.Definition(i));
  columns.Open();
  for (const RecordRow& column : filtered.Rows()) {
    std::vector<Value> values;
    for (std::size_t i = 1; i < filtered.FieldCount(); ++i) values.push_back(column.AsVariant(i));
    columns.AppendRecord(values);
  }
  AppendTableOrFile(columns, arguments.table, session.out);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<CodebookArguments>();
  options.Argument("NAME", arguments->name, "the codebook; without one, all are listed with their keys");
  options.Value("--find", arguments->find, "TEXT",
                "only rows with the text in any column, whatever its letter case");
  options.Value("--skip", arguments->skip, "N", "begin after so many rows");
  options.Value("--most", arguments->most, "N", "print at most so many rows");
  options.Flag("--columns", arguments->columns, "print its columns, and which codebooks they name rows of");
  options.Value("--store", arguments->store, "FILE",
                "insert the rows of a record-set file, or change those whose\nkey is there: the columns of "
                "the file only");
  options.Value("--delete", arguments->remove, "KEY",
                "take a row away that nothing uses; the parts of a key are\nseparated by semicolons");
  options.Flag("--table", arguments->table, "print tables for people instead of record-set files");
  options.Run([arguments](Session& session) { RunCodebook(*arguments, session); });
}

}  // namespace

const Command kCodebookCommand = {"codebook",
                                  "[NAME [--find TEXT | --columns | --store FILE | --delete KEY]] --db DB",
                                  "List, search, store and take away partners, articles and other codebooks.",
                                  R"(Examples:
  mox codebook --table --db tvrtka.db
  mox codebook partneri --find horvat --table --db tvrtka.db
  mox codebook artikli --columns --table --db tvrtka.db
  mox codebook artikli --store cijene.csv --db tvrtka.db
  mox codebook mjesta --delete "10000;Zagreb" --db tvrtka.db

All rows of a file are stored, or none. An empty cell empties its column. Partners and articles without a code
(sifra) get the next one; partners without one are found by their OIB, articles by their bar code. The column
"verzija" of what was printed may be sent back: then a row that somebody else changed meanwhile is refused.)",
                                  Declare};

}  // namespace mox

#include <memory>
#include <string>

#include "appserver/database.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/text_table.h"

namespace mox {
namespace {

struct DbArguments {
  std::string action;
  std::string file;
  bool table = false;
};

// A record for each table with the number of its rows.
RecordSet DescribeTables(Database& database) {
  RecordSet tables("tables");
  tables.DefineField("version", FieldKind::kInteger);
  tables.DefineField("table", FieldKind::kText);
  tables.DefineField("rows", FieldKind::kInteger);
  tables.Open();
  const std::int64_t version = database.SchemaVersion();
  for (const std::string& name : database.TableNames()) {
    RecordSet count =
        database.Query("count", ParseColumns("rows:integer"), "SELECT COUNT(*) FROM \"" + name + '"');
    tables.AppendRecord({version, name, count.AsInteger(0)});
  }
  return tables;
}

void PrintInfo(const DbArguments& arguments, Session& session) {
  Database database(arguments.file, Database::Access::kReadOnly);
  database.Check();
  RecordSet tables = DescribeTables(database);
  AppendTableOrFile(tables, arguments.table, session.out);
}

void RunDb(const DbArguments& arguments, Session& session) {
  if (arguments.file.empty()) throw UsageError("FILE is empty");
  if (arguments.action == "info") return PrintInfo(arguments, session);
  if (arguments.action != "init") {
    throw UsageError("there is no action \"" + arguments.action +
                     "\"; init creates a file and info describes it");
  }
  if (arguments.table) throw UsageError("init does not take --table");
  Database::Create(arguments.file);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<DbArguments>();
  options.RequiredArgument("ACTION", arguments->action,
                           "init creates a company database with its reference data;\n"
                           "info checks the whole file, and prints its schema version and\n"
                           "the number of rows of each table");
  options.RequiredArgument("FILE", arguments->file, "the database; init needs a name that is free");
  options.Flag("--table", arguments->table, "print a table for people instead of a record-set file");
  options.Run([arguments](Session& session) { RunDb(*arguments, session); });
}

}  // namespace

const Command kDbCommand = {"db", "init FILE | info FILE",
                            "Create a company database, or check one and show what it holds.",
                            R"(Example:
  mox db init tvrtka.db
  mox db info tvrtka.db --table)",
                            Declare};

}  // namespace mox

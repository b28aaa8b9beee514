#include <algorithm>
#include <memory>
#include <string>

#include "appserver/company_data.h"
#include "appserver/database.h"
#include "cli/command.h"
#include "cli/database_care.h"
#include "cli/options.h"
#include "cli/text_table.h"
#include "mox/foundation/files.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/text.h"
#include "mox/host/ini_text.h"

namespace mox {
namespace {

constexpr std::string_view kCompanySection = "PODUZECE";
constexpr std::string_view kIban = "IBAN";

// What the new company is told of itself: from an option, or from the file whose name stands before it.
struct CompanyValue {
  std::string where;
  std::string name;
  std::string value;
};

struct DbArguments {
  std::string action;
  std::string file;
  std::string company_file;
  std::vector<std::pair<std::string, std::string>> company;  // by option
  bool demo = false;
  bool table = false;
  bool yes = false;
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

std::vector<CompanyValue> CompanyValues(const DbArguments& arguments) {
  std::vector<CompanyValue> values;
  if (const std::string& path = arguments.company_file; !path.empty()) {
    const IniText ini(ReadWholeFile(path));
    for (auto& [name, value] : ini.Settings(kCompanySection)) {
      values.push_back({path + ": [" + std::string(kCompanySection) + "] " + name, name, value});
    }
    if (values.empty())
      throw Error(path + ": has no settings in section [" + std::string(kCompanySection) + "]");
  }
  for (const auto& [option, value] : arguments.company) {
    if (!value.empty()) values.push_back({option, option.substr(2), value});
  }
  return values;
}

// Several accounts are separated by commas; the first one is the main one.
void AddIbans(Database& database, std::string_view ibans) {
  while (!ibans.empty()) {
    const std::size_t end = std::min(ibans.find(','), ibans.size());
    AddCompanyIban(database, ibans.substr(0, end));
    ibans.remove_prefix(std::min(end + 1, ibans.size()));
  }
}

void StoreCompany(Database& database, const std::vector<CompanyValue>& values) {
  for (const auto& [where, name, value] : values) {
    try {
      if (SameName(name, kIban)) {
        AddIbans(database, value);
      } else {
        StoreCompanyValue(database, name, value);
      }
    } catch (const DatabaseError&) {
      throw;
    } catch (const Error& error) {
      throw Error(where + ": " + error.what());
    }
  }
}

bool RunCare(const DbArguments& arguments, Session& session) {
  if (arguments.action == "check") {
    CheckDatabase(arguments.file.empty() ? session.database : arguments.file, arguments.table, session);
  } else if (arguments.action == "backup") {
    BackUpDatabase(arguments.file, session);
  } else if (arguments.action == "restore") {
    RestoreDatabase(arguments.file, arguments.yes, session);
  } else {
    return false;
  }
  return true;
}

void RunDb(const DbArguments& arguments, Session& session) {
  if (arguments.yes && arguments.action != "restore") throw UsageError("--yes is for restore");
  if (RunCare(arguments, session)) return;
  if (arguments.file.empty()) throw UsageError("FILE is empty");
  const std::vector<CompanyValue> company = CompanyValues(arguments);
  if (arguments.action == "info") {
    if (arguments.demo || !company.empty()) throw UsageError("info takes no company");
    return PrintInfo(arguments, session);
  }
  if (arguments.action != "init") {
    throw UsageError("there is no action \"" + arguments.action +
                     "\"; init, info, check, backup and restore are the ones");
  }
  if (arguments.table) throw UsageError("init does not take --table");
  Database::Create(arguments.file, arguments.demo ? WithDemo::kYes : WithDemo::kNo,
                   [&](Database& created) { StoreCompany(created, company); });
}

void Declare(Options& options) {
  auto arguments = std::make_shared<DbArguments>();
  options.RequiredArgument("ACTION", arguments->action,
                           "init creates a company database with its reference data;\n"
                           "info checks the whole file, and prints its schema version and\n"
                           "the number of rows of each table;\n"
                           "check lists what is wrong with it, and exits with 1 where anything is;\n"
                           "backup copies the database that --db names, while others use it;\n"
                           "restore puts a copy in the place of the one that --db names");
  options.Argument("FILE", arguments->file,
                   "the database, for check also by --db; of backup and restore the copy, a file;\n"
                   "init and backup need a name that is free");
  options.Value("--company", arguments->company_file, "FILE.ini",
                "init: the company's data, section PODUZECE, keys as the\noptions below");
  for (const CompanyParameter& parameter : CompanyParameterTable()) {
    arguments->company.emplace_back("--" + std::string(parameter.name), "");
  }
  arguments->company.emplace_back("--" + std::string(kIban), "");
  for (auto& [option, value] : arguments->company) {
    const CompanyParameter* const parameter = FindRow(CompanyParameterTable(), option.substr(2));
    const std::string_view help = parameter == nullptr ? "its bank account" : parameter->summary;
    options.Value(option.c_str(), value, "TEXT", ("init: " + std::string(help)).c_str());
  }
  options.Flag("--demo", arguments->demo, "init: with a made-up company, partners, an article, rates");
  options.Flag("--yes", arguments->yes, "restore: also the copy of another company's database");
  options.Flag("--table", arguments->table, "print a table for people instead of a record-set file");
  options.Run([arguments](Session& session) { RunDb(*arguments, session); });
}

}  // namespace

const Command kDbCommand = {
    "db",
    "init DB [--company FILE.ini | --demo] | info DB | check DB | backup FILE --db DB | restore FILE --db DB",
    "Create a company database, show what it holds, check it, copy it and put a copy back.",
    R"(Example:
  mox db init tvrtka.db --NazivPoduzeca "Prva d.o.o." --OIBPoduzeca 12345678903
  mox db init proba.db --demo
  mox db info tvrtka.db --table
  mox db check tvrtka.db --table
  mox db backup tvrtka-2026-11-21.db --db tvrtka.db
  mox db restore tvrtka-2026-11-21.db --db tvrtka.db

A copy made with other tools while somebody writes may lack documents. A restored database is as it was when the
copy was made; nobody else may use it at that moment. docs/BACKUP.md tells more.)",
    Declare,
    false};

}  // namespace mox

#include "appserver/company_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <span>

#include "appserver/import_transactions.h"
#include "appserver/service_info.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/text.h"
#include "mox/foundation/vocabulary.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_profiles.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/no_view.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// A server over a new company database, and what it logged.
class CompanyServerTest : public ScratchDatabase {
 public:
  std::string TakeLog() {
    std::string lines;
    for (const std::string& line : std::exchange(log, {})) lines += " log: " + line;
    return lines;
  }
  const std::string& path() const { return path_; }

  std::vector<std::string> log;
  const CompanyServer::Log keep = [this](std::string_view line) { log.emplace_back(line); };
  CompanyServer server{Database(path_), keep};
  Requester requester;

 protected:
  void ExpectCases(const std::string& file, std::initializer_list<const char*> tables);
};

using Company = CompanyServerTest;

// "a=1 b=2 ; a=3": records with their fields that are not null; "-" where there is none.
std::string Show(RecordSet& records) {
  std::string text;
  for (records.First(); !records.Eof(); records.Next()) {
    if (!text.empty()) text += " ;";
    for (std::size_t i = 0; i < records.FieldCount(); ++i) {
      if (records.IsNull(i)) continue;
      text += (text.empty() ? "" : " ") + records.Definition(i).name + '=' + records.AsText(i);
    }
  }
  return text.empty() ? "-" : text;
}

// sql STATEMENT
std::string RunSql(Company& company, const Words& row) {
  return Text(company.server.database().Execute(row.at(0)));
}

// rows COLUMNS QUERY
std::string ShowRows(Company& company, const Words& row) {
  RecordSet records = company.server.database().Query("rows", ParseColumns(row.at(0)), row.at(1));
  return Show(records);
}

// A request of inputs NAME=TEXT.
TAstaParamList InputsOf(std::span<const std::string> inputs) {
  TAstaParamList request;
  for (const std::string& input : inputs) {
    const std::size_t equals = input.find('=');
    request.FastAdd(input.substr(0, equals), Value(input.substr(equals + 1)));
  }
  return request;
}
// read SERVICE NAME=TEXT...
std::string Read(Company& company, const Words& row) {
  const auto answers = company.server.ReportDataService(InputsOf(std::span(row).subspan(1)), row.at(0));
  if (answers == nullptr) return "none" + company.TakeLog();
  std::string text;
  for (std::size_t i = 0; i < answers->Count(); ++i) {
    TAstaParam& item = (*answers)[i];
    EXPECT_EQ(item.Name(), item.AsDataSet().Name());
    text += (text.empty() ? "" : " ") + item.Name() + ": " + Show(item.AsDataSet());
  }
  return text;
}

// "kolicina:float,pc:currency" and records "2|3,50".
RecordSet MakeRecordSet(const std::string& name, const Words& words, std::size_t& at) {
  RecordSet records = EmptySet(name, words.at(at++));
  for (; at < words.size() && !words[at].starts_with('+'); ++at) AppendTo(records, words[at]);
  return records;
}

std::string Outcome(Company& company, const CompanyServer& server) {
  const WriteOutcome& outcome = server.LastWrite();
  EXPECT_EQ(outcome.committed, !outcome.failure);
  if (outcome.committed) {
    RecordSet stored;
    if (outcome.stored) stored.CleanClone(*outcome.stored);
    return "committed" + (outcome.stored ? " " + Show(stored) : "") + company.TakeLog();
  }
  const std::string told = company.TakeLog();  // when it was refused, not when that is said again
  if (!told.empty() || &server == &company.server) {
    EXPECT_EQ(told, " log: refused " + outcome.failure->ToString());
  }
  std::string refused = "refused " + outcome.failure->ToString();
  if (const std::size_t at = refused.find(company.path() + ": "); at != std::string::npos) {
    refused.erase(at, company.path().size() + 2);
  }
  return refused;
}

std::string Write(Company& company, const TAstaParamList& request) {
  const int answer = company.server.WriteDataService(request);
  EXPECT_EQ(answer != 0, company.server.LastWrite().committed);
  return Outcome(company, company.server);
}

TAstaParamList RequestOfWords(const Words& row, std::size_t at) {
  const std::string& transaction = row.at(at++);
  std::vector<RecordSet> sets;
  while (at < row.size()) {
    const std::string name = row[at++].substr(1);
    sets.push_back(MakeRecordSet(name, row, at));
  }
  std::vector<const RecordSet*> pointers;
  for (const RecordSet& records : sets) pointers.push_back(&records);
  return WriteRequest(transaction, pointers);
}

// write TRANSACTION (+RECORDSET COLUMNS RECORD...)...
std::string WriteRecordSets(Company& company, const Words& row) {
  return Write(company, RequestOfWords(row, 0));
}

// as USER CODE ROLE...
std::string BeSomebody(Company& company, const Words& row) {
  company.requester = {row.at(0), row.at(1), {}};
  for (std::size_t i = 2; i < row.size(); ++i) company.requester.rights.Add(FindRole(row[i])->rights);
  return "ok";
}

// keyed KEY TRANSACTION...: the same as write, by a server that was started anew
std::string WriteUnderKey(Company& company, const Words& row) {
  CompanyServer own{Database(company.path()), company.keep};
  own.SetRequester(company.requester);
  const int answer = own.WriteDataService(RequestOfWords(row, 1), row.at(0));
  EXPECT_EQ(answer != 0, own.LastWrite().committed);
  return Outcome(company, own);
}

// journal NAME=TEXT...: the numbers of the writes that the journal answers
std::string ReadJournal(Company& company, const Words& row) {
  const auto answers = company.server.ReportDataService(InputsOf(row), "DnevnikUpisa");
  std::string numbers;
  for (const RecordRow& entry : answers->ParamByName("adsDnevnik").AsDataSet().Rows()) {
    numbers += (numbers.empty() ? "" : " ") + entry.AsText(0);
  }
  return numbers;
}

// may SERVICE: the roles that may use it, as the server answers them
std::string RolesOf(Company& company, const Words& row) {
  const auto is_allowed = [&](const Role& role) {
    company.server.SetRequester({"ana", "ANA", role.rights});
    const bool writes = FindRow(NamedTransactions(), row.at(0)) != nullptr;
    try {
      if (writes) {
        company.server.WriteDataService(RequestOf(row.at(0), {}));
      } else {
        EXPECT_TRUE(company.server.ReportDataService({}, row.at(0))) << "unknown";
      }
    } catch (const NotAllowed&) {
      return false;
    } catch (const Error&) {  // it was looked at
    }
    return true;
  };
  std::string allowed;
  for (const Role& role : Roles()) {
    if (is_allowed(role)) allowed.append(allowed.empty() ? "" : " ").append(role.code);
  }
  company.log.clear();
  return allowed;
}

// raw (NAME TEXT)...; a word alone is nothing
std::string WriteRaw(Company& company, const Words& row) {
  TAstaParamList request;
  for (std::size_t i = 0; i + 1 < row.size(); i += 2) request.FastAdd(row[i], Value(row[i + 1]));
  return Write(company, request);
}

// find SQL VALUES: the first field of each record of the answer
std::string Find(Company& company, const Words& row) {
  const auto answers =
      company.server.ReportDataService({{"params1", row.at(0)}, {"params2", row.at(1)}}, "ImportGrid");
  return Show(answers->ParamByName("adsList").AsDataSet());
}

// many N: how many of so many values are found
std::string FindMany(Company& company, const Words& row) {
  std::string values = "P1";
  for (int i = 2; i <= std::stoi(row.at(0)); ++i) values += "','P" + Text(i);
  return Text(static_cast<std::int64_t>(
      company.server.import_catalogue()
          .Find(company.server.database(), "select PTT as PTT from mjesto where PTT in ", {values, ""})
          .RecordCount()));
}

// import KEY ROW...: what the server says to rows "a|b" of a sheet, or the faults that the grid finds in them
std::string Import(Company& company, const Words& row) {
  RecordingHost host;
  const ScopedApp app(host.PartsOn(company.server));
  NoView view;
  TfrmImportGrid form(view, row.at(0));
  form.OnShow();
  for (std::size_t i = 1; i < row.size(); ++i) host.clipboard += row[i] + '\n';
  std::replace(host.clipboard.begin(), host.clipboard.end(), '|', '\t');
  form.ReadDataFromExcelClipboard();
  form.ProvjeraIUvozClick();
  if (form.ModalResult() == kMrOk) return Outcome(company, company.server);
  std::string faults = "faults";
  RecordSet& rows = form.AdsForImport();
  for (rows.First(); !rows.Eof(); rows.Next()) faults += " ;" + rows.FieldByName("ERR_MSG").AsText();
  return faults;
}

// sizes "SIZE|BRAND|SEX|AGE"...: the answer
std::string FindSizes(Company& company, const Words& row) {
  Words words = {"vel,brend,spol,uzrast"};
  words.insert(words.end(), row.begin(), row.end());
  std::size_t at = 0;
  TAstaParamList request({{"params1", std::string("vel;brend;spol;uzrast")}});
  request.FastAdd("params2", MakeRecordSet("adsVelicine", words, at));
  const auto answers = company.server.ReportDataService(request, "Lunari\\KalkulirajVelicine");
  return Show(answers->ParamByName("adsList").AsDataSet());
}

// last TABLE: the row that was stored last
std::string ShowLast(Company& company, const Words& row) {
  Database& database = company.server.database();
  RecordSet records = database.Query("last", database.TableColumns(row.at(0)),
                                     "SELECT * FROM " + row[0] + " ORDER BY id DESC LIMIT 1");
  return Show(records);
}

// Runs a file of cases against one company.
void CompanyServerTest::ExpectCases(const std::string& file, std::initializer_list<const char*> tables) {
  GiveNextKeys();
  using Function = std::string (*)(Company&, const Words&);
  static const std::map<std::string, Function> functions = {
      {"sql", RunSql},         {"rows", ShowRows},   {"read", Read},     {"write", WriteRecordSets},
      {"raw", WriteRaw},       {"find", Find},       {"many", FindMany}, {"import", Import},
      {"last", ShowLast},      {"sizes", FindSizes}, {"as", BeSomebody}, {"keyed", WriteUnderKey},
      {"journal", ReadJournal}};
  std::map<std::string, TableFunction> used;
  for (const char* table : tables) {
    used[table] = [this, run = functions.at(table)](const Words& row) {
      log.clear();
      try {
        return run(*this, row);
      } catch (const Error& error) {
        EXPECT_EQ(log, std::vector<std::string>{error.what()});
        throw;
      }
    };
  }
  ExpectTables(file, used, "appserver");
}

TEST_P(CompanyServerTest, AnswersServices) { ExpectCases("services", {"sql", "read"}); }
TEST_P(CompanyServerTest, StoresTransactions) {
  ExpectCases("transactions", {"sql", "write", "raw", "rows", "read"});
}
TEST_P(CompanyServerTest, JournalsWritesAndRepeatsTheirAnswers) {
  ExpectCases("journal", {"sql", "as", "keyed", "write", "rows", "journal"});
}

// A service or transaction that is new has no row yet: it must be said there who may use it.
TEST_P(CompanyServerTest, AnswersThoseWhoMayAsk) {
  std::set<std::string> in_the_table;
  ExpectTables("rights",
               {{"may",
                 [&](const Words& row) {
                   EXPECT_TRUE(in_the_table.insert(row.at(0)).second);
                   return RolesOf(*this, row);
                 }}},
               "appserver");
  std::set<std::string> all;
  for (const ServiceInfo& service : ReadServices()) all.emplace(service.name);
  for (const ServiceInfo& transaction : NamedTransactions()) all.emplace(transaction.name);
  EXPECT_EQ(in_the_table, all);
}

TEST_P(CompanyServerTest, MovesStock) { ExpectCases("stock", {"sql", "write", "rows", "read"}); }
TEST_P(CompanyServerTest, FindsImportedValues) {
  ExpectCases("import_grid", {"sql", "find", "many", "rows"});
}

TEST_P(CompanyServerTest, StoresImports) {
  ExpectCases("imports", {"sql", "import", "write", "rows", "last", "sizes"});
}

TEST_P(CompanyServerTest, TakesImportsBack) {
  ExpectCases("import_undo", {"sql", "import", "write", "rows"});
}

// The server runs every text of the profiles and answers under the name that the grid asks for; the profile's
// transaction takes every field, in a column that is wide enough.
TEST_P(CompanyServerTest, ServesTheImportProfiles) {
  const ScopedApp app({.comunication = &server});
  NoView view;
  for (const ImportProfile& profile : ImportProfiles()) {
    TfrmImportGrid form(view, profile.key);
    form.OnShow();
    EXPECT_EQ(Write(*this, RequestOf(profile.transaction, {&form.AdsForDBSave()})), "committed");
    const auto transactions = ImportTransactionTable();
    const auto transaction = std::find_if(transactions.begin(), transactions.end(),
                                          [&](const auto& row) { return row.name == profile.transaction; });
    ASSERT_NE(transaction, transactions.end()) << profile.transaction;
    std::map<std::string, std::size_t> widths;
    for (const FieldDef& column : server.database().TableColumns(transaction->record_sets[0].table.table)) {
      widths[column.name] = column.size == 0 ? 999 : column.size;
    }
    for (const ImportFieldDef& field : form.Fields()) {
      if (!field.IsDefined()) continue;
      for (const std::string& sql : {field.lookup == "True" ? field.lookup_sql : "", field.unique_sql}) {
        if (sql.empty()) continue;
        RecordSet found = server.import_catalogue().Find(server.database(), sql, {"0", ""});
        EXPECT_TRUE(found.FindField(field.field_name)) << profile.key << ": " << sql;
      }
      const auto width = widths.find(FoldCase(field.field_name));
      if (width == widths.end()) continue;  // named in a rule, or the transaction had refused it
      EXPECT_GE(width->second, std::stoul(field.size)) << profile.key << ": " << field.field_name;
    }
  }
}

TEST_P(CompanyServerTest, EveryLookUpOfImportsUsesAnIndex) {
  for (const ImportLookup& lookup : server.import_catalogue().Lookups()) {
    const bool is_text = lookup.matched != "stopa";
    const Value value = is_text ? Value(std::string("1")) : Value(1.0);
    const std::string sql = ImportLookupSql(lookup, is_text, 2);
    EXPECT_TRUE(UsesIndex(server.database(), sql, {value, value})) << sql;
  }
}

TEST_P(CompanyServerTest, HasAColumnForEveryFieldOfLines) {
  RecordSet lines;
  for (const FieldDef& column : server.database().TableColumns("dok_stavke")) lines.DefineField(column);
  const std::set<std::string_view> of_recapitulations = {"porez",      "stopa",           "oznaka_stope",
                                                         "roba_iznos", "porezroba_iznos", "pov_nak_izn"};
  for (const VocabularyEntry& entry : kVocabulary) {
    const auto index = lines.FindFieldIndex(entry.name);
    EXPECT_EQ(index.has_value(), !of_recapitulations.contains(entry.name)) << entry.name;
    EXPECT_EQ(index ? lines.Definition(*index).kind : entry.kind, entry.kind) << entry.name;
  }
}

// What is told of a transaction's record sets is what it takes: no field of theirs is refused.
TEST_P(CompanyServerTest, TakesTheFieldsThatItTellsOf) {
  for (const ServiceInfo& transaction : NamedTransactions()) {
    std::vector<RecordSet> sets;
    for (const RecordSetInfo& told : RecordSetsOf(transaction, server.database())) {
      RecordSet& records = sets.emplace_back(told.name);
      for (const FieldDef& column : told.columns) records.DefineField(column.name, column.kind);
      records.Open();
    }
    std::vector<const RecordSet*> pointers;
    for (const RecordSet& records : sets) pointers.push_back(&records);
    server.WriteDataService(WriteRequest(transaction.name, pointers));
    const auto& failure = server.LastWrite().failure;
    EXPECT_TRUE(!failure || failure->field.empty()) << failure->ToString();
  }
}

TEST_P(CompanyServerTest, HasTheParametersOfTheDatabaseBehindThoseThatAreSet) {
  const auto parameter = [&](const char* name) {
    return server.CompanyParameters()->FieldByName(name).AsText();
  };
  EXPECT_EQ(parameter("FaktorEura") + " " + parameter("PdviCalcDigit"), "7,5345 2");
  for (const char* assignment : {"pdvicalcdigit=3", "PrimkaDocDobInZTI=true", "Novo=x"}) {
    server.SetParameter(assignment);
  }
  EXPECT_EQ(parameter("PdviCalcDigit") + " " + parameter("Novo"), "3 x");
  EXPECT_EQ(Read(*this, {"AdditionalFeaturesData", "Code=PrimkaDocDobInZTI"}), "adsAddFeatures: Allow=True");
}

MOX_ON_EVERY_ENGINE(CompanyServerTest);

}  // namespace
}  // namespace mox

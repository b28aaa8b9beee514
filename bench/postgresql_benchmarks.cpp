#include "bench/postgresql_benchmarks.h"

#include <libpq-fe.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "appserver/company_server.h"
#include "appserver/table_writer.h"
#include "cli/run.h"
#include "tests/fakes/postgresql_server.h"

namespace mox::bench {
namespace {

constexpr std::size_t kRows = 100'000;
constexpr int kRepetitions = 3;

// A company on a server of its own, with journal lines as a sheet and as rows of the table.
class ServerCompany {
 public:
  ServerCompany() : location_(PostgresqlServer::NewCompany()) {
    Database::Create(location_, WithDemo::kYes);
    Database database(location_);
    for (int i = 0; i < kAccounts; ++i)
      database.Execute("INSERT INTO fin_kto (konto, opis) VALUES (:konto, 'x')", {Account(i)});
    database.Execute("INSERT INTO fin_vr_k (sifra, opis) VALUES ('T', 'x')");
    WriteRows(database);
    connection_ = PQconnectdb(location_.connection().c_str());
    Run("SET search_path TO \"" + location_.schema() + "\"");
  }
  ~ServerCompany() {
    PQfinish(connection_);
    PostgresqlServer::Drop(location_);
    std::error_code ignored;
    std::filesystem::remove(sheet_, ignored);
  }
  ServerCompany(const ServerCompany&) = delete;
  ServerCompany& operator=(const ServerCompany&) = delete;

  void Empty() { Run("TRUNCATE fin_temeljnica_stavke; TRUNCATE uvoz; VACUUM"); }

  // By the command, as its user has it: the sheet is read, checked and stored.
  void Import() {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    if (mox::Run({"import", "TEMELJNICA", sheet_, "--yes", "--db", location_.ToString()}, in, out, err) != 0)
      throw std::runtime_error(err.str());
  }

  // The same rows through StoreRecords alone.
  void Store() {
    CompanyServer server{Database(location_)};
    WriteTransaction transaction(server.database());
    StoreRecords(server.database(), records_, {.table = "fin_temeljnica_stavke"});
    transaction.Commit();
  }

  void Copy() {
    Run("COPY fin_temeljnica_stavke (konto_id, opis, datum_pp, duguje, potrazuje, skl_id, "
        "vrsta_knjizenja_id) FROM STDIN");
    PQputCopyData(connection_, copy_.data(), static_cast<int>(copy_.size()));
    PQputCopyEnd(connection_, nullptr);
    Require(PQgetResult(connection_));
    while (PGresult* const rest = PQgetResult(connection_)) PQclear(rest);
  }

  void RequireRows() {
    PGresult* const result = PQexec(connection_, "SELECT COUNT(*) FROM fin_temeljnica_stavke");
    const std::string count = PQgetvalue(result, 0, 0);
    PQclear(result);
    if (count != std::to_string(kRows)) throw std::runtime_error(count + " journal lines were stored");
  }

 private:
  static constexpr int kAccounts = 500;
  static std::string Account(int i) { return std::to_string(900'000 + i); }

  void WriteRows(Database& database) {
    const auto key = [&](const std::string& sql) {
      return database.Query("k", ParseColumns("id:integer"), sql).AsInteger(0);
    };
    const std::int64_t first = key("SELECT id FROM fin_kto WHERE konto = '" + Account(0) + "'");
    const std::int64_t kind = key("SELECT id FROM fin_vr_k WHERE sifra = 'T'");
    const std::int64_t warehouse = key("SELECT id FROM skladiste WHERE sifra = '1'");
    for (const FieldDef& column : database.TableColumns("fin_temeljnica_stavke")) {
      if (column.name != "id") records_.DefineField(column.name, column.kind);
    }
    records_.Open();
    std::ofstream sheet(sheet_);
    for (std::size_t i = 0; i < kRows; ++i) {
      const int account = static_cast<int>(i * 7919 % kAccounts);
      const std::string text = "Knjiženje " + std::to_string(i);
      const Currency amount = Currency::FromScaled(static_cast<std::int64_t>(i % 1'000'000) * 100);
      std::string plain = amount.ToString();
      copy_ += std::to_string(first + account) + '\t' + text + "\t2024-03-01\t" + plain + "\t0\t" +
               std::to_string(warehouse) + '\t' + std::to_string(kind) + '\n';
      records_.AppendRecord(
          {first + account, text, *MakeDate(2024, 3, 1), amount, Currency(), warehouse, kind});
      plain[plain.find('.')] = ',';
      sheet << Account(account) << '\t' << text << "\t01.03.2024\t" << plain << "\t0\t1\tT\n";
    }
  }

  void Run(const std::string& sql) {
    std::string_view rest = sql;
    while (!rest.empty()) {
      const std::string_view statement = rest.substr(0, rest.find("; "));
      rest.remove_prefix(std::min(statement.size() + 2, rest.size()));
      Require(PQexec(connection_, std::string(statement).c_str()));
    }
  }
  void Require(PGresult* result) {
    const ExecStatusType status = PQresultStatus(result);
    PQclear(result);
    if (status == PGRES_FATAL_ERROR) throw std::runtime_error(PQerrorMessage(connection_));
  }

  DatabaseLocation location_;
  PGconn* connection_ = nullptr;
  std::string sheet_ = (std::filesystem::temp_directory_path() / "mox_bench_temeljnica.tsv").string();
  std::string copy_;
  RecordSet records_{"adsForDBSave"};
};

// Gone before the server is, which the end of the program stops.
ServerCompany& TheCompany() {
  static ServerCompany company;
  return company;
}

constexpr const char* kImport = "postgresql/import";
constexpr const char* kStore = "postgresql/store";
constexpr const char* kCopy = "postgresql/copy";

}  // namespace

void RegisterPostgresqlBenchmarks() {
  const auto add = [](const char* name, void (ServerCompany::*action)()) {
    benchmark::RegisterBenchmark(name,
                                 [action](benchmark::State& state) {
                                   TheCompany().Empty();
                                   for (auto _ : state) (TheCompany().*action)();
                                   TheCompany().RequireRows();
                                   state.SetItemsProcessed(static_cast<std::int64_t>(kRows));
                                 })
        ->Iterations(1)
        ->Repetitions(kRepetitions)
        ->UseRealTime();
  };
  add(kImport, &ServerCompany::Import);
  add(kStore, &ServerCompany::Store);
  add(kCopy, &ServerCompany::Copy);
}

void PrintPostgresqlRatios(const Measurements& measurements) {
  measurements.PrintRatio({"import_pg", kImport, kCopy});
  measurements.PrintRatio({"store_pg", kStore, kCopy});
}

}  // namespace mox::bench

#include "bench/report_benchmarks.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <stdexcept>

#include "appserver/partner_balances.h"
#include "bench/company_files.h"
#include "mox/foundation/app.h"
#include "mox/server/read_services.h"

namespace mox::bench {
namespace {

constexpr std::int64_t kLinesOfADocument = 10;
constexpr std::int64_t kDocumentsADay = 100;
constexpr std::int64_t kPartnersAndArticles = 1000;
constexpr std::int64_t kReadOneByOne = 5000;
constexpr int kRepetitions = 3;

// A company whose documents have so many lines in all. Each day has as many documents as any other; half of
// the documents is paid later, and nine in ten of these are paid.
class History {
 public:
  explicit History(std::int64_t lines) : documents_(lines / kLinesOfADocument) {
    const std::string count = std::to_string(documents_);
    const std::string last = std::to_string(kPartnersAndArticles);
    const auto numbers = [](const std::string& to) {
      return "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + to + ") ";
    };
    file_.Execute("BEGIN");
    file_.Execute("INSERT INTO par (sifra, naziv) " + numbers(last) +
                  "SELECT 'P' || i, 'Partner ' || i FROM n");
    file_.Execute("INSERT INTO art (sifra, naziv) " + numbers(last) +
                  "SELECT 'A' || i, 'Artikl ' || i FROM n");
    file_.Execute(
        "INSERT INTO dok (id, vrsta, godina, broj, datum, skl_id, par_id, ukupno, placeno_odmah) " +
        numbers(count) +
        "SELECT i, CASE i % 2 WHEN 0 THEN 'gotovinski-racun' ELSE 'otpremnica-racun' END, 2024, i, "
        "date('2024-01-01', '+' || ((i - 1) / 100) || ' days'), 1, 3 + i % 1000, 125.0, i % 2 = 0 FROM n");
    file_.Execute(
        "INSERT INTO dok_stavke (dok_id, rb, sorta, art_id, sifra, naziv, jm, kolicina, pc, pci, tbr_stp, "
        "rbp1, rbi1, "
        "osnovica, pdvi, ukupno) " +
        numbers(std::to_string(kLinesOfADocument)) +
        "SELECT d.id, i, 'roba', 2 + (d.id * 10 + i) % 1000, 'A1', 'Artikl', 'kom', 1, 10.0, 10.0, 25, 0, 0, "
        "10.0, 2.5, "
        "12.5 FROM dok d, n");
    file_.Execute(
        "INSERT INTO dok_porezi (dok_id, rb, stopa, osnovica, porez, ukupno) "
        "SELECT id, 1, 25, 100.0, 25.0, 125.0 FROM dok");
    file_.Execute(
        "INSERT INTO skl_promet (dok_id, rb, skl_id, art_id, kolicina, vrijednost) "
        "SELECT dok_id, rb, 1, art_id, -1000000, -80000 FROM dok_stavke");
    file_.Execute(
        "INSERT INTO skl_stanje (skl_id, art_id, kolicina, vrijednost, nc) "
        "SELECT 1, art_id, SUM(kolicina), SUM(vrijednost), 80000 FROM skl_promet GROUP BY art_id");
    const std::string number = "vrsta || ' ' || broj || '/' || godina";
    file_.Execute(
        "INSERT INTO otvorene_stavke (par_id, datum_pp, duguje, br_dok, datum_dos, dok_id) SELECT par_id, "
        "datum, 125.0, " +
        number + ", datum, id FROM dok WHERE NOT placeno_odmah");
    file_.Execute(
        "INSERT INTO otvorene_stavke (par_id, datum_pp, potrazuje, br_dok, datum_dos, dok_id) SELECT par_id, "
        "datum, 125.0, " +
        number + ", datum, id FROM dok WHERE NOT placeno_odmah AND id % 10 <> 1");
    file_.Execute("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
    WriteTransaction transaction(file_.server().database());
    KeepBalances(file_.server().database());
    transaction.Commit();
    first_ = *MakeDate(2024, 1, 1);
    last_ = Date{first_.days + static_cast<std::int32_t>((documents_ - 1) / kDocumentsADay)};
  }

  std::int64_t documents() const { return documents_; }

  void Turnover(const char* by) {
    const RecordSet report = Ask("Izvjestaj\\Promet", "adsPromet",
                                 {{"od", first_}, {"do", last_}, {"po", Value(std::string(by))}});
    Currency sum;
    const std::size_t total = *report.FindFieldIndex("ukupno");
    for (const RecordRow& row : report.Rows()) sum += row.AsCurrency(total);
    Require(sum == Currency::FromUnits(125 * documents_));
  }

  // The same by reading the first documents one by one.
  void TurnoverByDocuments() {
    struct Day {
      std::int64_t documents = 0;
      Currency base, tax, cash, total;
    };
    std::map<Date, Day> days;
    const ScopedApp app({.comunication = &file_.server()});
    for (std::int64_t id = 1; id <= kReadOneByOne; ++id) {
      const auto answer = file_.server().ReportDataService({{"id", id}}, "Dokument");
      const RecordSet& header = answer->ParamByName("Zaglavlje").AsDataSet();
      const RecordSet& taxes = answer->ParamByName("Rekapitulacija").AsDataSet();
      Day& day = days[header.RowAt(0).AsDate(*header.FindFieldIndex("datum"))];
      ++day.documents;
      const Currency total = header.RowAt(0).AsCurrency(*header.FindFieldIndex("ukupno"));
      day.total += total;
      if (header.RowAt(0).AsText(*header.FindFieldIndex("vrsta")) == "gotovinski-racun") day.cash += total;
      for (const RecordRow& row : taxes.Rows()) {
        day.base += row.AsCurrency(*taxes.FindFieldIndex("osnovica"));
        day.tax += row.AsCurrency(*taxes.FindFieldIndex("porez"));
      }
    }
    Require(days.size() == static_cast<std::size_t>(kReadOneByOne / kDocumentsADay));
  }

  void Stock() {
    Require(Ask("StanjeSkladista", "adsStanje", {}).RowCount() ==
            static_cast<std::size_t>(kPartnersAndArticles));
    Require(!Ask("Izvjestaj\\Skladiste", "adsSkladiste", {{"od", last_}, {"do", last_}}).IsEmpty());
  }

  void Balances() {
    Require(!Ask("Izvjestaj\\Saldo", "adsSaldo", {}).IsEmpty());
    Require(!Ask("Izvjestaj\\Saldo", "adsSaldo", {{"od", last_}, {"do", last_}}).IsEmpty());
  }

 private:
  static void Require(bool holds) {
    if (!holds) throw std::runtime_error("a report over many documents is wrong");
  }
  RecordSet Ask(const char* service, const char* answer, const TAstaParamList& request) {
    const ScopedApp app({.comunication = &file_.server()});
    return CreateDBDataSet(service, answer, request).value();
  }

  CompanyFile file_;
  std::int64_t documents_;
  Date first_;
  Date last_;
};

template <std::int64_t kLines>
History& Shared() {
  static History history(kLines);
  return history;
}

template <std::int64_t kLines>
void Register(const std::string& name, std::int64_t items, void (*run)(History& history)) {
  benchmark::RegisterBenchmark((name + std::to_string(kLines)).c_str(),
                               [=](benchmark::State& state) {
                                 History& history = Shared<kLines>();
                                 for (auto _ : state) run(history);
                                 state.SetItemsProcessed(state.iterations() * items);
                               })
      ->Iterations(1)
      ->Repetitions(kRepetitions)
      ->UseRealTime();
}

constexpr std::int64_t kLittle = 100'000;
constexpr std::int64_t kMuch = 1'000'000;

}  // namespace

void RegisterReportBenchmarks() {
  constexpr std::int64_t kDocuments = kMuch / kLinesOfADocument;
  Register<kMuch>("report/turnover_day_", kDocuments, [](History& history) { history.Turnover("dan"); });
  Register<kMuch>("report/turnover_article_", kDocuments,
                  [](History& history) { history.Turnover("artikl"); });
  Register<kMuch>("report/by_documents_", kReadOneByOne,
                  [](History& history) { history.TurnoverByDocuments(); });
  const auto stock = [](History& history) { history.Stock(); };
  const auto balances = [](History& history) { history.Balances(); };
  Register<kLittle>("report/stock_", 1, stock);
  Register<kMuch>("report/stock_", 1, stock);
  Register<kLittle>("report/balances_", 1, balances);
  Register<kMuch>("report/balances_", 1, balances);
}

void PrintReportRatios(const Measurements& measurements) {
  measurements.PrintRatio({"report_turnover", "report/by_documents_1000000", "report/turnover_day_1000000"});
  measurements.PrintRatio(
      {"report_articles", "report/by_documents_1000000", "report/turnover_article_1000000"});
  measurements.PrintRatio({"stock", "report/stock_1000000", "report/stock_100000"});
  measurements.PrintRatio({"balances", "report/balances_1000000", "report/balances_100000"});
}

}  // namespace mox::bench

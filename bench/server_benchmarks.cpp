#include "bench/server_benchmarks.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <random>
#include <stdexcept>

#include "appserver/fold.h"
#include "bench/company_files.h"
#include "bench/measurements.h"
#include "mox/foundation/app.h"
#include "mox/import/import_check.h"
#include "mox/import/import_profiles.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox::bench {
namespace {

constexpr std::size_t kStoredLines = 100'000;
constexpr std::size_t kTowns = 1'000'000;
constexpr std::array<std::size_t, 3> kLookedUp = {25'000, 50'000, 100'000};
constexpr int kRepetitions = 5;
constexpr const char* kLookUp = "select NAZIV as MJESTO from mjesto where NAZIV in ";

struct StoredColumn {
  const char* name;
  FieldKind kind;
};

// 35 fields of a goods line.
constexpr StoredColumn kStoredColumns[] = {{"sifra", FieldKind::kText},
                                           {"naziv", FieldKind::kText},
                                           {"jm", FieldKind::kText},
                                           {"kolicina", FieldKind::kFloat},
                                           {"tbr_stp", FieldKind::kFloat},
                                           {"rbp1", FieldKind::kFloat},
                                           {"rbp2", FieldKind::kFloat},
                                           {"rbp3", FieldKind::kFloat},
                                           {"marp", FieldKind::kFloat},
                                           {"ztp", FieldKind::kFloat},
                                           {"nc", FieldKind::kCurrency},
                                           {"nci", FieldKind::kCurrency},
                                           {"fc", FieldKind::kCurrency},
                                           {"fci", FieldKind::kCurrency},
                                           {"nfci", FieldKind::kCurrency},
                                           {"zti", FieldKind::kCurrency},
                                           {"vpc", FieldKind::kCurrency},
                                           {"vpci", FieldKind::kCurrency},
                                           {"mpc", FieldKind::kCurrency},
                                           {"mpci", FieldKind::kCurrency},
                                           {"nmpc", FieldKind::kCurrency},
                                           {"nmpci", FieldKind::kCurrency},
                                           {"pc", FieldKind::kCurrency},
                                           {"pci", FieldKind::kCurrency},
                                           {"rbi1", FieldKind::kCurrency},
                                           {"rbi2", FieldKind::kCurrency},
                                           {"rbi3", FieldKind::kCurrency},
                                           {"rabatIznos", FieldKind::kCurrency},
                                           {"osnovica", FieldKind::kCurrency},
                                           {"pdvi", FieldKind::kCurrency},
                                           {"ukupno", FieldKind::kCurrency},
                                           {"pov_nak", FieldKind::kCurrency},
                                           {"pov_naki", FieldKind::kCurrency},
                                           {"marza", FieldKind::kCurrency},
                                           {"neoporezivo", FieldKind::kCurrency}};

struct Line {
  std::array<std::string, 3> texts;
  std::array<double, std::size(kStoredColumns) - 3> numbers;

  double& Number(std::string_view name) {
    std::size_t column = 0;
    while (kStoredColumns[column].name != name) ++column;
    return numbers[column - 3];
  }
};

std::vector<Line> MakeStoredLines() {
  std::mt19937 random(7);  // NOLINT: the same lines in every run
  std::vector<Line> lines(kStoredLines);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    lines[i].texts = {std::to_string(100'000 + i), "Artikl čokolade " + std::to_string(random() % 90'000),
                      "kom"};
    for (double& number : lines[i].numbers) number = static_cast<double>(random() % 1'000'000) / 100;
    // Purchase and selling value, as the calculator of opening stock has them.
    for (const auto& [price, amount] : {std::pair("nc", "nci"), {"vpc", "vpci"}}) {
      lines[i].Number(amount) = std::round(lines[i].Number(price) * lines[i].Number("kolicina") * 100) / 100;
    }
  }
  return lines;
}

RecordSet ToRecordSet(const std::vector<Line>& lines) {
  RecordSet records("Stavke");
  for (const StoredColumn& column : kStoredColumns) records.DefineField(column.name, column.kind);
  records.Open();
  std::vector<Value> values(std::size(kStoredColumns));
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i < 3) {
        values[i] = line.texts[i];
      } else if (kStoredColumns[i].kind == FieldKind::kFloat) {
        values[i] = line.numbers[i - 3];
      } else {
        values[i] = Currency::FromScaled(std::llround(line.numbers[i - 3] * Currency::kScale));
      }
    }
    records.AppendRecord(values);
  }
  records.First();
  return records;
}

RecordSet MakeHeader() {
  RecordSet header("Zaglavlje");
  header.DefineField("vrsta", FieldKind::kText, 50);
  header.DefineField("datum", FieldKind::kDate);
  header.Open();
  header.AppendRecord({std::string("pocetno-stanje"), *MakeDate(2024, 3, 1)});
  return header;
}

// The document's lines stored by both, and what that takes.
class Storing {
 public:
  void ByTransaction() {
    const ScopedApp app({.comunication = &file_.server()});
    if (ExecuteTransaction("DokumentInsert", {&header_, &records_})) return;
    throw std::runtime_error(file_.server().LastWrite().failure->ToString());
  }

  void ByPlainLoop() {
    file_.Execute(
        "BEGIN IMMEDIATE; INSERT INTO dok (vrsta, godina, broj, datum) VALUES ('x', 2024, 1, '2024-03-01')");
    const std::int64_t document = sqlite3_last_insert_rowid(file_.plain());
    std::string names = "dok_id, rb, sorta";
    std::string places = "?, ?, 'roba'";
    for (const StoredColumn& column : kStoredColumns) {
      names += std::string(", ") + column.name;
      places += ", ?";
    }
    PlainStatement insert(file_.plain(), "INSERT INTO dok_stavke (" + names + ") VALUES (" + places + ")");
    std::int64_t number = 0;
    for (const Line& line : lines_) {
      insert.Bind(1, document);
      insert.Bind(2, ++number);
      int parameter = 2;
      for (const std::string& text : line.texts) insert.Bind(++parameter, text);
      for (const double value : line.numbers) insert.Bind(++parameter, value);
      insert.Run();
    }
    file_.Execute("COMMIT");
  }

  // All lines are there; the next run finds the file as it was.
  void CheckAndRemove() {
    if (file_.Number("SELECT COUNT(*) FROM dok_stavke") != static_cast<std::int64_t>(kStoredLines)) {
      throw std::runtime_error("not all lines were stored");
    }
    file_.Execute("DELETE FROM dok_stavke; DELETE FROM dok; PRAGMA wal_checkpoint(TRUNCATE)");
  }

  // Memory beside the record set, as a multiple of it.
  double MemoryRatio() {
    const double taken = MemoryTaken([this] { ByTransaction(); });
    CheckAndRemove();
    return taken / static_cast<double>(records_.MemoryBytes());
  }

 private:
  CompanyFile file_;
  std::vector<Line> lines_ = MakeStoredLines();
  RecordSet records_ = ToRecordSet(lines_);
  RecordSet header_ = MakeHeader();
};

// An import of partners stored, and taken back.
class TakingBack {
 public:
  TakingBack() : rows_(TypedRows(ImportFieldsOf(*FindImportProfile("PARTNERPTT")))) {
    constexpr std::size_t kFirstNumber = 10'000;
    std::vector<Value> values(rows_.FieldCount());
    for (std::size_t row = 0; row < kStoredLines; ++row) {
      for (std::size_t i = kFirstDataPosition; i < values.size(); ++i) {
        const FieldDef& field = rows_.Definition(i);
        if (field.kind == FieldKind::kText)
          values[i] = field.name.substr(0, 3) + std::to_string(kFirstNumber + row);
        if (field.kind == FieldKind::kFloat) values[i] = static_cast<double>(row % 1000);
        if (field.kind == FieldKind::kBoolean) values[i] = row % 2 == 0;
      }
      const auto set = [&](const char* name, Value value) {
        values[*rows_.FindFieldIndex(name)] = std::move(value);
      };
      set("PTT", std::string("10000"));
      set("MJESTO", std::string("Zagreb"));
      set("DRZAVA", std::string("HR"));
      set("VALUTA", std::string("EUR"));
      set("KOMERCIJALIST", std::string("Demo komercijalist"));
      rows_.AppendRecord(values);
    }
    request_.DefineField("id", FieldKind::kInteger);
    request_.Open();
  }

  void Store() { Write("ParImportInsertPTTMje", rows_); }
  void TakeBack() {
    request_.Clear();
    request_.AppendRecord({file_.Number("SELECT MAX(id) FROM uvoz")});
    Write("PonistiUvoz", request_);
  }

 private:
  void Write(std::string_view transaction, RecordSet& records) {
    const ScopedApp app({.comunication = &file_.server()});
    if (ExecuteTransaction(transaction, {&records})) return;
    throw std::runtime_error(file_.server().LastWrite().failure->ToString());
  }

  CompanyFile file_;
  RecordSet rows_;
  RecordSet request_{"adsUvoz"};
};

// Names of towns looked up in a table of a million.
class LookingUp {
 public:
  LookingUp() {
    file_.Execute("BEGIN");
    PlainStatement insert(file_.plain(), "INSERT INTO mjesto (ptt, naziv) VALUES (?, ?)");
    for (std::size_t i = 0; i < kTowns; ++i) {
      const std::string code = std::to_string(i);
      const std::string name = "Čakovec " + code;
      insert.Bind(1, code);
      insert.Bind(2, name);
      insert.Run();
    }
    file_.Execute("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
    std::mt19937 random(11);  // NOLINT: the same names in every run
    for (std::size_t i = 0; i < kLookedUp.back(); ++i) {
      names_.push_back("ČAKOVEC " + std::to_string(random() % kTowns));
    }
  }

  void ByService(std::size_t count) {
    std::string values;
    for (std::size_t i = 0; i < count; ++i) values += (i == 0 ? "" : "','") + names_[i];
    TAstaParamList request;
    request.FastAdd("params1", kLookUp);
    request.FastAdd("params2", Value(std::move(values)));
    const ScopedApp app({.comunication = &file_.server()});
    const std::optional<RecordSet> found = CreateDBDataSet("ImportGrid", "adsList", request);
    if (!found || found->RecordCount() < count * 9 / 10) throw std::runtime_error("too few were found");
  }

  void ByPlainStatements(std::size_t count) {
    PlainStatement select(file_.plain(), "SELECT naziv FROM mjesto WHERE " + IndexedName() + " = ?");
    std::int64_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const std::string key = FoldKey(names_[i]);
      select.Bind(1, key);
      found += select.Run();
    }
    if (found < static_cast<std::int64_t>(count)) throw std::runtime_error("too few were found");
  }

 private:
  // The expression that the table's index on the name is made of.
  std::string IndexedName() {
    const std::string index = file_.Text("SELECT sql FROM sqlite_master WHERE name = 'mjesto_naziv'");
    const std::size_t begin = index.find('(') + 1;
    return index.substr(begin, index.rfind(')') - begin);
  }

  CompanyFile file_;
  std::vector<std::string> names_;
};

// Made when the first benchmark that needs it runs.
template <typename Peer>
Peer& Shared() {
  static Peer peer;
  return peer;
}

// The peer is made before the time is taken; prepare() and restore() are not timed either.
template <typename Peer>
void Register(const std::string& name, std::size_t items, void (*run)(Peer& peer, std::size_t items),
              void (*restore)(Peer& peer) = nullptr, void (*prepare)(Peer& peer) = nullptr) {
  benchmark::RegisterBenchmark(
      name.c_str(),
      [=](benchmark::State& state) {
        Peer& peer = Shared<Peer>();
        if (prepare != nullptr) prepare(peer);
        for (auto _ : state) run(peer, items);
        if (restore != nullptr) restore(peer);
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
      })
      ->Iterations(1)
      ->Repetitions(kRepetitions)
      ->UseRealTime();
}

void PrintRatio(const Measurements& measurements, const char* name, const std::string& numerator,
                const std::string& denominator) {
  measurements.PrintRatio({name, numerator.c_str(), denominator.c_str()});
}

}  // namespace

void RegisterServerBenchmarks() {
  const auto remove = [](Storing& peer) { peer.CheckAndRemove(); };
  Register<Storing>(
      "store/transaction", kStoredLines, [](Storing& peer, std::size_t) { peer.ByTransaction(); }, remove);
  Register<Storing>(
      "store/plain_loop", kStoredLines, [](Storing& peer, std::size_t) { peer.ByPlainLoop(); }, remove);
  Register<TakingBack>(
      "undo/store", kStoredLines, [](TakingBack& peer, std::size_t) { peer.Store(); },
      [](TakingBack& peer) { peer.TakeBack(); });
  Register<TakingBack>(
      "undo/take_back", kStoredLines, [](TakingBack& peer, std::size_t) { peer.TakeBack(); }, nullptr,
      [](TakingBack& peer) { peer.Store(); });
  for (const std::size_t count : kLookedUp) {
    Register<LookingUp>("look_up/service_" + std::to_string(count), count,
                        [](LookingUp& peer, std::size_t items) { peer.ByService(items); });
  }
  Register<LookingUp>("look_up/statement_each", kLookedUp.back(),
                      [](LookingUp& peer, std::size_t items) { peer.ByPlainStatements(items); });
}

void PrintServerRatios(const Measurements& measurements) {
  PrintRatio(measurements, "store_transaction", "store/transaction", "store/plain_loop");
  if (measurements.Fastest("store/transaction")) {
    std::printf("ratio store_memory %.2f\n", Shared<Storing>().MemoryRatio());
  }
  PrintRatio(measurements, "undo_store", "undo/take_back", "undo/store");
  PrintRatio(measurements, "look_up_growth", "look_up/service_100000", "look_up/service_25000");
  PrintRatio(measurements, "look_up_statements", "look_up/statement_each", "look_up/service_100000");
}

}  // namespace mox::bench

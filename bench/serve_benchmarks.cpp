#include "bench/serve_benchmarks.h"

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "bench/bare_server.h"
#include "connect/http_client.h"
#include "connect/server_connection.h"
#include "mox/foundation/files.h"
#include "moxd/accounts.h"
#include "moxd/demo.h"
#include "moxd/mox_server.h"
#include "tests/fakes/small_document.h"
#include "tests/source_dir.h"

namespace mox::bench {
namespace {

constexpr int kRepetitions = 5;
constexpr const char* kService = "GetSkladista";
constexpr std::size_t kMostClients = 8;
constexpr int kWrites = 160;
constexpr const char* kCompany = "velika";

constexpr const char* kBareWrite = R"(
\set key random(1, 1000000000000000)
\set year 2100 + :client_id
SELECT sazetak, upisano, odgovor FROM dnevnik_upisa WHERE kljuc = CAST(:key AS text);
\startpipeline
BEGIN ISOLATION LEVEL READ COMMITTED;
SELECT pg_advisory_xact_lock_shared(1836017764, hashtext(CAST(current_schema() AS text)));
SAVEPOINT mox;
SELECT verzija FROM mox_verzija;
\endpipeline
INSERT INTO dok_brojac (vrsta, godina, zadnji) VALUES ('predracun', :year, 1) ON CONFLICT (vrsta, godina)
  DO UPDATE SET zadnji = dok_brojac.zadnji + 1 RETURNING zadnji \gset
INSERT INTO dok (vrsta, godina, broj, datum, opis, par_id, ukupno)
  VALUES ('predracun', :year, :zadnji, '2024-12-31', 'x', 1, 0) RETURNING id \gset
\startpipeline
INSERT INTO dok_stavke (sorta, rb, dok_id, kolicina) VALUES ('roba', 1, :id, 0);
INSERT INTO dok_porezi (rb, dok_id, stopa, osnovica, porez, ukupno) VALUES (1, :id, 0, 0, 0, 0);
INSERT INTO dnevnik_upisa (vrijeme, korisnik, transakcija, dok_id, dokumenti, upisano, kljuc, sazetak, odgovor)
  VALUES (localtimestamp(3), 'ana', 'DokumentInsert', :id, 'predracun', true, CAST(:key AS text),
    repeat('a', 16), repeat('x', 300));
COMMIT;
\endpipeline
)";

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string AddressOf(unsigned port) { return "https://localhost:" + std::to_string(port); }

// A server over the made-up company, and those who ask it.
class Served {
 public:
  Served() : server_(demo_.Settings(), log_.get()) {
    server_.Start();
    const ServerAddress address = ServerAddress::Parse(AddressOf(server_.port()) + "/demo");
    login_ = ServerConnection::LogIn(address, DemoCompany::user(), demo_.password(), Certificate());
    client_ = std::make_unique<ServerConnection>(address, login_);
  }

  TdmComunication& client() { return *client_; }
  const DemoCompany& demo() const { return demo_; }
  std::string Certificate() const { return demo_.Settings().tls.certificate; }
  std::unique_ptr<ServerConnection> Connect(const std::string& company) const {
    return std::make_unique<ServerConnection>(ServerAddress::Parse(AddressOf(server_.port()) + '/' + company),
                                              login_);
  }

 private:
  DemoCompany demo_;
  std::unique_ptr<std::FILE, Close> log_{std::fopen("/dev/null", "w")};
  MoxServer server_;
  StoredLogin login_;
  std::unique_ptr<ServerConnection> client_;
};

std::size_t Read(TdmComunication& comunication) {
  const auto answer = comunication.ReportDataService({}, kService);
  return answer->ParamByName("adsSkl").AsDataSet().RowCount();
}

// What there is without the server: the company here, and an echo by the server's library, of as many bytes
// as the read's answer has, and under the header fields of its request. One follows the other, so that both
// find in the processor's caches what the other one has left there, as in the server.
class Bare {
 public:
  explicit Bare(const Served& served)
      : server_(served.Certificate(), served.demo().Settings().tls.key),
        echo_(AddressOf(server_.port()), served.Certificate()),
        here_(Database(served.demo().company_file())) {}

  TdmComunication& here() { return here_; }
  void Echo() {
    HttpAnswer answer;
    HttpFailure failure;
    if (!echo_.Post("/v1/demo/service/GetSkladista", headers_, text_, answer, failure) ||
        answer.body != text_) {
      throw std::runtime_error("the bare server does not answer: " + failure.reason);
    }
  }

 private:
  BareServer server_;
  HttpClient echo_;
  CompanyServer here_;
  std::vector<std::string> headers_ = {"Authorization: Bearer " + std::string(43, 'a'), "Mox-Protocol: 1",
                                       "Content-Type: application/x-mox", "Accept-Encoding: zstd"};
  std::string text_ = here_.ReportDataService({}, kService)->AsTokenizedString(false);
};

// A company on a PostgreSQL server that keeps what it has promised, so each commit waits for the disk. Each
// client stores documents of a year of its own, as only those of one kind and year wait for each other.
class Writers {
 public:
  explicit Writers(const Served& served) {
    Control("start", " '-c fsync=on' '-c full_page_writes=on'");
    const std::string folder = ReadWholeFile(file_);
    socket_ = folder.substr(0, folder.find('\n'));
    const std::string address = "postgresql://postgres@/postgres?host=" + socket_ + "&company=" + kCompany;
    Database::Create(address, WithDemo::kYes);
    here_ = std::make_unique<CompanyServer>(Database(address));
    const ServerSettings settings = served.demo().Settings();
    Accounts accounts(settings.directory, settings.accounts);
    accounts.AddCompany(kCompany, address);
    accounts.Grant(DemoCompany::user(), kCompany, {FindRole("administracija")});
    for (std::unique_ptr<ServerConnection>& client : clients_) client = served.Connect(kCompany);
    Write(kMostClients);
  }
  ~Writers() {
    here_.reset();
    Control("stop", "");
  }
  Writers(const Writers&) = delete;
  Writers& operator=(const Writers&) = delete;

  TdmComunication& client() { return *clients_.front(); }
  TdmComunication& here() { return *here_; }

  // What a document takes where so many clients send its statements to the database themselves, in as many
  // ways to it, and of that its commit; milliseconds.
  std::pair<double, double> WriteBare(std::size_t clients) const {
    const std::string script = file_ + ".sql";
    std::ofstream(script) << kBareWrite;
    const std::string many = std::to_string(clients);
    const std::string command =
        "PGOPTIONS='-c search_path=mox_" + std::string(kCompany) +
        "' $(find /usr/lib/postgresql /usr/local/pgsql /usr/pgsql-* -type f -name pgbench 2>/dev/null "
        "| sort -V | tail -n 1) -h '" +
        socket_ + "' -U postgres -n -M prepared -r -c " + many + " -j " + many + " -t " +
        std::to_string(5 * kWrites / clients) + " -f '" + script + "' postgres 2>&1";
    std::FILE* const answer = ::popen(command.c_str(), "r");
    double per_second = 0;
    double commit = 0;
    char line[256];
    while (answer != nullptr && std::fgets(line, sizeof line, answer) != nullptr) {
      if (std::strncmp(line, "tps = ", 6) == 0) per_second = std::atof(line + 6);
      if (std::strstr(line, "\\endpipeline") != nullptr) commit = std::atof(line);  // the last one counts
    }
    if (answer == nullptr || ::pclose(answer) != 0 || per_second <= 0)
      throw std::runtime_error("pgbench does not run");
    return {1000 / per_second, commit};
  }

  // So many documents by so many at once.
  void Write(std::size_t clients) {
    std::atomic<int> left = kWrites;
    std::vector<std::thread> threads;
    for (std::size_t client = 0; client < clients; ++client) {
      threads.emplace_back([&, client] {
        while (left.fetch_sub(1) > 0) {
          const std::string day = "31.12." + std::to_string(2010 + client);
          const auto request = SmallDocument("predracun", day, "x", 1);
          if (clients_[client]->WriteDataService(request) == 0) std::abort();
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }

 private:
  void Control(const std::string& action, const std::string& options) {
    const std::string script = SourceDir() + "/tests/fakes/postgresql_server.sh";
    if (std::system(("bash '" + script + "' " + action + " '" + file_ + "'" + options).c_str()) != 0)
      throw std::runtime_error("the PostgreSQL server does not " + action);
  }

  std::string file_ =
      std::filesystem::temp_directory_path() / ("mox_bench_server." + std::to_string(::getpid()));
  std::string socket_;
  std::array<std::unique_ptr<ServerConnection>, kMostClients> clients_;
  std::unique_ptr<CompanyServer> here_;
};

Served& TheServed() {
  static Served served;
  return served;
}
Bare& TheBare() {
  static Bare bare(TheServed());
  return bare;
}
Writers& TheWriters() {
  static Writers writers(TheServed());
  return writers;
}

void Register(const char* name, const std::function<void()>& work, int items, int iterations) {
  auto* const registered = benchmark::RegisterBenchmark(name, [work, items](benchmark::State& state) {
    for (auto _ : state) work();
    state.SetItemsProcessed(state.iterations() * items);
  });
  registered->Repetitions(kRepetitions)->UseRealTime();
  if (iterations > 0) registered->Iterations(iterations);
}

double MemoryOfServer() {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  std::FILE* const answer = ::popen(("'" + self + "' " + kServeMemoryOption).c_str(), "r");
  double megabytes = 0;
  const bool read = answer != nullptr && std::fscanf(answer, "%lf", &megabytes) == 1;
  if (answer == nullptr || ::pclose(answer) != 0 || !read) throw std::runtime_error("no memory was measured");
  return megabytes;
}

// What the process took at most, in megabytes.
double PeakOf(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024;
  }
  return 0;
}

}  // namespace

void RegisterServeBenchmarks() {
  Register(
      "serve/network", [] { benchmark::DoNotOptimize(Read(TheServed().client())); }, 1, 0);
  Register(
      "serve/here_and_echo",
      [] {
        benchmark::DoNotOptimize(Read(TheBare().here()));
        TheBare().Echo();
      },
      1, 0);
  Register(
      "serve/network_postgresql", [] { benchmark::DoNotOptimize(Read(TheWriters().client())); }, 1, 0);
  Register(
      "serve/here_and_echo_postgresql",
      [] {
        benchmark::DoNotOptimize(Read(TheWriters().here()));
        TheBare().Echo();
      },
      1, 0);
  Register(
      "serve/write_by_1", [] { TheWriters().Write(1); }, kWrites, 1);
  Register(
      "serve/write_by_8", [] { TheWriters().Write(kMostClients); }, kWrites, 1);
}

void PrintServeRatios(const Measurements& measurements) {
  measurements.PrintRatio({"serve_scale", "serve/write_by_1", "serve/write_by_8"});
  if (measurements.Fastest("serve/write_by_8")) {
    const auto [one, commit] = TheWriters().WriteBare(1);
    const auto [many, waits] = TheWriters().WriteBare(kMostClients);
    std::printf("ratio serve_scale_bare %.2f  (%.2f ms to %.2f; with the commit %.2f and %.2f)\n", one / many,
                one, many, commit, waits);
  }
  measurements.PrintRatio({"serve_overhead", "serve/network", "serve/here_and_echo"});
  measurements.PrintRatio(
      {"serve_overhead_pg", "serve/network_postgresql", "serve/here_and_echo_postgresql"});
  if (measurements.Fastest("serve/network")) std::printf("ratio serve_mb_1000 %.0f\n", MemoryOfServer());
}

// The server is a process of its own, which the clients' memory is not counted to.
int PrintServeMemory() {
  constexpr std::size_t kConnections = 1000;
  const DemoCompany demo;
  int ends[2];
  if (::pipe(ends) != 0) return 1;
  const pid_t server = ::fork();
  if (server == 0) {
    const std::unique_ptr<std::FILE, Close> log(std::fopen("/dev/null", "w"));
    MoxServer served(demo.Settings(), log.get());
    served.Start();
    const unsigned port = served.port();
    if (::write(ends[1], &port, sizeof port) != sizeof port) std::_Exit(1);
    ::pause();
  }
  unsigned port = 0;
  if (::read(ends[0], &port, sizeof port) != sizeof port) return 1;
  const StoredLogin login =
      ServerConnection::LogIn(ServerAddress::Parse(AddressOf(port) + "/demo"), DemoCompany::user(),
                              demo.password(), demo.Settings().tls.certificate);
  const std::string body = TAstaParamList().AsTokenizedString(false);
  std::list<HttpClient> clients;
  std::size_t answered = 0;
  for (std::size_t i = 0; i < kConnections; ++i) {
    clients.emplace_back(AddressOf(port), demo.Settings().tls.certificate);
    HttpAnswer answer;
    HttpFailure failure;
    clients.back().Post("/v1/demo/service/GetSkladista", {"Authorization: Bearer " + login.token}, body,
                        answer, failure);
    answered += answer.status == 200 ? 1 : 0;
  }
  const double megabytes = PeakOf(server);
  ::kill(server, SIGKILL);
  ::waitpid(server, nullptr, 0);
  std::printf("%.1f\n", megabytes);
  return answered == kConnections ? 0 : 1;
}

}  // namespace mox::bench

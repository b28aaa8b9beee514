// Stores documents over the network until it is told to end, and tells of each what it knows:
// network_writer write SERVER/COMPANY CA TOKEN NAME; what a company has: network_writer list ADDRESS
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "appserver/database.h"
#include "connect/server_connection.h"
#include "tests/fakes/small_document.h"

namespace {

volatile std::sig_atomic_t ends = 0;

// A line is written whole or not at all, also when the process is killed behind it.
void Tell(const char* what, const std::string& document, const std::string& detail = {}) {
  std::printf("%s\t%s\t%s\n", what, document.c_str(), detail.c_str());
  std::fflush(stdout);
}

std::string Named(const mox::RecordRow& row) {
  std::string named;
  for (const char* const field : {"vrsta", "godina", "broj"}) {
    named.append(named.empty() ? "" : "\t").append(row.AsText(row.IndexOf(field)));
  }
  return named;
}

// Kinds and years take turns, and every tenth document is refused behind its number.
void Store(mox::ServerConnection& server, const std::string& name, int i) {
  const std::string document = name + '-' + std::to_string(i);
  constexpr std::int64_t kNobody = 999'999;
  Tell("begun", document);
  try {
    const bool stored =
        server.WriteDataService(mox::SmallDocument(i % 2 == 0 ? "gotovinski-racun" : "predracun",
                                                   i % 3 == 0 ? "31.12.2024" : "01.01.2025", document,
                                                   i % 10 == 9 ? kNobody : 1)) != 0;
    if (stored) {
      Tell("stored", document, Named(server.LastWrite().stored->RowAt(0)));
    } else {
      Tell("refused", document, server.WriteRefusal());
    }
  } catch (const mox::DatabaseUnavailable& error) {
    Tell(std::strstr(error.what(), "nothing was stored") != nullptr ? "absent" : "unknown", document,
         error.what());
  } catch (const mox::Error& error) {
    Tell("error", document, error.what());
  }
}

int Write(char** words) {
  std::signal(SIGTERM, [](int) { ends = 1; });
  using std::chrono::milliseconds;
  const mox::RetryPolicy often{.first_pause = milliseconds(50),
                               .longest_pause = milliseconds(400),
                               .while_unreachable = milliseconds(60'000)};
  mox::ServerConnection server(mox::ServerAddress::Parse(words[0]), {words[2], "ana", words[1]}, often);
  for (int i = 0; ends == 0; ++i) Store(server, words[3], i);
  return 0;
}

int List(const char* address) {
  mox::Database database{mox::DatabaseLocation(address)};
  const mox::RecordSet documents =
      database.Query("d", mox::ParseColumns("opis,vrsta,godina,broj,upisa:integer"),
                     "SELECT d.opis, d.vrsta, d.godina, d.broj, (SELECT COUNT(*) FROM dnevnik_upisa u WHERE "
                     "u.dok_id = d.id) "
                     "FROM dok d ORDER BY d.id");
  for (const mox::RecordRow& row : documents.Rows()) {
    std::printf("%s\t%s\t%s\n", row.AsText(0).c_str(), Named(row).c_str(), row.AsText(4).c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 6 && std::strcmp(argv[1], "write") == 0) return Write(argv + 2);
    if (argc == 3 && std::strcmp(argv[1], "list") == 0) return List(argv[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "network_writer: %s\n", error.what());
    return 1;
  }
  return 2;
}

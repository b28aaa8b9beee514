#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <string_view>
#include <thread>

#include "appserver/company_server.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/error_of.h"

namespace mox {
namespace {

enum class Loses : std::uint8_t { kNothing, kRequest, kAnswer, kServer };

// The whole statement, with the end of the message that sends it.
constexpr std::string_view kCommit("COMMIT", sizeof "COMMIT");

// Stands before a PostgreSQL server, and loses the next COMMIT, what is answered to it, or besides the
// server.
class LosingServer {
 public:
  LosingServer(const std::string& server, const std::string& here)
      : server_(Named(server)), listener_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
    const sockaddr_un own = Named(here);
    EXPECT_EQ(::bind(listener_, reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
    EXPECT_EQ(::listen(listener_, 8), 0);
    thread_ = std::thread([this] {
      for (int client = -1; (client = ::accept(listener_, nullptr, nullptr)) >= 0;) Serve(client);
    });
  }
  ~LosingServer() {
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
  }
  LosingServer(const LosingServer&) = delete;
  LosingServer& operator=(const LosingServer&) = delete;

  void Lose(Loses what) { loses_ = what; }

 private:
  static sockaddr_un Named(const std::string& folder) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    std::snprintf(name.sun_path, sizeof name.sun_path, "%s/.s.PGSQL.5432", folder.c_str());
    return name;
  }
  void Serve(int client) {
    const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(::connect(server, reinterpret_cast<const sockaddr*>(&server_), sizeof server_), 0);
    while (PassOn(client, server)) {
    }
    ::close(client);
    ::close(server);
  }
  bool PassOn(int client, int server) {
    pollfd ends[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
    if (::poll(ends, 2, -1) < 0) return false;
    const bool is_request = ends[0].revents != 0;
    char text[65536];
    const ssize_t size = ::read(is_request ? client : server, text, sizeof text);
    if (size <= 0) return false;
    const std::string_view read(text, static_cast<std::size_t>(size));
    const bool is_lost = is_request && loses_ != Loses::kNothing && read.find(kCommit) != read.npos;
    const Loses loses = is_lost ? loses_.exchange(Loses::kNothing) : Loses::kNothing;
    if (loses == Loses::kServer) ::shutdown(listener_, SHUT_RDWR);
    if (loses == Loses::kRequest) return false;
    if (::write(is_request ? server : client, text, read.size()) != size) return false;
    return !is_lost || ::read(server, text, sizeof text) < 0;
  }

  sockaddr_un server_;
  int listener_;
  std::atomic<Loses> loses_ = Loses::kNothing;
  std::thread thread_;
};

// Stores one row.
TAstaParamList Link(std::int64_t document) {
  const RecordSet links =
      OneRecord("FTransTempVezeDataSet", "parent_table,parent_column,child_tip,user_id,parent_doc_id:integer",
                {"dok", "id", "got-racun", "ana", document});
  return RequestOf("UpisParentFieldForVD", {&links});
}

TEST(LostAnswerThreads, IsAskedForUnderTheKeyOfTheWrite) {
  const std::string path = PostgresqlServer::NewCompany().ToString();
  Database::Create(path, WithDemo::kYes);
  const ScratchFolder folder;
  const std::size_t begin = path.find("host=") + 5;
  const std::size_t end = path.find('&');
  LosingServer between(path.substr(begin, end - begin), folder / "");
  std::string way = path.substr(0, begin) + (folder / "") + path.substr(end);
  for (std::size_t at = 0; (at = way.find(' ', at)) != way.npos;) way.replace(at, 1, "%20");
  const struct {
    Loses loses;
    std::int64_t stored;  // links, and rows of the journal
    std::string told;     // how it ends; empty of what is answered as stored
  } rows[] = {
      {Loses::kNothing, 1, ""},
      {Loses::kAnswer, 2, ""},
      {Loses::kRequest, 2, "the connection to the server was lost; nothing was stored"},
      {Loses::kServer, 3, " where it was)"},
  };
  CompanyServer server{Database(way)};
  for (const auto& row : rows) {
    between.Lose(row.loses);
    const std::string told = ErrorOf<DatabaseUnavailable>([&] {
      EXPECT_EQ(server.WriteDataService(Link(row.stored)), 1) << server.WriteRefusal();
      EXPECT_EQ(server.LastWrite().transaction, "UpisParentFieldForVD");
    });
    EXPECT_TRUE(row.told.empty() ? told.empty() : told.ends_with(row.told)) << told;
    Database database(path);
    for (const char* const table : {"dok_veze_kasnije", "dnevnik_upisa"}) {
      EXPECT_EQ(Number(database, "SELECT COUNT(*) FROM " + std::string(table)), row.stored) << table;
    }
  }
  PostgresqlServer::Drop(path);
}

}  // namespace
}  // namespace mox

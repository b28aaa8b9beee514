#include <gmock/gmock.h>
#include <signal.h>

#include <fstream>
#include <sstream>

#include "appserver/database.h"
#include "appserver/move_side.h"
#include "moxd/administration.h"
#include "moxd/move_company.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/own_process.h"
#include "tests/fakes/record_sets.h"
#include "tests/moxd/scratch_accounts.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

constexpr std::chrono::milliseconds kAnyTime =
    std::chrono::hours(1);  // for a comparison that keeps writers waiting

constexpr MoveStep kSteps[] = {MoveStep::kNoted,      MoveStep::kTablesMade,   MoveStep::kPublished,
                               MoveStep::kSubscribed, MoveStep::kCopied,       MoveStep::kHeld,
                               MoveStep::kCarried,    MoveStep::kLeft,         MoveStep::kOpened,
                               MoveStep::kNamed,      MoveStep::kUnsubscribed, MoveStep::kDropped};

// Where the company is open when a move that compares before it switches has done the step.
std::string OpenAfter(MoveStep step, int to) {
  if (step == MoveStep::kLeft) return "--";
  return (step < MoveStep::kLeft) == (to == 1) ? "0-" : "-1";
}

// A company on one of two servers, in a directory.
class CompanyMoveTest : public ScratchAccounts {
 protected:
  CompanyMoveTest()
      : CompanyMoveTest({std::getenv("MOX_TEST_POSTGRESQL"), std::getenv("MOX_TEST_POSTGRESQL_2")}) {}
  explicit CompanyMoveTest(const std::vector<std::string>& servers) {
    const std::string name = "seoba" + std::to_string(::getpid());
    for (const std::string& server : servers) {
      std::ifstream file(server);
      std::string folder;
      std::getline(file, folder);
      places_.push_back("postgresql://postgres@/postgres?host=" + folder + "&company=" + name);
    }
    Database::Create(places_[0], WithDemo::kYes);
    Open().AddCompany("seoba", places_[0]);
  }
  ~CompanyMoveTest() override {
    for (const std::string& place : places_) {
      MoveSide side(place, "");
      side.Run("DROP SCHEMA IF EXISTS " + QuotedName(side.schema()) + " CASCADE");
    }
  }

  void Move(int to, const CompanyMove::Tell& tell, std::chrono::milliseconds longest = kAnyTime) const {
    Accounts accounts = Open();
    MoveWish wish;
    wish.longest_comparison = longest;
    MoveCompanyTo(accounts, "seoba", places_[static_cast<std::size_t>(to)], wish, tell);
  }
  void TakeBack() const {
    Accounts accounts = Open();
    TakeMoveBack(accounts, "seoba", {}, nullptr);
  }
  // A move that is killed when it has done a step for the first time; false where it came to its end.
  bool IsKilledAt(MoveStep step, int to, std::chrono::milliseconds longest = kAnyTime) const {
    const int status = StatusOf(Fork([&] {
      Move(
          to,
          [step](const MoveNews& news) {
            if (news.step == step) ::raise(SIGKILL);
          },
          longest);
    }));
    return WIFSIGNALED(status);
  }
  // Where the company can be opened and written.
  std::string OpenPlaces() const {
    std::string open;
    for (std::size_t i = 0; i < places_.size(); ++i) {
      try {
        Database database(places_[i]);
        WriteTransaction(database).Commit();
        open += std::to_string(i);
      } catch (const CompanyGone&) {
        open += '-';
      }
    }
    return open;
  }
  TableDigests Digests(int place) const {
    MoveSide side(places_[static_cast<std::size_t>(place)], "");
    return DigestsOf(side);
  }
  std::int64_t NextKey(int place) const {
    Database database(places_[static_cast<std::size_t>(place)]);
    WriteTransaction transaction(database);
    Statement insert = database.Prepare(
        "INSERT INTO dok_veze_kasnije (parent_table, parent_column, parent_doc_id, child_tip, user_id) "
        "VALUES ('a', 'b', 1, 'c', 'd') RETURNING id",
        {});
    const std::int64_t key = insert.ExecuteForKey();
    transaction.Commit();
    return key;
  }
  // As a crash leaves it between a copy's last two steps: its slot is gone, and its end was not noted.
  void LoseCopies() const {
    MoveSide(places_[1], "")
        .Run(
            "UPDATE pg_subscription_rel SET srsubstate = 'f' WHERE srrelid = CAST('dok_veze_kasnije' AS "
            "regclass)");
  }
  // What of a move is left: schemas under other names, publications, slots, subscriptions.
  std::string Remains() const {
    std::string remains;
    for (const std::string& place : places_) {
      MoveSide side(place, "");
      remains +=
          side.Ask("SELECT string_agg(nspname, ' ') FROM pg_namespace WHERE nspname LIKE '%moved%' || '" +
                   side.schema() + "'");
      remains += side.Ask(
          "SELECT string_agg(name, ' ') FROM (SELECT pubname AS name FROM pg_publication UNION ALL SELECT "
          "subname "
          "FROM pg_subscription UNION ALL SELECT slot_name FROM pg_replication_slots) all_of_them");
    }
    return remains;
  }

  std::vector<std::string> places_;
};

// One move that is killed behind each of its steps, and goes on each time; then the same back, with a
// comparison that does not keep writers waiting.
TEST_F(CompanyMoveTest, IsOnOneSideWhereverItWasKilled) {
  NextKey(0);
  const TableDigests before = Digests(0);
  Database stale(places_[0]);
  Statement look = stale.Prepare("SELECT id FROM dok_veze_kasnije WHERE id = :id", {FieldKind::kInteger});
  for (const MoveStep step : kSteps) {
    SCOPED_TRACE(static_cast<int>(step));
    EXPECT_TRUE(IsKilledAt(step, 1));
    EXPECT_EQ(OpenPlaces(), OpenAfter(step, 1));
    if (step == MoveStep::kCopied) LoseCopies();
  }
  EXPECT_THROW(TakeBack(), DatabaseError);
  EXPECT_THROW(Open().SetAddress("seoba", places_[0]), Error);
  Move(1, nullptr);
  EXPECT_EQ(Open().AddressOf("seoba"), places_[1]);
  EXPECT_EQ(Digests(1), before);
  EXPECT_EQ(Remains(), "");
  EXPECT_THROW(const WriteTransaction write(stale), CompanyGone);
  EXPECT_THROW(const ReadTransaction read(stale), CompanyGone);
  RecordSet rows = EmptySet("r", "id:integer");
  look.Bind(0, Value(std::int64_t{1}));
  EXPECT_THROW(look.ExecuteInto(rows), CompanyGone);
  const std::int64_t key = NextKey(1);
  EXPECT_EQ(key, 2);

  const TableDigests then = Digests(1);
  for (const auto& [step, open] : {std::pair(MoveStep::kCompared, "-1"), std::pair(MoveStep::kNamed, "0-")}) {
    SCOPED_TRACE(static_cast<int>(step));
    EXPECT_TRUE(IsKilledAt(step, 0, {}));
    EXPECT_EQ(OpenPlaces(), open);
  }
  Move(0, nullptr);
  EXPECT_EQ(Digests(0), then);
  // What could not be compared to its end is not dropped.
  EXPECT_THAT(Remains(), testing::StartsWith("moved_1_mox_seoba"));
  MoveSide old(places_[1], "");
  old.Run("DROP SCHEMA " + QuotedName("moved_1_" + old.schema()) + " CASCADE");
  EXPECT_EQ(Remains(), "");
}

// Between two servers of its own, which nobody else misses.
class CompanyMoveCrash : public CompanyMoveTest {
 protected:
  static const std::vector<std::string>& Servers() {
    static const std::vector<std::string> servers = {"/tmp/mox_seoba_1." + std::to_string(::getpid()),
                                                     "/tmp/mox_seoba_2." + std::to_string(::getpid())};
    return servers;
  }
  static int Control(const std::string& action, const std::string& server) {
    return std::system(
        ("bash '" + SourceDir() + "/tests/fakes/postgresql_server.sh' " + action + " '" + server + "'")
            .c_str());
  }
  static void SetUpTestSuite() {
    for (const std::string& server : Servers()) ASSERT_EQ(Control("start", server), 0);
  }
  static void TearDownTestSuite() {
    for (const std::string& server : Servers()) Control("stop", server);
  }
  CompanyMoveCrash() : CompanyMoveTest(Servers()) {}
};

// One move, in which a server crashes and comes back behind each step and the program ends with it, and which
// is begun again each time: on the way there it is the old side's, on the way back the new side's.
TEST_F(CompanyMoveCrash, IsOnOneSideWhicheverServerCrashed) {
  NextKey(0);
  const TableDigests before = Digests(0);
  for (const int to : {1, 0}) {
    for (const MoveStep step : kSteps) {
      SCOPED_TRACE("to " + std::to_string(to) + ", step " + std::to_string(static_cast<int>(step)));
      bool has_crashed = false;
      const auto crash = [&](const MoveNews& news) {
        if (news.step != step) return;
        has_crashed = Control("crash", Servers()[0]) == 0;
        throw DatabaseUnavailable("ends here");
      };
      EXPECT_THROW(Move(to, crash), DatabaseUnavailable);
      EXPECT_TRUE(has_crashed);
      EXPECT_EQ(OpenPlaces(), OpenAfter(step, to));
    }
    Move(to, nullptr);
    EXPECT_EQ(OpenPlaces(), OpenAfter(MoveStep::kDropped, to));
    EXPECT_EQ(Digests(to), before);
    EXPECT_EQ(Remains(), "");
  }
}

// Copies are begun anew so often and no more; the same command goes on afterwards.
TEST_F(CompanyMoveTest, EndsWhereNoCopyComesToItsEnd) {
  int copies = 0;
  const auto lose = [&](const MoveNews& news) {
    if (news.step != MoveStep::kSubscribed || ++copies > 9) return;
    MoveSide there(places_[1], "");
    there.Run("ALTER SUBSCRIPTION " + there.Ask("SELECT subname FROM pg_subscription") + " DISABLE");
    while (there.AskNumber("SELECT count(*) FROM pg_stat_subscription WHERE pid IS NOT NULL") > 0) {
      there.Run("SELECT pg_sleep(0.01)");
    }
    LoseCopies();
  };
  EXPECT_THAT(ErrorOf<DatabaseError>([&] { Move(1, lose); }),
              testing::HasSubstr("copies in a row could not come to their end"));
  EXPECT_THAT(copies, testing::AllOf(testing::Ge(2), testing::Le(9)));
  EXPECT_EQ(OpenPlaces(), "0-");
  Move(1, nullptr);
  EXPECT_EQ(OpenPlaces(), "-1");
  EXPECT_EQ(Remains(), "");
}

TEST_F(CompanyMoveTest, IsTakenBackAndRefusedWhereTheSidesDiffer) {
  const TableDigests before = Digests(0);
  EXPECT_TRUE(IsKilledAt(MoveStep::kNoted, 1));
  Database::Create(places_[1], WithDemo::kYes);
  NextKey(1);
  const TableDigests others = Digests(1);
  EXPECT_THROW(Move(1, nullptr), DatabaseError);
  EXPECT_EQ(Digests(1), others) << "another company of that name";
  TakeBack();
  EXPECT_EQ(OpenPlaces(), "01");
  MoveSide stranger(places_[1], "");
  stranger.Run("DROP SCHEMA " + QuotedName(stranger.schema()) + " CASCADE");
  for (const MoveStep step :
       {MoveStep::kNoted, MoveStep::kTablesMade, MoveStep::kPublished, MoveStep::kSubscribed}) {
    SCOPED_TRACE(static_cast<int>(step));
    EXPECT_TRUE(IsKilledAt(step, 1));
    TakeBack();
    EXPECT_EQ(OpenPlaces(), "0-");
    EXPECT_EQ(Remains(), "");
  }
  std::vector<MoveStep> steps;
  const auto spoil = [&](const MoveNews& news) {
    steps.push_back(news.step);
    if (news.step != MoveStep::kCopied) return;
    MoveSide there(places_[1], "");
    there.Run("UPDATE jm SET naziv = 'drugo' WHERE id = (SELECT MIN(id) FROM jm)");
  };
  EXPECT_THAT(ErrorOf<DatabaseError>([&] { Move(1, spoil); }), testing::HasSubstr("jm: "));
  EXPECT_THAT(steps, testing::Contains(MoveStep::kHeld));
  EXPECT_THAT(steps, testing::Not(testing::Contains(MoveStep::kLeft)));
  EXPECT_EQ(OpenPlaces(), "0-");
  TakeBack();
  EXPECT_EQ(Remains(), "");
  EXPECT_EQ(Digests(0), before);
}

// What the words of the command come to while a move is not finished, and otherwise.
TEST_F(CompanyMoveTest, SaysWhatStandsInItsWay) {
  EXPECT_TRUE(IsKilledAt(MoveStep::kHeld, 1));
  std::ofstream(folder_ / "popis") << "# popis\nseoba = " << folder_ / "popis"
                                   << "\n";
  std::string other = places_[1];
  other.replace(other.find("company="), std::string::npos, "company=druga");
  struct Row {
    std::vector<std::string> words;
    std::string err;
  };
  const auto run = [this](const Row& row) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    Accounts accounts = Open();
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    AdministrationStreams streams{in, out, err};
    EXPECT_EQ(RunAdministration(accounts, row.words, streams), row.err.empty() ? 0 : 1);
    EXPECT_THAT(err.str(), testing::HasSubstr(row.err));
  };
  const Row unfinished[] = {
      {{"company", "move", "seoba", other}, "is being moved to"},
      {{"company", "address", "seoba", other}, "is being moved to"},
      {{"company", "remove", "seoba"}, "is being moved to"},
      {{"company", "load", folder_ / "popis"}, "is being moved to"},
      {{"company", "move", "seoba", places_[1], "--back"}, "wherever it goes to"},
      {{"company", "move", "seoba", "--back"}, ""},
  };
  for (const Row& row : unfinished) run(row);
  EXPECT_EQ(Remains(), "");
  EXPECT_EQ(OpenPlaces(), "0-");
  MoveSide here(places_[0], "");
  MoveSide there(places_[1], "");
  const MoveWish plain{.user = "obican" + std::to_string(::getpid())};
  here.Run("CREATE ROLE \"" + plain.user + "\" LOGIN");
  there.Run("CREATE SCHEMA " + QuotedName(there.schema()));
  const Row at_rest[] = {
      {{"company", "move", "seoba", "--back"}, "is not being moved"},
      {{"company", "move", "seoba"}, "where is \"seoba\" to be moved to?"},
      {{"company", "move", "nema", places_[1]}, "there is no company"},
      {{"company", "move", "seoba", places_[0]}, "the company is there already"},
      {{"company", "move", "seoba", folder_ / "x.db"}, "is a file; between a file and a server"},
      {{"company", "move", "seoba", other}, "a company keeps its name when it moves: company=seoba"},
      {{"company", "move", "seoba", places_[1]}, "there is such a company already"},
  };
  for (const Row& row : at_rest) run(row);
  Accounts accounts = Open();
  const auto nothing = [](const MoveNews&) {};
  const auto move_by = [&](const MoveWish& wish) {
    return ErrorOf([&] { MoveCompanyTo(accounts, "seoba", places_[1], wish, nothing); });
  };
  EXPECT_THAT(move_by(plain), testing::HasSubstr("role \"" + plain.user + "\" does not exist"));
  there.Run("CREATE ROLE \"" + plain.user + "\" LOGIN");
  EXPECT_THAT(move_by(plain), testing::HasSubstr("the user " + plain.user + " is no superuser"));
  here.Run("DROP ROLE \"" + plain.user + "\"");
  there.Run("DROP ROLE \"" + plain.user + "\"");

  // The engine has a place for each table that is copied; others hold most of them.
  there.Run("DROP SCHEMA " + QuotedName(there.schema()));
  there.Run(
      "DO $$ BEGIN FOR i IN 1..60 LOOP PERFORM pg_replication_origin_create('zauzeto' || i); "
      "PERFORM pg_replication_origin_advance('zauzeto' || i, '0/1'); END LOOP; END $$");
  EXPECT_THAT(
      move_by({}),
      testing::AllOf(testing::HasSubstr("max_replication_slots leaves 60 places for tables that are copied"),
                     testing::HasSubstr("are needed")));
  there.Run(
      "DO $$ BEGIN FOR i IN 1..60 LOOP PERFORM pg_replication_origin_drop('zauzeto' || i); END LOOP; END "
      "$$");
}

}  // namespace
}  // namespace mox

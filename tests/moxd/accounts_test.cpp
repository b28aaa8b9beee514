#include "moxd/accounts.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <utility>

#include "appserver/database.h"
#include "mox/foundation/files.h"
#include "moxd/directory_schema.h"
#include "moxd/directory_services.h"
#include "tests/fakes/error_of.h"
#include "tests/moxd/scratch_accounts.h"

namespace mox {
namespace {

using Outcome = LogInResult::Outcome;

constexpr std::string_view kPassword = "tajna lozinka";
constexpr std::string_view kDesk = "192.0.2.7";

class AccountsTest : public ScratchAccounts {
 protected:
  AccountsTest() {
    accounts_.AddCompany("velika", "/baze/velika.db");
    accounts_.AddCompany("mala_2", "postgresql://mox@db/mox?company=mala");
    accounts_.AddUser("Ana.Horvat", kPassword);
    accounts_.AddUser("šime", kPassword, "ŠI");
    accounts_.Grant("ana.horvat", "velika", {FindRole("unos"), FindRole("uvoz")});
  }

  std::string LogIn(std::string_view user = "ana.horvat") {
    const LogInResult result = accounts_.LogIn(user, kPassword, kDesk);
    EXPECT_EQ(result.outcome, Outcome::kLoggedIn);
    return result.token;
  }
  bool Lives(const std::string& token) { return accounts_.SessionOf(token, "velika").has_value(); }

  Accounts accounts_ = Open();
};

TEST_F(AccountsTest, LogInWhoHasThePassword) {
  accounts_.AddUser("bivši", kPassword);
  accounts_.SetDisabled("bivši", true);
  accounts_.AddUser("nul", std::string("lozinka\0jedan", 13));
  struct Row {
    std::string_view user;
    std::string_view password;
    Outcome expected;
  };
  const std::string long_text(100'000, 'x');
  const std::string_view with_nul("ana.horvat\0", 11);
  const Row rows[] = {
      {"ana.horvat", kPassword, Outcome::kLoggedIn},
      {" ANA.Horvat ", kPassword, Outcome::kLoggedIn},
      {"ŠIME", kPassword, Outcome::kLoggedIn},
      {"nul", std::string_view("lozinka\0jedan", 13), Outcome::kLoggedIn},
      {"nul", std::string_view("lozinka\0dva", 11), Outcome::kRefused},
      {"nul", "lozinka", Outcome::kRefused},
      {"ana.horvat", "Tajna lozinka", Outcome::kRefused},
      {"ana.horvat", "", Outcome::kRefused},
      {"ana.horvat", long_text, Outcome::kRefused},
      {"bivši", kPassword, Outcome::kRefused},
      {"nitko", kPassword, Outcome::kRefused},
      {"", "", Outcome::kRefused},
      {"' OR 1=1 --", kPassword, Outcome::kRefused},
      {"\xFF\xFE", kPassword, Outcome::kRefused},
      {with_nul, kPassword, Outcome::kRefused},
      {long_text, kPassword, Outcome::kRefused},
  };
  for (const Row& row : rows) {
    const LogInResult result = accounts_.LogIn(row.user, row.password, "not an address\r\n\x01");
    EXPECT_EQ(result.outcome, row.expected) << row.user.substr(0, 20);
    EXPECT_EQ(result.token.size(), row.expected == Outcome::kLoggedIn ? 43U : 0U);
    for (const std::string_view token : {std::string_view(result.token), row.user, row.password}) {
      const auto session = accounts_.SessionOf(token, row.user);
      EXPECT_EQ(session.has_value(), !token.empty() && token == result.token);
    }
  }
}

TEST_F(AccountsTest, SayWhoAsksAndWhatThatUserMay) {
  const std::string ana = LogIn();
  const std::string sime = LogIn("šime");
  accounts_.Grant("šime", "mala_2", {FindRole("Administracija")});
  Accounts another = Open();  // sees what the first one stored
  struct Row {
    const std::string& token;
    std::string_view company;
    Rights rights;
    std::string_view address;
  };
  const Rights entering = {Right::kRead, Right::kEnterDocuments, Right::kImports};
  const Row rows[] = {
      {ana, "velika", entering, "/baze/velika.db"},
      {ana, "VELIKA", entering, "/baze/velika.db"},
      {ana, "mala_2", {}, ""},
      {ana, "nema", {}, ""},
      {ana, "../velika", {}, ""},
      {ana, "velika' OR '1'='1", {}, ""},
      {ana, "\xC0", {}, ""},
      {sime, "velika", {}, ""},
      {sime, "mala_2", Rights::All(), "postgresql://mox@db/mox?company=mala"},
  };
  for (const Row& row : rows) {
    const auto session = another.SessionOf(row.token, row.company);
    ASSERT_TRUE(session);
    EXPECT_EQ(session->user, &row.token == &ana ? "Ana.Horvat" : "šime");
    EXPECT_EQ(session->code, &row.token == &ana ? "ANA.H" : "ŠI");
    EXPECT_EQ(session->rights, row.rights) << row.company;
    EXPECT_EQ(session->address, row.address) << row.company;
  }
  accounts_.SetAddress("velika", "/nove/velika.db");
  EXPECT_EQ(another.AddressOf("Velika"), "/nove/velika.db");
  EXPECT_EQ(another.AddressOf("nema"), std::nullopt);
  accounts_.RemoveCompany("velika");
  accounts_.AddCompany("velika", "/druga.db");  // another one, in which nobody has a role
  EXPECT_TRUE(another.SessionOf(ana, "velika")->rights.Empty());
}

TEST_F(AccountsTest, EndTokens) {
  struct Row {
    std::string_view what;
    std::function<void(const std::string& token)> action;
    bool lives;
  };
  const auto wait = [&](std::int64_t seconds) { *now_ += seconds; };
  const Row rows[] = {
      {"nothing", [](const std::string&) {}, true},
      {"log-out", [&](const std::string& token) { EXPECT_TRUE(accounts_.LogOut(token, kDesk)); }, false},
      {"another's", [&](const std::string&) { accounts_.RevokeTokensOf("šime"); }, true},
      {"revoked", [&](const std::string&) { EXPECT_EQ(accounts_.RevokeTokensOf("Ana.HORVAT"), 2); }, false},
      {"by number", [&](const std::string&) { accounts_.RevokeToken(accounts_.Tokens().back().id); }, false},
      {"a new password", [&](const std::string&) { accounts_.SetPassword("ana.horvat", kPassword); }, false},
      {"disabled",
       [&](const std::string&) {
         accounts_.SetDisabled("ana.horvat", true);
         accounts_.SetDisabled("ana.horvat", false);
       },
       false},
      {"not used to the second before", [&](const std::string&) { wait(settings_.idle_time - 1); }, true},
      {"not used for long", [&](const std::string&) { wait(settings_.idle_time); }, false},
      {"used now and then",
       [&](const std::string& token) {
         for (int i = 0; i < 3; ++i) {
           wait(settings_.idle_time - 61);
           EXPECT_TRUE(Lives(token));
         }
         wait(settings_.idle_time - 61);
       },
       true},
      {"old however used",
       [&](const std::string& token) {
         constexpr std::int64_t kStep = 11 * kHour;
         for (std::int64_t age = 0; age + kStep < settings_.longest_time; age += kStep) {
           wait(kStep);
           EXPECT_TRUE(Lives(token));
         }
         wait(kStep);
       },
       false},
  };
  for (const Row& row : rows) {
    const std::string first = LogIn();
    const std::string token = LogIn();
    EXPECT_TRUE(Lives(token));
    row.action(token);
    EXPECT_EQ(Lives(token), row.lives) << row.what;
    EXPECT_EQ(accounts_.LogOut(token, kDesk), row.lives || row.what.find("used") != std::string_view::npos ||
                                                  row.what.find("however") != std::string_view::npos)
        << row.what;
    accounts_.LogOut(first, kDesk);
  }
  EXPECT_THAT(accounts_.Tokens(), testing::IsEmpty());
}

TEST_F(AccountsTest, MakeGuessesWait) {
  const auto guess = [&](std::string_view user, std::string_view from) {
    return accounts_.LogIn(user, "lozinka ili nesto", from);
  };
  for (int i = 0; i < 6; ++i) EXPECT_EQ(guess("ANA.horvat", kDesk).outcome, Outcome::kRefused);
  for (const std::int64_t expected : {2, 4, 8, 16, 32, 64, 128, 256, 512, 900, 900}) {
    const LogInResult told = accounts_.LogIn("ana.horvat", kPassword, "198.51.100.1");
    EXPECT_EQ(told.outcome, Outcome::kWait);  // wherever it comes from, and right as it is
    EXPECT_EQ(told.wait_seconds, expected);
    *now_ += expected;
    EXPECT_EQ(guess("ana.horvat", kDesk).outcome, Outcome::kRefused);
  }
  EXPECT_EQ(accounts_.LogIn("šime", kPassword, kDesk).outcome, Outcome::kLoggedIn);
  *now_ += settings_.longest_wait;
  LogIn();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(guess("ana.horvat", kDesk).outcome, Outcome::kRefused);
  LogIn();  // a success forgets the account's failures
  // Who does not exist waits likewise, and a day later nobody does.
  for (int i = 0; i < 6; ++i) guess("nitko", "203.0.113.9");
  EXPECT_EQ(guess("nitko", "203.0.113.9").outcome, Outcome::kWait);
  *now_ += kDay;
  EXPECT_EQ(guess("nitko", "203.0.113.9").outcome, Outcome::kRefused);
  // An administrator's new password, or enabling, forgets them too.
  for (int i = 0; i < 6; ++i) guess("ana.horvat", kDesk);
  accounts_.SetPassword("ana.horvat", kPassword);
  LogIn();
}

TEST_F(AccountsTest, BelieveNothingOfAClockThatRanAhead) {
  constexpr std::int64_t kAhead = 365 * kDay;
  *now_ += kAhead;
  const std::string token = LogIn();
  for (int i = 0; i < 6; ++i) accounts_.LogIn("ana.horvat", "kriva lozinka", kDesk);
  *now_ -= kAhead;
  EXPECT_FALSE(Lives(token));
  EXPECT_TRUE(Lives(LogIn()));
}

TEST_F(AccountsTest, LetNobodyWaitWhereAUseCannotBeNoted) {
  const std::string token = LogIn();
  Database other(location_, DirectorySchema());
  const WriteTransaction writes(other);
  *now_ += 100;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(Lives(token));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(AccountsTest, LookWhetherTheirFileIsThere) {
  const std::string token = LogIn();
  EXPECT_TRUE(Lives(token));
  for (const std::string ending : {"", "-wal", "-shm"}) {
    std::filesystem::rename(location_ + ending, location_ + ".former" + ending);
  }
  EXPECT_THROW(Lives(token), DatabaseError);
  Accounts::Create(location_);
  EXPECT_FALSE(Lives(token));
}

TEST_F(AccountsTest, CountAttemptsFromAnAddress) {
  struct Row {
    std::string_view from;  // where the guesses come from
    std::string_view other;
    bool same;
  };
  const Row rows[] = {{"192.0.2.1", "192.0.2.1", true},
                      {"192.0.2.2", "::ffff:192.0.2.2", true},
                      {"192.0.2.3", "192.0.2.4", false},
                      {"2001:db8:1:2::5", "2001:0db8:1:2:ffff::1", true},
                      {"2001:db8:1:3::5", "2001:db8:1:4::5", false}};
  for (const Row& row : rows) {
    for (std::int64_t i = 0; i <= settings_.free_attempts_of_address; ++i) {
      EXPECT_EQ(accounts_.LogIn("gost" + std::to_string(i / 3), "lozinka", row.from).outcome,
                Outcome::kRefused);
    }
    EXPECT_EQ(accounts_.LogIn("ana.horvat", kPassword, row.other).outcome,
              row.same ? Outcome::kWait : Outcome::kLoggedIn)
        << row.other;
    *now_ += kDay;
  }
}

// Nothing that lets somebody in stands in the directory's files.
TEST_F(AccountsTest, KeepNoSecrets) {
  const std::string token = LogIn();
  accounts_.LogIn("upisao lozinku u ime", "krivi podatak", kDesk);
  for (const char* const address :
       {"postgresql://mox:zaporka@h/db", "postgresql://mox:zaporka@h/db?company=x ",
        " postgresql://mox:zaporka@h/db?company=x"}) {
    EXPECT_THROW(accounts_.AddCompany("nova", address), Error);
    EXPECT_THROW(accounts_.AddCompany(address, "/nova.db"), Error);
    EXPECT_THROW(accounts_.SetAddress("velika", address), Error);
    EXPECT_THROW(accounts_.BeginMove("velika", address), Error);
  }
  const std::string bytes = ReadWholeFile(location_) + ReadWholeFile(location_ + "-wal");
  EXPECT_THAT(bytes, testing::HasSubstr("$argon2id$"));
  EXPECT_THAT(bytes, testing::HasSubstr(std::string(kDesk)));
  for (const std::string_view secret : {std::string_view(token), kPassword, std::string_view("upisao"),
                                        std::string_view("krivi podatak"), std::string_view("zaporka")}) {
    EXPECT_EQ(bytes.find(secret), std::string::npos) << secret;
  }
}

// Who came and went, and who was refused, of some time and no more than so many.
TEST_F(AccountsTest, JournalLogIns) {
  settings_.kept_log_ins = 5;
  Accounts accounts = Open();
  accounts.SetDisabled("šime", true);
  const auto journal = [&] {
    std::string text;
    for (const JournalledLogIn& log_in : accounts.LogIns()) {
      text += log_in.user + "|" + log_in.remote_address + "|" + log_in.what + "\n";
    }
    return text;
  };
  const std::string token = accounts.LogIn("ANA.horvat", kPassword, kDesk).token;
  EXPECT_TRUE(accounts.LogOut(token, "2001:db8::1"));
  EXPECT_FALSE(accounts.LogOut(token, kDesk));
  accounts.LogIn("ana.horvat", "kriva", kDesk);
  accounts.LogIn("šime", kPassword, "\x1B[2J");
  accounts.LogIn(kPassword, "upisana u ime", kDesk);
  const std::string last =
      "|192.0.2.7|odbijeno: nema takvog korisnika\nšime|\\x1B[2J|odbijeno: korisnik je isključen\n"
      "Ana.Horvat|192.0.2.7|odbijeno: kriva lozinka\nAna.Horvat|2001:db8::1|odjava\n";
  EXPECT_EQ(journal(), last + "Ana.Horvat|192.0.2.7|prijava\n");
  accounts.LogIn("ana.horvat", "kriva", kDesk);
  EXPECT_EQ(journal(), "Ana.Horvat|192.0.2.7|odbijeno: kriva lozinka\n" + last);
  *now_ += settings_.kept_log_in_time;
  accounts.LogIn("ana.horvat", kPassword, kDesk);
  EXPECT_EQ(journal(), "Ana.Horvat|192.0.2.7|prijava\n");
}

TEST_F(AccountsTest, RenewPasswordsThatWereCheaper) {
  settings_.password_passes = 2;
  Accounts dearer = Open();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(dearer.LogIn("ana.horvat", kPassword, kDesk).outcome, Outcome::kLoggedIn);
  }
  EXPECT_EQ(dearer.LogIn("ana.horvat", "tajna", kDesk).outcome, Outcome::kRefused);
  Database directory = Database(location_, DirectorySchema());
  const RecordSet kept =
      directory.Query("k", ParseColumns("lozinka"), "SELECT lozinka FROM imenik_korisnici ORDER BY id", {});
  EXPECT_THAT(std::string(kept.RowAt(0).AsTextView(0)), testing::HasSubstr(",t=2,"));
  EXPECT_THAT(std::string(kept.RowAt(1).AsTextView(0)), testing::HasSubstr(",t=1,"));
}

class CompanyUsersTest : public AccountsTest {
 protected:
  CompanyUsersTest() {
    for (const char* const user : {"šef", "tuđi", "gost"}) accounts_.AddUser(user, kPassword);
    accounts_.Grant("šef", "velika", {FindRole("administracija")});
    for (const char* const user : {"tuđi", "gost"}) accounts_.Grant(user, "mala_2", {FindRole("unos")});
  }

  // A change, the last one first.
  std::string Journalled(std::size_t at) {
    const JournalledChange change = accounts_.Journal().at(at);
    return change.by + " " + change.company + " " + change.user + " " + change.change + ": " +
           change.refused.substr(0, 10);
  }
};

// What an administrator changes over the network: roles as they were shown, once under a key, journalled.
TEST_F(CompanyUsersTest, AreChangedByAdministrators) {
  const std::string ana = LogIn();
  using Roles = std::vector<const Role*>;
  const Roles none;
  const Roles shown = {FindRole("unos"), FindRole("uvoz")};
  const Roles reading = {FindRole("citanje")};
  const auto by = [](std::string key = {}, bool rehearses = false) {
    return UserChange{"šef", "velika", std::move(key), rehearses, "r"};
  };
  const std::string untold = " has no role here yet; whether there is such a user is told when";
  const std::string of_others = LogIn("gost");
  const std::size_t before = accounts_.Journal().size();
  struct Row {
    std::function<void()> action;
    std::string message;
    std::size_t roles_of_ana;
    std::size_t journalled;
    bool is_in = true;  // ana
  };
  const Row rows[] = {
      {[&] { accounts_.ChangeRoles(by("", true), "ana.horvat", none); }, "", 2, 0},
      {[&] { accounts_.ChangeRoles(by("", true), "tuđi", none, none); }, "\"tuđi\"" + untold, 2, 0},
      {[&] { accounts_.ChangeRoles(by("", true), "nitko", none, none); }, "\"nitko\"" + untold, 2, 0},
      {[&] { accounts_.ChangeRoles(by("", true), "nitko", none, shown); }, "\"nitko\"" + untold, 2, 0},
      {[&] { accounts_.ChangeRoles(by("k1"), "ANA.horvat", reading, shown); }, "", 1, 1},
      {[&] { accounts_.ChangeRoles(by("k2"), "ana.horvat", none, shown); },
       "\"ana.horvat\" was changed by somebody else since it was read: čitanje", 1, 2},
      {[&] { accounts_.ChangeRoles(by("k1"), "ANA.horvat", reading, shown); }, "", 1, 2},
      {[&] { accounts_.ChangeRoles(by("k1"), "ANA.horvat", none); }, "the key is that of another", 1, 2},
      {[&] { accounts_.ChangeRoles(by(), "šef", reading); }, "nobody would administer the company", 1, 3},
      {[&] { accounts_.ChangeRoles(by(), "nitko", reading); }, "there is no user \"nitko\"", 1, 4},
      {[&] { accounts_.EndLogIns(by("k4"), "tuđi"); }, "there is no user \"tuđi\"", 1, 5},
      {[&] { accounts_.EndLogIns(by("k3"), "ana.horvat"); }, "", 1, 6, false},
      {[&] { accounts_.ChangeRoles(by(), "tuđi", shown, none); }, "", 1, 7, false},
      // What was refused under a key stays so, although nothing stands in its way any more.
      {[&] { accounts_.EndLogIns(by("k4"), "tuđi"); }, "there is no user \"tuđi\"", 1, 7, false},
      // A role that is given first makes nobody's log-ins one's own.
      {[&] { accounts_.ChangeRoles(by(), "gost", reading); }, "", 1, 8, false},
      {[&] { accounts_.EndLogIns(by(), "gost"); }, "\"gost\" is a user of other companies, too;", 1, 9,
       false},
      // Roles that were never shown say no more of who is there than of who is not.
      {[&] { accounts_.ChangeRoles(by(), "nitko", none, shown); },
       "\"nitko\" was changed by somebody else since it was read: -", 1, 10, false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ErrorOf(row.action).substr(0, row.message.size()), row.message);
    const std::vector<CompanyUser> users = accounts_.UsersOf("velika");
    ASSERT_GE(users.size(), 2U);
    EXPECT_EQ(users[0].name, "Ana.Horvat");
    EXPECT_EQ(users[0].roles.size(), row.roles_of_ana) << row.message;
    EXPECT_EQ(users[0].log_ins, row.is_in ? 1 : 0) << row.message;
    EXPECT_EQ(accounts_.Journal().size() - before, row.journalled) << row.message;
  }
  EXPECT_FALSE(Lives(ana));
  EXPECT_TRUE(Lives(of_others));
  const std::vector<CompanyUser> users = accounts_.UsersOf("VELIKA");
  EXPECT_EQ(users[1].name, "gost");
  EXPECT_EQ(users[1].log_ins, std::nullopt) << "what he does elsewhere is not told";
  EXPECT_EQ(Journalled(2), "šef velika gost uloge: čitanje: ");
  EXPECT_EQ(Journalled(3), "šef velika tuđi uloge: unos dokumenata, uvoz: ");
  EXPECT_EQ(Journalled(1), "šef velika gost prijave prekinute: \"gost\" is ");
  // The company's own journal gets each once, those of the one who set up the users here among them.
  const std::vector<WaitingChange> waiting = accounts_.WaitingFor("Velika");
  EXPECT_EQ(waiting.size(), 12U);
  EXPECT_EQ(waiting.front().change.user + " " + waiting.front().transaction, "ana.horvat KorisnikUlogeUpis");
  accounts_.NoteTaken("velika", waiting.back().id);
  EXPECT_THAT(accounts_.WaitingFor("velika"), testing::IsEmpty());
  // Whoever is shut out does not administer.
  accounts_.Grant("ana.horvat", "velika", {FindRole("administracija")});
  accounts_.SetDisabled("šef", true);
  EXPECT_THAT(ErrorOf([&] { accounts_.ChangeRoles(by(), "ana.horvat", reading); }),
              testing::StartsWith("nobody would administer"));
}

TEST_F(AccountsTest, JournalWhatBecomesOfAMove) {
  const std::size_t before = accounts_.Journal().size();
  accounts_.BeginMove("mala_2", "postgresql://mox@db2/mox?company=mala");
  for (int i = 0; i < 2; ++i) accounts_.NameNewPlace("mala_2");
  accounts_.EndMove("mala_2", MoveEnd::kMoved);
  accounts_.BeginMove("mala_2", "postgresql://mox@db3/mox?company=mala");
  accounts_.EndMove("mala_2", MoveEnd::kTakenBack);
  accounts_.NameNewPlace("mala_2");
  std::vector<JournalledChange> journal = accounts_.Journal();
  journal.resize(journal.size() - before);
  std::string changes;
  for (const JournalledChange& change : journal) changes += change.change + "\n";
  EXPECT_EQ(changes,
            "selidba vraćena\nselidba na postgresql://mox@db3/mox?company=mala\nselidba završena\n"
            "preseljeno\nselidba na postgresql://mox@db2/mox?company=mala\n");
  EXPECT_EQ(accounts_.AddressOf("mala_2"), "postgresql://mox@db2/mox?company=mala");
}

// While the first attempt was about to be refused, the second one of the same request was made.
TEST_F(AccountsTest, AnswerWhatBecameOfARequest) {
  const std::vector<const Role*> reading = {FindRole("citanje")};
  const std::vector<const Role*> shown = {FindRole("unos")};
  const UserChange change{"šime", "velika", "k1", false, "r"};
  accounts_.Grant("šime", "velika", {FindRole("administracija")});
  bool is_first = true;
  Accounts slow(location_, settings_, [&] {
    if (std::exchange(is_first, false)) {
      accounts_.Grant("ana.horvat", "velika", shown);
      accounts_.ChangeRoles(change, "ana.horvat", reading, shown);
    }
    return *now_;
  });
  EXPECT_EQ(ErrorOf([&] { slow.ChangeRoles(change, "ana.horvat", reading, shown); }), "");
  EXPECT_FALSE(is_first);
  // A refusal is told, whatever becomes of its line in the journal.
  Database(location_, DirectorySchema()).Execute("DROP TABLE imenik_dnevnik");
  EXPECT_THAT(ErrorOf([&] { accounts_.AddUser("novi", "sedam77"); }), testing::HasSubstr("8 to 1024"));
  const UserChange by_sime{"šime", "velika"};
  EXPECT_EQ(ErrorOf([&] { accounts_.ChangeRoles(by_sime, "nitko", reading); }), "there is no user \"nitko\"");
}

// However often something is refused, and whatever a client calls its own writes.
TEST_F(AccountsTest, GiveTheCompanyItsJournalBitByBit) {
  Database::Create(folder_ / "t.db");
  accounts_.AddCompany("t", folder_ / "t.db");
  const std::size_t before = accounts_.Journal().size();
  const auto refuse = [&](const char* company, const char* why) {
    accounts_.NoteRefused({.by = "ana.horvat", .company = company}, "KorisnikUlogeUpis", why);
    return accounts_.Journal().size() - before;
  };
  EXPECT_EQ(refuse("t", "nema ulogu"), 1U);
  EXPECT_EQ(refuse("T", "nema ulogu"), 1U);
  EXPECT_EQ(refuse("velika", "nema ulogu"), 2U);
  EXPECT_EQ(refuse("t", "nešto drugo"), 3U);
  *now_ += 60;
  EXPECT_EQ(refuse("t", "nema ulogu"), 4U);
  Database(location_, DirectorySchema())
      .Execute(
          "INSERT INTO imenik_dnevnik (vrijeme, tko, poduzece, korisnik, promjena, kljuc, transakcija, "
          "za_poduzece) WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
          "SELECT 0, 'šef', 't', 'ana', 'uloge', 'k' || i, 'KorisnikUlogeUpis', p.id "
          "FROM n, imenik_poduzeca p WHERE p.naziv = 't'");
  Database company(folder_ / "t.db");
  company.Execute(
      "INSERT INTO dnevnik_upisa (vrijeme, korisnik, transakcija, upisano, kljuc) VALUES "
      "('2024-03-01T10:00:00', 'ana', 'DokumentInsert', TRUE, 'posluzitelj/k1')");
  for (const int expected : {1000, 1003, 1003}) {
    TakeOverChanges(accounts_, "t", company);
    const RecordSet taken =
        company.Query("n", ParseColumns("n:integer"),
                      "SELECT COUNT(*) FROM dnevnik_upisa WHERE transakcija = 'KorisnikUlogeUpis'");
    EXPECT_EQ(taken.AsInteger(0), expected);
  }
}

// The others are refused to whoever administers them.
TEST_F(AccountsTest, RefuseDatabasesOfAnotherKind) {
  EXPECT_THAT(ErrorOf([&] { Accounts::Create(location_); }), testing::HasSubstr("imenik.db"));
  EXPECT_THAT(ErrorOf([&] { Database{location_}; }),
              testing::EndsWith("imenik.db: is not a company database"));
  Database::Create(folder_ / "t.db");
  EXPECT_THAT(ErrorOf([&] { Accounts{folder_ / "t.db"}; }),
              testing::EndsWith("t.db: is not a directory of companies"));
}

}  // namespace
}  // namespace mox

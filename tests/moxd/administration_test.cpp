#include "moxd/administration.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "mox/foundation/text.h"
#include "tests/moxd/scratch_accounts.h"

namespace mox {
namespace {

using AdministrationTest = ScratchAccounts;

std::string Answer(Accounts& accounts, const std::vector<std::string>& words) {
  std::istringstream in;
  std::ostringstream out;
  AdministrationStreams streams{in, out, out};
  RunAdministration(accounts, words, streams);
  return out.str();
}

TEST_F(AdministrationTest, DoesWhatItsWordsSay) {
  Accounts accounts = Open();
  EXPECT_EQ(Answer(accounts, {"journal", "list"}), "when  by  company  user  change  refused\n");
  accounts.ActAs("moxd: mara");
  const std::string file = folder_ / "lozinka.txt";
  std::ofstream(file) << "iz datoteke\r\ndrugi redak\n";
  for (const char* const company : {"mala.db", "staro.db", "novo.db"}) {
    std::ofstream(folder_ / company) << "";
  }
  const std::string mala = folder_ / "mala.db";
  const std::string novo = folder_ / "novo.db";
  struct Row {
    std::vector<std::string> words;
    std::string in;
    int status;
    std::string out;
    std::string err;  // how it begins
  };
  const std::string not_understood = "moxd: this is not understood\nusage:\n";
  const Row rows[] = {
      {{"company", "add", "mala", std::filesystem::relative(mala)}, "", 0, "", ""},
      {{"company", "add", "Velika", folder_ / "staro.db"}, "", 0, "", ""},
      {{"company", "add", "nema", "nema.db"},
       "",
       1,
       "",
       "moxd: \"" + (std::filesystem::current_path() / "nema.db").string() + "\": there is no such file"},
      {{"company", "add", "../x", mala}, "", 1, "", "moxd: \"../x\": the name of a company on a server has"},
      {{"company", "address", "velika", "postgresql://db/velika?company=v"}, "", 0, "", ""},
      {{"company", "list"},
       "",
       0,
       "company  address\nmala     " + mala + "\nVelika   postgresql://db/velika?company=v\n",
       ""},
      {{"user", "add", "ana"}, "tajna ane\ndrugo\n", 0, "the code in documents is ANA\n", ""},
      {{"user", "add", "šime", "--code", "SIM", "--password-file", file},
       "",
       0,
       "the code in documents is SIM\n",
       ""},
      {{"user", "add", "bez"}, "", 1, "", "moxd: a password has 8 to 1024 bytes"},
      {{"user", "add", "iva", "--password-file", folder_ / "nema"}, "", 1, "", "moxd: "},
      {{"user", "add", "iva", "tajna lozinka"}, "", 2, "", not_understood},
      {{"user", "disable", "ana", "--code", "A"}, "", 2, "", not_understood},
      {{"user", "add", "iva", "--code"}, "", 2, "", not_understood},
      {{"user", "disable", "ŠIME"}, "", 0, "", ""},
      {{"user", "list"},
       "",
       0,
       "user  code  since                    state\n"
       "ana   ANA   2023-11-14 22:13:20 UTC  enabled\n"
       "šime  SIM   2023-11-14 22:13:20 UTC  disabled\n",
       ""},
      {{"grant", "ana", "mala", "unos", "Matični podaci"}, "", 0, "", ""},
      {{"grant", "ana", "velika", "administracija"}, "", 0, "", ""},
      {{"grant", "ana", "mala", "šef"}, "", 1, "", "moxd: there is no role \"šef\"\n"},
      {{"grant", "nitko", "mala", "unos"}, "", 1, "", "moxd: there is no user \"nitko\"\n"},
      {{"grant", "ana"}, "", 2, "", not_understood},
      {{"grant", "list"},
       "",
       0,
       "user  company  roles\nana   mala     unos dokumenata, matični podaci\nana   Velika   "
       "administracija\n",
       ""},
      {{"grant", "ana", "velika"}, "", 0, "", ""},
      {{"grant", "list"},
       "",
       0,
       "user  company  roles\nana   mala     unos dokumenata, matični podaci\n",
       ""},
      {{"user", "enable", "šime"}, "", 0, "", ""},
      {{"company", "remove", "mala"}, "", 0, "", ""},
      {{"company", "remove", "mala"}, "", 1, "", "moxd: there is no company \"mala\"\n"},
      {{"company", "address", "velika", "postgresql://db/velika"},
       "",
       1,
       "",
       "moxd: postgresql://db/velika: the company is not named"},
      {{"company", "move", "velika", "--to", "x"}, "", 2, "", not_understood},
      {{"company", "load", "-"},
       "velika = " + novo + "\nbez adrese\nx/y = /a\nnova = postgresql://db/n\nVELIKA = " + mala +
           "\nx = /nema.db\n",
       1,
       "",
       "moxd: standard input:2: \"bez adrese\" is not NAME = ADDRESS\nmoxd: standard input:3: \"x/y\": "
       "the name of a company on a server has 1 to 48 letters a to z, digits, '-' and '_'\nmoxd: standard "
       "input:4: "
       "postgresql://db/n: the company is not named; company=NAME behind '?' does\nmoxd: standard input:5: "
       "\"VELIKA\" is there twice\nmoxd: standard input:6: \"/nema.db\": there is no such file; mox db init "
       "makes the "
       "database of a company\n"},
      {{"company", "load", "-"},
       "# spread\n\nnova = postgresql://a:b@db/n?company=n\r\nVELIKA = postgresql://db/velika?company=v\n",
       0,
       "2 companies, 1 of them new or changed\n",
       ""},
      {{"company", "load", "-"}, "Velika = " + novo, 0, "1 companies, 1 of them new or changed\n", ""},
      {{"company", "list"},
       "",
       0,
       "company  address\nnova     postgresql://a:***@db/n?company=n\nVelika   " + novo + "\n",
       ""},
      {{"user"}, "", 2, "", not_understood},
      {{}, "", 2, "", not_understood},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    std::istringstream in(row.in);
    std::ostringstream out;
    std::ostringstream err;
    AdministrationStreams streams{in, out, err};
    EXPECT_EQ(RunAdministration(accounts, row.words, streams), row.status);
    EXPECT_EQ(out.str(), row.out);
    EXPECT_THAT(err.str(), testing::StartsWith(row.err));
    EXPECT_EQ(err.str().empty(), row.err.empty());
  }
  // Each is journalled, made or refused, but for words that are not understood.
  std::string journal;
  for (const JournalledChange& change : accounts.Journal()) {
    EXPECT_EQ(change.by, "moxd: mara");
    journal.insert(0, change.company + "|" + change.user + "|" + change.change + "|" +
                          std::string(CutToCharacters(change.refused, 21)) + "\n");
  }
  EXPECT_EQ(journal, "mala||dodano: " + mala + "|\nVelika||dodano: " + (folder_ / "staro.db") +
                         "|\n../x||dodano: " + mala +
                         "|\"../x\": the name of a\n"
                         "velika||adresa: postgresql://db/velika?company=v|\n"
                         "|ana|otvoren|\n|šime|otvoren|\n|bez|otvoren|a password has 8 to 1\n"
                         "|ŠIME|isključen|\n"
                         "mala|ana|uloge: unos dokumenata, matični podaci|\n"
                         "velika|ana|uloge: administracija|\n"
                         "mala|nitko|uloge: unos dokumenata|there is no user \"nit\n"
                         "velika|ana|uloge: -|\n|šime|ponovo uključen|\nmala||uklonjeno|\n"
                         "mala||uklonjeno|there is no company \"\n"
                         "||popis poduzeća: 2|\nnova||popis: postgresql://a:***@db/n?company=n|\n"
                         "||popis poduzeća: 1|\nVelika||popis: " +
                         novo + "|\n");
  using Outcome = LogInResult::Outcome;
  EXPECT_EQ(accounts.LogIn("ana", "tajna ane", "192.0.2.1").outcome, Outcome::kLoggedIn);
  EXPECT_EQ(accounts.LogIn("šime", "iz datoteke", "192.0.2.1").outcome, Outcome::kLoggedIn);

  std::istringstream typed("nova lozinka\nnova lozinkb\nnova lozinka\nnova lozinka\n");
  std::ostringstream out;
  std::ostringstream err;
  AdministrationStreams terminal{typed, out, err, true};
  EXPECT_EQ(RunAdministration(accounts, {"user", "password", "ana"}, terminal), 1);
  EXPECT_EQ(RunAdministration(accounts, {"user", "password", "ana"}, terminal), 0);
  EXPECT_EQ(err.str(),
            "password: \nagain: \nmoxd: the two passwords are not the same\npassword: \nagain: \n");
  EXPECT_EQ(RunAdministration(accounts, {"token", "list"}, terminal), 0);
  EXPECT_EQ(
      out.str(),
      "number  user  issued                   last used                until                    from\n"
      "2       šime  2023-11-14 22:13:20 UTC  2023-11-14 22:13:20 UTC  2023-11-17 22:13:20 UTC  192.0.2.1\n");
  EXPECT_EQ(Answer(accounts, {"journal", "logins"}),
            "when                     user  from       what\n"
            "2023-11-14 22:13:20 UTC  šime  192.0.2.1  prijava\n"
            "2023-11-14 22:13:20 UTC  ana   192.0.2.1  prijava\n");
  EXPECT_EQ(RunAdministration(accounts, {"token", "revoke", "šime"}, terminal), 0);
  EXPECT_EQ(RunAdministration(accounts, {"token", "revoke", "2"}, terminal), 1);
  EXPECT_THAT(out.str(), testing::EndsWith("1 log-in ended\n"));
}

}  // namespace
}  // namespace mox

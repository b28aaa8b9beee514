#include "moxd/administration.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "mox/foundation/files.h"
#include "tests/foundation/case_file.h"
#include "tests/moxd/scratch_accounts.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

std::string Answer(Accounts& accounts, const std::vector<std::string>& words) {
  std::istringstream in;
  std::ostringstream out;
  AdministrationStreams streams{in, out, out};
  RunAdministration(accounts, words, streams);
  return out.str();
}

// What a command prints or says, line by line behind a mark; of words that are not understood the first line.
void AppendMarked(const char* mark, const std::string& text, std::string& played) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line) && line != "usage:";) played += mark + line + "\n";
}

class AdministrationTest : public ScratchAccounts {
 protected:
  AdministrationTest() {
    std::filesystem::current_path(folder_.path());
    accounts_.ActAs("moxd: mara");
    std::ofstream("lozinka.txt") << "iz datoteke\r\ndrugi redak\n";
    for (const char* const company : {"mala.db", "staro.db", "novo.db"}) std::ofstream(company) << "";
  }
  ~AdministrationTest() override { std::filesystem::current_path("/"); }

  std::string Replaced(std::string text, const std::string& from, const std::string& to) const {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
    return text;
  }

  // The transcript with what comes of its commands now, and behind them what was journalled.
  std::string Played(const std::string& transcript) {
    std::string played;
    std::string command;
    std::string typed;
    const auto run = [&] {
      if (command.empty()) return;
      std::istringstream in(Replaced(std::exchange(typed, {}), "FOLDER", folder_.path()));
      std::ostringstream out;
      std::ostringstream err;
      AdministrationStreams streams{in, out, err};
      const int status = RunAdministration(accounts_, WordsOf(std::exchange(command, {}).substr(2)), streams);
      AppendMarked("> ", out.str(), played);
      AppendMarked("! ", err.str(), played);
      if (status != 0) played += "= " + std::to_string(status) + "\n";
    };
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
      if (line.find_first_of(">!=-") == 0) continue;
      if (!line.starts_with("< ")) run();
      played += line + "\n";
      if (line.starts_with("$ ")) command = line;
      if (line.starts_with("< ")) typed += Replaced(line.substr(2), "\\r", "\r") + "\n";
    }
    run();
    const std::vector<JournalledChange> journal = accounts_.Journal();
    for (auto change = journal.rbegin(); change != journal.rend(); ++change) {
      EXPECT_EQ(change->by, "moxd: mara");
      played +=
          "- " + change->company + "|" + change->user + "|" + change->change + "|" + change->refused + "\n";
    }
    return Replaced(played, folder_.path(), "FOLDER");
  }

  Accounts accounts_ = Open();
};

TEST_F(AdministrationTest, DoesWhatItsWordsSay) {
  const std::string transcript = ReadWholeFile(SourceDir() + "/tests/moxd/cases/administration.txt");
  EXPECT_EQ(Played(transcript), transcript);
}

TEST_F(AdministrationTest, AsksForPasswordsAndTellsOfLogIns) {
  EXPECT_EQ(Answer(accounts_, {"journal", "list"}), "when  by  company  user  change  refused\n");
  accounts_.AddUser("ana", "tajna ane");
  std::istringstream nothing;
  std::ostringstream unread;
  AdministrationStreams of_file{nothing, unread, unread};
  EXPECT_EQ(RunAdministration(accounts_, {"user", "add", "šime", "--password-file", "lozinka.txt"}, of_file),
            0);
  using Outcome = LogInResult::Outcome;
  EXPECT_EQ(accounts_.LogIn("ana", "tajna ane", "192.0.2.1").outcome, Outcome::kLoggedIn);
  EXPECT_EQ(accounts_.LogIn("šime", "iz datoteke", "192.0.2.1").outcome, Outcome::kLoggedIn);

  std::istringstream typed("nova lozinka\nnova lozinkb\nnova lozinka\nnova lozinka\n");
  std::ostringstream out;
  std::ostringstream err;
  AdministrationStreams terminal{typed, out, err, true};
  EXPECT_EQ(RunAdministration(accounts_, {"user", "password", "ana"}, terminal), 1);
  EXPECT_EQ(RunAdministration(accounts_, {"user", "password", "ana"}, terminal), 0);
  EXPECT_EQ(err.str(),
            "password: \nagain: \nmoxd: the two passwords are not the same\npassword: \nagain: \n");
  EXPECT_EQ(RunAdministration(accounts_, {"token", "list"}, terminal), 0);
  EXPECT_EQ(
      out.str(),
      "number  user  issued                   last used                until                    from\n"
      "2       šime  2023-11-14 22:13:20 UTC  2023-11-14 22:13:20 UTC  2023-11-17 22:13:20 UTC  192.0.2.1\n");
  EXPECT_EQ(Answer(accounts_, {"journal", "logins"}),
            "when                     user  from       what\n"
            "2023-11-14 22:13:20 UTC  šime  192.0.2.1  prijava\n"
            "2023-11-14 22:13:20 UTC  ana   192.0.2.1  prijava\n");
  EXPECT_EQ(RunAdministration(accounts_, {"token", "revoke", "šime"}, terminal), 0);
  EXPECT_EQ(RunAdministration(accounts_, {"token", "revoke", "2"}, terminal), 1);
  EXPECT_THAT(out.str(), testing::EndsWith("1 log-in ended\n"));
}

}  // namespace
}  // namespace mox

#include "mox/foundation/output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

constexpr OutputKind kList = {"a list", [](std::string_view text) { return text.starts_with("list"); }};

class OutputFilesTest : public testing::Test {
 protected:
  OutputFilesTest() {
    fs::current_path(folder_.path());
    for (const auto& [file, text] : {std::pair("baza.db", "SQLite format 3"),
                                     {"druga.db", "SQLite format 3"},
                                     {"ulaz.csv", "list of rows"},
                                     {"stara.txt", "list 1"},
                                     {"prazna.txt", ""},
                                     {"pismo.txt", "Dragi"}}) {
      std::ofstream(file) << text;
    }
    fs::create_hard_link("baza.db", "tvrda.txt");
    fs::create_symlink("baza.db", "meka.txt");
    fs::create_symlink("stara.txt", "na_staru.txt");
    fs::create_symlink("baza.db-wal", "viseca.txt");
    fs::create_directory("mapa");
    ::mkfifo("cijev", 0600);
    files_.Keep("baza.db", "the company database");
    files_.Keep("ulaz.csv", "the sheet");
    files_.Keep("jos_nema.ini", "the settings file");
  }
  ~OutputFilesTest() override { fs::current_path("/"); }

  ScratchFolder folder_;
  OutputFiles files_;
};

TEST_F(OutputFilesTest, LeavesEveryOtherFileAsItIs) {
  ExpectTables("output_files", {{"files", [this](auto& row) {
                                   files_.Write(row.at(0), "list 2", kList);
                                   return std::string("written");
                                 }}});
  EXPECT_EQ(ReadWholeFile("baza.db"), "SQLite format 3");
  EXPECT_EQ(ReadWholeFile("stara.txt"), "list 2");
  EXPECT_THROW(static_cast<void>(ReadWholeFile(".")), Error);
  EXPECT_TRUE(fs::is_symlink("na_staru.txt"));
  EXPECT_FALSE(fs::exists("baza.db-wal"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

// Nobody else may look into a secret, also not while it is written over a file that all may read.
TEST_F(OutputFilesTest, WritesForTheOwnerAlone) {
  const mode_t mask = ::umask(0);
  fs::permissions("stara.txt", fs::perms(0666));
  ReplaceFile("stara.txt", "list 3");
  EXPECT_EQ(fs::status("stara.txt").permissions(), fs::perms(0666));
  for (const char* const path : {"stara.txt", "tajna.txt"}) {
    ReplaceFile(path, "secret", FileAccess::kOwnerOnly);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
  }
  ::umask(mask);
}

}  // namespace
}  // namespace mox

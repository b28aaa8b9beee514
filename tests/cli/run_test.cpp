
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <regex>
#include <sstream>
#include <tuple>

#include "cli/progress_bar.h"
#include "mox/foundation/files.h"
#include "sheets/zip_package.h"
#include "tests/cli/run_with.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

TEST(Run, FailsWhenItsResultCannotBeWritten) {
  std::istringstream in;
  std::ostream out(nullptr);
  std::ostringstream err;
  EXPECT_EQ(mox::Run({"round", "1", "0"}, in, out, err), 1);
  EXPECT_EQ(mox::Run({"--help"}, in, out, err), 1);
  EXPECT_EQ(err.str(), "mox: standard output cannot be written\nmox: standard output cannot be written\n");
}

// As the pipe of a program that has read enough.
TEST(Run, EndsQuietlyWhereNobodyReads) {
  struct Closed : std::streambuf {
    std::streamsize xsputn(const char* /*bytes*/, std::streamsize /*count*/) override {
      errno = EPIPE;
      return 0;
    }
  } closed;
  std::istringstream in;
  std::ostream out(&closed);
  std::ostringstream err;
  EXPECT_EQ(mox::Run({"round", "1", "0"}, in, out, err), 1);
  EXPECT_EQ(err.str(), "");
}

// A second attempt of the same key answers what the first one stored.
TEST(Run, TellsWhatWasStoredWhenItsResultCannotBeWritten) {
  const ScratchFolder folder;
  const std::string database = folder / "tvrtka.db";
  ASSERT_EQ(RunWith({"db", "init", database}).status, 0);
  const std::string lines = "kolicina,pc,rbp1,rbp2,rbp3,tbr_stp,pov_nak\n1,8,0,0,0,25,0\n";
  const auto store = [&](const std::string& input, std::ostream& out, const std::string& kind) {
    std::istringstream in(input);
    std::ostringstream err;
    mox::Run({"document", kind, "--part", "recap", "--store", "--key", "1", "--header", "datum=2024-03-01",
              "--db", database},
             in, out, err);
    return err.str();
  };
  std::ostream nowhere(nullptr);
  EXPECT_EQ(store(lines, nowhere, "gotovinski-racun"),
            "Pohranjeno: gotovinski-racun 1/2024 (id 1)\n"
            "mox: standard output cannot be written; stored as gotovinski-racun 1/2024 (id 1)\n");
  std::istringstream accounts("99001\tBanka\n");
  std::ostringstream err;
  EXPECT_EQ(mox::Run({"import", "KONTNIPLAN", "--yes", "--db", database}, accounts, nowhere, err), 1);
  EXPECT_NE(err.str().find("cannot be written; KONTNIPLAN: 1 row stored\n"), std::string::npos) << err.str();
  std::ostringstream out;
  EXPECT_EQ(store(lines, out, "gotovinski-racun"), "Pohranjeno: gotovinski-racun 1/2024 (id 1)\n");
  const std::string refused =
      "mox: DokumentInsert: Zaglavlje: row 1: kljuc: \"1\" is the key of another document, "
      "gotovinski-racun 1/2024 (id 1)\n";
  EXPECT_EQ(store(lines + "1,8,0,0,0,25,0\n", out, "gotovinski-racun"), refused);
}

TEST(Run, FailsWhenStandardInputCannotBeRead) {
  std::istream in(nullptr);
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(mox::Run({"calc", "calcRabat"}, in, out, err), 1);
  EXPECT_EQ(err.str(), "mox: standard input: cannot be read\n");
}

TEST(Run, ReportsAnErrorOnOneLine) {
  const Outcome outcome = RunWith({"calc", "calcRabat"}, "pci\n\"1\n2\t\x7F\"\n");
  EXPECT_EQ(outcome.err, "mox: standard input:2: pci: \"1\\n2\\x09\\x7F\" is not a number\n");
  EXPECT_EQ(outcome.out, "");
}

std::vector<std::string> Found(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at)
    found.push_back((*at)[1]);
  return found;
}

// The options that a help tells of are there, and its examples are taken, but for the files that they name.
TEST(Run, HelpsWithEachCommand) {
  const ScratchFolder folder;
  std::filesystem::current_path(folder.path());
  const std::string help = RunWith({"--help"}).out;
  EXPECT_NE(help.find("Usage: mox [OPTION...] COMMAND [ARGUMENT...]"), std::string::npos);
  const std::vector<std::string> commands = Found(help.substr(help.find("Commands:")), "\n  ([a-z]+) +[A-Z]");
  EXPECT_GE(commands.size(), 21U);
  for (const std::string& command : commands) {
    const Outcome outcome = RunWith({command, "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("\nUsage: mox [OPTION...] " + command), std::string::npos);
    EXPECT_EQ(outcome.out.find(" DB") == std::string::npos,
              outcome.out.find("postgresql://") == std::string::npos)
        << command;
    const std::vector<std::string> examples = Found(outcome.out, "\n  mox ((?:[^ \n|<>]| (?=[^ |<>]))+)");
    EXPECT_FALSE(examples.empty()) << command;
    for (const std::string& example : examples) {
      std::vector<std::string> words = Found(example, "((?:[^ \"]|\"[^\"]*\")+)");
      for (std::string& word : words) std::erase(word, '"');
      EXPECT_NE(RunWith(words).status, 2) << example;
    }
    for (const std::string& option : Found(outcome.out, "(--[A-Za-z][A-Za-z_-]*)")) {
      EXPECT_EQ(RunWith({command, option}).err.find("no option"), std::string::npos) << command << option;
    }
  }
  std::filesystem::current_path(std::filesystem::temp_directory_path());
}

// Every listed function can be named, and every listed kind.
TEST(Run, ListsWhatItKnows) {
  const std::string list = RunWith({"calc", "--list"}).out;
  EXPECT_EQ(Found(list, "(?:^|\n\n)([a-z ]+\n  )").size(), 4U) << "groups";
  std::istringstream functions(list);
  std::size_t count = 0;
  for (std::string line; std::getline(functions, line);) {
    if (!line.starts_with("  ")) continue;
    std::istringstream words(line);
    std::vector<std::string> arguments = {"calc"};
    for (std::string word; words >> word;) {
      const bool boolean = word.ends_with(":boolean");
      arguments.push_back(word.find(':') == std::string::npos ? word : (boolean ? "true" : "2"));
    }
    EXPECT_TRUE(RunWith(arguments, "x\n").err.starts_with("mox: standard input:1: field")) << line;
    ++count;
  }
  EXPECT_EQ(count, 69U);
}

// What is listed can be asked for by its name.
TEST(Run, DescribesWhatItLists) {
  const ScratchFolder folder;
  const std::string database = folder / "tvrtka.db";
  ASSERT_EQ(RunWith({"db", "init", database}).status, 0);
  std::string kinds;
  for (const std::string& name : Found(RunWith({"document", "--list"}).out, "(?:^|\n)([a-z-]+): ")) {
    kinds += (kinds.empty() ? "" : "\n") + RunWith({"document", "--list", name}).out;
  }
  EXPECT_EQ(RunWith({"document", "--list"}).out, kinds);
  for (const char* const command : {"query", "store"}) {
    const std::string list = RunWith({command}).out;
    EXPECT_TRUE(Found(list, "=([A-Z]*[a-z])").empty()) << "kinds, in capitals";
    const std::vector<std::string> names = Found(list, "(?:^|\n)([A-Z][^ \n]*)");
    EXPECT_GT(names.size(), 20U);
    EXPECT_TRUE(RunWith({command, names.back()}).out.starts_with("## `" + names.back() + "`"));
  }
  const std::string tables = RunWith({"db", "info", database}).out;
  EXPECT_TRUE(tables.starts_with("version:integer,table:text,rows:integer\n"));
  EXPECT_NE(tables.find(",drzave,249\n"), std::string::npos) << tables;
  const std::vector<std::string> codebooks =
      Found(RunWith({"codebook", "--db", database}).out, "\n([^,\n]+),");
  EXPECT_GT(codebooks.size(), 30U);
  for (const std::string& name : codebooks) {
    EXPECT_EQ(RunWith({"codebook", name, "--db", database}).status, 0) << name;
  }
}

// Of a flag, and of a caption that names them.
TEST(Run, TemplatesOfferTheValuesOfColumns) {
  const ScratchFolder folder;
  const std::string path = folder / "predlozak.xlsx";
  for (const auto& [profile, values] : {std::pair("RESURS", "TRUE,FALSE"), {"ZAPOSLENIK", "O,N"}}) {
    EXPECT_EQ(RunWith({"import", profile, "--template", "--xlsx", path}).status, 0);
    const std::string bytes = ReadWholeFile(path);
    const std::string sheet = ZipPackage(bytes, path).Read("xl/worksheets/sheet1.xml");
    EXPECT_NE(sheet.find(">\"" + std::string(values) + "\"<"), std::string::npos) << sheet;
  }
}

TEST(Progress, IsALineOfTwentySteps) {
  for (const auto& [position, maximum, line] : {std::tuple(0, 200, "[--------------------]   0 % a\\n"),
                                                {19, 200, "[#-------------------]   9 % a\\n"},
                                                {20, 200, "[##------------------]  10 % a\\n"},
                                                {200, 200, "[####################] 100 % a\\n"},
                                                {201, 200, "[####################] 100 % a\\n"},
                                                {-1, 200, "[--------------------]   0 % a\\n"},
                                                {5, 0, "[--------------------]   0 % a\\n"},
                                                {1, 1, "[####################] 100 % a\\n"}}) {
    EXPECT_EQ(ProgressLine("a\n", position, maximum), line);
  }
}

TEST(Run, WritesThePageOfServices) {
  EXPECT_EQ(RunWith({"query", "--markdown"}).out + "\n" + RunWith({"store", "--markdown"}).out,
            ReadWholeFile(SourceDir() + "/docs/SERVICES.md"))
      << "write it anew: { mox query --markdown; echo; mox store --markdown; } >docs/SERVICES.md";
}

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "cli/run.h"
#include "mox/foundation/files.h"
#include "tests/fakes/postgresql_server.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// A golden file is a transcript. Each of its lines begins with a mark:
//
//   file NAME          a file in the folder of the test; its lines follow, each with "| "
//   copy PATH          a file of the repository, copied there
//   $ mox ARGUMENTS    a command, or several joined by " | "; "< NAME" gives it standard input, and quotes
//                      hold an argument together
//   > TEXT             a line that it printed; a carriage return at its end is written \r
//                      and the seconds of "in 0.1 s" are written T
//   ! TEXT             a line of its standard error
//   = STATUS           its exit status, where that is not 0
//
// Other lines are for the reader.

struct Result {
  std::string out;
  std::string err;
  int status = 0;
};

// Companies on a server in the place of files: each "NAME.db" that a transcript names is one.
class Companies {
 public:
  ~Companies() {
    for (const auto& [file, address] : addresses_) PostgresqlServer::Drop(address);
  }
  /// What a command is told instead of an argument.
  std::string Address(const std::string& argument) {
    if (!argument.ends_with(".db")) return argument;
    const auto [known, is_new] = addresses_.try_emplace(argument);
    if (is_new) known->second = PostgresqlServer::NewCompany().ToString();
    return known->second;
  }
  /// What a command has said, as the transcript has it.
  std::string WithFiles(std::string text) const {
    for (const auto& [file, address] : addresses_) {
      for (std::size_t at = 0; (at = text.find(address, at)) != std::string::npos; at += file.size())
        text.replace(at, address.size(), file);
    }
    constexpr std::string_view kNone = "there is no such company";
    if (const std::size_t at = text.find(kNone); at != std::string::npos)
      text.replace(at, kNone.size(), "there is no such file");
    return text;
  }
  /// After `mox db init`.
  void GiveNextKeys() const {
    for (const auto& [file, address] : addresses_) PostgresqlServer::GiveNextKeys(address);
  }

 private:
  std::map<std::string, std::string> addresses_;
};

// Runs "mox ... < file | mox ...". The status is that of the first command that fails.
Result RunLine(const std::string& line, Companies* companies) {
  Result result;
  std::vector<std::string> arguments;
  std::string input;
  const auto run = [&] {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int status = Run(arguments, in, out, err);
    if (result.status == 0) result.status = status;
    if (companies != nullptr && std::find(arguments.begin(), arguments.end(), "init") != arguments.end())
      companies->GiveNextKeys();
    const auto said = [&](const std::ostringstream& stream) {
      return companies == nullptr ? stream.str() : companies->WithFiles(stream.str());
    };
    result.out = said(out);
    result.err += said(err);
    input = out.str();
    arguments.clear();
  };
  const Words words = WordsOf(line);
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (*word == "mox" && arguments.empty()) continue;
    if (*word == "|") {
      run();
    } else if (*word == "<") {
      input = ReadWholeFile(*++word);
    } else {
      arguments.push_back(companies == nullptr ? *word : companies->Address(*word));
    }
  }
  run();
  return result;
}

void AppendMarked(const std::string& mark, const std::string& text, std::string& transcript) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.replace(line.size() - 1, 1, "\\r");
    transcript += mark + (line.empty() ? "" : " " + line) + "\n";
  }
}

bool IsExpectation(const std::string& line) {
  return line.starts_with("> ") || line == ">" || line.starts_with("! ") || line.starts_with("= ");
}

// How long something took, and moments of the last days.
std::string WithoutTimes(const std::string& text) {
  static const std::regex kSeconds(R"(in \d+\.\d s\n)");
  static const std::regex kMoment(R"((20\d\d-\d\d-\d\d[T ]|\d\d\.\d\d\.20\d\d )\d\d:\d\d:\d\d)");
  return std::regex_replace(std::regex_replace(text, kSeconds, "in T s\n"), kMoment, "NOW");
}

// Whether a command names the file of a database where a result is to go, which no company on a server has.
bool WritesOverDatabase(const std::string& line) {
  static const std::regex kResult(R"(^\$ .*--(pdf|slip|faults|save-map|template|xlsx) \S+\.db( |$))");
  return std::regex_search(line, kResult);
}

// Replays the transcript and writes down what happened.
std::string Replay(const std::string& golden, Companies* companies = nullptr) {
  std::string actual;
  std::ofstream file;
  bool is_left_out = false;
  std::istringstream lines(golden);
  for (std::string line; std::getline(lines, line);) {
    if (IsExpectation(line)) {
      if (is_left_out) actual += line + "\n";
      continue;
    }
    is_left_out = companies != nullptr && WritesOverDatabase(line);
    if (is_left_out) {
      actual += line + "\n";
      continue;
    }
    actual += line + "\n";
    if (line.starts_with("| ")) {
      file << line.substr(2) << "\n";
    } else if (line == "|") {
      file << "\n";
    } else if (line.starts_with("file ")) {
      file = std::ofstream(line.substr(5), std::ios::binary);
    } else if (line.starts_with("copy ")) {
      const fs::path source = fs::path(SourceDir()) / line.substr(5);
      fs::copy_file(source, source.filename(), fs::copy_options::overwrite_existing);
    } else if (line.starts_with("$ ")) {
      file.close();
      const Result result = RunLine(line.substr(2), companies);
      AppendMarked(">", WithoutTimes(result.out), actual);
      AppendMarked("!", WithoutTimes(result.err), actual);
      if (result.status != 0) actual += "= " + std::to_string(result.status) + "\n";
    }
  }
  return actual;
}

class Golden : public testing::TestWithParam<std::string> {
 protected:
  static void ExpectReplayed(const std::string& name, Companies* companies) {
    const std::string golden = ReadWholeFile(SourceDir() + "/tests/cli/golden/" + name + ".txt");
    const ScratchFolder folder;
    fs::current_path(folder.path());
    ::setenv("USER", "ana", 1);
    EXPECT_EQ(Replay(golden, companies), golden);
    fs::current_path(fs::temp_directory_path());
  }
};
class GoldenOnServer : public Golden {};

TEST_P(Golden, IsReplayed) { ExpectReplayed(GetParam(), nullptr); }

TEST_P(GoldenOnServer, IsReplayed) {
  Companies companies;
  ExpectReplayed(GetParam(), &companies);
}

std::vector<std::string> GoldenNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(SourceDir() + "/tests/cli/golden")) {
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Those that use a database, but for what is about files.
std::vector<std::string> GoldenNamesOnServer() {
  std::vector<std::string> names = GoldenNames();
  std::erase_if(names, [](const std::string& name) {
    const std::string golden = ReadWholeFile(SourceDir() + "/tests/cli/golden/" + name + ".txt");
    return name == "backup" || name == "outputs" || name == "db" || golden.find(".db") == std::string::npos;
  });
  return names;
}

INSTANTIATE_TEST_SUITE_P(Cli, GoldenOnServer, testing::ValuesIn(GoldenNamesOnServer()),
                         [](const auto& name) { return name.param + "_postgresql"; });
INSTANTIATE_TEST_SUITE_P(Cli, Golden, testing::ValuesIn(GoldenNames()),
                         [](const auto& name) { return name.param; });

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "cli/run.h"
#include "mox/foundation/files.h"
#include "tests/fakes/scratch_folder.h"
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

std::vector<std::string> SplitWords(const std::string& line) {
  std::vector<std::string> words;
  bool in_word = false;
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') {
      quoted = !quoted;
      if (!in_word) words.emplace_back();
      in_word = true;
    } else if (c == ' ' && !quoted) {
      in_word = false;
    } else {
      if (!in_word) words.emplace_back();
      in_word = true;
      words.back() += c;
    }
  }
  return words;
}

// Runs "mox ... < file | mox ...". The status is that of the first command that fails.
Result RunLine(const std::string& line) {
  Result result;
  std::vector<std::string> arguments;
  std::string input;
  const auto run = [&] {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int status = Run(arguments, in, out, err);
    if (result.status == 0) result.status = status;
    result.out = out.str();
    result.err += err.str();
    input = result.out;
    arguments.clear();
  };
  const std::vector<std::string> words = SplitWords(line);
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (*word == "mox" && arguments.empty()) continue;
    if (*word == "|") {
      run();
    } else if (*word == "<") {
      input = ReadWholeFile(*++word);
    } else {
      arguments.push_back(*word);
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

// Replays the transcript and writes down what happened.
std::string Replay(const std::string& golden) {
  std::string actual;
  std::ofstream file;
  std::istringstream lines(golden);
  for (std::string line; std::getline(lines, line);) {
    if (IsExpectation(line)) continue;
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
      const Result result = RunLine(line.substr(2));
      AppendMarked(">", WithoutTimes(result.out), actual);
      AppendMarked("!", WithoutTimes(result.err), actual);
      if (result.status != 0) actual += "= " + std::to_string(result.status) + "\n";
    }
  }
  return actual;
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, IsReplayed) {
  const std::string golden = ReadWholeFile(SourceDir() + "/tests/cli/golden/" + GetParam() + ".txt");
  const ScratchFolder folder;
  fs::current_path(folder.path());
  ::setenv("USER", "ana", 1);
  EXPECT_EQ(Replay(golden), golden);
  fs::current_path(fs::temp_directory_path());
}

std::vector<std::string> GoldenNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(SourceDir() + "/tests/cli/golden")) {
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

INSTANTIATE_TEST_SUITE_P(Cli, Golden, testing::ValuesIn(GoldenNames()),
                         [](const auto& name) { return name.param; });

}  // namespace
}  // namespace mox

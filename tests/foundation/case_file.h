#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "mox/foundation/error.h"
#include "tests/source_dir.h"

// The tables of the folders cases/. A table begins with its name, "= NAME"; a row is a line of words, with an
// arrow before what is expected ("!Overflow" also without its message), and a line that begins with "#" is a
// comment. A word that is empty or has blanks stands in double quotes; \n, \t, \xC4, \" and \\ are written as
// in a program.

namespace mox {

using Words = std::vector<std::string>;

/// What the words before the arrow give: the words after it.
using TableFunction = std::function<std::string(const Words& row)>;

inline std::string Text(std::int64_t number) { return std::to_string(number); }

inline Words WordsOf(const std::string& row) {
  Words words;
  bool quoted = false;
  bool in_word = false;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (row[i] == ' ' && !quoted) {
      in_word = false;
      continue;
    }
    if (!in_word) words.emplace_back();
    in_word = true;
    if (row[i] == '"') {
      quoted = !quoted;
    } else if (row[i] != '\\') {
      words.back() += row[i];
    } else if (row[++i] == 'x') {
      words.back() += static_cast<char>(std::stoi(row.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      words.back() += row[i] == 'n' ? '\n' : row[i] == 't' ? '\t' : row[i];
    }
  }
  EXPECT_FALSE(quoted);
  return words;
}

/// What a call gives, or the error that it raises: "!Overflow", "!ConversionError", "! message"; the first
/// two with a message behind them where that is asked for.
inline std::string TextOrError(const std::function<std::string()>& call, bool with_message = false) {
  const auto told = [&](std::string kind, const Error& error) {
    return with_message ? kind + " " + error.what() : kind;
  };
  try {
    return call();
  } catch (const Overflow& error) {
    return told("!Overflow", error);
  } catch (const ConversionError& error) {
    return told("!ConversionError", error);
  } catch (const Error& error) {
    return std::string("! ") + error.what();
  }
}

/// A statement that raises an error, and the error as the tables write it.
#define EXPECT_ERROR(statement, text)             \
  EXPECT_EQ(::mox::TextOrError(                   \
                [&] {                             \
                  statement;                      \
                  return std::string("no error"); \
                },                                \
                true),                            \
            text)

/// Runs each row of a file through the function of its table. The file must have a table for each function;
/// the folder is one of tests/.
inline void ExpectTables(const std::string& file, const std::map<std::string, TableFunction>& functions,
                         const std::string& folder = "foundation") {
  std::ifstream in(SourceDir() + "/tests/" + folder + "/cases/" + file + ".txt");
  std::map<std::string, int> rows;
  std::string table;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("= ")) table = line.substr(2);
    if (line.empty() || line[0] == '#' || line[0] == '=') continue;
    SCOPED_TRACE(file + ": " + line);
    ++rows[table];
    const std::size_t arrow = line.rfind(" -> ");
    ASSERT_NE(arrow, std::string::npos);
    std::string expected;
    for (const std::string& word : WordsOf(line.substr(arrow + 4))) {
      expected += (expected.empty() ? "" : " ") + word;
    }
    const bool with_message = expected.starts_with('!') && expected.find(' ') != std::string::npos;
    EXPECT_EQ(TextOrError([&] { return functions.at(table)(WordsOf(line.substr(0, arrow))); }, with_message),
              expected);
  }
  EXPECT_EQ(rows.size(), functions.size()) << file;
}

}  // namespace mox

#pragma once

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "mox/foundation/error.h"

// Reads the tables of the folder cases/. A table begins with its name, "= NAME"; a row is a line of words
// with an arrow before what is expected, a line that begins with "#" is a comment. A word that is empty or
// has blanks stands in double quotes; \n, \t, \xC4, \" and \\ are written as in a program.

namespace mox {

inline std::vector<std::string> WordsOf(const std::string& row) {
  std::vector<std::string> words;
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
  std::erase(words, "->");
  return words;
}

/// Calls `check` with the `kColumns` words of each row of a table.
template <std::size_t kColumns, typename Check>
void ForEachCase(const std::string& file, const std::string& table, const Check& check) {
  std::ifstream in(MOX_SOURCE_DIR "/tests/foundation/cases/" + file + ".txt");
  int rows = 0;
  bool in_table = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("= ")) in_table = line.substr(2) == table;
    if (!in_table || line.empty() || line[0] == '#' || line[0] == '=') continue;
    SCOPED_TRACE(line);
    ++rows;
    const auto words = WordsOf(line);
    std::array<std::string, kColumns> columns;
    ASSERT_EQ(words.size(), kColumns);
    std::copy(words.begin(), words.end(), columns.begin());
    std::apply(check, std::as_const(columns));
  }
  EXPECT_GT(rows, 0) << file << ": " << table;
}

/// What a call gives, as a text, or the error that it raises: "!Overflow", "!ConversionError", "! message".
template <typename Call>
std::string TextOrError(const Call& call) {
  try {
    if constexpr (std::is_arithmetic_v<decltype(call())>) {
      return std::to_string(call());
    } else {
      return std::string(call());
    }
  } catch (const Overflow&) {
    return "!Overflow";
  } catch (const ConversionError&) {
    return "!ConversionError";
  } catch (const Error& error) {
    return std::string("! ") + error.what();
  }
}

}  // namespace mox

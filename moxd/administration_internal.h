#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "moxd/accounts.h"
#include "moxd/administration.h"

namespace mox {

/// One of the commands, as it was typed.
struct AdministrationCall {
  Accounts& accounts;
  std::vector<std::string> words;              ///< without the command's own two
  std::map<std::string, std::string> options;  ///< by their names, "--code"; a mere word has an empty value
  AdministrationStreams& streams;

  /// Empty where it was not given.
  std::string Option(const std::string& name) const {
    const auto given = options.find(name);
    return given == options.end() ? std::string() : given->second;
  }
};

/// Rows under their heading, each column as wide as its widest text.
void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows);

}  // namespace mox

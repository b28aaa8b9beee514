#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// Parameters that the sender does not understand.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The parameters "-name value ..." of one request. Names are compared without regard to case.
class Parameters {
 public:
  /// Raises UsageError for a word where a name is due, and for a name twice or without a value. An address
  /// that was given without quotation marks and holds a blank is refused so, instead of being cut.
  explicit Parameters(const std::vector<std::string>& words);

  /// Raises UsageError naming the parameter where there is none.
  const std::string& Required(std::string_view name) const;

 private:
  std::map<std::string, std::string, std::less<>> values_;  // by name in small letters
};

}  // namespace mox

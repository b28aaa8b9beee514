#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

// Looking through texts of SQL. Quoted texts and names, and comments, are passed over.

/// The statements of a script, which end with a semicolon; the last one need not.
std::vector<std::string_view> SplitStatements(std::string_view script);

/// The parameters `:name` of a statement in the order in which they first appear, without the colon.
struct ParameterNames {
  std::vector<std::string> names;
  bool repeated = false;  ///< one of them appears more than once
};
ParameterNames FindParameters(std::string_view sql);

/// Puts another text for each call `function(arguments)`, which may hold such calls too.
std::string ReplaceCalls(std::string_view sql, std::string_view function,
                         const std::function<std::string(std::string_view arguments)>& replacement);
/// The same for each `fold(expression)`.
std::string ReplaceFold(std::string_view sql, const std::function<std::string(std::string_view)>& fold);

/// Puts another text for the column type KEY, where PRIMARY KEY and FOREIGN KEY stay, and in the definitions
/// of columns a text behind VARCHAR(n) and TEXT.
std::string ReplaceTypes(std::string_view sql, std::string_view key, std::string_view behind_text);

}  // namespace mox

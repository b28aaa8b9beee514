#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/command.h"

namespace CLI {
class App;
}

namespace mox {

/// Declares what a command takes. The variables are filled when the command line is parsed, and must live as
/// long as the action that is run then. Help texts may have several lines.
class Options {
 public:
  Options(CLI::App& app, Action& action) : app_(app), action_(action) {}

  void Argument(const char* name, std::string& value, const char* help);
  void RequiredArgument(const char* name, std::string& value, const char* help);
  /// All further words that are no options.
  void Arguments(const char* name, std::vector<std::string>& values, const char* help);
  void Flag(const char* name, bool& value, const char* help);
  /// `value_name` is how the help shows the value, "NAME=VALUE"; a "FILE", an "ADDRESS", a "URL" and a
  /// "MAIL" must not be empty.
  void Value(const char* name, std::string& value, const char* value_name, const char* help);
  /// The same for an option that can be repeated.
  void Values(const char* name, std::vector<std::string>& values, const char* value_name, const char* help);
  /// Where the option `name` is given, no other of the command may be but those of `with`.
  void Alone(const char* name, std::vector<std::string> with);
  /// What the command does. The last of the calls.
  void Run(Action action);

 private:
  CLI::App& app_;
  Action& action_;
  std::vector<std::pair<std::string, std::vector<std::string>>> alone_;
};

}  // namespace mox

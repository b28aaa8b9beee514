#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <string_view>
#include <utility>

namespace mox {

void Options::Argument(const char* name, std::string& value, const char* help) {
  app_.add_option(name, value, help)->type_name("");
}

void Options::RequiredArgument(const char* name, std::string& value, const char* help) {
  app_.add_option(name, value, help)->type_name("")->required();
}

void Options::Arguments(const char* name, std::vector<std::string>& values, const char* help) {
  app_.add_option(name, values, help)->type_name("");
}

void Options::Flag(const char* name, bool& value, const char* help) { app_.add_flag(name, value, help); }

void Options::Value(const char* name, std::string& value, const char* value_name, const char* help) {
  CLI::Option* const option = app_.add_option(name, value, help)->type_name(value_name);
  if (std::string_view(value_name) != "FILE") return;
  option->check(CLI::Validator(
      [](const std::string& path) {
        return path.empty() ? std::string("the name of the file is empty") : std::string();
      },
      ""));
}

void Options::Values(const char* name, std::vector<std::string>& values, const char* value_name,
                     const char* help) {
  app_.add_option(name, values, help)->type_name(value_name)->allow_extra_args(false);
}

void Options::Run(Action action) {
  app_.callback([this_action = &action_, action = std::move(action)] { *this_action = action; });
}

}  // namespace mox

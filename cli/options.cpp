#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <utility>

namespace mox {
namespace {

void RequireAlone(const CLI::App& app, const std::string& name, const std::vector<std::string>& with) {
  if (app.get_option(name)->count() == 0) return;
  for (const CLI::Option* const other : app.get_options()) {
    const std::string other_name = other->get_name();
    const bool allowed = other_name == name || std::find(with.begin(), with.end(), other_name) != with.end();
    if (other->count() > 0 && !allowed) throw UsageError(name + " does not go with " + other_name);
  }
}

}  // namespace

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
  struct Required {
    std::string_view value_name;
    const char* fault;
  };
  constexpr Required kRequired[] = {{"FILE", "the name of the file is empty"},
                                    {"ADDRESS", "the address is empty"},
                                    {"URL", "the address is empty"},
                                    {"MAIL", "the number of the mail is empty"}};
  for (const Required& required : kRequired) {
    if (required.value_name != value_name) continue;
    option->check(CLI::Validator(
        [fault = required.fault](const std::string& text) {
          return text.empty() ? std::string(fault) : std::string();
        },
        ""));
  }
}

void Options::Values(const char* name, std::vector<std::string>& values, const char* value_name,
                     const char* help) {
  app_.add_option(name, values, help)->type_name(value_name)->allow_extra_args(false);
}

void Options::Alone(const char* name, std::vector<std::string> with) {
  alone_.emplace_back(name, std::move(with));
}

void Options::Run(Action action) {
  app_.callback([app = &app_, this_action = &action_, alone = alone_, action = std::move(action)] {
    for (const auto& [name, with] : alone) RequireAlone(*app, name, with);
    *this_action = action;
  });
}

}  // namespace mox

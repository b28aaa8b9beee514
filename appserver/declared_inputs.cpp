#include "appserver/declared_inputs.h"

#include <utility>

#include "appserver/database.h"

namespace mox {

std::vector<DeclaredInput> ParseDeclaredInputs(std::string_view inputs) {
  std::vector<DeclaredInput> parsed;
  for (FieldDef& column : ParseColumns(inputs)) {
    DeclaredInput& input = parsed.emplace_back(DeclaredInput{std::move(column)});
    input.may_be_left_out = input.name.ends_with('?');
    if (input.may_be_left_out) input.name.pop_back();
  }
  return parsed;
}

}  // namespace mox

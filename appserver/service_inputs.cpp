#include "appserver/service_inputs.h"

#include <utility>

#include "appserver/database.h"

namespace mox {

std::vector<ServiceInput> ParseInputs(std::string_view inputs) {
  std::vector<ServiceInput> parsed;
  for (FieldDef& column : ParseColumns(inputs)) {
    ServiceInput& input = parsed.emplace_back(ServiceInput{std::move(column)});
    input.may_be_left_out = input.name.ends_with('?');
    if (input.may_be_left_out) input.name.pop_back();
  }
  return parsed;
}

}  // namespace mox

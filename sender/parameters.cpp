#include "sender/parameters.h"

#include "mox/foundation/text.h"

namespace mox {

Parameters::Parameters(const std::vector<std::string>& words) {
  for (std::size_t i = 0; i < words.size(); i += 2) {
    const std::string& name = words[i];
    if (!name.starts_with('-')) throw UsageError("\"" + name + "\" stands where a parameter is due");
    if (i + 1 == words.size()) throw UsageError(name + " has no value");
    if (!values_.emplace(FoldCase(name), words[i + 1]).second) throw UsageError(name + " is given twice");
  }
}

const std::string& Parameters::Required(std::string_view name) const {
  const auto found = values_.find(FoldCase(name));
  if (found == values_.end()) throw UsageError(std::string(name) + " is missing");
  return found->second;
}

}  // namespace mox

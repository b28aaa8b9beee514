#include "appserver/write_outcome.h"

#include "mox/foundation/visible_text.h"

namespace mox {

std::string WriteFailure::ToString() const {
  std::string text = transaction;
  const auto add = [&text](std::string_view part) { text.append(text.empty() ? "" : ": ").append(part); };
  if (!record_set.empty()) add(record_set);
  if (row > 0) add("row " + std::to_string(row));
  if (!field.empty()) add(field);
  add(message);
  if (!others.empty()) {
    text += "; at least " + std::to_string(others.size()) + " other " +
            (others.size() == 1 ? "row is" : "rows are") + " refused, too";
  }
  return VisibleText(text);
}

const RecordSet& WriteOutcome::Stored() const {
  if (!stored) throw Error("it was stored, but the server does not tell under which keys and numbers");
  return *stored;
}

}  // namespace mox

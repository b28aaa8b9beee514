#include "mox/foundation/record_key.h"

#include <algorithm>
#include <bit>
#include <variant>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

RecordKey::RecordKey(const RecordTable& table, std::string_view names, std::span<const Value> values,
                     LocateOptions options) {
  for (std::string_view rest = names; !rest.empty();) {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    const std::size_t index = table.IndexOf(TrimBlanks(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (parts_.size() == values.size()) throw Error(table.name + ": locate has more fields than values");
    parts_.push_back(MakePart(index, table.Fields()[index].kind, values[parts_.size()], options));
  }
  if (parts_.size() != values.size()) throw Error(table.name + ": locate has more values than fields");
}

RecordKey::Part RecordKey::MakePart(std::size_t index, FieldKind kind, const Value& value,
                                    LocateOptions options) {
  Part part;
  part.index = index;
  part.kind = kind;
  part.null = std::holds_alternative<std::monostate>(value);
  if (part.null) return part;
  switch (kind) {
    case FieldKind::kText:
    case FieldKind::kBinary:
      part.fold = options.case_insensitive && kind == FieldKind::kText;
      part.text = ToText(value);
      break;
    case FieldKind::kFloat:
      part.number = ToFloat(value);
      break;
    default:
      part.bits = PackNumber(kind, value);
  }
  return part;
}

bool RecordKey::Matches(const RecordTable& table, const std::uint64_t* cells) const {
  return std::all_of(parts_.begin(), parts_.end(), [&](const Part& part) {
    const bool null = table.IsNull(cells, part.index);
    return null == part.null && (null || part.Matches(cells[part.index]));
  });
}

bool RecordKey::Part::Matches(std::uint64_t cell) const {
  switch (kind) {
    case FieldKind::kText:
    case FieldKind::kBinary:
      return fold ? EqualsIgnoringCase(TextArena::Get(cell), text) : TextArena::Get(cell) == text;
    case FieldKind::kFloat:
      return std::bit_cast<double>(cell) == number;
    default:
      return cell == bits;
  }
}

}  // namespace mox

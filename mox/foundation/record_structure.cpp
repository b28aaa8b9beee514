#include "mox/foundation/record_structure.h"

#include <algorithm>
#include <cstring>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
std::size_t Structure::FoldedHash::operator()(std::string_view name) const {
  std::uint64_t hash = 0xCBF2'9CE4'8422'2325U;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    hash = (hash ^ byte) * 0x0000'0100'0000'01B3U;
  }
  return hash;
}

bool Structure::FoldedEqual::operator()(std::string_view a, std::string_view b) const {
  return SameName(a, b);
}

void Structure::Define(FieldDef field) {
  if (field.name.empty()) throw Error("a field needs a name");
  if (fields_.size() == kMostFields) {
    throw Error("a record set has at most " + std::to_string(kMostFields) + " fields");
  }
  if (!by_name_.emplace(field.name, fields_.size()).second) {
    throw Error("field \"" + field.name + "\" is defined twice");
  }
  fields_.push_back(std::move(field));
}

void Structure::LayOut() {
  blank_.resize(fields_.size() + (fields_.size() + 7) / 8);
  std::memset(blank_.data() + fields_.size(), static_cast<int>(NullMark::kNull), fields_.size());
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const FieldDef& field = fields_[i];
    if (const auto id = FindInVocabulary(field.name)) {
      const bool usual = field.kind == kVocabulary[static_cast<std::size_t>(*id)].kind;
      slots_.present.Add(*id, i);
      if (usual) slots_.usual.Add(*id, i);
      if (usual && field.calculated) slots_.calculated.Add(*id, i);
    }
    kinds_.push_back(field.kind);
    if (HoldsText(field.kind)) text_fields_.push_back(i);
  }
}

void Structure::RefusePosition(std::size_t index, const std::string& set_name) const {
  if (index < fields_.size()) {
    throw StateError(fields_[index].name + ": the record set " + set_name + " is closed");
  }
  throw Error(set_name + ": there is no field at position " + std::to_string(index) + " of " +
              std::to_string(fields_.size()));
}

std::optional<std::size_t> Structure::Find(std::string_view name) const {
  const auto found = by_name_.find(name);
  if (found == by_name_.end()) return std::nullopt;
  return found->second;
}

}  // namespace mox

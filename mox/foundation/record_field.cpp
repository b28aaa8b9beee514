#include "mox/foundation/record_field.h"

#include "mox/foundation/files.h"

namespace mox {

const std::string& Field::DisplayName() const {
  const FieldDef& field = set_->Definition(index_);
  return field.display_name.empty() ? field.name : field.display_name;
}

void Field::SaveToFile(const std::string& path) const { ReplaceFile(path, set_->AsText(index_)); }

void Field::LoadFromFile(const std::string& path) { set_->SetText(index_, ReadWholeFile(path)); }

}  // namespace mox

#include "mox/foundation/record_field.h"

#include "mox/foundation/files.h"

namespace mox {

void Field::SaveToFile(const std::string& path) const { ReplaceFile(path, set_->AsText(index_)); }

void Field::LoadFromFile(const std::string& path) { set_->SetText(index_, ReadWholeFile(path)); }

}  // namespace mox

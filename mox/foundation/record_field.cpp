#include "mox/foundation/record_field.h"

#include "mox/foundation/files.h"

namespace mox {

void ConstField::SaveToFile(const std::string& path) const { ReplaceFile(path, AsText()); }

void Field::LoadFromFile(const std::string& path) { SetText(ReadWholeFile(path)); }

}  // namespace mox

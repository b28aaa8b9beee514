#pragma once

#include <QString>
#include <string_view>

namespace mox {

/// What people call what a profile of the import grid brings in; a profile that the table does not know has
/// its key.
QString ImportTitle(std::string_view key);

}  // namespace mox

#pragma once

#include <string>
#include <string_view>

namespace mox {

/// All bytes of a file. Raises Error naming the path when it cannot be read.
std::string ReadWholeFile(const std::string& path);

/// Gives a file new contents so that whoever opens it, also after a crash, finds either all of the old ones
/// or all of the new: they are written to a temporary file in the same folder, flushed to the disk and
/// renamed.
///
/// A link is followed and the file behind it replaced. The permissions stay; a file that is write-protected
/// is refused although its folder would allow the renaming. A failure raises Error naming the path, leaves
/// the old file as it was and removes the temporary.
void ReplaceFile(const std::string& path, std::string_view bytes);

/// Removes a file, if there is one. False when it is still there.
bool RemoveFile(const std::string& path);

}  // namespace mox

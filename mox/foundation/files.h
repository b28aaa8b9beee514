#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace mox {

/// All bytes of a file. Raises Error naming the path when it cannot be read.
std::string ReadWholeFile(const std::string& path);

/// The same of a file that has to be one: not of a pipe, where whoever reads waits for another program, and
/// of no device.
std::string ReadRegularFile(const std::string& path);

/// Who may read and write a new file: whom the user's settings let, or its owner alone, as a file with a
/// secret in it must be from its first byte.
enum class FileAccess : std::uint8_t { kUsual, kOwnerOnly };

/// Gives a file new contents so that whoever opens it, also after a crash, finds either all of the old ones
/// or all of the new: they are written to a temporary file in the same folder, flushed to the disk and
/// renamed.
///
/// A link is followed and the file behind it replaced. With kUsual the permissions stay; a file that is
/// write-protected is refused although its folder would allow the renaming. What is no file (a terminal, a
/// pipe) takes the bytes itself. A failure raises Error naming the path, leaves the old file as it was and
/// removes the temporary.
///
/// Which files may be replaced at all is not asked here: what a user names is written through OutputFiles.
void ReplaceFile(const std::string& path, std::string_view bytes, FileAccess access = FileAccess::kUsual);

/// The file that a chain of links leads to, whether it exists or not. A loop of links is left to fail when
/// it is opened.
std::filesystem::path BehindLinks(std::filesystem::path path);

/// Whether a path names a pipe of a folder, where whoever opens it waits for another program. A pipe that
/// this program was given open is none: it stands in "/dev", as "/dev/stdin" and "/dev/fd/3" do.
bool IsNamedPipe(const std::string& path);

/// Removes a file, if there is one. False when it is still there.
bool RemoveFile(const std::string& path);

}  // namespace mox

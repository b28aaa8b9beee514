#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace mox {

/// The text in zstd, quickly rather than small.
std::string Packed(std::string_view text);

/// Why a packed text was not unpacked.
enum class UnpackFault : std::uint8_t { kNone, kDamaged, kTooLarge, kNoMemory };

/// The text of one or several zstd frames. No more than `most` bytes are unpacked, whatever the frames say,
/// and `may_grow` is asked before each further piece of memory is taken.
UnpackFault Unpack(std::string_view packed, std::size_t most,
                   const std::function<bool(std::size_t bytes)>& may_grow, std::string& text);

}  // namespace mox

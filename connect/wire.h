#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/write_outcome.h"

namespace mox {

/// What client and server of the network say to each other beside the texts of requests and answers.
inline constexpr std::string_view kProtocol = "1";
inline constexpr std::array kKnownProtocols = {kProtocol};

inline constexpr std::string_view kWireType = "application/x-mox";
inline constexpr std::string_view kZstd = "zstd";
/// Texts shorter than this travel as they are.
inline constexpr std::size_t kWorthPacking = 4096;

/// The answer to a write request: a parameter list with "committed" and "transaction"; of a stored one
/// "stored", where the transaction gives keys and numbers; of a refused one "record_set", "row", "field",
/// "message" and "others".
std::string OutcomeText(const WriteOutcome& outcome);
/// Raises FormatError or Error for any other text.
WriteOutcome ReadOutcome(std::string_view text);

/// A part of a path, where everything but letters, digits and "-_.~" is written by its code.
std::string EncodedPart(std::string_view text);
/// The text again. None where a code is not whole, or where it is no UTF-8 or has control characters.
std::optional<std::string> DecodedPart(std::string_view text);

}  // namespace mox

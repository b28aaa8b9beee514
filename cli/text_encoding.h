#pragma once

#include <string>
#include <string_view>

namespace mox {

/// A text as UTF-8 without a byte-order mark, and what it was before.
struct DecodedText {
  std::string text;
  std::string_view encoding;  ///< "UTF-8", "UTF-16" or "Windows-1250"
};

/// Reads the bytes of a text file: UTF-16 where its byte-order mark stands in front, else UTF-8, else
/// Windows-1250. Raises Error that says at which line the bytes are none of these.
DecodedText DecodeText(std::string_view bytes);

}  // namespace mox

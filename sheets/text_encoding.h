#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mox {

enum class TextEncoding {
  kRecognised,
  kUtf8,
  kUtf16,
  kWindows1250,
  kIso88592,
};

/// The encoding of a name, "UTF-8", "UTF-16", "Windows-1250" or "ISO-8859-2", whatever its letter case.
std::optional<TextEncoding> EncodingNamed(std::string_view name);

/// A text as UTF-8 without a byte-order mark, and what it was before.
struct DecodedText {
  std::string text;
  std::string_view encoding;  ///< its name
};

/// Reads the bytes of a text file. Recognised are UTF-16 where its byte-order mark stands in front, else
/// UTF-8, else the two code pages of Central Europe, which differ for š and ž: ISO-8859-2 where letters stand
/// in their places of that one and nothing stands where Windows-1250 has them. UTF-16 without a mark is taken
/// for little-endian where it is named. Raises Error that says at which line the bytes are none of these.
DecodedText DecodeText(std::string_view bytes, TextEncoding encoding = TextEncoding::kRecognised);

}  // namespace mox

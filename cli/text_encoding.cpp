#include "cli/text_encoding.h"

#include <algorithm>
#include <cstdint>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LittleEndianMark = "\xFF\xFE";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";

[[noreturn]] void Fail(std::string_view before, const std::string& what) {
  throw Error(std::to_string(std::count(before.begin(), before.end(), '\n') + 1) + ": " + what);
}

std::string FromUtf16(std::string_view bytes, bool big_endian) {
  std::string text;
  text.reserve(bytes.size());
  if (bytes.size() % 2 != 0) Fail(bytes, "the UTF-16 text ends within a character");
  const auto unit = [&](std::size_t at) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return static_cast<std::uint32_t>(big_endian ? first << 8 | second : second << 8 | first);
  };
  for (std::size_t at = 0; at < bytes.size(); at += 2) {
    std::uint32_t character = unit(at);
    if (character >= 0xD800 && character <= 0xDFFF) {
      const std::uint32_t low = character < 0xDC00 && at + 2 < bytes.size() ? unit(at + 2) : 0;
      if (low < 0xDC00 || low > 0xDFFF) Fail(text, "half a character of the UTF-16 text is missing");
      character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
      at += 2;
    }
    AppendUtf8(text, character);
  }
  return text;
}

// The code page leaves five bytes undefined.
void RequireWindows1250(std::string_view bytes) {
  constexpr std::string_view kUndefined = "\x81\x83\x88\x90\x98";
  const std::size_t at = bytes.find_first_of(kUndefined);
  if (at != std::string_view::npos) {
    Fail(bytes.substr(0, at), "the text is neither UTF-8 nor Windows-1250");
  }
}

DecodedText Decode(std::string_view bytes) {
  if (bytes.starts_with(kUtf16LittleEndianMark)) return {FromUtf16(bytes.substr(2), false), "UTF-16"};
  if (bytes.starts_with(kUtf16BigEndianMark)) return {FromUtf16(bytes.substr(2), true), "UTF-16"};
  const bool marked = bytes.starts_with(kUtf8Mark);
  if (marked) bytes.remove_prefix(kUtf8Mark.size());
  if (IsValidUtf8(bytes)) return {std::string(bytes), "UTF-8"};
  if (marked) throw Error("1: the text has the byte-order mark of UTF-8 and is not valid UTF-8");
  RequireWindows1250(bytes);
  return {FromWindows1250(bytes), "Windows-1250"};
}

}  // namespace

DecodedText DecodeText(std::string_view bytes) {
  DecodedText decoded = Decode(bytes);
  const std::size_t zero = decoded.text.find('\0');
  if (zero != std::string::npos) {
    Fail(std::string_view(decoded.text).substr(0, zero), "the text holds a zero character");
  }
  return decoded;
}

}  // namespace mox

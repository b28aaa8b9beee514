#include "sheets/text_encoding.h"

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

// --- the code pages ---

// What the upper half has from 0xA0 on; below stand control characters.
constexpr char16_t kIso88592[] = {
    0x00A0, 0x0104, 0x02D8, 0x0141, 0x00A4, 0x013D, 0x015A, 0x00A7, 0x00A8, 0x0160, 0x015E, 0x0164,
    0x0179, 0x00AD, 0x017D, 0x017B, 0x00B0, 0x0105, 0x02DB, 0x0142, 0x00B4, 0x013E, 0x015B, 0x02C7,
    0x00B8, 0x0161, 0x015F, 0x0165, 0x017A, 0x02DD, 0x017E, 0x017C, 0x0154, 0x00C1, 0x00C2, 0x0102,
    0x00C4, 0x0139, 0x0106, 0x00C7, 0x010C, 0x00C9, 0x0118, 0x00CB, 0x011A, 0x00CD, 0x00CE, 0x010E,
    0x0110, 0x0143, 0x0147, 0x00D3, 0x00D4, 0x0150, 0x00D6, 0x00D7, 0x0158, 0x016E, 0x00DA, 0x0170,
    0x00DC, 0x00DD, 0x0162, 0x00DF, 0x0155, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x013A, 0x0107, 0x00E7,
    0x010D, 0x00E9, 0x0119, 0x00EB, 0x011B, 0x00ED, 0x00EE, 0x010F, 0x0111, 0x0144, 0x0148, 0x00F3,
    0x00F4, 0x0151, 0x00F6, 0x00F7, 0x0159, 0x016F, 0x00FA, 0x0171, 0x00FC, 0x00FD, 0x0163, 0x02D9,
};

std::string FromIso88592(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 8);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    AppendUtf8(text, byte < 0xA0 ? byte : kIso88592[byte - 0xA0]);
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

bool IsLetterByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte >= 0xC0;
}

// Whether š and ž stand where ISO 8859-2 has them. Windows-1250 has them between 0x80 and 0x9F, where the
// other has no letters, and in their places the letters ą and ľ, which are foreign to the sheets' languages,
// and the signs © and ®, which do not stand inside words.
bool LooksLikeIso88592(std::string_view bytes) {
  bool found = false;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte >= 0x80 && byte <= 0x9F) return false;
    const bool before_letter = i + 1 < bytes.size() && IsLetterByte(bytes[i + 1]);
    found = found || byte == 0xB9 || byte == 0xBE || ((byte == 0xA9 || byte == 0xAE) && before_letter);
  }
  return found;
}

// --- the choice ---

struct NamedEncoding {
  TextEncoding encoding;
  std::string_view name;
};

constexpr NamedEncoding kEncodings[] = {
    {TextEncoding::kUtf8, "UTF-8"},
    {TextEncoding::kUtf16, "UTF-16"},
    {TextEncoding::kWindows1250, "Windows-1250"},
    {TextEncoding::kIso88592, "ISO-8859-2"},
};

std::string_view NameOf(TextEncoding encoding) {
  for (const NamedEncoding& named : kEncodings) {
    if (named.encoding == encoding) return named.name;
  }
  return {};
}

TextEncoding Recognise(std::string_view bytes) {
  if (bytes.starts_with(kUtf16LittleEndianMark) || bytes.starts_with(kUtf16BigEndianMark)) {
    return TextEncoding::kUtf16;
  }
  if (bytes.starts_with(kUtf8Mark) || IsValidUtf8(bytes)) return TextEncoding::kUtf8;
  return LooksLikeIso88592(bytes) ? TextEncoding::kIso88592 : TextEncoding::kWindows1250;
}

std::string Decode(std::string_view bytes, TextEncoding encoding) {
  switch (encoding) {
    case TextEncoding::kUtf16: {
      const bool big_endian = bytes.starts_with(kUtf16BigEndianMark);
      if (big_endian || bytes.starts_with(kUtf16LittleEndianMark)) bytes.remove_prefix(2);
      return FromUtf16(bytes, big_endian);
    }
    case TextEncoding::kUtf8: {
      const bool marked = bytes.starts_with(kUtf8Mark);
      if (marked) bytes.remove_prefix(kUtf8Mark.size());
      if (IsValidUtf8(bytes)) return std::string(bytes);
      throw Error(marked ? "1: the text has the byte-order mark of UTF-8 and is not valid UTF-8"
                         : "1: the text is not valid UTF-8");
    }
    case TextEncoding::kIso88592:
      return FromIso88592(bytes);
    default:
      RequireWindows1250(bytes);
      return FromWindows1250(bytes);
  }
}

}  // namespace

std::optional<TextEncoding> EncodingNamed(std::string_view name) {
  for (const NamedEncoding& named : kEncodings) {
    if (SameName(named.name, name)) return named.encoding;
  }
  return std::nullopt;
}

DecodedText DecodeText(std::string_view bytes, TextEncoding encoding) {
  if (encoding == TextEncoding::kRecognised) encoding = Recognise(bytes);
  DecodedText decoded{Decode(bytes, encoding), NameOf(encoding)};
  const std::size_t zero = decoded.text.find('\0');
  if (zero != std::string::npos) {
    Fail(std::string_view(decoded.text).substr(0, zero), "the text holds a zero character");
  }
  return decoded;
}

}  // namespace mox

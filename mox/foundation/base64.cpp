#include "mox/foundation/base64.h"

namespace mox {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string ToBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8U | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += at + i > bytes.size() ? '=' : kDigits[group >> (18 - 6 * i) & 63U];
    }
  }
  return text;
}

std::optional<std::string> FromBase64(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  unsigned group = 0;
  std::size_t digits = 0;
  std::size_t filled = 0;
  for (const char c : text) {
    if (c == '\r' || c == '\n') continue;
    const std::size_t digit = c == '=' ? 0 : kDigits.find(c);
    filled += c == '=' ? 1 : 0;
    if (digit == std::string_view::npos || (filled > 0 && c != '=') || filled > 2) return std::nullopt;
    group = group << 6U | static_cast<unsigned>(digit);
    if (++digits % 4 != 0) continue;
    for (const unsigned shift : {16U, 8U, 0U}) bytes += static_cast<char>(group >> shift & 255U);
    if (filled > 0) bytes.resize(bytes.size() - filled);
    group = 0;
  }
  if (digits % 4 != 0) return std::nullopt;
  return bytes;
}

}  // namespace mox

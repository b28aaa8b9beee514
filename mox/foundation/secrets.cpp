#include "mox/foundation/secrets.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kShortest = 4;  // that is blanked within words, too
constexpr std::string_view kBlank = "***";

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kBase64OfAddresses =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

constexpr std::pair<std::string_view, std::string_view> kEntities[] = {
    {"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}};

// What an address calls a value that nobody is to see.
constexpr std::string_view kSecretNames[] = {"key", "token", "pass", "secret", "sig", "kljuc", "lozinka"};

// The digits that do not depend on what stands before and behind: `skipped` bytes come before the text.
std::string InBase64(std::string_view text, std::size_t skipped, std::string_view digits) {
  std::string form;
  unsigned bits = 0;
  unsigned count = 0;
  std::size_t position = skipped * 8;  // of the first bit that is not written yet
  for (const char c : text) {
    bits = bits << 8U | static_cast<unsigned char>(c);
    count += 8;
    if (position % 6 != 0 && form.empty()) {  // a digit that holds bits of what stands before
      const auto shared = static_cast<unsigned>(6 - position % 6);
      count -= shared;
      position += shared;
    }
    for (; count >= 6; count -= 6) form += digits[bits >> (count - 6) & 0x3FU];
  }
  return form;
}

// The number that the digits at a place write; none where there are other characters.
std::optional<unsigned> NumberAt(std::string_view text, std::size_t at, std::size_t digits, int base = 16) {
  if (at > text.size() || text.size() - at < digits || digits == 0) return std::nullopt;
  unsigned number = 0;
  for (const char c : text.substr(at, digits)) {
    if (std::isxdigit(static_cast<unsigned char>(c)) == 0) return std::nullopt;
    const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
    if (digit >= base) return std::nullopt;
    number = number * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
  }
  return number;
}

// Each of these answers how many bytes at a place stand for a byte or a character; 0 where they do not.

// As it is, or as in an address, "%C4", also one that was encoded once more, "%25C4".
std::size_t ByteAt(std::string_view text, std::size_t at, char byte) {
  if (at >= text.size()) return 0;
  if (text[at] == byte) return 1;
  if (text[at] != '%') return 0;
  const unsigned code = static_cast<unsigned char>(byte);
  for (std::size_t digits = at + 1;; digits += 2) {
    const std::optional<unsigned> found = NumberAt(text, digits, 2);
    if (found == code) return digits + 2 - at;
    if (found != 0x25U) return 0;
  }
}

std::size_t BytesAt(std::string_view text, std::size_t at, std::string_view bytes) {
  std::size_t end = at;
  for (const char byte : bytes) {
    const std::size_t length = ByteAt(text, end, byte);
    if (length == 0) return 0;
    end += length;
  }
  return end - at;
}

// "\\u010c" of JSON, with as many backslashes as its nesting has brought.
std::size_t JsonEscapeAt(std::string_view text, std::size_t at, std::u16string_view code) {
  std::size_t end = at;
  for (const char16_t unit : code) {
    const std::size_t mark = text.find_first_not_of('\\', end);
    if (mark == std::string_view::npos || mark == end || text[mark] != 'u') return 0;
    if (NumberAt(text, mark + 1, 4) != static_cast<unsigned>(unit)) return 0;
    end = mark + 5;
  }
  return end - at;
}

// "&quot;", "&#268;" and "&#x10C;" of HTML.
std::size_t EntityAt(std::string_view text, std::size_t at, std::string_view character, char32_t code) {
  for (const auto& [entity, stands_for] : kEntities) {
    if (character == stands_for && text.substr(at).starts_with(entity)) return entity.size();
  }
  if (!text.substr(at).starts_with("&#")) return 0;
  const std::size_t end = text.substr(0, at + 12).find(';', at);
  if (end == std::string_view::npos) return 0;
  const bool hex = (text[at + 2] | 0x20) == 'x';
  const std::size_t digits = at + (hex ? 3U : 2U);
  const bool same = end > digits && NumberAt(text, digits, end - digits, hex ? 16 : 10) == code;
  return same ? end + 1 - at : 0;
}

char32_t CodeOf(std::string_view character) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) return byte(0);
  char32_t code = byte(0) & (0xFFU >> (character.size() + 1));
  for (std::size_t i = 1; i < character.size(); ++i) code = code << 6U | (byte(i) & 0x3FU);
  return code;
}

std::string Decoded(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::optional<unsigned> byte = text[at] == '%' ? NumberAt(text, at + 1, 2) : std::nullopt;
    decoded += byte ? static_cast<char>(*byte) : text[at];
    if (byte) at += 2;
  }
  return decoded;
}

}  // namespace

// A character of a secret, in the forms in which it may stand in a text.
struct Secrets::Character {
  std::string utf8;
  std::string windows1250;  // empty where it has none
  char32_t code;
  std::u16string utf16;

  explicit Character(std::string_view text) : utf8(text), code(CodeOf(text)) {
    if (code > 0xFFFF) {
      utf16 = {static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10U)),
               static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FFU))};
    } else {
      utf16 = {static_cast<char16_t>(code)};
    }
    try {
      if (utf8.size() > 1) windows1250 = ToWindows1250(utf8);
    } catch (const ConversionError&) {
      windows1250.clear();
    }
  }

  std::size_t LengthAt(std::string_view text, std::size_t at) const {
    if (at >= text.size()) return 0;
    if (const std::size_t length = BytesAt(text, at, utf8)) return length;
    if (const std::size_t length = windows1250.empty() ? 0 : BytesAt(text, at, windows1250)) return length;
    if (text[at] == '+' && utf8 == " ") return 1;
    if (text[at] == '&') return EntityAt(text, at, utf8, code);
    if (text[at] != '\\') return 0;
    if (const std::size_t length = JsonEscapeAt(text, at, utf16)) return length;
    const std::size_t behind = text.find_first_not_of('\\', at);  // an escaped quote, slash, ...
    const std::size_t length = behind == std::string_view::npos ? 0 : BytesAt(text, behind, utf8);
    return length == 0 ? 0 : behind + length - at;
  }
};

Secrets::Secrets() = default;
Secrets::Secrets(const Secrets&) = default;
Secrets::Secrets(Secrets&&) noexcept = default;
Secrets& Secrets::operator=(const Secrets&) = default;
Secrets& Secrets::operator=(Secrets&&) noexcept = default;
Secrets::~Secrets() = default;

void Secrets::Add(std::string_view secret) {
  if (secret.empty()) return;
  std::vector<Character> characters;
  for (std::size_t at = 0; at < secret.size(); at += characters.back().utf8.size()) {
    const std::string_view rest = secret.substr(at);
    characters.emplace_back(rest.substr(0, std::max<std::size_t>(CutToCharacters(rest, 1).size(), 1)));
  }
  secrets_.push_back(std::move(characters));
  std::stable_sort(secrets_.begin(), secrets_.end(),
                   [](const auto& a, const auto& b) { return a.size() > b.size(); });
  for (const std::string_view digits : {kBase64, kBase64OfAddresses}) {
    for (std::size_t skipped = 0; skipped < 3; ++skipped) {
      if (std::string form = InBase64(secret, skipped, digits); form.size() >= kShortest) {
        forms_.push_back(std::move(form));
      }
    }
  }
  std::stable_sort(forms_.begin(), forms_.end(),
                   [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
}

void Secrets::AddThoseOf(std::string_view address) {
  const std::size_t scheme = address.find("://");
  const std::size_t start = scheme == std::string_view::npos ? 0 : scheme + 3;
  for (std::size_t colon = address.find(':', start); colon < address.find('@', start);
       colon = address.find(':', colon + 1)) {
    for (std::size_t end = address.find('@', colon); end != std::string_view::npos;
         end = address.find('@', end + 1)) {
      Add(Decoded(address.substr(colon + 1, end - colon - 1)));
    }
  }
  for (std::size_t at = address.find_first_of("?&#;"); at != std::string_view::npos;) {
    const std::size_t next = address.find_first_of("&#;", at + 1);
    const std::string_view parameter = address.substr(at + 1, next == address.npos ? next : next - at - 1);
    const std::size_t equals = std::min(parameter.find('='), parameter.size());
    const std::string name = FoldCase(parameter.substr(0, equals));
    const auto is_in_name = [&](std::string_view word) { return name.find(word) != std::string::npos; };
    if (std::any_of(std::begin(kSecretNames), std::end(kSecretNames), is_in_name)) {
      Add(Decoded(parameter.substr(std::min(equals + 1, parameter.size()))));
    }
    at = next;
  }
}

std::size_t Secrets::LengthAt(std::string_view text, std::size_t at) const {
  const auto is_in_word = [&text](std::size_t place) {
    const auto byte = static_cast<unsigned char>(text[place]);
    return byte >= 0x80 || std::isalnum(byte) != 0 || byte == '_';
  };
  for (const std::vector<Character>& secret : secrets_) {
    const bool is_short = secret.size() < kShortest;
    if (is_short && at > 0 && is_in_word(at - 1)) continue;
    std::size_t end = at;
    bool found = true;
    for (const Character& character : secret) {
      const std::size_t length = character.LengthAt(text, end);
      found = length > 0;
      if (!found) break;
      end += length;
    }
    if (found && !(is_short && end < text.size() && is_in_word(end))) return end - at;
  }
  return 0;
}

std::string Secrets::Blanked(std::string_view text) const {
  std::string blanked;
  for (std::size_t at = 0; at < text.size();) {
    if (const std::size_t length = LengthAt(text, at)) {
      blanked += kBlank;
      at += length;
    } else {
      blanked += text[at++];
    }
  }
  for (const std::string& form : forms_) {
    for (std::size_t at = 0; (at = blanked.find(form, at)) != std::string::npos; at += kBlank.size()) {
      blanked.replace(at, form.size(), kBlank);
    }
  }
  return blanked;
}

}  // namespace mox

#include "mox/foundation/secrets.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kShortest = 4;
constexpr std::string_view kBlank = "***";

// Writers of JSON differ in what they escape beyond what they must.
std::string InJson(std::string_view text, bool ascii, bool slash) {
  std::string form;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = std::max<std::size_t>(CutToCharacters(text.substr(at), 1).size(), 1);
    const std::string_view character = text.substr(at, length);
    at += length;
    if (character == "\"" || character == "\\" || (slash && character == "/")) {
      form.append("\\").append(character);
    } else if (ascii && length > 1) {
      form += "\\u";
      unsigned code = static_cast<unsigned char>(character[0]) & (length == 2 ? 0x1FU : 0x0FU);
      for (const char c : character.substr(1)) code = code << 6U | (static_cast<unsigned char>(c) & 0x3FU);
      for (unsigned shift = 16; shift > 0;) form += "0123456789abcdef"[code >> (shift -= 4) & 0xFU];
    } else {
      form += character;
    }
  }
  return form;
}

std::string InAddress(std::string_view text, std::string_view digits) {
  constexpr std::string_view kPlain = "-._~";
  std::string form;
  for (const char c : text) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (letter || kPlain.find(c) != std::string_view::npos) {
      form += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      form += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
    }
  }
  return form;
}

// The digits that do not depend on what stands before and behind: `skipped` bytes come before the text.
std::string InBase64(std::string_view text, std::size_t skipped) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
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
    for (; count >= 6; count -= 6) form += kDigits[bits >> (count - 6) & 0x3FU];
  }
  return form;
}

}  // namespace

void Secrets::Add(std::string_view secret) {
  if (CountCharacters(secret) < kShortest) return;
  forms_.insert(forms_.end(), {std::string(secret), InJson(secret, false, false), InJson(secret, true, false),
                               InJson(secret, false, true), InJson(secret, true, true),
                               InAddress(secret, "0123456789ABCDEF"), InAddress(secret, "0123456789abcdef")});
  for (std::size_t skipped = 0; skipped < 3; ++skipped) {
    if (std::string form = InBase64(secret, skipped); form.size() >= kShortest) forms_.push_back(form);
  }
  std::sort(forms_.begin(), forms_.end(), [](const std::string& a, const std::string& b) {
    return a.size() != b.size() ? a.size() > b.size() : a < b;
  });
  forms_.erase(std::unique(forms_.begin(), forms_.end()), forms_.end());
}

std::string Secrets::Blanked(std::string_view text) const {
  std::string blanked(text);
  for (const std::string& form : forms_) {
    for (std::size_t at = 0; (at = blanked.find(form, at)) != std::string::npos; at += kBlank.size()) {
      blanked.replace(at, form.size(), kBlank);
    }
  }
  return blanked;
}

}  // namespace mox

#include "mox/host/ini_text.h"

#include <algorithm>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";

std::string_view WithoutLineBreak(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool IsQuoted(std::string_view value) {
  return value.size() >= 2 && value.starts_with('"') && value.ends_with('"');
}

// As the value stands in the file.
std::string Quoted(std::string_view value) {
  const bool plain = TrimBlanks(value).size() == value.size() && !IsQuoted(value);
  return plain ? std::string(value) : '"' + std::string(value) + '"';
}

void RequireHoldable(std::string_view text, const char* what, std::string_view forbidden,
                     const char* forbidden_name) {
  if (text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos) {
    throw Error(std::string(what) + " cannot hold a line break or a NUL");
  }
  if (text.find_first_of(forbidden) != std::string_view::npos) {
    throw Error(std::string(what) + " \"" + std::string(text) + "\" cannot hold " + forbidden_name);
  }
}

void RequireTrimmed(std::string_view name, const char* what) {
  if (TrimBlanks(name).size() == name.size()) return;
  throw Error(std::string(what) + " \"" + std::string(name) + "\" cannot begin or end with a blank");
}

void RequireSection(std::string_view section) {
  RequireHoldable(section, "a section's name", "]", "']'");
  RequireTrimmed(section, "a section's name");
}

void RequireKey(std::string_view key) {
  RequireHoldable(key, "a key", "=", "'='");
  RequireTrimmed(key, "a key");
  if (key.empty()) throw Error("a key cannot be empty");
  if (key.find_first_of(";#[") == 0) {
    throw Error("a key \"" + std::string(key) + "\" cannot begin with ';', '#' or '['");
  }
}

}  // namespace

IniText::IniText(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    throw Error("the text is UTF-16; only UTF-8 and Windows-1250 are read");
  }
  if (bytes.find('\0') != std::string_view::npos) throw Error("holds no settings: there is a NUL in it");
  byte_order_mark_ = bytes.starts_with(kByteOrderMark);
  if (byte_order_mark_) bytes.remove_prefix(kByteOrderMark.size());
  windows_1250_ = !byte_order_mark_ && !IsValidUtf8(bytes);
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
    lines_.push_back(ParseLine(bytes.substr(0, size)));
    bytes.remove_prefix(size);
  }
  if (!lines_.empty() && lines_.front().bytes.ends_with("\r\n")) line_break_ = "\r\n";
}

std::string IniText::Bytes() const {
  std::string bytes(byte_order_mark_ ? kByteOrderMark : "");
  for (const Line& line : lines_) bytes += line.bytes;
  return bytes;
}

std::optional<std::string> IniText::Find(std::string_view section, std::string_view key) const {
  const std::size_t at = FindSetting(section, key);
  if (at == lines_.size()) return std::nullopt;
  return lines_[at].value;
}

std::vector<std::pair<std::string, std::string>> IniText::Settings(std::string_view section) const {
  std::vector<std::pair<std::string, std::string>> settings;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (lines_[i].kind != LineKind::kSetting || FindSetting(section, lines_[i].name) != i) continue;
    settings.emplace_back(lines_[i].name, lines_[i].value);
  }
  return settings;
}

void IniText::Set(std::string_view section, std::string_view key, std::string_view value) {
  RequireSection(section);
  RequireKey(key);
  RequireHoldable(value, "a value", "", "");
  const std::string written = Encoded(Quoted(value));
  const std::size_t setting = FindSetting(section, key);
  if (setting < lines_.size()) {
    ChangeSetting(setting, written);
  } else {
    std::size_t header = FindSection(section);
    if (header == lines_.size() && !section.empty()) header = AddSection(Encoded(section));
    AddSetting(section.empty() ? 0 : header + 1, Encoded(key), written);
  }
  // Bytes of Windows-1250 may happen to be valid UTF-8.
  if (IniText(Bytes()).lines_ != lines_) throw Error("the text would not be read back as it was written");
}

IniText::Line IniText::ParseLine(std::string_view bytes) const {
  Line line;
  line.bytes = bytes;
  const std::string_view content = WithoutLineBreak(bytes);
  const std::string_view trimmed = TrimBlanks(content);
  if (trimmed.empty() || trimmed.starts_with(';') || trimmed.starts_with('#')) return line;
  if (trimmed.starts_with('[')) {
    const std::size_t close = trimmed.find(']');
    if (close == std::string_view::npos) return line;
    line.kind = LineKind::kSection;
    line.name = Decoded(TrimBlanks(trimmed.substr(1, close - 1)));
    return line;
  }
  const std::size_t equals = content.find('=');
  if (equals == std::string_view::npos || trimmed.starts_with('=')) return line;
  line.kind = LineKind::kSetting;
  line.name = Decoded(TrimBlanks(content.substr(0, equals)));
  line.value_begin = std::min(content.find_first_not_of(kBlanks, equals + 1), content.size());
  std::string_view value = TrimBlanks(content.substr(line.value_begin));
  if (IsQuoted(value)) value = value.substr(1, value.size() - 2);
  line.value = Decoded(value);
  return line;
}

std::string IniText::Decoded(std::string_view bytes) const {
  return windows_1250_ ? FromWindows1250(bytes) : std::string(bytes);
}

std::string IniText::Encoded(std::string_view text) const {
  if (windows_1250_) return ToWindows1250(text);
  if (!IsValidUtf8(text)) throw ConversionError("\"" + std::string(text) + "\" is not valid UTF-8");
  return std::string(text);
}

std::size_t IniText::FindSection(std::string_view section) const {
  const auto found = std::find_if(lines_.begin(), lines_.end(), [section](const Line& line) {
    return line.kind == LineKind::kSection && SameName(line.name, section);
  });
  return static_cast<std::size_t>(found - lines_.begin());
}

std::size_t IniText::FindSetting(std::string_view section, std::string_view key) const {
  bool inside = section.empty();
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const Line& line = lines_[i];
    if (line.kind == LineKind::kSection) inside = SameName(line.name, section);
    if (inside && line.kind == LineKind::kSetting && SameName(line.name, key)) return i;
  }
  return lines_.size();
}

void IniText::ChangeSetting(std::size_t at, const std::string& value) {
  const std::string& old = lines_[at].bytes;
  const std::string line_break = old.substr(WithoutLineBreak(old).size());
  lines_[at] = ParseLine(old.substr(0, lines_[at].value_begin) + value + line_break);
}

void IniText::AddSetting(std::size_t section_begin, const std::string& key, const std::string& value) {
  const Line* model = nullptr;
  std::size_t at = section_begin;
  for (std::size_t i = at; i < lines_.size() && lines_[i].kind != LineKind::kSection; ++i) {
    if (lines_[i].kind != LineKind::kSetting) continue;
    model = &lines_[i];
    at = i + 1;
  }
  std::string start = key + "=";
  if (model != nullptr) {
    // "  KEY = " with the other key in its place.
    start = model->bytes.substr(0, model->value_begin);
    const std::string_view old_key = TrimBlanks(std::string_view(start).substr(0, start.find('=')));
    start.replace(static_cast<std::size_t>(old_key.data() - start.data()), old_key.size(), key);
  }
  InsertLine(at, start + value + line_break_);
}

std::size_t IniText::AddSection(const std::string& section) {
  if (!lines_.empty() && !TrimBlanks(lines_.back().bytes).empty()) InsertLine(lines_.size(), line_break_);
  InsertLine(lines_.size(), "[" + section + "]" + line_break_);
  return lines_.size() - 1;
}

void IniText::InsertLine(std::size_t at, const std::string& bytes) {
  if (at == lines_.size() && at > 0 && !lines_.back().bytes.ends_with('\n')) {
    lines_.back().bytes += line_break_;
  }
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), ParseLine(bytes));
}

}  // namespace mox

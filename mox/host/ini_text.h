#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mox {

/// The text of an INI file. What a change does not concern stays byte for byte: comments, blank lines, order,
/// indentation, line breaks, encoding, and lines that are none of the following.
///
///   [GENERAL]            a section; what follows the ']' does not count
///   KOL_NUM=2            a setting; blanks around the key and around the value do not count
///   ; text   # text      comments, only at the beginning of a line: ';' and '#' may be part of a value
///   PRINTER="  A4"       a value between two quotation marks loses them, but keeps its blanks
///
/// - Settings before the first section belong to the section with the empty name.
/// - A section that appears several times is one section; of a setting that appears several times the first
///   one counts, in reading and in writing. A line without '=' holds no value and is left alone.
/// - A new setting comes after the last one of the section's first appearance and takes on its indentation, a
///   new section comes at the end of the text.
/// - A value that begins or ends with a blank, or stands between quotation marks, is written between
///   quotation marks, so that it reads back the same.
/// - The encoding is UTF-8 where the text begins with a byte-order mark or is valid UTF-8, and Windows-1250
///   otherwise.
class IniText {
 public:
  IniText() = default;
  /// Raises Error when the text is UTF-16, or no text: where it has a NUL.
  explicit IniText(std::string_view bytes);

  std::string Bytes() const;
  std::optional<std::string> Find(std::string_view section, std::string_view key) const;
  /// All settings of a section, each key once, in their order.
  std::vector<std::pair<std::string, std::string>> Settings(std::string_view section) const;
  /// Raises Error for what an INI file cannot hold: a line break or a NUL, ']' in the name of a section, '='
  /// in a key, a key that looks like a comment or a section, an empty key, names with blanks at their ends;
  /// ConversionError for a text that the encoding cannot hold. The text may be changed in part then.
  void Set(std::string_view section, std::string_view key, std::string_view value);

 private:
  enum class LineKind : std::uint8_t { kOther, kSection, kSetting };

  struct Line {
    std::string bytes;  // as in the file, with the line break
    LineKind kind = LineKind::kOther;
    std::string name;             // of the section or setting
    std::string value;            // of the setting
    std::size_t value_begin = 0;  // in the bytes
    friend bool operator==(const Line&, const Line&) = default;
  };

  Line ParseLine(std::string_view bytes) const;
  std::string Decoded(std::string_view bytes) const;
  std::string Encoded(std::string_view text) const;
  std::size_t FindSection(std::string_view section) const;
  std::size_t FindSetting(std::string_view section, std::string_view key) const;
  void ChangeSetting(std::size_t at, const std::string& value);
  void AddSetting(std::size_t section_begin, const std::string& key, const std::string& value);
  std::size_t AddSection(const std::string& section);
  void InsertLine(std::size_t at, const std::string& bytes);

  bool windows_1250_ = false;
  bool byte_order_mark_ = false;
  std::string line_break_ = "\n";  // of the first line, for new ones
  std::vector<Line> lines_;
};

}  // namespace mox

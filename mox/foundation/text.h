#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mox {

// Texts in memory are UTF-8. A length, a width, a position or a cut counts characters (code points), never
// bytes. A byte that is not part of a valid character counts as one character, so no text is refused.

/// Characters of a text.
std::size_t CountCharacters(std::string_view text);

/// The first `count` characters, as a part of the given text.
std::string_view CutToCharacters(std::string_view text, std::size_t count);

/// A text for comparing without regard to letter case: each letter of the Latin (with all Croatian
/// letters), Greek and Cyrillic scripts becomes its small letter; everything else stays.
std::string FoldCase(std::string_view text);

/// The same texts without regard to letter case, without building either folded text.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

/// The same names without regard to the case of the letters A to Z; names of fields, sections and keys.
bool SameName(std::string_view a, std::string_view b);

/// A text without blanks, tabs and line breaks at its ends.
std::string_view TrimBlanks(std::string_view text);

/// Appends a character.
void AppendUtf8(std::string& text, char32_t code);

bool IsValidUtf8(std::string_view text);

/// From Windows-1250. The five bytes that the code page leaves undefined become the replacement character.
std::string FromWindows1250(std::string_view bytes);

/// To Windows-1250. Raises ConversionError naming the first character that the code page cannot hold and its
/// position.
std::string ToWindows1250(std::string_view text);

/// The shortest text with a decimal point that reads back to the same number: "0.1", "25", "1e+300".
/// Raises Overflow for a number that is not finite.
std::string ShortestNumber(double value);
/// Appends that, and nothing where it raises.
void AppendNumber(std::string& out, double value);

/// Reads the whole text as a finite number with a decimal point. Raises ConversionError
/// `"abc" is not a number`, Overflow when it is outside the range of a double.
double ParseNumber(std::string_view text);

/// Reads the whole text as an integer. Raises as ParseNumber.
std::int64_t ParseInteger(std::string_view text);

}  // namespace mox

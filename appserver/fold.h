#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mox {

/// Blanks, which do not count at the ends of a text.
inline constexpr std::string_view kFoldedBlanks = " \t\n\r";

/// The capital letters beside A to Z that the folding of a column makes small: those of Croatian and of the
/// neighbouring languages. Databases keep folded texts in their indexes, so a letter more is a new version of
/// the schema.
inline constexpr std::pair<std::string_view, std::string_view> kFoldedLetters[] = {
    {"Č", "č"}, {"Ć", "ć"}, {"Đ", "đ"}, {"Š", "š"}, {"Ž", "ž"}, {"Ä", "ä"}, {"Ö", "ö"},
    {"Ü", "ü"}, {"À", "à"}, {"È", "è"}, {"É", "é"}, {"Ì", "ì"}, {"Ò", "ò"}, {"Ù", "ù"},
    {"Á", "á"}, {"Í", "í"}, {"Ó", "ó"}, {"Ú", "ú"}, {"Ő", "ő"}, {"Ű", "ű"}};

/// A text as `fold(column)` has it.
std::string FoldKey(std::string_view text);
/// The folded texts under which the database may hold a text that equals this one without regard to letter
/// case and to blanks at its ends; usually one. A column's folding makes the capitals of Croatian and its
/// neighbours small; a text with letters of other alphabets may stand as given, in small letters, in
/// capitals, or with capitals at its beginning or at that of each word. None for a text that no database
/// holds.
std::vector<std::string> FoldKeys(std::string_view text);

}  // namespace mox

#pragma once

#include <string_view>
#include <utility>

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

}  // namespace mox

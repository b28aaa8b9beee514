#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mox {

// Well-formedness of identifiers that a user typed. Any text is allowed, and none raises. Digits and letters
// are those of ASCII; a length counts characters.

/// Why a personal or company identification number (OIB, ISO 7064 MOD 11,10) is not valid: a message that is
/// ready to be shown, which quotes the number as it was typed. Empty for a valid number. Blanks count.
std::string CheckOIBvalidity(std::string_view oib);

/// Whether an international bank account number is valid. Blanks anywhere, small letters and the word "IBAN"
/// are allowed; country and length are not looked at.
bool CheckIBANvalidity(std::string_view iban);

/// The remainder modulo 97 of an account number without blanks (ISO 13616): 1 for a valid one; 0 for an empty
/// text and where a character is neither a digit nor a letter. The first "IBAN" in the text is left out.
std::int32_t CalculateDigits(std::string_view iban);

/// The text with each capital letter replaced by its number: 10 for A to 35 for Z.
std::string ChangeAlpha(std::string_view text);

}  // namespace mox

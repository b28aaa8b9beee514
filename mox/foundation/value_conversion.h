#pragma once

#include <cstdint>
#include <string>

#include "mox/foundation/field.h"

namespace mox {

// What a value of one kind is in another. Null is 0, false, the empty text, day 0 of the day count (30
// December 1899). Numbers and dates in texts are those of the current locale. A number becomes an integer by
// cutting its decimals off and a Boolean by being other than 0; a Boolean is 0 or 1 as a number and "True" or
// "False" as a text. A date is its day count as a number, the time of day being the fraction, and a number
// that day and moment, to the millisecond. What cannot be converted (a date and a Boolean, a text that is no
// number) raises ConversionError, what does not fit Overflow.

double ToFloat(const Value& value);
Currency ToCurrency(const Value& value);
std::int64_t ToInteger(const Value& value);
bool ToBoolean(const Value& value);
Date ToDate(const Value& value);
DateTime ToDateTime(const Value& value);
std::string ToText(const Value& value);

/// Whether a value written into a field of that kind makes it null: none, or a blank text where the field
/// holds no text. As a key to look for a blank text is no value of such a field, and raises as above.
bool MakesNull(FieldKind kind, const Value& value);

/// The value as a field of that kind holds it; null stays null. A date is one of the years 1 to 9999.
Value ConvertTo(FieldKind kind, const Value& value);

/// The cell of a value in a field that holds no text.
std::uint64_t PackNumber(FieldKind kind, const Value& value);

}  // namespace mox

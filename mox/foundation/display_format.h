#pragma once

#include <string>
#include <string_view>

#include "mox/foundation/app.h"
#include "mox/foundation/currency.h"

namespace mox {

/// A number as a display mask shows it, with the separators of the locale.
///
/// A mask has up to three sections separated by ';': for positive (and, without a third, zero) numbers, for
/// negative ones (shown by their magnitude; without this section a minus sign stands before the first one)
/// and for zero. An empty section falls back to the first. In a section '0' is a digit that always stands,
/// '#' one that stands where the number has it, '.' the place of the decimal separator (it shows only when a
/// decimal digit follows), ',' anywhere turns grouping by thousands on, a text between quotes is literal and
/// everything else is literal too; a percent sign does not multiply. A number is rounded to the decimals of
/// the section, half away from zero on its shortest decimal text. A number that rounds to zero uses the
/// section for zero. A mask without a first section shows the number as it is. Raises Overflow for a number
/// that is not finite.
std::string FormatFloat(std::string_view mask, double value, const LocaleSettings& locale);
std::string FormatFloat(std::string_view mask, Currency value, const LocaleSettings& locale);

}  // namespace mox

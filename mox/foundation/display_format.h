#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

/// A display mask that is read once for many numbers, each shown as FormatFloat shows it.
class NumberMask {
 public:
  explicit NumberMask(std::string_view mask);

  std::string Show(double value, const LocaleSettings& locale) const;
  std::string Show(Currency value, const LocaleSettings& locale) const;
  /// Append what Show gives.
  void AppendTo(std::string& out, double value, const LocaleSettings& locale) const;
  void AppendTo(std::string& out, Currency value, const LocaleSettings& locale) const;

  struct Token {
    enum class Kind { kLiteral, kDigit, kPoint };
    Kind kind = Kind::kLiteral;
    std::string text;  // of a literal
    bool operator==(const Token&) const = default;
  };
  struct Section {
    std::vector<Token> tokens;
    bool grouped = false;
    int integer_places = 0;  // digit places before the decimal separator
    int least_integers = 0;  // from the first '0' on
    int decimals = 0;        // digit places after the decimal separator
    int least_decimals = 0;  // up to the last '0'
    bool operator==(const Section&) const = default;
  };

 private:
  bool AppendPlainly(std::string& out, std::int64_t scaled, const LocaleSettings& locale) const;

  std::array<Section, 3> sections_;  // for positive, negative and zero
  bool plain_ = false;               // digits and a point alone, behind a minus sign for negative numbers
};

}  // namespace mox

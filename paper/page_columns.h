#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace mox {

/// How a column of lines is shown. Amounts are summed below the lines and carried over to the next page;
/// pictures are shown on sheets alone.
enum class PageValue : std::uint8_t {
  kNumber,
  kText,
  kPicture,
  kQuantity,
  kPrice,
  kAmount,
  kPercent,
  kDiscounts
};

/// A column that the lines of a page can have, by the name of the field that it shows. Three of them are not
/// fields: "rb" counts the lines, "rabat" shows the percents of all discounts of a line, "slika" the picture
/// of its article.
struct PageColumn {
  std::string_view name;
  std::string_view heading;  ///< Croatian; a template may have another one
  PageValue value;
  bool always = true;  ///< left out only where no line has a value; false: also where all are 0 or empty

  bool IsText() const { return value == PageValue::kText; }
  bool IsPicture() const { return value == PageValue::kPicture; }
  bool IsSummed() const { return value == PageValue::kAmount; }
};

std::span<const PageColumn> PageColumns();
/// Null where there is none.
const PageColumn* FindPageColumn(std::string_view name);

}  // namespace mox

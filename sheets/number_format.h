#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sheets/sheet_rows.h"

namespace mox {

/// What a spreadsheet's number format makes of a number, as far as it is more than its look.
struct NumberFormat {
  enum class Shows : std::uint8_t { kNumber, kPercent, kDate, kMoment, kTime };
  Shows shows = Shows::kNumber;
  std::uint8_t least_digits = 0;  ///< zeros are shown in front up to so many digits, "00000"
};

/// Of a format code, `dd.mm.yyyy;@`, `[$-41A]d. mmmm yyyy.`, `0.00%`.
NumberFormat ReadNumberFormat(std::string_view code);
/// Of one of the formats that have no code in the file, by its number.
NumberFormat BuiltInNumberFormat(int id);

/// The first day of a workbook's calendar.
enum class DateEpoch : std::uint8_t { k1900, k1904 };

/// A cell without its text.
struct CellForm {
  CellKind kind = CellKind::kText;
  std::string_view fault = {};
};

/// Adds a stored number as the spreadsheet shows it, but with all of its decimals: 15 digits are what a
/// spreadsheet keeps; a whole number of more has been rounded, which is a fault. A percentage has its sign; a
/// date or moment is that of the calendar, and a fault where it has no such day; a time is a text.
CellForm AppendNumber(std::string_view stored, NumberFormat format, DateEpoch epoch, std::string& text);

/// Adds a date, moment or time of ISO 8601: "2024-03-01", "2024-03-01T09:05:00", "PT09H05M00S".
CellForm AppendIsoMoment(std::string_view stored, std::string& text);

/// What a text is: one that is the name of an error, "#N/A", is that error, also where it was copied as a
/// text.
CellForm FormOfText(std::string_view text);

// Why a cell cannot be taken, and what can be done where that is not plain.
inline constexpr std::string_view kRoundedFault = "was rounded to 15 digits: enter as text";
inline constexpr std::string_view kNoDayFault = "is no day of the calendar";
inline constexpr std::string_view kErrorFault = "is the error of a formula";
inline constexpr std::string_view kNotCalculatedFault = "is not calculated: save the sheet anew";
inline constexpr std::string_view kNoNumberFault = "is no number";

}  // namespace mox

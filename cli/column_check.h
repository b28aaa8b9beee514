#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_set.h"

namespace mox {

// Whether a file has the columns that a calculation uses, found out from its header alone. What is refused
// raises Error that says where and why: `lines.csv:1: field "tbr_stp" not found`.

/// Refuses a set, named after the place of its header, that lacks one of the fields, and one whose column of
/// numbers is declared as something else: such a text would be read as the locale writes numbers.
void RequireColumns(const RecordSet& records, std::span<const std::string_view> names);

/// The same for the fields that `apply` turns out to use when it goes over a record of ones.
void RequireColumnsOf(RecordSet& records, const std::function<void(RecordSet&)>& apply);

/// Whether a vocabulary name usually holds numbers, and the column is declared as something else.
bool HoldsNoNumbers(const FieldDef& field);

/// `tbr_stp: the column holds no numbers but text; its header can say tbr_stp:float`
std::string NoNumbersText(const FieldDef& field);

}  // namespace mox

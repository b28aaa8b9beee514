#pragma once

#include <string>

#include "mox/foundation/record_row.h"

namespace mox {

/// The text of the two-dimensional code (PDF417) of a payment slip HUB-3, from a record of "adsVirmanData":
/// fourteen lines, each ended by a line feed, beginning with HRVHUB30. The amount is in cents, 15 digits.
///
/// Texts are reduced to the letters that the standard allows: Croatian ones and digits, blanks and
/// ,.:-+?'/(). Other letters of Latin lose their marks, "&" becomes "+", and whatever else there is a blank;
/// several blanks become one. What is then longer than its field is no slip: nothing is cut.
///
/// Raises Error that names the field: a text that is too long, an account that is not valid or not Croatian,
/// a model that is not HR and two digits, a purpose that is not four capitals, a reference of other
/// characters than digits and hyphens, a currency other than EUR, an amount that is not above 0, has parts of
/// a cent or more than 15 digits.
std::string PaymentSlipCode(const RecordRow& slip);

}  // namespace mox

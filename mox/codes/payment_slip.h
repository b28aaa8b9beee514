#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_row.h"

namespace mox {

struct SlipCode {
  std::string text;
  std::vector<std::string> left_out;  ///< what is empty in the code because it has no room for it, and why
};

/// The text of the two-dimensional code (PDF417) of a payment slip HUB-3, from a record of "adsVirmanData":
/// fourteen lines, each ended by a line feed, beginning with HRVHUB30. The amount is in cents, 15 digits.
///
/// Texts are reduced to the letters that the standard allows: Croatian ones and digits, blanks and
/// ,.:-+?'/(). Other letters of Latin lose their marks, "&" becomes "+", and whatever else there is a blank;
/// several blanks become one. Nothing is cut: of the payer, whom a slip need not name, what is then longer
/// than its field is left out; any other text makes it no slip.
///
/// Raises Error that names the field: a text that is too long, an account that is not valid or not Croatian,
/// a model that is not HR and two digits, a purpose that is not four capitals, a reference that
/// ReferenceFault finds a fault in, a currency other than EUR, an amount that is not above 0, has parts of a
/// cent or more than 15 digits.
SlipCode PaymentSlipCode(const RecordRow& slip);

/// The reference by which the payment of a document is told from all others, "12-3-2026": its number, that of
/// its kind and the year, so that any bank takes it. The number of a kind never changes. A document of a kind
/// that nobody pays for has its own number and year alone.
std::string PaymentReference(std::string_view kind, std::int64_t number, std::int64_t year);

/// What is wrong with a payment's reference under a model, as a text to go on with behind it; empty where
/// nothing is. HR99 is for payments without a reference; all others need one, of one to three (HR00, HR01) or
/// four parts with hyphens between them, each of 1 to 12 digits. Control digits are the issuer's own matter.
std::string ReferenceFault(std::string_view model, std::string_view reference);

}  // namespace mox

#pragma once

#include <string>
#include <string_view>

namespace mox {

/// The text for the inside of an XML element: "&", "<" and ">" become "&amp;", "&lt;" and "&gt;". Quotation
/// marks and apostrophes stay, so the result does not suit an attribute.
std::string ConvertStringForCreateXML(std::string_view text);

}  // namespace mox

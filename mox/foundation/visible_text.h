#pragma once

#include <string>
#include <string_view>

namespace mox {

/// A text for people, on one line and with nothing in it that a terminal obeys or that turns the direction of
/// reading: line breaks become \n; the other control characters, and bytes that are no UTF-8, \x1B; the
/// control characters U+0080 to U+009F, the line separators and the marks and overrides of direction \u202E.
/// Files of data hold texts as they are.
std::string VisibleText(std::string_view text);

/// The same of a message, whose middle is left out where it is long: its beginning says where, its end what.
std::string VisibleMessage(std::string_view text);

/// The same in quotation marks: a text that somebody gave, in the middle of a message.
std::string InQuotes(std::string_view text);

}  // namespace mox

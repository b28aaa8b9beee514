#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// The arguments in a parameter text, which programs on Windows split by the rule of the C runtime there
/// (https://learn.microsoft.com/cpp/c-language/parsing-c-command-line-arguments):
///
/// Blanks and tabs separate arguments, except between quotation marks, which may stand anywhere in an
/// argument and are no part of it. A doubled quotation mark between quotation marks is one. Backslashes are
/// literal unless a quotation mark follows: then each two of them are one, and a last one makes the mark
/// literal. A quotation that is not closed reaches to the end.
std::vector<std::string> SplitCommandLine(std::string_view text);

/// A file name without the quotation marks that it may stand in.
std::string_view WithoutQuotes(std::string_view file);

}  // namespace mox

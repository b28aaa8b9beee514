#pragma once

#include <QString>
#include <string_view>

namespace mox {

class CompanyAccess;

/// What the library, the database or a server says to programmers, for the people at the window. A message
/// that is not known, and whatever it names, stays as it is.
QString InCroatian(std::string_view message);

/// Why the company did not store what it was sent last: where, as people call it, and the reason.
QString RefusalOf(const CompanyAccess& company);

}  // namespace mox

#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "appserver/company_access.h"

namespace mox {

/// Opens a company wherever it is: "https://HOST/COMPANY" on a server where the user has logged in, or else
/// its database, which is read where it cannot be written; in its journal the writes are those of
/// `LoginName`. Raises Error, DatabaseError.
std::unique_ptr<CompanyAccess> OpenCompany(const std::string& address);

/// The user whose name the operating system knows; empty where it knows none.
std::string LoginName();

/// Whether a text is meant as the address of a server.
bool IsServerAddress(std::string_view text);

}  // namespace mox

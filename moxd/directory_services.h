#pragma once

#include <span>
#include <string_view>

#include "appserver/service_info.h"
#include "appserver/write_outcome.h"
#include "mox/server/param_list.h"
#include "moxd/accounts.h"

namespace mox {

// What the server answers of itself, of the users of a company, beside the services of the company's database
// and in the same form.

/// "Posluzitelj\\Korisnici".
std::span<const ServiceInfo> DirectoryServices();
/// "KorisnikUlogeUpis", "KorisnikPrijaveKraj".
std::span<const ServiceInfo> DirectoryTransactions();

/// The answer of a service. Raises DatabaseUnavailable.
TAstaParamList AnswerOfDirectory(Accounts& accounts, std::string_view company);
/// Carries out a write request whose transaction is one of these; the outcome says why it was refused. Raises
/// DatabaseUnavailable, KeyReused.
WriteOutcome WriteToDirectory(Accounts& accounts, const UserChange& change, const TAstaParamList& request);

}  // namespace mox

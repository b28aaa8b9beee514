#pragma once

#include <string>
#include <string_view>

#include "appserver/service_info.h"
#include "appserver/write_outcome.h"
#include "mox/server/param_list.h"
#include "moxd/accounts.h"

namespace mox {

// What the server answers of itself, of the users of a company, beside the services of the company's database
// and in the same form: DirectoryServices() and DirectoryTransactions() of service_info.h.

/// The answer of a service. Raises DatabaseUnavailable.
TAstaParamList AnswerOfDirectory(Accounts& accounts, std::string_view company);
/// Carries out a write request whose transaction is one of these; the outcome says why it was refused. Raises
/// DatabaseUnavailable, KeyReused.
WriteOutcome WriteToDirectory(Accounts& accounts, const UserChange& change, const TAstaParamList& request);
/// Journals in the company's own database what of its users was changed, or refused, since the last time.
/// Raises DatabaseError; what was not journalled waits for the next time.
void TakeOverChanges(Accounts& accounts, const std::string& company, Database& database);

}  // namespace mox

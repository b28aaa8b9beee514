#pragma once

#include <span>

#include "appserver/database.h"
#include "appserver/named_service.h"
#include "appserver/named_transaction.h"
#include "mox/foundation/secrets.h"

namespace mox {

// Mails of documents, kept from before they are sent.

/// Adds the password of the company's account with its server of mails to what nobody is to see.
void AddMailSecrets(Database& database, Secrets& secrets);

/// "Posta", "PostaRacun".
std::span<const NamedService> MailServices();
/// "PostaRacunUpis", "PostaUpis", "PostaPocetak", "PostaKraj", "PostaRjesenje".
std::span<const NamedTransaction> MailTransactionTable();

}  // namespace mox

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "appserver/database.h"
#include "appserver/named_service.h"
#include "appserver/named_transaction.h"
#include "appserver/write_outcome.h"

namespace mox {

/// A write request as the journal knows it.
struct JournalledWrite {
  std::string user = {};
  std::string transaction = {};
  /// Under which the request can be sent again; empty where it cannot.
  std::string key = {};
  std::string digest = {};  ///< of user, transaction and what is to be stored; of a request with a key
};

/// A key that nobody else has: 128 random bits in digits.
std::string NewWriteKey();

/// Raises Error where the key does not have 1 to 100 printable ASCII characters without blanks.
JournalledWrite MakeJournalledWrite(std::string_view user, std::string_view transaction,
                                    std::string_view inner, std::string_view key);

/// What the request of that key was answered; none where it is new. Raises KeyReused.
std::optional<WriteOutcome> FindEarlierOutcome(Database& database, const JournalledWrite& write);

/// Journals a write, in the transaction that stores it.
void JournalStored(Database& database, const JournalledWrite& write, const SentRecordSets& sent,
                   const std::optional<RecordSet>& stored);
/// Journals a refused write, in a transaction of its own; nothing where it has no key and the same was
/// journalled within the last minute.
void JournalRefused(Database& database, const JournalledWrite& write, const WriteFailure& failure);

/// A change of the company's users that its server made, or refused.
struct ServerChange {
  DateTime at;
  std::string user;  ///< who asked for it
  std::string transaction;
  std::string what;
  std::string refused;  ///< why; empty where it was made
  std::string key;      ///< under which it is journalled once, however often it is taken over
};
/// Takes changes over that the server has kept elsewhere.
void JournalServerChanges(Database& database, const std::vector<ServerChange>& changes);

/// The service that reads the journal.
const NamedService& WriteJournalService();

}  // namespace mox

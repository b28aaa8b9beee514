#include "appserver/company_server.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <thread>
#include <utility>

#include "appserver/commit_lost.h"
#include "appserver/company_transactions.h"
#include "appserver/e_invoice.h"
#include "appserver/mail_outbox.h"
#include "appserver/named_service_table.h"
#include "appserver/named_transaction_table.h"
#include "appserver/retail_sizes.h"
#include "appserver/search_index.h"
#include "appserver/service_info.h"
#include "appserver/write_journal.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/value_conversion.h"
#include "mox/foundation/visible_text.h"

namespace mox {

namespace {

constexpr std::int64_t kMostChoices = 100'000;

std::size_t MostChoices(std::int64_t asked) {
  return static_cast<std::size_t>(std::clamp<std::int64_t>(asked, 0, kMostChoices));
}

}  // namespace

CompanyServer::CompanyServer(Database database, Log log)
    : database_(std::move(database)), log_(std::move(log)), company_(database_) {
  CatchUpSearchIndexes(database_);
}

void CompanyServer::AddSecrets(Secrets& secrets) {
  AddAccountSecrets(database_, secrets);
  AddMailSecrets(database_, secrets);
}

void CompanyServer::Tell(std::string_view line) const {
  if (log_) log_(VisibleText(line));
}

std::unique_ptr<TAstaParamList> CompanyServer::Answer(const TAstaParamList& request,
                                                      std::string_view service) {
  if (const ServiceInfo* const known = FindRow(ReadServices(), service)) {
    RequireRight(requester_, known->right, service);
  }
  if (FindRow(DirectoryServices(), service) != nullptr) throw Error(std::string(kNoUsers));
  const ReadTransaction snapshot(database_);
  if (service == kImportGridService.name) {
    const ServiceInputs inputs(kImportGridService.inputs, request, company_);
    auto answers = std::make_unique<TAstaParamList>();
    const std::string& sql = inputs.As<std::string>("params1");
    answers->FastAdd(kImportGridService.answers,
                     import_catalogue_.Find(database_, sql,
                                            {inputs.As<std::string>("params2"), ToText(inputs["params3"])}));
    return answers;
  }
  if (service == kImportChoicesService.name) {
    const ServiceInputs inputs(kImportChoicesService.inputs, request, company_);
    RecordSet choices = import_catalogue_.Choices(database_, inputs.As<std::string>("params1"),
                                                  MostChoices(inputs.As<std::int64_t>("najvise")));
    choices.SetName(std::string(kImportChoicesService.answers));
    auto answers = std::make_unique<TAstaParamList>();
    answers->FastAdd(kImportChoicesService.answers, std::move(choices));
    return answers;
  }
  if (service == kRetailSizesService.name) {
    auto answers = std::make_unique<TAstaParamList>();
    answers->FastAdd(kRetailSizesService.answers, FindRetailSizes(database_, request));
    return answers;
  }
  const NamedService* const row = FindRow(NamedServiceTable(), service);
  if (row == nullptr) {
    Tell("unknown service " + std::string(service));
    return nullptr;
  }
  return RunNamedService(*row, database_, request, company_);
}

std::unique_ptr<TAstaParamList> CompanyServer::ReportDataService(const TAstaParamList& request,
                                                                 std::string_view service) {
  try {
    return Answer(request, service);
  } catch (const NotAllowed& error) {
    Tell(error.what());
    throw;
  } catch (const DatabaseError& error) {
    Tell("service " + std::string(service) + ": " + error.what());
    throw;
  } catch (const Error& error) {
    const std::string message = "service " + std::string(service) + ": " + error.what();
    Tell(message);
    throw Error(message);
  }
}

// Fills `write` with what is known of the request on the way.
WriteOutcome CompanyServer::CarryOut(const TAstaParamList& request, std::string_view key,
                                     JournalledWrite& write) {
  if (request.Count() != 1) {
    throw Error("a write request has one item, this one has " + std::to_string(request.Count()));
  }
  const TAstaParam& item = request[0];
  write.transaction = item.Name();
  const NamedTransaction* const transaction = FindRow(NamedTransactionTable(), item.Name());
  if (const ServiceInfo* const of_server = FindRow(DirectoryTransactions(), item.Name())) {
    RequireRight(requester_, of_server->right, of_server->name);
    throw Error(std::string(kNoUsers));
  }
  if (transaction == nullptr) throw Error("unknown transaction");
  RequireRight(requester_, transaction->right, transaction->name);
  const std::string_view inner = item.AsTextView();
  // What is only tried is not stored, so it cannot be sent again.
  write = MakeJournalledWrite(requester_.user, item.Name(), inner, rehearsing_ ? std::string_view() : key);
  if (auto earlier = FindEarlierOutcome(database_, write)) return std::move(*earlier);
  const SentRecordSets sent(inner, {company_, requester_});
  WriteOutcome outcome{.committed = true, .transaction = item.Name(), .failure = {}, .stored = {}};
  outcome.stored = RunNamedTransaction(
      *transaction, database_, sent,
      [&](const std::optional<RecordSet>& stored) { JournalStored(database_, write, sent, stored); },
      rehearsing_ ? Ending::kRollBack : Ending::kCommit);
  return outcome;
}

// Whoever looks stores alone for a moment, so that what was lost has ended, whatever became of it.
WriteOutcome CompanyServer::FindLost(const JournalledWrite& write) {
  constexpr std::chrono::milliseconds kLongestPause{1600};
  const std::string lost = database_.location().ToString() + ": the connection to the server was lost; ";
  for (std::chrono::milliseconds pause{100};; pause *= 2) {
    std::optional<WriteOutcome> found;
    try {
      const WriteTransaction alone(database_);
      found = FindEarlierOutcome(database_, write);
    } catch (const DatabaseUnavailable&) {
      if (pause > kLongestPause) {
        throw DatabaseUnavailable(lost + NotKnownUnder(write.key));
      }
      std::this_thread::sleep_for(pause);
      continue;
    }
    if (!found) throw DatabaseUnavailable(lost + std::string(kNothingStored));
    Tell(lost + "the request was stored");
    return std::move(*found);
  }
}

// What a user in front of this computer is refused he sees; what others are refused is kept. Where that
// fails, or the same request was carried out at the same time, nothing is stored by it.
void CompanyServer::Refuse(const JournalledWrite& write, WriteFailure failure, bool is_kept) {
  const auto was_carried_out = [&] {
    auto earlier = FindEarlierOutcome(database_, write);
    if (earlier) last_write_ = std::move(*earlier);
    return earlier.has_value();
  };
  if (was_carried_out()) return;
  Tell("refused " + failure.ToString());
  last_write_.failure = std::move(failure);
  if (rehearsing_ || !is_kept) return;
  try {
    JournalRefused(database_, write, *last_write_.failure);
  } catch (const Error& error) {
    if (!was_carried_out()) Tell(error.what());
  }
}

// Who is refused for want of a right may be given it and send the same again, so it is not kept under its
// key.
void CompanyServer::JournalForbidden(JournalledWrite write, const std::string& why) {
  if (rehearsing_ || !requester_.HasLoggedIn()) return;
  write.key.clear();
  try {
    JournalRefused(database_, write, {write.transaction, "", 0, "", why});
  } catch (const Error& error) {
    Tell(error.what());
  }
}

// What was stored is stored, whether or not it can be read again.
void CompanyServer::ReadCompany() {
  try {
    company_.Reload();
  } catch (const DatabaseUnavailable& error) {
    Tell(error.what());
  }
}

std::string CompanyServer::WriteRefusal() const {
  return last_write_.failure ? last_write_.failure->ToString() : std::string();
}

int CompanyServer::WriteDataService(const TAstaParamList& request) {
  const bool may_get_lost = !database_.location().IsFile() && !rehearsing_;
  return Write(request, may_get_lost ? NewWriteKey() : std::string(), true);
}

int CompanyServer::WriteDataService(const TAstaParamList& request, std::string_view key) {
  return Write(request, key, key.empty());
}

int CompanyServer::Write(const TAstaParamList& request, std::string_view key, bool key_is_own) {
  last_write_ = {};
  if (!unwritable_.empty()) throw DatabaseUnavailable(unwritable_);
  JournalledWrite write{.user = requester_.user};
  WriteFailure failure;
  try {
    try {
      last_write_ = CarryOut(request, key, write);
    } catch (const CommitLost&) {
      if (!key_is_own || write.key.empty()) throw;
      last_write_ = FindLost(write);
    }
    if (FindRow(CompanyTransactionTable(), write.transaction) != nullptr) ReadCompany();
    return last_write_.committed ? 1 : 0;
  } catch (const WriteRefused& refused) {
    failure = refused.failure();
  } catch (const NotAllowed& error) {
    Tell(error.what());
    JournalForbidden(write, error.what());
    throw;
  } catch (const KeyReused& error) {
    Tell(error.what());
    throw;
  } catch (const DatabaseUnavailable& error) {
    Tell(error.what());
    throw;
  } catch (const std::bad_alloc&) {
    throw;  // says nothing of the request, which may be sent again
  } catch (const std::exception& error) {
    failure.message = error.what();
  }
  failure.transaction = write.transaction;
  Refuse(write, std::move(failure), !key_is_own || requester_.HasLoggedIn());
  return last_write_.committed ? 1 : 0;
}

}  // namespace mox

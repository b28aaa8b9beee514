#include "appserver/company_server.h"

#include <algorithm>
#include <utility>

#include "appserver/company_transactions.h"
#include "appserver/e_invoice.h"
#include "appserver/named_service_table.h"
#include "appserver/named_transaction_table.h"
#include "appserver/retail_sizes.h"
#include "appserver/search_index.h"
#include "appserver/service_info.h"
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

void CompanyServer::AddSecrets(Secrets& secrets) { AddAccountSecrets(database_, secrets); }

void CompanyServer::Tell(std::string_view line) const {
  if (log_) log_(VisibleText(line));
}

std::unique_ptr<TAstaParamList> CompanyServer::Answer(const TAstaParamList& request,
                                                      std::string_view service) {
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
  } catch (const DatabaseError& error) {
    Tell("service " + std::string(service) + ": " + error.what());
    throw;
  } catch (const Error& error) {
    const std::string message = "service " + std::string(service) + ": " + error.what();
    Tell(message);
    throw Error(message);
  }
}

// Fills `failure` with what is known of the request on the way.
std::optional<RecordSet> CompanyServer::Store(const TAstaParamList& request, WriteFailure& failure) {
  if (request.Count() != 1) {
    throw Error("a write request has one item, this one has " + std::to_string(request.Count()));
  }
  const TAstaParam& item = request[0];
  failure.transaction = item.Name();
  const NamedTransaction* const transaction = FindRow(NamedTransactionTable(), item.Name());
  if (transaction == nullptr) throw Error("unknown transaction");
  auto stored = RunNamedTransaction(*transaction, database_, item.AsTextView(), company_,
                                    rehearsing_ ? Ending::kRollBack : Ending::kCommit);
  if (FindRow(CompanyTransactionTable(), item.Name()) != nullptr) company_.Reload();
  return stored;
}

std::string CompanyServer::WriteRefusal() const {
  return last_write_.failure ? last_write_.failure->ToString() : std::string();
}

int CompanyServer::WriteDataService(const TAstaParamList& request) {
  last_write_ = {};
  if (!unwritable_.empty()) throw DatabaseUnavailable(unwritable_);
  WriteFailure failure;
  try {
    last_write_.stored = Store(request, failure);
    last_write_.committed = true;
    last_write_.transaction = std::move(failure.transaction);
    return 1;
  } catch (const WriteRefused& refused) {
    failure = {std::move(failure.transaction), refused.failure().record_set, refused.failure().row,
               refused.failure().field,        refused.failure().message,    refused.failure().others};
  } catch (const DatabaseUnavailable& error) {
    Tell(error.what());
    throw;
  } catch (const std::exception& error) {
    failure.message = error.what();
  }
  Tell("refused " + failure.ToString());
  last_write_.failure = std::move(failure);
  return 0;
}

}  // namespace mox

#include "appserver/company_server.h"

#include <algorithm>
#include <utility>

#include "appserver/named_transaction.h"
#include "appserver/read_service.h"
#include "appserver/retail_sizes.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

constexpr ServiceInfo kImportGrid = {"ImportGrid", "params1:text,params2:text", "adsList",
                                     "which values stand in the database, for look-ups in the catalogue"};
constexpr ServiceInfo kRetailSizes = {"Lunari\\KalkulirajVelicine", "params1:text,params2:text", "adsList",
                                      "the Croatian sizes of retail articles, which params2 has as records"};

// Names joined for people, with a '?' after each that may be left out, kept for the life of the program.
template <typename Items, typename MayBeLeftOut>
std::string_view JoinNames(const Items& items, const MayBeLeftOut& may_be_left_out) {
  std::string joined;
  for (const auto& item : items) {
    joined.append(joined.empty() ? "" : ",").append(item.name).append(may_be_left_out(item) ? "?" : "");
  }
  static std::vector<std::unique_ptr<const std::string>> kept;
  return *kept.emplace_back(std::make_unique<const std::string>(std::move(joined)));
}

std::vector<ServiceInfo> DescribeReadServices() {
  std::vector<ServiceInfo> services;
  for (const ReadService& service : ReadServiceTable()) {
    services.push_back({service.name, service.inputs,
                        JoinNames(service.answers, [](const ServiceAnswer&) { return false; }),
                        service.summary});
  }
  services.push_back(kImportGrid);
  services.push_back(kRetailSizes);
  return services;
}

std::vector<ServiceInfo> DescribeTransactions() {
  std::vector<ServiceInfo> transactions;
  const auto is_optional = [](const RecordSetRule& rule) { return !rule.required; };
  for (const NamedTransaction& row : NamedTransactionTable()) {
    transactions.push_back({row.name, JoinNames(row.record_sets, is_optional), "", row.summary});
  }
  return transactions;
}

}  // namespace

std::span<const ServiceInfo> ReadServices() {
  static const std::vector<ServiceInfo> services = DescribeReadServices();
  return services;
}

std::span<const ServiceInfo> NamedTransactions() {
  static const std::vector<ServiceInfo> transactions = DescribeTransactions();
  return transactions;
}

std::string WriteFailure::ToString() const {
  std::string text = transaction;
  const auto add = [&text](std::string_view part) { text.append(text.empty() ? "" : ": ").append(part); };
  if (!record_set.empty()) add(record_set);
  if (row > 0) add("row " + std::to_string(row));
  if (!field.empty()) add(field);
  add(message);
  return VisibleText(text);
}

CompanyServer::CompanyServer(Database database, Log log)
    : database_(std::move(database)), log_(std::move(log)), company_(database_) {}

void CompanyServer::AddSecrets(Secrets& secrets) {
  RecordSet keys = database_.Query("racuni", ParseColumns("kljuc"),
                                   "SELECT eracun_key FROM integracije_racuni WHERE eracun_key IS NOT NULL");
  for (; !keys.Eof(); keys.Next()) secrets.Add(keys.AsTextView(0));
}

void CompanyServer::Tell(std::string_view line) const {
  if (log_) log_(VisibleText(line));
}

std::unique_ptr<TAstaParamList> CompanyServer::Answer(const TAstaParamList& request,
                                                      std::string_view service) {
  const ReadTransaction snapshot(database_);
  if (service == kImportGrid.name) {
    const ServiceInputs inputs(kImportGrid.inputs, request, company_);
    auto answers = std::make_unique<TAstaParamList>();
    answers->FastAdd(kImportGrid.answers, import_catalogue_.Find(database_, inputs.As<std::string>("params1"),
                                                                 inputs.As<std::string>("params2")));
    return answers;
  }
  if (service == kRetailSizes.name) {
    auto answers = std::make_unique<TAstaParamList>();
    answers->FastAdd(kRetailSizes.answers, FindRetailSizes(database_, request));
    return answers;
  }
  const ReadService* const row = FindRow(ReadServiceTable(), service);
  if (row == nullptr) {
    Tell("unknown service " + std::string(service));
    return nullptr;
  }
  return RunReadService(*row, database_, request, company_);
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
  auto stored = RunNamedTransaction(*transaction, database_, item.AsTextView(),
                                    rehearsing_ ? Ending::kRollBack : Ending::kCommit);
  if (FindRow(CompanyTransactionTable(), item.Name()) != nullptr) company_.Reload();
  return stored;
}

std::string CompanyServer::WriteRefusal() const {
  return last_write_.failure ? last_write_.failure->ToString() : std::string();
}

int CompanyServer::WriteDataService(const TAstaParamList& request) {
  last_write_ = {};
  WriteFailure failure;
  try {
    last_write_.stored = Store(request, failure);
    last_write_.committed = true;
    return 1;
  } catch (const WriteRefused& refused) {
    failure = {std::move(failure.transaction), refused.failure().record_set, refused.failure().row,
               refused.failure().field, refused.failure().message};
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

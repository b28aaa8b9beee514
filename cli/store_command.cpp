#include <memory>

#include "appserver/named_transaction.h"
#include "appserver/named_transaction_table.h"
#include "appserver/service_info.h"
#include "cli/command.h"
#include "cli/document_store.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_page.h"
#include "cli/service_request.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

struct StoreArguments {
  std::string transaction;
  std::vector<std::string> files;
  bool list = false;
  bool markdown = false;
};

// Of the record sets whose other columns a transaction leaves out.
void WarnOfColumns(const std::string& transaction, const std::vector<RecordSetFile>& files,
                   std::ostream& err) {
  for (const NamedTransaction& candidate : NamedTransactionTable()) {
    if (candidate.name != transaction) continue;
    for (const RecordSetFile& file : files) {
      const RecordSetRule* const rule = candidate.FindRule(file.records.Name());
      if (rule == nullptr || rule->table.unknown_fields != UnknownFields::kIgnore) continue;
      LostInStore lost;
      CollectLost(file.records, TableColumns(rule->table.table), lost);
      WarnOfLost(lost, file.records.Name(), err);
    }
  }
}

// The account of a record set is shown in no message.
void KeepSecret(const RecordSet& records, Secrets& secrets) {
  if (records.IsEmpty()) return;
  for (const char* secret : {"EracunKey", "lozinka"}) {
    if (const auto field = records.FindFieldIndex(secret)) secrets.Add(records.AsText(*field));
  }
  for (const char* address : {"EracunB2CUrl", "url"}) {
    if (const auto field = records.FindFieldIndex(address)) secrets.AddThoseOf(records.AsText(*field));
  }
}

void RunStore(const StoreArguments& arguments, Session& session) {
  if (arguments.markdown && arguments.transaction.empty()) return AppendTransactionPage(session.out);
  if (arguments.list || arguments.transaction.empty())
    return ListServices(NamedTransactions(), "FILE", session.out);
  const ServiceInfo& transaction = FindService("transaction", NamedTransactions(), arguments.transaction);
  if (arguments.markdown || (arguments.files.empty() && session.server == nullptr)) {
    return AppendTransaction(transaction, session.out);
  }
  const std::vector<NamedValue> named = ValuesFor(transaction, arguments.files);
  const CompanyAccess& server = ServerOf(session);

  std::vector<RecordSetFile> files;
  for (const auto& [name, path] : named) {
    // The columns of a file that say no kind have those of the transaction's record set.
    files.push_back(
        ReadRecordSet(ReadFileText(path, session.in), {.known = TransactionFields(transaction.name, name)}));
    files.back().records.SetName(name);
    KeepSecret(files.back().records, session.secrets);
  }
  std::vector<RecordSet*> record_sets;
  record_sets.reserve(files.size());
  for (RecordSetFile& file : files) record_sets.push_back(&file.records);
  RequireStored(server, ExecuteTransaction(arguments.transaction, record_sets));
  session.stored = arguments.transaction + " was stored";
  WarnOfColumns(arguments.transaction, files, session.err);
  if (server.LastWrite().stored) {
    RecordSet stored;
    stored.CleanClone(*server.LastWrite().stored);
    WriteRecordSet(stored, session.out);
  }
}

void Declare(Options& options) {
  auto arguments = std::make_shared<StoreArguments>();
  options.Argument("TRANSACTION", arguments->transaction,
                   "the transaction, letter for letter; without one, all are\nlisted with their record sets; "
                   "without files and --db, it is described");
  options.Arguments("NAME=FILE", arguments->files,
                    "its record sets: component name and record-set file\n(- is standard input)");
  options.Flag("--list", arguments->list, "list the transactions with their record sets");
  options.Flag("--markdown", arguments->markdown,
               "describe all transactions, or TRANSACTION, with their fields");
  options.Run([arguments](Session& session) { RunStore(*arguments, session); });
}

}  // namespace

const Command kStoreCommand = {"store", "[TRANSACTION [NAME=FILE...]] --db DB",
                               "Store record sets in the company database with a named transaction.",
                               R"(Example:
  mox store UpisParentFieldForVD FTransTempVezeDataSet=links.csv --db firma.db

All or nothing is stored. The keys and numbers that the server gave are printed.)",
                               Declare};

}  // namespace mox

#include "appserver/import_journal.h"
#include "appserver/named_transaction.h"

namespace mox {

std::span<const NamedTransaction> NamedTransactionTable() {
  static const auto all = [] {
    std::vector<NamedTransaction> table;
    for (const auto& some : {DocumentTransactionTable(), CompanyTransactionTable(),
                             CodebookTransactionTable(), RateTransactionTable(), MoneyTransactionTable(),
                             EInvoiceTransactionTable(), ImportTransactionTable()}) {
      table.insert(table.end(), some.begin(), some.end());
    }
    table.push_back(UndoImportTransaction());
    return table;
  }();
  return all;
}

}  // namespace mox

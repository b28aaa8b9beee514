#include "appserver/named_transaction_table.h"

#include "appserver/article_pictures.h"
#include "appserver/codebook_transactions.h"
#include "appserver/company_transactions.h"
#include "appserver/document_transactions.h"
#include "appserver/e_invoice.h"
#include "appserver/import_transactions.h"
#include "appserver/import_undo.h"
#include "appserver/mail_outbox.h"
#include "appserver/money_transactions.h"
#include "appserver/print_services.h"
#include "appserver/rate_transactions.h"

namespace mox {

std::span<const NamedTransaction> NamedTransactionTable() {
  static const auto all = [] {
    std::vector<NamedTransaction> table;
    for (const auto& some : {DocumentTransactionTable(), CompanyTransactionTable(),
                             CodebookTransactionTable(), RateTransactionTable(), MoneyTransactionTable(),
                             EInvoiceTransactionTable(), FiscalTransactionTable(), MailTransactionTable(),
                             ArticlePictureTransactionTable(), ImportTransactionTable()}) {
      table.insert(table.end(), some.begin(), some.end());
    }
    table.push_back(UndoImportTransaction());
    return table;
  }();
  return all;
}

}  // namespace mox

#include "desktop/storing_page.h"

#include "desktop/croatian.h"
#include "desktop/host.h"
#include "desktop/storing.h"
#include "mox/foundation/error.h"
#include "mox/server/transactions.h"

namespace mox {

StoringPage::StoringPage(DesktopHost& host, const QString& title, RecordSet empty,
                         std::initializer_list<std::string_view> read_only)
    : RecordPage(host, title, std::move(empty)) {
  Model().SetOnRefused([this](const QString& reason) { SetNote(reason); });
  for (const std::string_view field : read_only) Model().SetFieldEditable(field, false);
}

void StoringPage::Begin() {
  Reload();
  Rows().SetOnBeforePost([this](RecordSet& row) { StoreWhatIsShown([&] { StoreRow(row); }); });
}

void StoringPage::Send(std::string_view transaction, RecordSet& records) {
  if (!ExecuteTransaction(transaction, {&records})) throw Error(FromQt(RefusalOf(Host().Server())));
}

}  // namespace mox

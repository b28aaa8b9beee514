#include "desktop/import_journal_page.h"

#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "mox/entry/line_screen.h"
#include "mox/import/import_history.h"
#include "mox/server/read_services.h"

namespace mox {

ImportJournalPage::ImportJournalPage(DesktopHost& host)
    : RecordPage(QStringLiteral("Dnevnik uvoza"), RecordSet("adsUvoz")), host_(host) {
  Model().SetEditable(false);
  View().SetAppending(false);
  View().setSelectionBehavior(QAbstractItemView::SelectRows);
  AddButton(QStringLiteral("Poništi uvoz"), [this] { TakeBack(); });
  Reload();
}

void ImportJournalPage::Reload() {
  auto answer = CreateDBDataSet("DnevnikUvoza", "adsUvoz", {});
  if (!answer) throw Error("Poslužitelj ne vodi dnevnik uvoza.");
  PrepareLinesForScreen(*answer);
  Show(std::move(*answer),
       {"id", "vrijeme", "korisnik", "profil", "datoteka", "redaka", "tablica", "ponisteno", "ponistio"});
}

void ImportJournalPage::TakeBack() {
  const Value id = Current("id");
  if (!std::holds_alternative<std::int64_t>(id)) throw Error("Nijedan uvoz nije odabran.");
  if (!Ask("Poništavanje uvoza", "Obrisati sve retke odabranog uvoza?")) return;
  if (!TakeImportBack(std::get<std::int64_t>(id), FromQt(qEnvironmentVariable("USER")))) {
    throw Error(host_.Server().WriteRefusal());
  }
  Reload();
  SetNote(QStringLiteral("Uvoz je poništen."));
}

}  // namespace mox

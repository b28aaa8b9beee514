#include "desktop/import_journal_page.h"

#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "desktop/import_titles.h"
#include "desktop/status_window.h"
#include "mox/entry/line_screen.h"
#include "mox/import/import_history.h"
#include "mox/server/read_services.h"

namespace mox {

ImportJournalPage::ImportJournalPage(DesktopHost& host)
    : RecordPage(host, QStringLiteral("Dnevnik uvoza"), RecordSet("adsUvoz")) {
  OnlyShow();
  AddButton(QStringLiteral("Poništi uvoz"), [this] { TakeBack(); });
  Reload();
}

void ImportJournalPage::Read() {
  auto answer = CreateDBDataSet("DnevnikUvoza", "adsUvoz", {});
  if (!answer) throw Error("Poslužitelj ne vodi dnevnik uvoza.");
  PrepareLinesForScreen(*answer);
  const std::size_t profile = *answer->FindFieldIndex("profil");
  for (answer->First(); !answer->Eof(); answer->Next()) {
    answer->Edit();
    answer->SetText(profile, FromQt(ImportTitle(answer->AsText(profile))));
    answer->Post();
  }
  Show(std::move(*answer),
       {"id", "vrijeme", "korisnik", "profil", "datoteka", "redaka", "ponisteno", "ponistio"});
}

void ImportJournalPage::TakeBack() {
  const Value id = Current("id");
  if (!std::holds_alternative<std::int64_t>(id)) throw Error("Nijedan uvoz nije odabran.");
  if (!AskToLose("Poništavanje uvoza", "Obrisati sve retke odabranog uvoza?")) return;
  {
    const LongRun run(Host(), QStringLiteral("Poništavanje uvoza"));
    if (!TakeImportBack(std::get<std::int64_t>(id), FromQt(qEnvironmentVariable("USER")))) {
      throw Error(FromQt(RefusalOf(Host().Server())));
    }
  }
  ReadAgain(QStringLiteral("Uvoz je poništen."));
}

}  // namespace mox

#include "desktop/users_page.h"

#include "appserver/rights.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

constexpr const char* kKnown = "verzija";  // the roles as they were read
constexpr std::string_view kNobody = "-";  // of somebody without a role

struct Heading {
  const char* field;
  const char* title;
};
constexpr Heading kHeadings[] = {{"ime", "Korisnik"},
                                 {"oznaka", "Oznaka u dokumentima"},
                                 {"citanje", "Čitanje"},
                                 {"unos", "Unos dokumenata"},
                                 {"maticni", "Matični podaci"},
                                 {"uvoz", "Uvoz"},
                                 {"administracija", "Administracija"},
                                 {"prijava", "Prijava u tijeku"},
                                 {"iskljucen", "Isključen"}};

// A user as the transactions take him: without a role.
RecordSet MakeUser(std::string_view name, std::string_view known) {
  RecordSet user("adsKorisnik");
  user.DefineField("ime", FieldKind::kText);
  user.DefineField(kKnown, FieldKind::kText);
  for (const Role& role : Roles()) user.DefineField(role.code, FieldKind::kBoolean);
  user.Open();
  user.AppendRecord({std::string(name), std::string(known)});
  return user;
}

}  // namespace

UsersPage::UsersPage(DesktopHost& host)
    : StoringPage(host, QStringLiteral("Korisnici i ovlasti"), RecordSet("adsKorisnici"),
                  {"ime", "oznaka", "prijava", "iskljucen"}) {
  View().SetAppending(false);
  AddButton(QStringLiteral("Dodaj korisnika…"), [this] { Add(); });
  AddButton(QStringLiteral("Prekini prijave"), [this] { EndLogIns(); });
  Begin();
}

void UsersPage::Read() {
  auto answer = CreateDBDataSet("Posluzitelj\\Korisnici", "adsKorisnici", {});
  if (!answer) throw Error("Korisnike i ovlasti ima samo tvrtka na poslužitelju.");
  std::vector<std::string_view> fields;
  for (const auto& [field, title] : kHeadings) {
    answer->SetDisplayName(*answer->FindFieldIndex(field), title);
    fields.emplace_back(field);
  }
  Show(std::move(*answer), fields);
  SetNote(QStringLiteral("Ovlasti se pohranjuju kad napustite redak korisnika."));
}

void UsersPage::StoreRow(RecordSet& row) {
  const auto text = [&row](const char* field) { return row.FieldByName(field).AsText(); };
  RecordSet user = MakeUser(text("ime"), text(kKnown));
  user.Edit();
  for (const Role& role : Roles()) {
    user.FieldByName(role.code).SetBoolean(row.FieldByName(role.code).AsBoolean());
  }
  user.Post();
  Send("KorisnikUlogeUpis", user);
  row.SetNull(*row.FindFieldIndex(kKnown));
  ReadSoon();
}

void UsersPage::Add() {
  if (!View().TakeRow()) return;
  const auto typed = App().Dialogs().InputBox("Novi korisnik tvrtke", "Ime kojim se prijavljuje:", "");
  const std::string name = FromQt(ToQt(typed.value_or("")).trimmed());
  if (name.empty()) return;
  RecordSet user = MakeUser(name, kNobody);
  user.Edit();
  user.FieldByName(Roles().front().code).SetBoolean(true);
  user.Post();
  Send("KorisnikUlogeUpis", user);
  ReadAgain(QStringLiteral("Korisnik %1 je dodan.").arg(ToQt(name)));
}

void UsersPage::EndLogIns() {
  const Value name = Current("ime");
  if (!std::holds_alternative<std::string>(name)) throw Error("Nijedan korisnik nije odabran.");
  const std::string who = std::get<std::string>(name);
  if (!AskToLose("Prekid prijava", who + " će se morati ponovo prijaviti. Prekinuti?")) return;
  RecordSet user = MakeUser(who, {});
  Send("KorisnikPrijaveKraj", user);
  ReadAgain(QStringLiteral("Prijave korisnika %1 prekinute su.").arg(ToQt(who)));
}

}  // namespace mox

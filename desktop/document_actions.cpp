#include "desktop/document_actions.h"

#include "desktop/action_button.h"
#include "desktop/code_dialog.h"
#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "desktop/mail_page.h"
#include "desktop/print_dialog.h"
#include "desktop/status_window.h"
#include "desktop/storing.h"
#include "mox/documents/storno.h"
#include "mox/entry/document_entry.h"
#include "mox/foundation/clock.h"
#include "mox/integrations/consumer_e_invoice.h"
#include "mox/server/invoice_files.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

void RequireStored(DesktopHost& host, bool stored) {
  if (!stored) throw Error(FromQt(RefusalOf(host.Server())));
}

void ShowChanged(const DocumentActions& actions, const char16_t* done) {
  ReadAfter(QString::fromUtf16(done), actions.changed, actions.note);
}

void Cancel(const DocumentActions& actions) {
  const std::int64_t id = actions.document();
  if (!Ask("Storno", "Stornirati odabrani dokument? Nastaje njegov protudokument.")) return;
  const auto day = App().Dialogs().InputDate("Storno", "Datum storna:", Today());
  if (!day) return;
  RecordSet header = MakeStornoHeader(id);
  header.Edit();
  header.FieldByName("datum").SetDate(*day);
  header.Post();
  AllowNegativeStock(header);
  RequireStored(actions.host, StoreStorno(header));
  ShowChanged(actions, u"Dokument je storniran.");
}

void Pay(const DocumentActions& actions) {
  const std::int64_t id = actions.document();
  const auto listed = ListedDocument(id);
  const Currency open =
      listed ? listed->RowAt(0).AsCurrency(*listed->FindFieldIndex("otvoreno")) : Currency();
  AppDialogs& dialogs = App().Dialogs();
  const auto amount = dialogs.InputNumber("Uplata", "Plaćeni iznos:", open.ToDouble());
  if (!amount) return;
  const auto day = dialogs.InputDate("Uplata", "Datum uplate:", Today());
  if (!day) return;
  RequireStored(actions.host, StorePayment(id, Currency::FromReal(*amount), *day));
  ShowChanged(actions, u"Uplata je upisana.");
}

void Print(const DocumentActions& actions) { PrintDialog(actions.document(), actions.page).exec(); }

void ShowCodes(const DocumentActions& actions) { CodeDialog(actions.document(), actions.page).exec(); }

// Of the e-invoice that a document has; empty where it has none.
QString ElectronicId(std::int64_t id) {
  const auto link = CreateDBDataSet("ERacunVeza", "adsERacun", {{"id", id}});
  if (!link || link->IsEmpty()) return {};
  return ToQt(link->RowAt(0).AsText(*link->FindFieldIndex("electronicId")));
}

void SendEInvoice(const DocumentActions& actions) {
  const std::int64_t id = actions.document();
  RemoveLeftInvoices(App().Platform().StateFolder());
  const QString before = ElectronicId(id);
  try {
    const LongRun run(actions.host, QStringLiteral("Slanje eRačuna"));
    eRacunB2CSendBill(id);
  } catch (const Abort&) {  // what became of it is told below
  }
  const QString sent = ElectronicId(id);
  if (!sent.isEmpty()) {
    return actions.note((before.isEmpty() ? QStringLiteral("eRačun je poslan: %1")
                                          : QStringLiteral("eRačun je već poslan: %1"))
                            .arg(sent));
  }
  const auto attempt = CreateDBDataSet("ERacunPokusaj", "adsPokusaj", {{"id", id}});
  if (attempt && !attempt->IsEmpty()) {
    throw Error(
        "eRačun je možda poslan, a odgovor nije stigao. Provjerite kod posrednika prije ponovnog slanja.");
  }
  actions.note(QStringLiteral("eRačun nije poslan."));
}

void SendMail(const DocumentActions& actions) {
  const QString told = MailDocument(actions.host, actions.document());
  if (!told.isEmpty()) actions.note(told);
}

}  // namespace

void AddDocumentButtons(QBoxLayout& bar, const DocumentActions& actions) {
  const auto add = [&](const char16_t* text, Qt::Key key, void (*action)(const DocumentActions&)) {
    AddActionButton(
        actions.page, bar, QString::fromUtf16(text), [actions, action] { action(actions); }, Qt::CTRL | key);
  };
  add(u"Ispis", Qt::Key_P, Print);
  add(u"Uplata", Qt::Key_U, Pay);
  add(u"Storno", Qt::Key_T, Cancel);
  add(u"Pošta", Qt::Key_M, SendMail);
  add(u"eRačun", Qt::Key_E, SendEInvoice);
  add(u"Kodovi", Qt::Key_K, ShowCodes);
}

std::optional<RecordSet> ListedDocument(std::int64_t id) {
  const auto header = CreateDBDataSet("Dokument", "Zaglavlje", {{"id", id}});
  if (!header || header->RowCount() == 0) return std::nullopt;
  const RecordRow row = header->RowAt(0);
  const std::string number = row.AsText(row.IndexOf("broj")) + "/" + row.AsText(row.IndexOf("godina"));
  const auto listed = CreateDBDataSet(
      "Dokumenti", "adsList", {{"vrsta", Value(row.AsText(row.IndexOf("vrsta")))}, {"trazi", Value(number)}});
  const auto found = listed ? listed->FindRow("id", {{Value(id)}}) : std::nullopt;
  if (!found) return std::nullopt;
  RecordSet alone("adsList");
  for (std::size_t i = 0; i < listed->FieldCount(); ++i) alone.DefineField(listed->Definition(i));
  alone.Open();
  std::vector<Value> values;
  for (std::size_t i = 0; i < listed->FieldCount(); ++i) {
    values.push_back(listed->RowAt(*found).AsVariant(i));
  }
  alone.AppendRecord(values);
  return alone;
}

}  // namespace mox

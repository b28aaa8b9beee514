#include "desktop/company_page.h"

#include "desktop/host.h"
#include "desktop/qt_text.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

constexpr std::string_view kTrue = "true";
constexpr std::string_view kFalse = "false";
constexpr std::string_view kYes = "da";
constexpr std::string_view kNo = "ne";

}  // namespace

CompanyPage::CompanyPage(DesktopHost& host)
    : StoringPage(host, QStringLiteral("Podaci tvrtke"), RecordSet("Parametri"),
                  {"naziv", "opis", "skupina"}) {
  View().SetAppending(false);
  AddButton(QStringLiteral("Dodaj IBAN…"), [this] { AddIban(); });
  Begin();
}

void CompanyPage::Read() {
  auto answer = CreateDBDataSet("Kat\\ParametriPoduzeca", "adsList", {});
  if (!answer) throw Error("Poslužitelj nema podataka tvrtke.");
  const char* const labels[][2] = {{"vrijednost", "Vrijednost"}, {"opis", "Podatak"}, {"skupina", "Skupina"}};
  for (const auto& [field, label] : labels) answer->SetDisplayName(*answer->FindFieldIndex(field), label);
  ShowTruth(*answer);
  Show(std::move(*answer), {"opis", "vrijednost", "skupina", "naziv"});
  View().setColumnHidden(*Model().ColumnOf("naziv"), true);
  QStringList ibans;
  if (const auto accounts = GetCompanyIbans()) {
    for (const RecordRow& account : accounts->Rows()) {
      ibans.append(ToQt(account.AsText(account.IndexOf("iban"))));
    }
  }
  SetNote(ibans.isEmpty() ? QStringLiteral("Tvrtka nema bankovni račun.")
                          : QStringLiteral("Računi: %1").arg(ibans.join(QStringLiteral(", "))));
}

// What is true or false says yes or no.
void CompanyPage::ShowTruth(RecordSet& parameters) {
  truths_.clear();
  const std::size_t value = *parameters.FindFieldIndex("vrijednost");
  for (parameters.First(); !parameters.Eof(); parameters.Next()) {
    const std::string text = parameters.AsText(value);
    if (text != kTrue && text != kFalse) continue;
    truths_.insert(parameters.FieldByName("naziv").AsText());
    parameters.Edit();
    parameters.SetText(value, text == kTrue ? kYes : kNo);
    parameters.Post();
  }
}

void CompanyPage::AddIban() {
  if (!View().TakeRow()) return;
  const auto iban = App().Dialogs().InputBox("Bankovni račun", "IBAN:", "");
  if (!iban) return;
  RecordSet sent("Ibani");
  for (const char* const field : {"iban", "banka", "valuta"}) sent.DefineField(field, FieldKind::kText);
  sent.Open();
  sent.AppendRecord({*iban});
  Send("PoduzeceIbanInsert", sent);
  ReadAgain(QStringLiteral("Račun %1 je dodan.").arg(ToQt(*iban)));
}

void CompanyPage::StoreRow(RecordSet& row) {
  RecordSet sent("Parametri");
  sent.DefineField("naziv", FieldKind::kText);
  sent.DefineField("vrijednost", FieldKind::kText);
  sent.Open();
  const std::string name = row.FieldByName("naziv").AsText();
  std::string value = row.FieldByName("vrijednost").AsText();
  if (truths_.contains(name) && EqualsIgnoringCase(value, kYes)) value = kTrue;
  if (truths_.contains(name) && EqualsIgnoringCase(value, kNo)) value = kFalse;
  sent.AppendRecord({name, value});
  Send("ParametriPoduzecaUpdate", sent);
}

}  // namespace mox

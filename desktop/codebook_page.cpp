#include "desktop/codebook_page.h"

#include <algorithm>
#include <iterator>

#include "appserver/codebook.h"
#include "desktop/article_picture_dialog.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "desktop/look_ups.h"
#include "mox/foundation/find_row.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

constexpr std::int64_t kMostRows = 1000;

constexpr ShownName kTitles[] = {
    {"partneri", u"Partneri"},
    {"artikli", u"Artikli"},
    {"usluge", u"Usluge"},
    {"art_dob", u"Artikli dobavljača"},
    {"lunari_artikli", u"Maloprodajni artikli"},
    {"lunari_kupci", u"Maloprodajni kupci"},
    {"mjesta", u"Mjesta"},
    {"drzave", u"Države"},
    {"valuta", u"Valute"},
    {"jm", u"Jedinice mjere"},
    {"tbr", u"Stope PDV-a"},
    {"banke", u"Banke"},
    {"car_tar_br", u"Carinski tarifni brojevi"},
    {"nacini_placanja", u"Načini plaćanja"},
    {"fin_kto", u"Kontni plan"},
    {"fin_vr_k", u"Vrste knjiženja"},
    {"vrsta", u"Grupe artikala"},
    {"podvrsta", u"Podgrupe artikala"},
    {"podgrupa2", u"Druge podgrupe artikala"},
    {"rabatne_grupe", u"Rabatne grupe"},
    {"grupa_usl", u"Grupe usluga"},
    {"komercijalist", u"Komercijalisti"},
    {"radno_mjesto", u"Radna mjesta"},
    {"naknada_place", u"Naknade plaće"},
    {"zaposlenik", u"Zaposlenici"},
    {"rlista", u"Radne liste"},
    {"korisnici", u"Korisnici"},
    {"skladiste", u"Skladišta"},
    {"poslovni_prostor", u"Poslovni prostori"},
    {"virman", u"Virmani"},
    {"dodatni_parametri", u"Dodatni parametri"},
    {"dodatne_mogucnosti", u"Dodatne mogućnosti"},
    {"velicine", u"Veličine"},
    {"osr_sku_dug_imv", u"Amortizacijske skupine"},
    {"osr_gr_dug_imv", u"Grupe konta osnovnih sredstava"},
    {"osr_mje_smj", u"Smještaj osnovnih sredstava"},
    {"osr_osnovna_sredstva", u"Osnovna sredstva"},
    {"apo_smjestajna_jedinica", u"Smještajne jedinice"},
    {"resurs", u"Resursi"},
    {"apo_gruperezervacije", u"Grupe rezervacija"},
    {"apo_putnici", u"Putnici"},
    {"apo_uplate", u"Uplate po ugovorima"},
    {"apo_fizickeosobeatributi", u"Gosti"},
};

}  // namespace

QString CodebookTitle(std::string_view name) { return ShownText(kTitles, name); }

CodebookPage::CodebookPage(DesktopHost& host, std::string name, const QString& title)
    : StoringPage(host, title, RecordSet(name)), name_(std::move(name)) {
  search_.setPlaceholderText(QStringLiteral("Dio bilo kojeg podatka"));
  search_.setAccessibleName(QStringLiteral("Traži"));
  Filters()->addWidget(&search_);
  connect(&search_, &QLineEdit::textChanged, this, [this] { Guarded([this] { Reload(); }); });
  AddButton(QStringLiteral("Novi redak"), [this] { View().AppendRow(); });
  AddButton(QStringLiteral("Obriši"), [this] { DeleteRow(); });
  if (name_ == "artikli") {
    AddButton(
        QStringLiteral("Slika…"), [this] { ShowPicture(); }, Qt::CTRL | Qt::Key_G);
  }
  View().SetOnLookUp([this](std::string_view field) { return LookUpCell(field); });
  View().SetConfirmDelete([this] {
    Guarded([this] { DeleteRow(); });
    return false;  // the server's answer decides
  });
  Begin();
}

void CodebookPage::Read() {
  TAstaParamList request;
  const QString text = search_.text().trimmed();
  if (!text.isEmpty()) request.FastAdd("trazi", Value(FromQt(text)));
  request.FastAdd("najvise", Value(kMostRows));
  auto answer = CreateDBDataSet("Kat\\" + name_, name_, request);
  if (!answer) throw Error(name_ + ": poslužitelj nema takav šifarnik.");
  const auto labels = CreateDBDataSet("Kat\\Sifarnici", "adsStupci", {});
  std::vector<std::string> names;
  for (std::size_t i = 0; i < answer->FieldCount(); ++i) {
    const std::string field = answer->Definition(i).name;
    if (field == kVersionField) continue;
    names.push_back(field);
    const auto row =
        labels ? labels->FindRow("sifarnik;stupac", {{Value(name_), Value(field)}}) : std::nullopt;
    if (!row) continue;
    answer->SetDisplayName(i, labels->RowAt(*row).AsText(*labels->FindFieldIndex("naziv")));
    answer->SetRequired(i, labels->RowAt(*row).AsBoolean(*labels->FindFieldIndex("obavezan")));
  }
  const std::size_t count = answer->RowCount();
  Show(std::move(*answer), {names.begin(), names.end()});
  SetNote(count == kMostRows
              ? QStringLiteral("Prikazano je prvih %1 redaka; suzite traženjem.").arg(kMostRows)
              : QStringLiteral("Redaka: %1").arg(count));
}

RecordSet CodebookPage::CurrentRow() const {
  const RecordSet& rows = const_cast<CodebookPage*>(this)->Rows();
  RecordSet row(name_);
  for (std::size_t i = 0; i < rows.FieldCount(); ++i) row.DefineField(rows.Definition(i));
  row.Open();
  std::vector<Value> values;
  for (std::size_t i = 0; i < rows.FieldCount(); ++i) {
    values.push_back(rows.RowAt(rows.CurrentRow()).AsVariant(i));
  }
  row.AppendRecord(values);
  return row;
}

// A field that names a row of another codebook: all fields that name the same row take what was chosen.
bool CodebookPage::LookUpCell(std::string_view field) {
  if (IsStale()) return false;
  const Codebook* const own = FindCodebook(name_);
  const CodebookField* const asked = own == nullptr ? nullptr : FindRow(own->fields, field);
  if (asked == nullptr || asked->reference.empty()) return false;
  return Guarded([&] {
    const auto columns = CreateDBDataSet("Kat\\Sifarnici", "adsStupci", {});
    const auto row = columns
                         ? columns->FindRow("sifarnik;stupac", {{Value(name_), Value(std::string(field))}})
                         : std::nullopt;
    if (!row) return;
    // What is being typed is looked for.
    const bool typing = View().IsTyping();
    View().TakeCell();
    const QString typed = typing ? View().currentIndex().data(Qt::EditRole).toString() : QString();
    const auto chosen = LookUpInCodebook(columns->RowAt(*row).AsText(*columns->FindFieldIndex("iz")), typed);
    if (!chosen) return;
    RecordSet& rows = Rows();
    if (rows.State() == DataSetState::kBrowse && rows.RowCount() == 0) rows.Append();
    if (rows.State() == DataSetState::kBrowse) rows.Edit();
    for (const CodebookField& other : own->fields) {
      const auto from = chosen->FindFieldIndex(other.column);
      if (other.reference != asked->reference || !from) continue;
      rows.SetVariant(*rows.FindFieldIndex(other.name), chosen->RowAt(0).AsVariant(*from));
    }
  });
}

// What the server refuses stays open as it was typed.
void CodebookPage::StoreRow(RecordSet& left) {
  RecordSet row = CurrentRow();
  Send("KatalogUpis", row);
  left.SetNull(*left.FindFieldIndex(kVersionField));
  ReadSoon();
}

void CodebookPage::ShowPicture() {
  if (!View().TakeRow()) return;
  const Value code = Current("sifra");
  if (!std::holds_alternative<std::string>(code)) throw Error("Nijedan artikl nije odabran.");
  ArticlePictureDialog(Host(), std::get<std::string>(code), this).exec();
}

void CodebookPage::DeleteRow() {
  if (Rows().State() == DataSetState::kInsert) return Model().revert();
  if (IsStale()) throw Error("Redci nisu ponovo pročitani; osvježite ih (F5).");
  if (Model().CurrentTableRow() < 0 || !AskToLose("Brisanje", "Obrisati odabrani redak?")) return;
  Model().revert();
  RecordSet row = CurrentRow();
  Send("KatalogBrisanje", row);
  ReadAgain(QStringLiteral("Redak je obrisan."));
}

}  // namespace mox

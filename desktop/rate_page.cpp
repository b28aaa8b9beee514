#include "desktop/rate_page.h"

#include <QFileDialog>

#include "appserver/rate_list.h"
#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "desktop/status_window.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

RecordSet EmptyRates(const char* name) {
  RecordSet rates(name);
  rates.DefineField({.name = "datum", .kind = FieldKind::kDate, .display_name = "Od dana"});
  rates.DefineField({.name = "val_ozn", .display_name = "Valuta"});
  rates.DefineField(
      {.name = "tecaj", .kind = FieldKind::kFloat, .display_name = "Tečaj", .display_format = "0.000000"});
  return rates;
}

}  // namespace

RatePage::RatePage(DesktopHost& host)
    : StoringPage(host, QStringLiteral("Tečajevi"), RecordSet("Tecajevi"), {"datum", "val_ozn"}) {
  View().SetAppending(false);
  day_.setAccessibleName(QStringLiteral("Na dan"));
  day_.setText(ToQt(DateToText(Today(), CurrentLocale())));
  Filters()->addWidget(new QLabel(QStringLiteral("Na dan:")));
  Filters()->addWidget(&day_);
  Filters()->addStretch(1);
  connect(&day_, &QLineEdit::editingFinished, this, [this] {
    if (!day_.isModified()) return;
    day_.setModified(false);
    Guarded([this] { Reload(); });
  });
  AddButton(
      QStringLiteral("Učitaj tečajnu listu…"), [this] { ChooseList(); }, Qt::CTRL | Qt::Key_L);
  Begin();
}

// The last rate of each currency on or before the day; without one the currency stands alone.
void RatePage::Read() {
  const auto day = ParseLocaleDate(FromQt(day_.text().trimmed()), CurrentLocale());
  if (!day) throw Error(FromQt(day_.text()) + " nije datum (" + CurrentLocale().short_date + ").");
  const auto currencies = CreateDBDataSet("Kat\\valuta", "valuta", {});
  if (!currencies) throw Error("Poslužitelj nema šifarnik valuta.");
  RecordSet rates = EmptyRates("Tecajevi");
  rates.Open();
  const std::size_t code = *currencies->FindFieldIndex("oznaka");
  for (const RecordRow& currency : currencies->Rows()) {
    const std::string name = currency.AsText(code);
    const auto known = GetInfoTecajByOznakaValute(*day, name);
    const bool has = known && known->RowCount() > 0;
    const auto value = [&](const char* field) {
      return has ? known->RowAt(0).AsVariant(*known->FindFieldIndex(field)) : Value();
    };
    rates.AppendRecord({value("datum"), name, value("tecaj")});
  }
  Show(std::move(rates), {"val_ozn", "tecaj", "datum"});
  shown_ = *day;
  SetNote(QStringLiteral("Upisani tečaj vrijedi od dana koji je odabran."));
}

// A rate of the day in the place of another one is stored after a question.
bool RatePage::SendAsking(RecordSet& rates) {
  if (ExecuteTransaction("TecajnaListaInsert", {&rates})) return true;
  const QString reason = RefusalOf(Host().Server());
  const auto& failure = Host().Server().LastWrite().failure;
  if (!failure || failure->field != "tecaj" || failure->message.find(" is stored as ") == std::string::npos) {
    throw Error(FromQt(reason));
  }
  if (!AskToLose("Već postoji drugi tečaj.", FromQt(reason) + "\nZamijeniti ga?")) return false;
  Send("TecajnaListaReplace", rates);
  return true;
}

void RatePage::StoreRow(RecordSet& row) {
  const std::size_t rate = *row.FindFieldIndex("tecaj");
  if (row.IsNull(rate)) return;
  RecordSet rates = EmptyRates("Tecajevi");
  rates.Open();
  rates.AppendRecord({shown_, row.AsText(*row.FindFieldIndex("val_ozn")), row.AsFloat(rate)});
  if (!SendAsking(rates)) throw Abort();
  row.SetDate(*row.FindFieldIndex("datum"), shown_);
  SetNote(QStringLiteral("Tečaj je pohranjen."));
}

void RatePage::ReadList(const std::string& path) {
  if (!View().TakeRow()) return;
  RecordSet rates = [&] {
    const LongRun run(Host(), QStringLiteral("Čitanje tečajne liste"));
    return Host().RunLong([path] { return ReadRateList(ReadRegularFile(path), path); });
  }();
  if (!SendAsking(rates)) return;
  const RecordSet& counts = Host().Server().LastWrite().Stored();
  const RecordRow row = counts.RowAt(0);
  const auto count = [&row](const char* field) { return ToQt(row.AsText(row.IndexOf(field))); };
  const QString told = QStringLiteral("Novih tečajeva: %1, izmijenjenih: %2, istih: %3")
                           .arg(count("novi"), count("izmijenjeni"), count("isti"));
  ReadAgain(told);
}

void RatePage::ChooseList() {
  const QString path =
      QFileDialog::getOpenFileName(this, QStringLiteral("Tečajna lista"), {},
                                   QStringLiteral("Tečajna lista (*.json *.csv);;Sve datoteke (*)"));
  if (!path.isEmpty()) ReadList(FromQt(path));
}

}  // namespace mox

#include "desktop/look_ups.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "appserver/codebook_table.h"
#include "desktop/codebook_page.h"
#include "desktop/dialog_buttons.h"
#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "desktop/record_set_view.h"
#include "desktop/window_place.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

constexpr std::int64_t kMostRows = 200;

const std::vector<LookUpSource>& Sources() {
  using enum LookUpForm;
  static const std::vector<LookUpSource> sources = {
      {kPartner,
       QStringLiteral("Partneri"),
       "Kat\\partneri",
       "partneri",
       true,
       {"sifra", "naziv", "oib", "adresa", "ptt", "mjesto"}},
      {kPlace, QStringLiteral("Mjesta"), "Kat\\mjesta", "mjesta", true, {"ptt", "naziv", "drzava"}},
      {kAccount, QStringLiteral("Konta"), "Kat\\fin_kto", "fin_kto", true, {"konto", "opis"}},
      {kArticle,
       QStringLiteral("Artikli"),
       "Kat\\artikli",
       "artikli",
       true,
       {"sifra", "naziv", "jm", "tbr", "vpc", "mpc", "barcode"}},
      {kService,
       QStringLiteral("Usluge"),
       "Kat\\usluge",
       "usluge",
       true,
       {"sifra", "naziv_hrv", "pc", "mpc", "tbr"}},
      {kWarehouse,
       QStringLiteral("Skladišta"),
       "GetSkladista",
       "adsSkl",
       false,
       {"sifra", "naziv", "adresa", "mjesto"}},
      {kDocument,
       QStringLiteral("Dokumenti"),
       "Dokumenti",
       "adsList",
       true,
       {"vrsta", "broj", "godina", "datum", "par_naziv", "ukupno"}},
      {kText, QStringLiteral("Tekstovi"), "Kat\\virman", "virman", true, {"naziv", "opis_placanja"}},
      {kPayment,
       QStringLiteral("Načini plaćanja"),
       "Kat\\nacini_placanja",
       "nacini_placanja",
       true,
       {"naziv", "oznaka", "odmah"}},
      {kUser, QStringLiteral("Korisnici"), "Kat\\korisnici", "korisnici", true, {"user_id", "naziv"}}};
  return sources;
}

class LookUpDialog : public QDialog {
 public:
  LookUpDialog(const LookUpSource& source, const QString& text)
      : QDialog(FrontWindow()), source_(source), rows_(Ask(text)), model_(rows_), view_(model_) {
    setWindowTitle(source.title);
    auto* const layout = new QVBoxLayout(this);
    auto* const buttons = MakeDialogButtons(*this, QStringLiteral("Odaberi"));
    search_.setText(text);
    search_.setPlaceholderText(QStringLiteral("Dio bilo kojeg podatka"));
    search_.setAccessibleName(QStringLiteral("Traži"));
    search_.installEventFilter(this);
    view_.SetAppending(false);
    view_.setSelectionBehavior(QAbstractItemView::SelectRows);
    view_.setAccessibleName(source.title);
    view_.SetEmptyText(QStringLiteral("Ništa nije nađeno."));
    view_.SetOnChosen([this] { accept(); });
    model_.SetEditable(false);
    model_.ShowFields(source.fields);
    layout->addWidget(&search_);
    layout->addWidget(&view_);
    layout->addWidget(buttons);
    connect(&search_, &QLineEdit::textChanged, this, [this](const QString& typed) {
      if (!Guarded([&] { Search(typed); })) rows_.Clear();  // they are none of what is typed
    });
    resize(760, 420);
    new WindowPlace(*this, "LOOK_UP");
    view_.FitColumns();
    if (!source.searches) Search(text);
  }

  void accept() override {
    if (model_.CurrentTableRow() >= 0 && model_.rowCount() > 0) QDialog::accept();
  }
  std::unique_ptr<RecordSet> Chosen() const {
    auto chosen = std::make_unique<RecordSet>(rows_.Name());
    for (std::size_t i = 0; i < rows_.FieldCount(); ++i) chosen->DefineField(rows_.Definition(i));
    chosen->Open();
    std::vector<Value> values;
    for (std::size_t i = 0; i < rows_.FieldCount(); ++i) {
      values.push_back(rows_.RowAt(rows_.CurrentRow()).AsVariant(i));
    }
    chosen->AppendRecord(values);
    return chosen;
  }

 protected:
  // The keys that move in the table work in the text, too.
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == &search_ && event->type() == QEvent::KeyPress) {
      const int key = static_cast<QKeyEvent*>(event)->key();
      if (key == Qt::Key_Down || key == Qt::Key_Up || key == Qt::Key_PageDown || key == Qt::Key_PageUp) {
        return QApplication::sendEvent(&view_, event);
      }
    }
    return QDialog::eventFilter(watched, event);
  }

 private:
  RecordSet Ask(const QString& text) const {
    TAstaParamList request;
    if (source_.searches && !text.trimmed().isEmpty())
      request.FastAdd("trazi", Value(FromQt(text.trimmed())));
    if (source_.service.starts_with("Kat\\")) request.FastAdd("najvise", Value(kMostRows));
    auto answer = CreateDBDataSet(source_.service, source_.answer, request);
    return answer ? std::move(*answer) : RecordSet(std::string(source_.answer));
  }
  void Search(const QString& text) {
    if (!source_.searches) return model_.SetTextFilter(text);
    const RecordSet found = Ask(text);
    const ControlsGuard guard(rows_);
    rows_.Clear();
    rows_.DataTransfer(found);
    rows_.First();
  }

  const LookUpSource& source_;
  RecordSet rows_;
  RecordSetModel model_;
  RecordSetView view_;
  QLineEdit search_;
};

}  // namespace

const LookUpSource& SourceOf(LookUpForm form) {
  for (const LookUpSource& source : Sources()) {
    if (source.form == form) return source;
  }
  throw Error("there is no such look-up form");
}

std::unique_ptr<RecordSet> LookUpInCodebook(std::string_view codebook, const QString& text) {
  constexpr std::size_t kMostColumns = 8;
  const Codebook* const known = FindCodebook(codebook);
  if (known == nullptr) return nullptr;
  LookUpSource source{.title = CodebookTitle(codebook),
                      .service = "Kat\\" + std::string(codebook),
                      .answer = known->name,
                      .searches = true,
                      .fields = {}};
  for (const CodebookField& field : known->fields) {
    if (source.fields.size() < kMostColumns) source.fields.push_back(field.name);
  }
  LookUpDialog dialog(source, text);
  return dialog.exec() == QDialog::Accepted ? dialog.Chosen() : nullptr;
}

std::unique_ptr<RecordSet> QtLookUps::LookUp(LookUpForm form, std::string_view text) {
  LookUpDialog dialog(SourceOf(form), ToQt(text));
  return dialog.exec() == QDialog::Accepted ? dialog.Chosen() : nullptr;
}

}  // namespace mox

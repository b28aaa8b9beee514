#include "desktop/document_list.h"

#include "desktop/dialogs.h"
#include "desktop/document_actions.h"
#include "mox/documents/document_kinds.h"
#include "mox/entry/line_screen.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

const std::vector<std::string_view> kShown = {"vrsta",           "broj",        "godina",   "datum",
                                              "datum_dospijeca", "par_naziv",   "ukupno",   "placeno",
                                              "otvoreno",        "stornira_id", "storno_id"};

void AddDay(TAstaParamList& request, const char* name, const QLineEdit& line) {
  const std::string text = FromQt(line.text().trimmed());
  if (text.empty()) return;
  const auto day = ParseLocaleDate(text, CurrentLocale());
  if (!day) throw Error(text + " nije datum (" + CurrentLocale().short_date + ").");
  request.FastAdd(name, Value(*day));
}

}  // namespace

DocumentList::DocumentList(DesktopHost& host, std::function<void(std::int64_t)> open)
    : RecordPage(QStringLiteral("Dokumenti"), RecordSet("adsList")), open_(std::move(open)) {
  Model().SetEditable(false);
  View().SetAppending(false);
  View().setSelectionBehavior(QAbstractItemView::SelectRows);
  kind_.addItem(QStringLiteral("Sve vrste"));
  for (const DocumentKind& kind : DocumentKinds()) {
    kind_.addItem(ToQt(kind.title), ToQt(kind.name));
  }
  from_.setPlaceholderText(QStringLiteral("Od datuma"));
  to_.setPlaceholderText(QStringLiteral("Do datuma"));
  text_.setPlaceholderText(QStringLiteral("Partner, opis, broj/godina…"));
  kind_.setAccessibleName(QStringLiteral("Vrsta dokumenta"));
  for (QLineEdit* const line : {&from_, &to_, &text_}) {
    line->setAccessibleName(line->placeholderText());
    connect(line, &QLineEdit::editingFinished, this, [this, line] {
      if (!line->isModified()) return;
      line->setModified(false);
      Guarded([this] { Reload(); });
    });
  }
  connect(&kind_, &QComboBox::currentIndexChanged, this, [this] { Guarded([this] { Reload(); }); });
  for (QWidget* const filter : std::initializer_list<QWidget*>{&kind_, &from_, &to_, &text_}) {
    Filters()->addWidget(filter);
  }
  View().SetOnChosen([this] { Guarded([this] { open_(CurrentId()); }); });
  AddButton(
      QStringLiteral("Otvori"), [this] { open_(CurrentId()); }, Qt::CTRL | Qt::Key_Return);
  AddDocumentButtons(Buttons(), {host, this, [this] { return CurrentId(); }, [this] { Reload(); },
                                 [this](const QString& note) { SetNote(note); }});
  Reload();
}

void DocumentList::Reload() {
  TAstaParamList request;
  const QString kind = kind_.currentData().toString();
  if (!kind.isEmpty()) request.FastAdd("vrsta", Value(FromQt(kind)));
  AddDay(request, "od", from_);
  AddDay(request, "do", to_);
  const QString text = text_.text().trimmed();
  if (!text.isEmpty()) request.FastAdd("trazi", Value(FromQt(text)));
  auto answer = CreateDBDataSet("Dokumenti", "adsList", request);
  if (!answer) throw Error("Poslužitelj ne odgovara na popis dokumenata.");
  PrepareLinesForScreen(*answer);
  answer->SetDisplayName(*answer->FindFieldIndex("stornira_id"), "Stornira");
  answer->SetDisplayName(*answer->FindFieldIndex("storno_id"), "Stornirano");
  const std::size_t vrsta = *answer->FindFieldIndex("vrsta");
  for (answer->First(); !answer->Eof(); answer->Next()) {
    const DocumentKind* const known = FindDocumentTip(answer->AsText(vrsta));
    if (known == nullptr) continue;
    answer->Edit();
    answer->SetText(vrsta, known->title);
    answer->Post();
  }
  Show(std::move(*answer), kShown);
  const auto money = [](Currency amount) {
    return ToQt(FormatFloat("#,0.00;-#,0.00", amount, CurrentLocale()));
  };
  SetNote(QStringLiteral("Dokumenata: %1   Ukupno: %2   Otvoreno: %3")
              .arg(QString::number(Model().rowCount()), money(Sum("ukupno")), money(Sum("otvoreno"))));
}

std::int64_t DocumentList::CurrentId() const {
  const Value id = Current("id");
  if (!std::holds_alternative<std::int64_t>(id)) throw Error("Nijedan dokument nije odabran.");
  return std::get<std::int64_t>(id);
}

}  // namespace mox

#include "desktop/document_list.h"

#include <QHeaderView>
#include <QShowEvent>
#include <unordered_map>
#include <utility>

#include "desktop/dialogs.h"
#include "desktop/document_actions.h"
#include "desktop/host.h"
#include "desktop/money.h"
#include "desktop/storing.h"
#include "mox/documents/document_kinds.h"
#include "mox/entry/line_screen.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

const std::vector<std::string_view> kShown = {"vrsta",     "broj",   "godina",  "datum",    "datum_dospijeca",
                                              "par_naziv", "ukupno", "placeno", "otvoreno", "storno"};

// The documents of a list by their ids, and those that are not in it once they are asked for.
class Documents {
 public:
  explicit Documents(const RecordSet& list) { Take(list); }

  // "Predračun 12/2026"; empty where there is no such document.
  std::string TitleOf(std::int64_t id) {
    if (!titles_.contains(id) && !std::exchange(has_all_, true)) {
      if (const auto all = CreateDBDataSet("Dokumenti", "adsList", {})) Take(*all);
    }
    const auto found = titles_.find(id);
    return found == titles_.end() ? std::string() : found->second;
  }

 private:
  void Take(const RecordSet& list) {
    for (const RecordRow& row : list.Rows()) {
      const auto text = [&row](const char* field) { return row.AsText(row.IndexOf(field)); };
      const DocumentKind* const kind = FindDocumentTip(text("vrsta"));
      titles_[row.AsInteger(row.IndexOf("id"))] =
          (kind == nullptr ? text("vrsta") : std::string(kind->title)) + ' ' + text("broj") + '/' +
          text("godina");
    }
  }
  std::unordered_map<std::int64_t, std::string> titles_;
  bool has_all_ = false;
};

// "stornira Predračun 12/2026" or "stornirano: Storno predračuna 3/2026".
std::string StornoText(Documents& documents, const RecordRow& row) {
  for (const auto& [field, text] : {std::pair("stornira_id", "stornira "), {"storno_id", "stornirano: "}}) {
    const std::size_t id = row.IndexOf(field);
    if (!row.IsNull(id)) return text + documents.TitleOf(row.AsInteger(id));
  }
  return {};
}

// The documents with the titles of their kinds, and in words what cancels what.
RecordSet ForScreen(const RecordSet& answer) {
  RecordSet list(answer.Name());
  for (std::size_t i = 0; i < answer.FieldCount(); ++i) list.DefineField(answer.Definition(i));
  list.DefineField("storno", FieldKind::kText);
  list.Open();
  const std::size_t vrsta = *answer.FindFieldIndex("vrsta");
  Documents documents(answer);
  for (const RecordRow& row : answer.Rows()) {
    std::vector<Value> values;
    values.reserve(list.FieldCount());
    for (std::size_t i = 0; i < answer.FieldCount(); ++i) values.push_back(row.AsVariant(i));
    if (const DocumentKind* const known = FindDocumentTip(row.AsText(vrsta))) {
      values[vrsta] = std::string(known->title);
    }
    values.emplace_back(StornoText(documents, row));
    list.AppendRecord(values);
  }
  return list;
}

void AddDay(TAstaParamList& request, const char* name, const QLineEdit& line) {
  const std::string text = FromQt(line.text().trimmed());
  if (text.empty()) return;
  const auto day = ParseLocaleDate(text, CurrentLocale());
  if (!day) throw Error(text + " nije datum (" + CurrentLocale().short_date + ").");
  request.FastAdd(name, Value(*day));
}

}  // namespace

DocumentList::DocumentList(DesktopHost& host, std::function<void(std::int64_t)> open)
    : RecordPage(host, QStringLiteral("Dokumenti"), RecordSet("adsList")), open_(std::move(open)) {
  OnlyShow();
  View().horizontalHeader()->setStretchLastSection(true);
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
  AddDocumentButtons(Buttons(), {host, this, [this] { return CurrentId(); }, [this] { ReadAnew(); },
                                 [this](const QString& note) { ShowNote(note); }});
  Reload();
}

// Beside the sums, where they are those of now.
void DocumentList::ShowNote(const QString& note) {
  SetNote(read_at_ == Host().Writes() ? note + QStringLiteral("   ") + sums_ : note);
}

// What was stored meanwhile is in it.
void DocumentList::showEvent(QShowEvent* event) {
  RecordPage::showEvent(event);
  if (event->spontaneous()) return;
  read_anew_.Run([this] {
    if (read_at_ == Host().Writes()) return;
    ReadAfter(
        {}, [this] { ReadAnew(); },
        [this](const QString& note) {
          if (!note.isEmpty()) SetNote(note.trimmed());
        });
  });
}

void DocumentList::Read() {
  const int writes = Host().Writes();
  TAstaParamList request;
  const QString kind = kind_.currentData().toString();
  if (!kind.isEmpty()) request.FastAdd("vrsta", Value(FromQt(kind)));
  AddDay(request, "od", from_);
  AddDay(request, "do", to_);
  const QString text = text_.text().trimmed();
  if (!text.isEmpty()) request.FastAdd("trazi", Value(FromQt(text)));
  auto answer = CreateDBDataSet("Dokumenti", "adsList", request);
  if (!answer) throw Error("Poslužitelj ne odgovara na popis dokumenata.");
  RecordSet list = ForScreen(*answer);
  PrepareLinesForScreen(list);
  list.SetDisplayName(*list.FindFieldIndex("storno"), "Storno");
  Show(std::move(list), kShown);
  read_at_ = writes;
  sums_ = QStringLiteral("Dokumenata: %1   Ukupno: %2   Otvoreno: %3")
              .arg(QString::number(Model().rowCount()), MoneyText(Sum("ukupno")), MoneyText(Sum("otvoreno")));
  SetNote(sums_);
}

std::int64_t DocumentList::CurrentId() const {
  const Value id = Current("id");
  if (!std::holds_alternative<std::int64_t>(id)) throw Error("Nijedan dokument nije odabran.");
  return std::get<std::int64_t>(id);
}

}  // namespace mox

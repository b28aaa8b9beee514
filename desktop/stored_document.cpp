#include "desktop/stored_document.h"

#include <QApplication>
#include <QHeaderView>
#include <QSplitter>
#include <QVBoxLayout>

#include "desktop/dialogs.h"
#include "desktop/document_actions.h"
#include "desktop/host.h"
#include "desktop/keys.h"
#include "desktop/money.h"
#include "desktop/status_window.h"
#include "mox/codes/exchange_rates.h"
#include "mox/entry/line_screen.h"
#include "mox/server/read_services.h"
#include "paper/page_source.h"

namespace mox {
namespace {

constexpr int kSideWidth = 320;
constexpr int kFactColumns = 4;

const std::vector<std::string_view> kFacts = {
    "datum",          "datum_dospijeca", "par_naziv",    "skl_naziv",
    "nacin_placanja", "poziv_na_br",     "broj_dok_dob", "datum_dok_dob",
    "vrsta_dok_dob",  "user_id",         "opis"};

bool IsAllNull(const RecordSet& rows, std::size_t field) {
  for (const RecordRow& row : rows.Rows()) {
    if (!row.IsNull(field)) return false;
  }
  return true;
}

// Which documents belong to one, and how.
class Links {
 public:
  Links() : rows_("Veze") {
    for (const auto& [field, label] : {std::pair("veza", "Veza"), {"vrsta", "Vrsta"}}) {
      rows_.DefineField({.name = field, .kind = FieldKind::kText, .display_name = label});
    }
    rows_.DefineField({.name = "id", .kind = FieldKind::kInteger});
    rows_.DefineField({.name = "broj", .kind = FieldKind::kInteger, .display_name = "Broj"});
    rows_.DefineField({.name = "godina", .kind = FieldKind::kInteger, .display_name = "Godina"});
    rows_.DefineField({.name = "datum", .kind = FieldKind::kDate, .display_name = "Datum"});
    rows_.Open();
  }
  void Add(const char* link, std::int64_t id) {
    const auto header = CreateDBDataSet("Dokument", "Zaglavlje", {{"id", id}});
    if (!header || header->RowCount() == 0) return;
    const RecordRow row = header->RowAt(0);
    const std::string kind = row.AsText(row.IndexOf("vrsta"));
    const DocumentKind* const known = FindDocumentTip(kind);
    rows_.AppendRecord({std::string(link), known == nullptr ? kind : std::string(known->title), id,
                        row.AsVariant(row.IndexOf("broj")), row.AsVariant(row.IndexOf("godina")),
                        row.AsVariant(row.IndexOf("datum"))});
  }
  RecordSet Take() { return std::move(rows_); }

 private:
  RecordSet rows_;
};

RecordSet LinksOf(const RecordSet& header, std::int64_t id) {
  Links links;
  const RecordRow row = header.RowAt(0);
  for (const auto& [field, link] :
       {std::pair("stornira_id", "Stornira"), {"storno_id", "Stornirano dokumentom"}}) {
    const std::size_t index = row.IndexOf(field);
    if (!row.IsNull(index)) links.Add(link, row.AsInteger(index));
  }
  if (const auto linked = GetVezniDocIdFromDB("dok", "id", id, "")) {
    for (const RecordRow& other : linked->Rows()) {
      links.Add("Vezani dokument", other.AsInteger(other.IndexOf("child_doc_id")));
    }
  }
  return links.Take();
}

}  // namespace

StoredDocumentPage::Shown::Shown(const QString& title) : model(rows), view(model) {
  model.SetEditable(false);
  view.SetAppending(false);
  view.setAccessibleName(title);
  view.SetEmptyText(QStringLiteral("Nema podataka."));
}

void StoredDocumentPage::Shown::Show(RecordSet answer, const std::vector<std::string_view>& fields) {
  {
    const ControlsGuard guard(rows);
    rows.CleanClone(answer);
  }
  model.ShowFields(fields);
  view.FitColumns();
}

StoredDocumentPage::StoredDocumentPage(DesktopHost& host, std::int64_t id,
                                       std::function<void(std::int64_t)> open)
    : host_(host),
      id_(id),
      open_(std::move(open)),
      goods_(QStringLiteral("Stavke")),
      services_(QStringLiteral("Usluge")),
      links_(QStringLiteral("Veze")),
      taxes_(QStringLiteral("Rekapitulacija PDV-a")) {
  auto* const layout = new QVBoxLayout(this);
  auto* const facts = new QWidget;
  facts_ = new QGridLayout(facts);
  facts_->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(facts);
  auto* const middle = new QSplitter(Qt::Horizontal);
  middle->addWidget(&tabs_);
  middle->addWidget(MakeSide());
  middle->setStretchFactor(0, 1);
  layout->addWidget(middle, 1);
  auto* const bar = new QHBoxLayout;
  note_.setAccessibleName(QStringLiteral("Napomena"));
  bar->addWidget(&note_, 1);
  AddDocumentButtons(*bar, {host_, this, [this] { return id_; }, [this] { Reload(); },
                            [this](const QString& note) { note_.setText(note); }});
  layout->addLayout(bar);
  links_.view.SetOnChosen([this] { Guarded([this] { OpenLink(); }); });
  MakeShortcut(this, Qt::Key_F5, [this] { Reload(); });
  Reload();
}

StoredDocumentPage::~StoredDocumentPage() = default;

QWidget* StoredDocumentPage::MakeSide() {
  auto* const layout = new QVBoxLayout(&side_);
  side_.setMinimumWidth(kSideWidth);
  taxes_.view.setSelectionMode(QAbstractItemView::NoSelection);
  taxes_.view.verticalHeader()->hide();
  taxes_.view.horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  layout->addWidget(new QLabel(QStringLiteral("Rekapitulacija PDV-a")));
  layout->addWidget(&taxes_.view, 1);
  ShowLarge(total_, QStringLiteral("Ukupno"));
  paid_.setAlignment(Qt::AlignRight);
  paid_.setAccessibleName(QStringLiteral("Plaćeno"));
  layout->addWidget(&total_);
  layout->addWidget(&paid_);
  return &side_;
}

void StoredDocumentPage::Reload() {
  PageSource source;
  std::optional<RecordSet> listed;
  RecordSet links;
  {  // all of it, before anything is shown
    const LongRun run(host_, QStringLiteral("Čitanje dokumenta"));
    source = ReadPageSource(id_);
    listed = ListedDocument(id_);
    links = LinksOf(source.header, id_);
  }
  ShowFacts(source);
  ShowTotals(source, listed);
  links_.Show(std::move(links), {"veza", "vrsta", "broj", "godina", "datum"});
  const int tab = tabs_.currentIndex();
  const bool has_keys = isAncestorOf(QApplication::focusWidget());
  tabs_.clear();
  ShowLines(goods_, std::move(source.goods), false, source);
  ShowLines(services_, std::move(source.services), true, source);
  tabs_.addTab(&links_.view, QStringLiteral("Veze (%1)").arg(links_.model.rowCount()));
  setFocusProxy(tabs_.widget(0));
  if (has_keys) setFocus();
  if (tab > 0 && tab < tabs_.count()) tabs_.setCurrentIndex(tab);
}

void StoredDocumentPage::ShowFacts(const PageSource& source) {
  while (QLayoutItem* const old = facts_->takeAt(0)) {
    delete old->widget();
    delete old;
  }
  header_ = RecordSet("Zaglavlje");
  header_.CleanClone(source.header);
  const RecordRow row = header_.RowAt(0);
  setWindowTitle(QStringLiteral("%1 %2/%3")
                     .arg(ToQt(source.kind->title), ToQt(row.AsText(row.IndexOf("broj"))),
                          ToQt(row.AsText(row.IndexOf("godina")))));
  int place = 0;
  for (const std::string_view field : kFacts) {
    if (row.IsNull(row.IndexOf(field)) || row.AsText(row.IndexOf(field)).empty()) continue;
    auto* const edit = new FieldEdit(header_, field);
    edit->SetReadOnly(true);
    auto* const label = new QLabel(ToQt(CaptionOf(field)));
    label->setBuddy(edit);
    facts_->addWidget(label, place / kFactColumns * 2, place % kFactColumns);
    facts_->addWidget(edit, place / kFactColumns * 2 + 1, place % kFactColumns);
    ++place;
  }
}

// Of the columns of its kind those that any line has.
void StoredDocumentPage::ShowLines(Shown& shown, RecordSet lines, bool services, const PageSource& source) {
  if (lines.RowCount() == 0) return;
  PrepareLinesForScreen(lines);
  const DocumentKind& kind = *source.figures_kind;
  std::vector<std::string_view> fields;
  for (const std::string_view name : LineFieldsForScreen(services ? kind.services : kind.goods)) {
    const auto field = lines.FindFieldIndex(name);
    if (field && !IsAllNull(lines, *field)) fields.push_back(name);
  }
  shown.Show(std::move(lines), fields);
  shown.view.SetElastic("naziv", "ukupno");
  tabs_.addTab(&shown.view, shown.view.accessibleName());
}

void StoredDocumentPage::ShowTotals(const PageSource& source, const std::optional<RecordSet>& listed) {
  RecordSet taxes("Rekapitulacija");
  taxes.CleanClone(source.taxes);
  PrepareLinesForScreen(taxes);
  taxes_.Show(std::move(taxes), {"oznaka_stope", "osnovica", "porez", "ukupno"});
  const RecordRow header = source.header.RowAt(0);
  const std::size_t total = header.IndexOf("ukupno");
  const std::string_view currency = GetValutaOznakaByDate(header.AsDate(header.IndexOf("datum")));
  total_.setText(header.IsNull(total) ? QString()
                                      : MoneyText(header.AsCurrency(total)) + u' ' + ToQt(currency));
  paid_.clear();
  if (!listed) return;
  const RecordRow row = listed->RowAt(0);
  const std::size_t open = row.IndexOf("otvoreno");
  if (row.IsNull(open)) return;
  paid_.setText(QStringLiteral("Plaćeno: %1   Otvoreno: %2")
                    .arg(MoneyText(row.AsCurrency(row.IndexOf("placeno"))), MoneyText(row.AsCurrency(open))));
}

void StoredDocumentPage::OpenLink() {
  if (links_.model.CurrentTableRow() < 0) return;
  const RecordRow row = links_.rows.RowAt(links_.rows.CurrentRow());
  open_(row.AsInteger(row.IndexOf("id")));
}

}  // namespace mox

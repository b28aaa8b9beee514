#include "desktop/document_editor.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QSplitter>
#include <QUuid>
#include <QVBoxLayout>
#include <algorithm>

#include "desktop/croatian.h"
#include "desktop/host.h"
#include "desktop/keys.h"
#include "desktop/money.h"
#include "desktop/payment_dialog.h"
#include "desktop/storing.h"
#include "desktop/supplier_dialog.h"
#include "desktop/window_place.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/codes/amount_in_words.h"
#include "mox/codes/exchange_rates.h"
#include "mox/documents/article_lines.h"
#include "mox/entry/document_entry.h"
#include "mox/entry/line_screen.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

constexpr int kSaveAfter = 400;  // milliseconds without a change
constexpr int kSideWidth = 320;
constexpr std::string_view kConfirmations = "Potvrde";

// A field of the header, for which kinds it is, and what its look-up chooses.
struct HeaderField {
  std::string_view name;
  bool (*has)(const DocumentKind&);
  std::optional<LookUpForm> look_up;
  std::string_view shown;
  std::optional<Value> (*key_of)(const RecordSet& chosen);
};

std::optional<Value> FieldOf(const RecordSet& chosen, std::string_view field) {
  const auto index = chosen.FindFieldIndex(field);
  return index ? std::optional(chosen.RowAt(0).AsVariant(*index)) : std::nullopt;
}

// The codebook of partners has no keys, which the service of documents tells.
std::optional<Value> PartnerKey(const RecordSet& chosen) {
  const auto code = FieldOf(chosen, "sifra");
  if (!code) return std::nullopt;
  const auto found = CreateDBDataSet("PartnerZaDokument", "adsPartner", {{"sifra", *code}});
  return found && !found->IsEmpty() ? FieldOf(*found, "id") : std::nullopt;
}

bool Any(const DocumentKind& /*kind*/) { return true; }
bool MovesStock(const DocumentKind& kind) { return kind.stock != StockDirection::kNone; }
bool IsReceipt(const DocumentKind& kind) { return kind.is == DocumentClass::kGoodsReceipt; }
bool IsInvoice(const DocumentKind& kind) { return kind.is == DocumentClass::kInvoice; }

const std::vector<HeaderField>& HeaderFields() {
  static const std::vector<HeaderField> fields = {
      {"datum", Any, {}, {}, nullptr},
      {"datum_isporuke", IsInvoice, {}, {}, nullptr},
      {"datum_dospijeca", Any, {}, {}, nullptr},
      {"par_id", Any, LookUpForm::kPartner, "naziv", PartnerKey},
      {"skl_id", MovesStock, LookUpForm::kWarehouse, "naziv",
       [](const RecordSet& chosen) { return FieldOf(chosen, "id"); }},
      {"nacin_placanja", IsInvoice, LookUpForm::kPayment, "naziv",
       [](const RecordSet& chosen) { return FieldOf(chosen, "naziv"); }},
      {"poziv_na_br", IsInvoice, {}, {}, nullptr},
      {"broj_dok_dob", IsReceipt, {}, {}, nullptr},
      {"datum_dok_dob", IsReceipt, {}, {}, nullptr},
      {"vrsta_dok_dob", IsReceipt, {}, {}, nullptr},
      {"user_id", Any, LookUpForm::kUser, "naziv",
       [](const RecordSet& chosen) { return FieldOf(chosen, "user_id"); }},
      {"opis", Any, LookUpForm::kText, "opis_placanja",
       [](const RecordSet& chosen) { return FieldOf(chosen, "opis_placanja"); }}};
  return fields;
}

// The name of the row of a look-up that has the key, for a document that is taken up again.
QString NameOfKey(const RecordSet& header, const HeaderField& field) {
  const std::size_t index = *header.FindFieldIndex(field.name);
  if (header.RowAt(0).IsNull(index) || field.name != "skl_id") return {};
  const auto all = GetSkladista();
  const auto row = all ? all->FindRow("id", {{header.RowAt(0).AsVariant(index)}}) : std::nullopt;
  return row ? ToQt(all->RowAt(*row).AsText(*all->FindFieldIndex("naziv"))) : QString();
}

}  // namespace

DocumentEditor::DocumentEditor(DesktopHost& host, Document document, Draft draft, QWidget* parent)
    : QWidget(parent), host_(host), document_(std::move(document)), draft_(std::move(draft)) {
  // Under its key a document is stored once, however often it is sent.
  if (document_.Header().RowAt(0).IsNull(*document_.Header().FindFieldIndex("kljuc"))) {
    document_.SetHeader("kljuc", Value(FromQt(QUuid::createUuid().toString(QUuid::WithoutBraces))));
  }
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(MakeHeader());
  const DocumentKind& kind = document_.Kind();
  AddSheet(document_.Goods(), kind.goods, QStringLiteral("Stavke"));
  AddSheet(document_.Services(), kind.services, QStringLiteral("Usluge"));
  // At the till the lines come first, else whom it is for.
  const bool at_till = kind.IsSale() && !kind.is_paid_later;
  setFocusProxy(at_till ? static_cast<QWidget*>(sheets_.front()->view) : header_.front());
  auto* const middle = new QSplitter(Qt::Horizontal);
  middle->addWidget(&tabs_);
  middle->addWidget(MakeTotals());
  middle->setStretchFactor(0, 1);
  layout->addWidget(middle, 1);
  layout->addWidget(MakeButtons());
  MakeShortcut(this, Qt::Key_F9, [this] { StoreOrShow(); });
  new WindowPlace(*this, "EDITOR");
  recount_.setSingleShot(true);
  connect(&recount_, &QTimer::timeout, this, [this] { Recount(); });
  save_.setSingleShot(true);
  connect(&save_, &QTimer::timeout, this, [this] { SaveDraft(); });
  Recount();
}

DocumentEditor::~DocumentEditor() {
  qDeleteAll(header_);  // before the document that they write into
  for (const auto& sheet : sheets_) {
    sheet->lines->RemoveListener(sheet->listener);
    sheet->lines->SetOnBeforePost(nullptr);
  }
}

QWidget* DocumentEditor::MakeHeader() {
  constexpr int kMost = 5;  // side by side
  int count = 0;
  for (const HeaderField& field : HeaderFields()) count += field.has(document_.Kind()) ? 1 : 0;
  const int columns = std::min((count + 1) / 2, kMost);
  auto* const header = new QWidget;
  auto* const grid = new QGridLayout(header);
  grid->setContentsMargins(0, 0, 0, 0);
  int place = 0;
  for (const HeaderField& field : HeaderFields()) {
    if (!field.has(document_.Kind())) continue;
    auto* const edit = new FieldEdit(document_.Header(), field.name);
    if (field.look_up) edit->SetLookUp(*field.look_up, field.shown, field.key_of);
    const QString name = NameOfKey(document_.Header(), field);
    if (!name.isEmpty()) edit->ShowName(name);
    edit->SetOnChanged([this] { Changed(); });
    auto* const label = new QLabel(ToQt(CaptionOf(field.name)));
    label->setBuddy(edit);
    grid->addWidget(label, place / columns * 2, place % columns);
    grid->addWidget(edit, place / columns * 2 + 1, place % columns);
    header_.push_back(edit);
    ++place;
  }
  return header;
}

void DocumentEditor::AddSheet(RecordSet* lines, const LineSchema& schema, const QString& title) {
  if (lines == nullptr) return;
  PrepareLinesForScreen(*lines);
  auto owned = std::make_unique<Sheet>();
  Sheet& sheet = *owned;
  sheet.lines = lines;
  sheet.model = std::make_unique<RecordSetModel>(*lines);
  std::vector<std::string_view> fields = LineFieldsForScreen(schema);
  if (lines->FindFieldIndex("zti") && std::find(fields.begin(), fields.end(), "zti") == fields.end()) {
    fields.push_back("zti");
  }
  sheet.model->ShowFields(fields);
  sheet.view = new RecordSetView(*sheet.model);
  sheet.view->setAccessibleName(title);
  sheet.view->SetEmptyText(QStringLiteral("Tipkom Insert ili strelicom dolje dodajte novi redak"));
  sheet.view->FitColumns();
  sheet.view->SetElastic("naziv", sheet.model->ColumnOf("ukupno") ? "ukupno" : fields.back());
  sheet.model->SetOnCellWritten([this, &sheet](std::size_t field) { Wrote(sheet, field); });
  sheet.model->SetOnAppending([this] {
    if (recount_.isActive()) Recount();  // before another line is open
  });
  sheet.model->SetOnRefused([this](const QString& reason) { note_.setText(reason); });
  sheet.view->SetOnLookUp([this, &sheet](std::string_view field) { return LookUpLine(sheet, field); });
  sheet.view->SetConfirmDelete([] { return AskToLose("Brisanje", "Obrisati redak?"); });
  lines->SetOnBeforePost([this](RecordSet& records) {
    document_.TakeBackPreview(records);
    if (!CheckLine(records)) throw Abort();
  });
  sheet.listener = lines->AddListener([this](const RecordSet&, const RecordSetChange& change) {
    if (change.kind == RecordSetChange::kRecord || change.kind == RecordSetChange::kRemoved ||
        change.kind == RecordSetChange::kReset) {
      recount_.start(0);
    }
  });
  tabs_.addTab(sheet.view, title);
  sheets_.push_back(std::move(owned));
}

void DocumentEditor::ReadFormats() {
  for (const auto& sheet : sheets_) {
    PrepareLinesForScreen(*sheet->lines);
    sheet->model->ReadFormats();
  }
}

QWidget* DocumentEditor::MakeTotals() {
  auto* const side = new QWidget;
  auto* const layout = new QVBoxLayout(side);
  side->setMinimumWidth(kSideWidth);
  if (RecordSet* const recap = document_.Recapitulation()) {
    PrepareLinesForScreen(*recap);
    recap_model_ = std::make_unique<RecordSetModel>(*recap);
    recap_model_->ShowFields({"oznaka_stope", "osnovica", "porez", "ukupno"});
    recap_model_->SetEditable(false);
    recap_view_ = new RecordSetView(*recap_model_);
    recap_view_->SetAppending(false);
    recap_view_->setSelectionMode(QAbstractItemView::NoSelection);
    recap_view_->setAccessibleName(QStringLiteral("Rekapitulacija PDV-a"));
    recap_view_->verticalHeader()->hide();
    recap_view_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    layout->addWidget(new QLabel(QStringLiteral("Rekapitulacija PDV-a")));
    layout->addWidget(recap_view_, 1);
  } else {
    layout->addStretch(1);
  }
  ShowLarge(total_, QStringLiteral("Za platiti"));
  words_.setAccessibleName(QStringLiteral("Slovima"));
  words_.setWordWrap(true);
  words_.setAlignment(Qt::AlignRight);
  layout->addWidget(&total_);
  layout->addWidget(&words_);
  return side;
}

QWidget* DocumentEditor::MakeButtons() {
  auto* const bar = new QWidget;
  auto* const layout = new QHBoxLayout(bar);
  layout->setContentsMargins(0, 0, 0, 0);
  note_.setAccessibleName(QStringLiteral("Napomena"));
  note_.setWordWrap(true);
  layout->addWidget(&note_, 1);
  if (document_.SupplierTotals() != nullptr) {
    auto* const supplier = new QPushButton(ToQt(kDocDobavljacaTitle) + QStringLiteral("…"));
    connect(supplier, &QPushButton::clicked, this, [this] { Guarded([this] { EnterSupplierTotals(); }); });
    layout->addWidget(supplier);
  }
  store_.setAutoDefault(false);
  connect(&store_, &QPushButton::clicked, this, [this] { Guarded([this] { StoreOrShow(); }); });
  layout->addWidget(&store_);
  return bar;
}

// --- while it is entered ---

void DocumentEditor::Wrote(Sheet& sheet, std::size_t field) {
  try {
    document_.PreviewLine(*sheet.lines);
    note_.clear();
  } catch (const Error& error) {
    note_.setText(InCroatian(error.what()));
  }
  if (sheet.lines == document_.Goods() && SameName(sheet.lines->Definition(field).name, "sifra")) {
    take_article_.Run([this, &sheet] { Guarded([this, &sheet] { TakeArticle(sheet); }); });
  }
  ShowTotal();
  Changed();
}

// A code, a bar code or a part of a name becomes the article, with what the line takes from it.
void DocumentEditor::TakeArticle(Sheet& sheet) {
  RecordSet& goods = *sheet.lines;
  if (goods.State() != DataSetState::kEdit && goods.State() != DataSetState::kInsert) return;
  const std::size_t code = *goods.FindFieldIndex("sifra");
  const std::string typed = goods.AsText(code);
  if (TrimBlanks(typed).empty()) return;
  const std::optional<std::string> found = FindArticleCode(typed);
  if (!found || !BecomeLineOf(document_.Kind(), goods, *found, WarehouseOf(document_))) {
    note_.setText(QStringLiteral("Nijedan artikl nema šifru, bar kod ni naziv „%1”.").arg(ToQt(typed)));
    return;
  }
  const auto quantity = goods.FindFieldIndex("kolicina");
  if (quantity && goods.IsNull(*quantity)) goods.SetFloat(*quantity, document_.Kind().is_storno ? -1 : 1);
  document_.PreviewLine(goods);
  if (quantity && sheet.model->CurrentTableRow() >= 0) {
    if (const auto column = sheet.model->ColumnOf("kolicina")) {
      sheet.view->setCurrentIndex(sheet.model->index(sheet.model->CurrentTableRow(), *column));
    }
  }
  ShowTotal();
  Changed();
}

bool DocumentEditor::LookUpLine(Sheet& sheet, std::string_view field) {
  if (stored_ || (field != "sifra" && field != "naziv")) return false;
  return Guarded([&] {
    RecordSet& lines = *sheet.lines;
    const bool goods = sheet.lines == document_.Goods();
    // What is being typed is looked for.
    const bool typing = sheet.view->IsTyping();
    sheet.view->TakeCell();
    const QString typed = typing ? sheet.view->currentIndex().data(Qt::EditRole).toString() : QString();
    const auto chosen = [&] {
      const Later::Pause pause(take_article_);  // a code that was typed names its article all the same
      return App().LookUps().LookUp(goods ? LookUpForm::kArticle : LookUpForm::kService, FromQt(typed));
    }();
    if (!chosen) return;
    take_article_.Forget();
    if (lines.State() == DataSetState::kBrowse && lines.RowCount() == 0) lines.Append();
    if (lines.State() == DataSetState::kBrowse) lines.Edit();
    if (goods) {
      lines.SetText(*lines.FindFieldIndex("sifra"),
                    chosen->RowAt(0).AsText(*chosen->FindFieldIndex("sifra")));
      return TakeArticle(sheet);
    }
    BecomeLineOfService(lines, chosen->RowAt(0));
    document_.PreviewLine(lines);
    ShowTotal();
    Changed();
  });
}

void DocumentEditor::Changed() {
  if (stored_) return;
  changed_ = true;
  save_.start(kSaveAfter);
}

// A draft that cannot be written is told beside the document, which is entered and stored all the same.
bool DocumentEditor::SaveDraft() {
  if (stored_ || !changed_) return true;
  try {
    draft_.Save(document_);
    return true;
  } catch (const Error& error) {
    note_.setText(QStringLiteral("Nacrt nije spremljen: %1").arg(InCroatian(error.what())));
    return false;
  }
}

// Tax by rate is that of posted lines; it waits while one is open.
void DocumentEditor::Recount() {
  bool open = false;
  for (const auto& sheet : sheets_) open = open || sheet->lines->State() != DataSetState::kBrowse;
  if (!open) {
    try {
      document_.Recapitulate();
    } catch (const Error& error) {
      note_.setText(InCroatian(error.what()));
    }
    recount_.stop();
  }
  ShowTotal();
}

void DocumentEditor::ShowTotal() {
  try {
    const std::optional<Currency> total = document_.ToBePaid();
    if (!total) return;
    const RecordRow header = document_.Header().RowAt(0);
    const std::size_t date = header.IndexOf("datum");
    const std::string currency(GetValutaOznakaByDate(header.AsDate(date)));
    total_.setText(MoneyText(*total) + u' ' + ToQt(currency));
    const bool negative = *total < Currency();
    const std::string words = BrojSlovima(negative ? -*total : *total, currency);
    words_.setText(words.empty() ? QString() : ToQt((negative ? "minus " : "") + words));
  } catch (const Error& error) {
    note_.setText(InCroatian(error.what()));
  }
}

// --- storing ---

bool DocumentEditor::TakeAll() {
  for (FieldEdit* const edit : header_) {
    if (edit->Take()) continue;
    edit->setFocus();
    note_.setText(edit->Line().toolTip());
    return false;
  }
  for (const auto& sheet : sheets_) {
    sheet->view->TakeCell();
    take_article_.RunNow();
    if (sheet->model->submit()) continue;
    tabs_.setCurrentWidget(sheet->view);
    sheet->view->setFocus();
    return false;
  }
  return true;
}

// Lines of a draft were not checked when it was written. The first one that lacks something becomes current.
bool DocumentEditor::CheckLines() {
  for (const auto& sheet : sheets_) {
    for (std::size_t row = 0; row < sheet->lines->RowCount(); ++row) {
      const auto shown = sheet->model->TableRow(row);
      if (!shown || LineIsComplete(*sheet->lines, row)) continue;
      tabs_.setCurrentWidget(sheet->view);
      sheet->view->setCurrentIndex(sheet->model->index(*shown, 0));
      sheet->view->setFocus();
      if (!CheckLine(*sheet->lines)) return false;
    }
  }
  return true;
}

// What is being typed goes into the document without a question. What does not, for people.
QString DocumentEditor::TakeTyped() {
  QStringList left;
  for (FieldEdit* const edit : header_) left.append(edit->TakeTyped());
  for (const auto& sheet : sheets_) {
    sheet->view->TakeCell();
    left.append(sheet->model->CellRefusal());
  }
  left.removeAll(QString());
  return left.join(u'\n');
}

bool DocumentEditor::AskForPayment() {
  const DocumentKind& kind = document_.Kind();
  if (!kind.IsSale() || kind.is_paid_later || kind.is_storno) return true;
  document_.Recapitulate();
  const std::optional<Currency> total = document_.ToBePaid();
  if (!total) return true;
  const std::size_t field = *document_.Header().FindFieldIndex("nacin_placanja");
  PaymentDialog dialog(*total, ToQt(document_.Header().RowAt(0).AsText(field)), this);
  if (dialog.exec() != QDialog::Accepted) return false;
  document_.SetHeader("nacin_placanja", Value(FromQt(dialog.Method())));
  return true;
}

bool DocumentEditor::SendToServer() {
  CompanyAccess& server = host_.Server();
  const auto lacks_credit = [&server] {
    const auto& failure = server.LastWrite().failure;
    return failure && failure->record_set == kConfirmations;
  };
  bool stored = false;
  StoreWhatIsShown([&] {
    stored = StoreAskingForCredit(document_, lacks_credit, [this] { return document_.ConfirmCredit(); });
  });
  if (stored) return true;
  const QString reason = RefusalOf(server);
  if (!reason.isEmpty() && !lacks_credit()) {
    ShowVelorDialog(TVCustomDialogType::kError, "Upozorenje", "Dokument nije pohranjen.", FromQt(reason));
  }
  return false;
}

bool DocumentEditor::Store() {
  if (stored_ || !TakeAll()) return false;
  if (document_.LineCount() == 0) {
    note_.setText(QStringLiteral("Dokument nema stavaka."));
    return false;
  }
  SaveDraft();
  if (!CheckLines() || !CheckDocument(document_)) return false;
  if (const auto shortage = CheckStock(document_, WarehouseOf(document_))) {
    ShowShortage(*shortage);
    return false;
  }
  if (!AgreesWithSupplier() || !AskForPayment()) return false;
  AllowNegativeStock(document_.Header());
  if (!SendToServer()) return false;
  RecordSet stored;
  stored.CleanClone(host_.Server().LastWrite().Stored());
  ShowStored(stored);
  return true;
}

// The line of the article becomes current.
void DocumentEditor::ShowShortage(const StockShortage& shortage) {
  const auto quantity = [](double value) {
    return ToQt(FormatFloat("#,0.###;-#,0.###", value, CurrentLocale()));
  };
  note_.setText(QStringLiteral("Artikla %1 na lageru je %2, a upisano je %3.")
                    .arg(ToQt(shortage.article), quantity(shortage.stands), quantity(shortage.taken)));
  Sheet& sheet = *sheets_.front();
  const auto row = sheet.lines->FindRow("sifra", {{Value(shortage.article)}});
  const auto shown = row ? sheet.model->TableRow(*row) : std::nullopt;
  const auto column = sheet.model->ColumnOf("kolicina");
  if (!shown || !column) return;
  tabs_.setCurrentWidget(sheet.view);
  sheet.view->setCurrentIndex(sheet.model->index(*shown, *column));
  sheet.view->setFocus();
}

void DocumentEditor::StoreOrShow() {
  if (!stored_) {
    Store();
  } else if (on_show_ && id_ != 0) {
    on_show_(id_);
  }
}

void DocumentEditor::ShowStored(const RecordSet& stored) {
  stored_ = true;
  save_.stop();
  draft_.Remove();
  const RecordRow row = stored.RowAt(0);
  number_ = ToQt(row.AsText(row.IndexOf("broj")) + "/" + row.AsText(row.IndexOf("godina")));
  note_.setText(QStringLiteral("Pohranjeno: %1").arg(Title()));
  id_ = row.AsInteger(row.IndexOf("id"));
  store_.setText(QStringLiteral("Prikaži (F9)"));
  for (const auto& sheet : sheets_) {
    sheet->model->SetEditable(false);
    sheet->view->SetAppending(false);
  }
  for (FieldEdit* const edit : header_) {
    edit->ReadAnew();
    edit->SetReadOnly(true);
  }
  if (on_stored_) on_stored_();
}

QString DocumentEditor::Title() const {
  const QString title = ToQt(document_.Kind().title);
  return number_.isEmpty() ? title : title + u' ' + number_;
}

bool DocumentEditor::MayClose() {
  if (stored_) return true;
  const bool left = !TakeTyped().isEmpty();
  const bool empty = document_.LineCount() == 0 && !changed_ && !left;
  if (!empty && !AskToLose("Dokument nije pohranjen.", "Odbaciti " + FromQt(Title()) + "?")) return false;
  save_.stop();
  stored_ = true;  // nothing of it is kept
  draft_.Remove();
  return true;
}

bool DocumentEditor::MayEnd() {
  if (stored_) return true;
  const QString left = TakeTyped();
  if (!left.isEmpty() && !AskToLose("Zadnji upis nije prihvaćen.", FromQt(left) + "\nZatvoriti bez njega?"))
    return false;
  return SaveDraft() ||
         AskToLose("Nedovršeni dokument bit će izgubljen.", FromQt(note_.text()) + "\nZatvoriti ipak?");
}

// What was entered from the supplier's document stands in the document's own record until it is stored; the
// lines are summed beside it.
RecordSet DocumentEditor::TotalsOfLines() {
  RecordSet entered("DokDobavljaca");
  entered.CleanClone(*document_.SupplierTotals());
  document_.FillSupplierTotals();
  RecordSet calculated("DokDobavljaca");
  calculated.CleanClone(*document_.SupplierTotals());
  document_.SupplierTotals()->CleanClone(entered);
  return calculated;
}

bool DocumentEditor::HasSupplierTotals() const {
  const RecordSet* const totals = document_.SupplierTotals();
  if (totals == nullptr || totals->RowCount() == 0) return false;
  for (std::size_t i = 0; i < totals->FieldCount(); ++i) {
    if (totals->RowAt(0).AsCurrency(i) != Currency()) return true;
  }
  return false;
}

void DocumentEditor::ShowSupplierTotals() {
  const RecordSet calculated = TotalsOfLines();
  RecordSet shown("DokDobavljaca");
  shown.CleanClone(HasSupplierTotals() ? *document_.SupplierTotals() : calculated);
  SupplierDialog dialog(shown, calculated, this);
  dialog.SetReadOnly();
  dialog.exec();
}

void DocumentEditor::EnterSupplierTotals() {
  if (stored_) return ShowSupplierTotals();
  if (!TakeAll()) return;
  const RecordSet calculated = TotalsOfLines();
  RecordSet& entered = *document_.SupplierTotals();
  if (!HasSupplierTotals()) entered.CleanClone(calculated);
  // Lines may have come to be of the other edition since.
  if (EditionOfTotals(entered) != EditionOfTotals(calculated)) {
    RecordSet typed("DokDobavljaca");
    typed.CleanClone(entered);
    entered.CleanClone(calculated);
    entered.Clear();
    entered.DataTransfer(typed);
  }
  const bool accepted = SupplierDialog(entered, calculated, this).exec() == QDialog::Accepted;
  const QString differences = SupplierDifferences(entered, calculated);
  if (!accepted || differences.isEmpty()) {
    // The same as the lines: they are followed as long as they change.
    if (accepted || stored_) note_.clear();
    if (accepted) entered.CleanClone(MakeDocDobavljaca());
  } else {
    note_.setText(QStringLiteral("Dokument dobavljača se razlikuje: %1").arg(differences));
  }
  Changed();
}

// A difference to the supplier's document is asked about: what is stored is what the lines come to.
bool DocumentEditor::AgreesWithSupplier() {
  if (!HasSupplierTotals()) return true;
  const QString differences = SupplierDifferences(*document_.SupplierTotals(), TotalsOfLines());
  return differences.isEmpty() || AskToLose("Dokument dobavljača se razlikuje od stavaka.",
                                            FromQt(differences) + "\nPohraniti iznose iz stavaka?");
}

}  // namespace mox

#include "desktop/import_dialog.h"

#include <QApplication>
#include <QClipboard>
#include <QCryptographicHash>
#include <QDragEnterEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>

#include "desktop/clipboard_table.h"
#include "desktop/contrast.h"
#include "desktop/croatian.h"
#include "desktop/host.h"
#include "desktop/import_window.h"
#include "desktop/keys.h"
#include "desktop/storing.h"
#include "desktop/window_place.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/import/import_history.h"
#include "sheets/grid_sheet.h"
#include "sheets/open_sheet.h"

namespace mox {
namespace {

constexpr qsizetype kMostPastedRows = 2'000'000;

// That of scroll bars, light enough for black letters in any theme.
const QColor kScrollBar(200, 200, 200);

// 0xBBGGRR; another colour of the system is left to the theme.
std::optional<QColor> ColorOf(const std::optional<std::uint32_t>& color) {
  if (color == kScrollBarColor) return kScrollBar;
  if (!color || (*color & kSystemColor) != 0) return std::nullopt;
  return QColor(static_cast<int>(*color & 0xFF), static_cast<int>(*color >> 8 & 0xFF),
                static_cast<int>(*color >> 16 & 0xFF));
}

// A header of light colour has dark letters in a dark theme, too.
QString StyleOfHeader() {
  const auto color = ColorOf(TfrmImportGrid::kHeader.color);
  if (!color) return {};
  return QStringLiteral("QHeaderView::section { background: %1; color: black; padding: 3px; }")
      .arg(color->name());
}

// Selected cells, wherever the keys go.
QPalette WithSelected(QPalette palette) {
  const auto back = ColorOf(TfrmImportGrid::kSelected.color);
  const auto text = ColorOf(TfrmImportGrid::kSelected.text_color);
  if (back) palette.setColor(QPalette::Highlight, *back);
  if (text) palette.setColor(QPalette::HighlightedText, *text);
  return palette;
}

std::string UserName() { return FromQt(qEnvironmentVariable("USER")); }

}  // namespace

ImportDialog::ImportDialog(TfrmImportGrid& form, DesktopHost& host)
    : form_(form), host_(host), model_(form.AdsForImport()), view_(model_), faults_(form), status_(this) {
  setWindowTitle(ToQt(TfrmImportGrid::kCaption));
  setFont(QFont({ToQt(TfrmImportGrid::kFont), font().family()}, font().pointSize()));
  setAcceptDrops(true);
  Build();
  setFixedSize(TfrmImportGrid::kClientWidth, TfrmImportGrid::kClientHeight);
  new WindowPlace(*this, "IMPORT_GRID");
  FormChanged();
  ShowFaults();
  listener_ = form_.AdsForImport().AddListener([this](const RecordSet&, const RecordSetChange& change) {
    if (!busy_ && change.kind != RecordSetChange::kMoved) has_work_ = true;
  });
}

ImportDialog::~ImportDialog() { form_.AdsForImport().RemoveListener(listener_); }

void ImportDialog::Build() {
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(MakeTop());
  view_.setAccessibleName(QStringLiteral("Redci za uvoz"));
  view_.SetAppending(TfrmImportGrid::kAppending);
  view_.SetEmptyText(ToQt(TfrmImportGrid::kEmptyGridText));
  view_.setPalette(WithSelected(view_.palette()));
  view_.horizontalHeader()->setSectionsMovable(TfrmImportGrid::kColumnMoving);
  view_.horizontalHeader()->setStyleSheet(StyleOfHeader());
  view_.installEventFilter(this);
  view_.viewport()->installEventFilter(this);
  model_.SetFaultOf([this](std::size_t row, std::size_t field) { return FaultOfCell(row, field); });
  model_.SetRowColor([this](std::size_t row) -> QVariant {
    const GridStyle* const style = form_.RowStyle(row);
    const auto color = style == nullptr ? std::nullopt : ColorOf(style->text_color);
    return color ? QVariant(ReadableOn(*color, view_.palette().color(QPalette::Base))) : QVariant();
  });
  ShowColumns();
  fault_view_.setModel(&faults_);
  fault_view_.setAccessibleName(QStringLiteral("Pronađene greške"));
  fault_view_.setSelectionBehavior(QAbstractItemView::SelectRows);
  fault_view_.setEditTriggers(QAbstractItemView::NoEditTriggers);
  fault_view_.setTabKeyNavigation(false);
  fault_view_.horizontalHeader()->setStretchLastSection(true);
  fault_view_.verticalHeader()->hide();
  fault_view_.installEventFilter(this);
  connect(&fault_view_, &QTableView::doubleClicked, this,
          [this](const QModelIndex& at) { GoToFault(at.row()); });
  parts_.addWidget(&view_);
  parts_.addWidget(&fault_view_);
  parts_.setStretchFactor(0, 3);
  layout->addWidget(&parts_, 1);
  layout->addWidget(MakeBottom());
  connect(view_.selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& at) {
    if (at.isValid()) form_.FocusColumn(model_.Columns()[static_cast<std::size_t>(at.column())].field);
  });
  MakeShortcut(this, Qt::Key_F8, [this] { only_faulty_.toggle(); });
  MakeShortcut(this, QKeySequence::Open, [this] {
    const QString path = QFileDialog::getOpenFileName(
        this, QStringLiteral("Tablica za uvoz"), {},
        QStringLiteral("Tablice (*.xlsx *.xlsm *.ods *.csv *.tsv *.txt);;Sve datoteke (*)"));
    if (!path.isEmpty()) OpenSheetFile(path);
  });
  view_.setFocus();
}

QPushButton* ImportDialog::MakeButton(const FormButton& button, void (TfrmImportGrid::*click)()) {
  auto* const made = new QPushButton(ToQt(button.caption));
  made->setToolTip(ToQt(button.hint));
  made->setAutoDefault(false);
  buttons_.emplace_back(&button, made);
  connect(made, &QPushButton::clicked, this,
          [this, click] { Run([this, click] { std::invoke(click, form_); }); });
  return made;
}

QWidget* ImportDialog::MakeTop() {
  auto* const top = new QWidget;
  auto* const layout = new QHBoxLayout(top);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(MakeButton(form_.FilterButton(), &TfrmImportGrid::FilterClick));
  layout->addWidget(MakeButton(form_.PreracunVelicinaButton(), &TfrmImportGrid::PreracunVelicinaClick));
  layout->addWidget(MakeButton(form_.GeneriranjeSifriButton(), &TfrmImportGrid::GeneriranjeSifriClick));
  layout->addWidget(MakeButton(form_.WSKatalogButton(), &TfrmImportGrid::WSKatalogClick));
  only_faulty_.setCheckable(true);
  only_faulty_.setAutoDefault(false);
  connect(&only_faulty_, &QPushButton::toggled, this, [this](bool only) { ShowFaultyRows(only); });
  layout->addWidget(&only_faulty_);
  summary_.setAccessibleName(QStringLiteral("Sažetak"));
  layout->addWidget(&summary_, 1);
  QFont bold = indicator_.font();
  bold.setBold(TfrmImportGrid::kBoldIndicator);
  indicator_.setFont(bold);
  indicator_.setAccessibleName(QStringLiteral("Redak"));
  layout->addWidget(&indicator_, 0, Qt::AlignRight);
  return top;
}

QWidget* ImportDialog::MakeBottom() {
  auto* const bottom = new QWidget;
  auto* const layout = new QHBoxLayout(bottom);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const hint =
      new QLabel(QStringLiteral("Alt+E lijepi iz tablice, Ctrl+O otvara datoteku ili je dovucite ovamo."));
  layout->addWidget(hint, 1);
  auto* const check = MakeButton(form_.ProvjeraIUvozButton(), &TfrmImportGrid::ProvjeraIUvozClick);
  check->disconnect(this);
  connect(check, &QPushButton::clicked, this, [this] { Check(); });
  layout->addWidget(check);
  layout->addWidget(MakeButton(form_.OdustaniButton(), &TfrmImportGrid::OdustaniClick));
  return bottom;
}

// --- what the form shows ---

void ImportDialog::FormChanged() {
  indicator_.setText(ToQt(form_.LblIndicator()));
  for (const auto& [button, widget] : buttons_) {
    widget->setText(ToQt(button->caption));
    widget->setVisible(button->visible);
  }
  const std::span<const GridColumn> columns = form_.Columns();
  for (std::size_t i = 0; i < columns.size() && i < model_.Columns().size(); ++i) {
    view_.setColumnHidden(static_cast<int>(i), !columns[i].visible);
  }
  view_.FollowSet();
}

void ImportDialog::ShowColumns() {
  std::vector<std::string_view> fields;
  for (const GridColumn& column : form_.Columns()) {
    fields.push_back(column.field_name);
    if (const auto index = form_.AdsForImport().FindFieldIndex(column.field_name)) {
      form_.AdsForImport().SetDisplayName(*index, column.caption);
    }
    if (column.position < kFirstDataPosition) model_.SetFieldEditable(column.field_name, false);
  }
  if (fields.empty()) return;
  model_.ShowFields(fields);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    view_.setColumnWidth(static_cast<int>(i), form_.Columns()[i].width);
  }
}

void ImportDialog::StatusChanged(const TfrmStatus& status, bool repaint) { status_.Show(status, repaint); }

QString ImportDialog::FaultOfCell(std::size_t row, std::size_t field) const {
  const std::string& name = form_.AdsForImport().Definition(field).name;
  for (const ImportFault& fault : form_.FaultsOfRow(row)) {
    if (!SameName(form_.Fields()[fault.column].field_name, name)) continue;
    // A cell that was mended since is in order until it is checked again.
    if (!form_.HasValueOf(fault, form_.AdsForImport().RowAt(row))) continue;
    return FaultText(fault, form_.Fields()[fault.column]);
  }
  return {};
}

void ImportDialog::ShowFaults() {
  faults_.ReadAnew();
  const std::size_t count = form_.Faults().size();
  fault_view_.setVisible(count > 0);
  only_faulty_.setEnabled(count > 0 || only_faulty_.isChecked());
  summary_.setText(count == 0 ? QString() : QStringLiteral("Grešaka: %1").arg(count));
  if (count > 0) fault_view_.setCurrentIndex(faults_.index(0, 0));
  if (only_faulty_.isChecked()) ShowFaultyRows(true);
}

void ImportDialog::ShowFaultyRows(bool only) {
  if (!only) return model_.SetRowFilter(nullptr);
  model_.SetRowFilter([this](std::size_t row) { return form_.RowStyle(row) != nullptr; });
}

void ImportDialog::GoToFault(int row) {
  if (row < 0 || row >= faults_.rowCount()) return;
  const ImportFault& fault = faults_.At(row);
  const RecordSet& rows = form_.AdsForImport();
  for (std::size_t i = std::min(fault.row, rows.RowCount()); i > 0; --i) {
    if (rows.NumberOfRow(i - 1) != fault.row) continue;
    const auto shown = model_.TableRow(i - 1);
    if (!shown) return;
    const QModelIndex cell = model_.index(*shown, *model_.ColumnOf(form_.Fields()[fault.column].field_name));
    view_.setCurrentIndex(cell);
    view_.scrollTo(cell, QAbstractItemView::PositionAtCenter);
    view_.setFocus();
    return;
  }
}

// --- what the user does ---

// While the form works nothing is edited; what it raises is told.
void ImportDialog::Run(const std::function<void()>& action) {
  if (busy_ || !model_.submit()) return;
  busy_ = true;
  status_.Begin();
  {
    QElapsedTimer since;
    since.start();
    const DesktopHost::LongWork work(host_, [this, since] { Look(since); });
    Guarded(action);
  }
  busy_ = false;
  status_.hide();
  FormChanged();
  ShowFaults();
  const ImportOutcome outcome = form_.Outcome();
  if (outcome == ImportOutcome::kStored || outcome == ImportOutcome::kUnknown) return;
  if (status_.WasEnded()) summary_.setText(QStringLiteral("Prekinuto, ništa nije pohranjeno."));
}

// What the form says nothing of, as a request of its own, comes once it has taken a moment.
void ImportDialog::Look(const QElapsedTimer& since) {
  if (status_.isVisible()) return status_.Look();
  if (since.elapsed() >= kTakesLong) status_.Show(QStringLiteral("Čeka se odgovor poslužitelja"));
}

// Where it is ended, the rows are those that were there, with their faults.
void ImportDialog::ReplaceRows(const std::function<void()>& action) {
  if (!form_.AdsForImport().IsActive()) return;
  const GridRows before = form_.KeepRows();
  try {
    action();
  } catch (...) {
    form_.RestoreRows(before);
    throw;
  }
}

// The journal names where the rows come from.
void ImportDialog::Paste() {
  const bool alone = form_.AdsForImport().RowCount() == 0;
  ReplaceRows([this] { form_.GridKeyDown(U'E', {.alt = true}); });
  const std::string pasted = "međuspremnik";
  if (alone || !origin_) {
    origin_ = ImportOrigin{UserName(), pasted, {}, false};
  } else if (!origin_->file.ends_with(pasted)) {
    origin_->file += " + " + pasted;
  }
  form_.SetOrigin(*origin_);
  has_work_ = true;
}

std::optional<KeptImport> ImportDialog::Unstored() {
  const RecordSet& rows = form_.AdsForImport();
  view_.TakeRow();
  const ImportOutcome outcome = form_.Outcome();
  const bool left = outcome != ImportOutcome::kStored &&
                    (has_work_ || outcome == ImportOutcome::kDeclined || outcome == ImportOutcome::kRefused);
  if (!left || !rows.IsActive() || rows.Table().size() == 0) return std::nullopt;
  return KeptImport{form_.KeepRows(), origin_};
}

void ImportDialog::TakeUp(const KeptImport& kept) {
  form_.RestoreRows(kept.rows);
  ShowFaults();
  origin_ = kept.origin;
  if (origin_) form_.SetOrigin(*origin_);
  has_work_ = true;
}

void ImportDialog::Check() {
  Run([this] {
    host_.Server().SetRehearsing(false);
    StoreWhatIsShown([this] { form_.ProvjeraIUvozClick(); });
    if (form_.Outcome() != ImportOutcome::kRefused) return;
    ShowRefusedCells();
    ShowVelorDialog(TVCustomDialogType::kError, "Upozorenje", "Ništa nije pohranjeno.",
                    "Poslužitelj nije prihvatio podatke: " + FromQt(RefusalOf(host_.Server())));
  });
}

void ImportDialog::ShowRefusedCells() {
  const auto& failure = host_.Server().LastWrite().failure;
  if (failure && failure->row > 0) {
    std::vector<ImportRefusal> cells = {{failure->row, failure->field, failure->message}};
    for (const RefusedCell& cell : failure->others) cells.push_back({cell.row, cell.field, cell.message});
    form_.SetRefusedCells(cells);
  }
}

void ImportDialog::OpenSheetFile(const QString& path) {
  if (busy_ || !view_.TakeRow()) return;
  if (has_work_ && form_.AdsForImport().Table().size() > 0 &&
      !AskToLose("U tablici su redci koji nisu uvezeni.", "Zamijeniti ih retcima datoteke?")) {
    return;
  }
  Run([&] {
    ReadSheet read = Read(FromQt(path));
    ImportOrigin origin{UserName(), FromQt(QFileInfo(path).fileName()), read.digest, false};
    const auto before = StoredImport(form_.ProfileKey(), origin.digest);
    if (before) {
      if (!AskToLose("Datoteka je već uvezena (" + *before + ").", "Uvesti je još jednom?")) return;
      origin.again = true;
    }
    ReplaceRows([&] {
      form_.AdsForImport().Clear();
      host_.PasteFrom(std::move(read.sheet.text), [this] { form_.GridKeyDown(U'E', {.alt = true}); });
    });
    form_.SetSheetFaults(GridFaultsOf(read.sheet));
    form_.SetOrigin(origin);
    origin_ = origin;
    has_work_ = false;
    form_.AdsForImport().First();
    QStringList remarks;
    for (const std::string& remark : read.sheet.remarks) remarks.append(ToQt(remark));
    setWindowTitle(ToQt(TfrmImportGrid::kCaption) + QStringLiteral(" – ") + QFileInfo(path).fileName());
    if (!remarks.isEmpty()) ShowMessage(FromQt(remarks.join(u'\n')));
  });
}

// The file is read beside the window.
ImportDialog::ReadSheet ImportDialog::Read(const std::string& file) {
  status_.Show(QStringLiteral("Čitanje datoteke"));
  return host_.RunLong([file, fields = DataFields(form_)] {
    const std::string bytes = ReadRegularFile(file);
    const std::vector<SheetColumn> columns = SheetColumnsOf(fields);
    const SheetChoice choice{{}, columns.size(), TextEncoding::kRecognised};
    const auto rows = OpenSheet({file, bytes}, choice);
    return ReadSheet{
        QCryptographicHash::hash(QByteArrayView(bytes), QCryptographicHash::Sha256).toHex().toStdString(),
        LayOutSheet(*rows, columns, {HeadingMode::kRecognised, {}, CurrentLocale()})};
  });
}

void ImportDialog::reject() {
  if (busy_) return;
  form_.OdustaniClick();
}

bool ImportDialog::eventFilter(QObject* watched, QEvent* event) {
  // While the dialog goes away its parts are no longer what they were, and send other events.
  if (event->type() == QEvent::ChildPolished && watched == view_.viewport()) {
    static_cast<QChildEvent*>(event)->child()->installEventFilter(this);  // what a cell is typed in
  }
  if (event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
  const auto& key = static_cast<const QKeyEvent&>(*event);
  if (watched == &fault_view_ && (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter)) {
    GoToFault(fault_view_.currentIndex().row());
    return true;
  }
  const bool in_rows = watched == &view_ || watched->parent() == view_.viewport();
  const bool pastes = in_rows && key.modifiers() == Qt::AltModifier && key.key() == Qt::Key_E;
  if (!pastes) return QDialog::eventFilter(watched, event);
  view_.TakeCell();
  const QString fault = FaultOfPasted(ClipboardText(QApplication::clipboard()->mimeData()), kMostPastedRows);
  if (!fault.isEmpty()) return summary_.setText(fault), true;
  Run([this] { Paste(); });
  return true;
}

void ImportDialog::dragEnterEvent(QDragEnterEvent* event) {
  if (!busy_ && event->mimeData()->urls().size() == 1) event->acceptProposedAction();
}

void ImportDialog::dropEvent(QDropEvent* event) {
  const QList<QUrl> files = event->mimeData()->urls();
  if (files.size() != 1 || !files.first().isLocalFile()) return;
  event->acceptProposedAction();
  OpenSheetFile(files.first().toLocalFile());
}

// --- the view of the library ---

ImportWindow::ImportWindow(DesktopHost& host) : host_(host) {}

ImportWindow::~ImportWindow() = default;

// What was left without storing it is offered when the same kind of data is imported next.
void ImportWindow::ShowModal(TfrmImportGrid& form) {
  dialog_ = std::make_unique<ImportDialog>(form, host_);
  auto& kept = host_.KeptImports();
  const auto left = kept.find(form.ProfileKey());
  if (left != kept.end() &&
      Ask("Od prošlog puta ostali su redci koji nisu uvezeni.", "Vratiti ih u tablicu?")) {
    dialog_->TakeUp(left->second);
  }
  dialog_->exec();
  if (auto now = dialog_->Unstored()) {
    kept[form.ProfileKey()] = std::move(*now);
  } else if (form.Outcome() == ImportOutcome::kStored) {
    kept.erase(form.ProfileKey());
  }
  dialog_.reset();
}

void ImportWindow::FormChanged(const TfrmImportGrid& /*form*/) {
  if (dialog_) dialog_->FormChanged();
}

void ImportWindow::FaultsChanged(const TfrmImportGrid& /*form*/) {
  if (dialog_) dialog_->ShowFaults();
}

void ImportWindow::ModalResultChanged(const TfrmImportGrid& form) {
  if (dialog_ && form.ModalResult() != kMrNone) dialog_->done(form.ModalResult());
}

void ImportWindow::StatusChanged(const TfrmStatus& status, bool repaint) {
  if (dialog_) dialog_->StatusChanged(status, repaint);
}

}  // namespace mox

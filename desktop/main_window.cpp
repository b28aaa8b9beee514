#include "desktop/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QInputDialog>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <filesystem>

#include "appserver/codebook.h"
#include "appserver/company_server.h"
#include "connect/open_company.h"
#include "desktop/codebook_page.h"
#include "desktop/company_page.h"
#include "desktop/document_editor.h"
#include "desktop/document_list.h"
#include "desktop/host.h"
#include "desktop/import_journal_page.h"
#include "desktop/import_titles.h"
#include "desktop/keys.h"
#include "desktop/login_dialog.h"
#include "desktop/mail_page.h"
#include "desktop/open_dialog.h"
#include "desktop/rate_page.h"
#include "desktop/report_page.h"
#include "desktop/settings_dialog.h"
#include "desktop/status_window.h"
#include "desktop/stored_document.h"
#include "desktop/users_page.h"
#include "desktop/window_place.h"
#include "mox/host/system_platform.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_profiles.h"

namespace mox {
namespace {

const QString kCompanyFiles = QStringLiteral("Tvrtka (*.db);;Sve datoteke (*)");

struct ClassTitle {
  DocumentClass is;
  const char16_t* title;
};

// Who is logged in at the company's server; nobody for a file.
std::string UserOf(const std::string& location) {
  if (!IsServerAddress(location)) return {};
  const auto login =
      LoginStore(SystemPlatform::UserStateFolder()).Find(ServerAddress::Parse(location).server);
  return login ? login->user : std::string();
}

constexpr ClassTitle kClasses[] = {
    {DocumentClass::kInvoice, u"Računi"},     {DocumentClass::kProForma, u"Predračuni"},
    {DocumentClass::kOrder, u"Radni nalozi"}, {DocumentClass::kGoodsReceipt, u"Primke"},
    {DocumentClass::kReturn, u"Povratnice"},  {DocumentClass::kStock, u"Skladište"},
    {DocumentClass::kReport, u"Blagajna"}};

}  // namespace

MainWindow::MainWindow(DesktopHost& host) : host_(host) {
  setCentralWidget(&tabs_);
  tabs_.setTabsClosable(true);
  tabs_.setMovable(true);
  tabs_.setDocumentMode(true);
  connect(&tabs_, &QTabWidget::tabCloseRequested, this, [this](int index) { CloseTab(index); });
  statusBar()->addPermanentWidget(&company_);
  BuildMenus();
  host_.SetMainForm(this);
  resize(QSize(1180, 760).boundedTo(screen()->availableSize()));
  new WindowPlace(*this, "GEOMETRY");
  ShowTitle();
}

MainWindow::~MainWindow() {
  host_.SetMainForm(nullptr);
  while (tabs_.count() > 0) delete tabs_.widget(0);
}

QAction* MainWindow::Add(QMenu* menu, const QString& text, const QKeySequence& key,
                         void (MainWindow::*action)()) {
  QAction* const added = menu->addAction(text);
  added->setShortcut(key);
  connect(added, &QAction::triggered, this,
          [this, action] { Guarded([this, action] { (this->*action)(); }); });
  return added;
}

void MainWindow::BuildMenus() {
  QMenu* const company = menuBar()->addMenu(QStringLiteral("&Tvrtka"));
  Add(company, QStringLiteral("&Otvori…"), QKeySequence::Open, &MainWindow::ChooseCompany);
  Add(company, QStringLiteral("Pri&java…"), {}, &MainWindow::LogIn);
  Add(company, QStringLiteral("&Nova tvrtka…"), {}, &MainWindow::NewCompany);
  Add(company, QStringLiteral("Nova &pokazna tvrtka…"), {}, &MainWindow::NewDemo);
  Add(company, QStringLiteral("&Sigurnosna kopija…"), {}, &MainWindow::BackUp);
  Add(company, QStringLiteral("&Podaci tvrtke"), {}, &MainWindow::ShowCompanyData);
  Add(company, QStringLiteral("&Korisnici i ovlasti"), {}, &MainWindow::ShowUsers);
  Add(company, QStringLiteral("Račun za poš&tu…"), {}, &MainWindow::ShowMailAccount);
  Add(company, QStringLiteral("&Broj decimala…"), {}, &MainWindow::ShowSettings);
  company->addSeparator();
  connect(company->addAction(QStringLiteral("&Izlaz")), &QAction::triggered, this, &QWidget::close);

  QMenu* const documents = menuBar()->addMenu(QStringLiteral("&Dokumenti"));
  Add(documents, QStringLiteral("&Popis dokumenata"), Qt::CTRL | Qt::Key_D, &MainWindow::ShowDocuments);
  Add(documents, QStringLiteral("&Novi dokument…"), QKeySequence::New, &MainWindow::ChooseDocument);
  Add(documents, QStringLiteral("&Odlazna pošta"), {}, &MainWindow::ShowMails);
  documents->addSeparator();
  for (const ClassTitle& group : kClasses) {
    QMenu* const kinds = documents->addMenu(QString::fromUtf16(group.title));
    for (const DocumentKind& kind : DocumentKinds()) {
      if (kind.is != group.is) continue;
      connect(kinds->addAction(ToQt(kind.title)), &QAction::triggered, this,
              [this, &kind] { Guarded([this, &kind] { NewDocument(kind); }); });
    }
  }
  QMenu* const codebooks = menuBar()->addMenu(QStringLiteral("Š&ifarnici"));
  Add(codebooks, QStringLiteral("&Tečajevi"), {}, &MainWindow::ShowRates);
  codebooks->addSeparator();
  for (const Codebook& codebook : CodebookTable()) {
    const std::string name(codebook.name);
    connect(codebooks->addAction(CodebookTitle(name)), &QAction::triggered, this,
            [this, name] { Guarded([this, &name] { ShowCodebook(name); }); });
  }
  QMenu* const imports = menuBar()->addMenu(QStringLiteral("&Uvoz"));
  Add(imports, QStringLiteral("&Dnevnik uvoza"), {}, &MainWindow::ShowImportJournal);
  imports->addSeparator();
  for (const ImportProfile& profile : ImportProfiles()) {
    const std::string key(profile.key);
    connect(imports->addAction(ImportTitle(key)), &QAction::triggered, this,
            [this, key] { Guarded([this, &key] { Import(key); }); });
  }
  QMenu* const reports = menuBar()->addMenu(QStringLiteral("I&zvještaji"));
  Add(reports, QStringLiteral("&Izvještaji"), Qt::CTRL | Qt::Key_R, &MainWindow::ShowReports);
  QMenu* const pages = menuBar()->addMenu(QStringLiteral("&Stranica"));
  Add(pages, QStringLiteral("&Sljedeća stranica"), Qt::CTRL | Qt::Key_PageDown, &MainWindow::ShowNext);
  Add(pages, QStringLiteral("&Prethodna stranica"), Qt::CTRL | Qt::Key_PageUp, &MainWindow::ShowPrevious);
  Add(pages, QStringLiteral("&Zatvori stranicu"), Qt::CTRL | Qt::Key_W, &MainWindow::CloseCurrent);
  QMenu* const help = menuBar()->addMenu(QStringLiteral("Po&moć"));
  Add(help, QStringLiteral("&Tipke"), QKeySequence::HelpContents, &MainWindow::ShowShortcuts);
}

// --- pages ---

int MainWindow::AddTab(QWidget* page) {
  const int index = tabs_.addTab(page, page->windowTitle());
  tabs_.setCurrentIndex(index);
  page->setFocus();
  return index;
}

DocumentEditor* MainWindow::AddEditor(Document document, Draft draft) {
  auto* const editor = new DocumentEditor(host_, std::move(document), std::move(draft));
  editor->setWindowTitle(editor->Title());
  editor->SetOnStored([this, editor] {
    tabs_.setTabText(tabs_.indexOf(editor), editor->Title());
    statusBar()->showMessage(QStringLiteral("Pohranjeno: %1").arg(editor->Title()));
  });
  editor->SetOnShow([this](std::int64_t id) { ShowDocument(id); });
  AddTab(editor);
  return editor;
}

DocumentEditor* MainWindow::NewDocument(const DocumentKind& kind) {
  host_.Server();
  return AddEditor(Document(kind), Draft::Begin());
}

void MainWindow::ChooseDocument() {
  host_.Server();
  QStringList titles;
  for (const DocumentKind& kind : DocumentKinds()) titles.append(ToQt(kind.title));
  bool chosen = false;
  const QString title = QInputDialog::getItem(this, QStringLiteral("Novi dokument"),
                                              QStringLiteral("Vrsta dokumenta:"), titles, 0, false, &chosen);
  if (chosen) NewDocument(DocumentKinds()[static_cast<std::size_t>(titles.indexOf(title))]);
}

void MainWindow::ShowDocuments() {
  host_.Server();
  for (int i = 0; i < tabs_.count(); ++i) {
    auto* const list = dynamic_cast<DocumentList*>(tabs_.widget(i));
    if (list == nullptr) continue;
    list->Reload();
    tabs_.setCurrentIndex(i);
    return list->setFocus();
  }
  AddTab(new DocumentList(host_, [this](std::int64_t id) { ShowDocument(id); }));
}

void MainWindow::ShowDocument(std::int64_t id) {
  for (int i = 0; i < tabs_.count(); ++i) {
    auto* const shown = dynamic_cast<StoredDocumentPage*>(tabs_.widget(i));
    if (shown == nullptr || shown->Id() != id) continue;
    shown->Reload();
    tabs_.setCurrentIndex(i);
    return shown->setFocus();
  }
  AddTab(new StoredDocumentPage(host_, id, [this](std::int64_t other) { ShowDocument(other); }));
}

void MainWindow::ShowCodebook(const std::string& name) {
  host_.Server();
  AddTab(new CodebookPage(host_, name, CodebookTitle(name)));
}

void MainWindow::ShowReports() {
  host_.Server();
  AddTab(new ReportPage(host_));
}

void MainWindow::ShowImportJournal() {
  host_.Server();
  AddTab(new ImportJournalPage(host_));
}

void MainWindow::ShowCompanyData() {
  host_.Server();
  AddTab(new CompanyPage(host_));
}

void MainWindow::Import(const std::string& key) {
  host_.Server();
  CallImportGrid(key);
}

void MainWindow::ShowNext() { ShowPage(1); }
void MainWindow::ShowPrevious() { ShowPage(-1); }

// So many pages on, beyond the last one from the first one on.
void MainWindow::ShowPage(int on) {
  if (tabs_.count() == 0) return;
  tabs_.setCurrentIndex((tabs_.currentIndex() + on + tabs_.count()) % tabs_.count());
  tabs_.currentWidget()->setFocus();
}

bool MainWindow::CloseTab(int index) {
  QWidget* const page = tabs_.widget(index);
  if (page == nullptr) return true;
  auto* const editing = dynamic_cast<EditingPage*>(page);
  if (editing != nullptr && !editing->MayClose()) return false;
  tabs_.removeTab(tabs_.indexOf(page));
  if (auto* const rows = dynamic_cast<RecordPage*>(page)) rows->Forget();
  page->deleteLater();  // it may be at work
  if (tabs_.currentWidget() != nullptr) tabs_.currentWidget()->setFocus();
  return true;
}

void MainWindow::CloseCurrent() {
  if (tabs_.currentIndex() >= 0) CloseTab(tabs_.currentIndex());
}

// Documents that are not finished stay as drafts and are offered at the next start.
bool MainWindow::MayEnd() {
  for (int i = 0; i < tabs_.count(); ++i) {
    auto* const editing = dynamic_cast<EditingPage*>(tabs_.widget(i));
    if (editing == nullptr) continue;
    tabs_.setCurrentIndex(i);
    if (!editing->MayEnd()) return false;
  }
  std::string kept;
  for (const auto& [key, rows] : host_.KeptImports()) {
    kept += FromQt(ImportTitle(key)) + ": " + std::to_string(rows.rows.rows.RowCount()) + "\n";
  }
  return kept.empty() || AskToLose("Redci koji nisu uvezeni bit će izgubljeni.", kept + "Odbaciti ih?");
}

void MainWindow::closeEvent(QCloseEvent* event) { event->setAccepted(MayEnd()); }

// --- the company ---

// The company that is open stays until the other one has answered; what is not finished in it stays as
// drafts.
void MainWindow::OpenCompany(const std::string& location) {
  std::shared_ptr<CompanyAccess> server = Connect(location);
  if (server == nullptr || !MayEnd()) return;
  while (tabs_.count() > 0) delete tabs_.widget(0);
  Guarded([&] { host_.Open(location, std::move(server)); });  // open, also where that cannot be remembered
  user_ = UserOf(location);
  ShowTitle();
  Guarded([this] { ShowDocuments(); });
  OfferDrafts();
}

// Null where the user did not log in.
std::shared_ptr<CompanyAccess> MainWindow::Connect(const std::string& location) {
  for (;;) {
    try {
      return host_.Connect(location);
    } catch (const NotLoggedIn&) {  // or not any more
    }
    if (LoginDialog(host_, ServerAddress::Parse(location), LoginName(), this).exec() != QDialog::Accepted) {
      return nullptr;
    }
  }
}

// What was not read without a session is read now.
void MainWindow::LogIn() {
  const std::string path = host_.IsOpen() ? App().Company().CompanyPath() : host_.LastCompany();
  if (!IsServerAddress(path)) throw Error("Prijava je potrebna samo za tvrtku na poslužitelju.");
  const ServerAddress address = ServerAddress::Parse(path);
  if (LoginDialog(host_, address, LoginName(), this).exec() != QDialog::Accepted) return;
  if (!host_.IsOpen()) return OpenCompany(path);
  const std::string user = UserOf(path);
  const bool by_another = user != user_;
  if (by_another && !MayLeaveRows()) return;
  host_.Reconnect();
  user_ = user;
  ShowTitle();
  ReadPagesAnew(by_another);
  if (tabs_.count() == 0) Guarded([this] { ShowDocuments(); });
  OfferDrafts();
}

// What one user has typed is not stored in another one's name, and what he has read is not left on the
// screen. False where a row that is not stored is to stay: then so does his session.
bool MainWindow::MayLeaveRows() {
  std::vector<RecordPage*> pages;
  for (int i = 0; i < tabs_.count(); ++i) {
    auto* const rows = dynamic_cast<RecordPage*>(tabs_.widget(i));
    if (rows == nullptr) continue;
    if (!rows->MayClose()) return false;
    pages.push_back(rows);
  }
  for (RecordPage* const rows : pages) rows->Clear();
  return true;
}

void MainWindow::ReadPagesAnew(bool by_another) {
  for (int i = tabs_.count(); i-- > 0;) {
    QWidget* const page = tabs_.widget(i);
    if (auto* const rows = dynamic_cast<RecordPage*>(page)) Guarded([rows] { rows->Reload(); });
    auto* const stored = dynamic_cast<StoredDocumentPage*>(page);
    if (stored != nullptr && !Guarded([stored] { stored->Reload(); }) && by_another) CloseTab(i);
    if (auto* const editor = dynamic_cast<DocumentEditor*>(page)) editor->ReadFormats();
  }
}

void MainWindow::OfferDrafts() {
  for (Draft& draft : Draft::Abandoned()) {
    Guarded([&] {
      Document document = draft.Read();
      const std::string what = std::string(document.Kind().title) +
                               ", stavaka: " + std::to_string(document.LineCount()) + ". Nastaviti s unosom?";
      if (Ask("Ovaj dokument nije dovršen.", what)) {
        AddEditor(std::move(document), std::move(draft));
      } else if (AskToLose("Nedovršeni dokument", "Odbaciti ga? Inače će biti ponuđen ponovo.")) {
        draft.Remove();
      }
    });
  }
}

void MainWindow::ShowTitle() {
  const QString name = host_.CompanyName();
  setWindowTitle(name.isEmpty() ? QStringLiteral("Mox") : name + QStringLiteral(" – Mox"));
  company_.setText(name.isEmpty() ? QStringLiteral("Nijedna tvrtka nije otvorena (Ctrl+O)") : name);
}

void MainWindow::ChooseCompany() {
  OpenDialog dialog(host_.RecentCompanies(), this);
  if (dialog.exec() == QDialog::Accepted) OpenCompany(dialog.Address());
}

void MainWindow::ShowRates() {
  host_.Server();
  AddTab(new RatePage(host_));
}

void MainWindow::CreateCompany(const QString& path, WithDemo with_demo) {
  host_.Create(FromQt(path), with_demo);
  OpenCompany(FromQt(path));
}

// The name of a file that is not there yet; empty where the user chose none.
QString MainWindow::ChooseNewFile(const QString& title, const QString& name) {
  const QString path = QFileDialog::getSaveFileName(this, title, name, kCompanyFiles, nullptr,
                                                    QFileDialog::DontConfirmOverwrite);
  return path.isEmpty() || !QFileInfo(path).suffix().isEmpty() ? path : path + QStringLiteral(".db");
}

void MainWindow::NewCompany() {
  const QString path = ChooseNewFile(QStringLiteral("Nova tvrtka"), QStringLiteral("tvrtka.db"));
  if (path.isEmpty()) return;
  CreateCompany(path, WithDemo::kNo);
  ShowCompanyData();
}

void MainWindow::NewDemo() {
  const QString path = ChooseNewFile(QStringLiteral("Nova pokazna tvrtka"), QStringLiteral("pokazna.db"));
  if (!path.isEmpty()) CreateCompany(path, WithDemo::kYes);
}

void MainWindow::BackUp() {
  const QString path = ChooseNewFile(QStringLiteral("Sigurnosna kopija"), {});
  if (!path.isEmpty()) BackUpTo(path);
}

void MainWindow::BackUpTo(const QString& path) {
  auto* const file = dynamic_cast<CompanyServer*>(&host_.Server());
  if (file == nullptr) throw Error("Sigurnosnu kopiju tvrtke na poslužitelju radi poslužitelj.");
  const LongRun run(host_, QStringLiteral("Sigurnosna kopija"));
  host_.RunToEnd([&](const std::atomic<bool>& ended) {
    file->database().BackUp(FromQt(path), [&ended] {
      if (ended) throw Abort();
    });
    return true;
  });
  statusBar()->showMessage(QStringLiteral("Sigurnosna kopija je u %1").arg(path));
}

void MainWindow::ShowSettings() {
  if (SettingsDialog(this).exec() == QDialog::Accepted) ReadPagesAnew();
}

void MainWindow::ShowUsers() {
  host_.Server();
  AddTab(new UsersPage(host_));
}

void MainWindow::ShowMails() {
  host_.Server();
  AddTab(new MailPage(host_));
}

void MainWindow::ShowMailAccount() {
  host_.Server();
  MailAccountDialog(host_, this).exec();
}

void MainWindow::ShowShortcuts() {
  QString rows;
  const auto add = [&rows](const QString& key, const QString& what) {
    rows += QStringLiteral("<tr><td><b>%1</b></td><td>%2</td></tr>")
                .arg(key.toHtmlEscaped(), what.toHtmlEscaped());
  };
  for (const QAction* const action : findChildren<QAction*>()) {
    if (action->shortcut().isEmpty() || action->text().isEmpty()) continue;
    add(action->shortcut().toString(QKeySequence::NativeText), action->text().remove(u'&').remove(u'…'));
  }
  for (const KeyRow& row : KeyRows()) add(row.Text(), QString::fromUtf16(row.what));
  QDialog dialog(this);
  dialog.setWindowTitle(QStringLiteral("Tipke"));
  auto* const layout = new QVBoxLayout(&dialog);
  auto* const list = new QTextBrowser;
  list->setHtml(QStringLiteral("<table cellpadding=4>") + rows + QStringLiteral("</table>"));
  list->setAccessibleName(QStringLiteral("Tipke"));
  layout->addWidget(list);
  dialog.resize(480, 460);
  dialog.exec();
}

}  // namespace mox

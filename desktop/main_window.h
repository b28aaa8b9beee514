#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QTabWidget>
#include <memory>

#include "appserver/database.h"
#include "mox/documents/document.h"
#include "mox/foundation/app.h"

namespace mox {

class CompanyAccess;
class DesktopHost;
class Draft;
class DocumentEditor;

/// The main window: a tab for each document that is entered, list and codebook. Everything is reached by the
/// keyboard; F1 lists the keys.
class MainWindow : public QMainWindow, public TMainForm {
 public:
  explicit MainWindow(DesktopHost& host);
  ~MainWindow() override;

  /// Opens a company and offers what was not finished in it. Raises Error.
  void OpenCompany(const std::string& location);
  DocumentEditor* NewDocument(const DocumentKind& kind);
  void ShowDocuments();
  /// A stored document, on the page that it has already.
  void ShowDocument(std::int64_t id);
  void ShowCodebook(const std::string& name);
  void ShowReports();
  void ShowCompanyData();
  /// Makes a company in a new file, and opens it.
  void CreateCompany(const QString& path, WithDemo with_demo);
  /// Copies the company that is open into a file. Raises Error for one on a server.
  void BackUpTo(const QString& path);
  void ShowImportJournal();
  void ShowRates();
  void ShowMails();
  void ShowUsers();
  /// A new session with the server of the company, which is opened where it is not.
  void LogIn();
  QTabWidget& Tabs() { return tabs_; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildMenus();
  QAction* Add(QMenu* menu, const QString& text, const QKeySequence& key, void (MainWindow::*action)());
  void Import(const std::string& key);
  void OfferDrafts();
  bool MayLeaveRows();
  void ReadPagesAnew(bool by_another = false);
  DocumentEditor* AddEditor(Document document, Draft draft);
  int AddTab(QWidget* page);
  bool CloseTab(int index);
  bool MayEnd();
  void CloseCurrent();
  void ShowNext();
  void ShowPrevious();
  void ShowPage(int on);
  void ChooseDocument();
  void ChooseCompany();
  std::shared_ptr<CompanyAccess> Connect(const std::string& location);
  QString ChooseNewFile(const QString& title, const QString& name);
  void NewCompany();
  void NewDemo();
  void BackUp();
  void ShowSettings();
  void ShowMailAccount();
  void ShowShortcuts();
  void ShowTitle();

  DesktopHost& host_;
  QTabWidget tabs_;
  QLabel company_;
  std::string user_;  // in whose name the company's server is asked
};

}  // namespace mox

#pragma once

#include <QString>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "appserver/company_access.h"
#include "appserver/database.h"
#include "connect/login_store.h"
#include "connect/open_company.h"
#include "connect/server_address.h"
#include "connect/server_connection.h"
#include "desktop/background.h"
#include "desktop/dialogs.h"
#include "desktop/look_ups.h"
#include "desktop/platform.h"
#include "mox/foundation/app.h"
#include "mox/host/company_parameters.h"
#include "mox/host/locale.h"
#include "mox/host/working_company.h"
#include "mox/import/import_grid.h"

namespace mox {

/// Rows of an import that was left without storing them.
struct KeptImport {
  GridRows rows;
  std::optional<ImportOrigin> origin;
};

/// How companies are reached: as every program does, or as a test wants it.
struct Doors {
  using Fill = std::function<void(Database& created)>;
  std::function<std::unique_ptr<CompanyAccess>(const std::string& address)> open = OpenCompany;
  std::function<void(const std::string& address, WithDemo demo, const Fill& fill)> create =
      [](const std::string& address, WithDemo demo, const Fill& fill) {
        Database::Create(address, demo, fill);
      };
  std::function<StoredLogin(const ServerAddress& address, const std::string& user,
                            const std::string& password, const std::string& ca_file, const EndFlag& ended)>
      log_in = ServerConnection::LogIn;
  std::function<void(const ServerAddress& address, const StoredLogin& login)> log_out =
      ServerConnection::LogOut;
};

/// The window's host program, behind App() for the object's lifetime: settings in the same file as the
/// command's, Qt's dialogs, screen and look-up forms, and the company that is open.
class DesktopHost : public AppForms {
 public:
  /// Raises Error for a settings file that cannot be read. Without a path nothing is kept.
  /// Without a folder files lie where the system has them.
  explicit DesktopHost(const std::string& settings_path, const std::string& state_folder = {});
  ~DesktopHost() override;
  DesktopHost(const DesktopHost&) = delete;
  DesktopHost& operator=(const DesktopHost&) = delete;

  /// Opens a company instead of the one that is open, and remembers it: a file, "postgresql://..." or
  /// "https://HOST/COMPANY". Raises Error, DatabaseError; the one that was open stays then.
  void Open(const std::string& address);
  /// The same with a connection to that address that was made before.
  void Open(const std::string& address, std::shared_ptr<CompanyAccess> server);
  /// A connection to a company that has answered; nothing is open by that. Raises Error, DatabaseError,
  /// NotLoggedIn.
  std::shared_ptr<CompanyAccess> Connect(const std::string& address);
  /// Makes a company at an address; one that the user ends is not there. Raises Error, DatabaseError, Abort.
  void Create(const std::string& address, WithDemo demo);
  /// Begins a session with a server, which is kept for this computer's user. Raises Error.
  void LogIn(const ServerAddress& address, const std::string& user, const std::string& password,
             const std::string& ca_file);
  /// Connects anew to the company that is open, after a login.
  void Reconnect();
  void Close();
  void SetDoors(Doors doors) { doors_ = std::move(doors); }
  bool IsOpen() const { return server_ != nullptr; }
  /// How often something was sent to be stored.
  int Writes() const { return writes_; }
  /// Once it has answered what it was asked before. Raises Error where no company is open.
  CompanyAccess& Server();
  /// The company that was open last; empty where there was none.
  std::string LastCompany() const;
  /// Those that were open before, the last one first.
  std::vector<std::string> RecentCompanies() const;
  /// For the window's title.
  QString CompanyName();

  /// Runs what pastes from the clipboard, on this text instead.
  void PasteFrom(std::string text, const std::function<void()>& paste);

  /// Requests to the server never stop the window: they go on beside it, and after a moment the status form
  /// says so and takes the button that ends them. As long as this lives they are one work with what is run by
  /// the host, and the window looks every now and then by `look`; that raises Abort where the user ends it.
  class LongWork {
   public:
    LongWork(DesktopHost& host, std::function<void()> look)
        : host_(host), before_(std::exchange(host.look_, std::move(look))) {
      host_.platform_.SetLook(host_.look_);
    }
    ~LongWork() {
      host_.look_ = std::move(before_);
      host_.platform_.SetLook(host_.look_);
    }
    LongWork(const LongWork&) = delete;
    LongWork& operator=(const LongWork&) = delete;

   private:
    DesktopHost& host_;
    std::function<void()> before_;
  };

  /// Within long work: a task that owns what it works on.
  template <typename Task>
  auto RunLong(Task task) {
    return others_.Run(WithLocale(std::move(task)), look_);
  }

  /// The same for a task that looks at the flag it is given, which is set once nobody waits for it any more.
  template <typename Task>
  auto RunUntilEnded(Task task) {
    const EndFlag ended = NewEndFlag();
    try {
      return RunLong([task = std::move(task), ended]() mutable { return task(ended); });
    } catch (const Abort&) {
      *ended = true;
      throw;
    }
  }

  /// The same for a task that is waited for in any case, since what it did is to be known: it is told by
  /// `ended` that the user wants it to end.
  template <typename Task>
  auto RunToEnd(Task task) {
    std::atomic<bool> ended = false;
    return others_.Run(WithLocale([&task, &ended] { return task(ended); }), [this, &ended] {
      try {
        if (look_) look_();
      } catch (const Abort&) {
        ended = true;
      }
    });
  }

  /// By the key of the import's profile.
  std::map<std::string, KeptImport>& KeptImports() { return kept_imports_; }
  void SetMainForm(TMainForm* form) { main_form_ = form; }
  std::unique_ptr<ImportGridView> NewImportGridView() override;
  TMainForm* MainForm() override { return main_form_; }

 private:
  class Comunication;
  class Request;
  template <typename Task>
  auto WithLocale(Task task) {
    return [task = std::move(task), locale = &locale_]() mutable {
      const ScopedApp app({.locale = locale});
      return task();
    };
  }
  void FinishRequests();
  void Exchange(std::shared_ptr<CompanyAccess> server);
  void Remember(const std::string& path);

  Doors doors_;
  std::unique_ptr<TAppIni> settings_;
  std::shared_ptr<CompanyAccess> server_;
  bool knows_parameters_ = false;  // of the company that is open
  int writes_ = 0;
  CompanyParameterModule nobody_;  // without a company
  std::unique_ptr<Comunication> comunication_;
  WorkingCompany company_;
  QtDialogs dialogs_;
  QtPlatform platform_;
  StandardLocale locale_;
  QtLookUps look_ups_;
  std::map<std::string, KeptImport> kept_imports_;
  std::function<void()> look_;  // while long work goes on
  TMainForm* main_form_ = nullptr;
  std::optional<ScopedApp> app_;
  Background requests_;  // to the company that is open; they end before what they work on
  Background others_;    // what owns what it works on
};

}  // namespace mox

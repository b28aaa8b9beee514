#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "appserver/company_access.h"
#include "desktop/dialogs.h"
#include "desktop/look_ups.h"
#include "desktop/platform.h"
#include "mox/foundation/app.h"
#include "mox/host/company_parameters.h"
#include "mox/host/locale.h"
#include "mox/host/working_company.h"

namespace mox {

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
  void Open(const std::string& address, std::unique_ptr<CompanyAccess> server);
  /// Connects anew to the company that is open, after a login.
  void Reconnect();
  void Close();
  bool IsOpen() const { return server_ != nullptr; }
  /// Raises Error where no company is open.
  CompanyAccess& Server();
  /// The company that was open last; empty where there was none.
  std::string LastCompany() const;
  /// Those that were open before, the last one first.
  std::vector<std::string> RecentCompanies() const;
  /// For the window's title.
  QString CompanyName() const;

  /// Runs what pastes from the clipboard, on this text instead.
  void PasteFrom(std::string text, const std::function<void()>& paste);
  void SetMainForm(TMainForm* form) { main_form_ = form; }
  std::unique_ptr<ImportGridView> NewImportGridView() override;
  TMainForm* MainForm() override { return main_form_; }

 private:
  class Comunication;
  void Remember(const std::string& path);

  std::unique_ptr<TAppIni> settings_;
  std::unique_ptr<CompanyAccess> server_;
  CompanyParameterModule nobody_;  // without a company
  std::unique_ptr<Comunication> comunication_;
  WorkingCompany company_;
  QtDialogs dialogs_;
  QtPlatform platform_;
  StandardLocale locale_;
  QtLookUps look_ups_;
  TMainForm* main_form_ = nullptr;
  std::optional<ScopedApp> app_;
};

}  // namespace mox

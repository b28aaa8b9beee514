#include "desktop/host.h"

#include <filesystem>

#include "appserver/database_location.h"
#include "connect/open_company.h"
#include "desktop/import_window.h"
#include "mox/host/memory_settings.h"
#include "mox/host/settings_file.h"

namespace mox {
namespace {

constexpr const char* kSection = "DESKTOP";
constexpr const char* kLastCompany = "COMPANY";

}  // namespace

// Of whatever company is open.
class DesktopHost::Comunication : public TdmComunication {
 public:
  explicit Comunication(DesktopHost& host) : host_(host) {}
  RecordSet* CompanyParameters() override { return Now().CompanyParameters(); }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    return Now().ReportDataService(request, service);
  }
  int WriteDataService(const TAstaParamList& request) override { return Now().WriteDataService(request); }
  std::string WriteRefusal() const override {
    return host_.server_ ? host_.server_->WriteRefusal() : std::string();
  }

 private:
  TdmComunication& Now() {
    return host_.server_ ? static_cast<TdmComunication&>(*host_.server_) : host_.nobody_;
  }
  DesktopHost& host_;
};

DesktopHost::DesktopHost(const std::string& settings_path, const std::string& state_folder)
    : comunication_(std::make_unique<Comunication>(*this)),
      company_(*comunication_),
      locale_(SystemLocaleSettings()) {
  if (settings_path.empty()) {
    settings_ = std::make_unique<MemorySettings>();
  } else {
    settings_ = std::make_unique<SettingsFile>(settings_path);
  }
  platform_.SetStateFolder(state_folder);
  app_.emplace(AppParts{.ini = settings_.get(),
                        .comunication = comunication_.get(),
                        .dialogs = &dialogs_,
                        .locale = &locale_,
                        .platform = &platform_,
                        .company = &company_,
                        .look_ups = &look_ups_,
                        .forms = this});
}

DesktopHost::~DesktopHost() = default;

void DesktopHost::Open(const std::string& address) {
  server_ = OpenCompany(address);
  const bool is_file = !IsServerAddress(address) && DatabaseLocation(address).IsFile();
  const std::string path = is_file ? std::filesystem::canonical(address).string() : address;
  company_.SetPath(path);
  // An address with a password in it is nothing for a file of settings.
  const bool is_secret =
      !is_file && !IsServerAddress(address) && DatabaseLocation(address).ToString() != address;
  if (!is_secret) settings_->WriteString(kSection, kLastCompany, path);
}

void DesktopHost::Close() {
  server_.reset();
  company_.SetPath({});
}

CompanyAccess& DesktopHost::Server() {
  if (!server_) throw Error("Nijedna tvrtka nije otvorena.");
  return *server_;
}

std::string DesktopHost::LastCompany() const { return settings_->ReadString(kSection, kLastCompany, ""); }

QString DesktopHost::CompanyName() const {
  if (!server_) return {};
  RecordSet* const parameters = server_->CompanyParameters();
  const auto name = parameters == nullptr ? std::nullopt : parameters->FindField("NazivPoduzeca");
  return ToQt(name && !name->IsNull() ? name->AsText()
                                      : std::filesystem::path(company_.CompanyPath()).filename().string());
}

void DesktopHost::PasteFrom(std::string text, const std::function<void()>& paste) {
  platform_.SetClipboard(std::move(text));
  try {
    paste();
  } catch (...) {
    platform_.SetClipboard(std::nullopt);
    throw;
  }
  platform_.SetClipboard(std::nullopt);
}

std::unique_ptr<ImportGridView> DesktopHost::NewImportGridView() {
  return std::make_unique<ImportWindow>(*this);
}

}  // namespace mox

#include "desktop/host.h"

#include <algorithm>
#include <filesystem>

#include "appserver/database_location.h"
#include "connect/open_company.h"
#include "desktop/import_window.h"
#include "mox/foundation/error.h"
#include "mox/host/memory_settings.h"
#include "mox/host/settings_file.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

constexpr const char* kSection = "DESKTOP";
constexpr std::size_t kRemembered = 8;

// COMPANY, COMPANY2, COMPANY3, ...
std::string RecentKey(std::size_t place) {
  return place == 0 ? "COMPANY" : "COMPANY" + std::to_string(place + 1);
}

}  // namespace

// Of whatever company is open.
class DesktopHost::Comunication : public TdmComunication {
 public:
  explicit Comunication(DesktopHost& host) : host_(host) {}
  RecordSet* CompanyParameters() override { return Now().CompanyParameters(); }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    TdmComunication& server = Now();
    const auto copy = host_.look_ ? CopyOf(request) : nullptr;
    if (!copy) return server.ReportDataService(request, service);
    return host_.InBackground(
        [&server, copy, name = std::string(service)] { return server.ReportDataService(*copy, name); },
        host_.look_);
  }
  // What was sent cannot be ended any more.
  int WriteDataService(const TAstaParamList& request) override {
    TdmComunication& server = Now();
    if (!host_.look_) return server.WriteDataService(request);
    return host_.RunToEnd(
        [&](const std::atomic<bool>& /*ended*/) { return server.WriteDataService(request); });
  }
  std::string WriteRefusal() const override {
    return host_.server_ ? host_.server_->WriteRefusal() : std::string();
  }

 private:
  // For a task that may outlive the request; null where that has more than plain values.
  static std::shared_ptr<const TAstaParamList> CopyOf(const TAstaParamList& request) {
    auto copy = std::make_shared<TAstaParamList>();
    for (std::size_t i = 0; i < request.Count(); ++i) {
      const TAstaParam& item = request[i];
      if (item.Kind() == ParamKind::kList || item.Kind() == ParamKind::kDataSet) return nullptr;
      copy->FastAdd(item.Name(), item.AsVariant());
    }
    return copy;
  }
  TdmComunication& Now() {
    host_.background_.Finish();
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

void DesktopHost::Open(const std::string& address) { Open(address, OpenCompany(address)); }

void DesktopHost::Reconnect() {
  background_.Finish();
  server_ = OpenCompany(company_.CompanyPath());
}

void DesktopHost::Open(const std::string& address, std::unique_ptr<CompanyAccess> server) {
  background_.Finish();
  kept_imports_.clear();
  server_ = std::move(server);
  const bool is_file = !IsServerAddress(address) && DatabaseLocation(address).IsFile();
  const std::string path = is_file ? std::filesystem::canonical(address).string() : address;
  company_.SetPath(path);
  // An address with a password in it is nothing for a file of settings.
  const bool is_secret =
      !is_file && !IsServerAddress(address) && DatabaseLocation(address).ToString() != address;
  if (!is_secret) Remember(path);
}

// The last one goes to the front of those that are remembered.
void DesktopHost::Remember(const std::string& path) {
  std::vector<std::string> recent = RecentCompanies();
  std::erase(recent, path);
  recent.insert(recent.begin(), path);
  recent.resize(std::min(recent.size(), kRemembered));
  for (std::size_t i = 0; i < recent.size(); ++i) {
    if (settings_->ReadString(kSection, RecentKey(i), "") == recent[i]) continue;
    settings_->WriteString(kSection, RecentKey(i), recent[i]);
  }
}

std::vector<std::string> DesktopHost::RecentCompanies() const {
  std::vector<std::string> recent;
  for (std::size_t i = 0; i < kRemembered; ++i) {
    std::string path = settings_->ReadString(kSection, RecentKey(i), "");
    if (!path.empty()) recent.push_back(std::move(path));
  }
  return recent;
}

void DesktopHost::Close() {
  background_.Finish();
  server_.reset();
  company_.SetPath({});
}

CompanyAccess& DesktopHost::Server() {
  background_.Finish();
  if (!server_) throw Error("Nijedna tvrtka nije otvorena.");
  return *server_;
}

std::string DesktopHost::LastCompany() const { return settings_->ReadString(kSection, RecentKey(0), ""); }

QString DesktopHost::CompanyName() const {
  if (!server_) return {};
  const RecordSet* const parameters = server_->CompanyParameters();
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

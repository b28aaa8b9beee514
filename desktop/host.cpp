#include "desktop/host.h"

#include <QElapsedTimer>
#include <algorithm>
#include <filesystem>

#include "appserver/commit_lost.h"
#include "appserver/database_location.h"
#include "desktop/import_window.h"
#include "desktop/status_window.h"
#include "mox/foundation/error.h"
#include "mox/host/memory_settings.h"
#include "mox/host/settings_file.h"
#include "mox/host/system_platform.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

constexpr const char* kSection = "DESKTOP";
constexpr std::size_t kRemembered = 8;

// Of a write that was ended and has not told how it went.
std::string NotAwaited() { return "the request was ended by the user; " + std::string(kNotKnown); }

// COMPANY, COMPANY2, COMPANY3, ...
std::string RecentKey(std::size_t place) {
  return place == 0 ? "COMPANY" : "COMPANY" + std::to_string(place + 1);
}

}  // namespace

// A request to the company that is open, under the status form of the long work that goes on, or else under
// one of its own. What the company was asked before has ended by then.
class DesktopHost::Request {
 public:
  Request(DesktopHost& host, const QString& text) : host_(host) {
    if (!host.look_) own_.emplace(host, text);
    host.FinishRequests();
    if (host.server_) host.server_->EndRequests(false);
  }

  // What it reads is dropped where the user ends it.
  template <typename Task>
  auto Read(Task task) {
    try {
      return host_.requests_.Run(host_.WithLocale(std::move(task)), host_.look_);
    } catch (const Abort&) {
      End();
      throw;
    }
  }
  // What it stores is to be known. One that the user ends tells what is known of it; where it does not come
  // to that, nothing is.
  template <typename Task>
  auto Store(Task task) {
    QElapsedTimer since_ended;
    return host_.requests_.Run(host_.WithLocale(std::move(task)), [&] {
      try {
        host_.look_();
      } catch (const Abort&) {
        End();
        if (!since_ended.isValid()) since_ended.start();
      }
      if (since_ended.isValid() && since_ended.elapsed() > kToTell) throw DatabaseUnavailable(NotAwaited());
    });
  }

 private:
  static constexpr qint64 kToTell = 2000;  // milliseconds
  void End() {
    if (host_.server_) host_.server_->EndRequests(true);
  }
  DesktopHost& host_;
  std::optional<LongRun> own_;
};

// Of whatever company is open.
class DesktopHost::Comunication : public TdmComunication {
 public:
  explicit Comunication(DesktopHost& host) : host_(host) {}

  // They are asked for once, and after each write.
  RecordSet* CompanyParameters() override {
    if (host_.server_ && (!host_.knows_parameters_ || host_.requests_.IsRunning())) {
      try {
        Request request(host_, QStringLiteral("Čitanje podataka tvrtke"));
        request.Read([server = Now()] { return server->CompanyParameters(); });
      } catch (const Abort&) {
        throw Error("ended by the user");  // in the middle of a calculation
      }
      host_.knows_parameters_ = true;
    }
    return Now()->CompanyParameters();
  }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    Request sent(host_, QStringLiteral("Čitanje podataka"));
    return sent.Read([server = Now(), copy = CopyOf(request), name = std::string(service)] {
      return server->ReportDataService(*copy, name);
    });
  }
  int WriteDataService(const TAstaParamList& request) override {
    Request sent(host_, QStringLiteral("Pohrana podataka"));
    host_.knows_parameters_ = false;
    ++host_.writes_;
    return sent.Store([server = Now(), copy = CopyOf(request)] { return server->WriteDataService(*copy); });
  }
  std::string WriteRefusal() const override {
    return host_.server_ ? host_.server_->WriteRefusal() : std::string();
  }

 private:
  // For a task that may outlive the request.
  static std::shared_ptr<const TAstaParamList> CopyOf(const TAstaParamList& request) {
    auto copy = std::make_shared<TAstaParamList>();
    for (std::size_t i = 0; i < request.Count(); ++i) {
      const TAstaParam& item = request[i];
      if (item.Kind() == ParamKind::kList || item.Kind() == ParamKind::kDataSet) {
        *copy = TAstaParamList::FromTokenizedString(request.AsTokenizedString(false));
        break;
      }
      copy->FastAdd(item.Name(), item.AsVariant());
    }
    return copy;
  }
  std::shared_ptr<TdmComunication> Now() {
    if (host_.server_) return host_.server_;
    return {std::shared_ptr<void>(), &host_.nobody_};
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

DesktopHost::~DesktopHost() {
  if (server_) server_->EndRequests(true);
}

void DesktopHost::FinishRequests() {
  if (!requests_.IsRunning()) return;
  std::optional<LongRun> own;
  if (!look_) own.emplace(*this, QStringLiteral("Čeka se kraj prethodnog zahtjeva"));
  requests_.Finish(look_);
}

void DesktopHost::Open(const std::string& address) { Open(address, doors_.open(address)); }

std::shared_ptr<CompanyAccess> DesktopHost::Connect(const std::string& address) {
  const LongRun run(*this, QStringLiteral("Otvaranje tvrtke"));
  std::shared_ptr<CompanyAccess> server(RunLong([open = doors_.open, address] { return open(address); }));
  try {
    RunLong([server] { return server->CompanyParameters(); });
  } catch (const Abort&) {
    server->EndRequests(true);
    throw;
  }
  return server;
}

void DesktopHost::Create(const std::string& address, WithDemo demo) {
  const LongRun run(*this, QStringLiteral("Nova tvrtka"));
  RunUntilEnded([create = doors_.create, address, demo](const EndFlag& ended) {
    create(address, demo, [&ended](Database&) {
      if (*ended) throw Abort();
    });
    return true;
  });
}

// Either the session has begun before the user ended the wait, and is his, or it is ended once it begins.
void DesktopHost::LogIn(const ServerAddress& address, const std::string& user, const std::string& password,
                        const std::string& ca_file) {
  const LongRun run(*this, QStringLiteral("Prijava"));
  const EndFlag ended = NewEndFlag();
  const EndFlag settled = NewEndFlag();
  const auto login = std::make_shared<StoredLogin>();
  try {
    RunLong([=, doors = doors_] {
      *login = doors.log_in(address, user, password, ca_file, ended);
      if (settled->exchange(true)) doors.log_out(address, *login);
      return true;
    });
  } catch (const Abort&) {
    if (!settled->exchange(true)) {
      *ended = true;
      throw;
    }
  }
  LoginStore(SystemPlatform::UserStateFolder()).Keep(address.server, *login);
}

void DesktopHost::Reconnect() { Exchange(Connect(company_.CompanyPath())); }

void DesktopHost::Exchange(std::shared_ptr<CompanyAccess> server) {
  if (server_) server_->EndRequests(true);
  others_.TakeOver(requests_);
  server_ = std::move(server);
  knows_parameters_ = false;
}

void DesktopHost::Open(const std::string& address, std::shared_ptr<CompanyAccess> server) {
  const bool is_file = !IsServerAddress(address) && DatabaseLocation(address).IsFile();
  const std::string path = is_file ? std::filesystem::canonical(address).string() : address;
  Exchange(std::move(server));
  kept_imports_.clear();
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
  Exchange(nullptr);
  company_.SetPath({});
}

CompanyAccess& DesktopHost::Server() {
  FinishRequests();
  if (!server_) throw Error("Nijedna tvrtka nije otvorena.");
  return *server_;
}

std::string DesktopHost::LastCompany() const { return settings_->ReadString(kSection, RecentKey(0), ""); }

QString DesktopHost::CompanyName() {
  if (!server_) return {};
  const RecordSet* const parameters = comunication_->CompanyParameters();
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

#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "appserver/company_server.h"
#include "appserver/service_info.h"
#include "moxd/accounts.h"
#include "moxd/http_types.h"
#include "moxd/open_companies.h"
#include "moxd/request_log.h"
#include "moxd/request_route.h"
#include "moxd/settings.h"
#include "moxd/silent_servers.h"

namespace mox {

/// What one thread of the server does its requests with: the directory of users and companies, and the
/// databases of companies, which it shares with the others. It raises nothing.
class CompanyWorker {
 public:
  /// Where `reloads` has changed the directory is opened anew before the next request.
  CompanyWorker(const ServerSettings& settings, ByteBudget& budget, RequestLog& log, SilentServers& silent,
                OpenCompanies& companies, const std::atomic<unsigned>& reloads);
  ~CompanyWorker();

  Reply LogIn(HttpRequest& request);
  Reply LogOut(const RequestHead& head);
  /// Whether the user may send what the route takes.
  Admission Admit(const RequestHead& head, const RequestRoute& route);
  Reply Answer(HttpRequest& request, const RequestRoute& route);
  /// Whether the directory can be asked.
  bool IsReady();
  /// Reads the whole directory; the log says what is wrong with it, or how many companies it has.
  bool CheckDirectory();

 private:
  Accounts& Directory();
  template <typename Opening>
  auto WithRoom(const Opening& opening) -> decltype(opening());
  std::unique_ptr<CompanyServer> Open(const std::string& address);
  int SecondsAlone();
  Reply Attempt(HttpRequest& request, const RequestRoute& route, std::optional<std::string>& text);
  std::optional<Reply> Check(const RequestHead& head, const RequestRoute& route,
                             std::optional<AccountSession>& session);
  std::optional<Reply> ReadList(HttpRequest& request, std::string& text);
  Reply Read(CompanyServer& server, const RequestRoute& route, const TAstaParamList& list);
  Reply Write(CompanyServer& server, const RequestHead& head, const TAstaParamList& list);
  Reply WriteUsers(const ServiceInfo& transaction, const RequestHead& head, const AccountSession& session,
                   const std::string& company, const TAstaParamList& request);
  void TakeOver(CompanyServer& server, const std::string& company);
  /// Runs what may raise.
  template <typename Work>
  Reply Guarded(const std::string& company, const Work& work);

  const ServerSettings& settings_;
  ByteBudget& budget_;
  RequestLog& log_;
  SilentServers& silent_;
  OpenCompanies& companies_;
  const std::atomic<unsigned>& reloads_;
  unsigned known_reloads_ = 0;
  std::string asked_;  // the address of the company of the present request; empty before that is known
  std::string away_;   // one that was waited for in vain
  std::optional<Accounts> directory_;
};

}  // namespace mox

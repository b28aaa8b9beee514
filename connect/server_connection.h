#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/company_access.h"
#include "connect/http_client.h"
#include "connect/login_store.h"
#include "connect/server_address.h"
#include "mox/host/company_parameters.h"

namespace mox {

/// How often a request is sent again.
struct RetryPolicy {
  std::chrono::milliseconds first_pause{200};         ///< doubled each time
  std::chrono::milliseconds longest_pause{5000};      ///< but no longer than that
  std::chrono::milliseconds while_unreachable{3000};  ///< where nothing of the request was sent
  std::chrono::milliseconds while_unknown{60000};     ///< where it may have been done, or the server is busy
};

/// Who asks has no session, or one that has ended.
class NotLoggedIn : public Error {
 public:
  using Error::Error;
};

/// The client's side of an application server on the network: the same answers, refusals and errors as where
/// the database is opened here.
///
/// Every write has a key, under which the server stores it once however often it is asked. A request whose
/// answer was lost, or is not one that the server gave whole, is sent again with the same key, so that its
/// outcome becomes known; where the server stays away, DatabaseUnavailable says whether it is known that
/// nothing was stored.
class ServerConnection : public CompanyAccess {
 public:
  /// A session that was begun by LogIn. Nothing is asked yet.
  ServerConnection(const ServerAddress& address, const StoredLogin& login, RetryPolicy retries = {});
  ~ServerConnection() override;

  /// Begins a session, which is not waited for any more once `ended` is set. Raises Error that says why it
  /// was refused or the server cannot be reached.
  static StoredLogin LogIn(const ServerAddress& address, const std::string& user, const std::string& password,
                           const std::string& ca_file, EndFlag ended = NewEndFlag());
  /// Ends it; a session that has ended is none.
  static void LogOut(const ServerAddress& address, const StoredLogin& login);

  void SetParameter(std::string_view assignment) override;
  void SetRehearsing(bool rehearsing) override { rehearsing_ = rehearsing; }
  const WriteOutcome& LastWrite() const override { return last_write_; }
  void AddSecrets(Secrets& secrets) override { secrets_ = &secrets; }
  void RequireNamed() override;

  RecordSet* CompanyParameters() override;
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override;
  int WriteDataService(const TAstaParamList& request) override;
  std::string WriteRefusal() const override;
  void EndRequests(bool end) override;

 private:
  /// What a request was sent for, for people; of a write what is told where its outcome is not known.
  struct Purpose {
    std::string path;
    std::string key;  ///< of a write
  };
  /// Takes the text of what was answered. Raises Error where it is not what is answered to that.
  using TakeText = std::function<void(const std::string& text)>;
  /// Answers what the server itself has said, or raises DatabaseUnavailable.
  HttpAnswer Ask(const Purpose& purpose, const std::string& text, const TakeText& take);
  /// False where it was ended.
  bool Pause(std::chrono::milliseconds pause);
  std::vector<std::string> Headers(const Purpose& purpose, bool packed) const;
  void LearnSecrets(TAstaParamList& answer, std::string_view service) const;
  [[noreturn]] void RaiseFault(const HttpAnswer& answer) const;

  ServerAddress address_;
  StoredLogin login_;
  RetryPolicy retries_;
  HttpClient client_;
  std::mutex mutex_;
  std::condition_variable change_;
  bool ended_ = false;  // what is waited for
  std::vector<std::string> assignments_;
  CompanyParameterModule parameters_;
  bool has_parameters_ = false;
  bool rehearsing_ = false;
  WriteOutcome last_write_;
  Secrets* secrets_ = nullptr;
};

}  // namespace mox

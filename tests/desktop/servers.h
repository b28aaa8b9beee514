#pragma once

#include <memory>
#include <semaphore>
#include <string>
#include <string_view>

#include "appserver/commit_lost.h"
#include "appserver/company_server.h"
#include "moxd/directory_services.h"

namespace mox {

/// A company whose server goes away: before a write arrives, or before its answer does.
class LostServer : public CompanyAccess {
 public:
  enum class Lost { kNo, kBefore, kAfter, kReads };
  explicit LostServer(const std::string& path) : server_(Database(path)) {}
  void Lose(Lost lost) { lost_ = lost; }
  void SetParameter(std::string_view assignment) override { server_.SetParameter(assignment); }
  void SetRehearsing(bool rehearsing) override { server_.SetRehearsing(rehearsing); }
  const WriteOutcome& LastWrite() const override { return server_.LastWrite(); }
  void AddSecrets(Secrets& secrets) override { server_.AddSecrets(secrets); }
  void RequireNamed() override { server_.RequireNamed(); }
  RecordSet* CompanyParameters() override { return server_.CompanyParameters(); }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    if (lost_ == Lost::kReads) throw DatabaseUnavailable(told);
    return server_.ReportDataService(request, service);
  }
  int WriteDataService(const TAstaParamList& request) override {
    if (lost_ == Lost::kBefore) throw DatabaseUnavailable(told + "; " + std::string(kNothingStored));
    const int stored = server_.WriteDataService(request);
    if (lost_ != Lost::kAfter) return stored;
    throw DatabaseUnavailable(told + "; " + NotKnownUnder("k"));
  }

 private:
  const std::string told = "https://posluzitelj: cannot be reached: Connection refused";
  CompanyServer server_;
  Lost lost_ = Lost::kNo;
};

/// A company whose server carries a request out, but does not answer yet.
class SlowServer : public LostServer {
 public:
  using LostServer::LostServer;
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    auto answer = LostServer::ReportDataService(request, service);
    if (service == slow) answers.acquire();
    return answer;
  }
  int WriteDataService(const TAstaParamList& request) override {
    const int stored = LostServer::WriteDataService(request);
    if (slow != kWrites) return stored;
    answers.acquire();
    if (ended_)
      throw DatabaseUnavailable("https://posluzitelj: cannot be reached: ended by the user; " +
                                NotKnownUnder("k"));
    return stored;
  }
  void EndRequests(bool end) override {
    ended_ = end && ends;
    if (ended_) answers.release();
  }
  static constexpr std::string_view kWrites = "writes";
  std::string_view slow;  // a service, or kWrites
  bool ends = true;       // a request that is not waited for any more
  std::counting_semaphore<> answers{0};

 private:
  bool ended_ = false;
};

/// A company on a server that answers for its users, too.
class UsersServer : public LostServer {
 public:
  UsersServer(const std::string& path, Accounts& accounts) : LostServer(path), accounts_(accounts) {}
  const WriteOutcome& LastWrite() const override { return last_write_; }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    if (service != DirectoryServices()[0].name) return LostServer::ReportDataService(request, service);
    return std::make_unique<TAstaParamList>(AnswerOfDirectory(accounts_, "firma"));
  }
  int WriteDataService(const TAstaParamList& request) override {
    last_write_ = WriteToDirectory(accounts_, {"ana", "firma"}, request);
    return last_write_.committed ? 1 : 0;
  }

 private:
  Accounts& accounts_;
  WriteOutcome last_write_;
};

}  // namespace mox

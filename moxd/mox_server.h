#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "moxd/company_worker.h"
#include "moxd/http_server.h"
#include "moxd/metrics.h"
#include "moxd/open_companies.h"
#include "moxd/request_log.h"
#include "moxd/settings.h"
#include "moxd/silent_servers.h"
#include "moxd/work_queue.h"

namespace mox {

/// The server program's whole: clients on one side, workers with the companies' databases on the other, a
/// bounded queue between them.
class MoxServer : private RequestHandler {
 public:
  /// Raises Error where the certificate cannot be read or an address is taken. `sockets` are those that the
  /// system's manager has opened already, if any.
  MoxServer(ServerSettings settings, std::FILE* log, const std::vector<int>& sockets = {});
  ~MoxServer() override;

  std::uint16_t port() const { return port_; }
  std::uint16_t operations_port() const { return operations_port_; }
  HttpServer& http() { return http_; }
  RequestLog& log() { return log_; }

  void Start();
  /// Reads the certificate and the directory of companies again; the former ones stay where they cannot be
  /// read, and the log says why. No request is lost by it.
  void Reload();
  /// Ends the requests under way, as long as the settings let them, and stops.
  void Stop();

 private:
  class Operations;

  Admission Admit(const RequestHead& head) override;
  void AdmitLarge(const RequestHead& head, std::function<void(Admission)> decide) override;
  void Answer(HttpRequest request, AnswerWith answer) override;
  Reply Refuse(const char* code) override;
  void Done(std::uint64_t length, const Reply& reply, std::chrono::steady_clock::duration took,
            bool sent) override;
  void LacksDescriptors() override;

  using Task = std::function<Reply(CompanyWorker& worker)>;
  void ReloadCertificate();
  void CloseCompanies(void (OpenCompanies::*close)());
  /// Answers with what the task does, or that it did not come to its turn.
  void Enqueue(WorkQueue& queue, std::vector<std::unique_ptr<CompanyWorker>>& workers,
               const RequestRoute& route, Task task, AnswerWith answer);

  ServerSettings settings_;
  RequestLog log_;
  Metrics metrics_;
  HttpServer http_;
  std::atomic<unsigned> reloads_ = 0;  // of the directory
  SilentServers silent_;
  OpenCompanies companies_;
  std::unique_ptr<Operations> operations_;
  std::vector<std::unique_ptr<CompanyWorker>> workers_;
  std::vector<std::unique_ptr<CompanyWorker>> login_workers_;
  std::unique_ptr<WorkQueue> work_;
  std::unique_ptr<WorkQueue> logins_;
  std::atomic<bool> stopping_ = false;
  std::uint16_t port_ = 0;
  std::uint16_t operations_port_ = 0;
};

}  // namespace mox

#include "moxd/mox_server.h"

#include <chrono>
#include <functional>
#include <utility>

#include "moxd/error_reply.h"
#include "moxd/network_threads.h"

namespace mox {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t kLoginWorkers = 2;

double SecondsSince(steady_clock::time_point begin) {
  return std::chrono::duration<double>(steady_clock::now() - begin).count();
}

const char* RouteName(const RequestRoute& route) {
  switch (route.kind) {
    case RequestRoute::Kind::kNone:
      return "none";
    case RequestRoute::Kind::kLogIn:
      return "login";
    case RequestRoute::Kind::kLogOut:
      return "logout";
    case RequestRoute::Kind::kService:
      return "service";
    default:
      return "write";
  }
}

Reply Named(Reply reply, const RequestRoute& route) {
  reply.route = RouteName(route);
  reply.company = route.company;
  return reply;
}

}  // namespace

// Health and counters, on a port of their own.
class MoxServer::Operations : public RequestHandler {
 public:
  explicit Operations(MoxServer& server) : server_(server) {}

  Admission Admit(const RequestHead& head) override {
    if (head.length == 0 && !head.is_chunked) return std::nullopt;
    return ErrorReply("bad_request");
  }
  void AdmitLarge(const RequestHead& /*head*/, std::function<void(Admission)> decide) override {
    decide(ErrorReply("bad_request"));
  }
  Reply Refuse(const char* code) override { return ErrorReply(code); }
  void Done(std::uint64_t /*length*/, const Reply& /*reply*/, steady_clock::duration /*took*/,
            bool /*sent*/) override {}
  void LacksDescriptors() override { server_.LacksDescriptors(); }

  void Answer(HttpRequest request, AnswerWith answer) override {
    const std::string& target = request.head.target;
    if (request.head.method != "GET") return answer(ErrorReply("wrong_method", "the address takes GET"));
    if (target == "/healthz") return answer(Text("ok\n"));
    if (target == "/readyz") return AnswerReady(std::move(answer));
    if (target == "/metrics") return answer(Text(Counters()));
    answer(ErrorReply("not_found"));
  }

 private:
  static Reply Text(std::string text) {
    Reply reply;
    reply.content_type = "text/plain; version=0.0.4; charset=utf-8";
    reply.body = std::move(text);
    return reply;
  }

  // Ready is who takes requests and reaches the directory.
  void AnswerReady(AnswerWith answer) {
    if (server_.stopping_) return answer(ErrorReply("stopping"));
    const auto ask = [](CompanyWorker& worker) {
      return worker.IsReady() ? Text("ready\n") : ErrorReply("database_unavailable");
    };
    server_.Enqueue(*server_.work_, server_.workers_, {}, ask, std::move(answer));
  }

  std::string Counters() const {
    std::string out;
    const HttpCounts counts = server_.http_.Counts();
    const auto add = [&out](std::string_view name, std::string_view type, std::string_view help, auto value) {
      Metrics::AppendValue(name, type, help, static_cast<double>(value), out);
    };
    add("moxd_connections", "gauge", "connections that are open", counts.open);
    add("moxd_connections_total", "counter", "connections that were taken", counts.accepted);
    add("moxd_connections_refused_total", "counter", "connections beyond the most", counts.refused);
    add("moxd_handshakes_failed_total", "counter", "TLS handshakes that failed", counts.failed_handshakes);
    add("moxd_bytes_free", "gauge", "bytes that requests may still take", counts.free_bytes);
    add("moxd_queue_waiting", "gauge", "requests that wait for a worker", server_.work_->Waiting());
    add("moxd_workers_busy", "gauge", "workers at a request", server_.work_->Busy());
    add("moxd_log_lines_dropped_total", "counter", "lines of the log that nobody took",
        server_.log_.Dropped());
    add("moxd_databases_open", "gauge", "databases of companies that are open", server_.companies_.Count());
    add("moxd_logins_waiting", "gauge", "log-ins that wait", server_.logins_->Waiting());
    server_.metrics_.Append(out);
    return out;
  }

  MoxServer& server_;
};

MoxServer::MoxServer(ServerSettings settings, std::FILE* log, const std::vector<int>& sockets)
    : settings_(std::move(settings)),
      log_(log),
      http_(settings_.http, settings_.io_threads),
      companies_(settings_.databases, settings_.longest_unused),
      operations_(std::make_unique<Operations>(*this)) {
  http_.UseTls(settings_.tls);
  port_ = sockets.empty() ? http_.Listen(settings_.listen, true, *this)
                          : http_.ListenAt(sockets.front(), true, *this);
  operations_port_ = http_.Listen(settings_.operations, false, *operations_);
  const auto make = [this](std::size_t count, std::vector<std::unique_ptr<CompanyWorker>>& workers) {
    for (std::size_t i = 0; i < count; ++i) {
      workers.push_back(
          std::make_unique<CompanyWorker>(settings_, http_.budget(), log_, silent_, companies_, reloads_));
    }
  };
  make(settings_.workers, workers_);
  make(kLoginWorkers, login_workers_);
  // What waits for a lock, or takes a core for its time, is long from the first.
  const auto hand = [this](std::function<void()> call, bool may_wait) {
    using Length = NetworkThreads::Length;
    http_.threads().Call(std::move(call), may_wait ? Length::kLong : Length::kShort);
  };
  work_ = std::make_unique<WorkQueue>(settings_.workers, settings_.queue, hand);
  logins_ = std::make_unique<WorkQueue>(kLoginWorkers, settings_.login_queue,
                                        [hand](auto call, bool) { hand(std::move(call), true); });
}

MoxServer::~MoxServer() {
  work_->Stop();
  logins_->Stop();
  http_.Stop();
}

void MoxServer::Start() {
  const auto look = std::chrono::milliseconds(settings_.longest_unused) / 4;
  http_.Every(look, [this] { CloseCompanies(&OpenCompanies::CloseUnused); });
  http_.Start(settings_.workers + kLoginWorkers);
}

// By a worker, since the network waits for no database.
void MoxServer::CloseCompanies(void (OpenCompanies::*close)()) {
  const auto task = [this, close](CompanyWorker& /*worker*/) {
    std::invoke(close, companies_);
    return Reply();
  };
  Enqueue(*work_, workers_, {}, task, [](const Reply&) {});
}

void MoxServer::LacksDescriptors() { CloseCompanies(&OpenCompanies::CloseFree); }

void MoxServer::ReloadCertificate() {
  try {
    http_.UseTls(settings_.tls);
    log_.Event("certificate", "read again");
  } catch (const Error& error) {
    log_.Event("certificate", std::string("the former one stays: ") + error.what());
  }
}

void MoxServer::Reload() {
  ReloadCertificate();
  const auto read = [this](CompanyWorker& worker) {
    if (worker.CheckDirectory()) {
      companies_.Renew();
      ++reloads_;
    }
    return Reply();
  };
  Enqueue(*work_, workers_, {}, read, [](const Reply&) {});
}

void MoxServer::Stop() {
  stopping_ = true;
  log_.Event("stopping");
  http_.StopAccepting();
  const bool done = http_.WaitUntilDone(settings_.stop);
  work_->Stop();
  logins_->Stop();
  if (!done) http_.WaitUntilDone(std::chrono::seconds(1));
  http_.Stop();
  log_.Event("stopped");
}

Admission MoxServer::Admit(const RequestHead& head) {
  RequestRoute route;
  if (const char* const fault = FaultOfHead(head, route)) return Named(ErrorReply(fault), route);
  if (stopping_) return Named(ErrorReply("stopping"), route);
  const bool is_log_in = route.kind == RequestRoute::Kind::kLogIn;
  if (!(is_log_in ? logins_ : work_)->HasRoom()) return Named(ErrorReply("queue_full"), route);
  return std::nullopt;
}

void MoxServer::Enqueue(WorkQueue& queue, std::vector<std::unique_ptr<CompanyWorker>>& workers,
                        const RequestRoute& route, Task task, AnswerWith answer) {
  const auto began = steady_clock::now();
  const auto run = [this, &workers, began, route, task = std::move(task), answer](std::size_t worker) {
    const double waited = SecondsSince(began);
    const auto begin = steady_clock::now();
    const bool too_late = waited > static_cast<double>(settings_.longest_wait.count());
    Reply reply = too_late ? ErrorReply("waited_too_long") : task(*workers[worker]);
    reply.seconds_waited = waited;
    reply.seconds_worked = SecondsSince(begin);
    answer(Named(std::move(reply), route));
  };
  const bool may_wait = route.kind == RequestRoute::Kind::kWrite;
  if (!queue.TryAdd(run, may_wait)) answer(Named(ErrorReply(stopping_ ? "stopping" : "queue_full"), route));
}

void MoxServer::AdmitLarge(const RequestHead& head, std::function<void(Admission)> decide) {
  RequestRoute route;
  FaultOfTarget(head.target, route);
  const auto check = [head, route](CompanyWorker& worker) {
    Admission refused = worker.Admit(head, route);
    return refused ? std::move(*refused) : Reply();
  };
  Enqueue(*work_, workers_, route, check, [decide = std::move(decide)](Reply reply) {
    decide(reply.code.empty() ? Admission() : Admission(std::move(reply)));
  });
}

void MoxServer::Answer(HttpRequest request, AnswerWith answer) {
  RequestRoute route;
  FaultOfTarget(request.head.target, route);
  const auto held = std::make_shared<HttpRequest>(std::move(request));
  if (route.kind == RequestRoute::Kind::kLogIn) {
    return Enqueue(
        *logins_, login_workers_, route, [held](CompanyWorker& worker) { return worker.LogIn(*held); },
        std::move(answer));
  }
  const auto work = [held, route](CompanyWorker& worker) {
    Reply reply =
        route.kind == RequestRoute::Kind::kLogOut ? worker.LogOut(held->head) : worker.Answer(*held, route);
    held->body = {};
    held->leases.clear();
    return reply;
  };
  Enqueue(*work_, workers_, route, work, std::move(answer));
}

Reply MoxServer::Refuse(const char* code) { return ErrorReply(code); }

void MoxServer::Done(std::uint64_t length, const Reply& reply, steady_clock::duration took, bool sent) {
  const double seconds = std::chrono::duration<double>(took).count();
  metrics_.Count(reply.route, reply.status, reply.code, seconds);
  log_.Request(length, reply, seconds, sent);
}

}  // namespace mox

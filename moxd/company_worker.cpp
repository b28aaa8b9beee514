#include "moxd/company_worker.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "appserver/write_journal.h"
#include "connect/wire.h"
#include "connect/zstd_text.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/text.h"
#include "moxd/directory_services.h"
#include "moxd/error_reply.h"

namespace mox {
namespace {

constexpr std::chrono::seconds kLongestMove{2};
constexpr std::chrono::milliseconds kAskAgain{20};
constexpr std::chrono::seconds kSilence{1};  // a lost connection is told sooner
// In which a server of databases notices that connections were closed.
constexpr std::chrono::milliseconds kUntilClosed{500};

bool IsZstd(std::string_view encoding) { return SameName(TrimBlanks(encoding), kZstd); }

Reply TextReply(std::string text, const RequestHead& head) {
  Reply reply;
  reply.content_type = kWireType.data();
  const bool packs =
      text.size() >= kWorthPacking && FoldCase(head.accept_encoding).find(kZstd) != std::string::npos;
  if (packs) reply.content_encoding = kZstd.data();
  reply.body = packs ? Packed(text) : std::move(text);
  return reply;
}

// An error is one as it stands; else the body is what is answered.
Reply Sendable(Reply reply, const RequestHead& head) {
  return reply.code.empty() ? TextReply(std::move(reply.body), head) : std::move(reply);
}

}  // namespace

CompanyWorker::CompanyWorker(const ServerSettings& settings, ByteBudget& budget, RequestLog& log,
                             SilentServers& silent, OpenCompanies& companies,
                             const std::atomic<unsigned>& reloads)
    : settings_(settings),
      budget_(budget),
      log_(log),
      silent_(silent),
      companies_(companies),
      reloads_(reloads) {}

CompanyWorker::~CompanyWorker() = default;

Accounts& CompanyWorker::Directory() {
  if (!directory_) {
    WithRoom([this] { return &directory_.emplace(settings_.directory, settings_.accounts); });
  }
  return *directory_;
}

// Where there is no room for one more, those that nobody uses are closed for it.
template <typename Opening>
auto CompanyWorker::WithRoom(const Opening& opening) -> decltype(opening()) {
  for (const auto begin = std::chrono::steady_clock::now();;) {
    try {
      return opening();
    } catch (const NoRoomLeft&) {
      companies_.CloseFree();
      if (std::chrono::steady_clock::now() - begin > kUntilClosed) throw;
    }
    std::this_thread::sleep_for(kAskAgain);
  }
}

std::unique_ptr<CompanyServer> CompanyWorker::Open(const std::string& address) {
  const DatabaseLocation location(address);
  constexpr auto kAccess = Database::Access::kReadWrite;
  if (location.IsFile()) return std::make_unique<CompanyServer>(Database(location, kAccess));
  std::optional<SilentServers::Turn> turn = silent_.TurnTo(location.connection());
  if (!turn) {
    throw DatabaseUnavailable(location.ToString() + ": another request waits for its server already");
  }
  return std::make_unique<CompanyServer>(Database(location, kAccess, [&turn] { turn->Reached(); }));
}

// How long the server of the present company is left alone. What is connected to one that was silent is made
// anew.
int CompanyWorker::SecondsAlone() {
  const DatabaseLocation location(asked_);
  if (location.IsFile() || !silent_.WasSilent(location.connection())) return 0;
  companies_.Forget(asked_);
  return silent_.SecondsOf(location.connection());
}

template <typename Work>
Reply CompanyWorker::Guarded(const std::string& company, const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  try {
    if (std::exchange(known_reloads_, reloads_.load()) != reloads_.load()) {
      directory_.reset();
    }
    asked_.clear();
    return work();
  } catch (const DatabaseError& error) {
    if (dynamic_cast<const NoRoomLeft*>(&error) != nullptr) companies_.CloseFree();
    // What is open may be what fails: the next request opens it anew. Other companies are elsewhere.
    if (asked_.empty()) {
      directory_.reset();
      log_.Event("directory", error.what());
      return ErrorReply(
          "database_unavailable",
          "the directory of the server's companies cannot be used now; the server's log says why");
    }
    companies_.Forget(asked_);
    const bool is_silent = dynamic_cast<const ServerUnreachable*>(&error) != nullptr &&
                           std::chrono::steady_clock::now() - begin > kSilence;
    if (is_silent && !asked_.empty()) silent_.NoteSilent(DatabaseLocation(asked_).connection());
    log_.Event("database", (company.empty() ? "" : company + ": ") + error.what());
    return ErrorReply("database_unavailable");
  } catch (const std::bad_alloc&) {
    return ErrorReply("busy");
  } catch (const std::exception& error) {
    log_.Event("internal", error.what());
    return ErrorReply("internal");
  }
}

bool CompanyWorker::IsReady() {
  const Reply reply = Guarded({}, [this] {
    static_cast<void>(Directory().AddressOf("-"));
    return Reply();
  });
  return reply.status == 200;
}

bool CompanyWorker::CheckDirectory() {
  const Reply reply = Guarded({}, [this] {
    std::size_t faults = 0;
    const std::vector<CompanyInfo> companies = Accounts(settings_.directory, settings_.accounts).Companies();
    for (const CompanyInfo& company : companies) {
      try {
        static_cast<void>(DatabaseLocation(company.address));
      } catch (const DatabaseError& error) {
        ++faults;
        log_.Event("directory", company.name + ": " + error.what());
      }
    }
    if (faults > 0) {
      log_.Event("directory", "what was open stays so: " + std::to_string(faults) + " addresses are none");
      return ErrorReply("database_unavailable");
    }
    log_.Event("directory", "read again: " + std::to_string(companies.size()) + " companies");
    return Reply();
  });
  return reply.status == 200;
}

Reply CompanyWorker::LogIn(HttpRequest& request) {
  return Guarded({}, [&] {
    const std::string text = std::move(request.body);
    std::string user;
    std::string password;
    try {
      TAstaParamList list = TAstaParamList::FromTokenizedString(text);
      user = list.ParamByName("user").AsString();
      password = list.ParamByName("password").AsString();
    } catch (const Error&) {
      return ErrorReply("bad_body", "a log-in is a parameter list with the texts user and password");
    }
    const LogInResult result = Directory().LogIn(user, password, request.head.remote_address);
    if (result.outcome == LogInResult::Outcome::kRefused) return ErrorReply("login_refused");
    if (result.outcome == LogInResult::Outcome::kWait) {
      return ErrorReply("too_many_attempts", {}, static_cast<int>(result.wait_seconds));
    }
    TAstaParamList answer;
    answer.FastAdd("token", Value(result.token));
    answer.FastAdd("expires", result.expires);
    return TextReply(answer.AsTokenizedString(false), request.head);
  });
}

Reply CompanyWorker::LogOut(const RequestHead& head) {
  return Guarded({}, [&] {
    if (!Directory().LogOut(head.token, head.remote_address)) return ErrorReply("not_logged_in");
    return TextReply(TAstaParamList().AsTokenizedString(false), head);
  });
}

std::optional<Reply> CompanyWorker::Check(const RequestHead& head, const RequestRoute& route,
                                          std::optional<AccountSession>& session) {
  session = head.token.empty() ? std::nullopt : Directory().SessionOf(head.token, route.company);
  if (!session) return ErrorReply("not_logged_in");
  if (session->rights.Empty()) return ErrorReply("forbidden");
  if (route.kind == RequestRoute::Kind::kWrite) {
    if (!head.parameters.empty() && !session->rights.Has(Right::kAdminister)) {
      return ErrorReply("forbidden", "company parameters for one run are not for this user");
    }
    return std::nullopt;
  }
  const ServiceInfo* const service = FindRow(ReadServices(), route.service);
  if (service == nullptr) return ErrorReply("unknown_service");
  if (!session->rights.Has(service->right)) return ErrorReply("forbidden");
  return std::nullopt;
}

Admission CompanyWorker::Admit(const RequestHead& head, const RequestRoute& route) {
  bool admitted = false;
  Reply reply = Guarded(route.company, [&] {
    std::optional<AccountSession> session;
    if (auto refused = Check(head, route, session)) return std::move(*refused);
    admitted = true;
    return Reply();
  });
  return admitted ? Admission() : Admission(std::move(reply));
}

std::optional<Reply> CompanyWorker::ReadList(HttpRequest& request, std::string& text) {
  if (!IsZstd(request.head.content_encoding)) {
    text = std::move(request.body);
    return std::nullopt;
  }
  std::vector<ByteBudget::Lease> leases;
  const auto may_grow = [&](std::size_t bytes) {
    auto lease = budget_.Take(bytes);
    if (lease) leases.push_back(std::move(*lease));
    return lease.has_value();
  };
  switch (Unpack(request.body, settings_.unpacked_bytes, may_grow, text)) {
    case UnpackFault::kNone:
      break;
    case UnpackFault::kDamaged:
      return ErrorReply("bad_body", "the body is no whole zstd text");
    case UnpackFault::kTooLarge:
      return ErrorReply("too_large", "the body is larger than this server takes when it is unpacked");
    case UnpackFault::kNoMemory:
      return ErrorReply("busy");
  }
  request.body = {};
  for (ByteBudget::Lease& lease : leases) request.leases.push_back(std::move(lease));
  return std::nullopt;
}

Reply CompanyWorker::Read(CompanyServer& server, const RequestRoute& route, const TAstaParamList& list) {
  try {
    const std::unique_ptr<TAstaParamList> answer = server.ReportDataService(list, route.service);
    if (answer == nullptr) return ErrorReply("unknown_service");
    Reply reply;
    reply.body = answer->AsTokenizedString(false);
    return reply;
  } catch (const DatabaseError&) {
    throw;
  } catch (const Error& error) {
    return ErrorReply("refused", error.what());
  }
}

Reply CompanyWorker::WriteUsers(const ServiceInfo& transaction, const RequestHead& head,
                                const AccountSession& session, const std::string& company,
                                const TAstaParamList& request) {
  const UserChange change{session.user, company, head.key, !head.rehearsal.empty()};
  try {
    RequireRight({session.user, session.code, session.rights}, transaction.right, transaction.name);
    Reply reply;
    reply.body = OutcomeText(WriteToDirectory(Directory(), change, request));
    return reply;
  } catch (const NotAllowed& error) {
    Directory().NoteRefused(change, transaction.name, error.what());
    return ErrorReply("forbidden", error.what());
  } catch (const KeyReused&) {
    return ErrorReply("key_reused");
  }
}

// What was changed of the company's users stands in its own journal before anybody looks there. Where that
// is not possible now it waits, and the request goes on.
void CompanyWorker::TakeOver(CompanyServer& server, const std::string& company) {
  try {
    TakeOverChanges(Directory(), company, server.database());
  } catch (const Error& error) {
    log_.Event("journal", company + ": " + error.what());
  }
}

Reply CompanyWorker::Write(CompanyServer& server, const RequestHead& head, const TAstaParamList& list) {
  server.SetRehearsing(!head.rehearsal.empty());
  try {
    server.WriteDataService(list, head.key);
  } catch (const NotAllowed& error) {
    return ErrorReply("forbidden", error.what());
  } catch (const KeyReused&) {
    return ErrorReply("key_reused");
  }
  Reply reply;
  reply.body = OutcomeText(server.LastWrite());
  return reply;
}

Reply CompanyWorker::Attempt(HttpRequest& request, const RequestRoute& route,
                             std::optional<std::string>& text) {
  asked_.clear();
  std::optional<AccountSession> session;
  if (auto refused = Check(request.head, route, session)) return std::move(*refused);
  if (!text) {
    if (auto refused = ReadList(request, text.emplace())) return std::move(*refused);
  }
  TAstaParamList list;
  try {
    list = TAstaParamList::FromTokenizedString(*text);
  } catch (const Error& error) {
    return ErrorReply("bad_body", error.what());
  }
  // The users are the server's own: the company's database may be away.
  const bool writes = route.kind == RequestRoute::Kind::kWrite;
  if (!writes && FindRow(DirectoryServices(), route.service) != nullptr) {
    return TextReply(AnswerOfDirectory(Directory(), route.company).AsTokenizedString(false), request.head);
  }
  if (writes && list.Count() == 1) {
    if (const ServiceInfo* const users = FindRow(DirectoryTransactions(), list[0].Name())) {
      return Sendable(WriteUsers(*users, request.head, *session, route.company, list), request.head);
    }
  }
  asked_ = session->address;
  if (const int seconds = SecondsAlone(); seconds > 0) return ErrorReply("database_unavailable", {}, seconds);
  // Parameters of one request are nobody else's.
  const bool is_own = !request.head.parameters.empty();
  OpenCompanies::Lease lease = is_own ? companies_.TakeOwn() : companies_.Take(asked_);
  if (lease.server() == nullptr) lease.server() = WithRoom([this] { return Open(asked_); });
  CompanyServer& server = *lease.server();
  if (is_own) {
    try {
      for (const std::string& parameter : request.head.parameters) {
        const auto text_of = DecodedPart(parameter);
        if (!text_of) return ErrorReply("bad_parameter");
        server.SetParameter(*text_of);
      }
    } catch (const Error& error) {
      return ErrorReply("bad_parameter", error.what());
    }
  }
  server.SetRequester({session->user, session->code, session->rights});
  if (session->journal_waits && (writes || route.service == WriteJournalService().name)) {
    TakeOver(server, route.company);
  }
  Reply done = writes ? Write(server, request.head, list) : Read(server, route, list);
  if (away_ == asked_) away_.clear();
  if (!is_own) lease.Keep();
  return Sendable(std::move(done), request.head);
}

// A company that is being moved is somewhere else in a moment: the directory is asked again. One that was
// waited for in vain is not waited for again until it is there, and what was never there is not waited for.
Reply CompanyWorker::Answer(HttpRequest& request, const RequestRoute& route) {
  std::optional<std::string> text;
  std::string missing;
  Reply reply = Guarded(route.company, [&] {
    for (const auto begin = std::chrono::steady_clock::now();;) {
      try {
        return Attempt(request, route, text);
      } catch (const NoSuchCompany&) {
        if (std::exchange(missing, asked_) == asked_) throw;
        companies_.Forget(asked_);
      } catch (const CompanyGone& error) {
        companies_.Forget(asked_);
        const bool in_vain = std::chrono::steady_clock::now() - begin > kLongestMove;
        if (in_vain || away_ == asked_) {
          away_ = asked_;
          log_.Event("moving", route.company + ": " + error.what());
          return ErrorReply("company_moving");
        }
      }
      std::this_thread::sleep_for(kAskAgain);
    }
  });
  reply.company = route.company;
  if (reply.code != "unknown_service") reply.service = route.service;
  return reply;
}

}  // namespace mox

#include "connect/server_connection.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <utility>

#include "appserver/commit_lost.h"
#include "appserver/company_data.h"
#include "appserver/write_journal.h"
#include "connect/wire.h"
#include "connect/zstd_text.h"
#include "mox/foundation/secrets.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

using std::chrono::steady_clock;
using Json = nlohmann::json;

constexpr std::size_t kMostUnpacked = 1U << 30U;
constexpr long kOk = 200;
constexpr long kServerFailed = 500;

// What an error says.
struct Fault {
  std::string code;
  std::string message;
};

Fault FaultOf(const HttpAnswer& answer) {
  const Json json = Json::parse(answer.body, nullptr, false);
  const auto text = [&json](const char* name) {
    const bool has = json.is_object() && json.contains(name) && json[name].is_string();
    return has ? json[name].get<std::string>() : std::string();
  };
  return {text("code"), text("message")};
}

std::string TextOf(HttpAnswer& answer) {
  if (answer.encoding != kZstd) return std::move(answer.body);
  std::string text;
  const auto may_grow = [](std::size_t) { return true; };
  if (Unpack(answer.body, kMostUnpacked, may_grow, text) != UnpackFault::kNone) {
    throw Error("it cannot be unpacked");
  }
  return text;
}

// Why an answer is none that the server itself gave, whole; empty where it is, and then its text is taken.
// Whoever stands before the server may answer in its place, whatever it has done.
std::string WhyNotRead(HttpAnswer& answer, const std::function<void(const std::string& text)>& take) {
  if (answer.is_cut) return "the answer is too large";
  if (answer.status != kOk) {
    const std::string code = answer.protocol.empty() ? std::string() : FaultOf(answer).code;
    const bool is_own = answer.protocol == kProtocol ? !code.empty() : code == "unknown_protocol";
    return is_own ? "" : "answers with status " + std::to_string(answer.status);
  }
  if (answer.protocol.empty()) return "the answer is not one of an application server";
  if (answer.protocol != kProtocol) {
    return "answers in version " + InQuotes(answer.protocol) + " of the protocol, which is not known here";
  }
  if (answer.type != kWireType) return "the answer is of the kind " + InQuotes(answer.type);
  try {
    take(TextOf(answer));
    return {};
  } catch (const std::exception& error) {
    return "the answer cannot be read: " + std::string(error.what());
  }
}

// A server that has no time, or one on the way to it that gets no answer.
bool IsPassing(long status) { return status == 502 || status == 503 || status == 504; }

// Whether the request may have been carried out although the server answers it by an error: it does not know
// that itself where its database failed.
bool MayBeDone(const HttpAnswer& answer) {
  constexpr std::string_view kUndone[] = {"queue_full", "waited_too_long", "company_moving", "stopping"};
  if (answer.status < kServerFailed) return false;
  const std::string code = FaultOf(answer).code;
  return std::find(std::begin(kUndone), std::end(kUndone), code) == std::end(kUndone);
}

std::string TextOf(const Fault& fault, const HttpAnswer& answer) {
  return fault.message.empty() ? "answers with status " + std::to_string(answer.status) : fault.message;
}

std::string NoSession(const std::string& server) {
  return server + ": not logged in, or the session has ended: mox login " + server;
}

[[noreturn]] void RaiseFaultOf(const std::string& server, const HttpAnswer& answer) {
  const Fault fault = FaultOf(answer);
  if (fault.code == "refused") throw Error(fault.message);
  if (fault.code == "not_logged_in") throw NotLoggedIn(NoSession(server));
  const std::string message = server + ": " + TextOf(fault, answer);
  if (IsPassing(answer.status)) throw DatabaseUnavailable(message);
  throw Error(message);
}

void RequireRead(const std::string& server, HttpAnswer& answer,
                 const std::function<void(const std::string& text)>& take) {
  if (const std::string why = WhyNotRead(answer, take); !why.empty()) throw Error(server + ": " + why);
}

}  // namespace

ServerConnection::ServerConnection(const ServerAddress& address, const StoredLogin& login,
                                   RetryPolicy retries)
    : address_(address), login_(login), retries_(retries), client_(address.server, login.ca_file) {}

ServerConnection::~ServerConnection() = default;

// --- sessions ---

StoredLogin ServerConnection::LogIn(const ServerAddress& address, const std::string& user,
                                    const std::string& password, const std::string& ca_file, EndFlag ended) {
  HttpClient client(address.server, ca_file, std::move(ended));
  const TAstaParamList request{{"user", Value(user)}, {"password", Value(password)}};
  HttpAnswer answer;
  HttpFailure failure;
  const std::string protocol = "Mox-Protocol: " + std::string(kProtocol);
  if (!client.Post("/v1/login", {protocol}, request.AsTokenizedString(false), answer, failure)) {
    throw Error(address.server + ": cannot be reached: " + failure.reason);
  }
  std::string token;
  const auto take = [&token](const std::string& text) {
    token = TAstaParamList::FromTokenizedString(text).ParamByName("token").AsString();
  };
  RequireRead(address.server, answer, take);
  if (answer.status != kOk) RaiseFaultOf(address.server, answer);
  return {token, user, ca_file};
}

void ServerConnection::LogOut(const ServerAddress& address, const StoredLogin& login) {
  HttpClient client(address.server, login.ca_file);
  HttpAnswer answer;
  HttpFailure failure;
  const std::string text = TAstaParamList().AsTokenizedString(false);
  if (!client.Post("/v1/logout", {"Authorization: Bearer " + login.token}, text, answer, failure)) {
    throw Error(address.server + ": cannot be reached: " + failure.reason);
  }
  RequireRead(address.server, answer, [](const std::string&) {});
  if (answer.status != kOk && FaultOf(answer).code != "not_logged_in") RaiseFaultOf(address.server, answer);
}

// --- requests ---

std::vector<std::string> ServerConnection::Headers(const Purpose& purpose, bool packed) const {
  std::vector<std::string> headers = {
      "Authorization: Bearer " + login_.token, "Mox-Protocol: " + std::string(kProtocol),
      "Content-Type: " + std::string(kWireType), "Accept-Encoding: " + std::string(kZstd)};
  if (packed) headers.push_back("Content-Encoding: " + std::string(kZstd));
  for (const std::string& assignment : assignments_) {
    headers.push_back("Mox-Parameter: " + EncodedPart(assignment));
  }
  if (!purpose.key.empty()) headers.push_back("Idempotency-Key: " + purpose.key);
  if (!purpose.key.empty() && rehearsing_) headers.emplace_back("Mox-Rehearsal: 1");
  return headers;
}

HttpAnswer ServerConnection::Ask(const Purpose& purpose, const std::string& text, const TakeText& take) {
  const bool packs = text.size() >= kWorthPacking;
  const std::string packed = packs ? Packed(text) : std::string();
  const std::string_view body = packs ? std::string_view(packed) : std::string_view(text);
  const std::vector<std::string> headers = Headers(purpose, packs);
  const auto begin = steady_clock::now();
  auto pause = retries_.first_pause;
  bool may_be_done = false;
  const bool stores = !purpose.key.empty() && !rehearsing_;
  for (;;) {
    HttpAnswer answer;
    HttpFailure failure;
    const bool answered = client_.Post(purpose.path, headers, body, answer, failure);
    const bool busy = answered && IsPassing(answer.status);
    const std::string unread = answered ? WhyNotRead(answer, take) : "cannot be reached: " + failure.reason;
    const bool is_read = unread.empty();
    may_be_done = may_be_done || (is_read ? MayBeDone(answer) : answered || failure.was_sent);
    // Of a write that was answered by somebody else the server itself can say what became of it.
    const bool is_final = answered && !busy && (is_read || !stores);
    if (is_final && is_read && (answer.status == kOk || !may_be_done)) return answer;
    const auto most = busy || may_be_done ? retries_.while_unknown : retries_.while_unreachable;
    const auto next = busy ? std::max<std::chrono::milliseconds>(
                                 pause, std::chrono::seconds(std::min(answer.retry_after, 10)))
                           : pause;
    if (is_final || steady_clock::now() - begin + pause > most || !Pause(next)) {
      if (is_read && (!may_be_done || !stores)) return answer;
      std::string told = address_.server + ": " + (is_read ? TextOf(FaultOf(answer), answer) : unread);
      if (stores) told.append("; ").append(may_be_done ? NotKnownUnder(purpose.key) : kNothingStored);
      throw DatabaseUnavailable(told);
    }
    pause = std::min(pause * 2, retries_.longest_pause);
  }
}

bool ServerConnection::Pause(std::chrono::milliseconds pause) {
  std::unique_lock lock(mutex_);
  return !change_.wait_for(lock, pause, [this] { return ended_; });
}

void ServerConnection::EndRequests(bool end) {
  client_.End(end);
  const std::lock_guard lock(mutex_);
  ended_ = end;
  change_.notify_all();
}

void ServerConnection::RaiseFault(const HttpAnswer& answer) const { RaiseFaultOf(address_.server, answer); }

std::unique_ptr<TAstaParamList> ServerConnection::ReportDataService(const TAstaParamList& request,
                                                                    std::string_view service) {
  const std::string path = "/v1/" + address_.company + "/service/" + EncodedPart(service);
  std::unique_ptr<TAstaParamList> list;
  const auto take = [&](const std::string& text) {
    list = std::make_unique<TAstaParamList>(TAstaParamList::FromTokenizedString(text));
    if (secrets_ != nullptr) LearnSecrets(*list, service);
  };
  const HttpAnswer answer = Ask({path, {}}, request.AsTokenizedString(false), take);
  if (answer.status == kOk) return list;
  if (FaultOf(answer).code == "unknown_service") return nullptr;
  RaiseFault(answer);
}

int ServerConnection::WriteDataService(const TAstaParamList& request) {
  last_write_ = {};
  const auto take = [this](const std::string& text) { last_write_ = ReadOutcome(text); };
  const HttpAnswer answer =
      Ask({"/v1/" + address_.company + "/write", NewWriteKey()}, request.AsTokenizedString(false), take);
  if (answer.status != kOk) RaiseFault(answer);
  if (last_write_.committed && has_parameters_) has_parameters_ = false;
  return last_write_.committed ? 1 : 0;
}

std::string ServerConnection::WriteRefusal() const {
  return last_write_.failure ? last_write_.failure->ToString() : std::string();
}

// --- the company ---

void ServerConnection::SetParameter(std::string_view assignment) {
  CompanyParameterModule checked;
  checked.SetAssignment(assignment);
  assignments_.emplace_back(assignment);
  has_parameters_ = false;
}

// Those that the server has, and before them those that were set here: both are what it answers.
RecordSet* ServerConnection::CompanyParameters() {
  if (!has_parameters_) {
    const auto answer = ReportDataService({}, "Kat\\ParametriPoduzeca");
    if (answer == nullptr) return nullptr;
    parameters_ = {};
    TAstaParam* const list = answer->FindParam("adsList");
    if (list == nullptr) throw Error(address_.server + ": the company's parameters are not answered");
    const RecordSet& rows = list->AsDataSet();
    for (const RecordRow& row : rows.Rows()) {
      if (row.AsText(row.IndexOf("skupina")) != kCompanyGroup) continue;
      parameters_.Set(row.AsText(row.IndexOf("naziv")), row.AsText(row.IndexOf("vrijednost")));
    }
    for (const std::string& assignment : assignments_) parameters_.SetAssignment(assignment);
    has_parameters_ = true;
  }
  return parameters_.CompanyParameters();
}

void ServerConnection::RequireNamed() {
  RecordSet* const parameters = CompanyParameters();
  RequireCompanyNamed([parameters](std::string_view name) {
    const auto field = parameters == nullptr ? std::nullopt : parameters->FindField(name);
    return field && !TrimBlanks(field->AsText()).empty();
  });
}

// Accounts come with the answers that need them.
void ServerConnection::LearnSecrets(TAstaParamList& answer, std::string_view service) const {
  if (service == "IntegrationsUsersAccounts") {
    const RecordSet& account = answer.ParamByName("adsLoginData").AsDataSet();
    for (const RecordRow& row : account.Rows()) secrets_->AddThoseOf(row.AsText(row.IndexOf("EracunB2CUrl")));
  }
  if (service == "PostaRacun") {
    const RecordSet& account = answer.ParamByName("adsRacun").AsDataSet();
    for (const RecordRow& row : account.Rows()) {
      secrets_->Add(row.AsText(row.IndexOf("lozinka")));
      secrets_->AddThoseOf(row.AsText(row.IndexOf("url")));
    }
  }
  if (service != "MojERacunB2C") return;
  const RecordSet& data = answer.ParamByName("adsData").AsDataSet();
  for (const RecordRow& row : data.Rows()) {
    const Json json = Json::parse(row.AsText(row.IndexOf("jsonData")), nullptr, false);
    const Json account = json.is_object() && json.contains("prijava") ? json["prijava"] : Json();
    if (account.is_object() && account.contains("kljuc") && account["kljuc"].is_string()) {
      secrets_->Add(account["kljuc"].get<std::string>());
    }
  }
}

}  // namespace mox

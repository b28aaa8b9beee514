#include "moxd/error_reply.h"

#include <nlohmann/json.hpp>
#include <string>

#include "connect/server_address.h"
#include "connect/wire.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr ErrorCode kErrorCodes[] = {
    {"bad_request", 400, "the request is no HTTP/1.1 that this server reads"},
    {"bad_company", 400, kCompanyNameRule},
    {"bad_body", 400, "the body is not the text form of a parameter list"},
    {"bad_parameter", 400, "a company parameter of the request is not NAME=VALUE"},
    {"not_logged_in", 401, "the token does not exist, has expired or was revoked: log in"},
    {"login_refused", 401, "the user or the password is wrong"},
    {"forbidden", 403, "the user may not do this in this company"},
    {"not_found", 404, "there is no such address on this server"},
    {"unknown_service", 404, "the server has no such service"},
    {"wrong_method", 405, "the address takes POST"},
    {"length_required", 411,
     "the length of the body must be told in Content-Length, once and without chunks"},
    {"too_large", 413, "the body is larger than this server takes"},
    {"unknown_encoding", 415, "a body is sent as it is or in zstd, a log-in as it is"},
    {"key_reused", 422, "the idempotency key belongs to another request"},
    {"refused", 422, "the service refused the request"},
    {"unknown_protocol", 426, "the server does not know this version of the protocol"},
    {"too_many_attempts", 429, "there were too many failed attempts to log in"},
    {"header_too_large", 431, "the header is larger than this server reads"},
    {"internal", 500, "the server failed; its log says why"},
    {"queue_full", 503, "too many requests wait already", 1},
    {"busy", 503, "the requests under way take all memory that there is for them", 1},
    {"waited_too_long", 503, "the request waited too long for its turn, and nothing was done", 1},
    {"database_unavailable", 503, "the company's database cannot be used now; the server's log says why", 2},
    {"company_moving", 503,
     "the company is being moved to another server, and nothing was done; the server's log says more", 1},
    {"stopping", 503, "the server is being stopped", 2},
};

}  // namespace

std::span<const ErrorCode> ErrorCodes() { return kErrorCodes; }

Reply ErrorReply(std::string_view code, std::string_view message, int retry_after) {
  for (const ErrorCode& known : kErrorCodes) {
    if (known.code != code) continue;
    nlohmann::ordered_json json;
    json["code"] = known.code;
    json["message"] = message.empty() ? known.message : message;
    if (code == "unknown_protocol") json["known"] = kKnownProtocols;
    Reply reply;
    reply.status = known.status;
    reply.code = code;
    reply.body = json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    reply.retry_after = retry_after > 0 ? retry_after : known.retry_after;
    return reply;
  }
  throw Error("there is no error code " + std::string(code));
}

}  // namespace mox

#include "moxd/request_head.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/field.hpp>

namespace mox {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;

constexpr std::size_t kPiece = 256U << 10U;

std::string TextOf(beast::string_view text) { return {text.data(), text.size()}; }

// "5, 5" is taken for 5 by some, and for none or the first of two by others.
bool HasListOfLengths(const http::request_header<>& header) {
  return header[http::field::content_length].find(',') != beast::string_view::npos;
}

}  // namespace

RequestParser::RequestParser(std::size_t most_header_bytes, std::uint64_t most_body_bytes) {
  header_limit(static_cast<std::uint32_t>(most_header_bytes));
  body_limit(most_body_bytes);
}

RequestHead RequestParser::Head(const std::string& remote_address) const {
  const http::request_header<>& header = get();
  RequestHead head;
  head.method = TextOf(header.method_string());
  head.target = TextOf(header.target());
  head.protocol = TextOf(header["Mox-Protocol"]);
  head.content_encoding = TextOf(header[http::field::content_encoding]);
  head.accept_encoding = TextOf(header[http::field::accept_encoding]);
  head.key = TextOf(header["Idempotency-Key"]);
  head.rehearsal = TextOf(header["Mox-Rehearsal"]);
  const auto parameters = header.equal_range("Mox-Parameter");
  for (auto at = parameters.first; at != parameters.second; ++at) {
    head.parameters.push_back(TextOf(at->value()));
  }
  const std::string authorization = TextOf(header[http::field::authorization]);
  constexpr std::string_view kBearer = "bearer ";
  if (authorization.size() > kBearer.size() &&
      beast::iequals(authorization.substr(0, kBearer.size()), beast::string_view(kBearer.data(), 7))) {
    head.token = authorization.substr(kBearer.size());
  }
  head.is_chunked = header.count(http::field::transfer_encoding) > 0;
  const auto lengths = header.count(http::field::content_length);
  head.has_length = lengths > 0;
  head.is_framed_twice = lengths > 1 || (head.is_chunked && head.has_length) || HasListOfLengths(header);
  if (is_header_done()) head.length = content_length().value_or(0);
  head.remote_address = remote_address;
  return head;
}

bool RequestParser::EndsWithItsHeader() const {
  const bool is_plain = get().count(http::field::transfer_encoding) == 0 && !HasListOfLengths(get());
  return is_done() && is_plain && get().count(http::field::content_length) <= 1;
}

void RequestParser::MakeRoom(std::string& body) {
  const std::size_t had = body.size();
  const std::uint64_t left = content_length_remaining().value_or(0);
  body.resize(had + std::clamp<std::uint64_t>(left, 1, kPiece));
  get().body().data = body.data() + had;
  get().body().size = body.size() - had;
}

bool RequestParser::TakeHere(beast::flat_buffer& buffer) {
  if (buffer.size() == 0) return false;
  beast::error_code fault;  // that more is needed, or more room
  const std::size_t taken = put(buffer.data(), fault);
  buffer.consume(taken);
  return taken > 0;
}

void RequestParser::KeepFilled(std::string& body) { body.resize(body.size() - get().body().size); }

const char* RefusalOf(const beast::error_code& error) {
  if (error == http::error::header_limit || error == http::error::buffer_overflow) return "header_too_large";
  if (error == http::error::body_limit) return "too_large";
  if (error == http::error::end_of_stream || error == http::error::partial_message) return nullptr;
  return error.category() == make_error_code(http::error::bad_method).category() ? "bad_request" : nullptr;
}

}  // namespace mox

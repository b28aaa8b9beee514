// What a connection brings: requests one behind the other, whole, cut off, or such that two readers may see
// different ones. However its bytes come, the same requests are read; one that is served is framed by a
// single length and nothing else; and behind one that is not, nothing is read that somebody may take for its
// body.

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/system_executor.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/system/system_error.hpp>
#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "mox/foundation/text.h"
#include "moxd/request_head.h"
#include "moxd/request_route.h"

namespace mox {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::beast::error_code;

constexpr std::size_t kMostHeader = 700;  // so small that inputs reach it
constexpr std::size_t kMostBody = 900;

// A connection whose bytes come in pieces of one size.
class Bytes {
 public:
  Bytes(std::string_view text, std::size_t piece) : text_(text), piece_(piece) {}

  using executor_type = asio::system_executor;
  static executor_type get_executor() { return {}; }
  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers, error_code& error) {
    error = {};
    const std::string_view rest = text_.substr(given_, piece_);
    if (rest.empty()) error = asio::error::eof;
    const std::size_t count = asio::buffer_copy(buffers, asio::buffer(rest.data(), rest.size()));
    given_ += count;
    return count;
  }
  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers) {
    error_code error;
    const std::size_t count = read_some(buffers, error);
    if (error) throw boost::system::system_error(error);
    return count;
  }
  std::size_t given() const { return given_; }

 private:
  std::string_view text_;
  std::size_t piece_;
  std::size_t given_ = 0;
};

struct Seen {
  std::string what;  ///< "served", the code of a refusal, or "unreadable"
  std::string target;
  std::string body;
  std::size_t end = 0;  ///< where the next one would begin
  bool operator==(const Seen&) const = default;
};

bool ReadBody(Bytes& stream, boost::beast::flat_buffer& buffer, RequestParser& parser, std::string& body) {
  while (!parser.is_done()) {
    parser.MakeRoom(body);
    error_code error;
    http::read(stream, buffer, parser, error);
    parser.KeepFilled(body);
    Require(body.size() <= kMostBody, "no more is read of a body than it may have");
    if (error && error != http::error::need_buffer) return false;
  }
  return true;
}

// As the server goes on; false where it closes the connection.
bool ReadOne(Bytes& stream, boost::beast::flat_buffer& buffer, Seen& seen) {
  RequestParser parser(kMostHeader, kMostBody);
  error_code error;
  http::read_header(stream, buffer, parser, error);
  const RequestHead head = parser.Head("192.0.2.1");
  seen.target = head.target;
  if (error) {
    Require(head.target.size() <= kMostHeader, "a header has as many bytes as it may");
    RefusalOf(error);
    seen = {"unreadable", {}, {}, 0};
    return false;
  }
  RequestRoute route;
  const char* const fault = FaultOfHead(head, route);
  bool goes_on = true;
  if (fault != nullptr) {
    seen.what = fault;
    goes_on = parser.EndsWithItsHeader();
  } else {
    goes_on = ReadBody(stream, buffer, parser, seen.body);
    seen.what = goes_on ? "served" : "unreadable";
    Require(!goes_on || seen.body.size() == head.length, "a body is as long as it was announced");
  }
  seen.end = stream.given() - buffer.size();
  return goes_on;
}

std::vector<Seen> ReadAll(std::string_view text, std::size_t piece) {
  Bytes stream(text, piece);
  boost::beast::flat_buffer buffer(kMostHeader + 4096);
  std::vector<Seen> all;
  do {
    all.emplace_back();
  } while (ReadOne(stream, buffer, all.back()) && all.back().end < text.size());
  return all;
}

// The same requests up to one whose header is about as long as headers may be: whether that one is refused
// may depend on how its bytes come.
bool AreTheSame(std::string_view text, const std::vector<Seen>& one, const std::vector<Seen>& other) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < one.size(); ++i) {
    const std::size_t end = std::min(text.find("\r\n\r\n", begin), text.size());
    if (end - begin > kMostHeader - 4) return true;
    if (i >= other.size() || !(one[i] == other[i])) return false;
    begin = one[i].end;
  }
  return one.size() == other.size();
}

// The values of all headers of a name, read in the plainest way that others on the path may read them.
std::vector<std::string> ValuesOf(std::string_view request, std::string_view name) {
  std::string top(request.substr(0, request.find("\r\n\r\n")));
  for (std::size_t at = 0; (at = top.find("\r\n", at)) != std::string::npos;) {
    const bool is_folded = at + 2 < top.size() && (top[at + 2] == ' ' || top[at + 2] == '\t');
    if (is_folded) top.replace(at, 2, "  ");
    at += 2;
  }
  std::vector<std::string> values;
  for (std::size_t at = top.find("\r\n"); at != std::string::npos; at = top.find("\r\n", at + 2)) {
    const std::string_view line = std::string_view(top).substr(at + 2, top.find("\r\n", at + 2) - at - 2);
    const std::size_t colon = std::min(line.find(':'), line.size());
    if (!EqualsIgnoringCase(TrimBlanks(line.substr(0, colon)), name)) continue;
    values.emplace_back(TrimBlanks(line.substr(std::min(colon + 1, line.size()))));
  }
  return values;
}

void CheckFrame(std::string_view request, const Seen& seen) {
  const std::vector<std::string> lengths = ValuesOf(request, "Content-Length");
  Require(ValuesOf(request, "Transfer-Encoding").empty(), "a connection goes on behind no transfer encoding");
  for (const std::string& length : lengths) {
    Require(!length.empty() &&
                std::all_of(length.begin(), length.end(), [](char c) { return c >= '0' && c <= '9'; }),
            "a length has digits alone");
    Require(std::stoull(length) == seen.body.size(), "each length is that of the body that was read");
  }
  const std::size_t begin = request.find("\r\n\r\n") + 4;
  Require(request.substr(begin) == seen.body, "a request is its header and its body");
  if (seen.what == "served") Require(lengths.size() == 1, "what is served has one length");
}

}  // namespace
}  // namespace mox

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = mox::TextOf(data, size);
  const std::vector<mox::Seen> whole = mox::ReadAll(text, std::max<std::size_t>(size, 1));
  for (const std::size_t piece : {1U, 7U, 64U}) {
    mox::Require(mox::AreTheSame(text, whole, mox::ReadAll(text, piece)),
                 "requests are the same however their bytes come");
  }
  std::size_t begin = 0;
  for (const mox::Seen& seen : whole) {
    const bool is_last = &seen == &whole.back();
    const bool is_passed = seen.what == "served" || !is_last;
    if (is_passed) mox::CheckFrame(text.substr(begin, seen.end - begin), seen);
    begin = seen.end;
  }
  return 0;
}

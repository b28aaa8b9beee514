#include "moxd/http_server.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <set>

#include "mox/foundation/error.h"
#include "moxd/network_threads.h"
#include "moxd/request_head.h"

namespace mox {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using std::chrono::steady_clock;
// Of one kind of executor, since one that may be of any costs more than a small request is read with.
using Executor = asio::io_context::executor_type;
using Socket = asio::basic_stream_socket<tcp, Executor>;
using TlsStream = asio::ssl::stream<Socket>;
using Token = asio::use_awaitable_t<Executor>;
template <typename T>
using Awaitable = asio::awaitable<T, Executor>;

constexpr auto kTuple = asio::as_tuple(Token());
constexpr std::size_t kPiece = 256U << 10U;
// How long, and how much, a client that was refused may go on sending until it reads why.
constexpr std::chrono::seconds kLinger{2};
constexpr std::size_t kLingerBytes = 1U << 20U;
// How often it is looked for connections whose time has passed.
constexpr std::chrono::milliseconds kLook{200};

std::string TlsFault() {
  char text[256] = "unknown";
  if (const unsigned long code = ::ERR_get_error(); code != 0) ::ERR_error_string_n(code, text, sizeof text);
  ::ERR_clear_error();
  return text;
}

std::shared_ptr<asio::ssl::context> MakeTls(const TlsFiles& files) {
  auto tls = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
  SSL_CTX* const native = tls->native_handle();
  ::ERR_clear_error();
  if (::SSL_CTX_use_certificate_chain_file(native, files.certificate.c_str()) != 1) {
    throw Error(files.certificate + ": no certificate can be read: " + TlsFault());
  }
  const X509* const certificate = ::SSL_CTX_get0_certificate(native);
  if (::X509_cmp_current_time(::X509_get0_notAfter(certificate)) < 0) {
    throw Error(files.certificate + ": has expired");
  }
  if (::X509_cmp_current_time(::X509_get0_notBefore(certificate)) > 0) {
    throw Error(files.certificate + ": is not valid yet");
  }
  if (::SSL_CTX_use_PrivateKey_file(native, files.key.c_str(), SSL_FILETYPE_PEM) != 1) {
    throw Error(files.key + ": no key of that certificate can be read: " + TlsFault());
  }
  if (::SSL_CTX_check_private_key(native) != 1) {
    throw Error(files.key + ": is not the key of " + files.certificate);
  }
  ::SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION);
  ::SSL_CTX_set_options(native, SSL_OP_NO_RENEGOTIATION);
  ::SSL_CTX_set_mode(native, SSL_MODE_RELEASE_BUFFERS);
  return tls;
}

// A connection as others see it; touched by its loop's thread alone.
struct Slot {
  explicit Slot(std::size_t of_loop) : loop(of_loop) {}

  void EndsAfter(std::chrono::seconds time) { ends = steady_clock::now() + time; }
  void EndsNever() { ends = steady_clock::time_point::max(); }

  std::size_t loop;
  Socket* socket = nullptr;
  bool waits = false;  // for a request
  // When it is closed, whatever it is at: a timer for each step would cost more than the step.
  steady_clock::time_point ends = steady_clock::time_point::max();
};

// A listener's part in each of its connections.
struct Shared {
  const HttpLimits& limits;
  ByteBudget& budget;
  const std::atomic<bool>& stopping;
};

// Waits on the connection's loop for what is decided outside of it.
template <typename T, typename Begin>
Awaitable<T> Await(Begin begin) {
  return asio::async_initiate<const Token&, void(T)>(
      [begin = std::move(begin)](auto completion) mutable {
        auto held = std::make_shared<decltype(completion)>(std::move(completion));
        auto executor =
            asio::prefer(asio::get_associated_executor(*held), asio::execution::outstanding_work_t::tracked);
        begin([held, executor](T result) {
          asio::post(executor, [held, result = std::move(result)]() mutable { (*held)(std::move(result)); });
        });
      },
      Token());
}

// Answers up to here go out as one piece with their header.
constexpr std::size_t kTogether = 8U << 10U;

std::string ReplyHead(const Reply& reply, unsigned version, bool keeps) {
  const auto reason = http::obsolete_reason(http::int_to_status(reply.status));
  const bool is_old = version < 11;
  std::string text = is_old ? "HTTP/1.0 " : "HTTP/1.1 ";
  text.reserve(256 + (reply.body.size() <= kTogether ? reply.body.size() : 0));
  text.append(std::to_string(reply.status)).append(" ").append(reason.data(), reason.size());
  const auto add = [&text](std::string_view name, std::string_view value) {
    text.append("\r\n").append(name).append(": ").append(value);
  };
  add("Mox-Protocol", "1");
  add("Content-Type", reply.content_type);
  add("Cache-Control", "no-store");
  if (reply.content_encoding != nullptr) add("Content-Encoding", reply.content_encoding);
  if (reply.retry_after > 0) add("Retry-After", std::to_string(reply.retry_after));
  if (reply.status == 401) add("WWW-Authenticate", "Bearer");
  if (keeps == is_old) add("Connection", keeps ? "keep-alive" : "close");
  add("Content-Length", std::to_string(reply.body.size()));
  return text.append("\r\n\r\n");
}

// One client's requests, one after the other.
template <typename Stream>
class Connection {
 public:
  Connection(const Shared& shared, Stream& stream, RequestHandler& handler, Slot& slot, std::string remote)
      : shared_(shared),
        limits_(shared.limits),
        stream_(stream),
        handler_(handler),
        slot_(slot),
        remote_(std::move(remote)),
        buffer_(shared.limits.header_bytes + kPiece) {}

  Awaitable<void> Run() {
    for (;;) {  // awaited on lines of their own: g++ 12 mistakes what is awaited in conditions
      const bool has_request = co_await WaitForRequest();
      if (!has_request) co_return;
      const bool goes_on = co_await ServeRequest();
      if (!goes_on) co_return;
    }
  }

 private:
  std::chrono::seconds TimeFor(std::chrono::seconds base, std::uint64_t bytes) const {
    return base + std::chrono::seconds(bytes / limits_.slowest_bytes_per_second);
  }

  // An idle connection costs its own buffers and may be closed at any time.
  Awaitable<bool> WaitForRequest() {
    if (buffer_.size() > 0) co_return true;
    buffer_.shrink_to_fit();
    slot_.waits = true;
    if (shared_.stopping) co_return false;
    slot_.EndsAfter(limits_.idle);
    constexpr std::size_t kFirst = 4096;
    auto [error, count] = co_await stream_.async_read_some(buffer_.prepare(kFirst), kTuple);
    slot_.waits = false;
    if (error) co_return false;
    buffer_.commit(count);
    co_return true;
  }

  // False where the connection is to be closed.
  Awaitable<bool> ServeRequest() {
    const auto begin = steady_clock::now();
    RequestParser parser(limits_.header_bytes, limits_.body_bytes);
    slot_.EndsAfter(limits_.header);
    const beast::error_code error = co_await ReadHeader(parser);
    RequestHead head = parser.Head(remote_);
    if (error) {
      const char* const code = RefusalOf(error);
      if (code == nullptr) co_return false;
      const Reply reply = handler_.Refuse(code);
      co_await RefuseAndClose(reply, head.length, begin);
      co_return false;
    }
    Admission refused = co_await Admit(head);
    std::optional<ByteBudget::Lease> lease;
    if (!refused) {
      lease = shared_.budget.Take(head.length);
      if (!lease) refused = handler_.Refuse("busy");
    }
    if (refused) {
      const bool is_read = parser.EndsWithItsHeader();
      bool goes_on = false;
      if (is_read) goes_on = co_await Send(*refused, head.length, parser, begin);
      if (!is_read) co_await RefuseAndClose(*refused, head.length, begin);
      co_return goes_on;
    }
    std::string body;
    const bool has_body = co_await ReadBody(parser, head.length, body);
    if (!has_body) co_return false;
    const std::uint64_t length = head.length;
    const auto held = std::make_shared<HttpRequest>();
    held->head = std::move(head);
    held->body = std::move(body);
    held->leases.push_back(std::move(*lease));
    slot_.EndsNever();
    auto ask = [this, held](AnswerWith answer) { handler_.Answer(std::move(*held), std::move(answer)); };
    Reply reply = co_await Await<Reply>(std::move(ask));
    // An answer takes memory until its client has read it. Of a write it is asked for again under its key.
    lease = LeaseFor(reply);
    if (!lease) reply = InPlaceOf(reply, handler_.Refuse("busy"));
    const bool goes_on = co_await Send(reply, length, parser, begin);
    co_return goes_on;
  }

  // Most headers have come whole.
  Awaitable<beast::error_code> ReadHeader(RequestParser& parser) {
    beast::error_code fault;
    buffer_.consume(parser.put(buffer_.data(), fault));
    if (fault != http::error::need_more) co_return fault;
    auto [error, count] = co_await http::async_read_header(stream_, buffer_, parser, kTuple);
    co_return error;
  }

  // One that is larger than the whole budget waits for all of it.
  std::optional<ByteBudget::Lease> LeaseFor(const Reply& reply) const {
    constexpr std::size_t kSmall = 4096;  // what so many connections can have costs little
    if (reply.body.size() <= kSmall) return ByteBudget::Lease();
    return shared_.budget.Take(std::min(reply.body.size(), limits_.bytes_in_flight));
  }

  static Reply InPlaceOf(const Reply& reply, Reply other) {
    other.route = reply.route;
    other.company = reply.company;
    other.service = reply.service;
    other.seconds_waited = reply.seconds_waited;
    other.seconds_worked = reply.seconds_worked;
    return other;
  }

  Awaitable<Admission> Admit(const RequestHead& head) {
    Admission refused = handler_.Admit(head);
    if (refused || head.length <= limits_.small_body_bytes) co_return refused;
    slot_.EndsNever();
    auto ask = [this, &head](std::function<void(Admission)> decide) {
      handler_.AdmitLarge(head, std::move(decide));
    };
    refused = co_await Await<Admission>(std::move(ask));
    co_return refused;
  }

  Awaitable<bool> ReadBody(RequestParser& parser, std::uint64_t length, std::string& body) {
    if (parser.is_done()) co_return true;
    slot_.EndsAfter(TimeFor(limits_.body, length));
    if (beast::iequals(parser.get()[http::field::expect], "100-continue")) {
      http::response<http::empty_body> go_on{http::status::continue_, parser.get().version()};
      auto [error, count] = co_await http::async_write(stream_, go_on, kTuple);
      if (error) co_return false;
    }
    body.reserve(length);
    while (!parser.is_done()) {
      parser.MakeRoom(body);
      if (parser.TakeHere(buffer_)) {
        parser.KeepFilled(body);
        continue;
      }
      auto [error, count] = co_await http::async_read(stream_, buffer_, parser, kTuple);
      parser.KeepFilled(body);
      if (error && error != http::error::need_buffer) co_return false;
    }
    co_return true;
  }

  // True where the connection may be used again.
  Awaitable<bool> Send(const Reply& reply, std::uint64_t length, const RequestParser& parser,
                       steady_clock::time_point begin) {
    const bool keeps = parser.keep_alive() && !reply.is_last && !shared_.stopping;
    const bool sent = co_await Write(reply, parser.get().version(), keeps);
    handler_.Done(length, reply, steady_clock::now() - begin, sent);
    co_return sent&& keeps;
  }

  Awaitable<bool> Write(const Reply& reply, unsigned version, bool keeps) {
    std::string text = ReplyHead(reply, version, keeps);
    slot_.EndsAfter(TimeFor(limits_.reply, reply.body.size()));
    const bool is_small = reply.body.size() <= kTogether;
    if (is_small) text += reply.body;
    auto [error, count] = co_await asio::async_write(stream_, asio::buffer(text), kTuple);
    if (error || is_small) co_return !error;
    auto [fault, rest] = co_await asio::async_write(stream_, asio::buffer(reply.body), kTuple);
    co_return !fault;
  }

  // A client that is still sending would not see the answer if the connection were just closed.
  Awaitable<void> RefuseAndClose(const Reply& reply, std::uint64_t length, steady_clock::time_point begin) {
    constexpr unsigned kVersion = 11;
    const bool sent = co_await Write(reply, kVersion, false);
    handler_.Done(length, reply, steady_clock::now() - begin, sent);
    if (!sent) co_return;
    slot_.EndsAfter(kLinger);
    std::size_t left = kLingerBytes;
    std::vector<char> dropped(4096);
    for (;;) {
      auto [error, count] = co_await stream_.async_read_some(asio::buffer(dropped), kTuple);
      if (error || count >= left) co_return;
      left -= count;
    }
  }

  const Shared& shared_;
  const HttpLimits& limits_;
  Stream& stream_;
  RequestHandler& handler_;
  Slot& slot_;
  std::string remote_;
  beast::flat_buffer buffer_;
};

}  // namespace

struct HttpServer::State {
  State(const HttpLimits& of, std::size_t loops)
      : limits(of), budget(of.bytes_in_flight), shared{limits, budget, stopping}, threads(loops) {
    for (std::size_t loop = 0; loop < threads.Loops(); ++loop) loop_slots.emplace_back(threads.Io(loop));
  }

  HttpLimits limits;
  ByteBudget budget;
  std::atomic<bool> stopping = false;
  Shared shared;
  NetworkThreads threads;
  asio::io_context& io = threads.Io(0);  // of what is no client's
  std::size_t next_loop = 0;
  // The connections of a loop, touched by its thread alone.
  struct LoopSlots {
    explicit LoopSlots(asio::io_context& io) : look(io) {}

    std::set<Slot*> slots;
    asio::steady_timer look;
  };
  std::deque<LoopSlots> loop_slots;
  std::list<tcp::acceptor> acceptors;
  std::list<asio::signal_set> signals;
  std::list<asio::steady_timer> timers;

  mutable std::mutex mutex;
  std::condition_variable changed;
  std::shared_ptr<asio::ssl::context> tls;
  std::set<std::shared_ptr<Slot>> slots;
  HttpCounts counts;

  std::uint16_t Begin(tcp::acceptor acceptor, bool with_tls, RequestHandler& handler);
  Awaitable<void> Accept(tcp::acceptor& acceptor, bool with_tls, RequestHandler& handler);
  Awaitable<void> Serve(Socket socket, bool with_tls, RequestHandler& handler, std::shared_ptr<Slot> slot);
  Awaitable<void> ServeTls(Socket socket, RequestHandler& handler, Slot& slot, std::string remote);
  bool Enter(const std::shared_ptr<Slot>& slot);
  void Leave(const std::shared_ptr<Slot>& slot);
  void Look(LoopSlots& loop);
};

// While there are connections.
void HttpServer::State::Look(LoopSlots& loop) {
  loop.look.expires_after(kLook);
  loop.look.async_wait([this, &loop](const beast::error_code& error) {
    if (error) return;
    const auto now = steady_clock::now();
    for (Slot* const slot : loop.slots) {
      beast::error_code ignored;
      if (slot->socket != nullptr && slot->ends <= now) slot->socket->close(ignored);
    }
    if (!loop.slots.empty()) Look(loop);
  });
}

bool HttpServer::State::Enter(const std::shared_ptr<Slot>& slot) {
  const std::scoped_lock lock(mutex);
  if (slots.size() >= limits.connections || stopping) {
    ++counts.refused;
    return false;
  }
  ++counts.accepted;
  return slots.insert(slot).second;
}

void HttpServer::State::Leave(const std::shared_ptr<Slot>& slot) {
  slot->socket = nullptr;
  loop_slots[slot->loop].slots.erase(slot.get());
  const std::scoped_lock lock(mutex);
  slots.erase(slot);
  if (slots.empty()) changed.notify_all();
}

Awaitable<void> HttpServer::State::Accept(tcp::acceptor& acceptor, bool with_tls, RequestHandler& handler) {
  while (!stopping) {
    auto slot = std::make_shared<Slot>(next_loop++ % threads.Loops());
    const Executor executor = threads.Io(slot->loop).get_executor();
    auto [error, socket] = co_await acceptor.async_accept(executor, kTuple);
    if (error == asio::error::operation_aborted || error == asio::error::bad_descriptor) co_return;
    if (error) {
      if (error == asio::error::no_descriptors) handler.LacksDescriptors();
      asio::steady_timer pause(io, std::chrono::milliseconds(100));
      co_await pause.async_wait(kTuple);
      continue;
    }
    if (!Enter(slot)) continue;
    asio::co_spawn(executor, Serve(std::move(socket), with_tls, handler, slot), asio::detached);
  }
}

Awaitable<void> HttpServer::State::Serve(Socket socket, bool with_tls, RequestHandler& handler,
                                         std::shared_ptr<Slot> slot) {
  LoopSlots& loop = loop_slots[slot->loop];
  if (loop.slots.insert(slot.get()).second && loop.slots.size() == 1) Look(loop);
  try {
    beast::error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    std::string remote = error ? "" : endpoint.address().to_string();
    socket.set_option(tcp::no_delay(true), error);
    if (with_tls) {
      co_await ServeTls(std::move(socket), handler, *slot, std::move(remote));
    } else {
      slot->socket = &socket;
      Connection connection(shared, socket, handler, *slot, std::move(remote));
      co_await connection.Run();
    }
  } catch (const std::exception&) {
    // Memory ran out, or the client did something that ends its connection; others go on.
  }
  Leave(slot);
}

Awaitable<void> HttpServer::State::ServeTls(Socket socket, RequestHandler& handler, Slot& slot,
                                            std::string remote) {
  std::shared_ptr<asio::ssl::context> context;
  {
    const std::scoped_lock lock(mutex);
    context = tls;
  }
  TlsStream stream(std::move(socket), *context);
  const struct Watched {  // as long as there is the socket
    Watched(Slot& of, Socket& socket) : slot(of) { slot.socket = &socket; }
    ~Watched() { slot.socket = nullptr; }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    Slot& slot;
  } watched(slot, stream.next_layer());
  slot.EndsAfter(limits.handshake);
  auto [failed] = co_await stream.async_handshake(asio::ssl::stream_base::server, kTuple);
  if (failed) {
    const std::scoped_lock lock(mutex);
    ++counts.failed_handshakes;
    co_return;
  }
  Connection connection(shared, stream, handler, slot, std::move(remote));
  co_await connection.Run();
  slot.EndsAfter(kLinger);
  co_await stream.async_shutdown(kTuple);
}

std::uint16_t HttpServer::State::Begin(tcp::acceptor acceptor, bool with_tls, RequestHandler& handler) {
  if (with_tls && tls == nullptr) throw Error("no certificate was given");
  const std::uint16_t port = acceptor.local_endpoint().port();
  tcp::acceptor& kept = acceptors.emplace_back(std::move(acceptor));
  asio::co_spawn(io, Accept(kept, with_tls, handler), asio::detached);
  return port;
}

HttpServer::HttpServer(const HttpLimits& limits, std::size_t loops)
    : state_(std::make_unique<State>(limits, loops)) {}
HttpServer::~HttpServer() { Stop(); }

void HttpServer::UseTls(const TlsFiles& files) {
  auto made = MakeTls(files);
  const std::scoped_lock lock(state_->mutex);
  state_->tls = std::move(made);
}

std::uint16_t HttpServer::Listen(const std::string& address, bool with_tls, RequestHandler& handler) {
  try {
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos) throw Error("a port is missing");
    std::string host = address.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    const int port = std::stoi(address.substr(colon + 1));
    const tcp::endpoint endpoint(asio::ip::make_address(host), static_cast<std::uint16_t>(port));
    return state_->Begin(tcp::acceptor(state_->io, endpoint), with_tls, handler);
  } catch (const boost::system::system_error& error) {
    throw Error("it is not possible to listen at " + address + ": " + error.code().message());
  } catch (const std::exception& error) {
    throw Error("it is not possible to listen at " + address + ": " + error.what());
  }
}

std::uint16_t HttpServer::ListenAt(int socket, bool with_tls, RequestHandler& handler) {
  try {
    sockaddr_storage name{};
    socklen_t size = sizeof name;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size) != 0) throw Error("it is no socket");
    const tcp protocol = name.ss_family == AF_INET6 ? tcp::v6() : tcp::v4();
    return state_->Begin(tcp::acceptor(state_->io, protocol, socket), with_tls, handler);
  } catch (const std::exception& error) {
    throw Error("the socket that was handed over cannot be used: " + std::string(error.what()));
  }
}

void HttpServer::OnSignal(int signal, std::function<void()> call) {
  asio::signal_set& set = state_->signals.emplace_back(state_->io, signal);
  asio::co_spawn(
      state_->io,
      [&set, call = std::move(call)]() -> Awaitable<void> {
        for (;;) {
          auto [error, number] = co_await set.async_wait(kTuple);
          if (error) co_return;
          call();
        }
      },
      asio::detached);
}

void HttpServer::Every(std::chrono::milliseconds period, std::function<void()> call) {
  asio::steady_timer& timer = state_->timers.emplace_back(state_->io);
  asio::co_spawn(
      state_->io,
      [&timer, period, call = std::move(call)]() -> Awaitable<void> {
        for (;;) {
          timer.expires_after(period);
          co_await timer.async_wait(kTuple);
          call();
        }
      },
      asio::detached);
}

void HttpServer::Start(std::size_t calls) { state_->threads.Start(calls); }

NetworkThreads& HttpServer::threads() { return state_->threads; }

void HttpServer::StopAccepting() {
  std::set<std::shared_ptr<Slot>> slots;
  {
    const std::scoped_lock lock(state_->mutex);
    state_->stopping = true;
    slots = state_->slots;
  }
  asio::post(state_->io, [this] {
    beast::error_code ignored;
    for (tcp::acceptor& acceptor : state_->acceptors) acceptor.close(ignored);
  });
  for (const std::shared_ptr<Slot>& slot : slots) {
    asio::post(state_->threads.Io(slot->loop), [slot] {
      beast::error_code ignored;
      if (slot->socket != nullptr && slot->waits) slot->socket->cancel(ignored);
    });
  }
}

bool HttpServer::WaitUntilDone(std::chrono::milliseconds most) {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, most, [this] { return state_->slots.empty(); });
}

void HttpServer::Stop() { state_->threads.Stop(); }

HttpCounts HttpServer::Counts() const {
  const std::scoped_lock lock(state_->mutex);
  HttpCounts counts = state_->counts;
  counts.open = state_->slots.size();
  counts.free_bytes = state_->budget.Free();
  return counts;
}

ByteBudget& HttpServer::budget() { return state_->budget; }

}  // namespace mox

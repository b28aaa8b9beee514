#include "bench/bare_server.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <thread>

namespace mox::bench {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
constexpr auto kTuple = asio::as_tuple(asio::use_awaitable);

asio::awaitable<void> Echo(tcp::socket socket, asio::ssl::context& tls) {
  socket.set_option(tcp::no_delay(true));
  beast::ssl_stream<beast::tcp_stream> stream(beast::tcp_stream(std::move(socket)), tls);
  auto [failed] = co_await stream.async_handshake(asio::ssl::stream_base::server, kTuple);
  if (failed) co_return;
  beast::flat_buffer buffer;
  for (;;) {
    http::request<http::string_body> request;
    auto [unread, read] = co_await http::async_read(stream, buffer, request, kTuple);
    if (unread) co_return;
    http::response<http::string_body> answer{http::status::ok, request.version()};
    answer.set("Mox-Protocol", "1");
    answer.set(http::field::content_type, request[http::field::content_type]);
    answer.set(http::field::cache_control, "no-store");
    answer.body() = std::move(request.body());
    answer.prepare_payload();
    auto [unsent, sent] = co_await http::async_write(stream, answer, kTuple);
    if (unsent) co_return;
  }
}

asio::awaitable<void> Accept(tcp::acceptor& acceptor, asio::ssl::context& tls) {
  for (;;) {
    auto [error, socket] = co_await acceptor.async_accept(kTuple);
    if (error) co_return;
    asio::co_spawn(acceptor.get_executor(), Echo(std::move(socket), tls), asio::detached);
  }
}

}  // namespace

struct BareServer::State {
  asio::io_context io{1};
  asio::ssl::context tls{asio::ssl::context::tls_server};
  tcp::acceptor acceptor{io, {asio::ip::make_address("127.0.0.1"), 0}};
  std::thread thread;
};

BareServer::BareServer(const std::string& certificate, const std::string& key)
    : state_(std::make_unique<State>()) {
  state_->tls.use_certificate_chain_file(certificate);
  state_->tls.use_private_key_file(key, asio::ssl::context::pem);
  asio::co_spawn(state_->io, Accept(state_->acceptor, state_->tls), asio::detached);
  state_->thread = std::thread([state = state_.get()] { state->io.run(); });
}

BareServer::~BareServer() {
  state_->io.stop();
  state_->thread.join();
}

std::uint16_t BareServer::port() const { return state_->acceptor.local_endpoint().port(); }

}  // namespace mox::bench

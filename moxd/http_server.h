#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "moxd/http_types.h"

namespace mox {

class NetworkThreads;

/// What a client may take of the server. Each phase of a request has its own time.
struct HttpLimits {
  std::size_t header_bytes = 16U << 10U;
  std::size_t body_bytes = 64U << 20U;
  /// Bodies up to here are read before anybody is asked who sends them.
  std::size_t small_body_bytes = 64U << 10U;
  std::size_t bytes_in_flight = 256U << 20U;
  std::size_t connections = 4096;
  std::chrono::seconds handshake{10};
  std::chrono::seconds idle{75};    ///< until the first byte of the next request
  std::chrono::seconds header{10};  ///< from the first byte on
  std::chrono::seconds body{20};    ///< and the time that its bytes take at the slowest rate
  std::chrono::seconds reply{30};   ///< likewise
  std::size_t slowest_bytes_per_second = 16U << 10U;
};

/// The certificate and its key, as PEM files.
struct TlsFiles {
  std::string certificate;
  std::string key;
};

/// How many connections there are and have been.
struct HttpCounts {
  std::size_t open = 0;
  std::uint64_t accepted = 0;
  std::uint64_t refused = 0;  ///< beyond the most
  std::uint64_t failed_handshakes = 0;
  std::int64_t free_bytes = 0;
};

/// HTTP/1.1 for any number of clients on a few loops, a thread each, which do not wait for a request's work.
/// Each listener hands its requests to a handler of its own.
class HttpServer {
 public:
  explicit HttpServer(const HttpLimits& limits, std::size_t loops = 1);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Reads the certificate from now on for new connections; those that are open go on. Raises Error that says
  /// what is wrong with the files; then the former one stays.
  void UseTls(const TlsFiles& files);
  /// Listens at "127.0.0.1:8443" or "[::1]:8443", and answers the port, which the system chooses for 0. With
  /// `with_tls` UseTls comes first. Raises Error.
  std::uint16_t Listen(const std::string& address, bool with_tls, RequestHandler& handler);
  /// The same with a socket that is listening already.
  std::uint16_t ListenAt(int socket, bool with_tls, RequestHandler& handler);

  /// Called on a thread of the server.
  void OnSignal(int signal, std::function<void()> call);
  void Every(std::chrono::milliseconds period, std::function<void()> call);

  /// With threads for so many calls beside the network's.
  void Start(std::size_t calls);
  NetworkThreads& threads();
  /// Takes no further connection, closes those that wait for a request, and lets the others end their
  /// request, for at most so long.
  void StopAccepting();
  bool WaitUntilDone(std::chrono::milliseconds most);
  /// Ends the threads.
  void Stop();

  HttpCounts Counts() const;
  ByteBudget& budget();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mox

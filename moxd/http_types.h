#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mox {

/// What of a request is known before its body is read. Header texts are as they were sent.
struct RequestHead {
  std::string method;
  std::string target;
  std::string token;  ///< of "Authorization: Bearer"
  std::string protocol;
  std::string content_encoding;
  std::string accept_encoding;
  std::string key;                      ///< that names the attempt to write
  std::string rehearsal;                ///< whether to roll back in the end
  std::vector<std::string> parameters;  ///< company parameters of this one request
  std::uint64_t length = 0;             ///< of the body, as announced
  bool has_length = false;
  bool is_framed_twice = false;  ///< by two lengths, or by a length and by chunks
  bool is_chunked = false;       ///< or framed by another transfer encoding
  std::string remote_address;
};

/// An answer, and what the log and the counters are told of it.
struct Reply {
  unsigned status = 200;
  const char* content_type = "application/json";
  const char* content_encoding = nullptr;
  std::string body;
  int retry_after = 0;   ///< seconds; not told where 0
  std::string code;      ///< of an error
  bool is_last = false;  ///< the connection is closed behind it
  // For the log.
  const char* route = "";
  std::string company;
  std::string service;
  double seconds_waited = 0;
  double seconds_worked = 0;
};

/// Bytes of a budget that all requests share, given back when it goes away.
class ByteBudget {
 public:
  explicit ByteBudget(std::size_t bytes) : free_(static_cast<std::int64_t>(bytes)) {}

  class Lease {
   public:
    Lease() = default;
    Lease(ByteBudget* budget, std::int64_t bytes) : budget_(budget), bytes_(bytes) {}
    Lease(Lease&& other) noexcept
        : budget_(std::exchange(other.budget_, nullptr)), bytes_(std::exchange(other.bytes_, 0)) {}
    Lease& operator=(Lease&& other) noexcept {
      std::swap(budget_, other.budget_);
      std::swap(bytes_, other.bytes_);
      return *this;
    }
    ~Lease() {
      if (budget_ != nullptr) budget_->Give(bytes_);
    }

   private:
    ByteBudget* budget_ = nullptr;
    std::int64_t bytes_ = 0;
  };

  /// None where so many are not left.
  std::optional<Lease> Take(std::size_t bytes);
  std::int64_t Free() const { return free_.load(std::memory_order_relaxed); }

 private:
  void Give(std::int64_t bytes) { free_.fetch_add(bytes, std::memory_order_relaxed); }
  std::atomic<std::int64_t> free_;
};

/// A whole request.
struct HttpRequest {
  RequestHead head;
  std::string body;
  std::vector<ByteBudget::Lease> leases;  ///< of the memory that it takes
};

/// Called once, from any thread.
using AnswerWith = std::function<void(Reply)>;
/// None where the body may be read.
using Admission = std::optional<Reply>;

/// What a server does with requests. Admit, Refuse and Done run on the threads that read and write, and must
/// not wait.
class RequestHandler {
 public:
  virtual ~RequestHandler() = default;
  /// The header is read: whether the body is worth reading.
  virtual Admission Admit(const RequestHead& head) = 0;
  /// The same for what takes a while, of a body that is not small.
  virtual void AdmitLarge(const RequestHead& head, std::function<void(Admission)> decide) = 0;
  virtual void Answer(HttpRequest request, AnswerWith answer) = 0;
  /// An answer where no request could be read: "bad_request" and the like.
  virtual Reply Refuse(const char* code) = 0;
  /// The answer to a request with a body of that length was sent, or could not be.
  virtual void Done(std::uint64_t length, const Reply& reply, std::chrono::steady_clock::duration took,
                    bool sent) = 0;
  /// No connection can be taken, since the process may not open more: others have to end, or be ended.
  virtual void LacksDescriptors() = 0;
};

}  // namespace mox

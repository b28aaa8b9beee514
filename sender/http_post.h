#pragma once

#include <cstddef>
#include <string>

namespace mox {

struct PostLimits {
  long connect_seconds = 10;
  long seconds = 60;                     ///< for the whole exchange
  std::size_t answer_bytes = 1'048'576;  ///< a longer answer is refused
  std::string ca_file;                   ///< certificate authorities; empty means those of the system
};

struct HttpAnswer {
  long status = 0;
  std::string body;
};

/// What kept an answer from coming whole. status() is that of HTTP as far as it came, else 0; when nothing of
/// the request was sent, the other side cannot have taken it.
class PostFailure : public std::exception {
 public:
  enum class Kind { kUnreachable, kTimeOut, kTooLong };
  PostFailure(Kind kind, std::string detail, long status, bool sent)
      : kind_(kind), detail_(std::move(detail)), status_(status), sent_(sent) {}
  Kind kind() const { return kind_; }
  long status() const { return status_; }
  bool sent() const { return sent_; }
  const char* what() const noexcept override { return detail_.c_str(); }

 private:
  Kind kind_;
  std::string detail_;
  long status_;
  bool sent_;
};

/// Posts JSON and takes the answer. The server's certificate is verified; an address without TLS is refused
/// unless it is one of this computer, since an invoice carries the credentials of the account. Redirections
/// are not followed. Raises PostFailure.
///
/// `key` goes with it as the header Idempotency-Key: it is the same when the same is posted again.
HttpAnswer PostJson(const std::string& url, const std::string& json, const std::string& key,
                    const PostLimits& limits);

}  // namespace mox

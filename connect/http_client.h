#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// What a server answered.
struct HttpAnswer {
  long status = 0;
  int retry_after = 0;  ///< seconds; 0 where none was told
  std::string encoding;
  std::string type;      ///< of the body, in small letters and without what stands behind ';'
  std::string protocol;  ///< "Mox-Protocol"; empty where somebody else has answered
  std::string body;
  bool is_cut = false;  ///< since it is larger than any answer is
};

/// No answer came. Either nothing of the request was sent, or what became of it is not known.
struct HttpFailure {
  bool was_sent = false;
  std::string reason;
};

/// Whether nobody waits any more, shared by who waited and who works.
using EndFlag = std::shared_ptr<std::atomic<bool>>;
inline EndFlag NewEndFlag() { return std::make_shared<std::atomic<bool>>(false); }

/// Posts to one server, over one connection that is kept. However much is answered, and however slowly, it
/// ends.
class HttpClient {
 public:
  /// `server` is "https://host:port". The server's certificate is checked against `ca_file`, or against the
  /// authorities of the system where it is empty. While `ended` is set no answer is waited for, also by
  /// another thread.
  HttpClient(std::string server, std::string ca_file, EndFlag ended = NewEndFlag());
  ~HttpClient();

  /// Headers are "Name: value". False where no answer came.
  bool Post(const std::string& path, const std::vector<std::string>& headers, std::string_view body,
            HttpAnswer& answer, HttpFailure& failure);
  void End(bool end) { *ended_ = end; }

 private:
  struct Handle;
  std::string server_;
  std::string ca_file_;
  std::unique_ptr<Handle> handle_;
  EndFlag ended_;
};

}  // namespace mox

#include "connect/http_client.h"

#include <curl/curl.h>

#include <array>
#include <cstdlib>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr long kConnectSeconds = 10;
// A server that says nothing for so long is gone; a large import takes its time. Less than so much a second
// is nothing.
constexpr long kSilenceSeconds = 300;
constexpr long kSilenceBytes = 1024;
// What is larger is answered in zstd.
constexpr std::size_t kMostReceived = 256U << 20U;

struct FreeCurl {
  void operator()(CURL* handle) const { ::curl_easy_cleanup(handle); }
  void operator()(curl_slist* list) const { ::curl_slist_free_all(list); }
};

// Where it takes less than it is given the transfer ends.
std::size_t Receive(const char* data, std::size_t size, std::size_t count, void* to) {
  HttpAnswer& answer = *static_cast<HttpAnswer*>(to);
  answer.is_cut = answer.body.size() + size * count > kMostReceived;
  if (answer.is_cut) return 0;
  answer.body.append(data, size * count);
  return size * count;
}

// The header of an answer; empty where it has none of that name.
std::string HeaderOf(CURL* curl, const char* name) {
  curl_header* header = nullptr;
  return ::curl_easy_header(curl, name, 0, CURLH_HEADER, -1, &header) == CURLHE_OK ? header->value : "";
}

// Asked every second or so while nothing arrives, and with whatever does.
int IsEnded(const void* ended, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return *static_cast<const std::atomic<bool>*>(ended) ? 1 : 0;
}

void StartLibraryOnce() {
  static const bool started = ::curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  if (!started) throw Error("the network library cannot be started");
}

bool NothingWasSent(CURLcode code, CURL* curl) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
      return true;
    default:
      break;
  }
  long bytes = 0;
  ::curl_easy_getinfo(curl, CURLINFO_REQUEST_SIZE, &bytes);
  return bytes == 0;
}

}  // namespace

struct HttpClient::Handle {
  std::unique_ptr<CURL, FreeCurl> curl;
  std::array<char, CURL_ERROR_SIZE> detail{};
};

HttpClient::HttpClient(std::string server, std::string ca_file, EndFlag ended)
    : server_(std::move(server)),
      ca_file_(std::move(ca_file)),
      handle_(std::make_unique<Handle>()),
      ended_(std::move(ended)) {
  StartLibraryOnce();
  handle_->curl.reset(::curl_easy_init());
  CURL* const curl = handle_->curl.get();
  if (curl == nullptr) throw Error("the network library cannot be started");
  ::curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "https");
  ::curl_easy_setopt(curl, CURLOPT_NOPROXY, "localhost,127.0.0.1,::1");
  ::curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
  ::curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  ::curl_easy_setopt(curl, CURLOPT_TCP_NODELAY, 1L);
  ::curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
  ::curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, kSilenceBytes);
  ::curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, kSilenceSeconds);
  ::curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
  ::curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
  ::curl_easy_setopt(curl, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
  if (!ca_file_.empty()) ::curl_easy_setopt(curl, CURLOPT_CAINFO, ca_file_.c_str());
  ::curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Receive);
  ::curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, IsEnded);
  ::curl_easy_setopt(curl, CURLOPT_XFERINFODATA, ended_.get());
  ::curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  ::curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, handle_->detail.data());
}

HttpClient::~HttpClient() = default;

bool HttpClient::Post(const std::string& path, const std::vector<std::string>& headers, std::string_view body,
                      HttpAnswer& answer, HttpFailure& failure) {
  CURL* const curl = handle_->curl.get();
  std::unique_ptr<curl_slist, FreeCurl> list;
  for (const std::string& header : headers) {
    curl_slist* const longer = ::curl_slist_append(list.get(), header.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(list.release());
    list.reset(longer);
  }
  answer = {};
  handle_->detail[0] = '\0';
  const std::string url = server_ + path;
  ::curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  ::curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list.get());
  ::curl_easy_setopt(curl, CURLOPT_POST, 1L);
  ::curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  ::curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
  ::curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer);
  const CURLcode code = ::curl_easy_perform(curl);
  ::curl_easy_setopt(curl, CURLOPT_HTTPHEADER, nullptr);
  ::curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
  if (code != CURLE_OK && !answer.is_cut) {
    failure.was_sent = !NothingWasSent(code, curl);
    failure.reason = code == CURLE_ABORTED_BY_CALLBACK ? "ended by the user"
                     : handle_->detail[0] != '\0'      ? handle_->detail.data()
                                                       : ::curl_easy_strerror(code);
    return false;
  }
  curl_off_t retry_after = 0;
  ::curl_easy_getinfo(curl, CURLINFO_RETRY_AFTER, &retry_after);
  answer.retry_after = static_cast<int>(retry_after);
  answer.encoding = FoldCase(HeaderOf(curl, "Content-Encoding"));
  const std::string type = HeaderOf(curl, "Content-Type");
  answer.type = FoldCase(TrimBlanks(std::string_view(type).substr(0, type.find(';'))));
  answer.protocol = HeaderOf(curl, "Mox-Protocol");
  return true;
}

}  // namespace mox

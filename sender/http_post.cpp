#include "sender/http_post.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

namespace mox {
namespace {

constexpr std::array<std::string_view, 3> kThisComputer = {"localhost", "127.0.0.1", "[::1]"};

struct Free {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  void operator()(char* text) const { curl_free(text); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

std::string PartOf(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return {};
  return Owned<char>(text).get();
}

void RequireSafe(const std::string& address) {
  const Owned<CURLU> url(curl_url());
  const bool valid = curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) == CURLUE_OK;
  const std::string scheme = PartOf(url.get(), CURLUPART_SCHEME);
  const std::string host = PartOf(url.get(), CURLUPART_HOST);
  const bool here = std::find(kThisComputer.begin(), kThisComputer.end(), host) != kThisComputer.end();
  if (valid && (scheme == "https" || (scheme == "http" && here))) return;
  throw PostFailure(PostFailure::Kind::kUnreachable, "not an https address: " + address, 0, false);
}

struct Received {
  std::string body;
  std::size_t limit;
  bool too_long = false;
};

std::size_t Receive(const char* data, std::size_t size, std::size_t count, void* into) {
  auto& received = *static_cast<Received*>(into);
  received.too_long = size * count > received.limit - received.body.size();
  if (received.too_long) return 0;  // ends the exchange
  received.body.append(data, size * count);
  return size * count;
}

}  // namespace

HttpAnswer PostJson(const std::string& url, const std::string& json, const std::string& key,
                    const PostLimits& limits) {
  RequireSafe(url);
  const Owned<CURL> handle(curl_easy_init());
  CURL* const curl = handle.get();
  if (curl == nullptr) throw PostFailure(PostFailure::Kind::kUnreachable, "no network library", 0, false);
  Owned<curl_slist> headers(curl_slist_append(nullptr, "Content-Type: application/json; charset=utf-8"));
  curl_slist_append(headers.get(), "Accept: application/json");
  curl_slist_append(headers.get(), "Expect:");  // the invoice follows at once
  curl_slist_append(headers.get(), ("Idempotency-Key: " + key).c_str());
  Received received{{}, limits.answer_bytes};
  std::array<char, CURL_ERROR_SIZE> detail{};

  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "https,http");
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "localhost,127.0.0.1,::1");
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(curl, CURLOPT_POST, 1L);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(json.size()));
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, json.c_str());
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, limits.connect_seconds);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, limits.seconds);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(curl, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
  if (!limits.ca_file.empty()) curl_easy_setopt(curl, CURLOPT_CAINFO, limits.ca_file.c_str());
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Receive);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &received);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, detail.data());

  const CURLcode code = curl_easy_perform(curl);
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  long request_bytes = 0;
  curl_easy_getinfo(curl, CURLINFO_REQUEST_SIZE, &request_bytes);
  if (code == CURLE_OK) return {status, std::move(received.body)};
  const auto kind = received.too_long                  ? PostFailure::Kind::kTooLong
                    : code == CURLE_OPERATION_TIMEDOUT ? PostFailure::Kind::kTimeOut
                                                       : PostFailure::Kind::kUnreachable;
  throw PostFailure(kind, detail[0] != '\0' ? detail.data() : curl_easy_strerror(code), status,
                    request_bytes > 0);
}

}  // namespace mox

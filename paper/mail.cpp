#include "paper/mail.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>

#include "mox/foundation/base64.h"
#include "mox/foundation/error.h"
#include "mox/foundation/mail_address.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

struct Free {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  void operator()(curl_mime* mime) const { curl_mime_free(mime); }
  void operator()(char* text) const { curl_free(text); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::string PartOf(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return {};
  return Owned<char>(text).get();
}

// Whether the server needs TLS: all but those of this computer.
bool NeedsTls(const std::string& address) {
  constexpr std::array<std::string_view, 3> kThisComputer = {"localhost", "127.0.0.1", "[::1]"};
  if (const std::string fault = MailServerFault(address); !fault.empty()) throw Error(fault);
  const Owned<CURLU> url(curl_url());
  if (curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) != CURLUE_OK) {
    throw Error("the address of the mail server cannot be read");
  }
  const std::string host = PartOf(url.get(), CURLUPART_HOST);
  return std::find(kThisComputer.begin(), kThisComputer.end(), host) == kThisComputer.end();
}

// What the server has said. From 354 on it has the mail or may have it; its next answer says so.
struct Talk {
  bool handed_over = false;
  int last_code = 0;
  int mail_answer = 0;
  std::string last;
};

std::size_t Hear(const char* data, std::size_t size, std::size_t count, void* into) {
  auto& talk = *static_cast<Talk*>(into);
  const std::string_view line(data, size * count);
  const bool is_answer = line.size() > 3 && line[3] != '-' && line[0] >= '2' && line[0] <= '5';
  if (!is_answer) return size * count;
  constexpr int kGoodBye = 221;
  const int code = (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
  if (code == kGoodBye) return size * count;
  talk.last_code = code;
  talk.last = std::string(TrimBlanks(line));
  if (talk.handed_over && talk.mail_answer == 0) talk.mail_answer = talk.last_code;
  if (talk.last_code == 354) talk.handed_over = true;
  return size * count;
}

// How long it may take, the good-bye too, for which the library would wait without regard to its limit.
struct Patience {
  std::chrono::steady_clock::time_point until;
  const std::function<bool()>& ended;

  bool IsEnded() const { return ended && ended(); }
};

int StopWhenLate(void* patience, curl_off_t /*down*/, curl_off_t /*downloaded*/, curl_off_t /*up*/,
                 curl_off_t /*uploaded*/) {
  const auto& has = *static_cast<const Patience*>(patience);
  return has.IsEnded() || std::chrono::steady_clock::now() >= has.until ? 1 : 0;
}

std::string DateHeader() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(now - day);
  constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02u %s %04d %02d:%02d:%02d +0000",
                kDays[std::chrono::weekday(day).c_encoding()], static_cast<unsigned>(date.day()),
                kMonths[static_cast<unsigned>(date.month()) - 1], static_cast<int>(date.year()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text.data();
}

Owned<curl_slist> HeadersOf(const MailAccount& account, const Mail& mail) {
  const std::string domain = account.sender.substr(account.sender.find('@') + 1);
  curl_slist* list = nullptr;
  for (const std::string& header :
       {"Date: " + DateHeader(), "From: " + EncodedHeader(account.name) + " <" + account.sender + ">",
        "To: <" + mail.to + ">", "Subject: " + EncodedHeader(mail.subject),
        "Message-ID: <" + mail.message + "@" + domain + ">"}) {
    curl_slist* const longer = curl_slist_append(list, header.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    list = longer;
  }
  return Owned<curl_slist>(list);
}

Owned<curl_mime> BodyOf(CURL* curl, const Mail& mail) {
  Owned<curl_mime> mime(curl_mime_init(curl));
  curl_mimepart* const text = curl_mime_addpart(mime.get());
  curl_mime_data(text, mail.text.data(), mail.text.size());
  curl_mime_type(text, "text/plain; charset=utf-8");
  curl_mime_encoder(text, "base64");
  for (const MailAttachment& attachment : mail.attachments) {
    curl_mimepart* const part = curl_mime_addpart(mime.get());
    curl_mime_data(part, attachment.bytes.data(), attachment.bytes.size());
    curl_mime_filename(part, attachment.name.c_str());
    curl_mime_type(part, attachment.type.c_str());
    curl_mime_encoder(part, "base64");
  }
  return mime;
}

// A sender, receiver or text that the server will not have is refused; whatever else it says may be otherwise
// another day: that it wants a login (530), or that it takes no mails from here.
MailOutcome OutcomeOf(CURLcode code, const Talk& talk, const std::string& happened) {
  constexpr int kWantsLogin = 530;
  const std::string said = VisibleMessage(talk.last_code >= 400 ? talk.last : happened);
  if (talk.mail_answer / 100 == 2) return {MailEnd::kSent, VisibleMessage(talk.last)};
  if (talk.mail_answer / 100 == 5) return {MailEnd::kRefused, VisibleMessage(talk.last)};
  if (talk.mail_answer == 0 && talk.handed_over) return {MailEnd::kUnknown, said};
  const bool refused = code == CURLE_SEND_ERROR && talk.last_code / 100 == 5 && talk.last_code != kWantsLogin;
  return {refused ? MailEnd::kRefused : MailEnd::kNotSent, said};
}

}  // namespace

std::string EncodedHeader(std::string_view text) {
  std::string clean(text);
  for (char& c : clean) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
  }
  constexpr std::string_view kPlain = " !#$%&'*+-/^_`{|}~";
  constexpr std::size_t kShort = 60;
  const bool plain = clean.size() < kShort && std::all_of(clean.begin(), clean.end(), [&](char c) {
                       return IsLetterOrDigit(c) || kPlain.find(c) != std::string_view::npos;
                     });
  if (plain) return clean;
  // A word has at most 75 characters, and no letter is in two of them.
  constexpr std::size_t kMostBytes = 45;
  std::string encoded;
  for (std::string_view rest = clean; !rest.empty();) {
    std::size_t size = 0;
    while (size < rest.size()) {
      const std::size_t next = CutToCharacters(rest.substr(size), 1).size();
      if (size + next > kMostBytes) break;
      size += next;
    }
    encoded += (encoded.empty() ? "=?UTF-8?B?" : "\r\n =?UTF-8?B?") + ToBase64(rest.substr(0, size)) + "?=";
    rest.remove_prefix(size);
  }
  return encoded;
}

MailOutcome SendMail(const MailAccount& account, const Mail& mail, const std::function<bool()>& ended) {
  if (const std::string fault = AddressFault(account.sender); !fault.empty()) throw Error(fault);
  if (const std::string fault = AddressFault(mail.to); !fault.empty()) return {MailEnd::kRefused, fault};
  const bool needs_tls = NeedsTls(account.url);
  const Owned<CURL> handle(curl_easy_init());
  CURL* const curl = handle.get();
  if (curl == nullptr) throw Error("no network library");
  const Owned<curl_slist> headers = HeadersOf(account, mail);
  const Owned<curl_mime> body = BodyOf(curl, mail);
  const std::string from = "<" + account.sender + ">";
  const Owned<curl_slist> receivers(curl_slist_append(nullptr, ("<" + mail.to + ">").c_str()));
  Talk talk;
  Patience patience{std::chrono::steady_clock::now() + std::chrono::seconds(account.seconds), ended};
  std::array<char, CURL_ERROR_SIZE> detail{};

  curl_easy_setopt(curl, CURLOPT_URL, account.url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
  // On this computer TLS is taken where the server offers it.
  curl_easy_setopt(curl, CURLOPT_USE_SSL, static_cast<long>(needs_tls ? CURLUSESSL_ALL : CURLUSESSL_TRY));
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (!account.ca_file.empty()) curl_easy_setopt(curl, CURLOPT_CAINFO, account.ca_file.c_str());
  if (!account.user.empty()) {
    curl_easy_setopt(curl, CURLOPT_USERNAME, account.user.c_str());
    curl_easy_setopt(curl, CURLOPT_PASSWORD, account.password.c_str());
  }
  curl_easy_setopt(curl, CURLOPT_MAIL_FROM, from.c_str());
  curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, receivers.get());
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(curl, CURLOPT_MIMEPOST, body.get());
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, Hear);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, &talk);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, account.connect_seconds);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT, account.seconds);
  curl_easy_setopt(curl, CURLOPT_SERVER_RESPONSE_TIMEOUT, account.seconds);
  // The good-bye is said while all of this is still there.
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, StopWhenLate);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &patience);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, detail.data());

  const CURLcode code = curl_easy_perform(curl);
  const bool is_late = code == CURLE_ABORTED_BY_CALLBACK || code == CURLE_OPERATION_TIMEDOUT;
  const std::string happened =
      patience.IsEnded()  ? "ended by the user"
      : is_late           ? "no answer within " + std::to_string(account.seconds) + " seconds (TIMEOUT)"
      : detail[0] != '\0' ? detail.data()
                          : curl_easy_strerror(code);
  return OutcomeOf(code, talk, happened);
}

}  // namespace mox

#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

struct MailAccount {
  std::string url;   ///< smtps://HOST[:PORT], or smtp://HOST[:PORT], which is made safe by STARTTLS
  std::string user;  ///< empty: no login
  std::string password;
  std::string sender;         ///< an address
  std::string name;           ///< of the sender, for people
  std::string ca_file;        ///< certificate authorities; empty means those of the system
  long connect_seconds = 15;  ///< until the server has answered
  long seconds = 120;         ///< for all of it, the good-bye too
};

struct MailAttachment {
  std::string name;
  std::string type;  ///< "application/pdf"
  std::string bytes;
};

struct Mail {
  std::string to;  ///< one address
  std::string subject;
  std::string text;
  std::string message;  ///< names it; the same for every copy
  std::vector<MailAttachment> attachments;
};

/// What became of a mail.
enum class MailEnd : std::uint8_t {
  kSent,
  kNotSent,  ///< the server has not taken it, and may do later
  kRefused,  ///< the server will not take it
  kUnknown   ///< it was handed over, and no answer came
};
struct MailOutcome {
  MailEnd end = MailEnd::kNotSent;
  std::string answer;  ///< of the server, or what happened; for people
};

/// Sends a mail. Certificates are verified; a server without TLS is refused unless it is of this computer.
/// Whatever happens on the way is told by the outcome. Raises Error for a faulty account, before anything is
/// sent. `ended` is asked every now and then whether to give up.
MailOutcome SendMail(const MailAccount& account, const Mail& mail,
                     const std::function<bool()>& ended = nullptr);

/// A header's text: as it is, or in encoded words (RFC 2047) where it has other letters than ASCII. Control
/// characters become blanks.
std::string EncodedHeader(std::string_view text);

}  // namespace mox

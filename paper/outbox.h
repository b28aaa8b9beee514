#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/foundation/record_set.h"
#include "paper/mail.h"
#include "paper/paper_template.h"
#include "paper/text_painter.h"

namespace mox {

/// How the outbox stores what it does.
class RecordStore {
 public:
  virtual ~RecordStore() = default;
  /// Stores a record by a named transaction and answers the key that the server gave, 0 where it gave none.
  /// Raises Error that says why it was refused.
  virtual std::int64_t Store(std::string_view transaction, RecordSet& record) = 0;
};

/// A mail of the outbox, as the service "Posta" answers it.
struct OutboxMail {
  std::int64_t id = 0;
  std::int64_t doc_id = 0;
  std::string to;
  std::string subject;
  std::string text;
  std::string message;                         ///< its name
  std::string state;                           ///< "ceka", "salje", "poslano", "odbijeno" or "nepoznato"
  std::optional<std::int64_t> storno_id = {};  ///< what cancels its document

  bool Waits() const { return state == "ceka"; }
  /// Whether it goes only where the user agrees: it may be there already, or its document was cancelled
  /// since.
  bool NeedsLeave() const { return !Waits() || storno_id.has_value(); }
  /// Whether the receiver may have it and nobody knows: another copy needs the user's leave.
  bool IsDoubtful() const { return state == "salje" || state == "nepoznato"; }
};

/// A mail became another one since it was read: another program sends it, somebody has settled it, or its
/// document was cancelled.
class MailChanged : public Error {
 public:
  using Error::Error;
};

/// The company's mails, wherever its database is: they are put into the outbox before anything is sent, each
/// sending is noted before it begins and when it has ended.
class Outbox {
 public:
  /// Reads and sends by the services of the installed application, whose settings CA_FILE and TIMEOUT
  /// (seconds) it takes.
  Outbox(const PaperTemplate& paper, RecordStore& store)
      : paper_(paper), store_(store), painter_(paper.Text("stranica", "font")) {}

  /// How mails go out, where that is not by SendMail() alone.
  using Deliver = std::function<MailOutcome(const MailAccount& account, const Mail& mail)>;
  void SetDeliver(Deliver deliver) { deliver_ = std::move(deliver); }

  /// Those of a document, or all; the first one first.
  std::vector<OutboxMail> Mails(std::optional<std::int64_t> doc_id = {}) const;
  /// The one with this key. Raises Error where there is none.
  OutboxMail Find(std::int64_t id) const;
  /// Puts the mail of a document, with subject and text of the template, into the outbox; the template stays
  /// with it. Answers the one that is there already, in any state, until it was refused or
  /// withdrawn. Raises Error for a faulty address and for a document that has no page.
  OutboxMail Put(std::int64_t doc_id, const std::string& to);
  /// Whether it goes with another template than this one, as it was asked for.
  bool HasOtherTemplate(const OutboxMail& mail) const;
  /// Sends a mail with the page as PDF and, where there is one, the e-invoice. A mail that needs the user's
  /// leave is sent because he agreed to it as it is here; where it has changed meanwhile, it is refused:
  /// MailChanged. Raises Error, nothing being sent, where the company has no account of mails or the document
  /// no page.
  MailOutcome Send(const OutboxMail& mail);
  /// What is not on the page that was sent last, and why.
  const std::vector<std::string>& Warnings() const { return warnings_; }
  /// Withdraws a mail that was not sent or may have been (kRefused), or notes that one that may have been
  /// sent was (kSent). Raises Error for others, MailChanged where it has changed meanwhile.
  void Settle(const OutboxMail& mail, MailEnd end);
  /// The account that mails are sent by. Raises Error where the company has none.
  const MailAccount& Account();

 private:
  std::int64_t StoreFor(const OutboxMail& mail, std::string_view transaction, RecordSet& record);
  Mail MessageOf(const OutboxMail& mail);
  Mail MessageOn(const OutboxMail& mail, const PaperTemplate& paper, TextPainter& painter);

  const PaperTemplate& paper_;
  RecordStore& store_;
  Deliver deliver_;
  TextPainter painter_;
  MailAccount account_;  // without an address until it is asked for
  std::vector<std::string> warnings_;
};

/// "was sent", "was refused": what became of a mail, for people.
const char* OutcomeWords(MailEnd end);
/// "waits in the outbox", "was sent already": what a mail is, for people, and what cancels its document.
std::string MailWords(const OutboxMail& mail);

}  // namespace mox

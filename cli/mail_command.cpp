#include <memory>
#include <ostream>
#include <vector>

#include "appserver/database_location.h"
#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/host.h"
#include "cli/options.h"
#include "cli/print_template.h"
#include "cli/secret_input.h"
#include "cli/service_request.h"
#include "cli/text_table.h"
#include "mox/foundation/mail_address.h"
#include "mox/foundation/visible_text.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "paper/outbox.h"

namespace mox {
namespace {

struct MailArguments {
  std::string document;
  std::string to;
  std::string template_file;
  std::string withdrawn;
  std::string sent;
  bool send = false;
  bool outbox = false;
  bool table = false;
  bool yes = false;
  std::string account;
  std::string user;
  std::string sender;
  std::string password_file;
};

void SetAccount(const MailArguments& arguments, Session& session) {
  const CompanyAccess& server = ServerOf(session);
  session.secrets.AddThoseOf(arguments.account);
  if (const std::string fault = AddressFault(arguments.sender); !arguments.sender.empty() && !fault.empty()) {
    throw UsageError("--sender: " + fault);
  }
  if (const std::string fault = MailServerFault(arguments.account);
      !arguments.account.empty() && !fault.empty()) {
    throw UsageError("--account: " + fault);
  }
  const auto given = [](const std::string& text) { return text.empty() ? Value() : Value(text); };
  RecordSet account("adsRacun");
  for (const char* field : {"url", "korisnik", "lozinka", "posiljatelj"}) {
    account.DefineField(field, FieldKind::kText);
  }
  account.Open();
  account.AppendRecord(
      {given(arguments.account), given(arguments.user),
       arguments.password_file.empty() ? Value() : Value(ReadSecret(arguments.password_file, session)),
       given(arguments.sender)});
  RequireStored(server, ExecuteTransaction("PostaRacunUpis", {&account}));
}

class ServerStore : public RecordStore {
 public:
  explicit ServerStore(const CompanyAccess& server) : server_(server) {}

  std::int64_t Store(std::string_view transaction, RecordSet& record) override {
    RequireStored(server_, ExecuteTransaction(transaction, {&record}));
    const auto& stored = server_.LastWrite().stored;
    return stored && !stored->IsEmpty() ? stored->RowAt(0).AsInteger(0) : 0;
  }

 private:
  const CompanyAccess& server_;
};

// Sends mails of the outbox, one after the other, and tells what became of each.
class MailRun {
 public:
  MailRun(const MailArguments& arguments, Session& session)
      : arguments_(arguments),
        session_(session),
        server_(ServerOf(session)),
        paper_(TemplateOf(arguments.template_file)),
        outbox_(paper_, server_) {}

  // The document's mail to this address, which may be in the outbox already.
  void SendDocument(std::int64_t doc_id) {
    const OutboxMail mail = outbox_.Put(doc_id, arguments_.to);
    session_.stored = "mail " + std::to_string(mail.id) + " is in the outbox";
    SendAgreed(mail, outbox_.HasOtherTemplate(mail));
  }

  // All that waits, and what may have been sent where the user agrees. One that cannot be sent keeps no other
  // one from it.
  void SendAll() {
    std::vector<OutboxMail> mails = outbox_.Mails();
    std::erase_if(mails, [](const OutboxMail& mail) { return !mail.Waits() && !mail.IsDoubtful(); });
    if (!mails.empty()) outbox_.Account();
    for (const OutboxMail& mail : mails) {
      try {
        SendAgreed(mail);
      } catch (const MailChanged& changed) {
        Tell(changed.what());
      } catch (const DatabaseUnavailable&) {
        throw;
      } catch (const Error& error) {
        Tell("mail " + std::to_string(mail.id) + " to " + mail.to + ": " + error.what());
      }
    }
  }

  void Settle(std::int64_t id, MailEnd end) {
    const OutboxMail mail = outbox_.Find(id);
    outbox_.Settle(mail, end);
    session_.err << "mox: mail " << mail.id << " to " << mail.to
                 << (end == MailEnd::kSent ? " is noted as sent" : " is withdrawn")
                 << (end != MailEnd::kSent && mail.IsDoubtful() ? ", though it may have been sent" : "")
                 << std::endl;
  }

 private:
  void Tell(const std::string& why) {
    session_.err << "mox: " << OnOneLine(session_.secrets.Blanked(why)) << std::endl;
    session_.valid = false;
  }

  void Send(const OutboxMail& mail) {
    const MailOutcome outcome = outbox_.Send(mail);
    session_.err << "mox: mail " << mail.id << " to " << mail.to << " " << OutcomeWords(outcome.end) << ": "
                 << OnOneLine(outcome.answer) << std::endl;
    for (const std::string& warning : outbox_.Warnings()) {
      session_.err << "mox: document " << mail.doc_id << ": " << VisibleMessage(warning) << std::endl;
    }
    if (outcome.end != MailEnd::kSent) session_.valid = false;
  }

  // Another copy of what was sent, or may have been, and what was cancelled goes out on a yes; so does what
  // was first asked for with another template, which it keeps.
  void SendAgreed(const OutboxMail& mail, bool has_other_template = false) {
    if (!mail.NeedsLeave() && !has_other_template) return Send(mail);
    const std::string id = std::to_string(mail.id);
    const std::string known =
        "mail " + id + " of document " + std::to_string(mail.doc_id) + " to " + mail.to + " " +
        MailWords(mail) + (has_other_template ? ", with the template that it was asked for with first" : "");
    SessionDialogs dialogs(session_, arguments_.yes);
    if (dialogs.ShowVelorDialog(TVCustomDialogType::kConfirmation, "Upozorenje", "Slanje pošte",
                                known + (mail.Waits() ? ". Poslati ipak?" : ". Poslati ponovno?")) ==
        kDialogYes) {
      return Send(mail);
    }
    if (mail.Waits()) {
      Tell(known + "; --yes sends it all the same, --withdraw " + id + " ends it" +
           (has_other_template ? ", and the next one has this template" : ""));
    } else {
      Tell(known + "; --yes sends it again" +
           (has_other_template ? " with that one: the document has no other mail to this address" : ""));
    }
  }

  const MailArguments& arguments_;
  Session& session_;
  ServerStore server_;
  PaperTemplate paper_;
  Outbox outbox_;
};

void RunMail(const MailArguments& arguments, Session& session) {
  const bool sets =
      !(arguments.account + arguments.user + arguments.sender + arguments.password_file).empty();
  const std::string& settled = arguments.withdrawn.empty() ? arguments.sent : arguments.withdrawn;
  const int ways = (arguments.document.empty() ? 0 : 1) + (arguments.send ? 1 : 0) +
                   (arguments.outbox ? 1 : 0) + (sets ? 1 : 0) + (arguments.withdrawn.empty() ? 0 : 1) +
                   (arguments.sent.empty() ? 0 : 1);
  if (ways != 1) {
    throw UsageError(
        "one of ID --to ADDRESS, --send, --outbox, --withdraw, --was-sent and the account is what it does");
  }
  if (arguments.document.empty() != arguments.to.empty())
    throw UsageError("ID and --to ADDRESS belong together");
  if (!arguments.template_file.empty() && arguments.document.empty()) {
    throw UsageError("--template belongs to ID: a mail keeps the one that it was asked for with");
  }
  if (arguments.table && !arguments.outbox) throw UsageError("--table belongs to --outbox");
  if (sets) return SetAccount(arguments, session);
  if (arguments.outbox) {
    ServerOf(session);
    return AppendTableOrFile(AnswerOf("Posta", "adsPosta", {}), arguments.table, session.out);
  }
  const std::string fault = arguments.document.empty() ? std::string() : AddressFault(arguments.to);
  if (!fault.empty()) throw UsageError("--to: " + fault);
  MailRun run(arguments, session);
  if (!settled.empty()) {
    const bool withdraws = !arguments.withdrawn.empty();
    return run.Settle(IntegerArgument(withdraws ? "--withdraw" : "--was-sent", settled),
                      withdraws ? MailEnd::kRefused : MailEnd::kSent);
  }
  if (arguments.send) return run.SendAll();
  run.SendDocument(IntegerArgument("ID", arguments.document));
}

void Declare(Options& options) {
  auto arguments = std::make_shared<MailArguments>();
  options.Argument("ID", arguments->document, "the stored document's id");
  options.Value("--to", arguments->to, "ADDRESS", "to whom its page goes");
  options.Flag("--send", arguments->send, "send all mails that wait in the outbox");
  options.Value("--withdraw", arguments->withdrawn, "MAIL", "never send this mail of the outbox");
  options.Value("--was-sent", arguments->sent, "MAIL",
                "note that this mail was sent, of which nobody knew whether it was");
  options.Flag("--outbox", arguments->outbox, "print the mails and what became of them");
  options.Flag("--table", arguments->table, "--outbox: a table for people instead of a record-set file");
  options.Flag(
      "--yes", arguments->yes,
      "send again what was sent, or may have been sent, what was cancelled, and what was first asked for "
      "with another template");
  options.Value("--template", arguments->template_file, "FILE",
                "subject, text and page of ID, as mox print takes it; it stays with the mail");
  options.Value("--account", arguments->account, "URL",
                "set the mail server: smtps://HOST, or smtp://HOST with STARTTLS");
  options.Value("--user", arguments->user, "NAME", "the user at the mail server");
  options.Value("--sender", arguments->sender, "ADDRESS", "from whom the company's mails are");
  options.Value("--password", arguments->password_file, "FILE",
                "the user's password, from a file or from standard input (-)");
  options.Run([arguments](Session& session) { RunMail(*arguments, session); });
}

}  // namespace

const Command kMailCommand = {"mail",
                              "ID --to ADDRESS | --send | --outbox | --withdraw MAIL | --was-sent MAIL | "
                              "--account URL --sender ADDRESS --db DB",
                              "Send the page of a stored document, and its e-invoice, by mail.",
                              R"(Examples:
  mox mail --account smtps://posta.primjer.hr --user ana --sender racuni@primjer.hr --password - --db tvrtka.db < lozinka.txt
  mox mail 4 --to kupac@primjer.hr --db tvrtka.db
  mox mail --outbox --table --db tvrtka.db
  mox mail --send --db tvrtka.db
  mox mail --withdraw 7 --db tvrtka.db

A mail is in the outbox of the company's database before it is sent, and stays there. Where the server's answer was
lost, it is told, and sent again only with --yes or on a yes. One mail of a document goes to an address: whoever asks
again, or at the same time, is told of it. It keeps the template that it was first asked for with. Exit status: 0 when all was sent. Settings: CA_FILE with
certificate authorities, TIMEOUT in seconds.)",
                              Declare};

}  // namespace mox

#include "desktop/mail_page.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPushButton>

#include "desktop/croatian.h"
#include "desktop/dialog_buttons.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "desktop/status_window.h"
#include "mox/entry/line_screen.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "paper/outbox.h"
#include "paper/page_source.h"

namespace mox {
namespace {

constexpr ShownName kStates[] = {{"ceka", u"čeka"},
                                 {"salje", u"možda je poslana; slanje nije dovršeno"},
                                 {"poslano", u"poslana je"},
                                 {"odbijeno", u"odbijena je ili povučena"},
                                 {"nepoznato", u"možda je poslana; odgovor nije stigao"}};

// By MailEnd.
constexpr const char16_t* kEnds[] = {u"poslana je", u"nije poslana i čeka u odlaznoj pošti", u"odbijena je",
                                     u"možda je poslana; odgovor nije stigao"};

QString StateOf(std::string_view state) { return ShownText(kStates, state); }

// Mails of the outbox, sent one by one.
class MailSender : public RecordStore {
 public:
  explicit MailSender(DesktopHost& host) : host_(host), paper_(InstalledTemplate()), outbox_(paper_, *this) {
    // What became of a mail is waited for: whoever ends it may have sent it.
    outbox_.SetDeliver([this](const MailAccount& account, const Mail& mail) {
      return host_.RunToEnd([&](const std::atomic<bool>& ended) {
        return SendMail(account, mail, [&ended] { return ended.load(); });
      });
    });
  }

  Outbox& Box() { return outbox_; }
  // Another copy, and what keeps a template that is not the installed one, goes on a yes.
  QString SendAgreed(const OutboxMail& mail) {
    const bool keeps_template = outbox_.HasOtherTemplate(mail);
    const QString what = QStringLiteral("Pošta za %1").arg(ToQt(mail.to));
    QString known = what + u' ' + StateOf(mail.state);
    if (mail.storno_id) known += QStringLiteral(", a njezin je dokument storniran");
    if (keeps_template) known += QStringLiteral("; ostaje joj predložak s kojim je prvi put zatražena");
    if ((mail.NeedsLeave() || keeps_template) &&
        !AskToLose(FromQt(known), mail.Waits() ? "Poslati je ipak?" : "Poslati je ponovo?")) {
      return known + u'.';
    }
    const LongRun run(host_, QStringLiteral("Slanje pošte"));
    const MailOutcome outcome = outbox_.Send(mail);
    QString told = QStringLiteral("%1 %2 (%3).")
                       .arg(what, QString::fromUtf16(kEnds[static_cast<std::size_t>(outcome.end)]),
                            InCroatian(outcome.answer));
    for (const std::string& warning : outbox_.Warnings()) told += u' ' + InCroatian(warning) + u'.';
    return told;
  }

 private:
  std::int64_t Store(std::string_view transaction, RecordSet& record) override {
    if (!ExecuteTransaction(transaction, {&record})) throw Error(FromQt(RefusalOf(host_.Server())));
    const auto& stored = host_.Server().LastWrite().stored;
    return stored && !stored->IsEmpty() ? stored->RowAt(0).AsInteger(0) : 0;
  }

  DesktopHost& host_;
  PaperTemplate paper_;
  Outbox outbox_;
};

}  // namespace

QString MailDocument(DesktopHost& host, std::int64_t id) {
  MailSender sender(host);
  const std::string known = TextOf(ReadPageSource(id).partner, "email");
  const auto to = App().Dialogs().InputBox("Pošta", "E-mail adresa primatelja:", known);
  if (!to) return {};
  const OutboxMail mail = sender.Box().Put(id, FromQt(ToQt(*to).trimmed()));
  return sender.SendAgreed(mail);
}

MailPage::MailPage(DesktopHost& host)
    : RecordPage(host, QStringLiteral("Odlazna pošta"), RecordSet("adsPosta")) {
  OnlyShow();
  AddButton(
      QStringLiteral("Pošalji"), [this] { Send(); }, Qt::CTRL | Qt::Key_M);
  AddButton(QStringLiteral("Povuci"), [this] { Settle(MailEnd::kRefused); });
  AddButton(QStringLiteral("Stigla je"), [this] { Settle(MailEnd::kSent); });
  Reload();
}

void MailPage::Read() {
  auto answer = CreateDBDataSet("Posta", "adsPosta", {});
  if (!answer) throw Error("Poslužitelj nema odlaznu poštu.");
  PrepareLinesForScreen(*answer);
  const char* const labels[][2] = {{"dok_id", "Dokument"},
                                   {"kome", "Kome"},
                                   {"predmet", "Predmet"},
                                   {"stanje", "Stanje"},
                                   {"odgovor", "Odgovor poslužitelja"}};
  for (const auto& [field, label] : labels) answer->SetDisplayName(*answer->FindFieldIndex(field), label);
  const std::size_t state = *answer->FindFieldIndex("stanje");
  const std::size_t said = *answer->FindFieldIndex("odgovor");
  for (answer->First(); !answer->Eof(); answer->Next()) {
    answer->Edit();
    answer->SetText(state, FromQt(StateOf(answer->AsText(state))));
    answer->SetText(said, FromQt(InCroatian(answer->AsText(said))));
    answer->Post();
  }
  Show(std::move(*answer), {"id", "vrijeme", "predmet", "kome", "stanje", "odgovor"});
}

std::int64_t MailPage::CurrentId() const {
  const Value id = Current("id");
  if (!std::holds_alternative<std::int64_t>(id)) throw Error("Nijedna pošta nije odabrana.");
  return std::get<std::int64_t>(id);
}

void MailPage::Send() {
  MailSender sender(Host());
  const QString told = sender.SendAgreed(sender.Box().Find(CurrentId()));
  ReadAgain(told);
}

// What the user knows of a mail: that nobody is to get it, or that it has come.
void MailPage::Settle(MailEnd end) {
  MailSender sender(Host());
  const OutboxMail mail = sender.Box().Find(CurrentId());
  const std::string what = FromQt(QStringLiteral("Pošta za %1 %2.").arg(ToQt(mail.to), StateOf(mail.state)));
  const char* const question = end == MailEnd::kSent ? "Upisati da je stigla?" : "Povući je?";
  if (!AskToLose(what, question)) return;
  sender.Box().Settle(mail, end);
  ReadAgain(QStringLiteral("Upisano je."));
}

MailAccountDialog::MailAccountDialog(DesktopHost& host, QWidget* parent) : QDialog(parent), host_(host) {
  setWindowTitle(QStringLiteral("Račun za poštu"));
  auto* const form = new QFormLayout(this);
  url_.setPlaceholderText(QStringLiteral("smtps://posta.primjer.hr"));
  password_.setEchoMode(QLineEdit::Password);
  if (const auto stored = CreateDBDataSet("PostaRacun", "adsRacun", {}); stored && !stored->IsEmpty()) {
    const auto text = [&](const char* field) {
      return ToQt(stored->RowAt(0).AsText(*stored->FindFieldIndex(field)));
    };
    url_.setText(text("url"));
    user_.setText(text("korisnik"));
    sender_.setText(text("posiljatelj"));
    password_.setPlaceholderText(QStringLiteral("nepromijenjena"));
  }
  const std::pair<const char16_t*, QLineEdit*> rows[] = {{u"&Poslužitelj:", &url_},
                                                         {u"&Korisnik:", &user_},
                                                         {u"&Lozinka:", &password_},
                                                         {u"&Adresa pošiljatelja:", &sender_}};
  for (const auto& [label, line] : rows) {
    form->addRow(QString::fromUtf16(label), line);
    line->setAccessibleName(QString::fromUtf16(label).remove(u'&').remove(u':'));
    line->setMinimumWidth(280);
  }
  auto* const buttons = MakeDialogButtons(*this, QStringLiteral("Pohrani"));
  form->addRow(buttons);
}

// What is left empty stays as it is.
void MailAccountDialog::accept() {
  const bool stored = Guarded([this] {
    RecordSet account("adsRacun");
    std::vector<Value> values;
    values.reserve(4);
    for (const auto& [field, line] : {std::pair<const char*, QLineEdit*>("url", &url_),
                                      {"korisnik", &user_},
                                      {"lozinka", &password_},
                                      {"posiljatelj", &sender_}}) {
      account.DefineField(field, FieldKind::kText);
      const std::string text = FromQt(line == &password_ ? line->text() : line->text().trimmed());
      values.push_back(text.empty() ? Value() : Value(text));
    }
    account.Open();
    account.AppendRecord(values);
    if (!ExecuteTransaction("PostaRacunUpis", {&account})) throw Error(FromQt(RefusalOf(host_.Server())));
  });
  if (stored) QDialog::accept();
}

}  // namespace mox

#include <memory>
#include <optional>
#include <ostream>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/host.h"
#include "cli/options.h"
#include "cli/service_request.h"
#include "mox/foundation/dates.h"
#include "mox/integrations/consumer_e_invoice.h"
#include "mox/server/invoice_files.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

struct EInvoiceArguments {
  std::string action;
  std::string document;
  bool yes = false;
};

// The number of the e-invoice that a document has.
std::optional<std::string> ElectronicId(std::int64_t doc_id) {
  auto link = CreateDBDataSet("ERacunVeza", "adsERacun", {{"id", doc_id}});
  if (!link || link->IsEmpty()) return std::nullopt;
  return link->FieldByName("electronicId").AsText();
}

// Raises Error where nobody knows whether the document was sent.
void RequireNoAttempt(std::int64_t doc_id, const std::string& document) {
  auto attempt = CreateDBDataSet("ERacunPokusaj", "adsPokusaj", {{"id", doc_id}});
  if (!attempt || attempt->IsEmpty()) return;
  if (!attempt->FieldByName("u_tijeku").AsBoolean()) {
    throw Error(document +
                " may have been sent, and no answer tells: ask the intermediary; --yes sends it again");
  }
  throw Error(document + " may have been sent: an attempt that began on " +
              FormatIsoDateTime(attempt->FieldByName("vrijeme").AsDateTime()) +
              " has not ended; try again, or ask the intermediary; --yes sends it again");
}

void RunEInvoice(const EInvoiceArguments& arguments, Session& session) {
  if (arguments.action != "send") {
    throw UsageError("there is no action \"" + arguments.action + "\"; send is the one");
  }
  const CompanyAccess& server = ServerOf(session);
  const std::int64_t doc_id = IntegerArgument("DOCID", arguments.document);
  const std::string document = "document " + arguments.document;
  RemoveLeftInvoices(App().Platform().StateFolder());
  SessionDialogs dialogs(session, arguments.yes);
  {
    const ScopedApp app({.ini = &App().Ini(),
                         .comunication = &App().Comunication(),
                         .dialogs = &dialogs,
                         .locale = &App().Locale(),
                         .platform = &App().Platform(),
                         .company = &App().Company()});
    eRacunB2CSendBill(doc_id);
  }

  if (const auto id = ElectronicId(doc_id)) {
    const bool recorded_now = server.LastWrite().transaction == "InsertERacunB2C";
    session.err << document << (recorded_now ? " was sent" : " was sent before") << ": e-invoice " << *id
                << std::endl;
    return;
  }
  RequireNoAttempt(doc_id, document);
  const auto& failure = server.LastWrite().failure;
  throw Error(document + " has no e-invoice" + (failure ? ": " + failure->ToString() : ""));
}

void Declare(Options& options) {
  auto arguments = std::make_shared<EInvoiceArguments>();
  options.RequiredArgument("ACTION", arguments->action, "send");
  options.RequiredArgument("DOCID", arguments->document, "the stored document's id");
  options.Flag("--yes", arguments->yes, "send once more what an earlier attempt may have delivered");
  options.Run([arguments](Session& session) { RunEInvoice(*arguments, session); });
}

}  // namespace

const Command kEInvoiceCommand = {"einvoice", "send DOCID --db DB",
                                  "Send a stored invoice to a private person as an e-invoice.",
                                  R"(Example:
  mox store UpdateIntegrationsUsersAccounts adsLoginData=account.csv --db tvrtka.db
  mox einvoice send 1 --db tvrtka.db

The account is one record with the fields EracunSendB2CBills:boolean, EracunB2CUrl, EracunUserName and
EracunKey; a field that is left out stays as it is. CallAPIRequestSender.exe posts the invoice and has to be in
the folder of this program. Exit status: 0 when the document has an e-invoice, also from an earlier time, which
standard error tells; 1 when it has none.)",
                                  Declare};

}  // namespace mox

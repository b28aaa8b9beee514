#include <memory>
#include <ostream>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "mox/entry/document_entry.h"
#include "mox/foundation/clock.h"

namespace mox {
namespace {

struct PayArguments {
  std::string document;
  std::string amount;
  std::string date;
};

void RunPay(const PayArguments& arguments, Session& session) {
  const CompanyAccess& server = ServerOf(session);
  const FieldDef date{.name = "--date", .kind = FieldKind::kDate};
  const std::int64_t id = IntegerArgument("ID", arguments.document);
  const Currency amount = CurrencyArgument("AMOUNT", arguments.amount);
  const Value given = arguments.date.empty() ? Value() : InputValue(date, arguments.date);
  const Date paid = std::holds_alternative<Date>(given) ? std::get<Date>(given) : Today();
  RequireStored(server, StorePayment(id, amount, paid));
  RecordSet stored;
  stored.CleanClone(server.LastWrite().Stored());
  WriteRecordSet(stored, session.out);
  const RecordRow payment = stored.RowAt(0);
  const Currency open = payment.AsCurrency(payment.IndexOf("preostalo"));
  if (open < Currency()) {
    session.err << "mox: document " << arguments.document << " is overpaid by " << (-open).ToString() << ' '
                << stored.FieldByName("valuta").AsText() << std::endl;
  }
}

void Declare(Options& options) {
  auto arguments = std::make_shared<PayArguments>();
  options.RequiredArgument("ID", arguments->document, "the stored document's id");
  options.RequiredArgument("AMOUNT", arguments->amount,
                           "what was paid, with a decimal point; a negative amount gives back what was\npaid "
                           "by mistake, too much, or of an invoice that was cancelled");
  options.Value("--date", arguments->date, "DATE", "when it was paid; today where it is left out");
  options.Run([arguments](Session& session) { RunPay(*arguments, session); });
}

}  // namespace

const Command kPayCommand = {"pay", "ID AMOUNT [--date DATE] --db DB",
                             "Store a payment of a stored invoice, whole or in part.",
                             R"(Example:
  mox pay 12 100.50 --date 2024-03-15 --db tvrtka.db

A payment of a day until 2022 is in kunas, from 2023 on in euros; a debt in kunas is converted at the fixed rate.
Prints what is still open of the document, and in what currency; a negative amount was paid too much, which standard error tells.)",
                             Declare};

}  // namespace mox

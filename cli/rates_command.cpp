#include <memory>

#include "appserver/rate_list.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

struct RatesArguments {
  std::string file;
  bool replace = false;
};

void RunRates(const RatesArguments& arguments, Session& session) {
  const CompanyAccess& server = ServerOf(session);
  const FileText text = ReadFileText(arguments.file, session.in);
  RecordSet rates = ReadRateList(text.bytes, text.label);
  RequireStored(
      server, ExecuteTransaction(arguments.replace ? "TecajnaListaReplace" : "TecajnaListaInsert", {&rates}));
  RecordSet counts;
  counts.CleanClone(server.LastWrite().Stored());
  WriteRecordSet(counts, session.out);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<RatesArguments>();
  options.RequiredArgument("FILE", arguments->file, "the list, JSON or CSV (- is standard input)");
  options.Flag("--replace", arguments->replace, "take the list's rate where another one is stored");
  options.Run([arguments](Session& session) { RunRates(*arguments, session); });
}

}  // namespace

const Command kRatesCommand = {"rates", "FILE --db DB",
                               "Store the exchange rates of the national bank's daily list.",
                               R"(Example:
  mox rates tecajna_lista.json --db tvrtka.db

The list is read as the bank publishes it, with the columns datum_primjene, valuta and srednji_tecaj. Its rates are
kunas for one unit of a currency until 2022 and units of the currency for one euro from 2023 on. The same list
again changes nothing. Prints how many rates are new, changed and as before.)",
                               Declare};

}  // namespace mox

#include <algorithm>
#include <memory>

#include "appserver/service_info.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_page.h"
#include "cli/service_request.h"
#include "cli/suggestions.h"
#include "cli/text_table.h"

namespace mox {
namespace {

struct QueryArguments {
  std::string service;
  std::vector<std::string> values;
  std::string part;
  bool list = false;
  bool markdown = false;
  bool table = false;
};

void Print(const RecordSet& answer, bool table, std::string& out) {
  if (!out.empty()) out += "\n";
  if (table) {
    out += answer.Name() + "\n\n";
    AppendTable(answer, {.hide_empty = true}, out);
  } else {
    WriteRecordSet(answer, out);
  }
}

// Raises UsageError for a record set that the service never answers, before anything is asked.
void RequireAnswer(const ServiceInfo& service, const std::string& part) {
  std::vector<std::string_view> names;
  for (std::string_view rest = service.answers; !rest.empty();) {
    names.push_back(rest.substr(0, rest.find(',')));
    if (names.back() == part) return;
    rest.remove_prefix(std::min(names.back().size() + 1, rest.size()));
  }
  throw UsageError("--part: " + std::string(service.name) + ": " + ThereIsNo("answer", part, names));
}

// Keys and passwords of accounts, which go to the intermediary or the server of mails and nowhere else.
bool HoldsSecrets(std::string_view service) {
  return service == "MojERacunB2C" || service == "IntegrationsUsersAccounts" || service == "PostaRacun";
}

// Before it is laid out, where long texts are cut.
void BlankSecrets(RecordSet& answer, const Secrets& secrets) {
  for (answer.First(); !answer.Eof(); answer.Next()) {
    for (std::size_t i = 0; i < answer.FieldCount(); ++i) {
      if (answer.Definition(i).kind != FieldKind::kText || answer.IsNull(i)) continue;
      const std::string text(answer.AsTextView(i));
      const std::string blanked = secrets.Blanked(text);
      if (blanked == text) continue;
      answer.Edit();
      answer.SetText(i, blanked);
      answer.Post();
    }
  }
}

void RunQuery(const QueryArguments& arguments, Session& session) {
  if (arguments.markdown && arguments.service.empty()) return AppendReadServicePage(session.out);
  if (arguments.list || arguments.service.empty()) return ListServices(ReadServices(), "", session.out);
  const ServiceInfo& service = FindService("service", ReadServices(), arguments.service);
  if (!arguments.part.empty()) RequireAnswer(service, arguments.part);
  if (arguments.markdown || (arguments.values.empty() && session.server == nullptr)) {
    return AppendReadService(service, session.out);
  }
  const TAstaParamList request = RequestFor(service, arguments.values);
  const std::unique_ptr<TAstaParamList> answers =
      ServerOf(session).ReportDataService(request, arguments.service);
  if (answers == nullptr) throw Error("the server does not answer \"" + arguments.service + "\"");
  const std::size_t before = session.out.size();
  for (std::size_t i = 0; i < answers->Count(); ++i) {
    if (!arguments.part.empty() && (*answers)[i].Name() != arguments.part) continue;
    RecordSet& answer = (*answers)[i].AsDataSet();
    answer.SetName((*answers)[i].Name());
    if (HoldsSecrets(arguments.service)) BlankSecrets(answer, session.secrets);
    Print(answer, arguments.table, session.out);
  }
  if (HoldsSecrets(arguments.service)) {
    session.out.replace(before, std::string::npos, session.secrets.Blanked(session.out.substr(before)));
  }
}

void Declare(Options& options) {
  auto arguments = std::make_shared<QueryArguments>();
  options.Argument("SERVICE", arguments->service,
                   "the service, letter for letter; without one, all are\nlisted with their inputs; without "
                   "inputs and --db, it is described");
  options.Arguments("NAME=VALUE", arguments->values, "its inputs by name, in any order");
  options.Flag("--list", arguments->list, "list the services with their inputs");
  options.Flag("--markdown", arguments->markdown,
               "describe all services, or SERVICE, with their answers' columns");
  options.Value("--part", arguments->part, "NAME", "print only this record set of the answer");
  options.Flag("--table", arguments->table, "print tables for people instead of record-set files");
  options.Run([arguments](Session& session) { RunQuery(*arguments, session); });
}

}  // namespace

const Command kQueryCommand = {"query", "[SERVICE [NAME=VALUE...]] --db DB",
                               "Ask a named read service of the company database.",
                               R"(Example:
  mox query GetTecaj datum=2022-12-31 val_ozn=EUR valIdOrValOzn=ozn --db firma.db

An answer of several record sets is printed as files separated by one blank line.)",
                               Declare};

}  // namespace mox

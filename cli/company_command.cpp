#include <memory>

#include "cli/command.h"
#include "cli/named_values.h"
#include "cli/options.h"
#include "cli/secret_input.h"
#include "cli/service_request.h"
#include "cli/text_table.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

constexpr std::string_view kSecret = "EracunKey";

struct CompanyArguments {
  std::string action;
  std::vector<std::string> words;
  std::string key_file;
  std::string bank;
  std::string currency;
  bool table = false;
};

RecordSet TextSet(const char* name, std::initializer_list<const char*> fields) {
  RecordSet records(name);
  for (const char* field : fields) records.DefineField(field, FieldKind::kText);
  records.Open();
  return records;
}

void Show(const CompanyArguments& arguments, Session& session) {
  if (!arguments.words.empty()) throw UsageError("show takes no further words");
  ServerOf(session);
  AppendTableOrFile(AnswerOf("Kat\\ParametriPoduzeca", "adsList", {}), arguments.table, session.out);
  session.out += "\n";
  AppendTableOrFile(AnswerOf("GetCompanyIban", "adsIbani", {}), arguments.table, session.out);
}

void Set(const CompanyArguments& arguments, Session& session) {
  if (arguments.words.empty() && arguments.key_file.empty()) throw UsageError("NAME=VALUE is required");
  const CompanyAccess& server = ServerOf(session);
  RecordSet values = TextSet("Parametri", {"naziv", "vrijednost"});
  for (const auto& [name, value] : NamedValues(arguments.words)) {
    if (SameName(name, kSecret)) {
      throw UsageError("the key is read from a file or from standard input: --key FILE, or --key -");
    }
    session.secrets.AddThoseOf(value);
    values.AppendRecord({name, value});
  }
  if (!arguments.key_file.empty()) {
    const std::string key = ReadSecret(arguments.key_file, session);
    values.AppendRecord({std::string(kSecret), std::string(TrimBlanks(key))});
  }
  RequireStored(server, ExecuteTransaction("ParametriPoduzecaUpdate", {&values}));
}

struct IbanAction {
  std::string_view name;
  std::string_view transaction;
};
constexpr IbanAction kIbanActions[] = {
    {"add", "PoduzeceIbanInsert"}, {"main", "PoduzeceIbanMain"}, {"remove", "PoduzeceIbanDelete"}};

void ChangeIban(const CompanyArguments& arguments, Session& session) {
  const auto& words = arguments.words;
  const IbanAction* const action = words.empty() ? nullptr : FindRow(kIbanActions, words[0]);
  if (action == nullptr || words.size() < 2)
    throw UsageError("iban is followed by add, main or remove and an IBAN");
  const bool is_add = action->name == "add";
  if (!is_add && !(arguments.bank.empty() && arguments.currency.empty())) {
    throw UsageError("--bank and --currency belong to iban add");
  }
  const CompanyAccess& server = ServerOf(session);
  std::string iban;  // may be typed in groups of four
  for (std::size_t i = 1; i < words.size(); ++i) iban += words[i];
  RecordSet ibans = TextSet("Ibani", {"iban", "banka", "valuta"});
  ibans.AppendRecord({iban, arguments.bank, arguments.currency});
  RequireStored(server, ExecuteTransaction(action->transaction, {&ibans}));
}

void RunCompany(const CompanyArguments& arguments, Session& session) {
  if (arguments.action == "show") return Show(arguments, session);
  if (arguments.action == "set") return Set(arguments, session);
  if (arguments.action == "iban") return ChangeIban(arguments, session);
  throw UsageError("there is no action \"" + arguments.action + "\"; show, set and iban are");
}

void Declare(Options& options) {
  auto arguments = std::make_shared<CompanyArguments>();
  options.RequiredArgument("ACTION", arguments->action,
                           "show prints who the company is and how it works, and its accounts;\n"
                           "set NAME=VALUE... changes parameters; an empty value takes one away;\n"
                           "iban add|main|remove IBAN changes its bank accounts");
  options.Arguments("WORDS", arguments->words, "NAME=VALUE..., or add|main|remove IBAN");
  options.Value("--key", arguments->key_file, "FILE",
                "set: the key of the e-invoice account, from a file\nor from standard input (-)");
  options.Value("--bank", arguments->bank, "NAME", "iban add: its bank");
  options.Value("--currency", arguments->currency, "CODE", "iban add: its currency");
  options.Flag("--table", arguments->table, "show: print tables for people instead of record-set files");
  options.Run([arguments](Session& session) { RunCompany(*arguments, session); });
}

}  // namespace

const Command kCompanyCommand = {"company", "show | set NAME=VALUE... | iban add|main|remove IBAN --db DB",
                                 "Show and change who the company is and how it works.",
                                 R"(Examples:
  mox company set NazivPoduzeca="Prva d.o.o." OIBPoduzeca=12345678903 --db tvrtka.db
  mox company set AdresaPoduzeca="Ilica 1" MjestoPoduzeca="10000 Zagreb" --db tvrtka.db
  mox company iban add HR1210010051863000160 --db tvrtka.db
  mox company set EracunUserName=ana --key - --db tvrtka.db < kljuc.txt
  mox company show --table --db tvrtka.db

Until the company has its name, number, address and place, no e-invoice, payment slip or code leaves the house.)",
                                 Declare};

}  // namespace mox

#include "cli/run.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <istream>
#include <memory>
#include <new>
#include <ostream>
#include <vector>

#include "appserver/database_location.h"
#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/host.h"
#include "cli/options.h"
#include "cli/suggestions.h"
#include "connect/open_company.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr int kDone = 0;
constexpr int kRefused = 1;
constexpr int kWrongUsage = 2;

constexpr const char* kUnwritable = "standard output cannot be written";

const std::vector<const Command*> kCommands = [] {
  std::vector<const Command*> commands = {
      &kRoundCommand,   &kCalcCommand,     &kRecapCommand,   &kTotalCommand,    &kDocumentCommand,
      &kOibCommand,     &kIbanCommand,     &kWordsCommand,   &kCurrencyCommand, &kWorkdaysCommand,
      &kServiceCommand, &kDbCommand,       &kCompanyCommand, &kCodebookCommand, &kRatesCommand,
      &kPayCommand,     &kReportCommand,   &kQueryCommand,   &kStoreCommand,    &kImportCommand,
      &kQrCommand,      &kEInvoiceCommand, &kLoginCommand,   &kLogoutCommand};
#if defined(MOX_WITH_PAPER)
  commands.insert(commands.end(), {&kPrintCommand, &kMailCommand, &kPictureCommand});
#endif
  return commands;
}();

// --- help ---

constexpr std::string_view kDatabase = "DB is a file, or postgresql://HOST/DATABASE?company=NAME";
constexpr std::string_view kServer = "; --server https://HOST/COMPANY can stand in place of --db";

class HelpText : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
    std::string usage = "COMMAND [ARGUMENT...]\n";
    for (const Command* command : kCommands) {
      if (app->get_name() != command->name) continue;
      usage = app->get_name() + " " + command->usage + "\n";
      if (usage.find(" DB") == std::string::npos) continue;
      usage.append(kDatabase).append(command->opens_database ? kServer : "").append("\n");
    }
    return "Usage: mox [OPTION...] " + usage;
  }
  std::string make_description(const CLI::App* app) const override { return app->get_description() + "\n\n"; }
};

// --- the arguments ---

bool IsNumber(const std::string& text) {
  try {
    ParseNumber(text);
    return true;
  } catch (const Error&) {
    return false;
  }
}

// A negative number is a value. The parser knows that of "-2" and takes "-.5" for an option, so it is given
// "-0.5". What follows "--" is taken as it stands, and so is the value of an option.
std::vector<std::string> WithNumbersAsValues(std::vector<std::string> arguments) {
  std::string_view before;
  for (std::string& argument : arguments) {
    if (argument == "--") break;
    const bool option_value =
        before == "--ini" || before == "--db" || before == "--server" || before == "--param";
    if (!option_value && argument.starts_with("-.") && IsNumber(argument)) argument.insert(1, "0");
    before = argument;
  }
  return arguments;
}

// "--to=" is an option with an empty value; the parser would take the next word for it.
std::vector<std::string> WithEmptyValues(const std::vector<std::string>& arguments) {
  std::vector<std::string> words;
  bool are_options = true;
  for (const std::string& argument : arguments) {
    are_options = are_options && argument != "--";
    const bool is_empty =
        are_options && argument.starts_with("--") && argument.find('=') == argument.size() - 1;
    words.push_back(is_empty ? argument.substr(0, argument.size() - 1) : argument);
    if (is_empty) words.emplace_back();
  }
  return words;
}

struct Parsed {
  Action action;
  std::string command;
  bool opens_database = true;
  HostOptions options;
};

void DeclareEverything(CLI::App& app, Parsed& parsed) {
  app.name("mox");
  app.formatter(std::make_shared<HelpText>());
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", "mox " MOX_VERSION, "print the version and exit");
  app.get_formatter()->column_width(24);
  app.get_formatter()->label("Positionals", "Arguments");
  app.get_formatter()->label("REQUIRED", "");
  app.add_option("--ini", parsed.options.ini, "settings file, section GENERAL")->type_name("FILE");
  app.add_option("--db", parsed.options.database,
                 "company database, made by mox db init; " + std::string(kDatabase))
      ->type_name("DB");
  app.add_option("--server", parsed.options.server, "company on a server, in place of --db; see mox login")
      ->type_name("https://HOST/COMPANY");
  app.add_option("--param", parsed.options.parameters, "company parameter; can be repeated")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  app.footer(
      R"(Record-set files are comma-separated texts with one header row; a header cell is NAME or NAME:KIND.
Kinds: text, integer, boolean, float, currency, date, datetime. Without one, a name of the document lines
has its usual kind, for "mox store" a field of the transaction too, and any other is text.
Values: 1234.5 (decimal point, no grouping), true, 2024-03-01, 2024-03-01T09:05:00; an empty cell is
null, "" the empty text.
A negative number among the arguments is a value, never an option.

Settings in section GENERAL: NC_CALC_DIGIT, PC_CALC_DIGIT, FC_CALC_DIGIT and KOL_NUM, the decimals of
purchase, selling and invoice prices and of quantities. Parameter PdviCalcDigit=N: the decimals of tax
amounts, at least 2.

Example:
  mox document gotovinski-racun examples/gotovinski_racun_roba.csv examples/gotovinski_racun_usluge.csv)");
  for (const Command* command : kCommands) {
    CLI::App* const options = app.add_subcommand(command->name, command->summary);
    options->footer(command->examples);
    options->group("Commands");
    options->fallthrough();
    options->preparse_callback([&parsed, command](std::size_t) {
      parsed.command = command->name;
      parsed.opens_database = command->opens_database;
    });
    Options declared(*options, parsed.action);
    command->declare(declared);
  }
}

// What is wrong where no command is known.
std::string CommandError(const CLI::App& app, const CLI::ParseError& error) {
  std::vector<std::string_view> names;
  names.reserve(kCommands.size());
  for (const Command* command : kCommands) names.emplace_back(command->name);
  const std::vector<std::string> rest = app.remaining();
  if (error.get_name() != "RequiredError") return error.what();
  if (rest.empty()) return "COMMAND is required";
  if (rest.front().starts_with("-")) return "there is no option \"" + rest.front() + "\"";
  return "there is no command \"" + rest.front() + "\"" + DidYouMean(rest.front(), names);
}

// What is wrong with the arguments of a command. An unknown option is said before what is missing for it.
std::string ArgumentError(const CLI::App& app, const CLI::ParseError& error) {
  for (const std::string& word : app.remaining(true)) {
    if (word.size() > 1 && word.starts_with("-") && !IsNumber(word))
      return "there is no option \"" + word + "\"";
  }
  return error.what();
}

// --- results and errors ---

void Report(const std::string& message, std::ostream& err) {
  err << "mox: " << OnOneLine(message) << std::endl;
}

// A company is in one place, and what is done with its database is done where that is.
void CheckServer(const Parsed& parsed) {
  const HostOptions& options = parsed.options;
  if (IsServerAddress(options.database))
    throw UsageError("--db: " + options.database + " is on a server: --server names it");
  if (options.server.empty()) return;
  if (!options.database.empty()) throw UsageError("--server and --db exclude each other");
  if (!IsServerAddress(options.server)) throw UsageError("--server: the address is https://HOST/COMPANY");
  if (!parsed.opens_database) {
    throw UsageError("--server does not go with it: it works with a database itself, where that is");
  }
}

int Execute(const CLI::App& app, const Parsed& parsed, std::istream& in, std::ostream& out,
            std::ostream& err) {
  Session session{in, err, {}};
  if (!IsPostgresqlAddress(parsed.options.database))
    session.files.Keep(parsed.options.database, "the company database");
  session.files.Keep(parsed.options.ini, "the settings file");
  for (const char* const name : {"--ini", "--db", "--server"}) {
    if (app.count(name) > 0 && app[name]->as<std::string>().empty()) {
      const std::string what = name == std::string_view("--server") ? "address" : "name of the file";
      throw UsageError(std::string(name) + ": the " + what + " is empty");
    }
  }
  CheckServer(parsed);
  session.database = parsed.options.database;
  HostOptions options = parsed.options;
  if (!parsed.opens_database) options.database.clear();
  const Host host(options, session);
  try {
    parsed.action(session);
    errno = 0;
    out.write(session.out.data(), static_cast<std::streamsize>(session.out.size()));
    if (out.flush()) return session.valid ? kDone : kRefused;
    const bool nobody_reads = errno == EPIPE;
    if (nobody_reads && session.stored.empty()) return kRefused;
    throw Error(kUnwritable);
  } catch (const Abort&) {
    throw;
  } catch (const UsageError& error) {
    throw UsageError(session.secrets.Blanked(error.what()));
  } catch (const std::exception& error) {
    const std::string stored = session.stored.empty() ? "" : "; " + session.stored;
    throw Error(session.secrets.Blanked(error.what()) + stored);
  }
}

int WrongUsage(const std::string& command, const std::string& message, std::ostream& err) {
  const std::string named = command.empty() ? "" : command + ": ";
  const std::string help = command.empty() ? "mox --help" : "mox " + command + " --help";
  Report(named + message + " (see " + help + ")", err);
  return kWrongUsage;
}

}  // namespace

int Run(const std::vector<std::string>& arguments, std::istream& in, std::ostream& out, std::ostream& err) {
  Parsed parsed;
  CLI::App app("The business logic of trade documents, exact to the cent.");
  DeclareEverything(app, parsed);
  try {
    std::vector<std::string> words = WithEmptyValues(WithNumbersAsValues(arguments));
    std::reverse(words.begin(), words.end());
    app.parse(words);
    return Execute(app, parsed, in, out, err);
  } catch (const CLI::Success& success) {
    app.exit(success, out, err);
    if (out.flush()) return kDone;
    Report(kUnwritable, err);
  } catch (const CLI::ParseError& error) {
    return WrongUsage(parsed.command,
                      parsed.command.empty() ? CommandError(app, error) : ArgumentError(app, error), err);
  } catch (const UsageError& error) {
    return WrongUsage(parsed.command, error.what(), err);
  } catch (const Abort&) {
    return kRefused;  // the user was told why
  } catch (const std::filesystem::filesystem_error& error) {
    const std::string path = error.path1().string();
    Report((path.empty() ? "" : path + ": ") + error.code().message(), err);
  } catch (const std::bad_alloc&) {
    Report("not enough memory", err);
  } catch (const std::exception& error) {
    Report(error.what(), err);
  }
  return kRefused;
}

}  // namespace mox

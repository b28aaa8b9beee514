#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>

#include "appserver/company_server.h"
#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/document_input.h"
#include "cli/document_store.h"
#include "cli/host.h"
#include "cli/named_values.h"
#include "cli/options.h"
#include "cli/progress_bar.h"
#include "cli/recap_members.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "cli/suggestions.h"
#include "cli/text_table.h"
#include "mox/codes/amount_in_words.h"
#include "mox/codes/exchange_rates.h"
#include "mox/documents/article_lines.h"
#include "mox/documents/storno.h"
#include "mox/entry/document_entry.h"
#include "mox/foundation/app.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "mox/host/console_dialogs.h"

namespace mox {
namespace {

struct DocumentArguments {
  std::string kind;
  std::vector<std::string> paths;
  bool list = false;
  bool csv = false;
  std::string part;
  bool store = false;
  std::vector<std::string> header;
  std::vector<std::string> key;  // one at most
  bool yes = false;
};

constexpr std::string_view kStorno = "storno";

void ListLines(const char* heading, const LineSchema& schema, std::string& out) {
  if (!schema.Exists()) return;
  out += std::string("  ") + heading + std::string(schema.inputs) + "\n";
  out += "  calculates  " + std::string(schema.calculated) + "\n";
}

// As the command recap takes it.
std::string RecapText(const DocumentRecap& recap) {
  const auto columns = [](const DocumentRecap::Columns& of, const std::string& number) {
    return " AmountField" + number + "=" + of.amount.text + " RateField" + number + "=" + of.rate.text;
  };
  const bool takes_one = FindRow(FindRecapMember(recap.member).arguments, "AmountField") != nullptr;
  std::string text = std::string(recap.member) + columns(recap.first, takes_one ? "" : "1");
  if (recap.second) text += columns(*recap.second, "2");
  return text;
}

void ListKind(const DocumentKind& kind, std::string& out) {
  out += std::string(kind.name) + ": " + std::string(kind.title) + " (" + std::string(kind.english) + ")\n";
  out += "  tip         " + std::string(kind.tip) + "\n";
  ListLines("goods       ", kind.goods, out);
  ListLines("services    ", kind.services, out);
  out += "  recap       " + (kind.recap.Exists() ? RecapText(kind.recap) : std::string("none")) + "\n";
}

void ListKinds(std::string_view only, std::string& out) {
  if (!only.empty()) return ListKind(FindKindArgument(only), out);
  for (const DocumentKind& kind : DocumentKinds()) {
    if (!out.empty()) out += "\n";
    ListKind(kind, out);
  }
}

void AppendTitled(std::string_view title, const RecordSet* records, const TableOptions& options,
                  std::string& out) {
  if (records == nullptr) return;
  out += "\n" + std::string(title) + "\n\n";
  if (records->IsEmpty()) {
    out += "(nema stavki)\n";
  } else {
    AppendTable(*records, options, out);
  }
}

// In the currency of the document's date.
void AppendInWords(const std::optional<Currency>& total, Date date, std::string& out) {
  if (!total) return;
  const std::string currency(GetValutaOznakaByDate(date));
  const bool is_negative = *total < Currency();
  const std::string words = BrojSlovima(is_negative ? -*total : *total, currency);
  if (words.empty()) return;
  out += "\nSlovima (" + CurrencyToText(*total, CurrentLocale()) + " " + currency +
         "): " + (is_negative ? "minus " : "") + words + "\n";
}

// The totals that are worth showing.
RecordSet WithoutZeros(const RecordSet& totals) {
  RecordSet shown;
  shown.CleanClone(totals);
  shown.Clear();
  const std::size_t amount = totals.FieldByName("iznos").Index();
  std::vector<Value> values(totals.FieldCount());
  for (const RecordRow& total : totals.Rows()) {
    if (total.AsCurrency(amount).IsZero()) continue;
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = total.AsVariant(i);
    shown.AppendRecord(values);
  }
  return shown;
}

// Asked at a terminal, unless --yes answers or the lines come from there.
void RequireConfirmed(Document& document, const DocumentArguments& arguments, Session& session) {
  const bool reads_input =
      arguments.paths.empty() ||
      std::find(arguments.paths.begin(), arguments.paths.end(), "-") != arguments.paths.end();
  const bool asks = !arguments.yes && !reads_input && IsTerminal(session.in);
  ConsoleDialogs dialogs = asks ? ConsoleDialogs(session.err, session.in)
                                : ConsoleDialogs(session.err, arguments.yes ? kDialogYes : kDialogNo);
  AppParts parts = {.ini = &App().Ini(), .dialogs = &dialogs};
  const ScopedApp app(parts);
  if (ConfirmQuantities(document)) return;
  throw Error("nothing was stored: the lines of " + std::string(document.Kind().name) +
              " have a positive quantity (--yes stores them, storno ID cancels a stored document)");
}

// Whether the user lets the document be stored beyond the customer's limits.
bool ConfirmCredit(Document& document, const DocumentArguments& arguments, Session& session) {
  SessionDialogs dialogs(session, arguments.yes);
  const ScopedApp app({.ini = &App().Ini(), .comunication = &App().Comunication(), .dialogs = &dialogs});
  if (document.ConfirmCredit()) return true;
  throw Error("nothing was stored: the credit limit of partner " +
              document.Header().FieldByName("par_id").AsText() + " does not allow it");
}

// The words of the header with the key of the attempt.
std::vector<std::string> HeaderWords(const DocumentArguments& arguments) {
  std::vector<std::string> words = arguments.header;
  if (!arguments.key.empty()) words.push_back("kljuc=" + arguments.key.front());
  return words;
}

void CheckKey(const DocumentArguments& arguments) {
  if (arguments.key.empty()) return;
  if (arguments.key.size() > 1) throw UsageError("--key is given twice");
  if (TrimBlanks(arguments.key.front()).empty()) throw UsageError("--key: the name of the attempt is empty");
  if (!arguments.store && arguments.kind != kStorno) throw UsageError("--key needs --store");
}

// The warehouse of the header, or the only one.
std::optional<std::int64_t> WarehouseOf(const DocumentArguments& arguments) {
  const std::vector<NamedValue> header = NamedValues(arguments.header);
  const std::string* const named = FindValue(header, "skl_id");
  return named == nullptr ? OnlyWarehouse() : IntegerArgument("skl_id", *named);
}

// What goes out has to stand in the warehouse, unless stock may become negative. The same attempt again is
// not asked anew.
void RequireStock(const Document& document, const DocumentArguments& arguments) {
  const std::vector<NamedValue> header = NamedValues(arguments.header);
  if (document.Goods() == nullptr || !arguments.key.empty() || FindValue(header, "lagernegative") != nullptr)
    return;
  const std::optional<StockShortage> shortage = CheckStock(document, WarehouseOf(arguments));
  if (!shortage) return;
  throw Error("nothing was stored: article " + shortage->article + " stands at " +
              ShortestNumber(shortage->stands) + ", and the lines take " + ShortestNumber(shortage->taken));
}

void TellUnknown(const std::vector<std::string>& unknown, std::ostream& err) {
  constexpr std::size_t kMost = 5;
  for (std::size_t i = 0; i < std::min(unknown.size(), kMost); ++i) {
    err << "mox: " << VisibleText(unknown[i]) << std::endl;
  }
  if (unknown.size() > kMost) err << "mox: and " << unknown.size() - kMost << " lines more" << std::endl;
}

RecordSet Store(Document& document, const DocumentArguments& arguments, Session& session) {
  RequireConfirmed(document, arguments, session);
  ServerOf(session);
  RequireStock(document, arguments);
  LostInStore lost;
  RecordSet stored = StoreDocument(document, ServerOf(session), HeaderWords(arguments), lost,
                                   [&] { return ConfirmCredit(document, arguments, session); });
  session.stored = "stored as " + StoredNumber(stored);
  WarnOfLost(lost, "the lines", session.err);
  return stored;
}

void AppendForPeople(const Document& document, const RecordSet* stored, std::string& out) {
  const TableOptions lines{.number_records = true, .hide_empty = true};
  out += std::string(document.Kind().title) + "\n";
  AppendTitled("Stavke", document.Goods(), lines, out);
  AppendTitled("Usluge", document.Services(), lines, out);
  AppendTitled("Rekapitulacija PDV-a", document.Recapitulation(), {}, out);
  const RecordSet totals = WithoutZeros(document.Totals());
  if (!totals.IsEmpty()) AppendTitled("Ukupno", &totals, {}, out);
  const Date date = stored == nullptr ? Today() : stored->FieldByName("datum").AsDate();
  AppendInWords(document.ToBePaid(), date, out);
  if (stored != nullptr) out += "\n" + StoredLine(*stored) + "\n";
}

struct DocumentPart {
  std::string_view name;
  const RecordSet* (*records)(const Document& document);
};

constexpr DocumentPart kParts[] = {
    {"lines", [](const Document& document) { return document.Goods(); }},
    {"services", [](const Document& document) { return document.Services(); }},
    {"recap", [](const Document& document) { return document.Recapitulation(); }},
    {"totals", [](const Document& document) { return &document.Totals(); }}};

void AppendFiles(const Document& document, const RecordSet* stored, std::string& out) {
  for (const DocumentPart& part : kParts) {
    const RecordSet* const records = part.records(document);
    if (records == nullptr) continue;
    if (!out.empty()) out += "\n";
    WriteRecordSet(*records, out);
  }
  if (stored != nullptr) {
    out += "\n";
    WriteRecordSet(*stored, out);
  }
}

// A document of services alone has them as its lines.
const DocumentPart* FindPart(const std::string& name, const DocumentKind& kind) {
  if (name.empty()) return nullptr;
  const bool are_services = name == "lines" && !kind.goods.Exists();
  if (const DocumentPart* part = FindRow(kParts, are_services ? "services" : name)) return part;
  throw UsageError("--part: \"" + name + "\" is not lines, services, recap or totals");
}

void RunStorno(const DocumentArguments& arguments, Session& session) {
  if (arguments.paths.size() != 1) throw UsageError("storno takes the ID of one stored document");
  if (!arguments.part.empty()) throw UsageError("--part: storno shows the number of what it stored");
  const std::int64_t id = IntegerArgument("ID", arguments.paths.front());
  RecordSet stored = CancelDocument(id, ServerOf(session), HeaderWords(arguments));
  session.stored = "stored as " + StoredNumber(stored);
  if (arguments.csv) return WriteRecordSet(stored, session.out);
  session.out += StoredLine(stored) + "\n";
}

void RunDocument(const DocumentArguments& arguments, Session& session) {
  CheckKey(arguments);
  if (arguments.kind == kStorno) return RunStorno(arguments, session);
  if (arguments.list) return ListKinds(arguments.kind, session.out);
  if (arguments.kind.empty()) throw UsageError("KIND is required; --list names them");
  const DocumentKind& kind = FindKindArgument(arguments.kind);
  const DocumentPart* const part = FindPart(arguments.part, kind);
  if (!arguments.store && !arguments.header.empty()) throw UsageError("--header needs --store");
  std::vector<std::string> paths = arguments.paths;
  if (paths.empty()) paths.emplace_back("-");
  const std::size_t most = (kind.goods.Exists() ? 1U : 0U) + (kind.services.Exists() ? 1U : 0U);
  if (paths.size() > most) {
    throw UsageError(std::string(kind.name) + " does not take the file \"" + paths.back() + "\"");
  }
  if (paths.size() == 2 && paths[0] == "-" && paths[1] == "-") {
    throw UsageError("only one of the files can be standard input");
  }
  std::vector<FileText> files;
  files.reserve(paths.size());
  for (const std::string& path : paths) files.push_back(ReadFileText(path, session.in));

  std::optional<ArticleSource> articles;
  if (session.server != nullptr && kind.goods.Exists()) articles = ArticleSource{WarehouseOf(arguments)};
  DocumentInput input(kind, files, articles);
  TellUnknown(input.UnknownArticles(), session.err);
  Document& document = input.document();
  const RecordSet* const shown = part == nullptr ? nullptr : part->records(document);
  if (part != nullptr && shown == nullptr) {
    throw UsageError("--part: the document has no " + arguments.part);
  }
  std::optional<RecordSet> stored;
  if (arguments.store) stored = Store(document, arguments, session);
  const RecordSet* const stored_record = stored ? &*stored : nullptr;
  if (shown != nullptr) {
    WriteRecordSet(*shown, session.out);
    if (stored) session.err << StoredLine(*stored) << std::endl;
  } else if (arguments.csv) {
    AppendFiles(document, stored_record, session.out);
  } else {
    AppendForPeople(document, stored_record, session.out);
  }
}

void Declare(Options& options) {
  auto arguments = std::make_shared<DocumentArguments>();
  options.Argument("KIND", arguments->kind,
                   "the kind of document, --list names them; or storno, to cancel the\nstored document ID");
  options.Arguments("FILE", arguments->paths,
                    "the lines: input columns and any others (standard input where it is\n"
                    "left out or -); then SERVICES, the lines of services where the kind\n"
                    "has them beside goods");
  options.Flag("--list", arguments->list, "list the kinds with their columns, or show the one named");
  options.Flag("--csv", arguments->csv,
               "print record-set files instead of tables for people: the parts goods,\n"
               "services, tax by rate and totals, separated by one blank line");
  options.Value("--part", arguments->part, "PART",
                "print one part only, as a file: lines, services (the lines, too, where a\nkind has nothing "
                "else), recap or totals");
  options.Flag("--store", arguments->store,
               "store the document in the database that --db names, in one\n"
               "transaction, and print its number; with --csv as one more part");
  options.Values("--header", arguments->header, "NAME=VALUE",
                 "a field of the stored document: datum=2024-03-01, user_id=ANA, ...;\n"
                 "partner=CODE and skladiste=CODE name these by their codes, par_id\n"
                 "and skl_id by their keys; can be repeated. The date is today's\n"
                 "where none is given; nacin_placanja=Kartica says how an invoice is\n"
                 "paid where its kind does not, see mox codebook nacini_placanja");
  options.Values("--key", arguments->key, "TEXT",
                 "names this attempt to store or cancel: the same again stores nothing and\n"
                 "answers the number of the first time");
  options.Flag("--yes", arguments->yes,
               "store the lines of a cancelling kind although a quantity is positive");
  options.Run([arguments](Session& session) {
    if (session.server != nullptr) arguments->header = WithKeys(arguments->header);
    RunDocument(*arguments, session);
  });
}

}  // namespace

const Command kDocumentCommand = {"document", "KIND [FILE [SERVICES]] [--store --db DB] | storno ID --db DB",
                                  "Calculate a whole document, store it, or cancel a stored one.",
                                  R"(Examples:
  mox document gotovinski-racun goods.csv services.csv
  mox document storno 1 --header datum=2024-03-02 --db firma.db

Calculated columns that a file has already are taken as stored by an earlier pass. The storno of a stored
document is its exact mirror: quantities and amounts of the other sign, prices and texts as they are; a document
is cancelled once. The kinds that cancel others can also be entered line by line; their quantities are negative,
and a positive one asks for confirmation.
With --db, goods that name articles (columns sifra, art_id) take from them what they leave out: name, unit, tax rate,
prices. A code that no article has is told, and refused where the document moves a warehouse: the one of its
header, skladiste, or the only one. Opening stock is a document, pocetno-stanje. What goes out has to stand there, unless the
setting LAGERNEGATIVE or --header lagernegative=true allows less than nothing.)",
                                  Declare};

}  // namespace mox

#include <algorithm>
#include <memory>

#include "cli/command.h"
#include "cli/named_values.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "cli/text_table.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/find_row.h"
#include "mox/record_tools/record_tools.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

struct ReportArguments {
  std::string report;
  std::string from;
  std::string to;
  std::string by;
  bool table = false;
};

// What rows are grouped by, as the command and as the services call it, with the columns that tell them
// apart.
struct Grouping {
  std::string_view name;
  std::string_view service_name;
  std::vector<std::string_view> keys;
};

const std::vector<Grouping>& Groupings() {
  static const std::vector<Grouping> groupings = {
      {"day", "dan", {"datum"}},
      {"kind", "vrsta", {"vrsta"}},
      {"partner", "partner", {"par_id", "sifra", "naziv"}},
      {"article", "artikl", {"sorta", "sifra", "naziv", "jm", "kolicina"}},
      {"rate", "stopa", {"stopa"}},
  };
  return groupings;
}

// A report may be answered by several services, each with groupings of its own.
struct Report {
  std::string_view name;
  std::string_view service;
  std::string_view answer;
  std::vector<std::string_view> groupings;  ///< the usual one first
  bool needs_period = true;
  std::vector<std::string_view> always = {};  ///< columns that tell rows apart whatever they are grouped by
  std::vector<std::string_view> never = {};   ///< columns that it does not have by article
};

const std::vector<Report>& Reports() {
  static const std::vector<Report> reports = {
      {"turnover",
       "Izvjestaj\\Promet",
       "adsPromet",
       {"day", "kind", "partner", "article", "rate"},
       true,
       {},
       {"osnovica", "porez", "naknade"}},
      {"tax", "Izvjestaj\\Porez", "adsPorez", {"rate", "day", "kind", "partner"}, true, {"strana", "stopa"}},
      {"balances", "Izvjestaj\\Saldo", "adsSaldo", {"partner"}, false},
      {"stock", "Izvjestaj\\Skladiste", "adsSkladiste", {"article"}, false},
      {"stock", "Izvjestaj\\PrometSkladista", "adsPromet", {"day", "kind"}},
  };
  return reports;
}

std::string Listed(const std::vector<std::string_view>& names) {
  std::string list;
  for (const std::string_view name : names) list += (list.empty() ? "" : ", ") + std::string(name);
  return list;
}

const Report& FindReport(const std::string& name, const std::string& by) {
  std::vector<std::string_view> groupings;
  for (const Report& report : Reports()) {
    if (report.name != name) continue;
    for (const std::string_view grouping : report.groupings) {
      if (by.empty() || by == grouping) return report;
      groupings.push_back(grouping);
    }
  }
  if (groupings.empty()) {
    throw UsageError("\"" + name + "\" is none of the reports turnover, tax, balances, stock");
  }
  throw UsageError("--by: " + name + " goes by " + Listed(groupings) + ", not by \"" + by + '"');
}

Value DateArgument(const std::string& option, const std::string& text) {
  if (text.empty()) return {};
  const FieldDef date{.name = option, .kind = FieldKind::kDate};
  return InputValue(date, text);
}

// Without the columns by which other groupings tell rows apart.
RecordSet ColumnsOf(const RecordSet& records, const Report& report, const Grouping& grouping) {
  const auto is_key_of_others = [&](const std::string& column) {
    const auto has = [&](const std::vector<std::string_view>& names) {
      return std::any_of(names.begin(), names.end(), [&](std::string_view name) { return column == name; });
    };
    if (grouping.name == "article" && has(report.never)) return true;
    if (has(grouping.keys) || has(report.always)) return false;
    return std::any_of(Groupings().begin(), Groupings().end(),
                       [&](const Grouping& other) { return has(other.keys); });
  };
  RecordSet narrow(records.Name());
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    if (!is_key_of_others(records.Definition(i).name)) narrow.DefineField(records.Definition(i));
  }
  narrow.Open();
  narrow.DataTransfer(records);
  return narrow;
}

// The sums of the amounts, of each side of the tax.
RecordSet TotalsOf(const RecordSet& records) {
  std::vector<std::string_view> sums;
  std::vector<std::string_view> keys;
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    if (field.kind == FieldKind::kCurrency && field.name != "nc") sums.push_back(field.name);
    if (field.name == "strana") keys.push_back(field.name);
  }
  return GroupRecords(records, keys, sums);
}

void RunReport(const ReportArguments& arguments, Session& session) {
  const Report& report = FindReport(arguments.report, arguments.by);
  const Grouping& grouping =
      *FindRow(Groupings(), arguments.by.empty() ? report.groupings.front() : std::string_view(arguments.by));
  if (report.needs_period && arguments.from.empty()) throw UsageError("--from is required");
  ServerOf(session);
  TAstaParamList request;
  request.FastAdd("od", DateArgument("--from", arguments.from));
  request.FastAdd("do", report.needs_period && arguments.to.empty() ? Value(Today())
                                                                    : DateArgument("--to", arguments.to));
  if (report.groupings.size() > 1) request.FastAdd("po", Value(std::string(grouping.service_name)));
  const RecordSet shown = ColumnsOf(AnswerOf(report.service, report.answer, request), report, grouping);
  AppendTableOrFile(shown, arguments.table, session.out,
                    {.hide_empty = arguments.table && !report.needs_period});
  if (!arguments.table || shown.IsEmpty()) return;
  session.out += "\nUkupno\n\n";
  AppendTable(TotalsOf(shown), {}, session.out);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<ReportArguments>();
  options.RequiredArgument("REPORT", arguments->report, "turnover, tax, balances or stock");
  options.Value("--from", arguments->from, "DATE", "the first day; turnover and tax need it");
  options.Value("--to", arguments->to, "DATE", "the last day; today where it is left out");
  options.Value("--by", arguments->by, "KEY", "a row for each day, kind, partner, article or rate");
  options.Flag("--table", arguments->table, "print a table for people, with the totals, instead of a file");
  options.Run([arguments](Session& session) { RunReport(*arguments, session); });
}

}  // namespace

const Command kReportCommand = {"report", "REPORT [--from DATE] [--to DATE] [--by KEY] --db DB",
                                "Sum what is stored: turnover, tax, balances, stock.",
                                R"(Examples:
  mox report turnover --from 2024-03-01 --to 2024-03-31 --table --db tvrtka.db
  mox report tax --from 2024-03-01 --to 2024-03-31 --by kind --db tvrtka.db
  mox report stock --db tvrtka.db

turnover, by day, kind, partner, article or rate: invoices, their stornos, which count below 0, and customers' returns,
which count against them; not pro-forma invoices, orders, receipts or the company's own use. Base and tax are
those of the recapitulations, naknade the fees of the lines beside them; gotovina was paid at once, in cash or by card,
bezgotovinski is paid later. By rate the fees, which carry no tax, and what totals were rounded by have a row without
a rate.
tax, by rate, and by day, kind or partner: izlazni is what the company charges, of invoices, own use and shortages less
customers' returns; ulazni what it deducts, of goods receipts less returns to suppliers. A receipt whose supplier
charges no tax (RU, OK) stands at rate 0.
balances, by partner: what is owed at the end of the last day, and what came and was paid since the first; without days,
what is owed now.
stock, by article: what stands in each warehouse at the end of the last day, with its value at purchase prices, and what
came and went since the first; without days, what stands there now. By day or kind: what moved.)",
                                Declare};

}  // namespace mox

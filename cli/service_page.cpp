#include "cli/service_page.h"

#include "mox/foundation/field.h"

namespace mox {
namespace {

constexpr std::string_view kLeftOut = " (may be left out)";

// "`oznaka` text(15)".
std::string Shown(const FieldDef& field) {
  std::string shown = "`" + field.name + "` " + std::string(KindName(field.kind));
  if (field.kind == FieldKind::kText && field.size > 0) shown += "(" + std::to_string(field.size) + ")";
  return shown;
}

void AppendRecordSets(std::string_view what, const ServiceInfo& service, Database& database,
                      std::string& out) {
  for (const RecordSetInfo& records : RecordSetsOf(service, database)) {
    out.append("- ").append(what).append(" `").append(records.name).append("`");
    if (records.may_be_left_out) out += kLeftOut;
    std::string_view separator = ": ";
    for (const FieldDef& column : records.columns) {
      out.append(separator).append(Shown(column));
      separator = ", ";
    }
    if (records.columns.empty()) out += ": as the request has it";
    out += "\n";
  }
}

void Append(const ServiceInfo& service, Database& database, bool is_transaction, std::string& out) {
  out.append("## `").append(service.name).append("`\n\n").append(service.summary).append("\n\n");
  out.append("- right: ").append(RoleNameOf(service.right)).append("\n");
  if (!is_transaction) {
    std::string_view separator = "- inputs: ";
    for (const DeclaredInput& input : ParseDeclaredInputs(service.inputs)) {
      out.append(separator).append(Shown(input)).append(input.may_be_left_out ? kLeftOut : "");
      separator = ", ";
    }
    out += service.inputs.empty() ? "- no inputs\n" : "\n";
  }
  AppendRecordSets(is_transaction ? "record set" : "answer", service, database, out);
}

void AppendPage(std::string_view heading, std::span<const ServiceInfo> services, bool is_transaction,
                std::string& out) {
  Database database = Database::InMemory();
  out += heading;
  for (const ServiceInfo& service : services) {
    out += "\n";
    Append(service, database, is_transaction, out);
  }
}

}  // namespace

void AppendReadService(const ServiceInfo& service, std::string& out) {
  Database database = Database::InMemory();
  Append(service, database, false, out);
}

void AppendTransaction(const ServiceInfo& transaction, std::string& out) {
  Database database = Database::InMemory();
  Append(transaction, database, true, out);
}

void AppendReadServicePage(std::string& out) {
  AppendPage(R"(# Read services

A request names the service and gives its inputs by name; the answer is a list of record sets. `mox query --markdown`
writes this page, `mox query NAME` shows one of them. The right that a user needs is named by the role that gives it; each role reads, and the
administrator may do everything.
)",
             ReadServices(), false, out);
}

void AppendTransactionPage(std::string& out) {
  AppendPage(R"(# Transactions

A request names the transaction and gives its record sets by name; all of it is stored, or nothing. Fields go to the columns
of their names; those named last say which row of another table is meant. `mox store --markdown` writes this page,
`mox store NAME` shows one of them.
)",
             NamedTransactions(), true, out);
}

}  // namespace mox

#include "appserver/service_info.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "appserver/codebook.h"
#include "appserver/named_service_table.h"
#include "appserver/named_transaction_table.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr ServiceInfo kDirectoryServices[] = {
    {"Posluzitelj\\Korisnici", Right::kAdminister, "", "adsKorisnici",
     "the users of the company on its server: their roles, whether they are shut out, and how many log-ins "
     "they have, where they are users of no other company"}};
constexpr ServiceInfo kDirectoryTransactions[] = {
    {"KorisnikUlogeUpis", Right::kAdminister, "adsKorisnik", "",
     "the roles of a user in the company, in the place of those that he had; by a server alone"},
    {"KorisnikPrijaveKraj", Right::kAdminister, "adsKorisnik", "",
     "ends the log-ins of a user of the company who is none of another one; by a server alone"}};

// Names joined for people, with a '?' after each that may be left out, kept for the life of the program.
template <typename Items, typename MayBeLeftOut>
std::string_view JoinNames(const Items& items, const MayBeLeftOut& may_be_left_out) {
  std::string joined;
  for (const auto& item : items) {
    joined.append(joined.empty() ? "" : ",").append(item.name).append(may_be_left_out(item) ? "?" : "");
  }
  static std::vector<std::unique_ptr<const std::string>> kept;
  return *kept.emplace_back(std::make_unique<const std::string>(std::move(joined)));
}

std::vector<ServiceInfo> DescribeReadServices() {
  std::vector<ServiceInfo> services;
  for (const NamedService& service : NamedServiceTable()) {
    services.push_back({service.name, service.right, service.inputs,
                        JoinNames(service.answers, [](const ServiceAnswer&) { return false; }),
                        service.summary});
  }
  services.push_back(kImportGridService);
  services.push_back(kImportChoicesService);
  services.push_back(kRetailSizesService);
  for (const ServiceInfo& service : DirectoryServices()) services.push_back(service);
  return services;
}

std::vector<ServiceInfo> DescribeTransactions() {
  std::vector<ServiceInfo> transactions;
  const auto is_optional = [](const RecordSetRule& rule) { return !rule.required; };
  for (const NamedTransaction& row : NamedTransactionTable()) {
    transactions.push_back({row.name, row.right, JoinNames(row.record_sets, is_optional), "", row.summary});
  }
  for (const ServiceInfo& transaction : DirectoryTransactions()) transactions.push_back(transaction);
  return transactions;
}

bool Holds(const Columns& columns, std::string_view name) { return FindColumn(columns, name) != nullptr; }

// Columns that no field fills: keys, which the database gives, and what the rule itself says.
bool IsFilledByTheRule(const TableRule& rule, std::string_view name) {
  const auto is_constant = [name](const auto& constant) { return SameName(constant.first, name); };
  return SameName(name, "id") || SameName(name, rule.row_number) ||
         std::any_of(rule.constants.begin(), rule.constants.end(), is_constant);
}

// Columns that fields of other names fill.
bool IsFilledByAnother(const TableRule& rule, std::string_view name) {
  const auto has_key = [name](const KeyRule& key) { return SameName(key.column, name); };
  const auto has_field = [name](const FieldRule& field) {
    return SameName(field.column, name) && !SameName(field.field, name);
  };
  return std::any_of(rule.keys.begin(), rule.keys.end(), has_key) ||
         std::any_of(rule.fields.begin(), rule.fields.end(), has_field);
}

// Whether a column refers to a row that the same transaction inserts.
bool RefersToAnother(const NamedTransaction& transaction, const RecordSetRule& rule,
                     std::span<const Reference> references, std::string_view name) {
  return std::any_of(references.begin(), references.end(), [&](const Reference& reference) {
    const auto is_target = [&](const RecordSetRule& other) {
      return other.name != rule.name && other.table.table == reference.table;
    };
    return SameName(reference.column, name) &&
           std::any_of(transaction.record_sets.begin(), transaction.record_sets.end(), is_target);
  });
}

Columns ColumnsOf(Database& database, const Codebook& codebook) {
  const RecordSet answer = EmptyAnswer(ShapeOf(database, codebook));
  Columns columns;
  for (std::size_t i = 0; i < answer.FieldCount(); ++i) columns.push_back(answer.Definition(i));
  return columns;
}

Columns ColumnsOf(const ServiceAnswer& answer, Database& database) {
  const Codebook* const codebook = answer.columns.empty() ? FindCodebook(answer.name) : nullptr;
  return codebook == nullptr ? AnswerColumns(answer, database) : ColumnsOf(database, *codebook);
}

Columns FieldsOf(const NamedTransaction& transaction, const RecordSetRule& record_set, Database& database) {
  if (!record_set.fields.empty()) return ParseColumns(record_set.fields);
  if (const Codebook* const codebook = FindCodebook(record_set.name)) return ColumnsOf(database, *codebook);
  const TableRule& rule = record_set.table;
  const Columns columns = database.TableColumns(rule.table);
  const std::vector<Reference> references = database.References(rule.table);
  Columns fields;
  const auto add = [&fields](std::string_view name, FieldKind kind) {
    if (!Holds(fields, name)) fields.push_back({.name = std::string(name), .kind = kind});
  };
  const auto kind_in = [](const Columns& table, std::string_view name) {
    const FieldDef* const column = FindColumn(table, name);
    return column == nullptr ? FieldKind::kText : column->kind;
  };
  const auto is_refused = [&record_set](std::string_view name) {
    const auto same = [name](const RefusedField& refused) { return SameName(refused.field, name); };
    return std::any_of(record_set.refused.begin(), record_set.refused.end(), same);
  };
  for (const FieldDef& column : columns) {
    if (is_refused(column.name) || IsFilledByTheRule(rule, column.name) ||
        IsFilledByAnother(rule, column.name) ||
        RefersToAnother(transaction, record_set, references, column.name)) {
      continue;
    }
    const auto same = [&](const FieldRule& field) { return SameName(field.field, column.name); };
    const auto own = std::find_if(rule.fields.begin(), rule.fields.end(), same);
    add(column.name, own != rule.fields.end() && own->yes_or_no ? FieldKind::kText : column.kind);
  }
  for (const FieldRule& field : rule.fields) {
    const std::string_view column = field.column.empty() ? field.field : field.column;
    add(field.field, field.yes_or_no ? FieldKind::kText : kind_in(columns, column));
  }
  for (const FieldDef& field : rule.told) add(field.name, field.kind);
  for (const KeyRule& key : rule.keys) {
    const Columns target = database.TableColumns(key.table);
    for (const KeyPart& part : key.parts) add(part.field, kind_in(target, part.column));
  }
  return fields;
}

}  // namespace

std::span<const ServiceInfo> ReadServices() {
  static const std::vector<ServiceInfo> services = DescribeReadServices();
  return services;
}

std::span<const ServiceInfo> NamedTransactions() {
  static const std::vector<ServiceInfo> transactions = DescribeTransactions();
  return transactions;
}

std::span<const ServiceInfo> DirectoryServices() { return kDirectoryServices; }
std::span<const ServiceInfo> DirectoryTransactions() { return kDirectoryTransactions; }

Columns DirectoryColumns(const ServiceInfo& service) {
  const bool answers = !service.answers.empty();
  Columns columns = ParseColumns(answers ? "ime,oznaka" : "ime");
  if (service.name == kDirectoryTransactions[1].name) return columns;
  for (const Role& role : Roles()) {
    columns.push_back({.name = std::string(role.code), .kind = FieldKind::kBoolean});
  }
  for (FieldDef& column : ParseColumns(answers ? "prijava:integer,iskljucen:boolean,verzija" : "verzija")) {
    columns.push_back(std::move(column));
  }
  return columns;
}

std::vector<RecordSetInfo> RecordSetsOf(const ServiceInfo& service, Database& database) {
  std::vector<RecordSetInfo> record_sets;
  if (const NamedService* const row = FindRow(NamedServiceTable(), service.name)) {
    for (const ServiceAnswer& answer : row->answers) {
      record_sets.push_back({std::string(answer.name), false, ColumnsOf(answer, database)});
    }
  } else if (const NamedTransaction* const transaction = FindRow(NamedTransactionTable(), service.name)) {
    for (const RecordSetRule& rule : transaction->record_sets) {
      record_sets.push_back({std::string(rule.name), !rule.required, FieldsOf(*transaction, rule, database)});
    }
  } else if (FindRow(DirectoryServices(), service.name) != nullptr ||
             FindRow(DirectoryTransactions(), service.name) != nullptr) {
    const std::string_view name = service.answers.empty() ? service.inputs : service.answers;
    record_sets.push_back({std::string(name), false, DirectoryColumns(service)});
  } else {
    const bool retail = service.name == kRetailSizesService.name;
    record_sets.push_back(
        {std::string(service.answers), false, ParseColumns(retail ? "vel,brend,spol,uzrast,HR_Vel" : "")});
  }
  return record_sets;
}

}  // namespace mox

#include "appserver/database.h"

#include <algorithm>

#include "appserver/connection.h"
#include "appserver/copy_rows.h"
#include "appserver/migrations.h"
#include "appserver/row_copy.h"
#include "appserver/sql_text.h"
#include "appserver/statement_impl.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

FieldKind KindOf(const Value& value) {
  constexpr FieldKind kKinds[] = {FieldKind::kText,    FieldKind::kText,    FieldKind::kInteger,
                                  FieldKind::kBoolean, FieldKind::kFloat,   FieldKind::kCurrency,
                                  FieldKind::kDate,    FieldKind::kDateTime};
  return kKinds[value.index()];
}

}  // namespace

Columns ParseColumns(std::string_view columns) {
  Columns parsed;
  while (!columns.empty()) {
    const std::string_view column = columns.substr(0, columns.find(','));
    columns.remove_prefix(std::min(column.size() + 1, columns.size()));
    const std::size_t colon = std::min(column.find(':'), column.size());
    FieldDef field{.name = std::string(TrimBlanks(column.substr(0, colon)))};
    const std::string_view kind = TrimBlanks(column.substr(std::min(colon + 1, column.size())));
    if (field.name.empty() || (colon < column.size() && !KindFromName(kind, field.kind)))
      throw Error("\"" + std::string(column) + "\" is not a column");
    parsed.push_back(std::move(field));
  }
  return parsed;
}

const FieldDef* FindColumn(const Columns& columns, std::string_view name) {
  const auto same = [name](const FieldDef& column) { return SameName(column.name, name); };
  const auto found = std::find_if(columns.begin(), columns.end(), same);
  return found == columns.end() ? nullptr : &*found;
}

// --- the database ---

void Database::Create(const DatabaseLocation& location, WithDemo demo,
                      const std::function<void(Database& created)>& fill) {
  DialectOf(location.kind()).Create(location, [&](DatabaseConnection& connection) {
    FillNewDatabase(connection, demo);
    if (!fill) return;
    Database created(std::shared_ptr<DatabaseConnection>(&connection, [](DatabaseConnection*) {}));
    WriteTransaction transaction(created);
    fill(created);
    transaction.Commit();
  });
}

Database Database::InMemory() {
  const Dialect& dialect = SqliteDialect();
  const auto open = [&](soci::session& session) { dialect.OpenInMemory(session); };
  auto connection = std::make_shared<DatabaseConnection>("(in memory)", open);
  FillNewDatabase(*connection, WithDemo::kNo);
  return Database(std::move(connection));
}

void Database::Create(const DatabaseLocation& location, const SchemaFamily& family) {
  DialectOf(location.kind()).Create(location, [&](DatabaseConnection& connection) {
    FillNewDatabase(connection, family);
  });
}

Database::Database(const DatabaseLocation& location, Access access, const std::function<void()>& connected)
    : Database(location, CompanySchema(), access, connected) {}

Database::Database(const DatabaseLocation& location, const SchemaFamily& family, Access access,
                   const std::function<void()>& connected)
    : connection_(std::make_shared<DatabaseConnection>(location, [&](soci::session& session) {
        DialectOf(location.kind()).Open(session, location, access);
        if (connected) connected();
      })) {
  RequireFamily(*connection_, family);
  connection_->SetOpened(access);
  if (access == Access::kReadWrite) {
    MigrateSchema(*connection_, family.files);
  } else {
    RequireKnownVersion(*connection_, family.files);
  }
}

Database::~Database() = default;
Database::Database(Database&& other) noexcept = default;
Database& Database::operator=(Database&& other) noexcept = default;

const DatabaseLocation& Database::location() const { return connection_->location(); }
const Dialect& Database::dialect() const { return connection_->dialect(); }
void Database::Settle() { connection_->Settle(); }
void Database::RequireThere() { connection_->RequireThere(); }
void Database::WaitAtMost(int milliseconds) { connection_->WaitAtMost(milliseconds); }
int Database::SchemaVersion() { return RequireKnownVersion(*connection_); }

Statement Database::Prepare(std::string_view sql, std::span<const FieldKind> parameter_kinds) {
  if (auto kept = connection_->kept().Take(sql, parameter_kinds)) return Statement(std::move(kept));
  return Statement(std::make_unique<Statement::Impl>(*connection_, sql, parameter_kinds));
}

Statement Database::Prepare(std::string_view sql, std::initializer_list<FieldKind> parameter_kinds) {
  return Prepare(sql, std::span(parameter_kinds.begin(), parameter_kinds.size()));
}

Statement Database::PrepareWith(std::string_view sql, std::span<const Value> values) {
  std::vector<FieldKind> kinds;
  kinds.reserve(values.size());
  for (const Value& value : values) kinds.push_back(KindOf(value));
  Statement statement = Prepare(sql, kinds);
  for (std::size_t i = 0; i < values.size(); ++i) statement.Bind(i, values[i]);
  return statement;
}

std::int64_t Database::Execute(std::string_view sql, std::initializer_list<Value> values) {
  return PrepareWith(sql, std::span(values.begin(), values.size())).Execute();
}

void Database::ExecuteAhead(std::string_view sql, std::initializer_list<Value> values) {
  PrepareWith(sql, std::span(values.begin(), values.size())).ExecuteAhead();
}

RecordSet Database::Query(std::string_view name, const Columns& columns, std::string_view sql,
                          std::span<const Value> values) {
  RecordSet answer{std::string(name)};
  for (const FieldDef& column : columns) answer.DefineField(column);
  answer.Open();
  PrepareWith(sql, values).ExecuteInto(answer);
  if (!answer.IsEmpty()) answer.First();
  return answer;
}

const TableDescription* DatabaseConnection::FindTable(std::string_view name) {
  const auto find = [&]() -> const TableDescription* {
    const std::vector<TableDescription>& tables = Tables();
    const auto found = std::find_if(tables.begin(), tables.end(), [&](const TableDescription& table) {
      return SameName(table.name, name);
    });
    return found == tables.end() ? nullptr : &*found;
  };
  if (const TableDescription* const known = find()) return known;
  ForgetTables();
  return find();
}

Columns Database::TableColumns(std::string_view table) {
  const TableDescription* const found = connection_->FindTable(table);
  return found == nullptr ? Columns() : found->columns;
}

std::vector<Reference> Database::References(std::string_view table) {
  const TableDescription* const found = connection_->FindTable(table);
  return found == nullptr ? std::vector<Reference>() : found->references;
}

std::vector<std::string> Database::TableNames() {
  std::vector<std::string> names;
  for (const TableDescription& table : connection_->Tables()) names.push_back(table.name);
  return names;
}

std::vector<std::string> Database::FindDamages(int most) {
  return connection_->Run([&] { return connection_->dialect().FindDamages(connection_->session(), most); });
}

void Database::Check() {
  const std::vector<std::string> damages = FindDamages(1);
  if (!damages.empty()) connection_->Refuse("the file is damaged: " + damages.front());
}

void Database::BackUp(const std::string& to, const std::function<void()>& reached) {
  const ReadTransaction snapshot(*this);
  if (location().IsFile()) {
    SchemaVersion();  // the snapshot is of now
    return connection_->dialect().BackUp(*connection_, to, reached);
  }
  SqliteDialect().Create(DatabaseLocation(to), [&](DatabaseConnection& copy) { FillCopy(copy, reached); });
}

std::string Database::Restore(const DatabaseLocation& location) {
  if (!this->location().IsFile()) connection_->Refuse("a copy is a file, made by mox db backup");
  if (location.IsFile()) return connection_->dialect().Restore(*connection_, location);
  const ReadTransaction snapshot(*this);
  return PostgresqlDialect().Replace(location, [&](DatabaseConnection& copy) { FillCopy(copy); });
}

// Gives an empty database all rows of this one.
void Database::FillCopy(DatabaseConnection& copy, const std::function<void()>& reached) {
  Check();
  if (SchemaVersion() != NewestVersion())
    connection_->Refuse("is of an older version; open it for writing with this program first");
  FillNewDatabase(copy, WithDemo::kNo);
  Database target(std::shared_ptr<DatabaseConnection>(&copy, [](DatabaseConnection*) {}));
  WriteTransaction transaction(target);
  CopyRows(*this, target, reached);
  copy.Run([&] { copy.dialect().GoOnBehindKeys(copy.session()); });
  transaction.Commit();
}

std::size_t Database::MostParameters() const { return connection_->dialect().MostParameters(); }

// --- transactions ---

bool Database::MayBeWritten() const { return connection_->MayBeWritten(); }

void Database::MakeMissingSearchIndex(const SearchIndex& index) {
  connection_->Run([&] { connection_->dialect().MakeMissingSearchIndex(connection_->session(), index); });
}

bool Database::WritesBesideOthers() const { return connection_->WritesBesideOthers(); }

void Database::Claim(std::vector<std::string> names) {
  if (!WritesBesideOthers()) return;
  std::sort(names.begin(), names.end());
  connection_->Run([&] { connection_->dialect().Claim(connection_->session(), names); });
}

void Database::KeepSoFar() {
  connection_->Run([&] { connection_->dialect().KeepSoFar(connection_->session()); });
}

std::unique_ptr<RowCopy> Database::ChangeTogether(std::string_view table,
                                                  const std::vector<std::string>& columns,
                                                  const std::string& by) {
  return connection_->dialect().ChangeTogether(*connection_, table, columns, by);
}

std::unique_ptr<RowCopy> Database::ReplaceTogether(std::string_view table,
                                                   const std::vector<std::string>& columns) {
  return ChangeTogether(table, columns, {});
}

std::unique_ptr<RowCopy> Database::CopyInto(std::string_view table, const std::vector<std::string>& columns) {
  return connection_->dialect().CopyInto(*connection_, table, columns);
}

ReadTransaction::ReadTransaction(Database& database) : database_(database) {
  database_.connection_->EnterRead();
}

ReadTransaction::~ReadTransaction() { database_.connection_->LeaveRead(); }

WriteTransaction::WriteTransaction(Database& database, Writing writing) : database_(database) {
  database_.connection_->BeginWrite(writing);
}

WriteTransaction::~WriteTransaction() {
  if (open_) database_.connection_->RollBack();
}

void WriteTransaction::Commit() {
  database_.connection_->Commit();
  open_ = false;
}

}  // namespace mox

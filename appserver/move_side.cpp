#include "appserver/move_side.h"

#include <cstdlib>
#include <utility>

namespace mox {
namespace {

// libpq takes the last of several.
std::string WithUser(std::string address, const std::string& user) {
  if (user.empty()) return address;
  address += address.find('?') == std::string::npos ? '?' : '&';
  return address + "user=" + user;
}

constexpr std::string_view kLockNotAvailable = "55P03";

}  // namespace

std::string QuotedText(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + '\'';
}

// A connection that is lost is noticed by the server while it works, so that it keeps no locks.
MoveSide::MoveSide(const DatabaseLocation& location, const std::string& user)
    : location_(location), schema_(location.schema()), address_(WithUser(location.connection(), user)) {
  connection_ = PQconnectdb(address_.c_str());
  try {
    if (PQstatus(connection_) != CONNECTION_OK)
      throw soci::postgresql_soci_error(PQerrorMessage(connection_), "");
    PQsetNoticeProcessor(
        connection_, [](void*, const char*) {}, nullptr);
    RunPostgresql(
        connection_,
        "SET client_encoding = 'UTF8'; SET client_min_messages = warning; SET DateStyle = 'ISO, YMD'; "
        "SET standard_conforming_strings = on; SET extra_float_digits = 3; SET bytea_output = 'hex'; "
        "SET TimeZone = 'UTC'; SET synchronous_commit = on; SET client_connection_check_interval = "
        "'500ms'; SET search_path TO " +
            QuotedName(schema_));
  } catch (const soci::soci_error& error) {
    const std::string reason = ExplainPostgresql(error, location_);
    PQfinish(connection_);
    throw DatabaseUnavailable(location_.ToString() + ": " + reason);
  }
}

MoveSide::~MoveSide() { PQfinish(connection_); }

void MoveSide::Refuse(const soci::soci_error& error) {
  const std::string what = location_.ToString() + ": " + ExplainPostgresql(error, location_);
  if (IsPostgresqlFailure(error)) throw DatabaseUnavailable(what);
  throw DatabaseError(what);
}

PostgresqlResult MoveSide::Send(const std::string& sql) {
  try {
    return RunPostgresql(connection_, sql);
  } catch (const soci::soci_error& error) {
    Refuse(error);
  }
}

void MoveSide::Run(const std::string& sql) { Send(sql); }

std::string MoveSide::Ask(const std::string& sql) {
  const PostgresqlResult answer = Send(sql);
  return PQntuples(answer.get()) == 0 ? std::string() : std::string(PQgetvalue(answer.get(), 0, 0));
}

std::int64_t MoveSide::AskNumber(const std::string& sql) {
  return std::strtoll(Ask(sql).c_str(), nullptr, 10);
}

std::vector<std::pair<std::string, std::string>> MoveSide::AskPairs(const std::string& sql) {
  const PostgresqlResult answer = Send(sql);
  std::vector<std::pair<std::string, std::string>> pairs;
  const int rows = PQntuples(answer.get());
  pairs.reserve(static_cast<std::size_t>(rows));
  for (int row = 0; row < rows; ++row) {
    pairs.emplace_back(PQgetvalue(answer.get(), row, 0), PQgetvalue(answer.get(), row, 1));
  }
  return pairs;
}

bool MoveSide::TryRun(const std::string& sql) {
  try {
    RunPostgresql(connection_, sql);
    return true;
  } catch (const soci::soci_error& error) {
    if (SqlState(error) == kLockNotAvailable) return false;
    Refuse(error);
  }
}

void MoveSide::RollBack() noexcept { const PostgresqlResult undone(PQexec(connection_, "ROLLBACK")); }

bool MoveSide::HasSchema() {
  return AskNumber("SELECT count(*) FROM pg_namespace WHERE nspname = " + QuotedText(schema_)) > 0;
}

std::string MoveSide::MarkOf(const std::string& schema) {
  return Ask("SELECT COALESCE(obj_description(oid, 'pg_namespace'), '') FROM pg_namespace WHERE nspname = " +
             QuotedText(schema));
}

std::string MoveSide::FindMarked(const std::string& beginning) {
  return Ask("SELECT nspname FROM pg_namespace WHERE starts_with(obj_description(oid, 'pg_namespace'), " +
             QuotedText(beginning) + ")");
}

std::vector<std::string> MoveSide::Tables() {
  std::vector<std::string> tables;
  const std::string sql =
      "SELECT tablename, '' FROM pg_tables WHERE schemaname = current_schema() ORDER BY tablename COLLATE "
      "\"C\"";
  for (auto& [table, unused] : AskPairs(sql)) tables.push_back(std::move(table));
  return tables;
}

// Columns by name, since a table may have got them in another order.
TableDigests DigestsOf(MoveSide& side) {
  TableDigests digests;
  const auto tables = side.AskPairs(
      "SELECT c.relname, string_agg(quote_ident(a.attname), ', ' ORDER BY a.attname COLLATE \"C\") "
      "FROM pg_class c JOIN pg_attribute a ON a.attrelid = c.oid "
      "WHERE c.relnamespace = CAST(quote_ident(current_schema()) AS regnamespace) AND c.relkind = 'r' "
      "AND a.attnum > 0 AND NOT a.attisdropped GROUP BY c.relname");
  for (const auto& [table, columns] : tables) {
    digests[table] = side.Ask("SELECT count(*) || ' rows, ' || COALESCE(sum(hashtextextended(CAST(ROW(" +
                              columns + ") AS text), 0)), 0) FROM " + QuotedName(table));
  }
  return digests;
}

std::string DifferenceOf(const TableDigests& from, const TableDigests& to) {
  std::string difference;
  for (const auto& [table, digest] : from) {
    const auto other = to.find(table);
    if (other != to.end() && other->second == digest) continue;
    const auto rows = [](const std::string& text) { return text.substr(0, text.find(',')); };
    difference += (difference.empty() ? "" : "; ") + table + ": " + rows(digest) + " here, " +
                  (other == to.end() ? "no table" : rows(other->second)) + " there";
  }
  if (difference.empty() && from.size() != to.size()) difference = "there are further tables there";
  return difference;
}

}  // namespace mox

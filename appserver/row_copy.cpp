#include "appserver/row_copy.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "appserver/connection.h"
#include "appserver/postgresql.h"
#include "appserver/statement_impl.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// A value in the text form of COPY, in which these characters stand for others.
void AppendEscaped(std::string_view value, std::string& text) {
  for (const char c : value) {
    if (c == '\\' || c == '\t' || c == '\n' || c == '\r') {
      text += '\\';
      text += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : '\\';
    } else {
      text += c;
    }
  }
}

// Back from the text form: the values of a line, null for those without one.
std::vector<std::optional<std::string>> ValuesOf(std::string_view line) {
  std::vector<std::optional<std::string>> values;
  while (true) {
    const std::string_view escaped = line.substr(0, line.find('\t'));
    values.emplace_back(std::in_place);
    for (std::size_t i = 0; i < escaped.size(); ++i) {
      if (escaped[i] != '\\') {
        *values.back() += escaped[i];
        continue;
      }
      const char c = escaped[++i];
      *values.back() += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
    if (escaped == "\\N") values.back().reset();
    if (escaped.size() == line.size()) return values;
    line.remove_prefix(escaped.size() + 1);
  }
}

// What of both ways is the same: rows are held as the text of COPY, and each has a statement of its own.
class PostgresqlRows : public RowCopy {
 public:
  PostgresqlRows(DatabaseConnection& connection, std::size_t width, std::string one)
      : connection_(connection), width_(width), one_(std::move(one)) {}

  void Add(std::span<const ValueSlot> values) override {
    begins_.push_back(text_.size());
    bool is_first = true;
    for (const ValueSlot& value : values.first(width_)) {
      if (!is_first) text_ += '\t';
      is_first = false;
      if (value.indicator == soci::i_null) {
        text_ += "\\N";
      } else {
        AppendEscaped(PostgresqlText(value), text_);
      }
    }
    text_ += '\n';
  }

  void Truncate(std::size_t rows) override {
    if (rows >= begins_.size()) return;
    text_.resize(begins_[rows]);
    begins_.resize(rows);
  }

  void Store() override {
    if (begins_.empty()) return;
    connection_.Run([&] { StoreAll(PostgresqlHandle(connection_.session())); });
    Truncate(0);
  }

  // One after the other, but without waiting for each answer; behind a refused one the engine passes over the
  // rest.
  std::optional<std::size_t> FindRefused() override {
    PGconn* const handle = PostgresqlHandle(connection_.session());
    std::optional<std::size_t> refused;
    PQenterPipelineMode(handle);
    PQsendPrepare(handle, "", one_.c_str(), 0, nullptr);
    bool is_prepared = false;
    for (std::size_t begin = 0; begin < begins_.size() && !refused; begin += kUnanswered) {
      const std::size_t end = std::min(begin + kUnanswered, begins_.size());
      for (std::size_t row = begin; row < end; ++row) Send(handle, row);
      PQpipelineSync(handle);
      refused = Answers(handle, begin, is_prepared);
      is_prepared = true;
    }
    PQexitPipelineMode(handle);
    const bool is_lost = PQstatus(handle) != CONNECTION_OK;
    if (is_lost) connection_.Run([&] { RunPostgresql(handle, "SELECT 1"); });
    const PostgresqlResult undone(PQexec(handle, "ROLLBACK TO SAVEPOINT mox"));
    return refused;
  }

 protected:
  virtual void StoreAll(PGconn* handle) = 0;

  const std::string& text() const { return text_; }
  std::size_t width() const { return width_; }
  std::size_t RowCount() const { return begins_.size(); }
  std::string_view LineAt(std::size_t row) const {
    const std::size_t end = row + 1 < begins_.size() ? begins_[row + 1] : text_.size();
    return std::string_view(text_).substr(begins_[row], end - begins_[row] - 1);
  }
  [[noreturn]] void Refuse(const std::string& reason) const { connection_.Refuse(reason); }

 private:
  static constexpr std::size_t kUnanswered = 250;  // rows that are sent before the answers are read

  void Send(PGconn* handle, std::size_t row) const {
    const auto values = ValuesOf(LineAt(row));
    std::vector<const char*> given;
    given.reserve(values.size());
    for (const auto& value : values) given.push_back(value ? value->c_str() : nullptr);
    PQsendQueryPrepared(handle, "", static_cast<int>(given.size()), given.data(), nullptr, nullptr, 0);
  }

  // Reads what the engine says to the rows from there on.
  static std::optional<std::size_t> Answers(PGconn* handle, std::size_t row, bool is_prepared) {
    std::optional<std::size_t> refused;
    bool of_prepare = !is_prepared;
    for (int nothing = 0; nothing < 2;) {
      const PostgresqlResult result(PQgetResult(handle));
      if (result == nullptr) {
        ++nothing;  // behind each answer; twice where the connection is lost
        continue;
      }
      nothing = 0;
      const ExecStatusType status = PQresultStatus(result.get());
      if (status == PGRES_PIPELINE_SYNC) break;
      if (status == PGRES_FATAL_ERROR && !refused) refused = row;
      if (of_prepare) {
        of_prepare = false;
      } else {
        ++row;
      }
    }
    return refused;
  }

  DatabaseConnection& connection_;
  std::size_t width_;                // values of a row
  std::string one_;                  // stores one row
  std::string text_;                 // of the rows
  std::vector<std::size_t> begins_;  // where each row begins
};

std::string Listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

std::string InsertOne(const std::string& target, std::size_t width) {
  std::string places;
  for (std::size_t i = 1; i <= width; ++i) places += (i == 1 ? "$" : ", $") + std::to_string(i);
  return "INSERT INTO " + target + " VALUES (" + places + ")";
}

class PostgresqlCopy : public PostgresqlRows {
 public:
  PostgresqlCopy(DatabaseConnection& connection, const std::string& target, std::size_t width)
      : PostgresqlRows(connection, width, InsertOne(target, width)),
        copy_("COPY " + target + " FROM STDIN") {}

 private:
  void StoreAll(PGconn* handle) override {
    RunPostgresql(handle, copy_);
    const bool is_sent = SendText(handle);
    const bool is_ended = PQputCopyEnd(handle, is_sent ? nullptr : "the rows were not sent whole") == 1;
    PostgresqlResult result(PQgetResult(handle));
    while (PGresult* const rest = PQgetResult(handle)) PQclear(rest);
    const PostgresqlResult done = RequireDone(result.release());
    if (is_ended && PQcmdTuples(done.get()) == std::to_string(RowCount())) return;
    Refuse("not all rows were taken");
  }

  // In pieces, since the library counts them in int.
  bool SendText(PGconn* handle) const {
    constexpr std::size_t kPiece = std::size_t{16} << 20U;
    for (std::string_view rest = text(); !rest.empty(); rest.remove_prefix(std::min(kPiece, rest.size()))) {
      const std::string_view piece = rest.substr(0, kPiece);
      if (PQputCopyData(handle, piece.data(), static_cast<int>(piece.size())) != 1) return false;
    }
    return true;
  }

  std::string copy_;
};

// --- changes ---

// A column of all rows as the text of an array.
class ArrayText {
 public:
  void Add(const std::optional<std::string>& value) {
    text_ += text_.empty() ? '{' : ',';
    if (!value) {
      text_ += "NULL";
      return;
    }
    text_ += '"';
    for (const char c : *value) {
      if (c == '"' || c == '\\') text_ += '\\';
      text_ += c;
    }
    text_ += '"';
  }
  std::string Take() { return std::move(text_) + '}'; }

 private:
  std::string text_;
};

std::string_view TypeOf(FieldKind kind) {
  switch (kind) {
    case FieldKind::kInteger:
      return "BIGINT";
    case FieldKind::kBoolean:
      return "BOOLEAN";
    case FieldKind::kFloat:
      return "DOUBLE PRECISION";
    case FieldKind::kCurrency:
      return "NUMERIC";
    case FieldKind::kDate:
      return "DATE";
    case FieldKind::kDateTime:
      return "TIMESTAMP";
    default:
      return "TEXT";
  }
}

// One statement over arrays, one for each column and one for the keys.
class PostgresqlChange : public PostgresqlRows {
 public:
  PostgresqlChange(DatabaseConnection& connection, const std::string& table,
                   const std::vector<std::string>& columns, const std::string& by)
      : PostgresqlRows(connection, columns.size() + 1, Change(connection, table, columns, by, false)),
        all_(Change(connection, table, columns, by, true)) {}

 private:
  static std::string Change(DatabaseConnection& connection, const std::string& table,
                            const std::vector<std::string>& columns, const std::string& by, bool all) {
    const TableDescription* const described = connection.FindTable(table);
    std::string set;
    std::string arrays;
    std::string names;
    std::size_t place = 0;
    for (const std::string& column : columns) {
      const std::string given = "$" + std::to_string(++place);
      const std::string own = all ? "c" + std::to_string(place) : given;
      const std::string value = (all ? "r." : "") + own;
      set += (place == 1 ? "" : ", ") + column + " = " +
             (by.empty() ? value : "COALESCE(" + value + ", t." + column + ")");
      const FieldDef* const known = FindColumn(described->columns, column);
      arrays += "CAST(" + given + " AS " + std::string(TypeOf(known->kind)) + "[]), ";
      names += own + ", ";
    }
    const std::string key = "$" + std::to_string(place + 1);
    const std::string found = by.empty() ? "t.id" : connection.dialect().Fold("t." + by);
    const std::string update = "UPDATE " + table + " AS t SET " + set;
    if (!all) return update + " WHERE " + found + " = " + key;
    return update + " FROM unnest(" + arrays + "CAST(" + key + " AS " + (by.empty() ? "BIGINT" : "TEXT") +
           "[])) AS r (" + names + "k) WHERE " + found + " = r.k";
  }

  void StoreAll(PGconn* handle) override {
    std::vector<ArrayText> arrays(width());
    for (std::size_t row = 0; row < RowCount(); ++row) {
      const auto values = ValuesOf(LineAt(row));
      for (std::size_t i = 0; i < width(); ++i) arrays[i].Add(values[i]);
    }
    std::vector<std::string> texts;
    std::vector<const char*> given;
    texts.reserve(width());
    given.reserve(width());
    for (ArrayText& array : arrays) given.push_back(texts.emplace_back(array.Take()).c_str());
    const PostgresqlResult done = RequireDone(PQexecParams(
        handle, all_.c_str(), static_cast<int>(given.size()), nullptr, given.data(), nullptr, nullptr, 0));
    if (std::strtoull(PQcmdTuples(done.get()), nullptr, 10) >= RowCount()) return;
    Refuse("not all rows were found");
  }

  std::string all_;
};

}  // namespace

std::unique_ptr<RowCopy> MakePostgresqlCopy(DatabaseConnection& connection, std::string_view table,
                                            const std::vector<std::string>& columns) {
  const std::string target = std::string(table) + " (" + Listed(columns) + ")";
  return std::make_unique<PostgresqlCopy>(connection, target, columns.size());
}

std::unique_ptr<RowCopy> MakePostgresqlChange(DatabaseConnection& connection, std::string_view table,
                                              const std::vector<std::string>& columns,
                                              const std::string& by) {
  return std::make_unique<PostgresqlChange>(connection, std::string(table), columns, by);
}

}  // namespace mox

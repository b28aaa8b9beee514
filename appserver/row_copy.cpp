#include "appserver/row_copy.h"

#include <algorithm>

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

class PostgresqlCopy : public RowCopy {
 public:
  PostgresqlCopy(DatabaseConnection& connection, std::string_view table,
                 const std::vector<std::string>& columns)
      : connection_(connection), width_(columns.size()) {
    std::string names;
    std::string places;
    for (const std::string& column : columns) {
      names += (names.empty() ? "" : ", ") + column;
      places += (places.empty() ? "$" : ", $") + std::to_string(++places_);
    }
    const std::string target = std::string(table) + " (" + names + ")";
    copy_ = "COPY " + target + " FROM STDIN";
    insert_ = "INSERT INTO " + target + " VALUES (" + places + ")";
  }

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
    connection_.Run([&] {
      PGconn* const handle = Handle();
      RunPostgresql(handle, copy_);
      const bool is_sent = SendText(handle);
      const bool is_ended = PQputCopyEnd(handle, is_sent ? nullptr : "the rows were not sent whole") == 1;
      PostgresqlResult result(PQgetResult(handle));
      while (PGresult* const rest = PQgetResult(handle)) PQclear(rest);
      const PostgresqlResult done = RequireDone(result.release());
      if (is_ended && PQcmdTuples(done.get()) == std::to_string(begins_.size())) return;
      connection_.Refuse("not all rows were taken");
    });
    Truncate(0);
  }

  // One after the other, but without waiting for each answer; behind a refused one the engine passes over the
  // rest.
  std::optional<std::size_t> FindRefused() override {
    PGconn* const handle = Handle();
    std::optional<std::size_t> refused;
    PQenterPipelineMode(handle);
    PQsendPrepare(handle, "", insert_.c_str(), 0, nullptr);
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

 private:
  // In pieces, since the library counts them in int.
  bool SendText(PGconn* handle) const {
    constexpr std::size_t kPiece = std::size_t{16} << 20U;
    for (std::string_view rest = text_; !rest.empty(); rest.remove_prefix(std::min(kPiece, rest.size()))) {
      const std::string_view piece = rest.substr(0, kPiece);
      if (PQputCopyData(handle, piece.data(), static_cast<int>(piece.size())) != 1) return false;
    }
    return true;
  }

  static constexpr std::size_t kUnanswered = 250;  // rows that are sent before the answers are read

  PGconn* Handle() const { return PostgresqlHandle(connection_.session()); }

  void Send(PGconn* handle, std::size_t row) const {
    const std::size_t end = row + 1 < begins_.size() ? begins_[row + 1] : text_.size();
    const auto values = ValuesOf(std::string_view(text_).substr(begins_[row], end - begins_[row] - 1));
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
  std::size_t width_;
  int places_ = 0;
  std::string copy_;
  std::string insert_;
  std::string text_;                 // of the rows
  std::vector<std::size_t> begins_;  // where each row begins
};

}  // namespace

std::unique_ptr<RowCopy> MakePostgresqlCopy(DatabaseConnection& connection, std::string_view table,
                                            const std::vector<std::string>& columns) {
  return std::make_unique<PostgresqlCopy>(connection, table, columns);
}

}  // namespace mox

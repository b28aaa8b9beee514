#include "appserver/table_writer.h"

#include <algorithm>
#include <optional>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kKey = "id";

// Where a row's value comes from: a field of the record set. A text longer than `most` characters does not
// fit; 0 is without a limit.
struct FieldColumn {
  std::size_t parameter;
  std::size_t field;
  std::size_t most;
};

class TableWriter {
 public:
  TableWriter(Database& database, RecordSet& records, const TableRule& rule, std::string_view returning = {})
      : records_(records), rule_(rule), columns_(database.TableColumns(rule.table)) {
    if (columns_.empty()) throw Error("the database has no table \"" + std::string(rule.table) + "\"");
    MapConstants();
    MapFields();
    if (names_.empty()) Refuse(0, "", "there is nothing to store");
    statement_ = database.Prepare(InsertSql(returning), kinds_);
    BindConstants();
  }

  void InsertAll() {
    std::size_t row = 0;
    for (records_.First(); !records_.Eof(); records_.Next()) {
      ++row;
      Run(row, [this] { return statement_->Execute(); });
    }
  }

  std::int64_t InsertOne() {
    records_.First();
    return Run(1, [this] { return statement_->ExecuteForKey(); });
  }

 private:
  const FieldDef* FindColumn(std::string_view name) const {
    const auto same = [name](const FieldDef& column) { return SameName(column.name, name); };
    const auto found = std::find_if(columns_.begin(), columns_.end(), same);
    return found == columns_.end() ? nullptr : &*found;
  }

  const FieldDef& ColumnByName(std::string_view name) const {
    if (const FieldDef* const column = FindColumn(name)) return *column;
    throw Error("the table \"" + std::string(rule_.table) + "\" has no column \"" + std::string(name) + "\"");
  }

  bool IsGiven(std::string_view name) const {
    const auto same = [name](const auto& constant) { return SameName(constant.first, name); };
    return SameName(name, kKey) || SameName(name, rule_.row_number) ||
           std::any_of(rule_.constants.begin(), rule_.constants.end(), same);
  }

  std::size_t AddColumn(const FieldDef& column) {
    names_.push_back(column.name);
    kinds_.push_back(column.kind);
    return names_.size() - 1;
  }

  void MapConstants() {
    for (const auto& [name, value] : rule_.constants) AddColumn(ColumnByName(name));
    if (!rule_.row_number.empty()) row_number_ = AddColumn(ColumnByName(rule_.row_number));
  }

  void MapFields() {
    for (std::size_t i = 0; i < records_.FieldCount(); ++i) {
      const FieldDef& field = records_.Definition(i);
      if (IsGiven(field.name)) continue;
      if (const FieldDef* const column = FindColumn(field.name)) {
        const bool may_be_long =
            column->kind == FieldKind::kText && column->size > 0 &&
            (field.kind != FieldKind::kText || field.size == 0 || field.size > column->size);
        fields_.push_back({AddColumn(*column), i, may_be_long ? column->size : 0});
      } else if (rule_.unknown_fields == UnknownFields::kRefuse) {
        Refuse(0, field.name, "there is no such field in " + std::string(rule_.table));
      }
    }
  }

  std::string InsertSql(std::string_view returning) const {
    std::string columns;
    std::string parameters;
    for (const std::string& name : names_) {
      const std::string_view comma = columns.empty() ? "" : ", ";
      columns.append(comma).append(name);
      parameters.append(comma).append(":").append(name);
    }
    return "INSERT INTO " + std::string(rule_.table) + " (" + columns + ") VALUES (" + parameters + ")" +
           std::string(returning);
  }

  void BindConstants() {
    for (std::size_t i = 0; i < rule_.constants.size(); ++i) {
      const Value& value = rule_.constants[i].second;
      if (std::holds_alternative<std::monostate>(value)) {
        statement_->BindNull(i);
      } else {
        statement_->Bind(i, value);
      }
    }
  }

  template <typename Execute>
  std::int64_t Run(std::size_t row, const Execute& execute) {
    const FieldColumn* binding = nullptr;
    try {
      if (row_number_) {
        const auto number = rule_.first_row_number + static_cast<std::int64_t>(row) - 1;
        statement_->Bind(*row_number_, Value(number));
      }
      for (const FieldColumn& column : fields_) {
        binding = &column;
        BindField(row, column);
      }
      binding = nullptr;
      return execute();
    } catch (const WriteRefused&) {
      throw;
    } catch (const Error& error) {
      Refuse(row, binding == nullptr ? FieldIn(error.what()) : NameOf(*binding), error.what());
    }
  }

  void BindField(std::size_t row, const FieldColumn& column) {
    if (column.most > 0 && !records_.IsNull(column.field)) CheckLength(row, column);
    statement_->Bind(column.parameter, records_, column.field);
  }

  void CheckLength(std::size_t row, const FieldColumn& column) const {
    const bool is_text = records_.Definition(column.field).kind == FieldKind::kText;
    const std::string converted = is_text ? std::string() : records_.AsText(column.field);
    const std::string_view text = is_text ? records_.AsTextView(column.field) : converted;
    if (text.size() <= column.most || CountCharacters(text) <= column.most) return;
    Refuse(row, NameOf(column), "the text is longer than " + std::to_string(column.most) + " characters");
  }

  const std::string& NameOf(const FieldColumn& column) const {
    return records_.Definition(column.field).name;
  }

  // The column that a database names as "table.column".
  std::string FieldIn(std::string_view message) const {
    const std::string table = std::string(rule_.table) + '.';
    std::size_t at = message.rfind(table);
    if (at == std::string_view::npos) return {};
    at += table.size();
    const std::size_t end = message.find_first_not_of("abcdefghijklmnopqrstuvwxyz_0123456789", at);
    return std::string(message.substr(at, end == std::string_view::npos ? end : end - at));
  }

  [[noreturn]] void Refuse(std::size_t row, std::string field, std::string message) const {
    throw WriteRefused({"", records_.Name(), row, std::move(field), std::move(message)});
  }

  RecordSet& records_;
  const TableRule& rule_;
  Columns columns_;
  std::vector<std::string> names_;  // of the columns, in the order of the statement's parameters
  std::vector<FieldKind> kinds_;
  std::optional<std::size_t> row_number_;
  std::vector<FieldColumn> fields_;
  std::optional<Statement> statement_;
};

}  // namespace

void InsertRecords(Database& database, RecordSet& records, const TableRule& rule) {
  TableWriter(database, records, rule).InsertAll();
}

void RequireOneRecord(const RecordSet& records) {
  if (records.RecordCount() == 1) return;
  throw WriteRefused(
      {"", records.Name(), 0, "", "must have one record, has " + std::to_string(records.RecordCount())});
}

std::int64_t InsertRecord(Database& database, RecordSet& records, const TableRule& rule) {
  RequireOneRecord(records);
  return TableWriter(database, records, rule, " RETURNING id").InsertOne();
}

}  // namespace mox

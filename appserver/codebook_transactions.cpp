#include "appserver/codebook_transactions.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>

#include "appserver/codebook.h"
#include "appserver/fold.h"
#include "appserver/row_uses.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/foundation/visible_text.h"

// Storing rows of codebooks and taking them away.

namespace mox {
namespace {

constexpr std::size_t kShownUsers = 3;
constexpr int kRefreshed = 2000;  // rows taken into an index by one transaction

// Statements that are run for many rows, each prepared once.
class Statements {
 public:
  explicit Statements(Database& database) : database_(database) {}

  void Query(const std::string& sql, std::span<const Value> values, RecordSet& answer) {
    std::string key = sql;
    for (const Value& value : values) key += static_cast<char>(value.index());
    const auto known = prepared_.find(key);
    if (known == prepared_.end()) {
      prepared_.emplace(std::move(key), database_.PrepareWith(sql, values)).first->second.ExecuteInto(answer);
    } else {
      for (std::size_t i = 0; i < values.size(); ++i) known->second.Bind(i, values[i]);
      known->second.ExecuteInto(answer);
    }
    if (!answer.IsEmpty()) answer.First();
  }

  std::vector<std::int64_t> Ids(const std::string& sql, std::span<const Value> values) {
    RecordSet found("ids");
    found.DefineField("id", FieldKind::kInteger);
    found.Open();
    Query(sql, values, found);
    std::vector<std::int64_t> ids;
    for (const RecordRow& row : found.Rows()) ids.push_back(row.AsInteger(0));
    return ids;
  }

 private:
  Database& database_;
  std::unordered_map<std::string, Statement> prepared_;
};

// Rows of one codebook that were sent.
class CodebookRows {
 public:
  CodebookRows(Database& database, const Codebook& codebook, const RecordSet& records)
      : database_(database),
        codebook_(codebook),
        records_(records),
        shape_(ShapeOf(database, codebook)),
        statements_(database) {
    for (std::size_t i = 0; i < records.FieldCount(); ++i) {
      const std::string& name = records.Definition(i).name;
      if (SameName(name, kVersionField)) {
        version_ = i;
        continue;
      }
      fields_.resize(shape_.fields.size());
      fields_[Require(name)] = i;
    }
    fields_.resize(shape_.fields.size());
    for (const std::string_view name : codebook.key) {
      const std::size_t field = shape_.IndexOf(name);
      if (IsGiven(field) || name == codebook.numbered || shape_.Rule(field).has_default) continue;
      Refuse(name, "is missing, and is a part of the key");
    }
  }

  const CodebookShape& shape() const { return shape_; }
  std::size_t row() const { return row_; }
  RecordRow Record() const { return records_.RowAt(row_ - 1); }

  template <typename Action>
  void ForEach(const Action& action) {
    for (row_ = 1; row_ <= records_.RowCount(); ++row_) action();
  }

  bool IsGiven(std::size_t field) const { return fields_[field].has_value(); }
  bool IsBlank(std::size_t field) const { return !fields_[field] || mox::IsBlank(Record(), *fields_[field]); }

  // As it is stored: a text without blanks at its ends, null for a blank one.
  Value ValueOf(std::size_t field) const {
    if (IsBlank(field)) return {};
    const FieldDef& column = shape_.fields[field];
    try {
      Value value = ConvertTo(column.kind, Record().AsVariant(*fields_[field]));
      if (auto* const text = std::get_if<std::string>(&value)) *text = TrimBlanks(*text);
      return value;
    } catch (const Error& error) {
      Refuse(column.name, error.what());
    }
  }
  std::string TextOf(std::size_t field) const {
    return IsBlank(field) ? std::string() : ToText(ValueOf(field));
  }
  std::string Version() const { return version_ ? Record().AsText(*version_) : std::string(); }

  [[noreturn]] void Refuse(std::string_view field, std::string message) const {
    throw WriteRefused({"", std::string(codebook_.name), row_, std::string(field), std::move(message)});
  }

  // The row that the key names; none where there is no such row, or the key is blank.
  std::optional<std::int64_t> FindByKey() {
    std::string where;
    std::vector<Value> values;
    bool is_blank = true;
    for (const std::string_view name : codebook_.key) {
      const std::size_t field = shape_.IndexOf(name);
      where += (where.empty() ? "WHERE " : " AND ") + Condition(field, values);
      is_blank = is_blank && IsBlank(field);
    }
    if (is_blank) return std::nullopt;
    const std::vector<std::int64_t> found =
        statements_.Ids("SELECT t.id FROM " + shape_.from + ' ' + where + " ORDER BY t.id LIMIT 2", values);
    if (found.size() > 1) Refuse(codebook_.key.front(), "several rows have the key \"" + Key() + '"');
    return found.empty() ? std::nullopt : std::optional(found.front());
  }

  std::string Key() const {
    std::string key;
    for (const std::string_view name : codebook_.key) {
      key += (name == codebook_.key.front() ? "" : ";") + PlainText(ValueOf(shape_.IndexOf(name)));
    }
    return key;
  }

  // The key of a stored row.
  std::string StoredKey(std::int64_t id) {
    RecordSet key("key");
    std::string sql;
    for (const std::string_view name : codebook_.key) {
      const std::size_t field = shape_.IndexOf(name);
      key.DefineField(shape_.fields[field]);
      sql += (sql.empty() ? "SELECT " : ", ") + shape_.expressions[field];
    }
    key.Open();
    statements_.Query(sql + " FROM " + shape_.from + " WHERE t.id = :id", std::vector<Value>{id}, key);
    return KeyOf(shape_, key);
  }

  // Runs a statement that answers the id of the row that it wrote.
  std::int64_t Write(const std::string& sql, std::span<const Value> values) {
    return statements_.Ids(sql + " RETURNING id", values).front();
  }

  // The stored row as it is read.
  RecordSet Stored(std::int64_t id) const {
    RecordSet row = EmptyAnswer(shape_);
    AppendRows(database_, shape_, "WHERE t.id = :id", std::vector<Value>{id}, row);
    row.First();
    return row;
  }

 private:
  std::size_t Require(const std::string& name) const {
    try {
      return shape_.IndexOf(name);
    } catch (const Error&) {
      Refuse(name, "there is no such column; the codebook has " + std::to_string(shape_.fields.size()) +
                       " others, see mox codebook " + std::string(codebook_.name) + " --columns");
    }
  }

  // A row's field is the value, by its code or by its name.
  std::string Condition(std::size_t field, std::vector<Value>& values) const {
    const std::string& expression = shape_.expressions[field];
    const CodebookField& rule = shape_.Rule(field);
    if (IsBlank(field)) {
      if (rule.has_default && shape_.fields[field].kind == FieldKind::kBoolean) return "NOT " + expression;
      return expression + " IS NULL";
    }
    const auto parameter = [&](Value value) {
      values.push_back(std::move(value));
      return ":key" + std::to_string(values.size());
    };
    if (shape_.fields[field].kind != FieldKind::kText) return expression + " = " + parameter(ValueOf(field));
    const std::vector<std::string> keys = FoldKeys(TextOf(field));
    const auto in = [&](const std::string& column) {
      std::string list;
      for (const std::string& key : keys) list += (list.empty() ? "" : ", ") + parameter(key);
      return "fold(" + column + ") IN (" + list + ")";
    };
    const std::string same = in(expression);
    if (rule.or_column.empty()) return same;
    const std::string alias = expression.substr(0, expression.find('.') + 1);
    return "(" + same + " OR " + in(alias + std::string(rule.or_column)) + ")";
  }

  Database& database_;
  const Codebook& codebook_;
  const RecordSet& records_;
  CodebookShape shape_;
  std::vector<std::optional<std::size_t>> fields_;  // of the sent set, by those of the shape
  std::optional<std::size_t> version_;
  std::size_t row_ = 0;  // the one that is stored or taken away, from 1
  Statements statements_;
};

// A column that refers to another table, and how its rows are found: first by code, then by name.
class ReferenceFinder {
 public:
  ReferenceFinder(Database& database, const CodebookShape& shape, std::size_t field,
                  const RecordSet& records) {
    const CodebookField& rule = shape.Rule(field);
    column_ = rule.reference;
    rules_.reserve(2);
    for (const KeyRule& special : shape.codebook->rules) {
      if (special.column == rule.reference) rules_.push_back(special);
    }
    if (rules_.empty()) {
      rules_.push_back({rule.reference, shape.tables[field], {{rule.column, rule.name}}});
      if (!rule.or_column.empty()) {
        rules_.front().may_be_unknown = true;
        rules_.push_back({rule.reference, shape.tables[field], {{rule.or_column, rule.name}}});
      }
    }
    for (const KeyRule& key : rules_) finders_.push_back(std::make_unique<KeyFinder>(database, records, key));
  }

  std::string_view column() const { return column_; }
  bool IsGiven() const { return finders_.front()->HasFields(); }
  // Null where all of its fields are blank.
  Value Find(const RecordRow& record, std::size_t row) {
    for (const auto& finder : finders_) {
      if (const auto id = finder->Find(record, row)) return *id;
    }
    return {};
  }

 private:
  std::string_view column_;
  std::vector<KeyRule> rules_;
  std::vector<std::unique_ptr<KeyFinder>> finders_;
};

class CodebookWriter {
 public:
  CodebookWriter(Database& database, const Codebook& codebook, const RecordSet& records)
      : codebook_(codebook), rows_(database, codebook, records) {
    const CodebookShape& shape = rows_.shape();
    if (!codebook.numbered.empty()) numbering_.emplace(database, codebook);
    for (const std::string_view column : codebook.unique) {
      unique_.emplace_back(database, codebook, column);
    }
    for (std::size_t i = 0; i < shape.fields.size(); ++i) {
      const std::string_view reference = shape.Rule(i).reference;
      const auto same = [reference](const auto& finder) { return finder->column() == reference; };
      if (reference.empty() || std::any_of(references_.begin(), references_.end(), same)) continue;
      references_.push_back(std::make_unique<ReferenceFinder>(database, shape, i, records));
    }
  }

  void StoreAll(RecordSet& stored) {
    rows_.ForEach([&] {
      bool is_new = false;
      const std::int64_t id = StoreRow(is_new);
      stored.AppendRecord({std::string(codebook_.name), rows_.StoredKey(id), is_new});
    });
  }

 private:
  struct Column {
    std::string name;
    Value value;
  };

  std::int64_t StoreRow(bool& is_new) {
    const std::optional<std::int64_t> id = FindRow();
    if (id) CheckNamedOnce(*id);
    CheckVersion(id);
    CheckUnique(id.value_or(0));
    const std::vector<Column> columns = Columns(!id);
    is_new = !id;
    try {
      const std::int64_t written = id ? Update(*id, columns) : Insert(columns);
      stored_from_.emplace(written, rows_.row());
      return written;
    } catch (const WriteRefused&) {
      throw;
    } catch (const Error& error) {
      rows_.Refuse("", error.what());
    }
  }

  // By the key, or where it is blank by another column of which each row has its own.
  std::optional<std::int64_t> FindRow() {
    if (const auto id = rows_.FindByKey()) return id;
    const std::size_t key = rows_.shape().IndexOf(codebook_.key.front());
    if (!rows_.IsBlank(key)) return std::nullopt;
    for (UniqueCheck& check : unique_) {
      if (const auto id = check.Find(rows_.TextOf(rows_.shape().IndexOf(check.column())))) return id;
    }
    return std::nullopt;
  }

  // Of two rows for one stored row nobody can tell which holds.
  void CheckNamedOnce(std::int64_t id) const {
    const auto first = stored_from_.find(id);
    if (first == stored_from_.end()) return;
    std::string_view column = codebook_.key.front();
    std::string named = rows_.Key();
    for (const UniqueCheck& check : unique_) {
      if (!rows_.IsBlank(rows_.shape().IndexOf(column))) break;
      column = check.column();
      named = rows_.TextOf(rows_.shape().IndexOf(column));
    }
    rows_.Refuse(column, InQuotes(named) + " is that of row " + std::to_string(first->second) + ", too");
  }

  // What was read must still be what is stored.
  void CheckVersion(std::optional<std::int64_t> id) {
    const std::string version = rows_.Version();
    if (TrimBlanks(version).empty()) return;
    const std::string key = InQuotes(rows_.Key());
    if (!id) rows_.Refuse(codebook_.key.front(), key + " was taken away since it was read");
    const RecordSet stored = rows_.Stored(*id);
    if (stored.AsText(rows_.shape().fields.size()) == version) return;
    std::string both;
    for (std::size_t i = 0; i < rows_.shape().fields.size(); ++i) {
      if (!rows_.IsGiven(i) || rows_.ValueOf(i) == stored.AsVariant(i)) continue;
      both += (both.empty() ? " " : ", ") + rows_.shape().fields[i].name + " stored " +
              InQuotes(stored.AsText(i)) + ", sent " + InQuotes(rows_.TextOf(i));
    }
    rows_.Refuse(codebook_.key.front(), key + " was changed by somebody else since it was read:" +
                                            (both.empty() ? " in columns that were not sent" : both));
  }

  void CheckUnique(std::int64_t own_id) {
    for (UniqueCheck& check : unique_) {
      const std::string text = rows_.TextOf(rows_.shape().IndexOf(check.column()));
      if (const auto other = check.Find(text, own_id))
        rows_.Refuse(check.column(), InQuotes(text) + ' ' + check.Refusal(*other) + SentRow(*other));
    }
  }

  // ", of row 1" for what this very set stored; it may have got its code only then.
  std::string SentRow(std::int64_t id) const {
    const auto first = stored_from_.find(id);
    return first == stored_from_.end() ? "" : ", of row " + std::to_string(first->second);
  }

  // The columns to be written; of a new row those that have a value.
  std::vector<Column> Columns(bool is_new) {
    const CodebookShape& shape = rows_.shape();
    std::vector<Column> columns;
    for (std::size_t i = 0; i < shape.fields.size(); ++i) {
      const FieldDef& field = shape.fields[i];
      const CodebookField& rule = shape.Rule(i);
      if (!rows_.IsGiven(i) && !is_new) continue;
      Value value = rows_.ValueOf(i);
      const bool is_null = std::holds_alternative<std::monostate>(value);
      if (is_null && rule.name == codebook_.numbered) {
        if (!is_new) continue;
        value = numbering_->Next();
      } else if (is_null) {
        if (field.required || (rule.has_default && !is_new)) rows_.Refuse(field.name, "must not be empty");
        if (is_new) continue;
      }
      if (rule.reference.empty()) {
        CheckValue(field, rule, value);
        columns.push_back({field.name, std::move(value)});
      }
    }
    for (const auto& reference : references_) {
      if (!reference->IsGiven()) continue;
      Value id = reference->Find(rows_.Record(), rows_.row());
      if (is_new && std::holds_alternative<std::monostate>(id)) continue;
      columns.push_back({std::string(reference->column()), std::move(id)});
    }
    return columns;
  }

  void CheckValue(const FieldDef& field, const CodebookField& rule, const Value& value) const {
    if (std::holds_alternative<std::monostate>(value)) return;
    const auto* const text = std::get_if<std::string>(&value);
    if (text != nullptr && field.size > 0 && CountCharacters(*text) > field.size) {
      rows_.Refuse(field.name,
                   InQuotes(*text) + " is longer than " + std::to_string(field.size) + " characters");
    }
    if (const std::string fault = FaultOf(rule.check, value); !fault.empty()) {
      rows_.Refuse(field.name, InQuotes(PlainText(value)) + ": " + fault);
    }
  }

  std::int64_t Update(std::int64_t id, const std::vector<Column>& columns) {
    if (columns.empty()) return id;
    std::string sets;
    std::vector<Value> values;
    for (const Column& column : columns) {
      sets += (sets.empty() ? "" : ", ") + column.name + " = " + Parameter(column, values);
    }
    values.emplace_back(id);
    return rows_.Write("UPDATE " + std::string(codebook_.table) + " SET " + sets + " WHERE id = :own_id",
                       values);
  }

  std::int64_t Insert(const std::vector<Column>& columns) {
    if (columns.empty()) rows_.Refuse("", "there is nothing to store");
    std::string names;
    std::string parameters;
    std::vector<Value> values;
    for (const Column& column : columns) {
      names += (names.empty() ? "" : ", ") + column.name;
      parameters += (parameters.empty() ? "" : ", ") + Parameter(column, values);
    }
    return rows_.Write(
        "INSERT INTO " + std::string(codebook_.table) + " (" + names + ") VALUES (" + parameters + ")",
        values);
  }

  static std::string Parameter(const Column& column, std::vector<Value>& values) {
    if (std::holds_alternative<std::monostate>(column.value)) return "NULL";
    values.push_back(column.value);
    return ":" + column.name;
  }

  const Codebook& codebook_;
  CodebookRows rows_;
  std::optional<CodeNumbering> numbering_;
  std::vector<UniqueCheck> unique_;
  std::vector<std::unique_ptr<ReferenceFinder>> references_;
  std::unordered_map<std::int64_t, std::size_t> stored_from_;  // the sent row, by id
};

// --- taking away ---

// How people call a row of any table.
std::string NameOfRow(Database& database, const std::string& table, std::int64_t id) {
  if (const Codebook* const codebook = FindCodebookOf(table)) {
    const CodebookShape shape = ShapeOf(database, *codebook);
    RecordSet row = EmptyAnswer(shape);
    AppendRows(database, shape, "WHERE t.id = :id", std::vector<Value>{id}, row);
    row.First();
    return InQuotes(KeyOf(shape, row));
  }
  std::string document_key = table == "dok" ? "id" : "";
  for (const Reference& reference : database.References(table)) {
    if (reference.table == "dok" && document_key.empty()) document_key = reference.column;
  }
  if (!document_key.empty()) {
    const RecordSet document = database.Query(
        "dok", ParseColumns("naziv"),
        "SELECT d.vrsta || ' ' || CAST(d.broj AS VARCHAR(20)) || '/' || CAST(d.godina AS VARCHAR(20)) FROM "
        "dok d JOIN " +
            table + " u ON u." + document_key + " = d.id WHERE u.id = :id",
        {id});
    if (!document.IsEmpty()) return document.AsText(0);
  }
  return "id " + std::to_string(id);
}

// "dok: racun 1/2024, racun 2/2024 and 3 more"; empty where none of its rows uses the row.
std::string UsersIn(Database& database, const RowUse& use, std::int64_t key) {
  const std::size_t all = use.CountUsers(database, key);
  if (all == 0) return {};
  const Codebook* const codebook = FindCodebookOf(use.Table());
  std::string users = codebook == nullptr ? use.Table() : std::string(codebook->name);
  const RecordSet first = use.FirstUsers(database, key, kShownUsers);
  std::string_view separator = ": ";
  for (const RecordRow& row : first.Rows()) {
    users.append(separator).append(NameOfRow(database, use.Table(), row.AsInteger(0)));
    separator = ", ";
  }
  return all > kShownUsers ? users + " and " + std::to_string(all - kShownUsers) + " more" : users;
}

std::string UsersOf(Database& database, std::string_view table, std::int64_t key) {
  std::string users;
  for (const RowUse& use : UsesOf(database, table)) {
    const std::string more = UsersIn(database, use, key);
    users += (users.empty() || more.empty() ? "" : "; ") + more;
  }
  return users;
}

void DeleteRows(Database& database, const Codebook& codebook, const RecordSet& records) {
  CodebookRows rows(database, codebook, records);
  rows.ForEach([&] {
    const auto id = rows.FindByKey();
    if (!id) rows.Refuse(codebook.key.front(), "there is no " + InQuotes(rows.Key()));
    const std::string users = UsersOf(database, codebook.table, *id);
    if (!users.empty()) rows.Refuse(codebook.key.front(), InQuotes(rows.Key()) + " is used by " + users);
    database.Execute("DELETE FROM " + std::string(codebook.table) + " WHERE id = :id", {*id});
  });
}

// --- the transactions: record sets named as the codebooks, in the order in which they were sent ---

std::optional<RecordSet> StoreCodebooks(const NamedTransaction& /*transaction*/, Database& database,
                                        const SentRecordSets& sent) {
  RecordSet stored("Upisano");
  for (FieldDef& column : ParseColumns("sifarnik,kljuc,novi:boolean")) stored.DefineField(std::move(column));
  stored.Open();
  for (const RecordSet& records : sent.All()) {
    CodebookWriter(database, *FindCodebook(records.Name()), records).StoreAll(stored);
  }
  if (!stored.IsEmpty()) stored.First();
  RefreshSearchIndexes(database, kRefreshed);
  return stored;
}

std::optional<RecordSet> DeleteFromCodebooks(const NamedTransaction& /*transaction*/, Database& database,
                                             const SentRecordSets& sent) {
  for (const RecordSet& records : sent.All()) DeleteRows(database, *FindCodebook(records.Name()), records);
  return std::nullopt;
}

std::vector<RecordSetRule> EveryCodebook() {
  std::vector<RecordSetRule> rules;
  for (const Codebook& codebook : CodebookTable()) {
    rules.push_back(
        {.name = codebook.name, .table = {codebook.table}, .required = false, .right = codebook.right});
  }
  return rules;
}

}  // namespace

std::span<const NamedTransaction> CodebookTransactionTable() {
  static const NamedTransaction transactions[] = {
      {"KatalogUpis", Right::kMasterData,
       "inserts or changes rows of codebooks by their keys, only the columns that are sent", EveryCodebook(),
       StoreCodebooks},
      {"KatalogBrisanje", Right::kMasterData,
       "takes rows of codebooks away by their keys, which nothing may use", EveryCodebook(),
       DeleteFromCodebooks},
  };
  return transactions;
}

}  // namespace mox

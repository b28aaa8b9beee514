#include "appserver/table_writer.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_set>

#include "appserver/codebook.h"
#include "appserver/fold.h"
#include "appserver/known_texts.h"
#include "appserver/row_copy.h"
#include "appserver/rows_ahead.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::string_view kKey = "id";

// Where a row's value comes from: a field of the record set. A text longer than `most` characters does not
// fit; 0 is without a limit.
struct FieldColumn {
  std::size_t parameter;
  std::size_t field;
  std::size_t most;
  const FieldRule* rule;  // null where there is none
};

struct KeyColumn {
  std::size_t parameter;
  std::unique_ptr<KeyFinder> finder;
};

bool ParseYesOrNo(const std::string& text) {
  constexpr std::string_view kYes[] = {"da", "d", "true", "t", "1"};
  constexpr std::string_view kNo[] = {"ne", "n", "false", "f", "0"};
  const auto is = [word = TrimBlanks(text)](std::string_view known) { return SameName(word, known); };
  if (std::any_of(std::begin(kYes), std::end(kYes), is)) return true;
  if (std::any_of(std::begin(kNo), std::end(kNo), is)) return false;
  throw ConversionError('"' + text + "\" is neither yes nor no");
}

void RequireSmall(std::int64_t number) {
  if (number == static_cast<std::int32_t>(number)) return;
  throw Overflow("the number " + std::to_string(number) + " does not have 32 bits");
}

class TableWriter {
 public:
  TableWriter(Database& database, const RecordSet& records, const TableRule& rule,
              std::string_view returning = {})
      : database_(database), records_(records), rule_(rule), columns_(database.TableColumns(rule.table)) {
    if (columns_.empty()) throw Error("the database has no table \"" + std::string(rule.table) + "\"");
    MapConstants();
    MapFields();
    MapKeys(database);
    if (names_.empty()) Refuse(0, "", "there is nothing to store");
    MapUpdateKey();
    if (!update_field_) MapCodebook();
    statement_ = database.Prepare(update_field_ ? UpdateSql() : InsertSql(returning), kinds_);
    BindConstants();
  }

  void StoreAll(std::size_t most_refused) {
    most_refused_ = most_refused;
    if (records_.RowCount() >= kManyRows) {
      copy_ = update_field_ ? database_.ChangeTogether(rule_.table, names_, UpdateColumn())
                            : database_.CopyInto(rule_.table, names_);
    }
    if (copy_ != nullptr) {
      StoreTogether();
    } else {
      for (std::size_t row = 1; row <= records_.RowCount() && !IsRefusedEnough(); ++row) StoreAlone(row);
    }
    if (refused_) throw WriteRefused(std::move(*refused_));
  }

  /// What says why a row is refused, with all that it needs for that, is kept until the engine has answered.
  void StoreAhead(const std::shared_ptr<const TableWriter>& kept) {
    for (std::size_t row = 1; row <= records_.RowCount(); ++row) {
      const auto refused = [kept, row](const DatabaseError& error) {
        kept->Explain(kept->records_.RowAt(row - 1), row, error.what());
      };
      Run(records_.RowAt(row - 1), row, [&] {
        statement_->ExecuteAhead(refused);
        return std::int64_t{1};
      });
    }
    statement_.reset();  // for others
  }
  bool MayBeAhead() const { return !update_field_ && records_.RowCount() < kManyRows; }

  std::int64_t InsertOne() {
    return Run(records_.RowAt(0), 1, [this] { return statement_->ExecuteForKey(); });
  }

 private:
  static constexpr std::size_t kManyRows = 50;    // from which on it pays to store them together
  static constexpr std::size_t kPortion = 5'000;  // rows that are stored together

  bool IsRefusedEnough() const { return refused_ && refused_->others.size() + 1 >= most_refused_; }

  void StoreAlone(std::size_t row) {
    if (most_refused_ > 1) database_.KeepSoFar();
    NoteRefusal([&] { StoreRow(records_.RowAt(row - 1), row); });
  }

  template <typename Action>
  void NoteRefusal(const Action& action) {
    try {
      action();
    } catch (const WriteRefused& refusal) {
      const WriteFailure& failure = refusal.failure();
      if (!refused_) {
        refused_ = failure;
      } else {
        refused_->others.push_back({failure.row, failure.field, failure.message});
      }
    }
  }

  // Portion by portion. Of a row that is refused on the way the others of its portion are stored all the
  // same, so that as many are told as by storing one after the other.
  void StoreTogether() {
    BeginTogether();
    std::size_t row = 1;
    while (row <= records_.RowCount() && !IsRefusedEnough()) {
      const std::size_t begin = row;
      const std::size_t end = std::min(records_.RowCount() + 1, begin + kPortion);
      Foresee(begin - 1, end - 1);
      bool is_taken = true;
      for (; row < end && is_taken; ++row) is_taken = AddToCopy(row);
      const std::size_t taken = row - begin - (is_taken ? 0 : 1);
      const std::size_t stored = StoreCopy(taken);
      if (stored < taken) {
        row = begin + stored;
        StoreAlone(row++);
      } else if (!is_taken) {
        StoreAlone(row - 1);
      }
    }
  }

  void BeginTogether() {
    if (update_field_) known_.emplace(database_, rule_.table, UpdateColumn());
    if (unique_.empty() && !numbering_) return;
    std::vector<std::pair<std::size_t, std::string>> unique;
    for (const UniqueField& field : unique_) unique.emplace_back(field.field, field.check.column());
    ahead_.emplace(database_, *FindCodebookOf(rule_.table), unique, numbering_ ? numbering_->Highest() : "");
  }

  // Asks for all that the rows will be looked up by, in a few round trips.
  void Foresee(std::size_t begin, std::size_t end) {
    for (const KeyColumn& key : keys_) key.finder->Foresee(records_, begin, end);
    if (ahead_) ahead_->Foresee(records_, begin, end);
    if (!known_) return;
    std::vector<std::string> keys;
    for (std::size_t row = begin; row < end; ++row) {
      keys.push_back(FoldKey(records_.RowAt(row).AsText(*update_field_)));
    }
    known_->Ask(keys);
  }

  // What a row alone is needed for: to say why it is refused, and where its key was in the copy already.
  bool MustBeAlone(const RecordRow& record) {
    if (ahead_) return ahead_->MayBeTaken(record);
    if (!known_) return false;
    const std::string key = FoldKey(record.AsText(*update_field_));
    return !known_->Has(key) || !in_copy_.insert(key).second;
  }

  // False where the row cannot be stored, which it says when it is stored alone.
  bool AddToCopy(std::size_t row) {
    const RecordRow& record = records_.RowAt(row - 1);
    if (MustBeAlone(record)) return false;
    is_together_ = true;
    bool is_taken = true;
    try {
      Run(record, row, [this] {
        statement_->AddTo(*copy_);
        return std::int64_t{1};
      });
    } catch (const WriteRefused&) {
      is_taken = false;
    }
    is_together_ = false;
    return is_taken;
  }

  // Stores the rows of the copy up to the first that the engine refuses; answers how many that are.
  std::size_t StoreCopy(std::size_t rows) {
    in_copy_.clear();
    database_.KeepSoFar();
    try {
      copy_->Store();
      return rows;
    } catch (const DatabaseUnavailable&) {
      throw;
    } catch (const DatabaseError&) {
      const std::size_t good = copy_->FindRefused().value_or(0);
      copy_->Truncate(good);
      copy_->Store();
      copy_->Truncate(0);
      return good;
    }
  }

  const FieldDef& ColumnByName(std::string_view name) const {
    if (const FieldDef* const column = FindColumn(columns_, name)) return *column;
    throw Error("the table \"" + std::string(rule_.table) + "\" has no column \"" + std::string(name) + "\"");
  }

  // Fields that go nowhere, or not as they are.
  bool IsGiven(std::string_view name) const {
    const auto same = [name](const auto& constant) { return SameName(constant.first, name); };
    const auto is = [name](std::string_view ignored) { return SameName(ignored, name); };
    return SameName(name, kKey) || SameName(name, rule_.row_number) || SameName(name, rule_.update_by) ||
           std::any_of(rule_.constants.begin(), rule_.constants.end(), same) ||
           std::any_of(rule_.ignored.begin(), rule_.ignored.end(), is) ||
           FindColumn(rule_.told, name) != nullptr;
  }

  const FieldRule* FindFieldRule(std::string_view name) const {
    const auto same = [name](const FieldRule& rule) { return SameName(rule.field, name); };
    const auto found = std::find_if(rule_.fields.begin(), rule_.fields.end(), same);
    return found == rule_.fields.end() ? nullptr : &*found;
  }

  bool NamesAKey(std::string_view name) const {
    const auto same = [name](const KeyPart& part) { return SameName(part.field, name); };
    return std::any_of(rule_.keys.begin(), rule_.keys.end(), [&](const KeyRule& key) {
      return std::any_of(key.parts.begin(), key.parts.end(), same);
    });
  }

  std::size_t AddColumn(const FieldDef& column) {
    if (std::find(names_.begin(), names_.end(), column.name) != names_.end()) {
      Refuse(0, column.name, "has more than one field");
    }
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
      const FieldRule* const rule = FindFieldRule(field.name);
      if (IsGiven(field.name) || (rule == nullptr && NamesAKey(field.name))) continue;
      const bool renamed = rule != nullptr && !rule->column.empty();
      if (const FieldDef* const column = FindColumn(columns_, renamed ? rule->column : field.name)) {
        const bool may_be_long =
            column->kind == FieldKind::kText && column->size > 0 &&
            (field.kind != FieldKind::kText || field.size == 0 || field.size > column->size);
        fields_.push_back({AddColumn(*column), i, may_be_long ? column->size : 0, rule});
      } else if (rule_.unknown_fields == UnknownFields::kRefuse) {
        Refuse(0, field.name, "there is no such field in " + std::string(rule_.table));
      }
    }
  }

  void MapKeys(Database& database) {
    for (const KeyRule& key : rule_.keys) {
      auto finder = std::make_unique<KeyFinder>(database, records_, key);
      if (!finder->HasFields()) continue;
      keys_.push_back({AddColumn(ColumnByName(key.column)), std::move(finder)});
    }
  }

  // The parameter behind those of the columns.
  void MapUpdateKey() {
    if (rule_.update_by.empty()) return;
    update_field_ = records_.FindFieldIndex(rule_.update_by);
    if (!update_field_) Refuse(0, std::string(rule_.update_by), "is missing");
    kinds_.push_back(FieldKind::kText);
  }

  // Of a codebook's new rows none has a text that another one has for its own, and each has its code.
  void MapCodebook() {
    const Codebook* const codebook = FindCodebookOf(rule_.table);
    if (codebook == nullptr) return;
    const auto field_of = [&](std::string_view column) {
      return std::find_if(fields_.begin(), fields_.end(),
                          [&](const FieldColumn& field) { return names_[field.parameter] == column; });
    };
    for (const std::string_view column : codebook->unique) {
      if (const auto field = field_of(column); field != fields_.end()) {
        unique_.push_back({field->field, UniqueCheck(database_, *codebook, column)});
      }
    }
    if (codebook->numbered.empty()) return;
    numbering_.emplace(database_, *codebook);
    const auto field = field_of(codebook->numbered);
    if (field != fields_.end()) numbered_field_ = field->field;
    numbered_ = field == fields_.end() ? AddColumn(ColumnByName(codebook->numbered)) : field->parameter;
  }

  void CheckUnique(const RecordRow& record, std::size_t row) {
    for (auto& [field, check] : unique_) {
      const std::string text = IsBlank(record, field) ? std::string() : record.AsText(field);
      if (const auto other = check.Find(text)) {
        Refuse(row, records_.Definition(field).name, '"' + text + "\" " + check.Refusal(*other));
      }
    }
  }

  const std::string& UpdateColumn() const { return ColumnByName(rule_.update_by).name; }

  std::string UpdateSql() const {
    std::string columns;
    for (const std::string& name : names_) {
      columns += (columns.empty() ? "" : ", ") + name + " = COALESCE(:" + name + ", " + name + ')';
    }
    return "UPDATE " + std::string(rule_.table) + " SET " + columns + " WHERE fold(" + UpdateColumn() +
           ") = :update_key";
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
      statement_->Bind(i, rule_.constants[i].second);
    }
  }

  void StoreRow(const RecordRow& record, std::size_t row) {
    if (Run(record, row, [this] { return statement_->Execute(); }) > 0) return;
    const std::string text = '"' + record.AsText(*update_field_) + '"';
    Refuse(row, records_.Definition(*update_field_).name,
           std::string(rule_.table) + " has no row with " + std::string(rule_.update_by) + ' ' + text);
  }

  template <typename Execute>
  std::int64_t Run(const RecordRow& record, std::size_t row, const Execute& execute) {
    const FieldColumn* binding = nullptr;
    try {
      if (row_number_) {
        const auto number = rule_.first_row_number + static_cast<std::int64_t>(row) - 1;
        statement_->Bind(*row_number_, Value(number));
      }
      for (const FieldColumn& column : fields_) {
        binding = &column;
        BindField(record, row, column);
      }
      binding = nullptr;
      for (const KeyColumn& key : keys_) BindKey(record, row, key);
      if (update_field_) BindUpdateKey(record, row);
      if (!is_together_) CheckUnique(record, row);
      const std::string code = BindCode(record);
      const std::int64_t done = execute();
      if (ahead_) ahead_->Take(record, code);
      return done;
    } catch (const WriteRefused&) {
      throw;
    } catch (const DatabaseUnavailable&) {
      throw;  // the engine may have ended the transaction: no further row is to be tried
    } catch (const Error& error) {
      if (binding != nullptr) Refuse(row, NameOf(*binding), error.what());
      Explain(record, row, error.what());
    }
  }

  [[noreturn]] void Explain(const RecordRow& record, std::size_t row, const char* why) const {
    RefuseBrokenReference(record, row);
    RefuseDouble(record, row, why);
    Refuse(row, FieldIn(why), why);
  }

  // Answers the code of the row, empty in a table without.
  std::string BindCode(const RecordRow& record) {
    if (!numbered_) return {};
    if (numbered_field_ && !IsBlank(record, *numbered_field_)) return record.AsText(*numbered_field_);
    std::string code = is_together_ ? ahead_->NextCode() : numbering_->Next();
    statement_->BindText(*numbered_, code);
    return code;
  }

  void BindField(const RecordRow& record, std::size_t row, const FieldColumn& column) {
    if (rule_.blank_is_null && IsBlank(record, column.field)) {
      return statement_->Bind(column.parameter, column.rule == nullptr ? Value() : column.rule->when_blank);
    }
    if (column.rule != nullptr && column.rule->yes_or_no) {
      return statement_->Bind(column.parameter, ParseYesOrNo(record.AsText(column.field)));
    }
    if (column.most > 0 && !record.IsNull(column.field)) CheckLength(record, row, column);
    if (column.rule != nullptr && column.rule->is_small && !record.IsNull(column.field))
      RequireSmall(ToInteger(record.AsVariant(column.field)));
    statement_->Bind(column.parameter, record, column.field);
  }

  void BindKey(const RecordRow& record, std::size_t row, const KeyColumn& key) {
    const std::optional<std::int64_t> id = key.finder->Find(record, row);
    statement_->Bind(key.parameter, id ? Value(*id) : Value());
  }

  void BindUpdateKey(const RecordRow& record, std::size_t row) {
    if (IsBlank(record, *update_field_)) Refuse(row, std::string(rule_.update_by), "must not be empty");
    statement_->BindText(names_.size(), FoldKey(record.AsText(*update_field_)));
  }

  void CheckLength(const RecordRow& record, std::size_t row, const FieldColumn& column) const {
    const bool is_text = records_.Definition(column.field).kind == FieldKind::kText;
    const std::string converted = is_text ? std::string() : record.AsText(column.field);
    const std::string_view text = is_text ? record.AsTextView(column.field) : converted;
    if (text.size() <= column.most || CountCharacters(text) <= column.most) return;
    Refuse(row, NameOf(column), "the text is longer than " + std::to_string(column.most) + " characters");
  }

  const std::string& NameOf(const FieldColumn& column) const {
    return records_.Definition(column.field).name;
  }

  // The field of the column that a database names as "table.column".
  std::string FieldIn(std::string_view message) const {
    const std::string table = std::string(rule_.table) + '.';
    std::size_t at = message.rfind(table);
    if (at == std::string_view::npos) return {};
    at += table.size();
    const std::size_t end = message.find_first_not_of("abcdefghijklmnopqrstuvwxyz_0123456789", at);
    return FieldOf(std::string(message.substr(at, end == std::string_view::npos ? end : end - at)));
  }

  std::string FieldOf(const std::string& column) const {
    for (const FieldColumn& field : fields_) {
      if (names_[field.parameter] == column) return NameOf(field);
    }
    for (const KeyColumn& key : keys_) {
      if (names_[key.parameter] == column) return std::string(key.finder->rule().parts.front().field);
    }
    return column;
  }

  // An engine need not say which of the references of a row is broken.
  void RefuseBrokenReference(const RecordRow& record, std::size_t row) const {
    for (const Reference& reference : database_.References(rule_.table)) {
      for (const FieldColumn& field : fields_) {
        if (names_[field.parameter] != reference.column || IsBlank(record, field.field)) continue;
        const Value value = record.AsVariant(field.field);
        const std::string sql = "SELECT 1 FROM " + reference.table + " WHERE " + reference.key + " = :key";
        if (!database_.Query("found", ParseColumns("found:integer"), sql, {value}).IsEmpty()) continue;
        Refuse(row, NameOf(field),
               reference.table + " has no row with " + reference.key + " \"" + ToText(value) + '"');
      }
    }
  }

  // Where the database refused a row for the text or number of one column that another row has.
  void RefuseDouble(const RecordRow& record, std::size_t row, std::string_view message) const {
    const std::string table = std::string(rule_.table) + '.';
    if (message.find(table) != message.rfind(table)) return;  // several columns
    const std::string name = FieldIn(message);
    const auto field = std::find_if(fields_.begin(), fields_.end(),
                                    [&](const FieldColumn& column) { return NameOf(column) == name; });
    if (field == fields_.end() || IsBlank(record, field->field)) return;
    const Value value = record.AsVariant(field->field);
    const std::string text = '"' + ToText(value) + '"';
    for (std::size_t above = 1; above < row; ++above) {
      if (records_.RowAt(above - 1).AsText(field->field) == ToText(value)) {
        Refuse(row, name, text + " stands in row " + std::to_string(above) + " already");
      }
    }
    const std::string sql =
        "SELECT 1 FROM " + std::string(rule_.table) + " WHERE " + names_[field->parameter] + " = :value";
    if (database_.Query("found", ParseColumns("found:integer"), sql, {value}).IsEmpty()) return;
    Refuse(row, name, text + " is in the database already");
  }

  [[noreturn]] void Refuse(std::size_t row, std::string field, std::string message) const {
    throw WriteRefused({"", records_.Name(), row, std::move(field), std::move(message)});
  }

  Database& database_;
  const RecordSet& records_;
  const TableRule& rule_;
  Columns columns_;
  std::vector<std::string> names_;  // of the columns, in the order of the statement's parameters
  std::vector<FieldKind> kinds_;
  std::optional<std::size_t> row_number_;
  std::vector<FieldColumn> fields_;
  std::vector<KeyColumn> keys_;
  std::optional<std::size_t> update_field_;
  struct UniqueField {
    std::size_t field;
    UniqueCheck check;
  };
  std::vector<UniqueField> unique_;
  std::optional<CodeNumbering> numbering_;
  std::optional<std::size_t> numbered_;        // parameter
  std::optional<std::size_t> numbered_field_;  // where the records have one
  std::optional<Statement> statement_;
  std::unique_ptr<RowCopy> copy_;  // where rows are stored together
  bool is_together_ = false;       // a row that is added to it
  std::optional<RowsAhead> ahead_;
  std::optional<KnownTexts> known_;          // of the rows that are changed
  std::unordered_set<std::string> in_copy_;  // their keys
  std::size_t most_refused_ = 1;
  std::optional<WriteFailure> refused_;
};

RecordSet CloneOf(const RecordSet& given) {
  RecordSet clone(given.Name());
  clone.CleanClone(given);
  return clone;
}

// A writer that outlives what it was given.
struct OwnWriter {
  OwnWriter(Database& database, const RecordSet& given, const TableRule& by)
      : records(CloneOf(given)), rule(by), writer(database, records, rule) {}

  RecordSet records;
  TableRule rule;
  TableWriter writer;
};

}  // namespace

void StoreRecordsAhead(Database& database, const RecordSet& records, const TableRule& rule) {
  const auto own = std::make_shared<OwnWriter>(database, records, rule);
  if (!own->writer.MayBeAhead()) return own->writer.StoreAll(1);
  own->writer.StoreAhead({own, &own->writer});
}

void StoreRecords(Database& database, const RecordSet& records, const TableRule& rule,
                  std::size_t most_refused) {
  TableWriter(database, records, rule).StoreAll(most_refused);
}

void RequireOneRecord(const RecordSet& records) {
  if (records.RecordCount() == 1) return;
  throw WriteRefused(
      {"", records.Name(), 0, "", "must have one record, has " + std::to_string(records.RecordCount())});
}

std::int64_t InsertRecord(Database& database, const RecordSet& records, const TableRule& rule) {
  RequireOneRecord(records);
  return TableWriter(database, records, rule, " RETURNING id").InsertOne();
}

}  // namespace mox

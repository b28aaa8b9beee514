#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "mox/foundation/value_conversion.h"
#include "mox/foundation/write_and_post_internal.h"
#include "mox/record_tools/key_text_internal.h"
#include "mox/record_tools/record_tools.h"

namespace mox {
namespace {

// A field that both sets have.
struct Common {
  std::size_t field;
  std::size_t source;
};

std::vector<Common> CommonFields(const RecordSet& records, const RecordSet& other) {
  std::vector<Common> common;
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    if (const auto source = other.FindFieldIndex(records.Definition(i).name)) common.push_back({i, *source});
  }
  return common;
}

// The records by key as they shall be; other fields are null.
class Wanted {
 public:
  Wanted(const RecordSet& records, const RecordSet& other, const std::vector<Common>& common, FieldNames keys)
      : rows_(other.Name()) {
    for (std::size_t i = 0; i < records.FieldCount(); ++i) rows_.DefineField(records.Definition(i));
    rows_.Open();
    const std::vector<std::size_t> key_fields = FieldIndexes(rows_.Table(), keys);
    FieldIndexes(other.Table(), keys);
    for (const RecordRow& wanted : other.Table()) {
      std::vector<Value> values(records.FieldCount());
      for (const auto& [field, source] : common) values[field] = wanted.AsVariant(source);
      rows_.AppendRecord(values);
      if (!places_.emplace(KeyText(rows_.RowAt(values_.size()), key_fields), values_.size()).second) {
        throw Error("the record set \"" + other.Name() + "\" has a key twice");
      }
      values_.emplace_back();
      for (std::size_t i = 0; i < rows_.FieldCount(); ++i) values_.back().push_back(rows_.AsVariant(i));
      taken_.push_back(false);
    }
  }

  // Each can be taken once.
  const std::vector<Value>* Take(const std::string& key) {
    const auto place = places_.find(key);
    if (place == places_.end()) return nullptr;
    taken_[place->second] = true;
    return &values_[place->second];
  }
  std::vector<const std::vector<Value>*> NotTaken() const {
    std::vector<const std::vector<Value>*> rest;
    for (std::size_t i = 0; i < values_.size(); ++i) {
      if (!taken_[i]) rest.push_back(&values_[i]);
    }
    return rest;
  }

 private:
  RecordSet rows_;
  std::unordered_map<std::string, std::size_t> places_;
  std::vector<std::vector<Value>> values_;
  std::vector<bool> taken_;
};

void RequireKeysOnce(const RecordSet& records, FieldNames keys) {
  const RecordTable& rows = records.Table();
  const std::vector<std::size_t> fields = FieldIndexes(rows, keys);
  std::unordered_set<std::string> seen;
  for (const RecordRow& row : rows) {
    if (!seen.insert(KeyText(row, fields)).second)
      throw Error("the record set \"" + records.Name() + "\" has a key twice");
  }
}

// True where a value differed.
bool TakeOver(RecordSet& records, const std::vector<Common>& common, const std::vector<Value>& values) {
  const auto differs = [&](const Common& pair) {
    return records.AsVariant(pair.field) != values[pair.field];
  };
  if (std::none_of(common.begin(), common.end(), differs)) return false;
  records.Edit();
  WriteAndPost(records, [&] {
    for (const Common& pair : common) {
      if (!differs(pair)) continue;
      if (std::holds_alternative<std::monostate>(values[pair.field])) {
        records.SetNull(pair.field);
      } else {
        records.SetVariant(pair.field, values[pair.field]);
      }
    }
  });
  return true;
}

}  // namespace

RecordChanges SynchroniseRecords(RecordSet& records, const RecordSet& other, FieldNames keys) {
  const std::vector<Common> common = CommonFields(records, other);
  records.PostPending();
  RequireKeysOnce(records, keys);
  Wanted wanted(records, other, common, keys);

  WholeSetWalk walk(records);
  const std::vector<std::size_t> key_fields = FieldIndexes(records.Table(), keys);
  RecordChanges changes;
  for (records.First(); !records.Eof();) {
    if (const auto* const values = wanted.Take(KeyText(records.RowAt(records.CurrentRow()), key_fields))) {
      changes.changed += TakeOver(records, common, *values) ? 1 : 0;
      records.Next();
    } else {
      records.Delete();
      ++changes.removed;
      if (records.IsEmpty()) break;
    }
  }
  for (const std::vector<Value>* const values : wanted.NotTaken()) {
    records.AppendRecord(*values);
    ++changes.inserted;
  }
  walk.Restore();
  return changes;
}

}  // namespace mox

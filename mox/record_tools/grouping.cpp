#include <unordered_map>
#include <vector>

#include "mox/foundation/exchange_text.h"
#include "mox/foundation/real.h"
#include "mox/record_tools/key_text_internal.h"
#include "mox/record_tools/record_tools.h"

namespace mox {
namespace {

// A sum in the kind of its field. Integers are counted as whole amounts would be, in 64 bits.
class Sum {
 public:
  explicit Sum(const FieldDef& field) : kind_(field.kind) {
    if (kind_ != FieldKind::kInteger && kind_ != FieldKind::kFloat && kind_ != FieldKind::kCurrency) {
      throw ConversionError("the field \"" + field.name + "\" is no number");
    }
  }

  void Add(const RecordRow& record, std::size_t field) {
    if (kind_ == FieldKind::kFloat) {
      float_ += static_cast<long double>(record.AsFloat(field));
    } else if (kind_ == FieldKind::kCurrency) {
      currency_ += record.AsCurrency(field);
    } else if (__builtin_add_overflow(integer_, record.AsInteger(field), &integer_)) {
      throw Overflow("the sum of \"" + record.Definition(field).name + "\" is too large");
    }
  }

  Value Total() const {
    if (kind_ == FieldKind::kFloat) return static_cast<double>(float_);
    if (kind_ == FieldKind::kCurrency) return currency_;
    return integer_;
  }

 private:
  FieldKind kind_;
  Currency currency_;
  std::int64_t integer_ = 0;
  long double float_ = 0;
};

struct Group {
  std::vector<Value> keys;
  std::vector<Sum> sums;
  std::int64_t count = 0;
};

}  // namespace

RecordSet GroupRecords(const RecordSet& records, FieldNames keys, FieldNames sums, std::string_view count) {
  const RecordTable& rows = records.Table();
  const std::vector<std::size_t> key_fields = FieldIndexes(rows, keys);
  const std::vector<std::size_t> sum_fields = FieldIndexes(rows, sums);
  std::vector<Sum> zeros;
  zeros.reserve(sum_fields.size());
  for (const std::size_t field : sum_fields) zeros.emplace_back(records.Definition(field));

  std::vector<Group> groups;
  std::unordered_map<std::string, std::size_t> places;
  for (const RecordRow& row : rows) {
    const auto [place, is_new] = places.emplace(KeyText(row, key_fields), groups.size());
    if (is_new) {
      groups.push_back({{}, zeros});
      for (const std::size_t field : key_fields) groups.back().keys.push_back(row.AsVariant(field));
    }
    Group& group = groups[place->second];
    for (std::size_t s = 0; s < sum_fields.size(); ++s) group.sums[s].Add(row, sum_fields[s]);
    ++group.count;
  }

  RecordSet grouped(records.Name());
  for (const std::size_t field : key_fields) grouped.DefineField(records.Definition(field));
  for (const std::size_t field : sum_fields) grouped.DefineField(records.Definition(field));
  if (!count.empty()) grouped.DefineField(count, FieldKind::kInteger);
  grouped.Open();
  for (Group& group : groups) {
    for (const Sum& sum : group.sums) group.keys.push_back(sum.Total());
    if (!count.empty()) group.keys.emplace_back(group.count);
    grouped.AppendRecord(group.keys);
  }
  if (!grouped.IsEmpty()) grouped.First();
  return grouped;
}

Value SumField(const RecordSet& records, std::string_view field) {
  const RecordTable& rows = records.Table();
  const std::size_t index = rows.IndexOf(field);
  Sum sum(records.Definition(index));
  for (const RecordRow& row : rows) sum.Add(row, index);
  return sum.Total();
}

}  // namespace mox

#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/named_values.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// A call of a member: its values, and the record sets that its fields are columns of.
class RecapCall {
 public:
  /// `second` is null where there is no second record set; then all fields are columns of the first.
  RecapCall(std::span<const NamedValue> values, RecordSet& lines, RecordSet* second)
      : values_(values), lines_(lines), second_(second) {}

  RecordSet& Lines() const { return lines_; }
  RecordSet* Second() const { return second_; }
  const std::string* Find(std::string_view name) const { return FindValue(values_, name); }
  const std::string& Text(std::string_view name) const { return *Find(name); }
  int Integer(std::string_view name) const;
  /// The column that an argument names. Raises Error that suggests near names for an unknown one.
  Field Column(std::string_view name) const { return ColumnOf(lines_, name); }
  /// The same for amounts and rates, of the first record set or the second; none where the argument is not
  /// given. Raises Error for a column that does not hold numbers.
  std::optional<Field> Numbers(std::string_view name) const { return NumbersOf(lines_, name); }
  std::optional<Field> SecondNumbers(std::string_view name) const {
    return NumbersOf(second_ != nullptr ? *second_ : lines_, name);
  }

 private:
  Field ColumnOf(RecordSet& records, std::string_view name) const;
  std::optional<Field> NumbersOf(RecordSet& records, std::string_view name) const;

  std::span<const NamedValue> values_;
  RecordSet& lines_;
  RecordSet* second_;
};

/// One member of the recapitulation family.
struct RecapMember {
  enum class SecondFile { kNone, kOptional, kRequired };

  std::string_view name;
  std::vector<NamedArgument> arguments;
  SecondFile second_file;
  /// The fields of the recapitulation; without any, the member fills the second record set.
  std::vector<std::string_view> fields;
  void (*fill)(const RecapCall& call, RecordSet& recap);
  /// The fields that a member without arguments for them needs, of the first and of the second record set.
  std::vector<std::string_view> line_columns = {};
  std::vector<std::string_view> second_columns = {};
};

std::span<const RecapMember> RecapMembers();

/// Raises UsageError that suggests near names.
const RecapMember& FindRecapMember(std::string_view name);

/// Raises UsageError for values that the member cannot be called with.
void CheckRecapValues(const RecapMember& member, std::span<const NamedValue> values);

/// An open, empty record set with the fields of the member's recapitulation.
RecordSet DeclareRecap(const RecapMember& member);

}  // namespace mox

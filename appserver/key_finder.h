#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// Which rows a part of a look-up lets through, where its field has a value.
enum class Fit : std::uint8_t {
  kSame,        ///< rows with the field's value
  kSameOrNone,  ///< these, or else rows without any value
  kPreferred,   ///< all rows, those with the field's value first
};

struct KeyPart {
  std::string_view column;  ///< of the table; of a joined one with its name, "v.naziv"
  std::string_view field;   ///< of the record
  Fit fit = Fit::kSame;
};

/// How fields of a record name a row of another table, whose key goes to a column. Those that belong
/// together, such as a post code and a place, must name one row.
struct KeyRule {
  std::string_view column;
  std::string_view table;  ///< "t" in the SQL of the members below
  std::vector<KeyPart> parts;
  /// The order in which the first of several rows is taken; empty where several are refused.
  std::string_view first_by = {};
  std::string_view join = {};
  bool may_be_unknown = false;  ///< without a row the key is null
};

/// Finds the keys for the records of a set. Texts are matched without regard to letter case and to blanks at
/// their ends; a number finds a text of digits whatever zeros it begins with. The database is asked once for
/// each different value.
class KeyFinder {
 public:
  /// Database and rule must outlive the finder.
  KeyFinder(Database& database, const RecordSet& records, const KeyRule& rule);

  /// Whether the set has fields to look for.
  bool HasFields() const { return !parts_.empty() && parts_.front().rule->fit == Fit::kSame; }
  const KeyRule& rule() const { return rule_; }

  /// Asks for the keys of these records in one query for each thousand different values, so that most of them
  /// need not be asked for one by one.
  void Foresee(const RecordSet& records, std::size_t begin, std::size_t end);
  /// The key for a record, null where all fields are blank. Raises WriteRefused naming the row, which counts
  /// from 1, and a field where no row of the table has the values, or more than one.
  std::optional<std::int64_t> Find(const RecordRow& record, std::size_t row);

 private:
  struct Part {
    const KeyPart* rule;
    std::size_t field;
    FieldDef column;
  };
  using Keys = std::vector<std::vector<Value>>;  // for each part; none for one that is blank

  // Records that have the same parts, with what they are looked up by.
  struct Wanted {
    std::vector<std::string> values;
    std::vector<Keys> keys;
  };

  static std::vector<Value> KeysOf(const RecordRow& record, const Part& part);
  bool TakeValues(const RecordRow& record);
  std::size_t AskSome(const Wanted& wanted, std::size_t begin);
  std::string QueryOf(const Keys& shape, const std::string& rows) const;
  std::vector<std::int64_t> Ask(const Keys& keys);
  Statement Prepare(const Keys& keys) const;
  [[noreturn]] void Refuse(const RecordRow& record, std::size_t row, std::string_view found) const;

  Database& database_;
  std::string set_name_;
  const KeyRule& rule_;
  std::vector<Part> parts_;
  std::map<std::vector<std::size_t>, Statement> statements_;  // by the numbers of keys
  std::unordered_map<std::string, std::optional<std::int64_t>> known_;
  std::string values_;  // of the parts of the record that is looked for
};

/// Whether a record has no value there, or a text of blanks.
bool IsBlank(const RecordRow& record, std::size_t field);

}  // namespace mox

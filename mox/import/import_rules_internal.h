#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"
#include "mox/import/import_check.h"
#include "mox/import/text_set_internal.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// What a column asks of its cells, each rule in one place. A cell without a value is the empty text.
class ColumnRules {
 public:
  /// The field must outlive the rules.
  explicit ColumnRules(const ImportFieldDef& field);

  const ImportFieldDef& field() const { return *field_; }
  /// Flags are read when they are asked for. Raises ConversionError.
  bool Has(ImportPass pass) const;

  /// The answers of the database.
  void SetStored(ImportPass pass, const RecordSet& answer);

  /// Whether the database has the value, as a look-up or as uniqueness compares.
  bool IsKnown(std::string_view text) const { return IsKnown(text, known_.AskForSlot(text)); }
  bool IsKnown(std::string_view text, std::uint64_t hash) const;
  const TextSet& Known() const { return known_; }
  bool IsTaken(std::string_view text) const;
  /// Stores the value in a field of the current record, which is being edited or inserted. Answers why it
  /// could not, or what is wrong with it all the same; empty where all is well.
  std::string Store(std::string_view text, RecordSet& typed, std::size_t to) const;

 private:
  enum class Kind : std::uint8_t { kText, kNumber, kBoolean, kDate, kOther };

  static std::string LookupKey(std::string_view text);
  bool StoreConverted(std::string_view text, RecordSet& typed, std::size_t to) const;

  const ImportFieldDef* field_;
  Kind kind_;
  const LocaleSettings* locale_;
  TextSet known_;  // values both as they are and as they are compared
  TextSet taken_;  // as they are compared
};

/// UniqueKey into so many bytes as the text has.
inline void CopyUniqueKey(std::string_view text, char* key) {
  for (const char c : text) *key++ = c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

/// Of a cell that its pass found faulty; of the format it is that of a value of another kind.
std::string_view ReasonOf(ImportPass pass, const ImportFieldDef& field);

/// Whether a text has more characters than its field holds, where that has a limit; and how that is told.
bool IsLongerThan(std::size_t most, std::string_view text);
std::string LongerThanText(std::size_t most);

}  // namespace mox

#pragma GCC visibility pop

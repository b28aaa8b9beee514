#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "mox/foundation/record_set.h"

namespace mox {

// What screens, documents and the server do to whole record sets. Field names are compared without regard to
// case; one that is not there raises FieldNotFound. A set that is only read stays as it is, on its record and
// with its pending edit, which does not count; filtered out records count. A set that is written goes back to
// its record, and its controls are disabled meanwhile.

using FieldNames = std::span<const std::string_view>;

// --- grouping and summing ---

/// A new set with a record for each different combination of the key fields' values, in the order of their
/// first appearance: the key fields, the sums of the other fields, and the number of records in the integer
/// field `count`, where that has a name. Texts are the same letter for letter, null is the same as null. The
/// first record is current.
///
/// Sums of currencies and integers are exact and raise Overflow; those of floats are formed in extended
/// precision in the order of the records. Null counts as 0. Raises ConversionError for a field that is no
/// number.
RecordSet GroupRecords(const RecordSet& records, FieldNames keys, FieldNames sums,
                       std::string_view count = {});

/// The sum of a field over all records, in the field's kind, as GroupRecords forms it; 0 without records.
Value SumField(const RecordSet& records, std::string_view field);

// --- synchronising ---

struct RecordChanges {
  std::size_t inserted = 0;
  std::size_t changed = 0;
  std::size_t removed = 0;
  friend bool operator==(const RecordChanges&, const RecordChanges&) = default;
};

/// Brings a set in step with another: records whose key the other one does not have are removed, those with
/// the same key take its values where they differ, and the others' records are appended in their order. Only
/// fields that both sets have by name count; in a new record the rest are null, in an old one they stay. Only
/// records that differ are edited and posted.
///
/// Raises Error where either set has a key twice, ConversionError for a value that does not fit its field;
/// then nothing is changed.
RecordChanges SynchroniseRecords(RecordSet& records, const RecordSet& other, FieldNames keys);

// --- numbers, codes and defaults ---

/// Numbers the visible records in their order: first, first + 1, ... Only records whose number differs are
/// edited and posted.
void RenumberField(RecordSet& records, std::string_view field, std::int64_t first = 1);

/// Puts each value into the field of its name in all visible records where that is null.
void FillDefaults(RecordSet& records, std::span<const std::pair<std::string_view, Value>> defaults);

/// One more than the highest number of a field; 1 where there is none, or none above 0.
std::int64_t NextNumber(const RecordSet& records, std::string_view field);

/// The code after this one: its last digits counted on, as wide as they were with their zeros, "0009" to
/// "0010", "P-99" to "P-100"; a code without digits at its end gets a 1. What follows the empty code is "1".
std::string NextCode(std::string_view code);

/// Whether a code is one of those that are numbered on: of digits alone, and at most seven of them. Longer
/// ones are numbers of another sort, such as bar codes and identification numbers.
bool IsRunningCode(std::string_view code);

/// What follows the highest running code of a text field.
std::string NextCodeIn(const RecordSet& records, std::string_view field);

}  // namespace mox

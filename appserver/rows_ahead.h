#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "appserver/codebook.h"
#include "appserver/known_texts.h"

namespace mox {

/// New rows of a codebook that are stored together, while they are not in the database yet: texts that one
/// row alone may have, and the codes of rows without one. The database is asked once for many rows; meanwhile
/// nobody else changes the codebook.
class RowsAhead {
 public:
  /// `unique` are fields of the records and the codebook's columns to which they go; `highest` is the highest
  /// running code that a row has.
  RowsAhead(Database& database, const Codebook& codebook,
            const std::vector<std::pair<std::size_t, std::string>>& unique, std::string highest);

  /// Asks for the texts of these records.
  void Foresee(const RecordSet& records, std::size_t begin, std::size_t end);
  /// Whether another row may have one of the record's texts, in the database or ahead.
  bool MayBeTaken(const RecordRow& record) const;
  /// For a record without a code: what follows the highest running one.
  const std::string& NextCode();
  /// The record is stored, or ahead. `code` is the one that it has or was given, empty in a codebook without.
  void Take(const RecordRow& record, std::string_view code);

 private:
  struct Column {
    std::size_t field;
    bool is_code;  // the one that is numbered
    KnownTexts stored;
    std::unordered_set<std::string> ahead = {};
  };

  bool IsTaken(const std::string& code);

  std::string highest_;
  std::vector<Column> columns_;
  KnownTexts codes_;
  std::unordered_set<std::string> codes_ahead_;
  std::string last_;  // that was given behind the highest one
  std::string next_;  // empty where it is not known
  std::size_t at_once_ = 16;
};

}  // namespace mox

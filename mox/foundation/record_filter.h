#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mox/foundation/record_row.h"

namespace mox {

/// One comparison of a field with a text: `FIELD = 'text'` or `FIELD like '%text%'`.
class RecordFilter {
 public:
  /// Raises Error when the expression is not of one of the two forms.
  RecordFilter(std::string_view expression, bool case_insensitive);

  const std::string& expression() const { return expression_; }
  const std::string& field() const { return field_; }
  void SetFieldIndex(std::size_t index) { field_index_ = index; }  ///< where the set has the field
  bool Matches(const RecordRow& row) const;

 private:
  bool MatchesText(std::string_view text) const;

  std::string expression_;
  std::string field_;
  std::string text_;
  std::size_t field_index_ = 0;
  bool like_ = false;
  bool case_insensitive_ = false;
};

/// Whether a text fits a pattern in which % stands for any text and _ for one character.
bool MatchesPattern(std::string_view text, std::string_view pattern);

}  // namespace mox

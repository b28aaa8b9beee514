#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mox {

/// One comparison of a field with a text: `FIELD = 'text'` or `FIELD like '%text%'`.
class RecordFilter {
 public:
  /// Raises Error when the expression is not of one of the two forms.
  RecordFilter(std::string_view expression, bool case_insensitive);

  const std::string& expression() const { return expression_; }
  const std::string& field() const { return field_; }
  std::size_t field_index() const { return field_index_; }
  void SetFieldIndex(std::size_t index) { field_index_ = index; }  ///< where the set has the field
  bool Matches(std::string_view text) const;

 private:
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

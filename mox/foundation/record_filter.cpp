#include "mox/foundation/record_filter.h"

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// The field is a name, or any text in brackets.
std::string_view TakeField(std::string_view& rest) {
  const bool bracketed = !rest.empty() && rest.front() == '[';
  const std::size_t end = rest.find_first_of(bracketed ? "]" : " \t=");
  if (end == std::string_view::npos || end == 0) return {};
  const std::string_view field = bracketed ? rest.substr(1, end - 1) : rest.substr(0, end);
  rest = TrimBlanks(rest.substr(bracketed ? end + 1 : end));
  return field;
}

}  // namespace

RecordFilter::RecordFilter(std::string_view expression, bool case_insensitive)
    : expression_(expression), case_insensitive_(case_insensitive) {
  const auto refuse = [&] {
    throw Error("filter: \"" + expression_ + "\" is neither FIELD = 'text' nor FIELD like 'text'");
  };
  std::string_view rest = TrimBlanks(expression);
  field_ = TakeField(rest);
  if (field_.empty()) refuse();
  if (rest.starts_with("=")) {
    rest.remove_prefix(1);
  } else if (rest.size() > 4 && SameName(rest.substr(0, 4), "like")) {
    like_ = true;
    rest.remove_prefix(4);
  } else {
    refuse();
  }
  rest = TrimBlanks(rest);
  if (rest.size() < 2 || rest.front() != '\'' || rest.back() != '\'') refuse();
  rest = rest.substr(1, rest.size() - 2);
  for (std::size_t i = 0; i < rest.size(); ++i) {
    text_ += rest[i];
    if (rest.substr(i, 2) == "''") ++i;
  }
  if (case_insensitive_) text_ = FoldCase(text_);
}

bool RecordFilter::Matches(const RecordRow& row) const {
  return HoldsText(row.Definition(field_index_).kind) ? MatchesText(row.AsTextView(field_index_))
                                                      : MatchesText(row.AsText(field_index_));
}

bool RecordFilter::MatchesText(std::string_view text) const {
  if (!like_) return case_insensitive_ ? EqualsIgnoringCase(text, text_) : text == text_;
  return case_insensitive_ ? MatchesPattern(FoldCase(text), text_) : MatchesPattern(text, text_);
}

bool MatchesPattern(std::string_view text, std::string_view pattern) {
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t resume_pattern = std::string_view::npos;  // after the last % met
  std::size_t resume_text = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '%') {
      resume_pattern = ++p;
      resume_text = t;
    } else if (p < pattern.size() && pattern[p] == '_') {
      ++p;
      t += CutToCharacters(text.substr(t), 1).size();
    } else if (p < pattern.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else if (resume_pattern != std::string_view::npos) {
      p = resume_pattern;
      resume_text += CutToCharacters(text.substr(resume_text), 1).size();
      t = resume_text;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '%') ++p;
  return p == pattern.size();
}

}  // namespace mox

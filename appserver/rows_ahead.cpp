#include "appserver/rows_ahead.h"

#include <algorithm>
#include <utility>

#include "appserver/fold.h"
#include "appserver/key_finder.h"
#include "mox/foundation/text.h"
#include "mox/record_tools/record_tools.h"

namespace mox {
namespace {

// Whether a running code is behind another one, as codes are numbered on: "0012" is behind "12".
bool IsBehind(std::string_view code, std::string_view other) {
  const auto digits = [](std::string_view text) {
    return text.substr(std::min(text.find_first_not_of('0'), text.size()));
  };
  const std::string_view own = digits(code);
  const std::string_view others = digits(other);
  if (own.size() != others.size()) return own.size() > others.size();
  return own != others ? own > others : code.size() > other.size();
}

}  // namespace

RowsAhead::RowsAhead(Database& database, const Codebook& codebook,
                     const std::vector<std::pair<std::size_t, std::string>>& unique, std::string highest)
    : highest_(std::move(highest)), codes_(database, codebook.table, codebook.numbered) {
  columns_.reserve(unique.size());
  for (const auto& [field, column] : unique) {
    columns_.push_back({field, column == codebook.numbered, {database, codebook.table, column}});
  }
}

void RowsAhead::Foresee(const RecordSet& records, std::size_t begin, std::size_t end) {
  for (Column& column : columns_) {
    std::vector<std::string> keys;
    for (std::size_t row = begin; row < end; ++row) {
      const RecordRow& record = records.RowAt(row);
      if (IsBlank(record, column.field)) continue;
      for (std::string& key : FoldKeys(record.AsText(column.field))) keys.push_back(std::move(key));
    }
    column.stored.Ask(keys);
  }
}

bool RowsAhead::MayBeTaken(const RecordRow& record) const {
  return std::any_of(columns_.begin(), columns_.end(), [&](const Column& column) {
    if (IsBlank(record, column.field)) return false;
    const std::vector<std::string> keys = FoldKeys(record.AsText(column.field));
    return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
      return column.stored.Has(key) || column.ahead.contains(key) ||
             (column.is_code && codes_ahead_.contains(key));
    });
  });
}

// Codes are asked for some at once, as those that follow each other are wanted next.
bool RowsAhead::IsTaken(const std::string& code) {
  constexpr std::size_t kMostAtOnce = 1000;
  if (!codes_.WasAsked(FoldKey(code))) {
    std::vector<std::string> codes = {code};
    while (codes.size() < at_once_) codes.push_back(mox::NextCode(codes.back()));
    codes_.Ask(codes);
    at_once_ = std::min(2 * at_once_, kMostAtOnce);
  }
  return codes_.Has(code) || codes_ahead_.contains(code);
}

const std::string& RowsAhead::NextCode() {
  if (!next_.empty()) return next_;
  std::string code = last_.empty() ? highest_ : last_;
  do {
    code = mox::NextCode(code);
  } while (IsTaken(code));
  return next_ = std::move(code);
}

void RowsAhead::Take(const RecordRow& record, std::string_view code) {
  for (Column& column : columns_) {
    if (!IsBlank(record, column.field)) column.ahead.insert(FoldKey(record.AsText(column.field)));
  }
  if (code.empty()) return;
  codes_ahead_.insert(FoldKey(code));
  if (IsRunningCode(code) && (highest_.empty() || IsBehind(code, highest_))) {
    highest_ = code;
    last_.clear();
  } else if (code == next_) {
    last_ = code;
  }
  next_.clear();
}

}  // namespace mox

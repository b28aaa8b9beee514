#include "appserver/known_texts.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {

// One prepared statement for all portions; the last one is filled up with its last key.
void QueryForKeys(Database& database, const std::function<std::string(std::size_t count)>& sql_for,
                  FieldKind kind, const std::vector<std::string>& keys, RecordSet& answer) {
  constexpr std::size_t kPortion = 1000;
  if (keys.empty()) return;
  const std::size_t portion = std::min({keys.size(), kPortion, database.MostParameters()});
  Statement statement = database.Prepare(sql_for(portion), std::vector<FieldKind>(portion, kind));
  for (std::size_t begin = 0; begin < keys.size(); begin += portion) {
    for (std::size_t i = 0; i < portion; ++i) {
      const std::string& key = keys[std::min(begin + i, keys.size() - 1)];
      if (kind == FieldKind::kText) {
        statement.BindText(i, key);
      } else {
        statement.Bind(i, ParseNumber(key));
      }
    }
    statement.ExecuteInto(answer);
  }
}

std::string ParameterList(std::size_t count) {
  std::string list;
  for (std::size_t i = 0; i < count; ++i) list += (i == 0 ? ":k" : ", :k") + std::to_string(i);
  return list;
}

void KnownTexts::Ask(const std::vector<std::string>& keys) {
  std::vector<std::string> asked;
  for (const std::string& key : keys) {
    if (known_.emplace(key, false).second) asked.push_back(key);
  }
  RecordSet found;
  found.DefineField("k", FieldKind::kText);
  found.Open();
  const auto sql = [this](std::size_t count) {
    const std::string folded = "fold(" + column_ + ")";
    return "SELECT DISTINCT " + folded + " FROM " + table_ + " WHERE " + folded + " IN (" +
           ParameterList(count) + ")";
  };
  QueryForKeys(database_, sql, FieldKind::kText, asked, found);
  for (const RecordRow& row : found.Rows()) known_[std::string(row.AsTextView(0))] = true;
}

bool KnownTexts::Has(const std::string& key) const {
  const auto known = known_.find(key);
  return known != known_.end() && known->second;
}

}  // namespace mox

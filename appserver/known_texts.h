#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// Asks for many keys, a thousand in one round trip, and appends what is answered. `sql_for` makes the query
/// for so many parameters, which mean the same in any order. Texts are taken as they are, numbers have a
/// decimal point.
void QueryForKeys(Database& database, const std::function<std::string(std::size_t count)>& sql_for,
                  FieldKind kind, const std::vector<std::string>& keys, RecordSet& answer);

/// ":k0, :k1, ..." for the list of an IN.
std::string ParameterList(std::size_t count);

/// Which folded texts a column holds, asked for many at once and remembered.
class KnownTexts {
 public:
  KnownTexts(Database& database, std::string_view table, std::string_view column)
      : database_(database), table_(table), column_(column) {}

  /// Those that were not asked for yet.
  void Ask(const std::vector<std::string>& keys);
  bool WasAsked(const std::string& key) const { return known_.contains(key); }
  /// Whether a row has it, of one that was asked for.
  bool Has(const std::string& key) const;

 private:
  Database& database_;
  std::string table_;
  std::string column_;
  std::unordered_map<std::string, bool> known_;
};

}  // namespace mox

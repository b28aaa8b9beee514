#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// Keys of rows as runs without a gap, in ascending order.
class KeyRuns {
 public:
  using Run = std::pair<std::int64_t, std::int64_t>;  ///< first and last

  KeyRuns() = default;
  KeyRuns(std::int64_t first, std::int64_t last) : runs_({{first, last}}) {}
  /// Keys must come in ascending order.
  void Add(std::int64_t key);
  const std::vector<Run>& Runs() const { return runs_; }
  std::size_t Count() const;
  /// "12-15,20".
  std::string ToString() const;
  /// Raises FormatError for another text.
  static KeyRuns Parse(std::string_view text);

 private:
  std::vector<Run> runs_;
};

/// Digests that tell whether rows are still the same. They are no protection against intent.
class RowDigests {
 public:
  /// Of a table's columns, whose names are separated by commas.
  RowDigests(Database& database, std::string_view table, std::string_view columns);

  /// Calls the action for each key with the digest of its row, none where there is no such row any more.
  void ForEach(const KeyRuns& keys,
               const std::function<void(std::int64_t key, std::optional<std::uint64_t> digest)>& action);

 private:
  void Read(std::int64_t first, std::int64_t last);

  RecordSet rows_;
  Statement select_;
};

/// 16 hexadecimal digits.
std::string DigestText(std::uint64_t digest);

}  // namespace mox

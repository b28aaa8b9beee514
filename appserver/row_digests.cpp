#include "appserver/row_digests.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::int64_t kPortion = 2000;  // rows that are read at once

// The Fowler-Noll-Vo hash FNV-1a of 64 bits, https://datatracker.ietf.org/doc/draft-eastlake-fnv/.
class Hash {
 public:
  void Add(unsigned char byte) { state_ = (state_ ^ byte) * 0x100000001B3U; }
  void Add(std::string_view text) {
    for (const char c : text) Add(static_cast<unsigned char>(c));
  }
  std::uint64_t Value() const { return state_; }

 private:
  std::uint64_t state_ = 0xCBF29CE484222325U;
};

// Bytes that no text in UTF-8 has stand between the cells and for those without a value.
std::uint64_t DigestOf(const RecordRow& row) {
  constexpr unsigned char kEndOfCell = 0xFF;
  constexpr unsigned char kNull = 0xFE;
  Hash hash;
  for (std::size_t i = 1; i < row.FieldCount(); ++i) {
    if (row.IsNull(i)) {
      hash.Add(kNull);
    } else {
      hash.Add(row.AsTextView(i));
    }
    hash.Add(kEndOfCell);
  }
  return hash.Value();
}

// The key, and every other column as the database writes it as a text.
RecordSet RowsOf(std::string_view columns) {
  RecordSet rows("redci");
  rows.DefineField("id", FieldKind::kInteger);
  for (FieldDef& column : ParseColumns(columns)) rows.DefineField(std::move(column));
  rows.Open();
  return rows;
}

}  // namespace

void KeyRuns::Add(std::int64_t key) {
  if (!runs_.empty() && runs_.back().second + 1 == key) {
    runs_.back().second = key;
  } else {
    runs_.emplace_back(key, key);
  }
}

std::size_t KeyRuns::Count() const {
  std::size_t count = 0;
  for (const auto& [first, last] : runs_) count += static_cast<std::size_t>(last - first + 1);
  return count;
}

std::string KeyRuns::ToString() const {
  std::string text;
  for (const auto& [first, last] : runs_) {
    text += (text.empty() ? "" : ",") + std::to_string(first);
    if (last > first) text += "-" + std::to_string(last);
  }
  return text;
}

KeyRuns KeyRuns::Parse(std::string_view text) {
  KeyRuns keys;
  while (!text.empty()) {
    const std::string_view run = text.substr(0, text.find(','));
    text.remove_prefix(std::min(run.size() + 1, text.size()));
    const std::size_t dash = std::min(run.find('-'), run.size());
    const std::int64_t first = ParseInteger(run.substr(0, dash));
    keys.runs_.emplace_back(first, dash == run.size() ? first : ParseInteger(run.substr(dash + 1)));
  }
  return keys;
}

RowDigests::RowDigests(Database& database, std::string_view table, std::string_view columns)
    : rows_(RowsOf(columns)),
      select_(database.Prepare("SELECT id, " + std::string(columns) + " FROM " + std::string(table) +
                                   " WHERE id >= :first AND id <= :last ORDER BY id",
                               {FieldKind::kInteger, FieldKind::kInteger})) {}

// Runs that lie near each other are read in one go, with what lies between them.
void RowDigests::ForEach(
    const KeyRuns& keys,
    const std::function<void(std::int64_t key, std::optional<std::uint64_t> digest)>& action) {
  std::size_t next = 0;
  std::int64_t read_to = 0;
  for (auto run = keys.Runs().begin(); run != keys.Runs().end(); ++run) {
    for (std::int64_t key = run->first; key <= run->second; ++key) {
      if (key > read_to) {
        read_to = key + kPortion - 1;
        if (read_to > run->second) {
          auto last = run;
          while (last + 1 != keys.Runs().end() && (last + 1)->first <= read_to) ++last;
          read_to = std::min(read_to, last->second);
        }
        Read(key, read_to);
        next = 0;
      }
      while (next < rows_.RowCount() && rows_.RowAt(next).AsInteger(0) < key) ++next;
      const bool found = next < rows_.RowCount() && rows_.RowAt(next).AsInteger(0) == key;
      action(key, found ? std::optional(DigestOf(rows_.RowAt(next))) : std::nullopt);
    }
  }
}

void RowDigests::Read(std::int64_t first, std::int64_t last) {
  rows_.Clear();
  select_.Bind(0, Value(first));
  select_.Bind(1, Value(last));
  select_.ExecuteInto(rows_);
}

std::string DigestText(std::uint64_t digest) {
  std::array<char, 16> digits{};
  for (std::size_t i = digits.size(); i-- > 0; digest >>= 4U) digits[i] = "0123456789abcdef"[digest & 0xFU];
  return {digits.begin(), digits.end()};
}

}  // namespace mox

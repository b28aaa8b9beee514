#include <algorithm>

#include "mox/foundation/write_and_post_internal.h"
#include "mox/record_tools/key_text_internal.h"
#include "mox/record_tools/record_tools.h"

namespace mox {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::size_t kMostDigits = 7;

template <typename Change>
void ForEachRecord(RecordSet& records, const Change& change) {
  const ControlsGuard guard(records);
  SavedPosition position(records);
  for (records.First(); !records.Eof(); records.Next()) change();
  position.Restore();
}

// By its number, then by its width: "012" comes after "12".
bool IsLower(std::string_view a, std::string_view b) {
  const auto number = [](std::string_view code) {
    return code.substr(std::min(code.find_first_not_of('0'), code.size()));
  };
  const std::string_view left = number(a);
  const std::string_view right = number(b);
  if (left.size() != right.size()) return left.size() < right.size();
  return left == right ? a.size() < b.size() : left < right;
}

}  // namespace

void RenumberField(RecordSet& records, std::string_view field, std::int64_t first) {
  const std::size_t index = records.Table().IndexOf(field);
  std::int64_t number = first;
  ForEachRecord(records, [&] {
    if (records.IsNull(index) || records.AsInteger(index) != number) {
      records.Edit();
      WriteAndPost(records, [&] { records.SetInteger(index, number); });
    }
    ++number;
  });
}

void FillDefaults(RecordSet& records, std::span<const std::pair<std::string_view, Value>> defaults) {
  std::vector<std::size_t> fields;
  for (const auto& [name, value] : defaults) fields.push_back(records.Table().IndexOf(name));
  ForEachRecord(records, [&] {
    const auto is_null = [&](std::size_t field) { return records.IsNull(field); };
    if (std::none_of(fields.begin(), fields.end(), is_null)) return;
    records.Edit();
    WriteAndPost(records, [&] {
      for (std::size_t i = 0; i < fields.size(); ++i) {
        if (records.IsNull(fields[i])) records.SetVariant(fields[i], defaults[i].second);
      }
    });
  });
}

std::int64_t NextNumber(const RecordSet& records, std::string_view field) {
  const RecordTable& rows = records.Table();
  const std::size_t index = rows.IndexOf(field);
  std::int64_t highest = 0;
  for (const RecordRow& row : rows) highest = std::max(highest, row.AsInteger(index));
  if (highest == INT64_MAX) throw Overflow("there is no number after " + std::to_string(highest));
  return highest + 1;
}

std::string NextCode(std::string_view code) {
  const std::size_t stem = code.find_last_not_of(kDigits) + 1;  // 0 where there are only digits
  std::string next(code);
  for (std::size_t at = next.size(); at > stem; --at) {
    char& digit = next[at - 1];
    if (digit != '9') {
      ++digit;
      return next;
    }
    digit = '0';
  }
  next.insert(stem, 1, '1');
  return next;
}

bool IsRunningCode(std::string_view code) {
  return !code.empty() && code.size() <= kMostDigits &&
         code.find_first_not_of(kDigits) == std::string_view::npos;
}

std::string NextCodeIn(const RecordSet& records, std::string_view field) {
  const RecordTable& rows = records.Table();
  const std::size_t index = rows.IndexOf(field);
  std::string highest;
  for (const RecordRow& row : rows) {
    std::string code = row.AsText(index);
    if (IsRunningCode(code) && (highest.empty() || IsLower(highest, code))) highest = std::move(code);
  }
  return NextCode(highest);
}

}  // namespace mox

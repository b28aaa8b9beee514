#include "mox/foundation/exchange_text.h"
#include "mox/record_tools/key_text_internal.h"

namespace mox {

std::vector<std::size_t> FieldIndexes(const RecordTable& records, FieldNames names) {
  std::vector<std::size_t> indexes;
  for (const std::string_view name : names) indexes.push_back(records.IndexOf(name));
  return indexes;
}

std::string KeyText(const RecordRow& record, const std::vector<std::size_t>& fields) {
  std::string key;
  for (const std::size_t field : fields) {
    if (record.IsNull(field)) {
      key += 'n';
      continue;
    }
    const Value value = record.AsVariant(field);
    std::string text;
    if (const auto* const given = std::get_if<std::string>(&value)) {
      text = *given;
    } else {
      AppendPlain(text, value);  // 0 whatever its sign
    }
    key += 'v';
    AppendCounted(key, text);
  }
  return key;
}

}  // namespace mox

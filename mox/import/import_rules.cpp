#include <algorithm>
#include <cstdint>
#include <cstring>

#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_rules_internal.h"

namespace mox {
namespace {

// U+0080 to U+009F, in two bytes.
bool HasLateControlCharacter(std::string_view text) {
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    const auto next = static_cast<unsigned char>(text[i + 1]);
    if (text[i] == '\xC2' && next >= 0x80 && next < 0xA0) return true;
  }
  return false;
}

// Eight bytes of a text, in which control characters are looked for at once. A byte below n makes the high
// bit of (byte - n) & ~byte; a byte that is 0 after the difference to 0x7F is below 1.
class ControlCharacters {
 public:
  void Look(std::uint64_t bytes) {
    const std::uint64_t difference = bytes ^ (0x7F * kEach);
    found_ |= ((bytes - 0x20 * kEach) & ~bytes) | ((difference - kEach) & ~difference);
    all_ |= bytes;
  }
  bool AreThere() const { return (found_ & kHigh) != 0; }
  bool MayBeLate() const { return (all_ & kHigh) != 0; }

  static constexpr std::uint64_t kEach = 0x0101010101010101U;

 private:
  static constexpr std::uint64_t kHigh = 0x80 * kEach;
  std::uint64_t found_ = 0;
  std::uint64_t all_ = 0;
};

// So many bytes as the word has, behind blanks.
template <typename Word>
std::uint64_t BytesAt(const char* at) {
  Word word{};
  std::memcpy(&word, at, sizeof word);
  return word | (sizeof word < 8 ? 0x20 * ControlCharacters::kEach << (8 * sizeof word % 64) : 0);
}

// U+0000 to U+001F, U+007F and U+0080 to U+009F. Every cell is looked through, so none of its loads has a
// size that is known only then; the last ones of a text overlap.
bool HasControlCharacter(std::string_view text) {
  ControlCharacters looked;
  const char* at = text.data();
  std::size_t left = text.size();
  if (left >= 8) {
    for (; left > 8; left -= 8, at += 8) looked.Look(BytesAt<std::uint64_t>(at));
    looked.Look(BytesAt<std::uint64_t>(at + left - 8));
  } else if (left >= 4) {
    looked.Look(BytesAt<std::uint32_t>(at));
    looked.Look(BytesAt<std::uint32_t>(at + left - 4));
  } else {
    for (; left > 0; --left, ++at) looked.Look(BytesAt<std::uint8_t>(at));
  }
  return looked.AreThere() || (looked.MayBeLate() && HasLateControlCharacter(text));
}

}  // namespace

bool IsLongerThan(std::size_t most, std::string_view text) {
  return most > 0 && text.size() > most && CountCharacters(text) > most;
}

std::string LongerThanText(std::size_t most) {
  return "is longer than " + std::to_string(most) + " characters";
}

bool ColumnRules::IsTaken(std::string_view text) const {
  if (taken_.IsEmpty()) return false;
  char key[256];
  if (text.size() > sizeof key) return taken_.Contains(UniqueKey(text));
  CopyUniqueKey(text, key);
  return taken_.Contains({key, text.size()});
}

std::string ColumnRules::LookupKey(std::string_view text) { return FoldCase(TrimBlanks(text)); }

std::string_view ReasonOf(ImportPass pass, const ImportFieldDef& field) {
  switch (pass) {
    case ImportPass::kRequired:
      return "is required";
    case ImportPass::kLookup:
      return "is not in the database";
    case ImportPass::kUnique:
      return "is in the database already";
    case ImportPass::kStore:
      return "is refused by the server";
    case ImportPass::kFormat:
      break;
  }
  if (field.field_type == field_type::kDate) return "is not a date";
  if (field.field_type == field_type::kBoolean) return "is not true or false";
  return field.field_type == field_type::kText ? "has a control character" : "is not a number";
}

ColumnRules::ColumnRules(const ImportFieldDef& field)
    : field_(&field), kind_(Kind::kOther), locale_(&CurrentLocale()) {
  if (field.field_type == field_type::kText) kind_ = Kind::kText;
  if (field.field_type == field_type::kFloat) kind_ = Kind::kNumber;
  if (field.field_type == field_type::kBoolean) kind_ = Kind::kBoolean;
  if (field.field_type == field_type::kDate) kind_ = Kind::kDate;
}

bool ColumnRules::Has(ImportPass pass) const {
  switch (pass) {
    case ImportPass::kRequired:
      return ToBoolean(field_->required);
    case ImportPass::kLookup:
      return ToBoolean(field_->lookup);
    case ImportPass::kUnique:
      return ToBoolean(field_->unique);
    case ImportPass::kStore:
      return false;
    case ImportPass::kFormat:
      break;
  }
  return true;
}

void ColumnRules::SetStored(ImportPass pass, const RecordSet& answer) {
  const bool look_up = pass == ImportPass::kLookup;
  TextSet& texts = look_up ? known_ : taken_;
  texts = TextSet();
  if (answer.IsEmpty()) return;
  const std::size_t field = answer.Table().IndexOf(field_->field_name);
  for (const RecordRow& row : answer.Rows()) {
    const std::string text = row.AsText(field);
    texts.Insert(look_up ? LookupKey(text) : UniqueKey(text));
    if (look_up) texts.Insert(text);
  }
}

// Most cells are written as the database has them, and are found without being folded.
bool ColumnRules::IsKnown(std::string_view text, std::uint64_t hash) const {
  return known_.Contains(text, hash) || (!known_.IsEmpty() && known_.Contains(LookupKey(text)));
}

bool ColumnRules::StoreConverted(std::string_view text, RecordSet& typed, std::size_t to) const {
  switch (kind_) {
    case Kind::kText:
      typed.SetText(to, text);
      return !HasControlCharacter(text);
    case Kind::kNumber: {
      const auto number = ParseLocaleNumber(text, *locale_);
      if (number) typed.SetFloat(to, *number);
      return number.has_value();
    }
    case Kind::kBoolean:
      typed.SetBoolean(to, ToBoolean(std::string(text)));
      return true;
    case Kind::kDate: {
      const auto date = ParseLocaleDate(text, *locale_);
      if (date) typed.SetDate(to, *date);
      return date.has_value();
    }
    case Kind::kOther:
      break;
  }
  return true;
}

std::string ColumnRules::Store(std::string_view text, RecordSet& typed, std::size_t to) const {
  try {
    if (StoreConverted(text, typed, to)) {
      const std::size_t most = typed.Definition(to).size;
      return kind_ == Kind::kText && IsLongerThan(most, text) ? LongerThanText(most) : std::string();
    }
  } catch (const ConversionError&) {
  } catch (const Overflow&) {
  }
  return std::string(ReasonOf(ImportPass::kFormat, *field_));
}

}  // namespace mox

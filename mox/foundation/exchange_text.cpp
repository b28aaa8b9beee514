#include "mox/foundation/exchange_text.h"

#include <algorithm>
#include <charconv>
#include <concepts>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kShownCharacters = 40;

std::string Shown(std::string_view text) {
  std::string shown(CutToCharacters(text, kShownCharacters));
  std::replace(shown.begin(), shown.end(), '\n', ' ');
  return '"' + shown + '"';
}

[[noreturn]] void RefuseAs(std::string_view text, const char* wanted) {
  throw ConversionError(Shown(text) + " is not " + wanted);
}

template <typename Parsed>
Parsed OrRefuse(const std::optional<Parsed>& parsed, std::string_view text, const char* wanted) {
  if (!parsed) RefuseAs(text, wanted);
  return *parsed;
}

// The plain form of each kind of value; null and texts have none.
void Append(std::string& /*out*/, std::monostate /*null*/) {}
void Append(std::string& /*out*/, const std::string& /*text*/) {}
void Append(std::string& out, bool flag) { out += flag ? "true" : "false"; }
void Append(std::string& out, double number) { AppendNumber(out, number); }
void Append(std::string& out, Currency amount) { amount.AppendTo(out); }
void Append(std::string& out, Date date) { out += FormatIsoDate(date); }
void Append(std::string& out, DateTime moment) { out += FormatIsoDateTime(moment); }
template <std::integral Whole>
void Append(std::string& out, Whole number) {
  char digits[20];
  out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

// Reads the whole text as a number without a sign.
bool ReadCount(std::string_view text, std::size_t& count) {
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, count);
  return error == std::errc() && end == last;
}

}  // namespace

void AppendPlain(std::string& out, const Value& value) {
  std::visit([&out](const auto& plain) { Append(out, plain); }, value);
}

void AppendPlain(std::string& out, const RecordRow& record, std::size_t field) {
  if (record.IsNull(field)) return;
  switch (record.Definition(field).kind) {
    case FieldKind::kInteger:
      return Append(out, record.AsInteger(field));
    case FieldKind::kBoolean:
      return Append(out, record.AsBoolean(field));
    case FieldKind::kFloat:
      return Append(out, record.AsFloat(field));
    case FieldKind::kCurrency:
      return Append(out, record.AsCurrency(field));
    case FieldKind::kDate:
      return Append(out, record.AsDate(field));
    case FieldKind::kDateTime:
      return Append(out, record.AsDateTime(field));
    case FieldKind::kText:
    case FieldKind::kBinary:
      break;
  }
}

Value ParsePlain(std::string_view text, FieldKind kind) {
  switch (kind) {
    case FieldKind::kInteger:
      return ParseInteger(text);
    case FieldKind::kBoolean:
      if (text != "true" && text != "false") RefuseAs(text, "true or false");
      return text == "true";
    case FieldKind::kFloat:
      return ParseNumber(text);
    case FieldKind::kCurrency:
      return Currency::Parse(text);
    case FieldKind::kDate:
      return OrRefuse(ParseIsoDate(text), text, "a date");
    case FieldKind::kDateTime:
      return OrRefuse(ParseIsoDateTime(text), text, "a date and time");
    case FieldKind::kText:
    case FieldKind::kBinary:
      break;
  }
  return std::string(text);
}

void AppendCounted(std::string& out, std::string_view bytes) {
  Append(out, bytes.size());
  out += ':';
  out += bytes;
}

void CountFrom(std::string& out, std::size_t begin) {
  out.insert(begin, std::to_string(out.size() - begin) + ':');
}

void TextReader::Refuse(const std::string& reason) const { throw FormatError(Place() + reason, at_); }

void TextReader::RefuseLackOf(std::string_view expected) const {
  if (left() == 0) Refuse("the text ends too early");
  if (expected == "\n") Refuse("the end of the line is missing");
  if (expected == " ") Refuse("a blank is missing");
  Refuse("\"" + std::string(expected) + "\" is missing");
}

std::size_t TextReader::Count(std::size_t most, const char* what) {
  const std::string_view word = Word();
  std::size_t count = 0;
  if (!ReadCount(word, count) || count > most) Refuse(Shown(word) + " is not a possible number of " + what);
  Skip(word.size());
  return count;
}

std::string_view TextReader::Counted() {
  // A number of 64 bits has at most 20 digits: a missing colon is not looked for in megabytes of text.
  const std::size_t digits = text_.substr(at_, 21).find(':');
  std::size_t size = 0;
  if (digits == std::string_view::npos || !ReadCount(text_.substr(at_, digits), size)) {
    Refuse("a length and a colon are missing");
  }
  const std::size_t begin = at_ + digits + 1;
  if (size > text_.size() - begin) {
    Refuse("the text ends before its length of " + std::to_string(size) + " bytes");
  }
  at_ = begin + size;
  return text_.substr(begin, size);
}

template <typename Parse>
auto TextReader::Parsed(const Parse& parse) {
  const std::string_view word = Word();
  try {
    const auto value = parse(word);
    Skip(word.size());
    return value;
  } catch (const Error& error) {
    Refuse(error.what());
  }
}

Value TextReader::Plain(FieldKind kind) {
  return Parsed([kind](std::string_view word) { return ParsePlain(word, kind); });
}
Currency TextReader::Amount() { return Parsed(Currency::Parse); }
double TextReader::Number() { return Parsed(ParseNumber); }

}  // namespace mox

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "mox/foundation/record_row.h"

namespace mox {

// The pieces that the text forms of docs/FORMATS.md are made of.

/// Appends a value that is no text in the form of exchange: decimal point, ISO dates, `true` or `false`.
/// Null and texts append nothing. Raises Overflow for a number that is not finite.
void AppendPlain(std::string& out, const Value& value);
/// The same of a record's cell.
void AppendPlain(std::string& out, const RecordRow& record, std::size_t field);

/// Reads the whole text as a value of that kind; a text or binary is taken as it is. Raises ConversionError
/// `"9,99" is not a number`, Overflow when it is outside the range of its kind.
Value ParsePlain(std::string_view text, FieldKind kind);

/// Appends the number of the bytes, a colon and the bytes.
void AppendCounted(std::string& out, std::string_view bytes);
/// Makes all that stands from the byte `begin` on a counted text.
void CountFrom(std::string& out, std::size_t begin);

/// Walks over a text form and knows where it is. Everything that does not fit raises FormatError there, with
/// the place that the derived class names.
class TextReader {
 public:
  explicit TextReader(std::string_view text) : text_(text) {}

  [[noreturn]] void Refuse(const std::string& reason) const;
  std::size_t left() const { return text_.size() - at_; }
  bool IsAt(char c) const { return at_ < text_.size() && text_[at_] == c; }
  void Skip(std::size_t bytes) { at_ += bytes; }

  void Expect(std::string_view expected) {
    if (text_.substr(at_, expected.size()) != expected) [[unlikely]]
      RefuseLackOf(expected);
    at_ += expected.size();
  }

  /// Up to the next blank or line break; it is not skipped yet.
  std::string_view Word() const {
    std::size_t end = at_;
    while (end < text_.size() && text_[end] != ' ' && text_[end] != '\n') ++end;
    return text_.substr(at_, end - at_);
  }

  std::size_t Count(std::size_t most, const char* what);
  std::string_view Counted();
  Value Plain(FieldKind kind);
  /// The same of an amount and of a number.
  Currency Amount();
  double Number();

 protected:
  ~TextReader() = default;

 private:
  [[noreturn]] void RefuseLackOf(std::string_view expected) const;
  template <typename Parse>
  auto Parsed(const Parse& parse);
  /// What stands before the reason: "record 1, field pc: ".
  virtual std::string Place() const = 0;

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace mox

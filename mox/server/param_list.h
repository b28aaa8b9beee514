#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "mox/foundation/field.h"
#include "mox/foundation/record_set.h"

namespace mox {

class TAstaParamList;

/// What an item of a parameter list holds.
enum class ParamKind : std::uint8_t {
  kNull,
  kText,
  kInteger,
  kBoolean,
  kFloat,
  kCurrency,
  kDate,
  kDateTime,
  kList,
  kDataSet
};

/// One item of a parameter list: a name and a value, which is a plain value, a nested list or a record set.
class TAstaParam {
 public:
  TAstaParam(std::string name, Value value);
  TAstaParam(std::string name, TAstaParamList value);
  TAstaParam(std::string name, RecordSet value);
  TAstaParam(TAstaParam&& other) noexcept;
  TAstaParam& operator=(TAstaParam&& other) noexcept;
  ~TAstaParam();

  const std::string& Name() const { return name_; }
  ParamKind Kind() const;
  bool IsNull() const { return Kind() == ParamKind::kNull; }

  // Reads convert between the kinds as those of a record set's fields do; a nested list or record set is no
  // plain value and raises ConversionError naming the item.

  const Value& AsVariant() const;
  std::string AsString() const;
  /// Of a text only, without a copy.
  std::string_view AsTextView() const;
  std::int64_t AsInteger() const;
  bool AsBoolean() const;
  double AsFloat() const;
  Currency AsCurrency() const;
  Date AsDate() const;
  DateTime AsDateTime() const;

  /// The record set, which may be moved out of the item. A text in the form of `RecordSet::SaveToString` is
  /// read first. Raises ConversionError or FormatError naming the item when it holds anything else.
  RecordSet& AsDataSet();
  /// The nested list; a tokenized text is read first. Raises as AsDataSet.
  TAstaParamList& AsParamList();

 private:
  friend class TAstaParamList;

  /// A nested list or record set of a text that was read: its own text until somebody asks for it.
  struct Unread {
    ParamKind kind;
    std::string text;
  };
  TAstaParam(std::string name, Unread value);

  /// The text that a nested list or record set is to be read from; null where there is none.
  const std::string* TextToRead(ParamKind kind) const;
  void AppendValue(std::string& out) const;
  std::string ReadableValue(int depth) const;

  std::string name_;
  std::variant<Value, std::unique_ptr<TAstaParamList>, std::unique_ptr<RecordSet>, Unread> value_;
};

/// The ordered list of named values that every request to the application server and every answer is. Names
/// are compared without regard to the case of the letters A to Z; where a name stands twice, the first is
/// found.
class TAstaParamList {
 public:
  TAstaParamList();
  TAstaParamList(std::initializer_list<std::pair<std::string_view, Value>> items);
  TAstaParamList(TAstaParamList&& other) noexcept;
  TAstaParamList& operator=(TAstaParamList&& other) noexcept;
  ~TAstaParamList();

  void FastAdd(std::string_view name, Value value);
  /// The value as a field of that kind would hold it.
  void FastAdd(std::string_view name, const Value& value, FieldKind kind);
  void FastAdd(std::string_view name, const char* text) { FastAdd(name, Value(std::string(text))); }
  /// A number or a truth value, in the kind of its type.
  template <typename T>
  requires std::is_arithmetic_v<T>
  void FastAdd(std::string_view name, T value) {
    using Kept = std::conditional_t<std::is_integral_v<T>,
                                    std::conditional_t<std::is_same_v<T, bool>, bool, std::int64_t>, double>;
    FastAdd(name, Value(static_cast<Kept>(value)));
  }
  void FastAdd(std::string_view name, TAstaParamList value);
  void FastAdd(std::string_view name, RecordSet value);

  std::size_t Count() const { return items_.size(); }
  TAstaParam& operator[](std::size_t index) { return items_.at(index); }
  const TAstaParam& operator[](std::size_t index) const { return items_.at(index); }
  /// Null where there is none.
  TAstaParam* FindParam(std::string_view name);
  const TAstaParam* FindParam(std::string_view name) const;
  /// Raises Error naming the item where there is none.
  TAstaParam& ParamByName(std::string_view name);
  const TAstaParam& ParamByName(std::string_view name) const;

  /// The whole list as one text, described in docs/FORMATS.md. `readable` gives one line for a log instead,
  /// with long values cut, which cannot be read back. Raises Overflow for a number that is not finite.
  std::string AsTokenizedString(bool readable) const;
  /// Raises FormatError that says where the text is damaged. Nested lists and record sets are looked at only
  /// when they are asked for.
  static TAstaParamList FromTokenizedString(std::string_view text);

 private:
  friend class TAstaParam;

  void AppendTokenized(std::string& out) const;
  std::string Readable(int depth) const;

  std::vector<TAstaParam> items_;
};

/// An item of a tokenized text, as parts of that text. The value is the text, nested list or record set
/// itself, and of the other kinds its plain form, which is not looked at; null has an empty one.
struct TokenizedItem {
  std::string_view name;
  ParamKind kind = ParamKind::kNull;
  std::string_view value;
};

/// The items of a tokenized text without a copy of it. Raises FormatError that says where it is damaged.
std::vector<TokenizedItem> TokenizedItems(std::string_view text);

/// Writes a tokenized text item by item, so that a large value is built where it is to stand.
class TokenizedWriter {
 public:
  TokenizedWriter(std::string& out, std::size_t items);
  /// What is appended to the text until the item ends is its value.
  void BeginItem(std::string_view name, ParamKind kind);
  void EndItem();
  /// After as many items as were announced.
  void End();

 private:
  std::string& out_;
  std::size_t value_at_ = 0;
  bool counted_ = false;
};

}  // namespace mox

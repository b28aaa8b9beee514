#include "mox/server/param_list.h"

#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

TAstaParam::TAstaParam(std::string name, Value value) : name_(std::move(name)), value_(std::move(value)) {}
TAstaParam::TAstaParam(std::string name, TAstaParamList value)
    : name_(std::move(name)), value_(std::make_unique<TAstaParamList>(std::move(value))) {}
TAstaParam::TAstaParam(std::string name, RecordSet value)
    : name_(std::move(name)), value_(std::make_unique<RecordSet>(std::move(value))) {}
TAstaParam::TAstaParam(std::string name, Unread value) : name_(std::move(name)), value_(std::move(value)) {}
TAstaParam::TAstaParam(TAstaParam&& other) noexcept = default;
TAstaParam& TAstaParam::operator=(TAstaParam&& other) noexcept = default;
TAstaParam::~TAstaParam() = default;

ParamKind TAstaParam::Kind() const {
  if (const Value* const value = std::get_if<Value>(&value_)) return static_cast<ParamKind>(value->index());
  if (const Unread* const unread = std::get_if<Unread>(&value_)) return unread->kind;
  return std::holds_alternative<std::unique_ptr<RecordSet>>(value_) ? ParamKind::kDataSet : ParamKind::kList;
}

const std::string* TAstaParam::TextToRead(ParamKind kind) const {
  if (const Unread* const unread = std::get_if<Unread>(&value_)) {
    return unread->kind == kind ? &unread->text : nullptr;
  }
  return std::get_if<std::string>(std::get_if<Value>(&value_));
}

const Value& TAstaParam::AsVariant() const {
  if (const Value* const value = std::get_if<Value>(&value_)) return *value;
  throw ConversionError("parameter \"" + name_ + "\" holds no plain value");
}

std::string_view TAstaParam::AsTextView() const {
  if (const auto* const text = std::get_if<std::string>(&AsVariant())) return *text;
  throw ConversionError("parameter \"" + name_ + "\" holds no text");
}

std::string TAstaParam::AsString() const { return ToText(AsVariant()); }
std::int64_t TAstaParam::AsInteger() const { return ToInteger(AsVariant()); }
bool TAstaParam::AsBoolean() const { return ToBoolean(AsVariant()); }
double TAstaParam::AsFloat() const { return ToFloat(AsVariant()); }
Currency TAstaParam::AsCurrency() const { return ToCurrency(AsVariant()); }
Date TAstaParam::AsDate() const { return ToDate(AsVariant()); }
DateTime TAstaParam::AsDateTime() const { return ToDateTime(AsVariant()); }

RecordSet& TAstaParam::AsDataSet() {
  if (const std::string* const text = TextToRead(ParamKind::kDataSet)) {
    auto read = std::make_unique<RecordSet>();
    try {
      read->LoadFromString(*text);
    } catch (const FormatError& error) {
      throw FormatError("parameter \"" + name_ + "\": ", error);
    }
    value_ = std::move(read);
  }
  if (const auto* const records = std::get_if<std::unique_ptr<RecordSet>>(&value_)) return **records;
  throw ConversionError("parameter \"" + name_ + "\" holds no record set");
}

TAstaParamList& TAstaParam::AsParamList() {
  if (const std::string* const text = TextToRead(ParamKind::kList)) {
    try {
      value_ = std::make_unique<TAstaParamList>(TAstaParamList::FromTokenizedString(*text));
    } catch (const FormatError& error) {
      throw FormatError("parameter \"" + name_ + "\": ", error);
    }
  }
  if (const auto* const list = std::get_if<std::unique_ptr<TAstaParamList>>(&value_)) return **list;
  throw ConversionError("parameter \"" + name_ + "\" holds no parameter list");
}

TAstaParamList::TAstaParamList() = default;
TAstaParamList::TAstaParamList(std::initializer_list<std::pair<std::string_view, Value>> items) {
  for (const auto& [name, value] : items) FastAdd(name, value);
}
TAstaParamList::TAstaParamList(TAstaParamList&& other) noexcept = default;
TAstaParamList& TAstaParamList::operator=(TAstaParamList&& other) noexcept = default;
TAstaParamList::~TAstaParamList() = default;

void TAstaParamList::FastAdd(std::string_view name, Value value) {
  items_.emplace_back(std::string(name), std::move(value));
}
void TAstaParamList::FastAdd(std::string_view name, const Value& value, FieldKind kind) {
  items_.emplace_back(std::string(name), ConvertTo(kind, value));
}
void TAstaParamList::FastAdd(std::string_view name, TAstaParamList value) {
  items_.emplace_back(std::string(name), std::move(value));
}
void TAstaParamList::FastAdd(std::string_view name, RecordSet value) {
  items_.emplace_back(std::string(name), std::move(value));
}

const TAstaParam* TAstaParamList::FindParam(std::string_view name) const {
  for (const TAstaParam& item : items_) {
    if (SameName(item.name_, name)) return &item;
  }
  return nullptr;
}

TAstaParam* TAstaParamList::FindParam(std::string_view name) {
  return const_cast<TAstaParam*>(std::as_const(*this).FindParam(name));
}

const TAstaParam& TAstaParamList::ParamByName(std::string_view name) const {
  if (const TAstaParam* const item = FindParam(name)) return *item;
  throw Error("there is no parameter \"" + std::string(name) + "\"");
}

TAstaParam& TAstaParamList::ParamByName(std::string_view name) {
  return const_cast<TAstaParam&>(std::as_const(*this).ParamByName(name));
}

}  // namespace mox

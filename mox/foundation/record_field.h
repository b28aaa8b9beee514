#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "mox/foundation/record_set.h"

namespace mox {

/// One column of a record set: reads and writes the value of the current record. It refers to its set and
/// holds while the set is neither moved nor given other fields.
class Field {
 public:
  Field(RecordSet& set, std::size_t index) : set_(&set), index_(index) {}

  RecordSet& DataSet() const { return *set_; }
  std::size_t Index() const { return index_; }
  const std::string& Name() const { return set_->Definition(index_).name; }
  FieldKind Kind() const { return set_->Definition(index_).kind; }
  std::size_t Size() const { return set_->Definition(index_).size; }
  const std::string& DisplayName() const { return set_->Definition(index_).Label(); }
  void SetDisplayName(std::string label) { set_->SetDisplayName(index_, std::move(label)); }
  bool Required() const { return set_->Definition(index_).required; }
  void SetRequired(bool required) { set_->SetRequired(index_, required); }
  const std::string& DisplayFormat() const { return set_->Definition(index_).display_format; }
  void SetDisplayFormat(std::string mask) { set_->SetDisplayFormat(index_, std::move(mask)); }

  bool IsNull() const { return set_->IsNull(index_); }
  double AsFloat() const { return set_->AsFloat(index_); }
  Currency AsCurrency() const { return set_->AsCurrency(index_); }
  std::int64_t AsInteger() const { return set_->AsInteger(index_); }
  bool AsBoolean() const { return set_->AsBoolean(index_); }
  Date AsDate() const { return set_->AsDate(index_); }
  DateTime AsDateTime() const { return set_->AsDateTime(index_); }
  std::string AsText() const { return set_->AsText(index_); }
  Value AsVariant() const { return set_->AsVariant(index_); }
  std::string DisplayText() const { return set_->DisplayText(index_); }

  void SetNull() { set_->SetNull(index_); }
  void SetFloat(double value) { set_->SetFloat(index_, value); }
  void SetCurrency(Currency value) { set_->SetCurrency(index_, value); }
  void SetInteger(std::int64_t value) { set_->SetInteger(index_, value); }
  void SetBoolean(bool value) { set_->SetBoolean(index_, value); }
  void SetDate(Date value) { set_->SetDate(index_, value); }
  void SetDateTime(DateTime value) { set_->SetDateTime(index_, value); }
  void SetText(std::string_view value) { set_->SetText(index_, value); }
  void SetVariant(const Value& value) { set_->SetVariant(index_, value); }

  /// The bytes of a binary (or text) field to a file and back, as they are.
  void SaveToFile(const std::string& path) const;
  void LoadFromFile(const std::string& path);

 private:
  RecordSet* set_;
  std::size_t index_;
};

}  // namespace mox

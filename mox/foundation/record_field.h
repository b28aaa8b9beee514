#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "mox/foundation/record_set.h"

namespace mox {

/// One column of a record set, read only: the value of the current record. It refers to its set and holds
/// while the set is neither moved nor given other fields.
class ConstField {
 public:
  ConstField(const RecordSet& set, std::size_t index) : set_(&set), index_(index) {}

  const RecordSet& DataSet() const { return *set_; }
  std::size_t Index() const { return index_; }
  const std::string& Name() const { return set_->Definition(index_).name; }
  FieldKind Kind() const { return set_->Definition(index_).kind; }
  std::size_t Size() const { return set_->Definition(index_).size; }
  const std::string& DisplayName() const { return set_->Definition(index_).Label(); }
  bool Required() const { return set_->Definition(index_).required; }
  const std::string& DisplayFormat() const { return set_->Definition(index_).display_format; }

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

  /// The bytes of a binary (or text) field to a file, as they are.
  void SaveToFile(const std::string& path) const;

 private:
  const RecordSet* set_;
  std::size_t index_;
};

/// One column of a record set, read and written. Whoever is handed one may also move its set.
class Field : public ConstField {
 public:
  Field(RecordSet& set, std::size_t index) : ConstField(set, index), written_(&set) {}

  RecordSet& DataSet() const { return *written_; }
  void SetDisplayName(std::string label) { written_->SetDisplayName(Index(), std::move(label)); }
  void SetRequired(bool required) { written_->SetRequired(Index(), required); }
  void SetDisplayFormat(std::string mask) { written_->SetDisplayFormat(Index(), std::move(mask)); }

  void SetNull() { written_->SetNull(Index()); }
  void SetFloat(double value) { written_->SetFloat(Index(), value); }
  void SetCurrency(Currency value) { written_->SetCurrency(Index(), value); }
  void SetInteger(std::int64_t value) { written_->SetInteger(Index(), value); }
  void SetBoolean(bool value) { written_->SetBoolean(Index(), value); }
  void SetDate(Date value) { written_->SetDate(Index(), value); }
  void SetDateTime(DateTime value) { written_->SetDateTime(Index(), value); }
  void SetText(std::string_view value) { written_->SetText(Index(), value); }
  void SetVariant(const Value& value) { written_->SetVariant(Index(), value); }
  /// What ConstField::SaveToFile wrote.
  void LoadFromFile(const std::string& path);

 private:
  RecordSet* written_;
};

}  // namespace mox

#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "bench/lines.h"
#include "bench/plain_loop.h"

namespace mox::bench {

/// A record set as it is first thought of: a record is a map from field name to value. It has no more than
/// what a walk with a calculate-fields event needs.
class NaiveRecordSet {
 public:
  using Record = std::map<std::string, Value>;
  using CalcFieldsEvent = std::function<void(NaiveRecordSet&)>;

  explicit NaiveRecordSet(std::span<const PlainLine> lines);

  void SetOnCalcFields(CalcFieldsEvent event) { on_calc_fields_ = std::move(event); }
  void First() { MoveTo(0); }
  void Next() { MoveTo(position_ + 1); }
  bool Eof() const { return position_ == records_.size(); }
  std::size_t RecordCount() const { return records_.size(); }

  Currency AsCurrency(const std::string& name) const { return std::get<Currency>(Current().at(name)); }
  double AsFloat(const std::string& name) const { return std::get<double>(Current().at(name)); }
  void SetCurrency(const std::string& name, Currency value) { records_[position_].at(name) = value; }

 private:
  const Record& Current() const { return records_[position_]; }
  void MoveTo(std::size_t position) {
    position_ = position;
    if (!Eof() && on_calc_fields_) on_calc_fields_(*this);
  }

  std::vector<Record> records_;
  std::size_t position_ = 0;
  CalcFieldsEvent on_calc_fields_;
};

/// What GotovinskiRacunStavkeCalcFields does.
void CalculateNaively(NaiveRecordSet& s, Digits digits);

}  // namespace mox::bench

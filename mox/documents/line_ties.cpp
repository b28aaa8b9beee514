#include <algorithm>

#include "mox/documents/line_ties_internal.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr double kHalfHundredth = 0.005;

// Of a price that is rounded as the settings say, down to whole units.
double HalfOfLastDecimalOfSettings(double price) {
  double half = 0.5;
  for (double tens = 1; half > 0.0001 && std::nearbyint(price * tens) / tens != price; tens *= 10) half /= 10;
  return half;
}

}  // namespace

LineParts::LineParts(const RecordSet& records, const std::vector<std::string_view>& names) {
  for (const std::string_view name : names) {
    const bool is_taken_off = name.starts_with('-');
    if (const auto column = records.FindFieldIndex(name.substr(is_taken_off ? 1 : 0))) {
      parts_.push_back({*column, is_taken_off});
    } else if (name == names.front()) {
      return;
    }
  }
}

std::optional<Currency> LineParts::Sum(const RecordRow& line) const {
  if (parts_.empty() || line.IsNull(parts_.front().column)) return std::nullopt;
  Currency sum;
  for (const Part& part : parts_) {
    sum += part.is_taken_off ? -line.AsCurrency(part.column) : line.AsCurrency(part.column);
  }
  return sum;
}

bool LineParts::Contain(std::size_t column) const {
  return std::any_of(parts_.begin(), parts_.end(), [&](const Part& part) { return part.column == column; });
}

std::string LineParts::Shown(const RecordRow& line) const {
  std::string shown;
  for (const Part& part : parts_) {
    if (!shown.empty()) shown += part.is_taken_off ? " less " : " and ";
    shown += line.Definition(part.column).name + ' ' + line.AsCurrency(part.column).ToString();
  }
  return shown;
}

LineTies::LineTies(const LineSchema& schema, const RecordSet& records)
    : prices_follow_settings_(schema.reads == CalcFieldsReads::kItsInputsAndSettings) {
  for (const std::string_view rule : schema.sums) {
    std::vector<std::string_view> names = SplitNames(rule);
    const auto whole = records.FindFieldIndex(names.front());
    names.erase(names.begin());
    if (whole) sums_.push_back({*whole, LineParts(records, names)});
  }
  const std::vector<std::string_view> calculated = SplitNames(schema.calculated);
  for (const PercentOf& rule : schema.percents) {
    const auto amount = records.FindFieldIndex(rule.amount);
    if (!amount) continue;
    const bool is_calculated =
        std::find(calculated.begin(), calculated.end(), rule.percent) != calculated.end();
    percents_.push_back({&rule, *amount, records.FindFieldIndex(rule.percent),
                         LineParts(records, SplitNames(rule.of)), records.FindFieldIndex(rule.price),
                         is_calculated});
  }
}

std::optional<LineTies::Loose> LineTies::Find(const RecordRow& line, double quantity) const {
  for (const Sum& sum : sums_) {
    const std::optional<Currency> expected = sum.parts.Sum(line);
    if (!expected || line.IsNull(sum.whole)) continue;
    const Currency whole = line.AsCurrency(sum.whole);
    if (whole != *expected && whole != R2(*expected)) return Loose{sum.whole, sum.parts.Shown(line)};
  }
  if (quantity == 0) return std::nullopt;
  for (const Percent& percent : percents_) {
    if (auto loose = FindInPercent(percent, line, quantity)) return loose;
  }
  return std::nullopt;
}

double LineTies::HalfOfPrice(const Percent& percent, const RecordRow& line) const {
  if (!percent.price || line.IsNull(*percent.price)) return kHalfHundredth;
  const double price = line.AsFloat(*percent.price);
  return prices_follow_settings_ ? HalfOfLastDecimalOfSettings(price) : HalfOfLastDecimal(price);
}

// A percentage may be shown with fewer decimals than the amount was made of, as a price may. What went
// through a price has its roundings: the price's for each of the quantity, and those of three amounts.
std::optional<LineTies::Loose> LineTies::FindInPercent(const Percent& percent, const RecordRow& line,
                                                       double quantity) const {
  const std::optional<Currency> of = percent.of.Sum(line);
  if (!of || line.IsNull(percent.amount) || (percent.is_made_of_amounts && of->IsZero())) return std::nullopt;
  const bool is_with_whole = percent.rule->is_with_whole;
  const double whole = of->ToDouble();
  const double rate = percent.percent ? line.AsFloat(*percent.percent) : 0;
  const double exact = whole * ((is_with_whole ? 100 : 0) + rate) / 100;
  const double gap = std::abs(line.AsCurrency(percent.amount).ToDouble() - exact);
  double explained = kHalfHundredth;
  if (gap <= explained) return std::nullopt;
  const double share = std::abs(rate) / 100;
  if (!percent.rule->price.empty()) {
    explained = (std::abs(quantity) * HalfOfPrice(percent, line) + 3 * kHalfHundredth) * (1 + share);
  } else if (percent.of.Contain(percent.amount)) {
    explained *= 1 + share;
  }
  explained += std::abs(whole) * HalfOfLastDecimal(rate) / 100 + kNudgeOfRounding * (1 + share);
  if (gap <= explained + (std::abs(exact) + std::abs(whole)) * kErrorOfProduct) return std::nullopt;
  return Loose{percent.amount, ShortestNumber(rate) + " % (" + std::string(percent.rule->percent) + ") " +
                                   (is_with_whole ? "on " : "of ") + percent.of.Shown(line)};
}

}  // namespace mox

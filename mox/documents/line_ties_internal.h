#pragma once

#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/documents/document_kinds.h"
#include "mox/foundation/currency.h"

#pragma GCC visibility push(hidden)

namespace mox {

// How far amounts of floating point may be from what was rounded to them.
inline constexpr double kErrorOfProduct = 1e-15;  ///< of factors and product together, as part of it
inline constexpr double kNudgeOfRounding = 1e-7;

/// By how much a number may have been rounded to the decimals that it has, two at least.
inline double HalfOfLastDecimal(double number) {
  return std::nearbyint(number * 100) / 100 == number ? 0.005 : 0.00005;
}

/// Amounts of a line that are added up; of those that are taken off the names have a minus.
class LineParts {
 public:
  LineParts(const RecordSet& records, const std::vector<std::string_view>& names);

  /// None where the line does not have the first one; others that it does not have are 0.
  std::optional<Currency> Sum(const RecordRow& line) const;
  bool Contain(std::size_t column) const;
  std::string Shown(const RecordRow& line) const;

 private:
  struct Part {
    std::size_t column;
    bool is_taken_off;
  };
  std::vector<Part> parts_;
};

/// How the amounts of lines of a schema follow from each other, as sums and as percentages.
class LineTies {
 public:
  /// An amount, and what it is not.
  struct Loose {
    std::size_t column;
    std::string as;
  };

  LineTies(const LineSchema& schema, const RecordSet& records);

  /// The first amount that does not follow. Without a quantity percentages are not looked at.
  std::optional<Loose> Find(const RecordRow& line, double quantity) const;

 private:
  struct Sum {
    std::size_t whole;
    LineParts parts;
  };
  struct Percent {
    const PercentOf* rule;
    std::size_t amount;
    std::optional<std::size_t> percent;  // 0 where the line does not say it
    LineParts of;
    std::optional<std::size_t> price;
    bool is_made_of_amounts;  // and not they of it: of nothing it is what it was
  };

  std::optional<Loose> FindInPercent(const Percent& percent, const RecordRow& line, double quantity) const;
  double HalfOfPrice(const Percent& percent, const RecordRow& line) const;

  std::vector<Sum> sums_;
  std::vector<Percent> percents_;
  bool prices_follow_settings_;
};

}  // namespace mox

#pragma GCC visibility pop

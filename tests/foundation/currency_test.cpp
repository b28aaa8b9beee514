#include "mox/foundation/currency.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

TEST(Currency, ReadsTextsExactly) {
  const struct {
    const char* text;
    std::int64_t scaled;
  } rows[] = {{"-12.5", -125'000},
              {"5.", 50'000},
              {"000001.50", 15'000},
              // ties go to the even ten-thousandth
              {"1.00005", 10'000},
              {"1.00015", 10'002},
              {"-1.00005", -10'000},
              {"-1.00015", -10'002},
              {"0.00005", 0},
              {"1.00005000000000000000000001", 10'001},
              {"0.000049999", 0},
              {"1E+2", 1'000'000},
              {"12345e-6", 123},
              {"0.0000000000012345e12", 12'345},
              {"1e-999999999999", 0},
              {"0e999999999999", 0},
              {"922337203685477.58074", kGreatest},
              {"-922337203685477.5808", kLeast},
              {"-922337203685477.58085", kLeast}};
  for (const auto& row : rows) EXPECT_EQ(Currency::Parse(row.text).scaled(), row.scaled) << row.text;

  for (const char* text : {"922337203685477.5808", "922337203685477.58075", "-922337203685477.58086",
                           "10000000000000000", "1e999999999999"}) {
    EXPECT_THROW(Currency::Parse(text), Overflow) << text;
  }
  for (const char* text :
       {"", "-", ".", "1.2.3", "1,5", " 1", "1 ", "1e", "1e+-5", "e5", "--1", "0x10", "inf"}) {
    EXPECT_THROW(Currency::Parse(text), ConversionError) << text;
  }
}

TEST(Currency, TakesTheNearestTenThousandthOfARealNumber) {
  const Extended step = 0x1p-14L;  // between neighbours of this precision at the limit
  const struct {
    Extended value;
    std::int64_t scaled;
  } rows[] = {{-0.0L, 0},
              {0.33333L, 3'333},
              {-0.66666L, -6'667},
              // ties, to even
              {3.0L / 32, 938},
              {1.0L / 32, 312},
              {-1.0L / 32, -312},
              {-3.0L / 32, -938},
              {470'000'000'000'000.03125L, 4'700'000'000'000'000'312},
              {0x1p63L / 10'000 - 2 * step, kGreatest},
              {-0x1p63L / 10'000, kLeast}};
  for (const auto& row : rows) {
    EXPECT_EQ(Currency::FromReal(row.value).scaled(), row.scaled) << static_cast<double>(row.value);
  }
  // A double is taken exactly as it is: 0.00125 lies a hair above the tie, the neighbours of 1/32 beside it.
  EXPECT_EQ(Currency::FromReal(0.00125).scaled(), 13);
  EXPECT_EQ(Currency::FromReal(std::nextafter(0.03125, 0.0)).scaled(), 312);
  EXPECT_EQ(Currency::FromReal(std::nextafter(0.03125, 1.0)).scaled(), 313);

  using Limits = std::numeric_limits<Extended>;
  const Extended rounds_up_to_the_limit = 0x1p63L / 10'000 - step;
  for (const Extended value : {rounds_up_to_the_limit, -0x1p63L / 10'000 - 2 * step, 1e300L,
                               -Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_THROW(Currency::FromReal(value), Overflow) << static_cast<double>(value);
  }
}

TEST(Currency, RefusesResultsOutsideItsRange) {
  const Currency greatest = Currency::FromScaled(kGreatest);
  const Currency least = Currency::FromScaled(kLeast);
  const Currency one = Currency::FromScaled(1);
  EXPECT_EQ(greatest + least, -one);
  EXPECT_EQ(least + greatest - least, greatest);
  EXPECT_THROW(greatest + one, Overflow);
  EXPECT_THROW(least - one, Overflow);
  EXPECT_THROW(-least, Overflow);
  EXPECT_EQ(Currency::FromUnits(-922'337'203'685'477).scaled(), -9'223'372'036'854'770'000);
  EXPECT_THROW(Currency::FromUnits(922'337'203'685'478), Overflow);
  Currency sum = greatest;
  EXPECT_THROW(sum += one, Overflow);
  EXPECT_EQ(sum, greatest);
}

TEST(Currency, CutsToUnitsAndCentsAndShowsTwoToFourDecimals) {
  const struct {
    std::int64_t scaled;
    std::int64_t units;
    std::int64_t cents;
    const char* text;
  } rows[] = {{0, 0, 0, "0.00"},
              {19'999, 1, 199, "1.9999"},
              {-19'999, -1, -199, "-1.9999"},
              {-5, 0, 0, "-0.0005"},
              {125'000, 12, 1'250, "12.50"},
              {3'330, 0, 33, "0.333"},
              {kGreatest, 922'337'203'685'477, 92'233'720'368'547'758, "922337203685477.5807"},
              {kLeast, -922'337'203'685'477, -92'233'720'368'547'758, "-922337203685477.5808"}};
  for (const auto& row : rows) {
    const Currency value = Currency::FromScaled(row.scaled);
    EXPECT_EQ(value.ToUnits(), row.units) << row.text;
    EXPECT_EQ(value.ToCents(), row.cents) << row.text;
    EXPECT_EQ(value.ToString(), row.text);
    EXPECT_EQ(Currency::Parse(row.text), value) << row.text;
  }
}

}  // namespace
}  // namespace mox

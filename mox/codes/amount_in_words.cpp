#include "mox/codes/amount_in_words.h"

#include <cstdint>

namespace mox {
namespace {

// Each word has a blank after it, and a missing one is empty: texts are joined as they are.
using Digits = std::string_view[10];

enum Gender : std::uint8_t { kFeminine, kMasculine };

constexpr Digits kUnits[] = {
    {"", "jedna ", "dvije ", "tri ", "četiri ", "pet ", "šest ", "sedam ", "osam ", "devet "},
    {"", "jedan ", "dva ", "tri ", "četiri ", "pet ", "šest ", "sedam ", "osam ", "devet "}};
constexpr Digits kTeens = {"deset ",    "jedanaest ", "dvanaest ",   "trinaest ",  "četrnaest ",
                           "petnaest ", "šestnaest ", "sedamnaest ", "osamnaest ", "devetnaest "};
constexpr Digits kTens = {"",         "deset ",    "dvadeset ",   "trideset ",  "četrdeset ",
                          "pedeset ", "šesdeset ", "sedamdeset ", "osamdeset ", "devedeset "};
constexpr Digits kHundreds = {"",        "sto ",   "dvjesto ",  "tristo ",  "četiristo ",
                              "petsto ", "šesto ", "sedamsto ", "osamsto ", "devetsto "};
// In numbers of exactly four and seven digits.
constexpr Digits kSingleThousands = {"",
                                     "tisuću ",
                                     "dvije tisuće ",
                                     "tri tisuće ",
                                     "četiri tisuće ",
                                     "pet tisuća ",
                                     "šest tisuća ",
                                     "sedam tisuća ",
                                     "osam tisuća ",
                                     "devet tisuća "};
constexpr Digits kSingleMillions = {"",
                                    "milijun ",
                                    "dva milijuna ",
                                    "tri milijuna ",
                                    "četiri milijuna ",
                                    "pet milijuna ",
                                    "šest milijuna ",
                                    "sedam milijuna ",
                                    "osam milijuna ",
                                    "devet milijuna "};

// The forms of a noun after a count whose last digit is 1, is 2 to 4, is any other.
struct Noun {
  std::string_view one;
  std::string_view few;
  std::string_view many;
};

constexpr Noun kThousand = {"tisuća ", "tisuće ", "tisuća "};
constexpr Noun kMillion = {"milijun ", "milijuna ", "milijuna "};

struct CurrencyWords {
  std::string_view code;
  Gender gender;
  Noun unit;
  Noun subunit;
};

constexpr CurrencyWords kCurrencies[] = {
    {"HRK", kFeminine, {"kuna ", "kune ", "kuna "}, {"lipa ", "lipe ", "lipa "}},
    {"EUR", kMasculine, {"euro ", "eura ", "eura "}, {"cent ", "centa ", "centi "}}};

constexpr std::int64_t kLargest = 999'999'999;

std::string_view Form(const Noun& noun, unsigned count) {
  if (count == 0) return {};
  const unsigned last = count % 10;
  return last == 1 ? noun.one : last >= 2 && last <= 4 ? noun.few : noun.many;
}

void AppendBelow1000(std::string& words, unsigned number, Gender gender) {
  words += kHundreds[number / 100];
  const unsigned rest = number % 100;
  if (rest >= 10 && rest <= 19) {
    words += kTeens[rest - 10];
  } else {
    words += kTens[rest / 10];
    words += kUnits[gender][rest % 10];
  }
}

void AppendCounted(std::string& words, unsigned count, Gender gender, const Noun& noun) {
  AppendBelow1000(words, count, gender);
  words += Form(noun, count);
}

void AppendWhole(std::string& words, unsigned number, Gender gender) {
  const unsigned millions = number / 1'000'000;
  const unsigned thousands = number / 1'000 % 1'000;
  if (millions >= 10) {
    AppendCounted(words, millions, kMasculine, kMillion);
  } else {
    words += kSingleMillions[millions];
  }
  if (millions > 0 || thousands >= 10) {
    AppendCounted(words, thousands, kFeminine, kThousand);
  } else {
    words += kSingleThousands[thousands];
  }
  AppendBelow1000(words, number % 1'000, gender);
}

std::string Words(Currency amount, const CurrencyWords& currency) {
  std::string words;
  words.reserve(160);
  const auto whole = static_cast<unsigned>(amount.ToUnits());
  const auto cents = static_cast<unsigned>(amount.ToCents() % 100);
  AppendWhole(words, whole, currency.gender);
  words += Form(currency.unit, whole);
  if (cents > 0) {
    if (whole > 0) words += "i ";
    AppendCounted(words, cents, currency.gender, currency.subunit);
  }
  if (!words.empty()) words.pop_back();
  return words;
}

}  // namespace

std::string BrojSlovima(Currency amount, std::string_view currency_code) {
  if (amount.Sign() <= 0 || amount.ToUnits() > kLargest) return {};
  for (const CurrencyWords& currency : kCurrencies) {
    if (currency.code == currency_code) return Words(amount, currency);
  }
  return {};
}

}  // namespace mox

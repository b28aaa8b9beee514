#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "mox/codes/amount_in_words.h"
#include "mox/codes/control_digits.h"
#include "mox/codes/dates.h"
#include "mox/codes/xml_text.h"
#include "mox/foundation/text.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// The reason alone, after a head that quotes the number.
std::string OibReason(const Words& row) {
  const std::string message = CheckOIBvalidity(row.at(0));
  const std::string head = "OIB (" + row.at(0) + ") nije ispravan:\r\n";
  if (message.empty()) return "valid";
  return message.starts_with(head) ? message.substr(head.size()) : message;
}

std::string CountWorkingDays(const Words& row) {
  const DateTime from = *ParseIsoDateTime(row.at(0));
  const DateTime to = *ParseIsoDateTime(row.at(1));
  std::int64_t counted = 0;
  for (DateTime day = from; day <= to; day.milliseconds += kMillisecondsPerDay) {
    if ((DayOf(day).days % 7 + 7 + 3) % 7 < 5) ++counted;  // 1970-01-01 was a Thursday
  }
  EXPECT_EQ(WorkingDaysBetween(from, to), counted);
  return Text(counted);
}

TEST(Codes, Tables) {
  ExpectTables("codes",
               {{"oib", OibReason},
                {"iban",
                 [](auto& row) {
                   std::string compact = row.at(0);
                   std::erase(compact, ' ');
                   return Text(CalculateDigits(compact)) +
                          (CheckIBANvalidity(row.at(0)) ? " valid" : " invalid");
                 }},
                {"remainders", [](auto& row) { return Text(CalculateDigits(row.at(0))); }},
                {"letters", [](auto& row) { return ChangeAlpha(row.at(0)); }},
                {"words", [](auto& row) { return BrojSlovima(Currency::Parse(row.at(0)), row.at(1)); }},
                {"working days", CountWorkingDays},
                {"length of service",
                 [](auto& row) {
                   const Staz staz = CalcStaz(*ParseIsoDate(row.at(0)), *ParseIsoDate(row.at(1)));
                   return Text(staz.days) + " " + Text(staz.months) + " " + Text(staz.years);
                 }},
                {"xml", [](auto& row) { return ConvertStringForCreateXML(row.at(0)); }}},
               "codes");
}

// Any byte at any place of a valid number: a digit is judged by the control digit, all else is refused as
// none.
TEST(Codes, OibsAreDigitsAtEveryPlace) {
  const std::string valid = "69435151530";
  ASSERT_EQ(CheckOIBvalidity(valid), "");
  for (std::size_t at = 0; at < valid.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string oib = valid;
      oib[at] = static_cast<char>(byte);
      const std::string message = CheckOIBvalidity(oib);
      const bool is_digit = byte >= '0' && byte <= '9';
      EXPECT_EQ(message.empty(), oib == valid) << at << " " << byte;
      EXPECT_EQ(is_digit && oib != valid, message.ends_with("prvih deset znamenki.")) << at << " " << byte;
    }
  }
}

// Typed with blanks it is valid exactly when its remainder without them is 1, whatever the text is made of.
TEST(Codes, AccountsAreCheckedAsTyped) {
  constexpr std::string_view kParts[] = {"HR",    "12", " ", "hr17", "2360", "0000",     "1101", "IBAN",
                                         "iban ", "I",  "n", "AB",   "-",    "\xc5\xa1", "1"};
  std::mt19937 random(97);
  int valid = 0;
  for (int i = 0; i < 20'000; ++i) {
    std::string typed;
    for (std::size_t parts = random() % 9; parts > 0; --parts) typed += kParts[random() % std::size(kParts)];
    std::string compact = typed;
    std::erase(compact, ' ');
    ASSERT_EQ(CheckIBANvalidity(typed), CalculateDigits(compact) == 1) << typed;
    valid += CheckIBANvalidity(typed) ? 1 : 0;
  }
  EXPECT_GT(valid, 20);
}

}  // namespace
}  // namespace mox

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "case_file.h"
#include "mox/foundation/base64.h"
#include "mox/foundation/dates.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/precision.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "tests/fakes/error_of.h"

namespace mox {
namespace {

// A value by its text; "none" where there is no value.
template <typename T, typename Write>
std::string TextOf(const std::optional<T>& value, const Write& write) {
  return value ? write(*value) : "none";
}

double Number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

TEST(Text, Tables) {
  ExpectTables(
      "text", {{"characters",
                [](auto& row) {
                  const std::string& text = row.at(0);
                  EXPECT_EQ(CutToCharacters(text, 0), "");
                  EXPECT_EQ(CutToCharacters(text, CountCharacters(text)), text);
                  return std::to_string(CountCharacters(text)) + " " + std::string(CutToCharacters(text, 2)) +
                         (IsValidUtf8(text) ? " valid" : " invalid");
                }},
               {"folded",
                [](auto& row) {
                  const std::string folded = FoldCase(row.at(0));
                  EXPECT_TRUE(EqualsIgnoringCase(row.at(0), folded));
                  EXPECT_EQ(FoldCase(folded), folded);
                  return folded;
                }},
               {"compared",
                [](auto& row) {
                  const bool equal = EqualsIgnoringCase(row.at(0), row.at(1));
                  EXPECT_EQ(EqualsIgnoringCase(row.at(1), row.at(0)), equal);
                  return std::string(equal ? "equal" : "different") +
                         (SameName(row.at(0), row.at(1)) ? " same" : " other");
                }},
               {"trimmed", [](auto& row) { return std::string(TrimBlanks(row.at(0))); }},
               {"shortest numbers",
                [](auto& row) {
                  const std::string shown = ShortestNumber(Number(row.at(0)));
                  EXPECT_EQ(ParseNumber(shown), Number(row.at(0)));
                  return shown;
                }},
               {"read numbers",
                [](auto& row) {
                  return TextOrError([&] { return ShortestNumber(ParseNumber(row.at(0))); }) + " " +
                         TextOrError([&] { return Text(ParseInteger(row.at(0))); });
                }},
               {"base64",
                [](auto& row) {
                  EXPECT_EQ(FromBase64(ToBase64(row.at(0))), row.at(0));
                  return ToBase64(row.at(0));
                }},
               {"of base64", [](auto& row) { return FromBase64(row.at(0)).value_or("none"); }},
               {"states",
                [](auto& row) { return DataSetStateToStr(static_cast<DataSetState>(std::stoi(row.at(0)))); }},
               {"visible", [](auto& row) { return VisibleText(row.at(0)); }},
               {"not of Windows-1250",
                [](auto& row) { return ErrorOf<ConversionError>([&] { ToWindows1250(row.at(0)); }); }}});
}

TEST(Text, NamesTheStateOfAnEvent) {
  EXPECT_EQ(DataSetStateToStr(DataSetState::kCalcFields), "dsCalcFields");
}

TEST(Text, ConvertsEveryByteOfWindows1250) {
  const std::string undefined = "\x81\x83\x88\x90\x98";
  const std::string upper_half =
      "€‚„…†‡‰Š‹ŚŤŽŹ"
      "‘’“”•–—™š›śťžź"
      "\u00a0ˇ˘Ł¤Ą¦§¨©Ş«¬\u00ad®Ż"
      "°±˛ł´µ¶·¸ąş»Ľ˝ľż"
      "ŔÁÂĂÄĹĆÇČÉĘËĚÍÎĎ"
      "ĐŃŇÓÔŐÖ×ŘŮÚŰÜÝŢß"
      "ŕáâăäĺćçčéęëěíîď"
      "đńňóôőö÷řůúűüýţ˙";
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(static_cast<unsigned char>(byte));
    if (undefined.find(c) == std::string::npos) bytes += c;
  }
  EXPECT_EQ(FromWindows1250(bytes), bytes.substr(0, 128) + upper_half);
  EXPECT_EQ(ToWindows1250(FromWindows1250(bytes)), bytes);
  EXPECT_EQ(FromWindows1250("a\x81z" + undefined), "a\uFFFDz\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(Dates, Tables) {
  ExpectTables("dates", {{"calendar",
                          [](auto& row) {
                            const auto date =
                                MakeDate(std::stoi(row.at(0)), std::stoi(row.at(1)), std::stoi(row.at(2)));
                            if (!date) return std::string("none");
                            const CivilDate civil = ToCivil(*date);
                            EXPECT_EQ((Words{Text(civil.year), Text(civil.month), Text(civil.day)}), row);
                            EXPECT_EQ(DayOf(StartOf(*date)), *date);
                            EXPECT_EQ(DayOf({StartOf(*date).milliseconds - 1}).days, date->days - 1);
                            EXPECT_EQ(DayOf({StartOf(*date).milliseconds + kMillisecondsPerDay - 1}), *date);
                            return Text(date->days);
                          }},
                         {"iso", [](auto& row) {
                            return TextOf(ParseIsoDate(row.at(0)), FormatIsoDate) + " " +
                                   TextOf(ParseIsoDateTime(row.at(0)), FormatIsoDateTime);
                          }}});
}

const LocaleSettings& Locale(const std::string& name) {
  static const std::map<std::string, LocaleSettings> locales = {{"hr", {}},
                                                                {"en", {".", ",", "M/d/yyyy", "$"}},
                                                                {"yy", {",", ".", "d.M.yy.", "KM"}},
                                                                {"ch", {".", "’", "d.M.yyyy", "Fr."}}};
  return locales.at(name);
}

TEST(LocaleText, Tables) {
  ExpectTables("locale_text",
               {{"numbers",
                 [](auto& row) {
                   const auto scaled = [](Currency amount) { return Text(amount.scaled()); };
                   const LocaleSettings& locale = Locale(row.at(0));
                   return TextOf(ParseLocaleNumber(row.at(1), locale), ShortestNumber) + " " +
                          TextOrError([&] { return TextOf(ParseLocaleCurrency(row.at(1), locale), scaled); });
                 }},
                {"dates",
                 [](auto& row) {
                   const LocaleSettings& locale = Locale(row.at(0));
                   const auto date = ParseLocaleDate(row.at(1), locale);
                   return TextOf(date, FormatIsoDate) + " " +
                          TextOf(date, [&](Date day) { return DateToText(day, locale); });
                 }},
                {"moments", [](auto& row) {
                   const auto moment = ParseLocaleDateTime(row.at(0), Locale("hr"));
                   return TextOf(moment, FormatIsoDateTime) + " " +
                          TextOf(moment, [&](DateTime at) { return DateTimeToText(at, Locale("hr")); });
                 }}});
  EXPECT_EQ(NumberToText(-1234.5, Locale("hr")), "-1234,5");
  EXPECT_EQ(CurrencyToText(Currency::FromUnits(12), Locale("en")), "12.00");
}

// Most numbers of a table are shown without a step through their digits, but not with separators of more than
// a byte.
TEST(FormatFloat, ShowsTheUsualNumbersAsAllOthers) {
  const LocaleSettings usual = {.decimal_separator = ",", .thousands_separator = "."};
  const LocaleSettings unusual = {.decimal_separator = "<,>", .thousands_separator = "<.>"};
  std::mt19937_64 random(11);
  for (const char* const mask :
       {"#,0.00##", "#,0.####", "0.0000", ",#.####", "0.000###", "", "##0.####,", "#", "#,0.00;-#,0.00",
        "0.#;-0.#", "#,0.;-#,0.", "#,0.00;-0.00", "#,0.000##;-#,0.000##"}) {
    const NumberMask read(mask);
    for (int i = 0; i < 3'000; ++i) {
      const auto scaled = static_cast<std::int64_t>(random()) >> (i % 64);
      const auto expect = [&](auto value) {
        std::string slowly = read.Show(value, unusual);
        std::erase_if(slowly, [](char c) { return c == '<' || c == '>'; });
        ASSERT_EQ(read.Show(value, usual), slowly) << mask << ' ' << scaled;
      };
      expect(Currency::FromScaled(scaled));
      expect(static_cast<double>(scaled) / 10'000);
      expect(static_cast<double>(scaled) / 3);
    }
  }
}

TEST(FormatFloat, Tables) {
  ExpectTables("display_format",
               {{"masks", [](auto& row) { return FormatFloat(row.at(0), Number(row.at(1)), Locale("hr")); }},
                {"currency", [](auto& row) {
                   return FormatFloat("#,0.00;-#,0.00", Currency::FromScaled(std::stoll(row.at(0))),
                                      Locale("ch"));
                 }}});
}

}  // namespace
}  // namespace mox

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"
#include "tests/calculations/recap_members.h"

namespace mox {
namespace {

using enum Member;

RecordSet LinesOrNone(const char* text) { return *text == '\0' ? RecordSet() : Records(text); }

// The fourth field may have any name.
RecordSet UsedRecap() { return Records("osnovica=1 porez=1 stopa=25 tekst=x ukupno=1"); }

TEST(VatRecapitulation, SumsByRate) {
  const struct {
    Member member;
    int digits;
    const char* goods;
    const char* services;
    const char* recap;  // osnovica, porez, stopa, its text, ukupno
  } rows[] = {
      {kData, 2, "", "", ""},
      {kData, 2, "ukupno tbr_stp", "ukupno tbr_stp", ""},
      {kData, 2, "ukupno=100 tbr_stp=25; ukupno=100 tbr_stp=25", "", "160.00 40.00 25 25,00% 200.00"},
      // in order of first appearance, over both sets
      {kData, 2, "ukupno=125 tbr_stp=25; ukupno=-113 tbr_stp=13; ukupno=125 tbr_stp=25",
       "ukupno=7 tbr_stp=0; ukupno=113 tbr_stp=13; ukupno=11.2345 tbr_stp=12.345",
       "200.00 50.00 25 25,00% 250.00; 0.00 0.00 13 13,00% 0.00; 7.00 0.00 0 0,00% 7.00; "
       "10.0045 1.23 12.345 12,35% 11.2345"},
      {kData, 2, "", "ukupno=95 tbr_stp=-5; ukupno", "100.00 -5.00 -5 -5,00% 95.00"},
      {kData, 2, "ukupno=100; ukupno=1 tbr_stp=0", "", "101.00 0.00 0 0,00% 101.00"},  // a null rate is 0
      // tax is rounded line by line, and its sum once more whatever the digits
      {kData, 2, "ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25", "",
       "0.30 0.09 25 25,00% 0.39"},
      {kData, 0, "ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25", "",
       "0.30 0.09 25 25,00% 0.39"},
      {kData, 3, "ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25", "",
       "0.312 0.08 25 25,00% 0.392"},
      {kData, 2, "ukupno=0.125 tbr_stp=25", "ukupno=-0.125 tbr_stp=24.99999999",  // a tie and nearly one
       "0.095 0.03 25 25,00% 0.125; -0.095 -0.03 24.99999999 25,00% -0.125"},
      // fee and non-taxable part of the last line of goods come into the total of every rate
      {kData, 2, "ukupno=125 tbr_stp=25; ukupno=113.75 tbr_stp=13 pov_naki=0.5 neoporezivo=0.25",
       "ukupno=105 tbr_stp=5 pov_naki=9",
       "100.00 25.00 25 25,00% 125.75; 100.00 13.00 13 13,00% 113.75; 100.00 5.00 5 5,00% 105.75"},
      {kData, 2, "ukupno=125.75 tbr_stp=25 pov_naki=0.5 neoporezivo=0.25; ukupno=113 tbr_stp=13", "",
       "100.00 25.00 25 25,00% 125.00; 100.00 13.00 13 13,00% 113.00"},

      {kPpom, 2, "", "", ""},
      {kPpom, 1, "ukupno=125 tbr_stp=25 pov_naki=0.5 neoporezivo=0.25", "ukupno=0.13 tbr_stp=25 pov_naki=9",
       "100.10 25.03 25 25,00% 125.13"},
      {kPpom, 3, "ukupno=0.13 tbr_stp=25; ukupno=0.13 tbr_stp=25", "", "0.208 0.05 25 25,00% 0.258"},

      {kIznosBezPdv, 2, "", "", ""},
      // the tax is that of the summed base
      {kIznosBezPdv, 0, "ukupno=0.03 tbr_stp=25; ukupno=0.03 tbr_stp=25", "ukupno=0.03 tbr_stp=25",
       "0.09 0.02 25 25,00% 0.11"},
      {kIznosBezPdv, 2, "ukupno=0.1 tbr_stp=25; ukupno=-0.1 tbr_stp=-25 pov_naki=0.5 neoporezivo=0.25",
       "ukupno=-0.2 tbr_stp=25 pov_naki=9; ukupno=1 tbr_stp=-100",
       "-0.10 -0.03 25 25,00% 0.62; -0.10 0.03 -25 -25,00% 0.68; 1.00 -1.00 -100 -100,00% 0.75"},

      {kPovDob, 2, "ukupno=0.05 tbr_stp=13; ukupno=0.05 tbr_stp=13", "", "0.10 0.02 13 13,00% 0.12"},
      {kPovDob, 3, "ukupno=0.05 tbr_stp=13; ukupno=0.03 tbr_stp=13", "", "0.08 0.01 13 13,00% 0.09"},
      {kPovDob, -1, "ukupno=-0.1 tbr_stp=25 pov_naki=0.5 neoporezivo=1; ukupno=1 tbr_stp=5 pov_naki=0.25", "",
       "-0.10 -0.03 25 25,00% 0.12; 1.00 0.05 5 5,00% 1.30"}};
  for (const auto& row : rows) {
    RecordSet goods = LinesOrNone(row.goods);
    RecordSet services = LinesOrNone(row.services);
    RecordSet recap = UsedRecap();
    Fill(row.member, goods, services, recap, row.digits);
    EXPECT_EQ(Show(recap), row.recap) << row.goods << " | " << row.services;
  }
}

TEST(VatRecapitulation, ComesBackToTheLineAndEnablesTheControls) {
  for (const Member member : {kData, kPpom, kIznosBezPdv, kPovDob}) {
    for (const bool fails : {false, true}) {
      // No tax can be taken out at a rate of -100; without that, the sum of the bases is too great.
      const bool overflows = fails && (member == kIznosBezPdv || member == kPovDob);
      RecordSet goods = Records(std::string("ukupno=900000000000000 tbr_stp=") + (fails ? "-100" : "0") +
                                "; ukupno=2; ukupno=" + (overflows ? "900000000000000 tbr_stp=-100" : "3"));
      RecordSet services = Records("ukupno=1 tbr_stp=5; ukupno=2 tbr_stp=5");
      RecordSet recap = UsedRecap();
      goods.Next();
      services.Next();
      std::vector<RecordSetChange> heard;
      goods.SetListener([&](RecordSet&, RecordSetChange change) { heard.push_back(change); });
      const auto fill = [&] { Fill(member, goods, services, recap, 2); };
      if (overflows) {
        EXPECT_THROW(fill(), Overflow);
      } else if (fails) {
        EXPECT_THROW(fill(), DivisionByZero);
      } else {
        fill();
      }
      EXPECT_EQ(goods.Position(), member == kPovDob ? 2U : 1U);
      EXPECT_EQ(goods.Eof(), member == kPovDob && !fails);
      EXPECT_EQ(services.Position(), 1U);
      EXPECT_FALSE(goods.ControlsDisabled());
      // the screen is told once, when the controls are enabled again
      EXPECT_THAT(heard, testing::ElementsAre(RecordSetChange::kRecords));
    }
  }
}

TEST(VatRecapitulation, AsksForTheRateOfAnAmount) {
  RecordSet lines = Records("ukupno=1 tbr_stp=25");
  RecordSet recap = UsedRecap();
  EXPECT_THROW(FillPDVData(lines.FindField("ukupno"), {}, {}, {}, recap, 2), Error);
}

TEST(VatRecapitulation, InventoryBook) {
  const char* unsorted =
      "stopa=5 roba_iznos=1 porezroba_iznos=1 pov_nak_izn=1; stopa=25 roba_iznos=100;"
      " stopa=13; stopa=25";
  RecordSet book = Records(unsorted);
  RecordSet lines = Records(
      "tbr_stp=25 ukupno=126.1234 pdvi=25.005 pov_naki=1.0001; tbr_stp=5 ukupno=-1.05 pdvi=-0.05;"
      " tbr_stp=7 ukupno=9; tbr_stp=25 ukupno=1");
  FillPDVDataKnjigaPopisa(lines, book);
  EXPECT_EQ(Show(book),
            "5 0.00 0.95 1.00; 25 201.1183 25.005 1.0001; 13 null null null; "
            "25 101.1183 25.005 1.0001");
  EXPECT_TRUE(lines.Eof());

  RecordSet without_fees = Records(
      "tbr_stp=13 ukupno=113 pdvi=13; tbr_stp=13 ukupno=900000000000000;"
      " tbr_stp=13 ukupno=900000000000000");
  EXPECT_THROW(FillPDVDataKnjigaPopisa(without_fees, book), Overflow);
  EXPECT_EQ(without_fees.Position(), 2U);
  EXPECT_FALSE(book.ControlsDisabled() || without_fees.ControlsDisabled());
}

}  // namespace
}  // namespace mox

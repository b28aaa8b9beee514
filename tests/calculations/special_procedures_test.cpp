#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"
#include "tests/calculations/recap_members.h"

namespace mox {
namespace {

using enum Member;

constexpr const char* kFields = "osnovica porez neoporezivo ukupno stopa oznaka_stope vrsta";
constexpr const char* kHotelFields =
    "osnovica porez neoporezivo ukupno pp_iznos pp_stopa stopa vrsta oznaka_stope";

TEST(SpecialProcedures, DivideLinesByTheirKind) {
  const struct {
    Member member;
    const char* lines;
    const char* recap;  // base, tax, non-taxable, total (hotel: consumption tax and its rate), rate and kind
  } rows[] = {
      // the margin is taxed
      {kMargin, "ukupno=225 nci=100 tbr_stp=25 kind=OPB shown=a", "100.00 25.00 100.00 225.00 25 25,00% a"},
      {kMargin, "ukupno=90 nci=100 tbr_stp=25 kind=OPP shown=a", "0.00 0.00 90.00 90.00 25 25,00% a"},
      {kMargin, "ukupno=0 nci=10 tbr_stp=25 kind=OPP shown=a", "-8.00 -2.00 10.00 0.00 25 25,00% a"},
      {kMargin, "ukupno=-100 nci=-90 tbr_stp=25 kind=OPB shown=a", "-8.00 -2.00 -90.00 -100.00 25 25,00% a"},
      {kTravel, "ukupno=90 nci=100 tbr_stp=25 kind=OPB shown=a", "-8.00 -2.00 100.00 90.00 25 25,00% a"},
      {kHotel, "ukupno=92 nci=100 pp_iznos=2 pp_stopa=3 tbr_stp=25 kind=OPP shown=a",
       "-8.00 -2.00 100.00 92.00 2.00 3 25 a 25,00%"},
      // only the margin scheme leaves four decimals in that tax
      {kMargin, "ukupno=100.03 nci tbr_stp=25 kind=OPB shown=a", "80.024 20.006 0.00 100.03 25 25,00% a"},
      {kTravel, "ukupno=100.03 nci tbr_stp=25 kind=OPP shown=a", "80.02 20.01 0.00 100.03 25 25,00% a"},
      {kHotel, "ukupno=100.03 nci pp_stopa tbr_stp=25 kind=OPB shown=a",
       "80.02 20.01 0.00 100.03 0.00 0 25 a 25,00%"},
      // the whole amount, and none of it
      {kMargin, "ukupno=100.03 nci=7 tbr_stp=25 kind=OPO shown=a", "80.02 20.01 0.00 100.03 25 25,00% a"},
      {kHotel, "ukupno=113 nci=7 pp_iznos=3 pp_stopa=3 tbr_stp=10 kind=OPO shown=a",
       "100.00 10.00 0.00 113.00 3.00 3 10 a 10,00%"},
      {kMargin, "ukupno=9 nci=7 tbr_stp=25 kind=NEO shown=a; ukupno=-1 tbr_stp=25 kind=OSL shown=a",
       "0.00 0.00 8.00 8.00 25 25,00% a"},
      {kHotel, "ukupno=9 nci=7 pp_iznos=2 pp_stopa=3 tbr_stp=5 kind=NEO shown=a",
       "0.00 0.00 7.00 9.00 2.00 3 5 a 5,00%"},
      // sums are rounded by the margin scheme only, of amounts that were not
      {kMargin, "ukupno=100.03 nci tbr_stp=25 kind=OPB shown=a; ukupno=100.03 tbr_stp=25 kind=OPB shown=a",
       "160.05 40.01 0.00 200.06 25 25,00% a"},
      {kTravel, "ukupno=0.0051 nci tbr_stp=0 kind=NEO shown=a; ukupno=0.0051 tbr_stp=0 kind=NEO shown=a",
       "0.00 0.00 0.0102 0.0102 0 0,00% a"},
      // what rounding tears apart the non-taxable part takes up
      {kMargin, "ukupno=1.008 nci=0.504 tbr_stp=0 kind=OPB shown=a", "0.504 0.00 0.51 1.008 0 0,00% a"},
      {kMargin, "ukupno=0.01 nci tbr_stp=100 kind=OPB shown=a", "0.005 0.005 -0.01 0.01 100 100,00% a"},
      {kTravel, "ukupno=1.008 nci=0.504 tbr_stp=0 kind=OPB shown=a", "0.504 0.00 0.504 1.008 0 0,00% a"},
      // a row for each rate and kind, in whatever letters
      {kTravel,
       "ukupno=1 nci tbr_stp=5 kind=NEO shown=Šuma; ukupno=2 tbr_stp=13 kind=NEO shown=šuma;"
       " ukupno=4 tbr_stp=5 kind=OSL shown=ŠUMA; ukupno=8 tbr_stp=5 kind=NEO shown=b",
       "0.00 0.00 5.00 5.00 5 5,00% Šuma; 0.00 0.00 2.00 2.00 13 13,00% šuma; 0.00 0.00 8.00 8.00 5 5,00% b"},
      {kHotel,
       "ukupno=1 nci tbr_stp=5 pp_stopa=3 pp_iznos=0.5 kind=NEO shown=a; ukupno=2 tbr_stp=5 pp_stopa=2 "
       "kind=NEO"
       " shown=A; ukupno=4 tbr_stp=5 pp_stopa=3 pp_iznos=0.25 kind=NEO shown=A",
       "0.00 0.00 4.25 5.00 0.75 3 5 a 5,00%; 0.00 0.00 2.00 2.00 0.00 2 5 A 5,00%"},
      // travel arrangements leave items of kind 1 out
      {kTravel,
       "ukupno=1 nci tbr_stp=5 kind=NEO vrsta_stavke=1 shown=a; ukupno=2 tbr_stp=5 kind=NEO vrsta_stavke=2 "
       "shown=a;"
       " ukupno=4 tbr_stp=5 kind=NEO shown=a",
       "0.00 0.00 6.00 6.00 5 5,00% a"},
      {kMargin, "ukupno=1 nci tbr_stp=5 kind=NEO vrsta_stavke=1 shown=a", "0.00 0.00 1.00 1.00 5 5,00% a"},
      // without one of the amounts there is nothing to divide
      {kMargin, "ukupno=1 tbr_stp=5 kind=NEO shown=a", ""},
      {kTravel, "nci=1 tbr_stp=5 kind=NEO shown=a", ""},
      {kHotel, "ukupno=1 tbr_stp=5 pp_stopa kind=NEO shown=a", ""}};
  for (const auto& row : rows) {
    const TestHost host;
    RecordSet lines = Records(row.lines);
    RecordSet recap = Records(row.member == kHotel ? kHotelFields : kFields);
    recap.Append();
    recap.Set(field::osnovica, Currency::FromUnits(1));
    recap.Post();
    Fill(row.member, lines, recap);
    EXPECT_EQ(Show(recap), row.recap) << row.lines;
    EXPECT_TRUE(host.dialogs.empty()) << row.lines;
    EXPECT_EQ(lines.Eof(), *row.recap != '\0');
  }
}

TEST(SpecialProcedures, HotelsWithoutConsumptionTaxInTheRecapitulation) {
  RecordSet lines = Records(
      "ukupno=103 nci tbr_stp=25 pp_stopa=3 pp_iznos=3 kind=NEO shown=a;"
      " ukupno=102 tbr_stp=25 pp_stopa=2 pp_iznos=2 kind=NEO shown=a");
  RecordSet recap = Records(kFields);
  Fill(kHotel, lines, recap);
  EXPECT_EQ(Show(recap), "0.00 0.00 200.00 205.00 25 25,00% a");
}

TEST(SpecialProcedures, ReportAnUnknownKindAndCarryTheAmountsOfTheLineBefore) {
  const std::string dialog =
      "2|Nepravilni podaci|Raspodjela PDV-a|Oznaka vrste izlaznog poreza nije podržana";
  for (const Member member : {kMargin, kTravel, kHotel}) {
    const TestHost host;
    RecordSet lines = Records(
        "ukupno=5 nci=1 tbr_stp=5 pp_stopa=0 kind=??? shown=a; ukupno=125 nci=1 tbr_stp=25 kind=OPO shown=a;"
        " ukupno=9 nci=1 tbr_stp=5 kind=opo shown=a; ukupno=9 nci=1 tbr_stp=5 kind shown=a");
    RecordSet recap = Records(kFields);
    Fill(member, lines, recap);
    EXPECT_EQ(Show(recap), "200.00 50.00 0.00 250.00 5 5,00% a; 100.00 25.00 0.00 125.00 25 25,00% a");
    EXPECT_THAT(host.dialogs, testing::ElementsAre(dialog, dialog, dialog));
  }
}

TEST(SpecialProcedures, EnableTheControlsAfterAnError) {
  for (const Member member : {kMargin, kTravel, kHotel}) {
    RecordSet lines = Records(
        "ukupno=5 nci=1 tbr_stp=5 pp_stopa=0 kind=NEO shown=a; ukupno=1 tbr_stp=-100 kind=OPO shown=a;"
        " ukupno=1 tbr_stp=5 kind=NEO shown=a");
    RecordSet recap = Records(kFields);
    EXPECT_THROW(Fill(member, lines, recap), DivisionByZero);
    EXPECT_FALSE(lines.ControlsDisabled());
    EXPECT_EQ(lines.Position(), 1U);
    EXPECT_EQ(Show(recap), "0.00 0.00 5.00 5.00 5 5,00% a");
  }
}

}  // namespace
}  // namespace mox

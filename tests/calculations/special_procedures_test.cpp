#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mox/calculations/vat_recapitulation.h"
#include "tests/calculations/line_table.h"

namespace mox {
namespace {

enum class Procedure : std::uint8_t { kMargin, kTravel, kHotel };
using enum Procedure;

// The lines hold the sale amount in mpci, the purchase amount in nci, the rates in tbr_stp and pp_stopa, the
// output-tax kind in kind and what the recapitulation shows of it in shown.
void Fill(Procedure procedure, RecordSet& lines, RecordSet& recap) {
  const auto sale = lines.FindField("mpci");
  const auto purchase = lines.FindField("nci");
  const Field rate = lines.FieldByName("tbr_stp");
  const Field shown = lines.FieldByName("shown");
  switch (procedure) {
    case kMargin:
      return FillPDVDataPosebniPostupak(sale, purchase, rate, shown, recap, "KIND");
    case kTravel:
      return FillPDVDataAranzmanPosebniPostupak(sale, purchase, rate, shown, recap, "KIND");
    case kHotel:
      return FillPDVDataHTLPosebniPostupakPP(sale, purchase, rate, lines.FieldByName("pp_stopa"), shown,
                                             recap, "KIND");
  }
}

constexpr const char* kFields = "osnovica porez neoporezivo ukupno stopa oznaka_stope vrsta";
constexpr const char* kHotelFields =
    "osnovica porez neoporezivo ukupno pp_iznos pp_stopa stopa vrsta oznaka_stope";

TEST(SpecialProcedures, DivideLinesByTheirKind) {
  const struct {
    Procedure procedure;
    const char* lines;
    const char* recap;  // base, tax, non-taxable, total (hotel: consumption tax and its rate), rate and kind
  } rows[] = {
      // the margin is taxed
      {kMargin, "mpci=225 nci=100 tbr_stp=25 kind=OPB shown=a", "100.00 25.00 100.00 225.00 25 25,00% a"},
      {kMargin, "mpci=90 nci=100 tbr_stp=25 kind=OPP shown=a", "0.00 0.00 90.00 90.00 25 25,00% a"},
      {kMargin, "mpci=0 nci=10 tbr_stp=25 kind=OPP shown=a", "-8.00 -2.00 10.00 0.00 25 25,00% a"},
      {kMargin, "mpci=-100 nci=-90 tbr_stp=25 kind=OPB shown=a", "-8.00 -2.00 -90.00 -100.00 25 25,00% a"},
      {kTravel, "mpci=90 nci=100 tbr_stp=25 kind=OPB shown=a", "-8.00 -2.00 100.00 90.00 25 25,00% a"},
      {kHotel, "mpci=92 nci=100 pp_iznos=2 pp_stopa=3 tbr_stp=25 kind=OPP shown=a",
       "-8.00 -2.00 100.00 92.00 2.00 3 25 a 25,00%"},
      // only the margin scheme leaves four decimals in that tax
      {kMargin, "mpci=100.03 nci tbr_stp=25 kind=OPB shown=a", "80.024 20.006 0.00 100.03 25 25,00% a"},
      {kTravel, "mpci=100.03 nci tbr_stp=25 kind=OPP shown=a", "80.02 20.01 0.00 100.03 25 25,00% a"},
      {kHotel, "mpci=100.03 nci pp_stopa tbr_stp=25 kind=OPB shown=a",
       "80.02 20.01 0.00 100.03 0.00 0 25 a 25,00%"},
      // the whole amount, and none of it
      {kMargin, "mpci=100.03 nci=7 tbr_stp=25 kind=OPO shown=a", "80.02 20.01 0.00 100.03 25 25,00% a"},
      {kHotel, "mpci=113 nci=7 pp_iznos=3 pp_stopa=3 tbr_stp=10 kind=OPO shown=a",
       "100.00 10.00 0.00 113.00 3.00 3 10 a 10,00%"},
      {kMargin, "mpci=9 nci=7 tbr_stp=25 kind=NEO shown=a; mpci=-1 tbr_stp=25 kind=OSL shown=a",
       "0.00 0.00 8.00 8.00 25 25,00% a"},
      {kHotel, "mpci=9 nci=7 pp_iznos=2 pp_stopa=3 tbr_stp=5 kind=NEO shown=a",
       "0.00 0.00 7.00 9.00 2.00 3 5 a 5,00%"},
      // sums are rounded by the margin scheme only, of amounts that were not
      {kMargin, "mpci=100.03 nci tbr_stp=25 kind=OPB shown=a; mpci=100.03 tbr_stp=25 kind=OPB shown=a",
       "160.05 40.01 0.00 200.06 25 25,00% a"},
      {kTravel, "mpci=0.0051 nci tbr_stp=0 kind=NEO shown=a; mpci=0.0051 tbr_stp=0 kind=NEO shown=a",
       "0.00 0.00 0.0102 0.0102 0 0,00% a"},
      // what rounding tears apart the non-taxable part takes up
      {kMargin, "mpci=1.008 nci=0.504 tbr_stp=0 kind=OPB shown=a", "0.504 0.00 0.51 1.008 0 0,00% a"},
      {kMargin, "mpci=0.01 nci tbr_stp=100 kind=OPB shown=a", "0.005 0.005 -0.01 0.01 100 100,00% a"},
      {kTravel, "mpci=1.008 nci=0.504 tbr_stp=0 kind=OPB shown=a", "0.504 0.00 0.504 1.008 0 0,00% a"},
      // a row for each rate and kind, in whatever letters
      {kTravel,
       "mpci=1 nci tbr_stp=5 kind=NEO shown=Šuma; mpci=2 tbr_stp=13 kind=NEO shown=šuma;"
       " mpci=4 tbr_stp=5 kind=OSL shown=ŠUMA; mpci=8 tbr_stp=5 kind=NEO shown=b",
       "0.00 0.00 5.00 5.00 5 5,00% Šuma; 0.00 0.00 2.00 2.00 13 13,00% šuma; 0.00 0.00 8.00 8.00 5 5,00% b"},
      {kHotel,
       "mpci=1 nci tbr_stp=5 pp_stopa=3 pp_iznos=0.5 kind=NEO shown=a; mpci=2 tbr_stp=5 pp_stopa=2 kind=NEO"
       " shown=A; mpci=4 tbr_stp=5 pp_stopa=3 pp_iznos=0.25 kind=NEO shown=A",
       "0.00 0.00 4.25 5.00 0.75 3 5 a 5,00%; 0.00 0.00 2.00 2.00 0.00 2 5 A 5,00%"},
      // travel arrangements leave items of kind 1 out
      {kTravel,
       "mpci=1 nci tbr_stp=5 kind=NEO vrsta_stavke=1 shown=a; mpci=2 tbr_stp=5 kind=NEO vrsta_stavke=2 "
       "shown=a;"
       " mpci=4 tbr_stp=5 kind=NEO shown=a",
       "0.00 0.00 6.00 6.00 5 5,00% a"},
      {kMargin, "mpci=1 nci tbr_stp=5 kind=NEO vrsta_stavke=1 shown=a", "0.00 0.00 1.00 1.00 5 5,00% a"},
      // without one of the amounts there is nothing to divide
      {kMargin, "mpci=1 tbr_stp=5 kind=NEO shown=a", ""},
      {kTravel, "nci=1 tbr_stp=5 kind=NEO shown=a", ""},
      {kHotel, "mpci=1 tbr_stp=5 pp_stopa kind=NEO shown=a", ""}};
  for (const auto& row : rows) {
    const TestHost host;
    RecordSet lines = Records(row.lines);
    RecordSet recap = Records(row.procedure == kHotel ? kHotelFields : kFields);
    recap.Append();
    recap.Set(field::osnovica, Currency::FromUnits(1));
    recap.Post();
    Fill(row.procedure, lines, recap);
    EXPECT_EQ(Show(recap), row.recap) << row.lines;
    EXPECT_TRUE(host.dialogs.empty()) << row.lines;
    EXPECT_EQ(lines.Eof(), *row.recap != '\0');
  }
}

TEST(SpecialProcedures, HotelsWithoutConsumptionTaxInTheRecapitulation) {
  RecordSet lines = Records(
      "mpci=103 nci tbr_stp=25 pp_stopa=3 pp_iznos=3 kind=NEO shown=a;"
      " mpci=102 tbr_stp=25 pp_stopa=2 pp_iznos=2 kind=NEO shown=a");
  RecordSet recap = Records(kFields);
  Fill(kHotel, lines, recap);
  EXPECT_EQ(Show(recap), "0.00 0.00 200.00 205.00 25 25,00% a");
}

TEST(SpecialProcedures, ReportAnUnknownKindAndCarryTheAmountsOfTheLineBefore) {
  const std::string dialog =
      "2|Nepravilni podaci|Raspodjela PDV-a|Oznaka vrste izlaznog poreza nije podržana";
  for (const Procedure procedure : {kMargin, kTravel, kHotel}) {
    const TestHost host;
    RecordSet lines = Records(
        "mpci=5 nci=1 tbr_stp=5 pp_stopa=0 kind=??? shown=a; mpci=125 nci=1 tbr_stp=25 kind=OPO shown=a;"
        " mpci=9 nci=1 tbr_stp=5 kind=opo shown=a; mpci=9 nci=1 tbr_stp=5 kind shown=a");
    RecordSet recap = Records(kFields);
    Fill(procedure, lines, recap);
    EXPECT_EQ(Show(recap), "200.00 50.00 0.00 250.00 5 5,00% a; 100.00 25.00 0.00 125.00 25 25,00% a");
    EXPECT_THAT(host.dialogs, testing::ElementsAre(dialog, dialog, dialog));
  }
}

TEST(SpecialProcedures, EnableTheControlsAfterAnError) {
  for (const Procedure procedure : {kMargin, kTravel, kHotel}) {
    RecordSet lines = Records(
        "mpci=5 nci=1 tbr_stp=5 pp_stopa=0 kind=NEO shown=a; mpci=1 tbr_stp=-100 kind=OPO shown=a;"
        " mpci=1 tbr_stp=5 kind=NEO shown=a");
    RecordSet recap = Records(kFields);
    EXPECT_THROW(Fill(procedure, lines, recap), DivisionByZero);
    EXPECT_FALSE(lines.ControlsDisabled());
    EXPECT_EQ(lines.Position(), 1U);
    EXPECT_EQ(Show(recap), "0.00 0.00 5.00 5.00 5 5,00% a");
  }
}

}  // namespace
}  // namespace mox

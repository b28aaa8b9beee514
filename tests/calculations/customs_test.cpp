#include "mox/calculations/customs.h"

#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"

namespace mox {
namespace {

TEST(Customs, WeightsInProportionToTheQuantity) {
  ExpectRows({MOX_FUNCTION(CarIzlazRaspodjelaTezinaPoKolicini)}, R"(
      lgr_kol=10 lgr_koleta=3 lgr_bruto=100 lgr_neto=90 kolicina=5 -> koleta=2 bruto=50 neto=45
      # halves of packages go to the even number, those of weights away from zero
      lgr_kol=2 lgr_koleta=5 lgr_bruto=0.01 lgr_neto=-0.01 kolicina=1 -> koleta=2 bruto=0.01 neto=-0.01
      lgr_kol=3 lgr_koleta=9 lgr_bruto=10 lgr_neto=0.1 kolicina=0.5 -> koleta=2 bruto=1.67 neto=0.02
      lgr_kol=10 lgr_koleta=3 lgr_bruto=10 lgr_neto=9 kolicina=-5 -> koleta=-2 bruto=-5 neto=-4.5
      # a whole lot, more than a lot and an empty one
      lgr_kol=10 lgr_koleta=2.5 lgr_bruto=1.23456 lgr_neto=0.001 kolicina=10
      -> koleta=2.5 bruto=1.23456 neto=0.001
      lgr_kol=10 lgr_koleta=3 lgr_bruto=10 lgr_neto=9 kolicina=11 koleta=7 bruto=7 neto=7 ->
      lgr_kol=0 lgr_koleta=3 lgr_bruto=10 lgr_neto=9 kolicina=-1 koleta=7 bruto=7 neto=7 ->
      lgr_koleta=3 lgr_bruto=10 lgr_neto=9 koleta=7 ->)");
}

TEST(Customs, ClearsTheRatesOfEveryLine) {
  const struct {
    bool customs;
    bool vat;
    const char* lines;
  } rows[] = {{false, false, "5 25; 1.5 null; null 13"},
              {true, false, "0 25; 0 null; 0 13"},
              {false, true, "5 0; 1.5 0; null 0"},
              {true, true, "0 0; 0 0; 0 0"}};
  for (const auto& row : rows) {
    RecordSet lines = Records("ctb_stopa=5 tbr_stp=25; ctb_stopa=1.5; tbr_stp=13");
    int heard = 0;
    lines.SetListener([&](RecordSet&, RecordSetChange) { ++heard; });
    PonistiCarinuPdv(lines, row.customs, row.vat);
    EXPECT_TRUE(lines.Eof());
    EXPECT_EQ(lines.State(), DataSetState::kBrowse);
    EXPECT_FALSE(lines.ControlsDisabled());
    EXPECT_EQ(heard, 1);
    lines.SetListener(nullptr);
    EXPECT_EQ(Show(lines), row.lines);
  }
  // A rate that is not asked for need not be there.
  RecordSet lines = Records("tbr_stp=25; tbr_stp=5");
  PonistiCarinuPdv(lines, false, true);
  EXPECT_EQ(Show(lines), "0; 0");
  EXPECT_THROW(PonistiCarinuPdv(lines, true, false), FieldNotFound);
  EXPECT_FALSE(lines.ControlsDisabled());
}

}  // namespace
}  // namespace mox

#include "mox/calculations/line_formulas.h"

#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"

namespace mox {
namespace {

TEST(LineFormulas, UnitPriceTimesQuantity) {
  const struct {
    LineFunction function;
    const char* price;
    const char* amount;
  } members[] = {{MOX_FUNCTION(calcPci_pc_kolicina), "pc", "pci"},
                 {MOX_FUNCTION(calcNc_Kolicina), "nc", "nci"},
                 {MOX_FUNCTION(calcFC_Kolicina), "fc", "fci"},
                 {MOX_FUNCTION(calcVpc_Kolicina), "vpc", "vpci"},
                 {MOX_FUNCTION(calcMPC_Kolicina), "mpc", "mpci"},
                 {MOX_FUNCTION(calcNMPC_Kolicina), "nmpc", "nmpci"},
                 {MOX_FUNCTION(calcPov_nak_Kolicina), "pov_nak", "pov_naki"},
                 {MOX_FUNCTION(calcPot_nak_Kolicina), "pot_nak", "pot_naki"}};
  for (const auto& [function, price, amount] : members) {
    const char* const table = R"(
      PRICE=333.3333 kolicina=3 AMOUNT=7 -> AMOUNT=1000
      # halves go away from zero, whatever is negative
      PRICE=2.675 kolicina=1 -> AMOUNT=2.68
      PRICE=-2.675 kolicina=1 -> AMOUNT=-2.68
      PRICE=2.675 kolicina=-1 -> AMOUNT=-2.68
      PRICE=-0.005 kolicina=-1 -> AMOUNT=0.01
      PRICE=1.25 kolicina=0.1 -> AMOUNT=0.13
      # also what lies less than 0.0000001 below a half, and nothing more
      PRICE=49.9995 kolicina=0.0001 -> AMOUNT=0.01
      PRICE=49.9985 kolicina=0.0001 -> AMOUNT=0
      PRICE=-49.9995 kolicina=0.0001 -> AMOUNT=-0.01
      PRICE=5 kolicina=0 AMOUNT=7 -> AMOUNT=0
      # a null price
      kolicina=3 -> AMOUNT=0
      PRICE=900000000000000 kolicina=2 -> ! amount is outside the range of a currency)";
    ExpectRows({function}, With(With(table, "AMOUNT", amount), "PRICE", price));
  }
}

TEST(LineFormulas, Discounts) {
  ExpectRows({MOX_FUNCTION(calcRabat)}, R"(
      pci=33.35 rbp1=15 -> rbi1=5
      pci=0.5 rbp1=-1 -> rbi1=-0.01
      pci=10 -> rbi1=0)");
  const char* const cascade = R"(
      AMOUNT=100 rbp1=10 rbp2=10 rbp3=10 -> rbi1=10 rbi2=9 rbi3=8.1 ...
      # each step reads the rounded discounts before it
      AMOUNT=0.15 rbp1=50 rbp2=100 rbp3=50 -> rbi1=0.08 rbi2=0.07 rbi3=0 ...
      AMOUNT=0.15 rbp1=50 rbp2=50 rbp3=100 -> rbi1=0.08 rbi2=0.04 rbi3=0.03 ...
      AMOUNT=-0.15 rbp1=50 rbp2=50 rbp3=100 -> rbi1=-0.08 rbi2=-0.04 rbi3=-0.03 ...
      # a zero percent clears the amount of before, and the later steps still run
      AMOUNT=100 rbp2=50 rbi1=7 -> rbi1=0 rbi2=50 rbi3=0 ...
      AMOUNT=10 rbp1=-10 rbp2=150 rbp3=100 -> rbi1=-1 rbi2=16.5 rbi3=-5.5 ...)";
  ExpectRows({MOX_FUNCTION(calcRabat1_2_3)}, With(cascade, "AMOUNT", "pci"));
  ExpectRows({MOX_FUNCTION(calcRabatUlazni1_2_3)}, With(cascade, "AMOUNT", "fci"));
  ExpectRows({MOX_FUNCTION(calcRabatUlazni1_2_3)}, R"(
      fci=100 rbp1=10 rbp2=10 rbp3=10 pot_naki=1.2345 -> rbi1=10 rbi2=9 rbi3=8.1 nfci=74.1345)");
}

TEST(LineFormulas, WholesalePriceOfTheRetailPrice) {
  ExpectRows({MOX_FUNCTION(calcVpc_maloprodaja)}, R"(
      mpc=12.5 tbr_stp=25 -> vpc=10
      mpc=-0.01 tbr_stp=100 pov_nak=0.5 -> vpc=-0.01
      mpc=12.5 tbr_stp=-100 -> ! division by zero)");
  ExpectRows({MOX_FUNCTION(calcVpc_maloprodaja_pov_nak)}, R"(
      mpc=12.5 pov_nak=0.5 tbr_stp=25 -> vpc=9.6
      mpc=1 pov_nak=1 tbr_stp=-100 -> ! division by zero)");
}

TEST(LineFormulas, TaxOnTopOfTheBase) {
  ExpectRows({MOX_FUNCTION(calcOsnovicaPdviUkupno)}, R"(
      (2) pci=100 rbi1=10 rbi2=9 rbi3=8.1 tbr_stp=25 pov_naki=0.5 -> osnovica=72.9 pdvi=18.23 ukupno=91.63
      (2) pci=-72.9 tbr_stp=25 -> osnovica=-72.9 pdvi=-18.23 ukupno=-91.13
      # base and total keep four decimals
      (4) pci=1.2345 rbi3=0.0001 tbr_stp=25 pov_naki=0.0001 -> osnovica=1.2344 pdvi=0.3086 ukupno=1.5431
      # the digits are taken as passed
      (0) pci=10 tbr_stp=25 -> osnovica=10 pdvi=3 ukupno=13
      (-1) pci=10 tbr_stp=25 -> osnovica=10 ! Nepravilno pozivanje fukcije MyRound!!!!!!!)");
}

TEST(LineFormulas, TaxContainedInTheGrossAmount) {
  const std::string with_fee = "(2) AMOUNT=125 pov_naki=0.5 tbr_stp=25 -> pdvi=24.9\n";
  const std::string table = R"(
      (2) AMOUNT=125 tbr_stp=25 pdvi=7 -> pdvi=25
      # fewer than two digits count as two
      (0) AMOUNT=2.56 tbr_stp=25 -> pdvi=0.51
      (-3) AMOUNT=2.56 tbr_stp=25 -> pdvi=0.51
      (3) AMOUNT=10 tbr_stp=22 -> pdvi=1.803
      (4) AMOUNT=1 tbr_stp=13 -> pdvi=0.115
      (2) AMOUNT=0.125 tbr_stp=25 -> pdvi=0.03
      (2) AMOUNT=-0.125 tbr_stp=25 -> pdvi=-0.03
      (2) AMOUNT=125 -> pdvi=0
      # also when 0 is divided by 0
      (2) tbr_stp=-100 pdvi=7 -> ! division by zero)";
  ExpectRows({MOX_FUNCTION(calcPDVI_mal)}, With(table, "AMOUNT", "mpci"));
  ExpectRows({MOX_FUNCTION(calcPDVI_malPC)}, With(table, "AMOUNT", "pci"));
  ExpectRows({MOX_FUNCTION(calcPDVI_mal_pov_nak)}, With(with_fee + table, "AMOUNT", "mpci"));
  ExpectRows({MOX_FUNCTION(calcPDVI_malPC_pov_nak)}, With(with_fee + table, "AMOUNT", "pci"));
}

TEST(LineFormulas, Margins) {
  ExpectRows({MOX_FUNCTION(calcMarza_vpci_nci)}, "vpci=10.1234 nci=20.0001 -> marza=-9.8767");
  ExpectRows({MOX_FUNCTION(calcMari_vpci_nci)}, "vpci=10.1234 nci=20.0001 -> mari=-9.8767");
  ExpectRows({MOX_FUNCTION(calcMal_Mari)}, R"(
      mpci=125 pdvi=25 nci=80.005 -> mari=20
      mpci=80.005 pdvi=25 nci=75 pov_naki=1 -> mari=-20)");
  ExpectRows({MOX_FUNCTION(calcMal_Mari_pov_naki)}, "mpci=125 pov_naki=0.5 pdvi=25 nci=80.005 -> mari=19.5");
  ExpectRows({MOX_FUNCTION(calcMarpMarzaNci)}, R"(
      marza=10 nci=30 marp=7 -> marp=33.3333333333
      marza=1 nci=-3 -> marp=-33.3333333333
      marza=10 nci=0 marp=7 ->
      marza=10 ->)");
  ExpectRows({MOX_FUNCTION(calcMal_Marp)}, R"(
      mari=10 nci=30 marp=7 -> marp=33.3333333333
      mari=10 nci=0 marp=7 ->)");
}

TEST(LineFormulas, UnitPurchasePrice) {
  ExpectRows({MOX_FUNCTION(calc_NC_PrimkaKalkulacija)}, R"(
      (2) nfci=100 zti=0.0001 kolicina=3 nci=7 nc=7 -> nci=100.0001 nc=33.33
      (4) nfci=100 zti=0.0001 kolicina=3 -> nci=100.0001 nc=33.3334
      (0) nfci=-100 zti=1 kolicina=2 -> nci=-99 nc=-50
      (-1) nfci=100 kolicina=3 -> nci=100 ! Nepravilno pozivanje fukcije MyRound!!!!!!!
      # without a quantity there is no price to round
      (-1) nfci=100 zti=1 kolicina=0 nc=7 -> nci=101)");
}

}  // namespace
}  // namespace mox

#include "mox/calculations/receipt_costing.h"

#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"

namespace mox {
namespace {

TEST(ReceiptCosting, WholesalePriceAndMargin) {
  const std::string table = R"(
      (0, 2) nci=100 marp=20 kolicina=3 vpc=77 vpci=77 -> vpci=120 vpc=40 MARGIN=20
      # the margin takes up what the rounded price moves, for either sign
      (0, 2) nci=100 marp=10 kolicina=3 -> vpci=110.01 vpc=36.67 MARGIN=10.01
      (0, -1) nci=-100 marp=10 kolicina=-3 -> vpci=-110.01 vpc=36.67 MARGIN=-10.01
      (0, 3) nci=100 marp=10 kolicina=3 -> vpci=110 vpc=36.667 MARGIN=10
      (0, 4) nci=10.0001 marp=1 kolicina=1 -> vpci=10.1001 vpc=10.1001 MARGIN=0.1
      (0, 2) nci=100 marp=-10.005 kolicina=1 -> vpci=89.99 vpc=89.99 MARGIN=-10.01
      # without a quantity all of the value is difference; less than a cent of it stays
      (0, 2) nci=100 marp=10 kolicina=0 vpc=7 -> vpci=0 MARGIN=-100
      (0, 2) nci=100.0049 marp=10 vpc=7 -> vpci=0.0049 MARGIN=-100
      (1, 2) vpc=12.005 kolicina=3 nci=30 -> vpci=36.02 marp=20.0666666667 MARGIN=6.02
      (2, 4) vpc=5 kolicina=-1 nci=3.0001 -> vpci=-5 marp=-266.66111129629 MARGIN=-8.0001
      (1, 2) vpc=5 kolicina=1 nci=0 marp=7 -> vpci=5 MARGIN=5)";
  ExpectRows({MOX_FUNCTION(CalcVPC_Marza_PrimkaKalkulacija)}, With(table, "MARGIN", "marza"));
  ExpectRows({MOX_FUNCTION(Calc_PrimkaKalkulacija_VPC_OR_Marza)}, With(table, "MARGIN", "mari"));
}

TEST(ReceiptCosting, RetailPriceAndMargin) {
  ExpectRows({MOX_FUNCTION(CalcMPC_Marza_PrimkaKalkulacija)}, R"(
      (0, 2, 2) nci=100 marp=20 kolicina=3 tbr_stp=25 pov_naki=1.5 mpc=77 mpci=77
      -> mari=20 mpci=151.5 mpc=50.5 pdvi=30
      # of a difference of 0.1 the margin takes the part without tax
      (0, 0, 0) nci=100 marp=10 kolicina=30 tbr_stp=25 -> mari=9.92 mpci=137.4 mpc=4.58 pdvi=27.48
      (0, 2, 2) nci=-100 marp=10 kolicina=-6 tbr_stp=25 -> mari=-10.02 mpci=-137.52 mpc=22.92 pdvi=-27.5
      # back from 458.333 it is 137.4999, which is no cent less
      (0, 4, 3) nci=100 marp=10 kolicina=0.3 tbr_stp=25 -> mari=10 mpci=137.5 mpc=458.333 pdvi=27.5
      (0, 3, 2) nci=100 marp=0 kolicina=7 tbr_stp=13 -> mari=-0.02 mpci=112.98 mpc=16.14 pdvi=12.998
      (0, 2, 4) nci=1 marp=0.005 kolicina=1 -> mari=0.0001 mpci=1 mpc=1 pdvi=0
      (0, 2, 2) nci=100 marp=10 kolicina=0 tbr_stp=25 pov_naki=0.5 mpc=7 -> mari=-100.4 mpci=0 pdvi=-0.1
      (0, 2, 2) nci=1 kolicina=1 tbr_stp=-100 -> mari=0 mpci=0 mpc=0 ! division by zero
      (1, 3, 2) mpc=4.995 kolicina=3 nci=10 tbr_stp=25 pov_naki=1.5
      -> mpci=14.99 pdvi=2.698 mari=0.792 marp=7.92
      (9, 0, 0) mpc=5 kolicina=-1 marp=7 tbr_stp=25 -> mpci=-5 pdvi=-1 mari=-4)");
}

TEST(ReceiptCosting, PromotionalPriceAndMargin) {
  ExpectRows({MOX_FUNCTION(CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH)}, R"(
      (0, 2) nca=10.01 marpa=50 tbr_stp=17 mpcia=77 mpca=77 -> maria=5.01 mpcia=17.57 mpca=17.57
      (1, 3) mpca=11.7 tbr_stp=17.5 nca=8 mpc=12.5 nc=10 mpcia=77
      -> mpcia=11.7 pdvi=1.743 maria=1.957 marpa=24.4625 marp=6.3829787234
      (1, 0) mpca=11.7 tbr_stp=17.5 mpc=12.5 marp=7 marpa=7
      -> mpcia=11.7 pdvi=1.74 maria=9.96 marpa=0 marp=0)");
}

TEST(ReceiptCosting, GoodsOfAnotherOwner) {
  ExpectRows({MOX_FUNCTION(CalcNC_PrimkaZaTuduRobu)}, R"(
      mpc=125 tbr_stp=25 nc=7 -> nc=100
      mpc=10 tbr_stp=17 -> nc=8.55
      NC_CALC_DIGIT=4 PC_CALC_DIGIT=0 mpc=10 tbr_stp=17 -> nc=8.547
      NC_CALC_DIGIT=0 mpc=-0.6 -> nc=-1
      NC_CALC_DIGIT=-2 mpc=1 -> ! Nepravilno pozivanje fukcije MyRound!!!!!!!
      mpc=1 tbr_stp=-100 -> ! division by zero)");
}

TEST(ReceiptCosting, ArticleEntry) {
  ExpectRowsIn(Way::kBrowse, MOX_FUNCTION(Calc_Marp_ZadanaMarza_ArtInsert), R"(
      # 10 less 1, 0.9, 0.81 and plus 0.5 is 7.79; with 5 % on top of it 8.1795
      (20, 0) fc=10 rbp1=10 rbp2=10 rbp3=10 pot_nak=0.5 ztp=5 pov_nak=1 tbr_stp=25 -> marp=144.513723333
      (21, 1) fc=10 rbp1=10 rbp2=10 rbp3=10 pot_nak=0.5 ztp=5 pov_nak=1 tbr_stp=25 -> marp=95.6109786662
      # each discount is rounded and taken from the rounded rest; then the net price
      (1, 0) fc=0.15 rbp1=50 rbp2=50 rbp3=50 ztp=0 -> marp=9900
      (1, 0) fc=0.0951 pot_nak=0.0099 ztp=0 -> marp=809.090909091
      (0, 1) fc=10 ztp=5 marp=7 ->
      (5, 1) ztp=5 marp=7 -> marp=0
      (5, 1) ztp=5 tbr_stp=-100 marp=7 -> marp=0
      (5, 1) fc=1 ztp=5 tbr_stp=-100 marp=7 -> ! division by zero
      (-5, 1) fc=10 ztp=0 tbr_stp=25 -> marp=-140
      # what is absent counts as 0, but for the invoice price
      (5, 1) fc=10 marp=7 ztp=absent -> marp=0
      (5, 1) fc=2 ztp=25 rbp1=absent rbp2=absent rbp3=absent pot_nak=absent pov_nak=absent tbr_stp=absent
      -> marp=100
      (5, 1) fc=2 ztp=25 marp=absent ->
      (0, 1) fc=absent -> ! line: field "fc" not found)");
}

}  // namespace
}  // namespace mox

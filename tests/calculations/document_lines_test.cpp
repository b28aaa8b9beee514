#include "mox/calculations/document_lines.h"

#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"

namespace mox {
namespace {

// 77 is the result of an earlier pass, where a step could read it too early.

TEST(DocumentLines, Stock) {
  ExpectRows({MOX_FUNCTION(MalPrimkaZaduzenjeStavkeCalcFields), MOX_FUNCTION(RazduzenjeOtpisStavkeCalcFields),
              MOX_FUNCTION(MeduskladisnicaUlazSetData), MOX_FUNCTION(MeduskladisnicaIzlazStavkeCalcFields),
              MOX_FUNCTION(PocetnoStanjeStavkeCalcFields)},
             R"(
      kolicina=3 nc=1.115 vpc=2.005 nci=77 vpci=77 marza=77 -> nci=3.35 vpci=6.02 marza=2.67
      kolicina=-3 nc=1.115 vpc=2.005 -> nci=-3.35 vpci=-6.02 marza=-2.67
      kolicina=0 nc=1.115 vpc=2.005 -> nci=0 vpci=0 marza=0)");
  ExpectRows({MOX_FUNCTION(RazduzenjeManjakStavkeCalcFields)}, R"(
      (2) kolicina=3 nc=1.115 vpc=2.005 tbr_stp=25 pov_nak=0.5 vpci=77 pov_naki=77
      -> nci=3.35 vpci=6.02 marza=2.67 pov_naki=1.5 pdvi=1.51 ukupno=9.03
      (0) kolicina=3 vpc=2.005 tbr_stp=25 -> pdvi=1.51 ukupno=7.53 ...
      (3) kolicina=-3 vpc=2.005 tbr_stp=25 pov_nak=0.5 -> pdvi=-1.505 ukupno=-9.025 ...)");
  ExpectRows({MOX_FUNCTION(IzmjenaCijenaStavkeCalcFields)}, R"(
      kolicina=3 vpc=2.005 nvpc=2.115 vpci=77 -> vpci=6.02 nvpci=6.35 razlika=0.33
      kolicina=2 vpc=3 nvpc=2.5 -> vpci=6 nvpci=5 razlika=-1)");
}

TEST(DocumentLines, ReturnsToSuppliers) {
  ExpectRows({MOX_FUNCTION(PovratnicaDobavljacuStavkeCalcFields)}, R"(
      (2) kolicina=3 nc=8.115 fc=10.005 pov_nak=0.5 pot_nak=0.25 rbp1=10 rbp2=5 rbp3=0 zti=1.5 vpc=12 tbr_stp=25
         nci=77 fci=77 pov_naki=77 pot_naki=77 vpci=77
      -> nci=24.35 fci=30.02 pov_naki=1.5 pot_naki=0.75 rbi1=3 rbi2=1.35 rbi3=0 nfci=26.42 vpci=36
      -> razlika=-3.57 mari=11.65 marp=32.3611111111 pdvi=6.61 ukupno=34.53
      (1) kolicina=1 fc=0.02 tbr_stp=25 vpc=1 nc=2 -> mari=-1 marp=-100 pdvi=0.01 ukupno=0.03 ...
      (3) kolicina=-1 fc=0.02 tbr_stp=25 vpc=1 -> pdvi=-0.005 ukupno=-0.025 ...
      # the percent is of the wholesale amount, and kept where that is 0
      (2) kolicina=1 nc=5 marp=7 -> vpci=0 mari=-5 marp=7 ...)");
  ExpectRows({MOX_FUNCTION(MalPovratnicaDobavljacuStavkeCalcFields)}, R"(
      (4) kolicina=3 nc=8.115 fc=10.005 pov_nak=0.5 pot_nak=0.25 rbp1=10 rbp2=5 rbp3=0 zti=1.5 mpc=15 tbr_stp=13
         nci=77 pov_naki=77 pot_naki=77 vpc=77 mpci=77
      -> pov_naki=1.5 pot_naki=0.75 nci=24.35 fci=30.02 rbi1=3 rbi2=1.35 rbi3=0 nfci=26.42 razlika=-3.57
      -> vpc=13.27 vpci=39.81 mpci=45 pdvi=5.0044 mari=14.15 marp=58.1108829569 pdvi_dob=3.43 uk_dob=31.35
      (1) kolicina=3 mpc=15 pov_nak=0.5 tbr_stp=13 -> pdvi=5 ...
      (2) kolicina=1 mpc=10 marp=7 -> nci=0 marp=7 ...)");
  ExpectRows({MOX_FUNCTION(MatPovratnicaDobavljacuStavkeCalcFields)}, R"(
      # the net invoice amount takes the purchase-side fee as it was before this pass
      (2) kolicina=3 nc=8.115 fc=10.005 rbp1=10 rbp2=5 rbp3=0 pov_nak=0.5 pot_nak=0.25 pot_naki=9 zti=1.5
         tbr_stp=25 pov_naki=77
      -> nci=24.35 fci=30.02 rbi1=3 rbi2=1.35 rbi3=0 nfci=34.67 pov_naki=1.5 pot_naki=0.75
      -> razlika=-11.82 pdvi=8.67 ukupno=44.84
      (3) kolicina=1 fc=0.02 tbr_stp=25 -> pdvi=0.005 ukupno=0.025 ...)");
}

TEST(DocumentLines, ReturnsFromCustomersAndOwnUse) {
  ExpectRows({MOX_FUNCTION(PovratnicaKupcaStavkeCalcFields)}, R"(
      (0) kolicina=3 vpc=2.005 pc=3.335 tbr_stp=25 pci=77
      -> vpci=6.02 pci=10.01 osnovica=10.01 pdvi=2.5 ukupno=12.51
      (4) kolicina=-3 pc=3.335 tbr_stp=25 rbp1=10 rbi1=5
      -> vpci=0 pci=-10.01 osnovica=-10.01 pdvi=-2.5025 ukupno=-12.5125)");
  ExpectRows({MOX_FUNCTION(RacunVlastitePotrebeStavkeCalcFields)}, R"(
      (2) kolicina=3 nc=1.115 pov_nak=0.5 tbr_stp=25 nci=77 pov_naki=77
      -> nci=3.35 pov_naki=1.5 pdvi=0.84 ukupno=5.69 osnovica=3.35
      # the total has two decimals, so the base takes what the tax has below them
      (4) kolicina=3 nc=1.115 pov_nak=0.5 tbr_stp=25 -> pdvi=0.8375 ukupno=5.69 osnovica=3.3525 ...
      (1) kolicina=0 nc=1 pov_nak=1 tbr_stp=25 nci=7 pov_naki=7 pdvi=7 ukupno=7 osnovica=7 ->)");
}

TEST(DocumentLines, NetPricedInvoices) {
  ExpectRows({MOX_FUNCTION(PredracunStavkeCalcFields), MOX_FUNCTION(OtpremnicaRacunStavkeCalcFields),
              MOX_FUNCTION(StornoOtpremnicaRacunStavkeCalcFields)},
             R"(
      (1) kolicina=7 vpc=1.005 pc=9.995 rbp1=10 rbp2=5 rbp3=2 tbr_stp=25 pov_nak=0.07 pov_naki=77 pci=77 rbi1=77
      -> pov_naki=0.49 vpci=7.04 pci=69.97 rbi1=7 rbi2=3.15 rbi3=1.2 osnovica=58.62 pdvi=14.66 ukupno=73.77
      (4) kolicina=-7 pc=9.995 rbp1=10 rbp2=5 rbp3=2 tbr_stp=25 pov_nak=0.07
      -> osnovica=-58.62 pdvi=-14.655 ukupno=-73.765 ...)");
  ExpectRows({MOX_FUNCTION(PredracunUslugeCalcFields), MOX_FUNCTION(OtpremnicaRacunUslugeCalcFields),
              MOX_FUNCTION(StornoOtpremnicaRacunUslugeCalcFields)},
             R"(
      (-1) kolicina=7 pc=9.995 rbp1=10 rbp2=5 rbp3=2 tbr_stp=25 pci=77 rbi1=77
      -> pci=69.97 rbi1=7 rbi2=3.15 rbi3=1.2 osnovica=58.62 pdvi=14.66 ukupno=73.28
      (4) kolicina=7 pc=9.995 tbr_stp=25 pov_nak=0.07 pov_naki=0.49
      -> osnovica=69.97 pdvi=17.4925 ukupno=87.4625 pov_naki=0.49 ...)");
  ExpectRows({MOX_FUNCTION(RacunUslugaCalcFields), MOX_FUNCTION(RacunUslugaInozemstvoCalcFields)}, R"(
      (0) kolicina=3 pc=3.335 rbp1=10 tbr_stp=25 pci=77 rbi1=77
      -> pci=10.01 rbi1=1 osnovica=9.01 pdvi=2.25 ukupno=11.26
      (4) kolicina=3 pc=3.335 rbp1=10 rbp2=5 rbi2=5 tbr_stp=25
      -> pci=10.01 rbi1=1 osnovica=9.01 pdvi=2.2525 ukupno=11.2625)");
  ExpectRows({MOX_FUNCTION(BezGotovinskiRacunServisUslugeCalcFields),
              MOX_FUNCTION(BezGotovinskiRacunServisMaterijalCalcFields)},
             R"(
      (1) kolicina=3 pc=3.335 vpc=2.005 mpc=5 rbp1=10 tbr_stp=25 pci=77 rbi1=77
      -> pci=10.01 vpci=6.02 mpci=15 rbi1=1 osnovica=9.01 pdvi=2.25 ukupno=11.26
      (4) kolicina=3 pc=3.335 rbp1=10 tbr_stp=25 -> pdvi=2.2525 ukupno=11.2625 ...)");
  // Where the retail amount fails, the discount of material stands already, that of labour does not yet.
  ExpectRowsIn(Way::kEdit, MOX_FUNCTION(BezGotovinskiRacunServisUslugeCalcFields), R"(
      (2) kolicina=3 pc=1 rbp1=10 mpc=900000000000000
      -> pci=3 vpci=0 ! amount is outside the range of a currency)");
  ExpectRowsIn(Way::kEdit, MOX_FUNCTION(BezGotovinskiRacunServisMaterijalCalcFields), R"(
      (2) kolicina=3 pc=1 rbp1=10 mpc=900000000000000
      -> pci=3 vpci=0 rbi1=0.3 ! amount is outside the range of a currency)");
}

TEST(DocumentLines, CashInvoiceGoods) {
  ExpectRows({MOX_FUNCTION(GotovinskiRacunStavkeCalcFields)}, R"(
      (2) pc=10 kolicina=3 rbp1=10 rbp2=0 rbp3=0 tbr_stp=25 pov_nak=0 mpc=77 pov_naki=77 rbi3=77
      -> pci=30 rbi1=3 rbi2=0 rbi3=0 pov_naki=0 mpc=11.25 ukupno=33.75 pdvi=6.75 osnovica=27 rabatIznos=3
      -> mpci=33.75
      (2) pc=9.99 kolicina=7 rbp1=10 tbr_stp=25
      -> pci=69.93 rbi1=6.99 mpc=11.24 ukupno=78.68 pdvi=15.74 osnovica=62.94 rbi3=0 rabatIznos=6.99 ...
      (2) pc=1 kolicina=3 tbr_stp=25 -> mpc=1.25 ukupno=3.75 pdvi=0.75 osnovica=3 rbi3=0 ...
      # the third discount takes up what the rounded price moves, with d decimals and for either sign
      (2) pc=0.99 kolicina=3 tbr_stp=25
      -> mpc=1.24 ukupno=3.72 pdvi=0.74 osnovica=2.98 rbi3=-0.01 rabatIznos=-0.01 mpci=3.72 ...
      (-1) pc=0.99 kolicina=-3 tbr_stp=25
      -> mpc=1.24 ukupno=-3.72 pdvi=-0.74 osnovica=-2.98 rbi3=0.01 rabatIznos=0.01 mpci=-3.72 ...
      (4) pc=0.99 kolicina=3 rbp3=50 tbr_stp=25
      -> mpc=0.62 ukupno=1.86 pdvi=0.372 osnovica=1.488 rbi3=1.482 rabatIznos=1.482 ...
      # the fee is in the price and the total, and outside the tax
      (2) pc=0.99 kolicina=3 tbr_stp=25 pov_nak=0.07
      -> pov_naki=0.21 mpc=1.31 ukupno=3.93 pdvi=0.74 osnovica=2.98 rbi3=-0.01 ...
      (2) PC_CALC_DIGIT=3 pc=0.333 kolicina=3 tbr_stp=25
      -> pci=1 mpc=0.417 ukupno=1.25 pdvi=0.25 osnovica=1 rbi3=0 mpci=1.25 ...
      (2) PC_CALC_DIGIT=0 pc=0.99 kolicina=3 tbr_stp=25
      -> mpc=1 ukupno=3 pdvi=0.6 osnovica=2.4 rbi3=0.57 rabatIznos=0.57 ...
      # what was written before an error stays
      (2) PC_CALC_DIGIT=-1 pc=0.99 kolicina=3 tbr_stp=25 pov_nak=1 mpc=7
      -> pci=2.97 rbi1=0 rbi2=0 rbi3=0 pov_naki=3 ! Nepravilno pozivanje fukcije MyRound!!!!!!!
      (2) pc=1 kolicina=1 tbr_stp=-100
      -> pci=1 rbi1=0 rbi2=0 rbi3=0 pov_naki=0 mpc=0 ukupno=0 ! division by zero
      (2) pc=10 kolicina=0 rbp1=10 tbr_stp=25 pov_nak=1 pci=7 rbi1=7 rbi2=7 rbi3=7 pov_naki=7 mpc=7 ukupno=7 ->)");
}

TEST(DocumentLines, CashInvoiceServicesAndCancellation) {
  ExpectRows({MOX_FUNCTION(GotovinskiRacunUslugeCalcFields)}, R"(
      (2) PC_CALC_DIGIT=3 pc=0.99 kolicina=3 rbp1=0 rbp2=0 rbp3=0 tbr_stp=25 mpc=77 rbi3=77
      -> pci=2.97 rbi1=0 rbi2=0 rbi3=-0.01 mpc=1.24 mpci=3.72 ukupno=3.72 pdvi=0.74 osnovica=2.98
      -> rabatIznos=-0.01
      (4) pc=0.99 kolicina=-3 tbr_stp=25 pov_nak=5 pov_naki=5
      -> mpc=1.24 ukupno=-3.72 pdvi=-0.744 osnovica=-2.976 rbi3=0.006 rabatIznos=0.006 pov_naki=5 ...
      (2) pc=10 kolicina=0 tbr_stp=25 pci=7 rbi1=7 rbi3=7 mpc=7 ukupno=7 pdvi=7 mpci=7 ->)");
  ExpectRows({MOX_FUNCTION(StornoGotovinskiRacunStavkeCalcFields)}, R"(
      (1) PC_CALC_DIGIT=3 pc=0.99 kolicina=3 rbp1=0 rbp2=0 rbp3=0 tbr_stp=25 mpc=77 rbi3=77
      -> pci=2.97 rbi1=0 rbi2=0 rbi3=-0.01 mpc=1.24 ukupno=3.72 pdvi=0.74 osnovica=2.98 rabatIznos=-0.01
      (4) pc=0.99 kolicina=-3 tbr_stp=25 pov_nak=5 pov_naki=5
      -> mpc=1.24 ukupno=-3.72 pdvi=-0.744 osnovica=-2.976 rbi3=0.006 rabatIznos=0.006 pov_naki=5 ...
      (2) pc=10 kolicina=0 mpc=7 ukupno=7 -> pci=0 rbi1=0 rbi2=0 rbi3=0 ! division by zero)");
}

TEST(DocumentLines, GrossPricedServices) {
  ExpectRows({MOX_FUNCTION(GotovinskiRacunUslugaCalcFields)}, R"(
      (0) kolicina=3 pc=3 mpc=4.995 rbp1=10 tbr_stp=25 mpci=77 vpc=77 rbi1=77 ukupno=77
      -> pci=9 mpci=14.99 rbi1=1.5 ukupno=13.49 pdvi=2.7 vpci=10.79 vpc=3.6
      (4) kolicina=3 mpc=4.995 rbp1=10 tbr_stp=25 -> pdvi=2.698 vpci=10.792 vpc=3.6 ...
      (2) kolicina=0 mpc=5 vpc=7 rbp1=10 tbr_stp=25 -> vpc=7 vpci=0 ...)");
  ExpectRows({MOX_FUNCTION(GotovinskiRacunUslugaMarinaCalcFields)}, R"(
      # the tax of the second price column has two decimals, and the column does not care about the quantity
      (4) kolicina=3 pc=3 mpc=4.995 mpcv=6.005 rbp1=10 tbr_stp=25
      -> pci=9 mpci=14.99 rbi1=1.5 ukupno=13.49 pdvi=2.698 vpci=10.792 vpc=3.6
      -> mpci_v=18.02 rbi1_v=1.8 ukupno_v=16.22 pdvi_v=3.24 vpci_v=12.98
      (2) kolicina=0 mpcv=5 vpc=7 rbp1=10 -> vpc=7 mpci_v=0 rbi1_v=0 ukupno_v=0 pdvi_v=0 vpci_v=0 ...)");
}

TEST(DocumentLines, ServiceJobsPaidInCash) {
  ExpectRows({MOX_FUNCTION(GotovinskiRacunServisUslugeCalcFields)}, R"(
      (0) kolicina=3 mpc=4.995 vpc=2.005 tbr_stp=25 mpci=77 pc=77
      -> mpci=14.99 pc=4 pci=12 vpci=6.02 ukupno=14.99 pdvi=3
      (3) kolicina=-3 mpc=4.995 tbr_stp=25 -> mpci=-14.99 pc=4 pci=-12 pdvi=-2.998 ...)");
  ExpectRows({MOX_FUNCTION(GotovinskiRacunServisMaterijalCalcFields)}, R"(
      # the base takes the tax of the pass before, and the discount what that makes of it
      (1) kolicina=3 pc=3.335 vpc=2.005 rbp1=10 tbr_stp=25 pdvi=1 mpc=77 rbi1=77
      -> pci=10.01 vpci=6.02 rbi1=-0.24 mpc=3.75 mpci=11.25 ukupno=11.25 osnovica=10.25 pdvi=2.25
      (2) kolicina=3 pc=3.335 rbp1=10 tbr_stp=25 pdvi=2.25 -> rbi1=1.01 osnovica=9 pdvi=2.25 ...
      (4) kolicina=1 pc=0.01 tbr_stp=13 -> mpc=0.01 pdvi=0.0012 ...
      (2) kolicina=0 pc=3 rbp1=10 tbr_stp=25 mpc=7 pdvi=1
      -> pci=0 vpci=0 rbi1=1 mpci=0 ukupno=0 osnovica=-1 pdvi=0)");
}

TEST(DocumentLines, RetailCashInvoice) {
  ExpectRows({MOX_FUNCTION(MalGotovinskiRacunCalcFields)}, R"(
      (0) kolicina=3 mpc=4.995 popust=10 tbr_stp=25 pov_nak=0.5 pc=77 pci=77 mpci=77 pov_naki=77
      -> pov_naki=1.5 mpci=14.99 pc=4.5 pci=13.5 popust_iznos=1.49 pdvi=2.4
      (3) kolicina=1 mpc=1.11 popust=-10 tbr_stp=25 -> pc=1.22 pci=1.22 popust_iznos=-0.11 pdvi=0.244 ...
      (2) kolicina=3 mpc=5 popust=100 tbr_stp=25 pov_nak=0.5 -> pc=0 pci=0 popust_iznos=15 pdvi=-0.3 ...)");
  ExpectRows({MOX_FUNCTION(MalGotovinskiRacunCalcUsluge)}, R"(
      (1) kolicina=3 mpc=4.995 pc=4.115 tbr_stp=25 mpci=77 vpc=77
      -> mpci=14.99 pdvi=3 ukupno=14.99 vpc=4 vpci=12 pci=12.35
      (3) kolicina=3 mpc=4.995 tbr_stp=25 -> pdvi=2.998 ...)");
}

TEST(DocumentLines, WorkOrders) {
  // The digits of the tax are taken as passed.
  ExpectRows({MOX_FUNCTION(RadniNalogStavkeCalcFields)}, R"(
      (0) kolicina=3 vpc=2.005 tbr_stp=25 mpc=77 mpci=77 -> vpci=6.02 mpc=2.51 mpci=7.53 pdvi=2
      (3) kolicina=3 vpc=2.005 tbr_stp=25 -> pdvi=1.506 ...
      (-1) kolicina=3 vpc=2 pdvi=7 -> vpci=6 mpc=2 mpci=6 ! Nepravilno pozivanje fukcije MyRound!!!!!!!)");
  ExpectRows({MOX_FUNCTION(RadniNalogUslugeCalcFields)}, R"(
      (2) kolicina=3 pc=3.335 rbp1=10 pc_int=1.005 normativ=0.335 tbr_stp=25 pci=77 rbi1=77 mpc=77
      -> pci=10.01 rbi1=1 pci_int=3.02 normativ_izn=1.01 mpc=3.75 mpci=11.25 pdvi=2.25
      (0) kolicina=-3 pc=3.335 rbp1=10 normativ=0.335 tbr_stp=25
      -> normativ_izn=-1.01 mpc=3.75 mpci=-11.25 pdvi=-2 ...
      (-1) kolicina=1 pc=1
      -> pci=1 rbi1=0 pci_int=0 normativ_izn=0 mpc=1 mpci=1 ! Nepravilno pozivanje fukcije MyRound!!!!!!!
      (2) kolicina=0 pc=1 mpc=7 -> pci=0 rbi1=0 pci_int=0 normativ_izn=0 ! division by zero)");
}

TEST(DocumentLines, DailyCashReport) {
  ExpectRows({MOX_FUNCTION(MalDnevniIzvBlagCalcFields)}, R"(
      (1) osnovicaroba=10.02 osnovicausluge=-10.02 tbr_stp=25 -> pdviroba=2.51 pdviusluge=-2.51
      (3) osnovicaroba=10.02 osnovicausluge=1 tbr_stp=25 -> pdviroba=2.505 pdviusluge=0.25)");
}

TEST(DocumentLines, GoodsReceiptCosting) {
  ExpectRows({MOX_FUNCTION(PrimkaKalkulacija01CalcFields)}, R"(
      kolicina=3 fc=10.005 pov_nak=0.5 pot_nak=0.25 rbp1=10 rbp2=5 rbp3=2 fci=77 pot_naki=77
      -> fci=30.02 pov_naki=1.5 pot_naki=0.75 rbi1=3 rbi2=1.35 rbi3=0.51 nfci=25.91)");
  // Its cancellation takes the purchase-side fee as stored, and the decimals of the purchase price as passed.
  ExpectRows({MOX_FUNCTION(StornoPrimkeKalkulacijeCalcFields)}, R"(
      (3, 2) kolicina=3 fc=10.005 rbp1=10 rbp2=0 rbp3=0 pot_naki=9 zti=1.5 vpc=12.005 marp=77
      -> fci=30.02 rbi1=3 rbi2=0 rbi3=0 nfci=36.02 nci=37.52 nc=12.507 vpci=36.02 marza=-1.5
      -> marp=-3.99786780384
      (0, 0) kolicina=3 fc=10.005 pot_nak=5 -> nc=10 ...
      (-1, 2) kolicina=1 fc=10 vpc=9
      -> fci=10 rbi1=0 rbi2=0 rbi3=0 nfci=10 nci=10 ! Nepravilno pozivanje fukcije MyRound!!!!!!!
      (-1, 2) kolicina=0 pot_naki=2 vpc=9 nc=7
      -> fci=0 rbi1=0 rbi2=0 rbi3=0 nfci=2 nci=2 vpci=0 marza=-2 marp=-100)");
}

}  // namespace
}  // namespace mox

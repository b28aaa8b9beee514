#pragma once

// Every exported function of document lines, once: X(function, "argument"...), with the names of the
// arguments after the record set. Include the headers of the functions where the lists are used.
// clang-format off

// Line formulas.
#define MOX_LINE_FORMULAS(X)                                                                           \
  X(calcPci_pc_kolicina) X(calcNc_Kolicina) X(calcFC_Kolicina) X(calcVpc_Kolicina) X(calcMPC_Kolicina) \
  X(calcNMPC_Kolicina) X(calcPov_nak_Kolicina) X(calcPot_nak_Kolicina) X(calcRabat) X(calcRabat1_2_3)  \
  X(calcRabatUlazni1_2_3) X(calcVpc_maloprodaja) X(calcVpc_maloprodaja_pov_nak)                        \
  X(calcOsnovicaPdviUkupno, "d") X(calcPDVI_mal, "d") X(calcPDVI_mal_pov_nak, "d")                     \
  X(calcPDVI_malPC, "d") X(calcPDVI_malPC_pov_nak, "d") X(calcMarza_vpci_nci) X(calcMari_vpci_nci)     \
  X(calcMarpMarzaNci) X(calcMal_Mari) X(calcMal_Mari_pov_naki) X(calcMal_Marp)                         \
  X(calc_NC_PrimkaKalkulacija, "d")

// Costing of goods receipts.
#define MOX_COSTING_FUNCTIONS(X)                                                                 \
  X(CalcVPC_Marza_PrimkaKalkulacija, "Mode", "Digits")                                           \
  X(Calc_PrimkaKalkulacija_VPC_OR_Marza, "Mode", "Digits")                                       \
  X(CalcMPC_Marza_PrimkaKalkulacija, "Mode", "VatDigits", "PriceDigits")                         \
  X(CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH, "Mode", "VatDigits") X(CalcNC_PrimkaZaTuduRobu) \
  X(Calc_Marp_ZadanaMarza_ArtInsert, "Price", "WithVat")

// Calculators of the lines of whole documents.
#define MOX_DOCUMENT_CALCULATORS(X)                                                                      \
  X(MalPrimkaZaduzenjeStavkeCalcFields) X(RazduzenjeOtpisStavkeCalcFields) X(MeduskladisnicaUlazSetData) \
  X(MeduskladisnicaIzlazStavkeCalcFields) X(PocetnoStanjeStavkeCalcFields)                               \
  X(RazduzenjeManjakStavkeCalcFields, "d") X(IzmjenaCijenaStavkeCalcFields)                              \
  X(PovratnicaDobavljacuStavkeCalcFields, "d") X(MalPovratnicaDobavljacuStavkeCalcFields, "d")           \
  X(MatPovratnicaDobavljacuStavkeCalcFields, "d") X(PovratnicaKupcaStavkeCalcFields, "d")                \
  X(RacunVlastitePotrebeStavkeCalcFields, "d") X(PredracunStavkeCalcFields, "d")                         \
  X(PredracunUslugeCalcFields, "d") X(OtpremnicaRacunStavkeCalcFields, "d")                              \
  X(OtpremnicaRacunUslugeCalcFields, "d") X(StornoOtpremnicaRacunStavkeCalcFields, "d")                  \
  X(StornoOtpremnicaRacunUslugeCalcFields, "d") X(RacunUslugaCalcFields, "d")                            \
  X(RacunUslugaInozemstvoCalcFields, "d") X(BezGotovinskiRacunServisUslugeCalcFields, "d")               \
  X(BezGotovinskiRacunServisMaterijalCalcFields, "d") X(GotovinskiRacunStavkeCalcFields, "d")            \
  X(GotovinskiRacunUslugeCalcFields, "d") X(StornoGotovinskiRacunStavkeCalcFields, "d")                  \
  X(GotovinskiRacunUslugaCalcFields, "d") X(GotovinskiRacunUslugaMarinaCalcFields, "d")                  \
  X(GotovinskiRacunServisUslugeCalcFields, "d") X(GotovinskiRacunServisMaterijalCalcFields, "d")         \
  X(MalGotovinskiRacunCalcFields, "d") X(MalGotovinskiRacunCalcUsluge, "d")                              \
  X(RadniNalogStavkeCalcFields, "d") X(RadniNalogUslugeCalcFields, "d")                                  \
  X(MalDnevniIzvBlagCalcFields, "d") X(PrimkaKalkulacija01CalcFields)                                    \
  X(StornoPrimkeKalkulacijeCalcFields, "NcDigits", "Digits")

// Customs; these take one line.
#define MOX_CUSTOMS_FUNCTIONS(X)        \
  X(CarIzlazRaspodjelaTezinaPoKolicini)
// clang-format on

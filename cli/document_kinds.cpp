#include "cli/document_kinds.h"

#include <array>
#include <string>

#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/calculations/document_lines.h"

namespace mox {
namespace {

// Calculators without an argument, and with the decimals of tax amounts.
template <auto kCalculator>
void Plain(RecordSet& lines, const DocumentDigits&) {
  kCalculator(lines);
}

template <auto kCalculator>
void Vat(RecordSet& lines, const DocumentDigits& digits) {
  kCalculator(lines, digits.vat);
}

void StornoPrimke(RecordSet& lines, const DocumentDigits& digits) {
  StornoPrimkeKalkulacijeCalcFields(lines, digits.purchase_price, digits.selling_price);
}

// --- lines that several kinds share ---

template <auto kCalculator>
constexpr LineSchema StockLines() {
  return {"kolicina nc vpc", "nci vpci marza", Plain<kCalculator>};
}

template <auto kCalculator>
constexpr LineSchema NetGoods() {
  return {"kolicina vpc pc rbp1 rbp2 rbp3 tbr_stp pov_nak",
          "vpci pci rbi1 rbi2 rbi3 pov_naki osnovica pdvi ukupno", Vat<kCalculator>};
}

template <auto kCalculator>
constexpr LineSchema NetServices() {
  return {"kolicina pc rbp1 rbp2 rbp3 tbr_stp", "pci rbi1 rbi2 rbi3 osnovica pdvi ukupno", Vat<kCalculator>};
}

template <auto kCalculator>
constexpr LineSchema ServicesWithOneDiscount() {
  return {"kolicina pc rbp1 tbr_stp", "pci rbi1 osnovica pdvi ukupno", Vat<kCalculator>};
}

template <auto kCalculator>
constexpr LineSchema ServiceJob() {
  return {"kolicina pc vpc mpc rbp1 tbr_stp", "pci vpci mpci rbi1 osnovica pdvi ukupno", Vat<kCalculator>};
}

constexpr LineSchema kNone{};

// --- recapitulations that several kinds share ---

constexpr std::string_view kTotals = "AmountField1=ukupno RateField1=tbr_stp";
constexpr std::string_view kTotalsOfBoth =
    "AmountField1=ukupno RateField1=tbr_stp AmountField2=ukupno RateField2=tbr_stp";
constexpr std::string_view kNetPurchase = "RateField=tbr_stp AmountField=nfci";
constexpr std::string_view kNetReceipt = "AmountField1=nfci RateField1=tbr_stp";

constexpr auto kKinds = std::to_array<DocumentKind>({
    // Invoices: the totals include tax, and the fee is kept out of it.
    {"gotovinski-racun",
     "Gotovinski račun",
     "cash invoice",
     {"kolicina pc rbp1 rbp2 rbp3 tbr_stp pov_nak",
      "pci rbi1 rbi2 rbi3 rabatIznos pov_naki mpc mpci osnovica pdvi ukupno",
      Vat<GotovinskiRacunStavkeCalcFields>},
     {"kolicina pc rbp1 rbp2 rbp3 tbr_stp", "pci rbi1 rbi2 rbi3 rabatIznos mpc mpci osnovica pdvi ukupno",
      Vat<GotovinskiRacunUslugeCalcFields>},
     "FillPDVData",
     kTotalsOfBoth},
    {"storno-gotovinski-racun",
     "Storno gotovinskog računa",
     "cancellation of a cash invoice",
     {"kolicina pc rbp1 rbp2 rbp3 tbr_stp", "pci rbi1 rbi2 rbi3 rabatIznos mpc osnovica pdvi ukupno",
      Vat<StornoGotovinskiRacunStavkeCalcFields>},
     kNone,
     "FillPDVData",
     kTotals},
    {"predracun", "Predračun", "pro-forma invoice", NetGoods<PredracunStavkeCalcFields>(),
     NetServices<PredracunUslugeCalcFields>(), "FillPDVData", kTotalsOfBoth},
    {"otpremnica-racun", "Otpremnica–račun", "invoice from delivery notes",
     NetGoods<OtpremnicaRacunStavkeCalcFields>(), NetServices<OtpremnicaRacunUslugeCalcFields>(),
     "FillPDVData", kTotalsOfBoth},
    {"storno-otpremnica-racun", "Storno otpremnice–računa", "cancellation of an invoice from delivery notes",
     NetGoods<StornoOtpremnicaRacunStavkeCalcFields>(), NetServices<StornoOtpremnicaRacunUslugeCalcFields>(),
     "FillPDVData", kTotalsOfBoth},
    {"racun-usluga", "Račun usluga", "invoice for services", kNone,
     ServicesWithOneDiscount<RacunUslugaCalcFields>(), "FillPDVData", kTotals},
    {"racun-usluga-inozemstvo", "Račun usluga, inozemstvo", "invoice for services to a foreign customer",
     kNone, ServicesWithOneDiscount<RacunUslugaInozemstvoCalcFields>(), "FillPDVData", kTotals},
    {"bez-gotovinski-racun-servis", "Bezgotovinski račun servisa",
     "non-cash invoice of a service job: material, labour",
     ServiceJob<BezGotovinskiRacunServisMaterijalCalcFields>(),
     ServiceJob<BezGotovinskiRacunServisUslugeCalcFields>(), "FillPDVData", kTotalsOfBoth},
    {"gotovinski-racun-usluga",
     "Gotovinski račun usluga",
     "cash invoice for services priced gross",
     kNone,
     {"kolicina pc mpc rbp1 tbr_stp", "pci mpci rbi1 vpc vpci pdvi ukupno",
      Vat<GotovinskiRacunUslugaCalcFields>},
     "FillPDVData",
     kTotals},
    {"gotovinski-racun-usluga-marina",
     "Gotovinski račun usluga marine",
     "cash invoice for marina services, two price columns",
     kNone,
     {"kolicina pc mpc mpcv rbp1 tbr_stp",
      "pci mpci rbi1 vpc vpci pdvi ukupno mpci_v rbi1_v vpci_v pdvi_v ukupno_v",
      Vat<GotovinskiRacunUslugaMarinaCalcFields>},
     "FillPDVData",
     kTotals},
    {"gotovinski-racun-servis",
     "Gotovinski račun servisa",
     "cash invoice of a service job: material, labour",
     {"kolicina pc vpc rbp1 tbr_stp", "pci vpci rbi1 mpc mpci osnovica pdvi ukupno",
      Vat<GotovinskiRacunServisMaterijalCalcFields>},
     {"kolicina mpc vpc tbr_stp", "pc pci vpci mpci pdvi ukupno", Vat<GotovinskiRacunServisUslugeCalcFields>},
     "FillPDVData",
     kTotalsOfBoth},
    {"mal-gotovinski-racun",
     "Maloprodajni gotovinski račun",
     "retail cash invoice",
     {"kolicina mpc popust tbr_stp pov_nak", "pov_naki mpci pc popust_iznos pdvi pci",
      Vat<MalGotovinskiRacunCalcFields>, "pci"},
     {"kolicina mpc pc tbr_stp", "vpc vpci pci mpci pdvi ukupno", Vat<MalGotovinskiRacunCalcUsluge>},
     "FillPDVData",
     "AmountField1=pci RateField1=tbr_stp AmountField2=ukupno RateField2=tbr_stp"},

    // Work orders are priced gross, without fees; the daily cash report has bases.
    {"radni-nalog",
     "Radni nalog",
     "work order: material, labour",
     {"kolicina vpc tbr_stp", "vpci mpc mpci pdvi", Vat<RadniNalogStavkeCalcFields>, "mpci"},
     {"kolicina pc rbp1 pc_int normativ tbr_stp", "pci rbi1 pci_int normativ_izn mpc mpci pdvi",
      Vat<RadniNalogUslugeCalcFields>, "mpci"},
     "FillPDVDataPPOM",
     "AmountField1=mpci RateField1=tbr_stp AmountField2=mpci RateField2=tbr_stp"},
    {"mal-dnevni-izv-blag",
     "Maloprodajni dnevni izvještaj blagajne",
     "retail daily cash report",
     {"osnovicaroba osnovicausluge tbr_stp", "pdviroba pdviusluge", Vat<MalDnevniIzvBlagCalcFields>},
     kNone,
     "FillPDVDataIznosBezPDV",
     "AmountField1=osnovicaroba RateField1=tbr_stp AmountField2=osnovicausluge RateField2=tbr_stp"},

    // Goods receipts: the net invoice amount is without tax.
    {"primka-kalkulacija",
     "Primka – kalkulacija",
     "goods receipt costing, invoice side",
     {"kolicina fc rbp1 rbp2 rbp3 pov_nak pot_nak tbr_stp", "fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci",
      Plain<PrimkaKalkulacija01CalcFields>},
     kNone,
     "FillPDVDataIznosBezPDV",
     kNetReceipt},
    {"storno-primke-kalkulacije",
     "Storno primke – kalkulacije",
     "cancellation of a goods receipt costing",
     {"kolicina fc rbp1 rbp2 rbp3 pot_naki zti vpc tbr_stp", "fci rbi1 rbi2 rbi3 nfci nci nc vpci marza marp",
      StornoPrimke},
     kNone,
     "FillPDVDataIznosBezPDV",
     kNetReceipt},

    // Stock. Only a shortage is taxed.
    {"mal-primka-zaduzenje", "Maloprodajna primka, zaduženje", "retail goods receipt (stock charge)",
     StockLines<MalPrimkaZaduzenjeStavkeCalcFields>(), kNone, "", ""},
    {"razduzenje-otpis", "Razduženje, otpis", "stock discharge: write-off",
     StockLines<RazduzenjeOtpisStavkeCalcFields>(), kNone, "", ""},
    {"razduzenje-manjak",
     "Razduženje, manjak",
     "stock discharge: shortage",
     {"kolicina nc vpc pov_nak tbr_stp", "nci vpci marza pov_naki pdvi ukupno",
      Vat<RazduzenjeManjakStavkeCalcFields>},
     kNone,
     "FillPDVData",
     kTotals},
    {"meduskladisnica-ulaz", "Međuskladišnica, ulaz", "transfer between warehouses, receiving side",
     StockLines<MeduskladisnicaUlazSetData>(), kNone, "", ""},
    {"meduskladisnica-izlaz", "Međuskladišnica, izlaz", "transfer between warehouses, issuing side",
     StockLines<MeduskladisnicaIzlazStavkeCalcFields>(), kNone, "", ""},
    {"pocetno-stanje", "Početno stanje", "opening stock", StockLines<PocetnoStanjeStavkeCalcFields>(), kNone,
     "", ""},
    {"izmjena-cijena",
     "Izmjena cijena",
     "price change",
     {"kolicina vpc nvpc", "vpci nvpci razlika", Plain<IzmjenaCijenaStavkeCalcFields>},
     kNone,
     "",
     ""},

    // Returns and own use.
    {"povratnica-dobavljacu",
     "Povratnica dobavljaču",
     "return to supplier (wholesale)",
     {"kolicina nc fc rbp1 rbp2 rbp3 vpc zti pov_nak pot_nak tbr_stp",
      "nci fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci vpci razlika mari marp pdvi ukupno",
      Vat<PovratnicaDobavljacuStavkeCalcFields>},
     kNone,
     "FillPDVDataPovDob",
     kNetPurchase},
    {"mal-povratnica-dobavljacu",
     "Maloprodajna povratnica dobavljaču",
     "return to supplier from a shop",
     {"kolicina nc fc rbp1 rbp2 rbp3 mpc zti pov_nak pot_nak tbr_stp",
      "nci fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci razlika vpc vpci mpci pdvi mari marp pdvi_dob uk_dob",
      Vat<MalPovratnicaDobavljacuStavkeCalcFields>, "uk_dob"},
     kNone,
     "FillPDVDataPovDob",
     kNetPurchase,
     2},  // as pdvi_dob always has two decimals
    {"mat-povratnica-dobavljacu",
     "Povratnica materijala dobavljaču",
     "return of materials to supplier",
     {"kolicina nc fc rbp1 rbp2 rbp3 zti pov_nak pot_nak tbr_stp",
      "nci fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci razlika pdvi ukupno",
      Vat<MatPovratnicaDobavljacuStavkeCalcFields>},
     kNone,
     "FillPDVDataPovDob",
     kNetPurchase},
    {"povratnica-kupca",
     "Povratnica kupca",
     "return from customer",
     {"kolicina vpc pc tbr_stp", "vpci pci osnovica pdvi ukupno", Vat<PovratnicaKupcaStavkeCalcFields>},
     kNone,
     "FillPDVData",
     kTotals},
    {"racun-vlastite-potrebe",
     "Račun za vlastite potrebe",
     "invoice for the company's own use",
     {"kolicina nc pov_nak tbr_stp", "nci pov_naki osnovica pdvi ukupno",
      Vat<RacunVlastitePotrebeStavkeCalcFields>},
     kNone,
     "FillPDVData",
     kTotals},
});

}  // namespace

std::span<const DocumentKind> DocumentKinds() { return kKinds; }

const DocumentKind& FindDocumentKind(std::string_view name) {
  if (const DocumentKind* found = FindRow(kKinds, name)) return *found;
  throw UsageError(ThereIsNo("kind of document", name, NamesOf(kKinds)));
}

std::vector<std::string_view> SplitNames(std::string_view names) {
  std::vector<std::string_view> split;
  while (!names.empty()) {
    const std::size_t end = std::min(names.find(' '), names.size());
    if (end > 0) split.push_back(names.substr(0, end));
    names.remove_prefix(std::min(end + 1, names.size()));
  }
  return split;
}

}  // namespace mox

#include "mox/documents/document_kinds.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "mox/calculations/document_lines.h"
#include "mox/calculations/vat_recapitulation.h"
#include "mox/foundation/find_row.h"
#include "mox/foundation/precision.h"
#include "mox/foundation/text.h"

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

using enum CalcFieldsReads;

// What amounts of a line are the sum of.
using Sums = std::string_view[];
constexpr Sums kMargin = {"marza vpci -nci"};
constexpr Sums kBaseOfOneDiscount = {"osnovica pci -rbi1"};
constexpr Sums kBaseOfThreeDiscounts = {"osnovica pci -rbi1 -rbi2 -rbi3"};
constexpr Sums kBaseOfRounding = {"osnovica pci -rbi1 -rbi2 -rbi3", "rabatIznos rbi1 rbi2 rbi3"};
constexpr Sums kGrossLessDiscount = {"ukupno mpci -rbi1"};
constexpr Sums kMarinaSums = {"ukupno mpci -rbi1", "ukupno_v mpci_v -rbi1_v", "vpci_v ukupno_v -pdvi_v"};
constexpr Sums kGross = {"ukupno mpci"};
constexpr Sums kLessDiscount = {"pci mpci -popust_iznos"};
constexpr Sums kNetInvoice = {"nfci fci -rbi1 -rbi2 -rbi3 pot_naki"};
constexpr Sums kCancelledReceipt = {"nfci fci -rbi1 -rbi2 -rbi3 pot_naki", "nci nfci zti", "marza vpci -nci"};
constexpr Sums kReturnSums = {"nfci fci -rbi1 -rbi2 -rbi3 pot_naki", "razlika nci -zti -nfci",
                              "mari vpci -nci"};
constexpr Sums kRetailReturn = {"nfci fci -rbi1 -rbi2 -rbi3 pot_naki", "razlika nci -zti -nfci",
                                "mari mpci -pov_naki -pdvi -nci"};
constexpr Sums kReturnOfMaterial = {"razlika nci -zti -nfci"};
constexpr Sums kPriceChange = {"razlika nvpci -vpci"};
constexpr Sums kUndiscounted = {"osnovica pci"};
constexpr Sums kOwnUseSums = {"ukupno nci pdvi pov_naki"};

// And what they are percentages of. Where the price to be paid is rounded, a discount takes the difference.
using Percents = PercentOf[];
constexpr bool kWithWhole = true;
constexpr Percents kOneDiscount = {{"rbi1", "rbp1", "pci"}};
constexpr Percents kThreeDiscounts = {
    {"rbi1", "rbp1", "pci"}, {"rbi2", "rbp2", "pci -rbi1"}, {"rbi3", "rbp3", "pci -rbi1 -rbi2"}};
constexpr Percents kThreeAndRounding = {
    {"rbi1", "rbp1", "pci"}, {"rbi2", "rbp2", "pci -rbi1"}, {"rbi3", "rbp3", "pci -rbi1 -rbi2", "mpc"}};
constexpr Percents kOneAndRounding = {{"rbi1", "rbp1", "pci", "mpc"}};
constexpr Percents kDiscountOfGross = {{"rbi1", "rbp1", "mpci"}};
constexpr Percents kMarinaPercents = {
    {"rbi1", "rbp1", "mpci"}, {"rbi1_v", "rbp1", "mpci_v"}, {"pdvi_v", "tbr_stp", "ukupno_v -pdvi_v"}};
constexpr Percents kRetailDiscount = {{"popust_iznos", "popust", "mpci", "pc"}};
constexpr Percents kLabourPrice = {{"mpci", "tbr_stp", "pci", "pc", kWithWhole}};
constexpr Percents kWholesalePrice = {{"mpci", "tbr_stp", "vpci", "vpc", kWithWhole}};
constexpr Percents kMaterialOfOrder = {{"mpci", "tbr_stp", "vpci", "mpc", kWithWhole}};
constexpr Percents kLabourOfOrder = {{"rbi1", "rbp1", "pci"},
                                     {"mpci", "tbr_stp", "pci -rbi1", "mpc", kWithWhole}};
constexpr Percents kDiscountsOfReceipt = {
    {"rbi1", "rbp1", "fci"}, {"rbi2", "rbp2", "fci -rbi1"}, {"rbi3", "rbp3", "fci -rbi1 -rbi2"}};
constexpr Percents kCancelledReceiptPercents = {{"rbi1", "rbp1", "fci"},
                                                {"rbi2", "rbp2", "fci -rbi1"},
                                                {"rbi3", "rbp3", "fci -rbi1 -rbi2"},
                                                {"marza", "marp", "nci"}};
constexpr Percents kReturnPercents = {{"rbi1", "rbp1", "fci"},
                                      {"rbi2", "rbp2", "fci -rbi1"},
                                      {"rbi3", "rbp3", "fci -rbi1 -rbi2"},
                                      {"mari", "marp", "vpci"}};
constexpr Percents kRetailReturnPercents = {{"rbi1", "rbp1", "fci"},
                                            {"rbi2", "rbp2", "fci -rbi1"},
                                            {"rbi3", "rbp3", "fci -rbi1 -rbi2"},
                                            {"mari", "marp", "nci"},
                                            {"mpci", "tbr_stp", "vpci", "vpc", kWithWhole},
                                            {"pdvi", "tbr_stp", "mpci -pov_naki -pdvi"}};

template <auto kCalculator>
constexpr LineSchema StockLines() {
  LineSchema schema = {"kolicina nc vpc", "nci vpci marza", Plain<kCalculator>, kItsInputs};
  schema.sums = kMargin;
  return schema;
}

template <auto kCalculator>
constexpr LineSchema NetGoods() {
  return {"kolicina vpc pc rbp1 rbp2 rbp3 tbr_stp pov_nak",
          "vpci pci rbi1 rbi2 rbi3 pov_naki osnovica pdvi ukupno",
          Vat<kCalculator>,
          kItsInputs,
          field::ukupno,
          "osnovica",
          "pdvi",
          kBaseOfThreeDiscounts,
          kThreeDiscounts};
}

template <auto kCalculator>
constexpr LineSchema NetServices() {
  return {"kolicina pc rbp1 rbp2 rbp3 tbr_stp",
          "pci rbi1 rbi2 rbi3 osnovica pdvi ukupno",
          Vat<kCalculator>,
          kItsInputs,
          field::ukupno,
          "osnovica",
          "pdvi",
          kBaseOfThreeDiscounts,
          kThreeDiscounts};
}

template <auto kCalculator>
constexpr LineSchema ServicesWithOneDiscount() {
  return {"kolicina pc rbp1 tbr_stp",
          "pci rbi1 osnovica pdvi ukupno",
          Vat<kCalculator>,
          kItsInputs,
          field::ukupno,
          "osnovica",
          "pdvi",
          kBaseOfOneDiscount,
          kOneDiscount};
}

template <auto kCalculator>
constexpr LineSchema ServiceJob() {
  return {"kolicina pc vpc mpc rbp1 tbr_stp",
          "pci vpci mpci rbi1 osnovica pdvi ukupno",
          Vat<kCalculator>,
          kItsInputs,
          field::ukupno,
          "osnovica",
          "pdvi",
          kBaseOfOneDiscount,
          kOneDiscount};
}

constexpr LineSchema kNone{};

// --- recapitulations that several kinds share ---

template <auto kMember>
void ByRate(const RecapFields& fields, RecordSet& recap, int digits) {
  kMember(fields.amount1, fields.amount2, fields.rate1, fields.rate2, recap, digits);
}

void WithoutTax(const RecapFields& fields, RecordSet& recap, int /*digits*/) {
  FillPDVDataIznosBezPDV(fields.amount1, fields.amount2, fields.rate1, fields.rate2, recap);
}

void ReturnToSupplier(const RecapFields& fields, RecordSet& recap, int digits) {
  FillPDVDataPovDob(fields.rate1.value(), fields.amount1.value(), recap, digits);
}

using Columns = DocumentRecap::Columns;

constexpr Columns kUkupno = {field::ukupno, field::tbr_stp};
constexpr Columns kMpci = {field::mpci, field::tbr_stp};
constexpr Columns kNfci = {field::nfci, field::tbr_stp};

constexpr DocumentRecap kNoTax{};
constexpr DocumentRecap kTotals = {"FillPDVData", ByRate<FillPDVData>, kUkupno};
constexpr DocumentRecap kTotalsOfBoth = {"FillPDVData", ByRate<FillPDVData>, kUkupno, kUkupno};
constexpr DocumentRecap kNetReceipt = {"FillPDVDataIznosBezPDV", WithoutTax, kNfci, std::nullopt, false};
constexpr DocumentRecap kNetReturn = {"FillPDVDataPovDob", ReturnToSupplier, kNfci};

using enum DocumentClass;
constexpr StockDirection kStays = StockDirection::kNone;
constexpr StockDirection kIn = StockDirection::kIn;
constexpr StockDirection kOut = StockDirection::kOut;
constexpr bool kPaidLater = true;
constexpr bool kOwnUse = true;
constexpr bool kStaysWithoutQuantity = true;

// A storno moves stock as the documents that it cancels do: its quantities are negative.
constexpr auto kKinds = std::to_array<DocumentKind>({
    // Invoices: the totals include tax, and the fee is kept out of it.
    {"gotovinski-racun",
     "got-racun",
     "Gotovinski račun",
     "cash invoice",
     kInvoice,
     kOut,
     {"kolicina pc rbp1 rbp2 rbp3 tbr_stp pov_nak",
      "pci rbi1 rbi2 rbi3 rabatIznos pov_naki mpc mpci osnovica pdvi ukupno",
      // The decimals of the selling price are asked anew for each line.
      Vat<GotovinskiRacunStavkeCalcFields>, kItsInputsAndSettings, field::ukupno, "osnovica", "pdvi",
      kBaseOfRounding, kThreeAndRounding, 1, std::nullopt, kStaysWithoutQuantity},
     {"kolicina pc rbp1 rbp2 rbp3 tbr_stp", "pci rbi1 rbi2 rbi3 rabatIznos mpc mpci osnovica pdvi ukupno",
      Vat<GotovinskiRacunUslugeCalcFields>, kItsInputs, field::ukupno, "osnovica", "pdvi", kBaseOfRounding,
      kThreeAndRounding, 1, std::nullopt, kStaysWithoutQuantity},
     kTotalsOfBoth,
     "storno-gotovinski-racun"},
    {"storno-gotovinski-racun",
     "storno-got-rac",
     "Storno gotovinskog računa",
     "cancellation of a cash invoice",
     kInvoice,
     kOut,
     {"kolicina pc rbp1 rbp2 rbp3 tbr_stp", "pci rbi1 rbi2 rbi3 rabatIznos mpc osnovica pdvi ukupno",
      Vat<StornoGotovinskiRacunStavkeCalcFields>, kItsInputs, field::ukupno, "osnovica", "pdvi",
      kBaseOfRounding, kThreeAndRounding},
     kNone,
     kTotals,
     "",
     true},
    {"predracun", "predracun", "Predračun", "pro-forma invoice", kProForma, kStays,
     NetGoods<PredracunStavkeCalcFields>(), NetServices<PredracunUslugeCalcFields>(), kTotalsOfBoth},
    {"otpremnica-racun", "otp-racun", "Otpremnica–račun", "invoice from delivery notes", kInvoice, kOut,
     NetGoods<OtpremnicaRacunStavkeCalcFields>(), NetServices<OtpremnicaRacunUslugeCalcFields>(),
     kTotalsOfBoth, "storno-otpremnica-racun", false, kPaidLater},
    {"storno-otpremnica-racun", "storno-otp-rac", "Storno otpremnice–računa",
     "cancellation of an invoice from delivery notes", kInvoice, kOut,
     NetGoods<StornoOtpremnicaRacunStavkeCalcFields>(), NetServices<StornoOtpremnicaRacunUslugeCalcFields>(),
     kTotalsOfBoth, "", true, kPaidLater},
    {"racun-usluga", "racun-usluga", "Račun usluga", "invoice for services", kInvoice, kStays, kNone,
     ServicesWithOneDiscount<RacunUslugaCalcFields>(), kTotals, "", false, kPaidLater},
    {"racun-usluga-inozemstvo", "racun-usl-inoz", "Račun usluga, inozemstvo",
     "invoice for services to a foreign customer", kInvoice, kStays, kNone,
     ServicesWithOneDiscount<RacunUslugaInozemstvoCalcFields>(), kTotals, "", false, kPaidLater},
    {"bez-gotovinski-racun-servis", "bezgot-rac-srv", "Bezgotovinski račun servisa",
     "non-cash invoice of a service job: material, labour", kInvoice, kOut,
     ServiceJob<BezGotovinskiRacunServisMaterijalCalcFields>(),
     ServiceJob<BezGotovinskiRacunServisUslugeCalcFields>(), kTotalsOfBoth, "", false, kPaidLater},
    {"gotovinski-racun-usluga",
     "got-rac-usluga",
     "Gotovinski račun usluga",
     "cash invoice for services priced gross",
     kInvoice,
     kStays,
     kNone,
     {"kolicina pc mpc rbp1 tbr_stp", "pci mpci rbi1 vpc vpci pdvi ukupno",
      Vat<GotovinskiRacunUslugaCalcFields>, kItsInputs, field::ukupno, "vpci", "pdvi", kGrossLessDiscount,
      kDiscountOfGross},
     kTotals},
    {"gotovinski-racun-usluga-marina",
     "got-rac-marina",
     "Gotovinski račun usluga marine",
     "cash invoice for marina services, two price columns",
     kInvoice,
     kStays,
     kNone,
     {"kolicina pc mpc mpcv rbp1 tbr_stp",
      "pci mpci rbi1 vpc vpci pdvi ukupno mpci_v rbi1_v vpci_v pdvi_v ukupno_v",
      Vat<GotovinskiRacunUslugaMarinaCalcFields>, kItsInputs, field::ukupno, "vpci", "pdvi", kMarinaSums,
      kMarinaPercents},
     kTotals},
    {"gotovinski-racun-servis",
     "got-rac-servis",
     "Gotovinski račun servisa",
     "cash invoice of a service job: material, labour",
     kInvoice,
     kOut,
     // The base of material is taken with the tax that the line had before.
     {"kolicina pc vpc rbp1 tbr_stp", "pci vpci rbi1 mpc mpci osnovica pdvi ukupno",
      Vat<GotovinskiRacunServisMaterijalCalcFields>, kItsInputs, field::ukupno, "osnovica", "pdvi",
      kBaseOfOneDiscount, kOneAndRounding, 2},
     {"kolicina mpc vpc tbr_stp", "pc pci vpci mpci pdvi ukupno", Vat<GotovinskiRacunServisUslugeCalcFields>,
      kItsInputs, field::ukupno, "", "pdvi", kGross, kLabourPrice},
     kTotalsOfBoth},
    {"mal-gotovinski-racun",
     "mal-got-racun",
     "Maloprodajni gotovinski račun",
     "retail cash invoice",
     kInvoice,
     kOut,
     {"kolicina mpc popust tbr_stp pov_nak", "pov_naki mpci pc popust_iznos pdvi pci",
      Vat<MalGotovinskiRacunCalcFields>, kItsInputs, field::pci, "", "pdvi", kLessDiscount, kRetailDiscount},
     {"kolicina mpc pc tbr_stp", "vpc vpci pci mpci pdvi ukupno", Vat<MalGotovinskiRacunCalcUsluge>,
      kItsInputs, field::ukupno, "", "pdvi", kGross, kWholesalePrice},
     {"FillPDVData", ByRate<FillPDVData>, {field::pci, field::tbr_stp}, kUkupno}},

    // Work orders are priced gross, without fees; the daily cash report has bases.
    {"radni-nalog",
     "radni-nalog",
     "Radni nalog",
     "work order: material, labour",
     kOrder,
     kStays,
     {"kolicina vpc tbr_stp",
      "vpci mpc mpci pdvi",
      Vat<RadniNalogStavkeCalcFields>,
      kItsInputs,
      field::mpci,
      "",
      "pdvi",
      {},
      kMaterialOfOrder},
     {"kolicina pc rbp1 pc_int normativ tbr_stp",
      "pci rbi1 pci_int normativ_izn mpc mpci pdvi",
      Vat<RadniNalogUslugeCalcFields>,
      kItsInputs,
      field::mpci,
      "",
      "pdvi",
      {},
      kLabourOfOrder},
     {"FillPDVDataPPOM", ByRate<FillPDVDataPPOM>, kMpci, kMpci}},
    {"mal-dnevni-izv-blag",
     "mal-dnevni-izv",
     "Maloprodajni dnevni izvještaj blagajne",
     "retail daily cash report",
     kReport,
     kStays,
     {"osnovicaroba osnovicausluge tbr_stp", "pdviroba pdviusluge", Vat<MalDnevniIzvBlagCalcFields>,
      kItsInputs, std::nullopt, "osnovicaroba osnovicausluge", "pdviroba pdviusluge"},
     kNone,
     {"FillPDVDataIznosBezPDV",
      WithoutTax,
      {field::osnovicaroba, field::tbr_stp},
      Columns{field::osnovicausluge, field::tbr_stp},
      false}},

    // Goods receipts: the net invoice amount is without tax.
    {"primka-kalkulacija",
     "primka-kalk",
     "Primka – kalkulacija",
     "goods receipt costing, invoice side",
     kGoodsReceipt,
     kIn,
     {"kolicina fc rbp1 rbp2 rbp3 pov_nak pot_nak tbr_stp", "fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci",
      Plain<PrimkaKalkulacija01CalcFields>, kItsInputs, std::nullopt, "nfci", "", kNetInvoice,
      kDiscountsOfReceipt},
     kNone,
     kNetReceipt,
     "storno-primke-kalkulacije"},
    {"storno-primke-kalkulacije",
     "storno-primke",
     "Storno primke – kalkulacije",
     "cancellation of a goods receipt costing",
     kGoodsReceipt,
     kIn,
     {"kolicina fc rbp1 rbp2 rbp3 pot_naki zti vpc tbr_stp", "fci rbi1 rbi2 rbi3 nfci nci nc vpci marza marp",
      StornoPrimke, kItsInputs, std::nullopt, "nfci", "", kCancelledReceipt, kCancelledReceiptPercents},
     kNone,
     kNetReceipt,
     "",
     true},

    // Stock. Only a shortage is taxed.
    {"mal-primka-zaduzenje", "mal-primka-zad", "Maloprodajna primka, zaduženje",
     "retail goods receipt (stock charge)", kGoodsReceipt, kIn,
     StockLines<MalPrimkaZaduzenjeStavkeCalcFields>(), kNone, kNoTax},
    {"razduzenje-otpis", "razd-otpis", "Razduženje, otpis", "stock discharge: write-off", kStock, kOut,
     StockLines<RazduzenjeOtpisStavkeCalcFields>(), kNone, kNoTax},
    {"razduzenje-manjak",
     "razd-manjak",
     "Razduženje, manjak",
     "stock discharge: shortage",
     kStock,
     kOut,
     {"kolicina nc vpc pov_nak tbr_stp", "nci vpci marza pov_naki pdvi ukupno",
      Vat<RazduzenjeManjakStavkeCalcFields>, kItsInputs, field::ukupno, "vpci", "pdvi", kMargin},
     kNone,
     kTotals},
    {"meduskladisnica-ulaz", "meduskl-ulaz", "Međuskladišnica, ulaz",
     "transfer between warehouses, receiving side", kStock, kIn, StockLines<MeduskladisnicaUlazSetData>(),
     kNone, kNoTax},
    {"meduskladisnica-izlaz", "meduskl-izlaz", "Međuskladišnica, izlaz",
     "transfer between warehouses, issuing side", kStock, kOut,
     StockLines<MeduskladisnicaIzlazStavkeCalcFields>(), kNone, kNoTax},
    {"pocetno-stanje", "pocetno-stanje", "Početno stanje", "opening stock", kStock, kIn,
     StockLines<PocetnoStanjeStavkeCalcFields>(), kNone, kNoTax},
    {"izmjena-cijena",
     "izmjena-cijena",
     "Izmjena cijena",
     "price change",
     kStock,
     kStays,
     {"kolicina vpc nvpc", "vpci nvpci razlika", Plain<IzmjenaCijenaStavkeCalcFields>, kItsInputs,
      std::nullopt, "", "", kPriceChange},
     kNone,
     kNoTax},

    // Returns and own use.
    {"povratnica-dobavljacu",
     "povrat-dobavlj",
     "Povratnica dobavljaču",
     "return to supplier (wholesale)",
     kReturn,
     kOut,
     {"kolicina nc fc rbp1 rbp2 rbp3 vpc zti pov_nak pot_nak tbr_stp",
      "nci fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci vpci razlika mari marp pdvi ukupno",
      Vat<PovratnicaDobavljacuStavkeCalcFields>, kItsInputs, field::ukupno, "nfci", "pdvi", kReturnSums,
      kReturnPercents},
     kNone,
     kNetReturn},
    {"mal-povratnica-dobavljacu",
     "mal-povrat-dob",
     "Maloprodajna povratnica dobavljaču",
     "return to supplier from a shop",
     kReturn,
     kOut,
     {"kolicina nc fc rbp1 rbp2 rbp3 mpc zti pov_nak pot_nak tbr_stp",
      "nci fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci razlika vpc vpci mpci pdvi mari marp pdvi_dob uk_dob",
      Vat<MalPovratnicaDobavljacuStavkeCalcFields>, kItsInputs, field::uk_dob, "nfci", "pdvi_dob",
      kRetailReturn, kRetailReturnPercents},
     kNone,
     {"FillPDVDataPovDob", ReturnToSupplier, kNfci, std::nullopt, true, 2}},  // as pdvi_dob always has two
    {"mat-povratnica-dobavljacu",
     "mat-povrat-dob",
     "Povratnica materijala dobavljaču",
     "return of materials to supplier",
     kReturn,
     kOut,
     {"kolicina nc fc rbp1 rbp2 rbp3 zti pov_nak pot_nak tbr_stp",
      "nci fci rbi1 rbi2 rbi3 pov_naki pot_naki nfci razlika pdvi ukupno",
      // The net amount takes the fee of an earlier pass.
      Vat<MatPovratnicaDobavljacuStavkeCalcFields>, kItsInputs, field::ukupno, "nfci", "pdvi",
      kReturnOfMaterial, kDiscountsOfReceipt, 1, field::pot_naki},
     kNone,
     kNetReturn},
    {"povratnica-kupca",
     "povrat-kupca",
     "Povratnica kupca",
     "return from customer",
     kReturn,
     kIn,
     {"kolicina vpc pc tbr_stp", "vpci pci osnovica pdvi ukupno", Vat<PovratnicaKupcaStavkeCalcFields>,
      kItsInputs, field::ukupno, "osnovica", "pdvi", kUndiscounted},
     kNone,
     kTotals},
    {"racun-vlastite-potrebe",
     "racun-vl-potr",
     "Račun za vlastite potrebe",
     "invoice for the company's own use",
     kInvoice,
     kOut,
     {"kolicina nc pov_nak tbr_stp",
      "nci pov_naki osnovica pdvi ukupno",
      Vat<RacunVlastitePotrebeStavkeCalcFields>,
      kItsInputs,
      field::ukupno,
      "osnovica",
      "pdvi",
      kOwnUseSums,
      {},
      1,
      std::nullopt,
      kStaysWithoutQuantity},
     kNone,
     kTotals,
     "",
     false,
     false,
     kOwnUse},
});

constexpr std::size_t kTipSize = 15;

static_assert(std::all_of(kKinds.begin(), kKinds.end(), [](const DocumentKind& kind) {
  return kind.tip.size() <= kTipSize &&
         std::count_if(kKinds.begin(), kKinds.end(),
                       [&](const DocumentKind& other) { return other.tip == kind.tip; }) == 1;
}));

}  // namespace

DocumentDigits DocumentDigits::OfApplication() {
  return {GetPdviCalcDigit(), GetNcCalcDigit(), GetPcCalcDigit()};
}

std::span<const DocumentKind> DocumentKinds() { return kKinds; }

const DocumentKind* FindDocumentKind(std::string_view name) { return FindRow(kKinds, name); }

const DocumentKind* FindDocumentTip(std::string_view tip) {
  for (const DocumentKind& kind : kKinds) {
    if (kind.tip == tip || kind.name == tip) return &kind;
  }
  if (tip.size() != kTipSize) return nullptr;
  const DocumentKind* only = nullptr;
  for (const DocumentKind& kind : kKinds) {
    if (!kind.name.starts_with(tip)) continue;
    if (only != nullptr) return nullptr;
    only = &kind;
  }
  return only;
}

const DocumentKind& DocumentKindByName(std::string_view name) {
  if (const DocumentKind* found = FindDocumentKind(name)) return *found;
  throw Error("there is no kind of document \"" + std::string(name) + '"');
}

const DocumentKind& StornoKindOf(const DocumentKind& kind) {
  return kind.cancelled_by.empty() ? kind : DocumentKindByName(kind.cancelled_by);
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

void CalculateLine(const LineSchema& schema, RecordSet& lines, const DocumentDigits& digits) {
  for (int pass = 0; pass < schema.passes; ++pass) schema.calculate(lines, digits);
}

void CalculateEnteredLine(const LineSchema& schema, RecordSet& lines, const DocumentDigits& digits) {
  if (schema.of_earlier_pass) lines.Set(*schema.of_earlier_pass, Currency());
  CalculateLine(schema, lines, digits);
}

void CalculateByEvent(const LineSchema& schema, RecordSet& lines, const DocumentDigits& digits,
                      std::shared_ptr<bool> is_calculated) {
  const auto by_event = [&](auto calculate) {
    lines.SetOnCalcFields(
        [calculate, mark = std::move(is_calculated)](RecordSet& line) {
          if (!std::exchange(*mark, false)) calculate(line);
        },
        schema.reads);
  };
  // Most lines are one call of their calculator.
  if (schema.passes == 1 && !schema.of_earlier_pass) {
    by_event([calculate = schema.calculate, digits](RecordSet& line) { calculate(line, digits); });
  } else {
    by_event([&schema, digits](RecordSet& line) { CalculateEnteredLine(schema, line, digits); });
  }
}

std::vector<FieldDef> LineFields(const LineSchema& schema) {
  std::vector<FieldDef> fields;
  AddLineFields(schema, fields);
  return fields;
}

void AddLineFields(const LineSchema& schema, std::vector<FieldDef>& fields) {
  const auto add = [&fields](std::string_view name) {
    const auto known = std::find_if(fields.begin(), fields.end(),
                                    [name](const FieldDef& field) { return SameName(field.name, name); });
    if (known != fields.end()) return known;
    FieldDef added;
    added.name = name;
    added.kind = FindVocabularyEntry(name)->kind;
    return fields.insert(fields.end(), std::move(added));
  };
  for (const std::string_view name : SplitNames(schema.inputs)) add(name);
  for (const std::string_view name : SplitNames(schema.calculated)) add(name)->calculated = true;
}

}  // namespace mox

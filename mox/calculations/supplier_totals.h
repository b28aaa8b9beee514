#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

// The totals of a supplier's document: the lines of a goods receipt summed by tax rate, and their return
// fees, into currency fields of one header record. That record is put into edit mode and not posted; every
// field is set, also to 0.
//
// Of a line are read tbr_stp, nfci (net invoice value, in whatever kind its field is), and, unless the kind
// of the document carries no input tax and no fee, pov_nak per unit and kolicina. A rate is compared for
// exact equality, and lines of rates without fields of their own go to roba_0 untaxed. Goods values are not
// rounded beyond four decimals. The lines are left at their end, controls being disabled meanwhile.
//
// Both raise FieldNotFound for a column that is needed and Overflow for sums outside the range of a currency,
// and then leave the header in edit mode with zeros.

/// Whose rates the documents have: those of the country, or those of Bosnia.
enum class SupplierEdition : std::uint8_t { kDomestic, kBosnian };

/// The rate that the Bosnian edition alone has: a receipt with a line of exactly that rate is of it.
inline constexpr double kBosnianRate = 17;

/// The kinds of suppliers' documents that carry neither input tax nor fees: "RU" and "OK", in the Bosnian
/// edition "RU" alone.
std::span<const std::string_view> KindsWithoutInputTax(SupplierEdition edition);
/// Whether a supplier's document of that kind carries input tax and fees.
bool CarriesInputTax(std::string_view doc_kind, SupplierEdition edition);

/// The header's fields, in the order of the parameters. Tax at 10 % and 13 % stands before tax at 5 %.
struct DocDobavljacaFields {
  Field roba_0;  ///< and of all rates that are not listed
  Field roba_5;
  Field roba_10;
  Field roba_13;
  Field roba_22;
  Field roba_23;
  Field roba_25;
  Field pdv_10;
  Field pdv_13;
  Field pdv_5;
  Field pdv_22;
  Field pdv_23;
  Field pdv_25;
  Field pov_nak;
};

/// What the dialog of a supplier's tax says: its title, and the caption of each field in the order of the
/// parameters. The names are those under which the totals are stored.
inline constexpr std::string_view kDocDobavljacaTitle = "PDV dokumenta dobavljača";

struct DocDobavljacaCaption {
  std::string_view field;
  std::string_view caption;
};

inline constexpr DocDobavljacaCaption kDocDobavljacaCaptions[] = {{"roba_0", "Vrijednost robe (0%):"},
                                                                  {"roba_5", "Vrijednost robe (5%):"},
                                                                  {"roba_10", "Vrijednost robe (10%):"},
                                                                  {"roba_13", "Vrijednost robe (13%):"},
                                                                  {"roba_22", "Vrijednost robe (22%):"},
                                                                  {"roba_23", "Vrijednost robe (23%):"},
                                                                  {"roba_25", "Vrijednost robe (25%):"},
                                                                  {"pdv_10", "PDV (10%):"},
                                                                  {"pdv_13", "PDV (13%):"},
                                                                  {"pdv_5", "PDV (5%):"},
                                                                  {"pdv_22", "PDV (22%):"},
                                                                  {"pdv_23", "PDV (23%):"},
                                                                  {"pdv_25", "PDV (25%):"},
                                                                  {"pov_nak", "Povratna naknada:"}};

/// A record of these fields, named "DokDobavljaca", with the captions as labels and zeros as values.
RecordSet MakeDocDobavljaca();
/// Its fields as the parameters of the function.
DocDobavljacaFields DocDobavljacaFieldsOf(RecordSet& header);

/// Where the additional feature "PrimkaDocDobInZTI" is allowed, dependent costs, zti, count into the goods
/// value and so into the tax base. The tax of a line is rounded to digits (at least 2), its fee to
/// hundredths; the sums of taxes are rounded to hundredths again.
void CalcDocDobavljaca(const DocDobavljacaFields& header, RecordSet& lines, std::string_view doc_kind,
                       int digits);

/// The additional feature by which dependent costs count.
inline constexpr std::string_view kCostsCountFeature = "PrimkaDocDobInZTI";

/// The same of the Bosnian edition.
struct DocDobavljacaBIHFields {
  Field roba_0;  ///< and of all rates that are not listed
  Field roba_10;
  Field roba_17;
  Field pdv_10;
  Field pdv_17;
  Field pov_nak;
};

/// As MakeDocDobavljaca, of these fields.
RecordSet MakeDocDobavljacaBIH();
DocDobavljacaBIHFields DocDobavljacaBIHFieldsOf(RecordSet& header);

/// Dependent costs never count, and taxes and fees of a line are rounded to hundredths.
void CalcDocDobavljacaBIH(const DocDobavljacaBIHFields& header, RecordSet& lines, std::string_view doc_kind);

/// Either record.
RecordSet MakeSupplierTotals(SupplierEdition edition);
/// Whose fields a record of totals has.
SupplierEdition EditionOfTotals(const RecordSet& header);

/// The same from the rows of the lines, of which nothing moves and nothing is fired, for a header of either
/// edition (the Bosnian one has its own digits and costs). A column that the lines do not have is null in all
/// of them. The caller knows whether dependent costs count.
void SumSupplierDocument(RecordSet& header, const RecordTable& lines, std::string_view doc_kind, int digits,
                         bool costs_count);

}  // namespace mox

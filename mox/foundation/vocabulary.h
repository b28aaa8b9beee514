#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

#include "mox/foundation/field.h"

// The vocabulary of line fields: X(measure, name). A name of the vocabulary is found in a record set by one
// array load; any other name by hashing. What a field measures also tells its usual kind; a record set may
// declare another.
// clang-format off
#define MOX_VOCABULARY(X)                                                                                 \
  /* quantity, prices and amounts of a line */                                                            \
  X(Quantity, kolicina)                                                                                   \
  X(Price, nc) X(Amount, nci) X(Price, fc) X(Amount, fci) X(Amount, nfci) X(Amount, zti)                  \
  X(Price, vpc) X(Amount, vpci) X(Price, mpc) X(Amount, mpci)                                             \
  X(Price, nmpc) X(Amount, nmpci) X(Price, nvpc) X(Amount, nvpci)                                         \
  X(Price, pc) X(Amount, pci) X(Price, pc_int) X(Amount, pci_int)                                         \
  /* discounts */                                                                                         \
  X(Percent, rbp1) X(Percent, rbp2) X(Percent, rbp3)                                                      \
  X(Amount, rbi1) X(Amount, rbi2) X(Amount, rbi3) X(Amount, rabatIznos)                                   \
  X(Percent, popust) X(Amount, popust_iznos)                                                              \
  /* tax, base, total, fees */                                                                            \
  X(Percent, tbr_stp) X(Amount, pdvi) X(Amount, osnovica) X(Amount, ukupno)                               \
  X(Price, pov_nak) X(Amount, pov_naki) X(Price, pot_nak) X(Amount, pot_naki)                             \
  X(Amount, pdvi_dob) X(Amount, uk_dob)                                                                   \
  X(Amount, osnovicaroba) X(Amount, osnovicausluge) X(Amount, pdviroba) X(Amount, pdviusluge)             \
  /* margin, difference, dependent costs */                                                               \
  X(Amount, marza) X(Amount, mari) X(Percent, marp) X(Amount, razlika) X(Percent, ztp)                    \
  /* promotional prices */                                                                                \
  X(Price, nca) X(Percent, marpa) X(Amount, maria) X(Amount, mpcia) X(Price, mpca)                        \
  /* second price column */                                                                               \
  X(Price, mpcv) X(Amount, mpci_v) X(Amount, rbi1_v) X(Amount, ukupno_v)                                  \
  X(Amount, pdvi_v) X(Amount, vpci_v)                                                                     \
  /* work orders */                                                                                       \
  X(Number, normativ) X(Amount, normativ_izn)                                                             \
  /* customs */                                                                                           \
  X(Number, lgr_kol) X(Number, lgr_koleta) X(Number, lgr_bruto) X(Number, lgr_neto)                       \
  X(Quantity, koleta) X(Quantity, bruto) X(Quantity, neto) X(Percent, ctb_stopa)                          \
  /* tax recapitulation and inventory book */                                                             \
  X(Amount, porez) X(Percent, stopa) X(Text, oznaka_stope) X(Amount, neoporezivo) X(Text, vrsta)          \
  X(Code, vrsta_stavke) X(Amount, pp_iznos) X(Percent, pp_stopa)                                          \
  X(Amount, roba_iznos) X(Amount, porezroba_iznos) X(Amount, pov_nak_izn)
// clang-format on

namespace mox {

/// What a field of the vocabulary measures. A document that cancels another has the quantities and amounts of
/// the other sign; everything else stays.
enum class Measure : std::uint8_t {
  kQuantity,  ///< of the line: float
  kNumber,    ///< that does not belong to the line alone, such as the weight of a stored lot: float
  kPercent,   ///< float
  kPrice,     ///< of a unit, which is not summed: currency
  kAmount,    ///< of the line or the document: currency
  kCode,      ///< integer
  kText
};

/// The kind of the fields that measure it.
constexpr FieldKind UsualKind(Measure measure) {
  switch (measure) {
    case Measure::kPrice:
    case Measure::kAmount:
      return FieldKind::kCurrency;
    case Measure::kCode:
      return FieldKind::kInteger;
    case Measure::kText:
      return FieldKind::kText;
    default:
      return FieldKind::kFloat;
  }
}

enum class NameId : std::uint8_t {
#define MOX_NAME_ID(measure, name) name,
  MOX_VOCABULARY(MOX_NAME_ID)
#undef MOX_NAME_ID
      kCount
};

inline constexpr std::size_t kVocabularySize = static_cast<std::size_t>(NameId::kCount);

/// A name of the vocabulary whose fields are usually of one kind.
template <FieldKind K>
struct FieldName {
  constexpr FieldName(NameId name_id, const char* name_text) : id(name_id), text(name_text) {}
  NameId id;
  const char* text;
};

using CurrencyName = FieldName<FieldKind::kCurrency>;
using FloatName = FieldName<FieldKind::kFloat>;
using IntegerName = FieldName<FieldKind::kInteger>;
using TextName = FieldName<FieldKind::kText>;

/// The price or fee of one unit, as against the amount of a line. Formulas read it with all of the decimals
/// that its field has.
struct PriceName : CurrencyName {
  using CurrencyName::CurrencyName;
};

template <Measure M>
using NameOf = std::conditional_t<M == Measure::kPrice, PriceName, FieldName<UsualKind(M)>>;

/// The vocabulary as constants: `lines[field::pc]`.
namespace field {
#define MOX_NAME_CONSTANT(measure, name) \
  inline constexpr NameOf<Measure::k##measure> name{NameId::name, #name};
MOX_VOCABULARY(MOX_NAME_CONSTANT)
#undef MOX_NAME_CONSTANT
}  // namespace field

struct VocabularyEntry {
  std::string_view name;
  FieldKind kind;
  Measure measure;
};

/// Every name with its usual kind, in the order of NameId.
inline constexpr std::array<VocabularyEntry, kVocabularySize> kVocabulary = {{
#define MOX_NAME_ENTRY(measure, name) {#name, UsualKind(Measure::k##measure), Measure::k##measure},
    MOX_VOCABULARY(MOX_NAME_ENTRY)
#undef MOX_NAME_ENTRY
}};

/// The name of the vocabulary that equals the text without regard to case.
std::optional<NameId> FindInVocabulary(std::string_view name);
/// Its entry, or null.
const VocabularyEntry* FindVocabularyEntry(std::string_view name);

}  // namespace mox

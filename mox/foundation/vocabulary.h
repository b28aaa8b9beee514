#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

#include "mox/foundation/field.h"

// The vocabulary of line fields: X(kind, name). A name of the vocabulary is found in a record set by one
// array load; any other name by hashing. The kind is the usual one of such a field, that of a unit price a
// currency; a record set may declare another.
// clang-format off
#define MOX_VOCABULARY(X)                                                                                \
  /* quantity, prices and amounts of a line */                                                           \
  X(Float, kolicina)                                                                                     \
  X(Price, nc) X(Currency, nci) X(Price, fc) X(Currency, fci) X(Currency, nfci) X(Currency, zti)   \
  X(Price, vpc) X(Currency, vpci) X(Price, mpc) X(Currency, mpci)                                  \
  X(Price, nmpc) X(Currency, nmpci) X(Price, nvpc) X(Currency, nvpci)                              \
  X(Price, pc) X(Currency, pci) X(Price, pc_int) X(Currency, pci_int)                              \
  /* discounts */                                                                                        \
  X(Float, rbp1) X(Float, rbp2) X(Float, rbp3)                                                           \
  X(Currency, rbi1) X(Currency, rbi2) X(Currency, rbi3) X(Currency, rabatIznos)                          \
  X(Float, popust) X(Currency, popust_iznos)                                                             \
  /* tax, base, total, fees */                                                                           \
  X(Float, tbr_stp) X(Currency, pdvi) X(Currency, osnovica) X(Currency, ukupno)                          \
  X(Price, pov_nak) X(Currency, pov_naki) X(Price, pot_nak) X(Currency, pot_naki)                  \
  X(Currency, pdvi_dob) X(Currency, uk_dob)                                                              \
  X(Currency, osnovicaroba) X(Currency, osnovicausluge) X(Currency, pdviroba) X(Currency, pdviusluge)    \
  /* margin, difference, dependent costs */                                                              \
  X(Currency, marza) X(Currency, mari) X(Float, marp) X(Currency, razlika) X(Float, ztp)                 \
  /* promotional prices */                                                                               \
  X(Price, nca) X(Float, marpa) X(Currency, maria) X(Currency, mpcia) X(Price, mpca)               \
  /* second price column */                                                                              \
  X(Price, mpcv) X(Currency, mpci_v) X(Currency, rbi1_v) X(Currency, ukupno_v)                        \
  X(Currency, pdvi_v) X(Currency, vpci_v)                                                                \
  /* work orders */                                                                                      \
  X(Float, normativ) X(Currency, normativ_izn)                                                           \
  /* customs */                                                                                          \
  X(Float, lgr_kol) X(Float, lgr_koleta) X(Float, lgr_bruto) X(Float, lgr_neto)                          \
  X(Float, koleta) X(Float, bruto) X(Float, neto) X(Float, ctb_stopa)                                    \
  /* tax recapitulation and inventory book */                                                            \
  X(Currency, porez) X(Float, stopa) X(Text, oznaka_stope) X(Currency, neoporezivo) X(Text, vrsta)       \
  X(Integer, vrsta_stavke) X(Currency, pp_iznos) X(Float, pp_stopa)                                      \
  X(Currency, roba_iznos) X(Currency, porezroba_iznos) X(Currency, pov_nak_izn)
// clang-format on

namespace mox {

enum class NameId : std::uint8_t {
#define MOX_NAME_ID(kind, name) name,
  MOX_VOCABULARY(MOX_NAME_ID)
#undef MOX_NAME_ID
      kCount
};

inline constexpr std::size_t kVocabularySize = static_cast<std::size_t>(NameId::kCount);

/// A name of the vocabulary whose fields are usually of one kind.
template <FieldKind K>
struct FieldName {
  static constexpr FieldKind kKind = K;
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

/// The vocabulary as constants: `lines[field::pc]`.
namespace field {
#define MOX_NAME_CONSTANT(kind, name) inline constexpr kind##Name name{NameId::name, #name};
MOX_VOCABULARY(MOX_NAME_CONSTANT)
#undef MOX_NAME_CONSTANT
}  // namespace field

struct VocabularyEntry {
  std::string_view name;
  FieldKind kind;
  bool unit_price;
};

/// Every name with its usual kind, in the order of NameId.
inline constexpr std::array<VocabularyEntry, kVocabularySize> kVocabulary = {{
#define MOX_NAME_ENTRY(kind, name) {#name, kind##Name::kKind, std::is_same_v<kind##Name, PriceName>},
    MOX_VOCABULARY(MOX_NAME_ENTRY)
#undef MOX_NAME_ENTRY
}};

/// The name of the vocabulary that equals the text without regard to case.
std::optional<NameId> FindInVocabulary(std::string_view name);

}  // namespace mox

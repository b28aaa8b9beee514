#pragma once

#include <string_view>
#include <utility>

#include "mox/foundation/record_set.h"

#pragma GCC visibility push(hidden)

namespace mox {

// The user has said yes to positive quantities of a storno.
inline constexpr std::string_view kConfirmed = "potvrdeno";

// The server refuses texts that are too long; fields with sizes would cut them.
inline constexpr std::pair<std::string_view, FieldKind> kHeaderFields[] = {
    {"vrsta", FieldKind::kText},           {"godina", FieldKind::kInteger},
    {"datum", FieldKind::kDate},           {"datum_isporuke", FieldKind::kDate},
    {"datum_dospijeca", FieldKind::kDate}, {"skl_id", FieldKind::kInteger},
    {"par_id", FieldKind::kInteger},       {"valuta_id", FieldKind::kInteger},
    {"tecaj", FieldKind::kFloat},          {"user_id", FieldKind::kText},
    {"broj_dok_dob", FieldKind::kText},    {"datum_dok_dob", FieldKind::kDate},
    {"vrsta_dok_dob", FieldKind::kText},   {"nacin_placanja", FieldKind::kText},
    {"poziv_na_br", FieldKind::kText},     {"opis", FieldKind::kText},
    {"ukupno", FieldKind::kCurrency},      {"kljuc", FieldKind::kText},
    {kConfirmed, FieldKind::kBoolean},     {"lagernegative", FieldKind::kBoolean}};

inline void DefineHeaderFields(RecordSet& header) {
  for (const auto& [name, kind] : kHeaderFields) header.DefineField(name, kind);
}

}  // namespace mox

#pragma GCC visibility pop

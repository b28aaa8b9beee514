#include "appserver/key_rules.h"

namespace mox {

KeyRule NamedRow(std::string_view column, std::string_view table, std::string_view matched,
                 std::string_view field) {
  return {column, table, {{matched, field}}};
}

KeyRule Place(std::string_view column, std::string_view ptt, std::string_view name) {
  return {column, "mjesto", {{"ptt", ptt}, {"naziv", name}}, "t.id"};
}

KeyRule TaxRate(std::string_view field) {
  return {"tbr_id",
          "tbr",
          {{"stopa", field}},
          "CASE WHEN t.drzava_id = (SELECT h.id FROM drzave h WHERE h.oznaka = 'HR') THEN 0 ELSE 1 END, "
          "CASE WHEN t.vrijedi_do IS NULL THEN 0 ELSE 1 END, t.vrijedi_od DESC NULLS LAST, t.id"};
}

KeyRule Subgroup() {
  return {.column = "podvrsta_id",
          .table = "podvrsta",
          .parts = {{"naziv", "PODGRUPA"}, {"v.naziv", "GRUPA", Fit::kSameOrNone}},
          .first_by = "t.id",
          .join = "LEFT JOIN vrsta v ON v.id = t.vrsta_id"};
}
KeyRule Subgroup2() {
  return {.column = "podgrupa2_id",
          .table = "podgrupa2",
          .parts = {{"naziv", "PODGRUPA2"},
                    {"p.naziv", "PODGRUPA", Fit::kSameOrNone},
                    {"v.naziv", "GRUPA", Fit::kSameOrNone}},
          .first_by = "t.id",
          .join = "LEFT JOIN podvrsta p ON p.id = t.podvrsta_id LEFT JOIN vrsta v ON v.id = p.vrsta_id"};
}

}  // namespace mox

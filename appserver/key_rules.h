#pragma once

#include "appserver/key_finder.h"

namespace mox {

// How fields of people name rows of other tables.

/// A row that one text or number names.
KeyRule NamedRow(std::string_view column, std::string_view table, std::string_view matched,
                 std::string_view field);
/// A post code, a place or both; of places with the same of them the first one that was stored.
KeyRule Place(std::string_view column, std::string_view ptt, std::string_view name);
/// A rate of Croatia before those of other countries, one in force before former ones.
KeyRule TaxRate(std::string_view field);
/// Groups of articles within those above them, whose fields are GRUPA and PODGRUPA.
KeyRule Subgroup();
KeyRule Subgroup2();

}  // namespace mox

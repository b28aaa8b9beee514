#pragma once

#include <utility>

#include "appserver/company_data.h"
#include "appserver/database.h"

namespace mox {

/// Tells a company's database who sells.
inline void MakeUpSeller(Database& database) {
  for (const auto& [name, value] : {std::pair("NazivPoduzeca", "Žito i sinovi d.o.o."),
                                    {"OIBPoduzeca", "12345678903"},
                                    {"AdresaPoduzeca", "Ilica 10"},
                                    {"MjestoPoduzeca", "10000 Zagreb"}}) {
    StoreCompanyValue(database, name, value);
  }
  AddCompanyIban(database, "HR1210010051863000160");
}

}  // namespace mox

#pragma once

#include <cstdint>
#include <string>

#include "tests/fakes/record_sets.h"

namespace mox {

/// A request to store a document without amounts, which its description tells from all others. It is refused
/// where there is no such partner.
inline TAstaParamList SmallDocument(std::string kind, std::string date, std::string description,
                                    std::int64_t partner) {
  const RecordSet header = OneRecord("Zaglavlje", "vrsta,datum,opis,par_id:integer",
                                     {std::move(kind), std::move(date), std::move(description), partner});
  const RecordSet lines = OneRecord("Stavke", "kolicina:float", {0.0});
  const RecordSet taxes =
      OneRecord("Rekapitulacija", "stopa:currency,osnovica:currency,porez:currency,ukupno:currency",
                {Currency(), Currency(), Currency(), Currency()});
  return RequestOf("DokumentInsert", {&header, &lines, &taxes});
}

}  // namespace mox

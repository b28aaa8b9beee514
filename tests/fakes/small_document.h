#pragma once

#include <cstdint>
#include <string>

#include "mox/foundation/record_set.h"
#include "mox/server/transactions.h"

namespace mox {

/// A request to store a document without amounts, which its description tells from all others. It is refused
/// where there is no such partner.
inline TAstaParamList SmallDocument(std::string kind, std::string date, std::string description,
                                    std::int64_t partner) {
  RecordSet header("Zaglavlje");
  for (const char* const name : {"vrsta", "datum", "opis"}) header.DefineField(name, FieldKind::kText);
  header.DefineField("par_id", FieldKind::kInteger);
  header.Open();
  header.AppendRecord({std::move(kind), std::move(date), std::move(description), partner});
  RecordSet lines("Stavke");
  lines.DefineField("kolicina", FieldKind::kFloat);
  lines.Open();
  lines.AppendRecord({0.0});
  RecordSet taxes("Rekapitulacija");
  for (const char* const name : {"stopa", "osnovica", "porez", "ukupno"}) {
    taxes.DefineField(name, FieldKind::kCurrency);
  }
  taxes.Open();
  taxes.AppendRecord({Currency(), Currency(), Currency(), Currency()});
  const RecordSet* const sets[] = {&header, &lines, &taxes};
  return WriteRequest("DokumentInsert", sets);
}

}  // namespace mox

#include "mox/import/import_history.h"

#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox {

std::optional<std::string> StoredImport(std::string_view profile, const std::string& digest) {
  const auto rows = CreateDBDataSet("DnevnikUvoza\\Prijasnji", "adsUvoz",
                                    {{"profil", Value(std::string(profile))}, {"sazetak", Value(digest)}});
  if (!rows || rows->IsEmpty()) return std::nullopt;
  const RecordRow row = rows->RowAt(0);
  return row.AsText(row.IndexOf("opis"));
}

bool TakeImportBack(std::int64_t number, std::string_view user) {
  RecordSet request("adsUvoz");
  request.DefineField("id", FieldKind::kInteger);
  request.DefineField("korisnik", FieldKind::kText);
  request.Open();
  request.AppendRecord({number, std::string(user)});
  return ExecuteTransaction("PonistiUvoz", {&request});
}

}  // namespace mox

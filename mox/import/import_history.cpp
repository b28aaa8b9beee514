#include "mox/import/import_history.h"

#include "mox/server/read_services.h"

namespace mox {

std::optional<std::string> StoredImport(std::string_view profile, const std::string& digest) {
  const auto rows = CreateDBDataSet("DnevnikUvoza\\Prijasnji", "adsUvoz",
                                    {{"profil", Value(std::string(profile))}, {"sazetak", Value(digest)}});
  if (!rows || rows->IsEmpty()) return std::nullopt;
  const RecordRow row = rows->RowAt(0);
  return row.AsText(row.IndexOf("opis"));
}

}  // namespace mox

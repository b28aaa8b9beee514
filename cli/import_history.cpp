#include "cli/import_history.h"

#include <filesystem>

#include "cli/file_digest.h"
#include "cli/service_request.h"
#include "cli/text_table.h"
#include "connect/open_company.h"
#include "mox/import/import_history.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

// The journal's columns and what people read above them.
struct Shown {
  const char* field;
  const char* title;
  FieldKind kind = FieldKind::kText;
};

constexpr Shown kShown[] = {{"id", "import", FieldKind::kInteger},
                            {"vrijeme", "stored", FieldKind::kDateTime},
                            {"korisnik", "by"},
                            {"profil", "profile"},
                            {"datoteka", "file"},
                            {"redaka", "rows", FieldKind::kInteger},
                            {"tablica", "table"},
                            {"kljucevi", "keys"},
                            {"ponisteno", "taken back", FieldKind::kDateTime}};

}  // namespace

ImportOrigin OriginOf(const std::string& path, std::string_view bytes, bool again) {
  const bool is_file = path != "-";
  return {LoginName(), is_file ? std::filesystem::path(path).filename().string() : "", Sha256(bytes), again};
}

void ListImports(Session& session) {
  ServerOf(session);
  const std::optional<RecordSet> journal = CreateDBDataSet("DnevnikUvoza", "adsUvoz", {});
  if (!journal) throw Error("the server keeps no journal of imports");
  RecordSet table("uvozi");
  for (const Shown& shown : kShown) table.DefineField(shown.title, shown.kind);
  table.Open();
  for (const RecordRow& entry : journal->Rows()) {
    table.Append();
    for (std::size_t i = 0; i < std::size(kShown); ++i) {
      table.SetVariant(i, entry.AsVariant(entry.IndexOf(kShown[i].field)));
    }
    table.Post();
  }
  AppendTable(table, {}, session.out);
}

void TakeImportBack(std::int64_t number, bool rehearsal, Session& session) {
  CompanyAccess& server = ServerOf(session);
  server.SetRehearsing(rehearsal);
  if (!TakeImportBack(number, LoginName())) {
    const auto& failure = server.LastWrite().failure;
    throw Error(failure ? failure->message : "the server refused to take the import back");
  }
  if (!rehearsal) session.stored = "import " + std::to_string(number) + " was taken back";
  session.out += "import " + std::to_string(number) +
                 (rehearsal ? " can be taken back; nothing was changed\n" : " was taken back\n");
}

}  // namespace mox

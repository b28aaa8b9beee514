#include "appserver/import_undo.h"

#include <algorithm>

#include "appserver/import_journal.h"
#include "appserver/journal_text.h"
#include "appserver/partner_balances.h"
#include "appserver/row_copy.h"
#include "appserver/row_digests.h"
#include "appserver/row_uses.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::size_t kMostNamed = 20;  // rows in one message

[[noreturn]] void Refuse(const std::string& message) {
  throw WriteRefused({"", std::string(kImportOrigin), 0, "", message});
}

// A journalled import.
struct Entry {
  std::int64_t id = 0;
  std::string table;
  KeyRuns keys;
  std::string columns;
  std::string digests;
  std::optional<std::string> before;
};

Entry ReadEntry(Database& database, std::int64_t id) {
  RecordSet found = database.Query(
      "uvoz", ParseColumns("tablica,kljucevi,stupci,otisci,prije,ponisteno:datetime"),
      "SELECT tablica, kljucevi, stupci, otisci, prije, ponisteno FROM uvoz WHERE id = :id", {Value(id)});
  const std::string name = "import " + std::to_string(id);
  if (found.IsEmpty()) Refuse("there is no " + name);
  if (!found.IsNull(5)) Refuse(name + " was taken back on " + JournalMomentText(found.AsDateTime(5)));
  Entry entry{id, found.AsText(0), KeyRuns::Parse(found.AsTextView(1)), found.AsText(2), found.AsText(3), {}};
  if (!found.IsNull(4)) entry.before = found.AsText(4);
  return entry;
}

// Why an import cannot be taken back: its rows by their numbers in the sheet, or by their keys where the
// import changed rows.
class Obstacles {
 public:
  explicit Obstacles(const Entry& entry) : entry_(entry) {}

  void Add(std::int64_t key, const std::string& what) {
    if (++count_ > kMostNamed) return;
    text_ += (text_.empty() ? "" : "; ") + NameOf(key) + ' ' + what;
  }
  void RefuseIfAny() const {
    if (count_ == 0) return;
    const std::string rest =
        count_ > kMostNamed ? " and " + std::to_string(count_ - kMostNamed) + " more" : "";
    Refuse("import " + std::to_string(entry_.id) + " cannot be taken back: " + text_ + rest);
  }

 private:
  std::string NameOf(std::int64_t key) const {
    const std::string row = entry_.table + " " + std::to_string(key);
    if (entry_.before) return row;
    std::int64_t before = 0;
    for (const auto& [first, last] : entry_.keys.Runs()) {
      if (key <= last) return "row " + std::to_string(before + key - first + 1) + " (" + row + ")";
      before += last - first + 1;
    }
    return row;
  }

  const Entry& entry_;
  std::string text_;
  std::size_t count_ = 0;
};

void FindChangedRows(Database& database, const Entry& entry, Obstacles& obstacles) {
  std::size_t at = 0;
  RowDigests(database, entry.table, entry.columns)
      .ForEach(entry.keys, [&](std::int64_t key, std::optional<std::uint64_t> digest) {
        const std::string_view stored = std::string_view(entry.digests).substr(at, 16);
        at += 16;
        if (!digest) {
          obstacles.Add(key, "is gone");
        } else if (DigestText(*digest) != stored) {
          obstacles.Add(key, "was changed");
        }
      });
}

void FindUsedRows(Database& database, const Entry& entry, Obstacles& obstacles) {
  for (const RowUse& use : UsesOf(database, entry.table)) {
    for (const auto& [first, last] : entry.keys.Runs()) {
      const RecordSet keys = use.UsedKeys(database, first, last);
      for (const RecordRow& row : keys.Rows()) {
        obstacles.Add(row.AsInteger(0), "is referred to by " + use.Place());
      }
    }
  }
}

void DeleteRows(Database& database, const Entry& entry) {
  Statement erase = database.Prepare("DELETE FROM " + entry.table + " WHERE id >= :first AND id <= :last",
                                     {FieldKind::kInteger, FieldKind::kInteger});
  for (const auto& [first, last] : entry.keys.Runs()) {
    erase.Bind(0, Value(first));
    erase.Bind(1, Value(last));
    erase.Execute();
  }
}

void RestoreRows(Database& database, const Entry& entry) {
  RecordSet rows;
  rows.LoadFromString(*entry.before);
  std::string columns;
  std::vector<std::string> names;
  std::vector<FieldKind> kinds;
  for (std::size_t i = 1; i < rows.FieldCount(); ++i) {
    const FieldDef& field = rows.Definition(i);
    columns += (columns.empty() ? "" : ", ") + field.name + " = :" + field.name;
    names.push_back(field.name);
    kinds.push_back(field.kind);
  }
  kinds.push_back(FieldKind::kInteger);
  Statement update =
      database.Prepare("UPDATE " + entry.table + " SET " + columns + " WHERE id = :row_key", kinds);
  const std::unique_ptr<RowCopy> together = database.ReplaceTogether(entry.table, names);
  constexpr std::size_t kPortion = 10'000;
  std::size_t waiting = 0;
  for (const RecordRow& row : rows.Rows()) {
    for (std::size_t i = 1; i < rows.FieldCount(); ++i) update.Bind(i - 1, row, i);
    update.Bind(kinds.size() - 1, row, 0);
    if (together == nullptr) {
      update.Execute();
    } else {
      update.AddTo(*together);
      if (++waiting % kPortion == 0) together->Store();
    }
  }
  if (waiting % kPortion > 0) together->Store();
}

}  // namespace

std::optional<RecordSet> UndoImport(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  const RecordSet& request = *sent.Find(kImportOrigin);
  RequireOneRecord(request);
  const auto id = request.FindFieldIndex("id");
  if (!id) Refuse("id is missing");
  const Entry entry = ReadEntry(database, request.AsInteger(*id));
  Obstacles obstacles(entry);
  FindChangedRows(database, entry, obstacles);
  if (!entry.before) FindUsedRows(database, entry, obstacles);
  obstacles.RefuseIfAny();
  if (entry.before) {
    RestoreRows(database, entry);
  } else {
    DeleteRows(database, entry);
  }
  if (entry.table == "otvorene_stavke") SumBalancesAnew(database);
  const auto user = request.FindFieldIndex("korisnik");
  const Value said = user ? request.AsVariant(*user) : Value();
  database.Execute("UPDATE uvoz SET ponisteno = :kada, ponistio = :tko WHERE id = :id",
                   {JournalMoment(), sent.Who().HasLoggedIn() ? Value(sent.Who().user) : said, entry.id});
  return std::nullopt;
}

const NamedTransaction& UndoImportTransaction() {
  static const NamedTransaction transaction = {"PonistiUvoz",
                                               Right::kImports,
                                               "takes a stored import back, whole or not at all",
                                               {{kImportOrigin, {"uvoz"}, true, "id:integer,korisnik"}},
                                               UndoImport};
  return transaction;
}

}  // namespace mox

#include "appserver/import_journal.h"

#include <algorithm>
#include <unordered_set>

#include "appserver/fold.h"
#include "appserver/import_catalogue.h"
#include "appserver/journal_text.h"
#include "appserver/known_texts.h"
#include "appserver/row_digests.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_check.h"
#include "mox/import/import_profiles.h"

namespace mox {
namespace {

constexpr std::size_t kMostNamed = 20;  // rows in one message
constexpr std::size_t kShownValue = 100;
constexpr std::size_t kMostRefused = 50;  // rows that are told

// Things of which the first are named.
class NamedRows {
 public:
  void Add(const std::string& name) {
    if (++count_ <= kMostNamed) names_ += (names_.empty() ? "" : ", ") + name;
  }
  std::size_t Count() const { return count_; }
  std::string ToString() const {
    return count_ <= kMostNamed ? names_ : names_ + " and " + std::to_string(count_ - kMostNamed) + " more";
  }

 private:
  std::string names_;
  std::size_t count_ = 0;
};

// --- where an import comes from ---

struct Origin {
  std::string profile;
  Value user;
  Value file;
  Value digest;
  bool again = false;
};

Value TextOrNull(const RecordSet& origin, std::string_view name, std::size_t most) {
  const auto field = origin.FindFieldIndex(name);
  return field ? JournalText(origin.AsText(*field), most) : Value();
}

const ImportProfile* ProfileOf(std::string_view transaction, std::string_view key) {
  for (const ImportProfile& profile : ImportProfiles()) {
    if (profile.transaction == transaction && (key.empty() || profile.key == key)) return &profile;
  }
  return nullptr;
}

Origin OriginOf(const NamedTransaction& transaction, const SentRecordSets& sent) {
  Origin origin;
  if (const RecordSet* const set = sent.Find(kImportOrigin)) {
    RequireOneRecord(*set);
    origin.profile = ToText(TextOrNull(*set, "profil", kShownValue));
    origin.user = TextOrNull(*set, "korisnik", 100);
    origin.file = TextOrNull(*set, "datoteka", 255);
    origin.digest = TextOrNull(*set, "sazetak", 64);
    const auto again = set->FindFieldIndex("ponovno");
    origin.again = again && set->AsBoolean(*again);
  }
  if (sent.Who().HasLoggedIn()) origin.user = sent.Who().user;
  const ImportProfile* const profile = ProfileOf(transaction.name, origin.profile);
  if (profile == nullptr) {
    throw WriteRefused({"", std::string(kImportOrigin), 1, "profil",
                        "\"" + origin.profile + "\" is no profile of this transaction"});
  }
  origin.profile = profile->key;
  return origin;
}

void RefuseSecondTime(Database& database, const Origin& origin) {
  if (origin.again || std::holds_alternative<std::monostate>(origin.digest)) return;
  const auto stored = FindStoredImport(database, origin.profile, ToText(origin.digest));
  if (!stored) return;
  throw WriteRefused({"", "", 0, "", "the same file was imported before: " + stored->description});
}

// --- values that must be new ---

const ImportCatalogue& LookUps() {
  static const ImportCatalogue catalogue;
  return catalogue;
}

void RefuseTaken(Database& database, const RecordSet& records, const ImportFieldDef& field) {
  const auto index = records.FindFieldIndex(field.field_name);
  if (!index || records.Definition(*index).kind != FieldKind::kText) return;
  const RecordSet found =
      LookUps().Find(database, field.unique_sql, ValuesOf(records.Table(), field.field_name));
  std::unordered_set<std::string> taken;
  for (const RecordRow& row : found.Rows()) taken.insert(UniqueKey(row.AsText(0)));
  if (taken.empty()) return;
  NamedRows rows;
  std::size_t first = 0;
  std::size_t row = 0;
  for (const RecordRow& record : records.Rows()) {
    ++row;
    const std::string_view text = record.AsTextView(*index);
    if (record.IsNull(*index) || !taken.contains(UniqueKey(text))) continue;
    if (first == 0) first = row;
    rows.Add(std::to_string(row) + " \"" + std::string(CutToCharacters(text, kShownValue)) + '"');
  }
  if (rows.Count() == 0) return;
  throw WriteRefused(
      {"", records.Name(), first, field.field_name,
       "is in the database already, in " +
           (rows.Count() == 1 ? std::string("row ") : std::to_string(rows.Count()) + " rows: ") +
           rows.ToString()});
}

void RefuseTaken(Database& database, const RecordSet& records, const ImportProfile& profile) {
  for (const ImportFieldDef& field : ImportFieldsOf(profile)) {
    if (field.IsDefined() && ToBoolean(field.unique)) RefuseTaken(database, records, field);
  }
}

// --- the journal ---

std::string NamesOf(const Columns& columns) {
  std::string names;
  for (const FieldDef& column : columns) {
    if (column.name != "id") names += (names.empty() ? "" : ",") + column.name;
  }
  return names;
}

// The rows that an import is going to change, whole, in the order of their keys.
RecordSet RowsToChange(Database& database, const RecordSet& records, const TableRule& rule) {
  Columns columns = ParseColumns("id:integer");
  const Columns all = database.TableColumns(rule.table);
  for (const FieldDef& column : all) {
    if (column.name != "id") columns.push_back({.name = column.name, .kind = column.kind});
  }
  RecordSet rows("prije");
  for (const FieldDef& column : columns) rows.DefineField(column);
  rows.Open();
  const auto field = records.FindFieldIndex(rule.update_by);
  if (!field) return rows;
  std::vector<std::string> keys;
  for (const RecordRow& record : records.Rows()) keys.push_back(FoldKey(record.AsText(*field)));
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  const std::string by = FindColumn(all, rule.update_by)->name;
  const auto sql_for = [&](std::size_t count) {
    return "SELECT id, " + NamesOf(all) + " FROM " + std::string(rule.table) + " WHERE fold(" + by +
           ") IN (" + ParameterList(count) + ") ORDER BY fold(" + by + "), id";
  };
  QueryForKeys(database, sql_for, FieldKind::kText, keys, rows);
  return rows;
}

// Mostly they are without a gap, which need not be read.
KeyRuns KeysAbove(Database& database, std::string_view table, std::int64_t key) {
  const RecordSet ends = database.Query(
      "ends", ParseColumns("first:integer,last:integer,n:integer"),
      "SELECT MIN(id), MAX(id), COUNT(*) FROM " + std::string(table) + " WHERE id > :key", {Value(key)});
  const std::int64_t count = ends.AsInteger(2);
  if (count > 0 && ends.AsInteger(1) - ends.AsInteger(0) + 1 == count)
    return KeyRuns(ends.AsInteger(0), ends.AsInteger(1));
  const RecordSet ids =
      database.Query("ids", ParseColumns("id:integer"),
                     "SELECT id FROM " + std::string(table) + " WHERE id > :key ORDER BY id", {Value(key)});
  KeyRuns keys;
  for (const RecordRow& row : ids.Rows()) keys.Add(row.AsInteger(0));
  return keys;
}

KeyRuns KeysOf(const RecordSet& rows) {
  std::vector<std::int64_t> ids;
  for (const RecordRow& row : rows.Rows()) ids.push_back(row.AsInteger(0));
  std::sort(ids.begin(), ids.end());
  KeyRuns keys;
  for (const std::int64_t id : ids) keys.Add(id);
  return keys;
}

std::int64_t LastKey(Database& database, std::string_view table) {
  return database
      .Query("last", ParseColumns("id:integer"), "SELECT COALESCE(MAX(id), 0) FROM " + std::string(table))
      .AsInteger(0);
}

void Journal(Database& database, const Origin& origin, std::string_view table, std::size_t rows,
             const KeyRuns& keys, Value before) {
  const std::string columns = NamesOf(database.TableColumns(table));
  std::string digests;
  RowDigests(database, table, columns).ForEach(keys, [&](std::int64_t, std::optional<std::uint64_t> digest) {
    digests += DigestText(digest.value());
  });
  database.Execute(
      "INSERT INTO uvoz (vrijeme, korisnik, profil, datoteka, sazetak, tablica, redaka, kljucevi, stupci, "
      "otisci, prije) VALUES (:vrijeme, :korisnik, :profil, :datoteka, :sazetak, :tablica, :redaka, "
      ":kljucevi, :stupci, :otisci, :prije)",
      {JournalMoment(), origin.user, origin.profile, origin.file, origin.digest, std::string(table),
       static_cast<std::int64_t>(rows), keys.ToString(), columns, std::move(digests), std::move(before)});
}

}  // namespace

std::optional<StoredImport> FindStoredImport(Database& database, std::string_view profile,
                                             std::string_view digest) {
  const RecordSet found =
      database.Query("uvoz", ParseColumns("id:integer,vrijeme:datetime,korisnik"),
                     "SELECT id, vrijeme, korisnik FROM uvoz WHERE sazetak = :digest AND profil "
                     "= :profile AND ponisteno IS NULL ORDER BY id DESC",
                     {Value(std::string(digest)), Value(std::string(profile))});
  if (found.IsEmpty()) return std::nullopt;
  const std::int64_t id = found.AsInteger(0);
  const std::string user = found.AsText(2);
  return StoredImport{id, "import " + std::to_string(id) + " of " + JournalMomentText(found.AsDateTime(1)) +
                              (user.empty() ? "" : " by " + user)};
}

std::optional<RecordSet> StoreImport(const NamedTransaction& transaction, Database& database,
                                     const SentRecordSets& sent) {
  const RecordSet& records = *sent.Find(kImportedRows);
  const TableRule& rule = transaction.FindRule(kImportedRows)->table;
  const Origin origin = OriginOf(transaction, sent);
  RefuseSecondTime(database, origin);
  RefuseTaken(database, records, *ProfileOf(transaction.name, origin.profile));
  const bool changes = !rule.update_by.empty();
  const RecordSet before = changes ? RowsToChange(database, records, rule) : RecordSet();
  const std::int64_t last = changes ? 0 : LastKey(database, rule.table);
  StoreRecords(database, records, rule, kMostRefused);
  if (records.IsEmpty()) return std::nullopt;
  const KeyRuns keys = changes ? KeysOf(before) : KeysAbove(database, rule.table, last);
  Journal(database, origin, rule.table, records.RecordCount(), keys,
          changes ? Value(before.SaveToString()) : Value());
  return std::nullopt;
}

}  // namespace mox

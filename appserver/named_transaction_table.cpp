#include "appserver/import_journal.h"
#include "appserver/named_transaction.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

struct DocumentKey {
  std::int64_t id = 0;
  std::string vrsta;
  std::int64_t godina = 0;
  std::int64_t broj = 0;
  Date datum;
};

// A field of the header as another kind; an error names the field.
template <typename Result>
Result HeaderValue(RecordSet& header, std::string_view name, Result (*convert)(const Value&)) {
  const auto refused = [&](std::string message) {
    return WriteRefused({"", header.Name(), 1, std::string(name), std::move(message)});
  };
  const auto field = header.FindField(name);
  try {
    if (!field || TrimBlanks(field->AsText()).empty()) throw refused("must not be empty");
    return convert(field->AsVariant());
  } catch (const ConversionError& error) {
    throw refused(error.what());
  }
}

std::int64_t NextNumber(Database& database, const DocumentKey& key) {
  const RecordSet next =
      database.Query("broj", ParseColumns("broj:integer"),
                     "SELECT COALESCE(MAX(broj), 0) + 1 FROM dok WHERE vrsta = :vrsta AND godina = :godina",
                     {key.vrsta, key.godina});
  return next.AsInteger(0);
}

// The header with the next number of its kind and year; the year is the date's where none is given.
DocumentKey InsertHeader(Database& database, RecordSet& header, TableRule rule) {
  RequireOneRecord(header);
  header.First();
  DocumentKey key;
  key.vrsta = HeaderValue(header, "vrsta", ToText);
  key.datum = HeaderValue(header, "datum", ToDate);
  key.godina = ToCivil(key.datum).year;
  if (const auto year = header.FindField("godina"); year && !year->IsNull()) {
    key.godina = HeaderValue(header, "godina", ToInteger);
    if (key.godina < 1 || key.godina > 9999) {
      throw WriteRefused(
          {"", header.Name(), 1, "godina", '"' + std::to_string(key.godina) + "\" is not a year"});
    }
  }
  key.broj = NextNumber(database, key);
  rule.constants = {{"vrsta", key.vrsta}, {"godina", key.godina}, {"broj", key.broj}};
  key.id = InsertRecord(database, header, rule);
  return key;
}

// The links that the user asked for before he made this document. Their kind of document is a text of at most
// 15 characters.
void MakePendingLinks(Database& database, const DocumentKey& key, RecordSet& header) {
  const auto user = header.FindField("user_id");
  if (!user || user->IsNull()) return;
  const std::string cut(CutToCharacters(key.vrsta, 15));
  database.Execute(
      "INSERT INTO dok_veze (parent_table, parent_column, parent_doc_id, child_tip, child_doc_id) "
      "SELECT v.parent_table, v.parent_column, v.parent_doc_id, d.vrsta, d.id "
      "FROM dok_veze_kasnije v JOIN dok d ON d.id = :dok_id "
      "WHERE v.user_id = :user_id AND v.child_tip = :child_tip ORDER BY v.id",
      {key.id, user->AsText(), cut});
  database.Execute("DELETE FROM dok_veze_kasnije WHERE user_id = :user_id AND child_tip = :child_tip",
                   {user->AsText(), cut});
}

RecordSet StoredDocument(const DocumentKey& key) {
  RecordSet stored("Dokument");
  for (FieldDef& column : ParseColumns("id:integer,vrsta,godina:integer,broj:integer,datum:date")) {
    stored.DefineField(std::move(column));
  }
  stored.Open();
  stored.AppendRecord({key.id, key.vrsta, key.godina, key.broj, key.datum});
  stored.First();
  return stored;
}

// Goods, services or both, the goods first; the lines of services are numbered on.
std::optional<RecordSet> InsertDocument(const NamedTransaction& transaction, Database& database,
                                        SentRecordSets& sent) {
  if (sent.Find("Stavke") == nullptr && sent.Find("Usluge") == nullptr) {
    throw WriteRefused({"", "Stavke", 0, "", "is missing"});
  }
  RecordSet& header = *sent.Find("Zaglavlje");
  const DocumentKey key = InsertHeader(database, header, transaction.FindRule("Zaglavlje")->table);
  std::int64_t next_line = 1;
  const auto insert = [&](std::string_view name) {
    RecordSet* const records = sent.Find(name);
    if (records == nullptr) return;
    TableRule rule = transaction.FindRule(name)->table;
    rule.constants.emplace_back("dok_id", key.id);
    rule.row_number = "rb";
    rule.first_row_number = rule.table == "dok_stavke" ? next_line : 1;
    StoreRecords(database, *records, rule);
    if (rule.table == "dok_stavke") next_line += static_cast<std::int64_t>(records->RecordCount());
  };
  insert("Stavke");
  insert("Usluge");
  insert("Rekapitulacija");
  MakePendingLinks(database, key, header);
  return StoredDocument(key);
}

// Lines and recapitulations have fields of screens too, which are not kept.
const NamedTransaction kTransactions[] = {
    {"UpisParentFieldForVD",
     "remembers that a user's next document of a kind belongs to a record",
     {{"FTransTempVezeDataSet", {"dok_veze_kasnije"}}}},

    {"DokumentInsert",
     "stores a document under the next number of its kind and year, and makes the links that wait for it",
     {{"Zaglavlje", {"dok"}},
      {"Stavke", {"dok_stavke", UnknownFields::kIgnore, {{"sorta", "roba"}}}, false},
      {"Usluge", {"dok_stavke", UnknownFields::kIgnore, {{"sorta", "usluga"}}}, false},
      {"Rekapitulacija", {"dok_porezi", UnknownFields::kIgnore}, false}},
     InsertDocument},
};

}  // namespace

std::span<const NamedTransaction> NamedTransactionTable() {
  static const auto all = [] {
    std::vector<NamedTransaction> table(std::begin(kTransactions), std::end(kTransactions));
    for (const auto& others : {EInvoiceTransactionTable(), ImportTransactionTable()}) {
      table.insert(table.end(), others.begin(), others.end());
    }
    table.push_back(UndoImportTransaction());
    return table;
  }();
  return all;
}

}  // namespace mox

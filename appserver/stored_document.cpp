#include "appserver/stored_document.h"

namespace mox {
namespace {

RecordSet ReadHeader(Database& database, std::int64_t id) {
  return database.Query("dok", database.TableColumns("dok"), "SELECT * FROM dok WHERE id = :id", {id});
}

const DocumentKind* KindOf(const RecordSet& header) {
  return FindDocumentKind(header.AsText(*header.FindFieldIndex("vrsta")));
}

std::string SupplierDocumentOf(const RecordSet& header) {
  return header.AsText(*header.FindFieldIndex("vrsta_dok_dob"));
}

}  // namespace

std::string YearFault(Date day) {
  constexpr int kFirstYear = 1990;
  constexpr int kLastYear = 2099;
  const int year = ToCivil(day).year;
  if (year >= kFirstYear && year <= kLastYear) return {};
  return "the year " + std::to_string(year) + " is not one of " + std::to_string(kFirstYear) + " to " +
         std::to_string(kLastYear);
}

std::optional<StoredDocument> ReadStoredDocument(Database& database, std::int64_t id) {
  StoredDocument document;
  document.header = ReadHeader(database, id);
  const RecordSet& header = document.header;
  if (header.IsEmpty()) return std::nullopt;
  document.id = id;
  document.vrsta = header.AsText(*header.FindFieldIndex("vrsta"));
  document.kind = KindOf(header);
  document.figures_kind = document.kind;
  document.supplier_document = SupplierDocumentOf(header);
  const std::size_t cancelled = *header.FindFieldIndex("stornira_id");
  if (!header.IsNull(cancelled)) {
    document.stornira_id = header.AsInteger(cancelled);
    const RecordSet original = ReadHeader(database, *document.stornira_id);
    const DocumentKind* const mirrored = KindOf(original);
    document.figures_kind =
        document.kind == nullptr || mirrored == nullptr ? nullptr : &FiguresKindOf(*document.kind, mirrored);
    document.supplier_document = SupplierDocumentOf(original);
  }
  return document;
}

RecordSet ReadRows(Database& database, const std::string& table, std::int64_t doc_id) {
  return database.Query(table, database.TableColumns(table),
                        "SELECT * FROM " + table + " WHERE dok_id = :id ORDER BY id", {doc_id});
}

RecordSet ReadLines(Database& database, std::int64_t doc_id, const char* sort) {
  return database.Query("dok_stavke", database.TableColumns("dok_stavke"),
                        "SELECT * FROM dok_stavke WHERE dok_id = :id AND sorta = :sorta ORDER BY rb",
                        {doc_id, std::string(sort)});
}

void RequireDocument(Database& database, std::int64_t id) {
  const RecordSet found =
      database.Query("dok", ParseColumns("id:integer"), "SELECT id FROM dok WHERE id = :id", {id});
  if (found.IsEmpty()) throw Error("there is no document " + std::to_string(id));
}

}  // namespace mox

#include "cli/document_store.h"

#include <algorithm>

#include "appserver/company_server.h"
#include "cli/service_request.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/text.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

// What the lines or the database say, and no caller.
bool IsSetWhenStored(Document& document, std::string_view name) {
  return SameName(name, "id") || SameName(name, "vrsta") || SameName(name, "broj") ||
         (SameName(name, "ukupno") && document.Total());
}

// The server refuses texts that are too long; a field with a size would cut them.
RecordSet Header(Document& document, const Columns& columns, std::span<const std::string> words) {
  RecordSet header("Zaglavlje");
  std::vector<Value> values;
  const auto add = [&](std::string_view name, Value value) {
    const FieldDef* const column = FindColumn(columns, name);
    if (column == nullptr) {
      throw UsageError("--header: a document has no field \"" + std::string(name) + "\"");
    }
    if (header.FindFieldIndex(name)) throw UsageError("--header: " + std::string(name) + " is given twice");
    header.DefineField(column->name, column->kind);
    values.push_back(std::move(value));
  };
  add("vrsta", std::string(document.kind().name));
  for (const auto& [name, text] : NamedValues(words)) {
    if (IsSetWhenStored(document, name)) {
      throw UsageError("--header: " + name + " is set when the document is stored");
    }
    const FieldDef* const column = FindColumn(columns, name);
    add(name, column == nullptr ? Value() : InputValue(*column, text));
  }
  if (!header.FindFieldIndex("datum")) add("datum", Today());
  if (const auto total = document.Total(); total) add("ukupno", *total);
  header.Open();
  header.AppendRecord(values);
  return header;
}

void CollectLost(const RecordSet& lines, const Columns& columns, std::vector<std::string>& lost) {
  for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
    const std::string& name = lines.Definition(i).name;
    if (FindColumn(columns, name) == nullptr && std::find(lost.begin(), lost.end(), name) == lost.end()) {
      lost.push_back(name);
    }
  }
}

}  // namespace

RecordSet StoreDocument(Document& document, CompanyServer& server, std::span<const std::string> header_words,
                        std::vector<std::string>& lost) {
  RecordSet header = Header(document, server.database().TableColumns("dok"), header_words);
  std::vector<RecordSet*> record_sets = {&header};
  const Columns line_columns = server.database().TableColumns("dok_stavke");
  const auto add = [&](RecordSet* records, const char* name) {
    if (records == nullptr) return;
    records->SetName(name);
    record_sets.push_back(records);
  };
  add(document.Goods(), "Stavke");
  add(document.Services(), "Usluge");
  std::size_t lines = 0;
  for (std::size_t i = 1; i < record_sets.size(); ++i) {
    CollectLost(*record_sets[i], line_columns, lost);
    lines += record_sets[i]->RecordCount();
  }
  if (lines == 0) throw Error("the document has no lines, so it is not stored");
  add(document.Recap(), "Rekapitulacija");

  RequireStored(server, ExecuteTransaction("DokumentInsert", record_sets));
  RecordSet stored;
  stored.CleanClone(server.LastWrite().stored.value());
  return stored;
}

std::string StoredNumber(RecordSet& stored) {
  return stored.FieldByName("vrsta").AsText() + " " + stored.FieldByName("broj").AsText() + "/" +
         stored.FieldByName("godina").AsText() + " (id " + stored.FieldByName("id").AsText() + ")";
}

}  // namespace mox

#include "cli/document_store.h"

#include <algorithm>

#include "appserver/company_server.h"
#include "cli/service_request.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// What the lines or the database say, and no caller.
bool IsSetWhenStored(Document& document, std::string_view name) {
  return SameName(name, "id") || SameName(name, "vrsta") || SameName(name, "broj") ||
         (SameName(name, "ukupno") && document.ToBePaid());
}

void FillHeader(Document& document, std::span<const std::string> words) {
  RecordSet& header = document.Header();
  std::vector<std::string> given;
  for (const auto& [name, text] : NamedValues(words)) {
    if (IsSetWhenStored(document, name)) {
      throw UsageError("--header: " + name + " is set when the document is stored");
    }
    const auto index = header.FindFieldIndex(name);
    if (!index) throw UsageError("--header: a document has no field \"" + name + "\"");
    const FieldDef& field = header.Definition(*index);
    if (std::find(given.begin(), given.end(), field.name) != given.end()) {
      throw UsageError("--header: " + name + " is given twice");
    }
    given.push_back(field.name);
    document.SetHeader(field.name, InputValue(field, text));
  }
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
  FillHeader(document, header_words);
  const Columns line_columns = server.database().TableColumns("dok_stavke");
  for (const RecordSet* const lines : {document.Goods(), document.Services()}) {
    if (lines != nullptr) CollectLost(*lines, line_columns, lost);
  }
  RequireStored(server, document.Store());
  RecordSet stored;
  stored.CleanClone(server.LastWrite().stored.value());
  return stored;
}

std::string StoredNumber(RecordSet& stored) {
  return stored.FieldByName("vrsta").AsText() + " " + stored.FieldByName("broj").AsText() + "/" +
         stored.FieldByName("godina").AsText() + " (id " + stored.FieldByName("id").AsText() + ")";
}

}  // namespace mox

#include "cli/document_store.h"

#include <algorithm>
#include <functional>
#include <ostream>

#include "appserver/fold.h"
#include "appserver/open_items.h"
#include "cli/service_request.h"
#include "mox/documents/storno.h"
#include "mox/entry/document_entry.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/foundation/visible_text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

// The words become fields of the one record of the header. `is_set` says what no caller says.
void FillHeader(RecordSet& header, std::span<const std::string> words,
                const std::function<bool(std::string_view name)>& is_set) {
  std::vector<std::size_t> given;
  header.First();
  header.Edit();
  for (const auto& [name, text] : NamedValues(words)) {
    if (is_set(name)) throw UsageError("--header: " + name + " is set when the document is stored");
    const auto index = header.FindFieldIndex(name);
    if (!index) throw UsageError("--header: a document has no field \"" + name + "\"");
    if (std::find(given.begin(), given.end(), *index) != given.end()) {
      throw UsageError("--header: " + name + " is given twice");
    }
    given.push_back(*index);
    header.SetVariant(*index, InputValue(header.Definition(*index), text));
  }
  header.Post();
}

bool IsAny(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::any_of(names.begin(), names.end(),
                     [name](std::string_view known) { return SameName(name, known); });
}

RecordSet Stored(CompanyAccess& server, bool committed) {
  RequireStored(server, committed);
  RecordSet stored;
  stored.CleanClone(server.LastWrite().Stored());
  return stored;
}

void AddName(const std::string& name, std::vector<std::string>& names) {
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

// Numbers that were counted with more decimals than amounts have.
bool IsCut(const RecordSet& lines, std::size_t field) {
  if (lines.Definition(field).kind != FieldKind::kFloat) return false;
  for (std::size_t row = 0; row < lines.RowCount(); ++row) {
    const RecordRow line = lines.RowAt(row);
    if (line.AsFloat(field) != ToFloat(line.AsCurrency(field))) return true;
  }
  return false;
}

void Warn(const char* what, std::string_view whose, std::span<const std::string> lost, std::ostream& err) {
  if (lost.empty()) return;
  std::string names;
  for (const std::string& name : lost) names += (names.empty() ? "" : ", ") + name;
  err << "mox: the database " << what << " these columns of " << whose << ": " << VisibleText(names)
      << std::endl;
}

// A field of a header that names a row by its code, and where the row is asked for.
struct NamedByCode {
  std::string_view name;
  std::string_view key;
  std::string_view what;
  std::optional<RecordSet> (*ask)(const std::string& code);
};

constexpr NamedByCode kNamedByCode[] = {
    {"partner", "par_id", "partner",
     [](const std::string& code) {
       return CreateDBDataSet("PartnerZaDokument", "adsPartner", {{"sifra", Value(code)}});
     }},
    {"skladiste", "skl_id", "warehouse", [](const std::string& /*code*/) { return GetSkladista(); }},
};

std::int64_t KeyOf(const NamedByCode& named, const std::string& code) {
  const std::optional<RecordSet> rows = named.ask(code);
  if (rows) {
    for (const RecordRow& row : rows->Rows()) {
      if (FoldKey(row.AsText(*rows->FindFieldIndex("sifra"))) == FoldKey(code))
        return row.AsInteger(*rows->FindFieldIndex("id"));
    }
  }
  throw Error("--header: " + std::string(named.name) + ": no " + std::string(named.what) +
              " has the code \"" + code + '"');
}

}  // namespace

std::vector<std::string> WithKeys(std::span<const std::string> header_words) {
  std::vector<std::string> words;
  for (const auto& [name, text] : NamedValues(header_words)) {
    const auto* const named =
        std::find_if(std::begin(kNamedByCode), std::end(kNamedByCode),
                     [&name = name](const NamedByCode& known) { return SameName(known.name, name); });
    words.push_back(named == std::end(kNamedByCode)
                        ? name + "=" + text
                        : std::string(named->key) + "=" + std::to_string(KeyOf(*named, text)));
  }
  return words;
}

void CollectLost(const RecordSet& lines, const Columns& columns, LostInStore& lost) {
  for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
    const std::string& name = lines.Definition(i).name;
    const FieldDef* const column = FindColumn(columns, name);
    if (column == nullptr) {
      AddName(name, lost.columns);
    } else if (column->kind == FieldKind::kCurrency && IsCut(lines, i)) {
      AddName(name, lost.decimals);
    }
  }
}

void WarnOfLost(const LostInStore& lost, std::string_view whose, std::ostream& err) {
  Warn("has no place for", whose, lost.columns, err);
  Warn("keeps four decimals of", whose, lost.decimals, err);
}

RecordSet StoreDocument(Document& document, CompanyAccess& server, std::span<const std::string> header_words,
                        LostInStore& lost, const std::function<bool()>& confirm_credit) {
  FillHeader(document.Header(), header_words, [&](std::string_view name) {
    return IsAny(name, {"id", "vrsta", "broj", "potvrdeno"}) ||
           (SameName(name, "ukupno") && document.ToBePaid());
  });
  AllowNegativeStock(document.Header());
  const Columns line_columns = TableColumns("dok_stavke");
  for (const RecordSet* const lines : {document.Goods(), document.Services()}) {
    if (lines != nullptr) CollectLost(*lines, line_columns, lost);
  }
  const auto lacks_credit = [&server] {
    const auto& failure = server.LastWrite().failure;
    return failure && failure->record_set == kConfirmations;
  };
  return Stored(server, StoreAskingForCredit(document, lacks_credit, confirm_credit));
}

RecordSet CancelDocument(std::int64_t id, CompanyAccess& server, std::span<const std::string> header_words) {
  RecordSet header = MakeStornoHeader(id);
  FillHeader(header, header_words, [](std::string_view name) {
    return IsAny(name, {"id", "vrsta", "broj", "ukupno", "stornira_id"});
  });
  AllowNegativeStock(header);
  return Stored(server, StoreStorno(header));
}

std::string StoredNumber(const RecordSet& stored) {
  const RecordRow row = stored.RowAt(0);
  const auto text = [&row](std::string_view field) { return row.AsText(row.IndexOf(field)); };
  return text("vrsta") + " " + text("broj") + "/" + text("godina") + " (id " + text("id") + ")";
}

std::string StoredLine(const RecordSet& stored) {
  const RecordRow row = stored.RowAt(0);
  const std::string due = row.AsText(row.IndexOf("datum_dospijeca"));
  return "Pohranjeno: " + StoredNumber(stored) + (due.empty() ? "" : ", dospijeva " + due);
}

}  // namespace mox

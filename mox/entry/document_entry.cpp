#include "mox/entry/document_entry.h"

#include <vector>

#include "mox/calculations/supplier_totals.h"
#include "mox/documents/article_lines.h"
#include "mox/foundation/app.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "mox/validations/validations.h"

namespace mox {
namespace {

constexpr std::int64_t kMostFound = 2;
constexpr std::string_view kQuantity = "kolicina";

std::optional<std::string> TextOf(const RecordSet& rows, std::size_t row, std::string_view field) {
  const auto index = rows.FindFieldIndex(field);
  return index ? std::optional(rows.RowAt(row).AsText(*index)) : std::nullopt;
}

bool Refuse(std::string_view message) {
  ShowVelorDialog(TVCustomDialogType::kInformation, "Upozorenje", "Nedozvoljen unos!", message);
  return false;
}

bool HasValue(const RecordSet& header, std::string_view field) {
  const auto index = header.FindFieldIndex(field);
  return index && !header.RowAt(0).IsNull(*index) && !header.RowAt(0).AsText(*index).empty();
}

// Another document of the supplier has the number that this one says.
bool IsSupplierNumberTaken(const RecordSet& header) {
  if (!HasValue(header, "broj_dok_dob") || !HasValue(header, "datum_dok_dob") ||
      !HasValue(header, "par_id")) {
    return false;
  }
  const RecordRow row = header.RowAt(0);
  const auto answer =
      CheckIfBrojDocDobExists(0, row.AsText(row.IndexOf("broj_dok_dob")),
                              row.AsDate(row.IndexOf("datum_dok_dob")), row.AsInteger(row.IndexOf("par_id")));
  if (!answer || answer->IsEmpty()) return false;
  const auto taken = answer->FindFieldIndex("BrojDokDobKoristen");
  return taken && answer->RowAt(0).AsBoolean(*taken);
}

}  // namespace

std::optional<std::string> FindArticleCode(std::string_view text) {
  const std::string wanted(TrimBlanks(text));
  if (wanted.empty()) return std::nullopt;
  const auto named = CreateDBDataSet("ArtiklZaStavku", "adsArtikl", {{"sifra", Value(wanted)}});
  if (named && !named->IsEmpty()) return TextOf(*named, 0, "sifra");
  const auto found =
      CreateDBDataSet("Kat\\artikli", "artikli", {{"trazi", Value(wanted)}, {"najvise", Value(kMostFound)}});
  if (!found || found->IsEmpty()) return std::nullopt;
  for (std::size_t row = 0; row < found->RowCount(); ++row) {
    if (TextOf(*found, row, "barcode") == wanted) return TextOf(*found, row, "sifra");
  }
  if (found->RowCount() == 1) return TextOf(*found, 0, "sifra");
  const auto chosen = App().LookUps().LookUp(LookUpForm::kArticle, wanted);
  return chosen && !chosen->IsEmpty() ? TextOf(*chosen, 0, "sifra") : std::nullopt;
}

bool CheckLine(const RecordSet& lines) {
  if (!CheckRequiredFields(lines)) return false;
  const auto quantity = lines.FindField(kQuantity);
  return !quantity || CheckIfZero({&*quantity, 1});
}

bool LineIsComplete(const RecordSet& lines, std::size_t row) {
  const RecordRow line = lines.RowAt(row);
  for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
    if (lines.Definition(i).required && line.AsText(i).empty()) return false;
  }
  const auto quantity = lines.FindFieldIndex(kQuantity);
  return !quantity || line.AsFloat(*quantity) != 0;
}

bool CheckDocument(const Document& document) {
  const RecordSet& header = document.Header();
  if (!HasValue(header, "datum")) return Refuse("Datum dokumenta nije upisan.");
  const ConstField date = header.FieldByName("datum");
  if (!CheckDate(date) || !CheckDateForward(date)) return false;
  if (document.Kind().is != DocumentClass::kGoodsReceipt) return true;
  if (HasValue(header, "datum_dok_dob")) {
    const ConstField supplier = header.FieldByName("datum_dok_dob");
    // Without a due date it is due at once.
    const ConstField due =
        HasValue(header, "datum_dospijeca") ? header.FieldByName("datum_dospijeca") : supplier;
    if (!CheckDatesOnPrimka(date, supplier, due)) return false;
  }
  return !IsSupplierNumberTaken(header) || Refuse("Broj dokumenta dobavljača već je korišten.");
}

std::optional<std::int64_t> WarehouseOf(const Document& document) {
  const RecordRow header = document.Header().RowAt(0);
  const std::size_t named = header.IndexOf("skl_id");
  return header.IsNull(named) ? OnlyWarehouse() : std::optional(header.AsInteger(named));
}

std::optional<StockShortage> CheckStock(const Document& document, std::optional<std::int64_t> warehouse) {
  SetConstraintsOnLager();
  if (document.Goods() == nullptr || !warehouse) return std::nullopt;
  const RecordSet taken = StockTaken(document.Kind(), *document.Goods(), *warehouse);
  for (const RecordRow& row : taken.Rows()) {
    const double quantity = row.AsFloat(row.IndexOf("kolicina"));
    const double stands = row.AsFloat(row.IndexOf("stanje"));
    if (!CheckLagerNegative(quantity, stands)) {
      return StockShortage{row.AsText(row.IndexOf("sifra")), stands, -quantity};
    }
  }
  return std::nullopt;
}

void AllowNegativeStock(RecordSet& header) {
  SetConstraintsOnLager();
  Field allowed = header.FieldByName("lagernegative");
  if (!FWorkWithLagerNegative || !allowed.IsNull()) return;
  header.Edit();
  allowed.SetBoolean(true);
  header.Post();
}

bool StoreAskingForCredit(Document& document, const std::function<bool()>& lacks_credit,
                          const std::function<bool()>& confirm_credit) {
  bool stored = document.Store();
  while (!stored && lacks_credit() && confirm_credit()) stored = document.Store();
  return stored;
}

bool StorePayment(std::int64_t document, Currency amount, Date date) {
  RecordSet payment("Uplate");
  payment.DefineField("dok_id", FieldKind::kInteger);
  payment.DefineField("iznos", FieldKind::kCurrency);
  payment.DefineField("datum", FieldKind::kDate);
  payment.Open();
  payment.AppendRecord({document, amount, date});
  return ExecuteTransaction("UplataInsert", {&payment});
}

// --- drafts ---

namespace {

constexpr std::string_view kDraft = "Nacrt";

// Everything that a screen shows of a set, as it stands.
std::string TextWithPending(const RecordSet& set) {
  RecordSet copy(set.Name());
  for (std::size_t i = 0; i < set.FieldCount(); ++i) {
    FieldDef field = set.Definition(i);
    field.calculated = false;
    copy.DefineField(std::move(field));
  }
  copy.Open();
  for (const RecordRow& row : set.Rows()) {
    std::vector<Value> values;
    for (std::size_t i = 0; i < set.FieldCount(); ++i) values.push_back(row.AsVariant(i));
    copy.AppendRecord(values);
  }
  return copy.SaveToString();
}

void Refill(RecordSet* set, const std::string& text) {
  RecordSet saved;
  saved.LoadFromString(text);
  if (set == nullptr) throw Error("a draft has lines that documents of its kind do not have");
  const ControlsGuard guard(*set);
  const CalculationPause pause(*set);
  set->Clear();
  set->DataTransfer(saved);
}

// In the edition in which they were saved.
void RefillTotals(RecordSet* totals, const std::string& text) {
  RecordSet saved;
  saved.LoadFromString(text);
  if (totals != nullptr) totals->CleanClone(MakeSupplierTotals(EditionOfTotals(saved)));
  Refill(totals, text);
}

}  // namespace

std::string DraftOf(const Document& document) {
  RecordSet draft{std::string(kDraft)};
  draft.DefineField("dio", FieldKind::kText);
  draft.DefineField("tekst", FieldKind::kText);
  draft.Open();
  const auto add = [&draft](const char* part, const RecordSet* set) {
    if (set != nullptr) draft.AppendRecord({std::string(part), TextWithPending(*set)});
  };
  draft.AppendRecord({std::string("vrsta"), std::string(document.Kind().name)});
  add("zaglavlje", &document.Header());
  add("stavke", document.Goods());
  add("usluge", document.Services());
  add("dobavljac", document.SupplierTotals());
  return draft.SaveToString();
}

Document FromDraft(std::string_view text) {
  RecordSet draft;
  draft.LoadFromString(text);
  const auto part = draft.FindFieldIndex("dio");
  const auto value = draft.FindFieldIndex("tekst");
  if (draft.Name() != kDraft || !part || !value || draft.IsEmpty()) throw Error("this is no draft");
  Document document(draft.RowAt(0).AsText(*value));
  for (const RecordRow& row : draft.Rows()) {
    const std::string name = row.AsText(*part);
    if (name == "zaglavlje") Refill(&document.Header(), row.AsText(*value));
    if (name == "stavke") Refill(document.Goods(), row.AsText(*value));
    if (name == "usluge") Refill(document.Services(), row.AsText(*value));
    if (name == "dobavljac") RefillTotals(document.SupplierTotals(), row.AsText(*value));
  }
  document.Header().First();
  return document;
}

}  // namespace mox

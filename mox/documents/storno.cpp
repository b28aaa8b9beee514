#include "mox/documents/storno.h"

#include <utility>
#include <vector>

#include "mox/documents/document_header_internal.h"
#include "mox/foundation/app.h"
#include "mox/foundation/clock.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

bool Turns(const FieldDef& field) {
  const VocabularyEntry* const known = FindVocabularyEntry(field.name);
  return known != nullptr && (known->measure == Measure::kQuantity || known->measure == Measure::kAmount);
}

bool IsCurrency(const FieldDef& field) { return field.kind == FieldKind::kCurrency; }

RecordSet Mirror(const RecordSet& records, bool (*turns)(const FieldDef& field)) {
  RecordSet mirror(records.Name());
  mirror.CleanClone(records);
  std::vector<std::size_t> turned;
  for (std::size_t i = 0; i < mirror.FieldCount(); ++i) {
    if (turns(mirror.Definition(i))) turned.push_back(i);
  }
  for (mirror.First(); !mirror.Eof(); mirror.Next()) {
    mirror.Edit();
    for (const std::size_t i : turned) {
      if (mirror.IsNull(i)) continue;
      if (mirror.Definition(i).kind == FieldKind::kCurrency) {
        mirror.SetCurrency(i, -mirror.AsCurrency(i));
      } else {
        mirror.SetFloat(i, 0.0 - mirror.AsFloat(i));  // 0 stays 0
      }
    }
    mirror.Post();
  }
  mirror.First();
  return mirror;
}

}  // namespace

RecordSet MirrorOf(const RecordSet& records) { return Mirror(records, Turns); }

RecordSet MirrorOfTotals(const RecordSet& records) { return Mirror(records, IsCurrency); }

RecordSet MakeStornoHeader(std::int64_t doc_id) {
  RecordSet header("Zaglavlje");
  header.DefineField("stornira_id", FieldKind::kInteger);
  for (const auto& [name, kind] : kHeaderFields) {
    if (name != "vrsta" && name != "ukupno" && name != kConfirmed) header.DefineField(name, kind);
  }
  header.Open();
  header.Append();
  header.FieldByName("stornira_id").SetInteger(doc_id);
  header.FieldByName("datum").SetDate(Today());
  header.Post();
  return header;
}

bool StoreStorno(RecordSet& header) { return ExecuteTransaction("DokumentStorno", {&header}); }

bool StoreStorno(std::int64_t doc_id) {
  RecordSet header = MakeStornoHeader(doc_id);
  return StoreStorno(header);
}

std::optional<SellingLine> FindSellingLine(const DocumentKind& kind, const RecordSet* lines) {
  if (!kind.is_storno || lines == nullptr) return std::nullopt;
  const auto quantity = lines->FindFieldIndex(field::kolicina.text);
  const std::string_view costs = kind.goods.to_be_paid ? kind.goods.to_be_paid->text : std::string_view();
  const auto cost = lines->FindFieldIndex(costs);
  for (std::size_t row = 0; row < lines->RowCount(); ++row) {
    const RecordRow line = lines->RowAt(row);
    if (quantity && line.AsFloat(*quantity) > 0) return SellingLine{row + 1, field::kolicina.text};
    if (cost && line.AsCurrency(*cost) > Currency()) return SellingLine{row + 1, costs};
  }
  return std::nullopt;
}

bool ConfirmQuantities(Document& document) {
  const DocumentKind& kind = document.Kind();
  const bool asks = FindSellingLine(kind, document.Goods()) || FindSellingLine(kind, document.Services());
  if (!asks || document.Header().FieldByName(kConfirmed).AsBoolean()) return true;
  if (App().Dialogs().ShowVelorDialog(
          TVCustomDialogType::kConfirmation, "Upozorenje", "Mogući krivi unos podataka!",
          "Količine storna moraju biti negativne! Nastavak rada?") != kDialogYes) {
    return false;
  }
  document.SetHeader(kConfirmed, true);
  return true;
}

const DocumentKind& FiguresKindOf(const DocumentKind& kind, const DocumentKind* cancelled) {
  return cancelled == nullptr ? kind : *cancelled;
}

const LineSchema* StoredSchema(const DocumentKind& kind, bool services) {
  const auto lines = [services](const DocumentKind& of) { return services ? &of.services : &of.goods; };
  if (lines(kind)->Exists()) return lines(kind);
  for (const DocumentKind& cancelled : DocumentKinds()) {
    if (cancelled.cancelled_by == kind.name && lines(cancelled)->Exists()) return lines(cancelled);
  }
  return nullptr;
}

}  // namespace mox

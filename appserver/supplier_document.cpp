#include "appserver/supplier_document.h"

#include "appserver/table_writer.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/documents/document_figures.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

// By the company's own settings, as its screens have them.
SupplierTerms TermsOf(const CompanyData& company, const std::string& supplier_document) {
  SupplierTerms terms{.supplier_document = supplier_document};
  if (const auto digits = company.Parameter("PdviCalcDigit"))
    terms.digits = static_cast<int>(ToInteger(*digits));
  if (const auto allowed = company.Feature(kCostsCountFeature)) {
    terms.costs_count = *allowed;
  } else if (const auto setting = company.Parameter(kCostsCountFeature)) {
    terms.costs_count = ToBoolean(*setting);
  }
  return terms;
}

}  // namespace

std::optional<RecordSet> CheckedSupplierTotals(Database& database, const DocumentKind& kind,
                                               const std::string& supplier_document,
                                               const SentRecordSets& sent) {
  const RecordSet* const given = sent.Find("DokDobavljaca");
  const RecordSet* const lines = sent.Find("Stavke");
  if (given != nullptr) RequireOneRecord(*given);
  if (!HasSupplierTotals(kind) || lines == nullptr) return std::nullopt;
  RecordSet totals = MakeDocDobavljaca();
  FillSupplierTotals(totals, *lines, TermsOf(sent.Company(), supplier_document));
  if (given == nullptr) return totals;
  const Columns columns = database.TableColumns("dok_dobavljac");
  for (std::size_t i = 0; i < given->FieldCount(); ++i) {
    const std::string& field = given->Definition(i).name;
    if (FindColumn(columns, field) != nullptr) continue;
    throw WriteRefused({"", given->Name(), 0, field, "there is no such field in dok_dobavljac"});
  }
  for (const FieldDef& column : columns) {
    if (column.kind != FieldKind::kCurrency) continue;
    const auto amount_of = [&column](const RecordSet& records) {
      const auto index = records.FindFieldIndex(column.name);
      return index ? records.RowAt(0).AsCurrency(*index) : Currency();
    };
    const Currency sent_amount = amount_of(*given);
    const Currency amount = amount_of(totals);
    if (sent_amount == amount) continue;
    throw WriteRefused({"", given->Name(), 1, column.name,
                        sent_amount.ToString() + " is not what the lines come to, " + amount.ToString()});
  }
  return totals;
}

}  // namespace mox

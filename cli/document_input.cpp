#include "cli/document_input.h"

#include <algorithm>
#include <optional>

#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// Refuses a file without the input columns, and adds the calculated ones that it does not have.
void DeclareLines(const LineSchema& schema, const std::string& label, std::vector<FieldDef>& fields) {
  std::string missing;
  for (const std::string_view name : SplitNames(schema.inputs)) {
    const auto field = std::find_if(fields.begin(), fields.end(),
                                    [name](const FieldDef& known) { return SameName(known.name, name); });
    if (field == fields.end()) {
      missing += (missing.empty() ? "" : ", ") + std::string(name);
    } else if (HoldsNoNumbers(*field)) {
      throw Error(label + ":1: " + NoNumbersText(*field));
    }
  }
  if (!missing.empty()) throw Error(label + ":1: columns are missing: " + missing);
  AddLineFields(schema, fields);
}

RecordSetFile ReadLines(const LineSchema& schema, const FileText& text) {
  const DocumentDigits digits = DocumentDigits::OfApplication();
  ReadOptions options;
  options.declare = [&schema](const std::string& label, std::vector<FieldDef>& fields) {
    DeclareLines(schema, label, fields);
  };
  options.on_calc_fields = [&](RecordSet& lines) { CalculateLine(schema, lines, digits); };
  RecordSetFile file = ReadRecordSet(text, options);
  file.records.SetOnCalcFields(nullptr);
  return file;
}

}  // namespace

const DocumentKind& FindKindArgument(std::string_view name) {
  if (const DocumentKind* found = FindDocumentKind(name)) return *found;
  throw UsageError(ThereIsNo("kind of document", name, NamesOf(DocumentKinds())));
}

DocumentInput::DocumentInput(const DocumentKind& kind, const std::vector<FileText>& files) {
  std::optional<RecordSet> sorts[2];
  const LineSchema* const schemas[] = {&kind.goods, &kind.services};
  auto file = files.begin();
  for (std::size_t i = 0; i < std::size(schemas); ++i) {
    if (!schemas[i]->Exists() || file == files.end()) continue;
    files_.push_back(std::make_unique<RecordSetFile>(ReadLines(*schemas[i], *file++)));
    sorts[i] = std::move(files_.back()->records);
  }
  document_ = std::make_unique<Document>(kind, std::move(sorts[0]), std::move(sorts[1]));
  auto read = files_.begin();
  for (RecordSet* const lines : {document_->Goods(), document_->Services()}) {
    if (lines != nullptr) Observe(*lines, **read++);
  }
  watch_.Run([this] { document_->Recapitulate(); });
}

void DocumentInput::Observe(RecordSet& lines, const RecordSetFile& file) {
  lines.SetOnCalcFields([this, &file](RecordSet& records) { watch_.Visit(file, records); });
}

}  // namespace mox

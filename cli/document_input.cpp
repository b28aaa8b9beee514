#include "cli/document_input.h"

#include <algorithm>
#include <optional>

#include "cli/column_check.h"
#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/documents/article_lines.h"
#include "mox/foundation/text.h"
#include "mox/foundation/vocabulary.h"
#include "mox/foundation/write_and_post_internal.h"

namespace mox {
namespace {

bool HasColumn(const std::vector<FieldDef>& fields, std::string_view name) {
  return std::any_of(fields.begin(), fields.end(),
                     [name](const FieldDef& known) { return SameName(known.name, name); });
}

// Adds the columns that articles fill and the file does not have, and those by which they are named. Answers
// the former.
std::vector<std::string_view> AddColumnsOfArticles(const DocumentKind& kind, std::vector<FieldDef>& fields) {
  std::vector<std::string_view> left_out;
  if (!HasColumn(fields, "sifra") && !HasColumn(fields, "art_id")) return left_out;
  for (const std::string_view name : FieldsOfArticles(kind)) {
    if (HasColumn(fields, name)) continue;
    fields.push_back({.name = std::string(name), .kind = FindVocabularyEntry(name)->kind});
    left_out.push_back(name);
  }
  for (const char* const name : {"sifra", "naziv", "jm"}) {
    if (!HasColumn(fields, name)) fields.push_back({.name = name});
  }
  if (!HasColumn(fields, "art_id")) fields.push_back({.name = "art_id", .kind = FieldKind::kInteger});
  return left_out;
}

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

DocumentInput::DocumentInput(const DocumentKind& kind, const std::vector<FileText>& files,
                             std::optional<ArticleSource> articles) {
  std::optional<RecordSet> sorts[2];
  const LineSchema* const schemas[] = {&kind.goods, &kind.services};
  auto file = files.begin();
  for (std::size_t i = 0; i < std::size(schemas); ++i) {
    if (!schemas[i]->Exists() || file == files.end()) continue;
    const bool takes_articles = articles && schemas[i] == &kind.goods;
    files_.push_back(std::make_unique<RecordSetFile>(takes_articles ? ReadGoods(kind, *articles, *file++)
                                                                    : ReadLines(*schemas[i], *file++)));
    sorts[i] = std::move(files_.back()->records);
  }
  document_ = std::make_unique<Document>(kind, std::move(sorts[0]), std::move(sorts[1]));
  auto read = files_.begin();
  for (RecordSet* const lines : {document_->Goods(), document_->Services()}) {
    if (lines != nullptr) Observe(*lines, **read++);
  }
  watch_.Run([this] { document_->Recapitulate(); });
}

RecordSetFile DocumentInput::ReadGoods(const DocumentKind& kind, const ArticleSource& articles,
                                       const FileText& text) {
  std::vector<std::string_view> left_out;
  bool names_articles = false;
  ReadOptions options;
  options.declare = [&](const std::string& label, std::vector<FieldDef>& fields) {
    left_out = AddColumnsOfArticles(kind, fields);
    names_articles = HasColumn(fields, "sifra");
    DeclareLines(kind.goods, label, fields);
  };
  RecordSetFile file = ReadRecordSet(text, options);
  const auto told = [&file](const LineFault& fault) {
    return file.Where(fault.line - 1) + ": " + fault.field + ": " + fault.message;
  };
  if (names_articles) {
    const std::vector<LineFault> unknown = TakeFromArticles(kind, file.records, articles.warehouse);
    for (const LineFault& fault : unknown) unknown_articles_.push_back(told(fault));
    const std::vector<LineFault> missing = FindMissingOfArticles(kind, file.records, left_out, unknown);
    if (!missing.empty()) throw Error(told(missing.front()));
  }
  const DocumentDigits digits = DocumentDigits::OfApplication();
  WalkWatch watch;
  watch.Observe(file);
  watch.Run([&] {
    for (file.records.First(); !file.records.Eof(); file.records.Next()) {
      file.records.Edit();
      WriteAndPost(file.records, [&] { CalculateLine(kind.goods, file.records, digits); });
    }
  });
  file.records.SetOnCalcFields(nullptr);
  return file;
}

void DocumentInput::Observe(RecordSet& lines, const RecordSetFile& file) {
  lines.SetOnCalcFields([this, &file](RecordSet& records) { watch_.Visit(file, records); });
}

}  // namespace mox

#include "paper/page_source.h"

#include <algorithm>
#include <memory>

#include "mox/documents/storno.h"
#include "mox/foundation/app.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

std::unique_ptr<TAstaParamList> Ask(std::string_view service, std::int64_t id) {
  auto answer = App().Comunication().ReportDataService({{"id", id}}, service);
  if (answer == nullptr) throw Error("the server does not know the service " + std::string(service));
  return answer;
}

RecordSet Take(TAstaParamList& answer, std::string_view name) {
  return std::move(answer.ParamByName(name).AsDataSet());
}

// The lines of one sort.
RecordSet OfSort(const RecordSet& lines, std::string_view sort) {
  RecordSet some;
  some.CleanClone(lines);
  some.Clear();
  const std::size_t field = lines.RowCount() == 0 ? 0 : *lines.FindFieldIndex("sorta");
  std::vector<Value> values(lines.FieldCount());
  for (const RecordRow& line : lines.Rows()) {
    if (line.AsTextView(field) != sort) continue;
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = line.AsVariant(i);
    some.AppendRecord(values);
  }
  return some;
}

}  // namespace

DocumentSets PageSource::Sets() const { return {&goods, &services, &taxes, TextOf(header, "vrsta_dok_dob")}; }

bool PageSource::IsPaidLater() const {
  const RecordRow row = stored.RowAt(0);
  const std::size_t at_once = row.IndexOf("placeno_odmah");
  if (!row.IsNull(at_once)) return !row.AsBoolean(at_once);
  return kind->is == DocumentClass::kProForma || figures_kind->is_paid_later;
}

bool PageSource::IsUncharged() const { return mox::IsUncharged(*figures_kind, Sets()); }

PageSource ReadPageSource(std::int64_t id) {
  PageSource source;
  auto document = Ask("Dokument", id);
  source.header = Take(*document, "Zaglavlje");
  const RecordSet lines = Take(*document, "Stavke");
  source.goods = OfSort(lines, "roba");
  source.services = OfSort(lines, "usluga");
  source.taxes = Take(*document, "Rekapitulacija");
  auto more = Ask("DokumentIspis", id);
  source.seller = Take(*more, "Poduzece");
  source.partner = Take(*more, "Partner");
  source.place = Take(*more, "Mjesto");
  source.original = Take(*more, "Izvornik");
  source.storno = Take(*more, "Storno");
  source.fiscal = Take(*more, "Fiskalno");
  source.stored = Take(*more, "Upis");
  source.slips = Take(*more, "Virmani");

  source.kind = FindDocumentKind(TextOf(source.header, "vrsta"));
  const DocumentKind* const mirrored = FindDocumentKind(TextOf(source.header, "vrsta_stavki"));
  if (source.kind == nullptr || mirrored == nullptr) {
    throw Error("document " + std::to_string(id) +
                " is of a kind that this program does not know: " + TextOf(source.header, "vrsta"));
  }
  source.figures_kind = source.original.IsEmpty() ? source.kind : &FiguresKindOf(*source.kind, mirrored);
  return source;
}

std::string TextOf(const RecordSet& records, std::string_view field) {
  if (records.RowCount() == 0) return {};
  const RecordRow record = records.RowAt(0);
  const std::size_t index = record.IndexOf(field);
  return record.IsNull(index) ? std::string() : VisibleText(TrimBlanks(record.AsText(index)));
}

std::string ParagraphOf(const RecordSet& records, std::string_view field) {
  if (records.RowCount() == 0) return {};
  std::string text = records.RowAt(0).AsText(records.RowAt(0).IndexOf(field));
  std::erase(text, '\r');
  std::replace(text.begin(), text.end(), '\t', ' ');
  std::string paragraph;
  for (std::string_view rest = TrimBlanks(text); !rest.empty();) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    paragraph += (paragraph.empty() ? "" : "\n") + VisibleText(TrimBlanks(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return paragraph;
}

}  // namespace mox

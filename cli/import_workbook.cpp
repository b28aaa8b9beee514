#include "cli/import_workbook.h"

#include <algorithm>
#include <string_view>

#include "mox/foundation/app.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/server/read_services.h"
#include "sheets/number_format.h"
#include "sheets/xlsx_writer.h"

namespace mox {
namespace {

constexpr std::size_t kMostChoices = 2000;  // a longer list helps nobody
constexpr std::size_t kRowsInMemory = 20'000;
constexpr const char* kTemplateMark = "mox import template";
constexpr const char* kFaultMark = "mox import faults";

bool BeginsAsWorkbook(std::string_view text) { return text.starts_with("PK\x03\x04"); }

// A number that is looked up is a code, whose zeros in front count.
CellKind KindOf(const ImportFieldDef& field) {
  if (field.field_type == field_type::kFloat)
    return ToBoolean(field.lookup) ? CellKind::kText : CellKind::kNumber;
  if (field.field_type == field_type::kDate) return CellKind::kDate;
  return field.field_type == field_type::kBoolean ? CellKind::kBoolean : CellKind::kText;
}

// "Vrsta ugovora (O/N)" names its values.
std::vector<std::string> ChoicesOfCaption(std::string_view caption) {
  const std::size_t begin = caption.rfind('(');
  const std::size_t slash = caption.rfind('/');
  if (begin == std::string_view::npos || !caption.ends_with(')') || slash == std::string_view::npos ||
      slash < begin) {
    return {};
  }
  return {std::string(caption.substr(begin + 1, slash - begin - 1)),
          std::string(caption.substr(slash + 1, caption.size() - slash - 2))};
}

std::vector<std::string> ChoicesOf(const ImportFieldDef& field, bool has_server) {
  if (field.field_type == field_type::kBoolean) return {"TRUE", "FALSE"};
  if (!has_server || !ToBoolean(field.lookup)) return ChoicesOfCaption(field.caption);
  const auto values = CreateDBDataSet(
      "ImportGrid\\Izbor", "adsList",
      {{"params1", Value(field.lookup_sql)}, {"najvise", Value(std::int64_t{kMostChoices + 1})}});
  std::vector<std::string> choices;
  if (!values) return choices;
  for (const RecordRow& row : values->Rows()) choices.push_back(row.AsText(0));
  if (choices.size() > kMostChoices) choices.clear();
  return choices;
}

std::vector<WrittenColumn> ColumnsOf(const std::vector<ImportFieldDef>& fields, bool has_server) {
  std::vector<WrittenColumn> columns;
  columns.reserve(fields.size());
  for (const ImportFieldDef& field : fields) {
    columns.push_back(
        {field.caption, KindOf(field), ToBoolean(field.required), ChoicesOf(field, has_server)});
  }
  return columns;
}

// Walks the lines of a layout.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text) {}
  bool Next(std::vector<std::string_view>& cells) {
    if (rest_.empty()) return false;
    std::string_view line = rest_.substr(0, rest_.find('\n'));
    rest_.remove_prefix(line.size() + 1);
    cells.clear();
    for (;;) {
      const std::size_t tab = line.find('\t');
      cells.push_back(line.substr(0, tab));
      if (tab == std::string_view::npos) return true;
      line.remove_prefix(tab + 1);
    }
  }

 private:
  std::string_view rest_;
};

}  // namespace

const OutputKind kTemplateWorkbook = {"an empty template", BeginsAsWorkbook, [](const std::string& path) {
                                        return IsAsWritten(ReadWholeFile(path), kTemplateMark);
                                      }};
const OutputKind kFaultWorkbook = {"a list of faults", BeginsAsWorkbook, [](const std::string& path) {
                                     return IsAsWritten(ReadWholeFile(path), kFaultMark);
                                   }};

bool IsWorkbookName(const std::string& path) { return FoldCase(path).ends_with(".xlsx"); }

std::string TemplateWorkbook(const std::string& key, const std::vector<ImportFieldDef>& fields,
                             bool has_server, const SheetText& rows) {
  XlsxWriter writer(key, ColumnsOf(fields, has_server), App().Locale().Settings(),
                    rows.numbers.size() > kRowsInMemory);
  std::vector<std::string_view> cells;
  for (Lines lines(rows.text); lines.Next(cells);) writer.AddRow(cells);
  return writer.Finish(rows.text.empty() ? kTemplateMark : "");
}

std::string FaultWorkbook(const TfrmImportGrid& form, const std::vector<ImportFieldDef>& fields,
                          const SheetText& rows) {
  std::vector<WrittenColumn> columns = ColumnsOf(fields, false);
  const std::size_t data = columns.size();
  columns.push_back({"Redak", CellKind::kNumber, false, {}});
  columns.push_back({form.Fields()[kErrMsgPosition].caption, CellKind::kText, false, {}});
  XlsxWriter writer(form.ProfileKey(), columns, App().Locale().Settings(),
                    rows.numbers.size() > kRowsInMemory);

  Lines lines(rows.text);
  std::vector<std::string_view> cells;
  std::vector<FaultyCell> faulty;
  auto fault = form.Faults().begin();
  for (std::size_t row = 1; lines.Next(cells) && fault != form.Faults().end(); ++row) {
    if (fault->row != row) continue;
    faulty.clear();
    std::string reasons;
    for (; fault != form.Faults().end() && fault->row == row; ++fault) {
      const std::size_t column = fault->column - kFirstDataPosition;
      faulty.push_back({column, fault->reason.starts_with(kRoundedFault)});
      reasons += (reasons.empty() ? "" : "; ") + columns[column].heading + ": " + fault->reason;
    }
    const std::string number = std::to_string(rows.numbers[row - 1]);
    cells.resize(data);
    cells.insert(cells.end(), {number, reasons});
    writer.AddRow(cells, faulty);
  }
  return writer.Finish(kFaultMark);
}

}  // namespace mox

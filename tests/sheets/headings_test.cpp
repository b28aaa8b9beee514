#include <algorithm>
#include <sstream>

#include "mox/import/import_profiles.h"
#include "sheets/sheet_layout.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

const std::vector<SheetColumn> kColumns = {{"SIFRA", "Šifra artikla", 15, true},
                                           {"NAZIV", "Naziv artikla", 5, false},
                                           {"CIJENA", "Cijena (kn)", 5, false}};

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

// Rows of a case; a mark before a cell says its kind, "!" that it is odd.
class CaseRows : public SheetRows {
 public:
  explicit CaseRows(const std::string& text) : SheetRows("f") {
    for (const std::string& row : Split(text, '/')) rows_.push_back(Split(row + "|", '|'));
  }
  bool Next(SheetRow& row) override {
    if (next_ == rows_.size()) return false;
    cells_.clear();
    for (const std::string& text : rows_[next_]) cells_.push_back(CellOf(text));
    row = {++next_, cells_};
    return true;
  }

 private:
  static SheetCell CellOf(std::string_view text) {
    const std::string_view rest = text.substr(std::min<std::size_t>(1, text.size()));
    if (text.starts_with('#')) return {rest, CellKind::kNumber};
    if (text.starts_with('?')) return {rest, CellKind::kBoolean};
    if (text.starts_with('@')) return {rest, text.size() > 11 ? CellKind::kMoment : CellKind::kDate};
    if (text.starts_with('!')) return {rest, CellKind::kText, "is odd"};
    return {text};
  }

  std::vector<std::vector<std::string>> rows_;
  std::vector<SheetCell> cells_;
  std::size_t next_ = 0;
};

// Each row with its number, texts cut as the grid cuts them, faults in brackets, remarks.
std::string LayOut(const std::string& text, const LayoutOptions& options) {
  CaseRows rows(text);
  const SheetText sheet = LayOutSheet(rows, kColumns, options);
  std::string shown;
  const std::vector<std::string> lines = Split(sheet.text, '\n');
  EXPECT_EQ(lines.size(), sheet.numbers.size());
  for (std::size_t row = 0; row < lines.size(); ++row) {
    shown += (row == 0 ? "" : " ") + std::to_string(sheet.numbers[row]) + ": ";
    const std::vector<std::string> cells = Split(lines[row] + "\t", '\t');
    for (std::size_t i = 0; i < cells.size(); ++i) {
      shown += (i == 0 ? "" : "|") + cells[i];
      for (const SheetFault& fault : sheet.faults) {
        if (fault.row == row && fault.column == i) shown += "(" + std::string(fault.reason) + ")";
      }
    }
  }
  for (const std::string& remark : sheet.remarks) shown += " / " + remark;
  if (!options.map.empty()) shown += " / " + WriteColumnMap(sheet.map);
  return shown;
}

TEST(Headings, Tables) {
  ExpectTables(
      "headings",
      {{"recognised", [](auto& row) { return LayOut(row.at(0), {}); }},
       {"announced", [](auto& row) { return LayOut(row.at(0), {HeadingMode::kPresent}); }},
       {"denied", [](auto& row) { return LayOut(row.at(0), {HeadingMode::kAbsent}); }},
       {"map",
        [](auto& row) {
          return LayOut(row.at(1), {HeadingMode::kPresent, ReadColumnMap({"m.csv", row.at(0)}, kColumns)});
        }},
       {"cells", [](auto& row) { return LayOut(row.at(0), {HeadingMode::kAbsent}); }}},
      "sheets");
}

// The heading that a profile's own sheet has gives each column its place again, by captions and by names.
TEST(Headings, OfEachProfileAreItsColumns) {
  for (const ImportProfile& profile : ImportProfiles()) {
    SCOPED_TRACE(profile.key);
    std::vector<SheetColumn> columns;
    for (const ImportFieldDef& field : ImportFieldsOf(profile)) {
      if (field.IsDefined()) columns.push_back({field.field_name, field.caption, 100, false});
    }
    columns.erase(columns.begin(), columns.begin() + kFirstDataPosition);
    const HeadingReader reader(columns, {});
    for (const bool by_name : {false, true}) {
      std::vector<std::string> row;
      for (const SheetColumn& column : columns) row.push_back(by_name ? column.name : column.caption + " *");
      const Heading heading = reader.Read(row);
      for (std::size_t i = 0; i < columns.size(); ++i) {
        EXPECT_EQ(heading.cells[i].meaning, Heading::Meaning::kColumn) << row[i];
        EXPECT_EQ(heading.cells[i].column, i) << row[i];
      }
      const std::vector<std::vector<std::string>> rows = {row};
      EXPECT_EQ(reader.Find(rows), 0U);
    }
  }
}

}  // namespace
}  // namespace mox

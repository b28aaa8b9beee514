#include "sheets/open_sheet.h"

#include <algorithm>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "sheets/ods_rows.h"
#include "sheets/text_rows.h"
#include "sheets/xlsx_book.h"
#include "sheets/xlsx_rows.h"
#include "sheets/zip_package.h"

namespace mox {
namespace {

// --- kinds that are not read ---

struct Foreign {
  std::string_view begins;  // whatever the letter case
  const char* what;
};

constexpr const char* kOldSheet = "the older binary form .xls is not read";
constexpr const char* kWebPage = "this is a web page or XML under the name of a sheet";

constexpr Foreign kForeign[] = {
    {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", kOldSheet},
    {std::string_view("\x09\x00\x04\x00", 4), kOldSheet},
    {std::string_view("\x09\x02\x06\x00", 4), kOldSheet},
    {std::string_view("\x09\x04\x06\x00", 4), kOldSheet},
    {std::string_view("\x09\x08", 2), kOldSheet},
    {"<?xml", kWebPage},
    {"<html", kWebPage},
    {"<!doctype", kWebPage},
    {"<table", kWebPage},
    {"<meta", kWebPage},
    {"%PDF-", "this is a PDF"},
};

// A workbook that is protected by a password lies encrypted in a file of the older form.
bool IsEncryptedWorkbook(std::string_view bytes) {
  constexpr std::string_view kName = "EncryptedPackage";
  std::string name;
  for (const char c : kName) name.append({c, '\0'});
  return bytes.find(name) != std::string_view::npos;
}

void RefuseForeign(const SheetFile& file) {
  std::string_view bytes = file.bytes;
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kMark)) bytes.remove_prefix(kMark.size());
  for (const Foreign& foreign : kForeign) {
    if (!SameName(bytes.substr(0, foreign.begins.size()), foreign.begins)) continue;
    if (foreign.what == kOldSheet && IsEncryptedWorkbook(bytes)) {
      throw Error(file.label + ": the file is protected by a password; save it without one");
    }
    throw Error(file.label + ": " + foreign.what +
                "; open it with the spreadsheet and save it as .xlsx, .ods or .csv");
  }
}

// --- spreadsheets ---

std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

// The sheet that is chosen, by its place; where others could be meant, a remark says so.
template <typename Sheet>
std::size_t Choose(const std::vector<Sheet>& sheets, const std::string& name, const std::string& label,
                   std::vector<std::string>& remarks) {
  std::string names;
  std::size_t chosen = sheets.size();
  std::size_t shown = 0;
  for (std::size_t i = 0; i < sheets.size(); ++i) {
    const bool is_named = !name.empty() && EqualsIgnoringCase(TrimBlanks(sheets[i].name), TrimBlanks(name));
    if (chosen == sheets.size() && (is_named || (name.empty() && !sheets[i].hidden))) chosen = i;
    if (sheets[i].hidden) continue;
    names += (shown++ == 0 ? "" : ", ") + Quoted(sheets[i].name);
  }
  if (chosen == sheets.size() && name.empty()) throw Error(label + ": the file has no sheet that is shown");
  if (chosen == sheets.size())
    throw Error(label + ": there is no sheet " + Quoted(name) + "; there is " + names);
  if (name.empty() && shown > 1) {
    remarks.push_back(label + ": the sheet " + Quoted(sheets[chosen].name) + " is read, of " + names);
  }
  return chosen;
}

bool Holds(ByteSource& source, std::string_view text) {
  constexpr std::size_t kBlock = std::size_t{256} * 1024;
  std::string block;
  bool found = false;
  for (std::size_t kept = 0;; kept = std::min(block.size(), text.size() - 1)) {
    block.erase(0, block.size() - kept);
    block.resize(kept + kBlock);
    const std::size_t count = source.Read(block.data() + kept, kBlock);
    block.resize(kept + count);
    if (count == 0) return found;
    found = found || block.find(text) != std::string::npos;
    if (found) return true;
  }
}

class SpreadsheetRows : public SheetRows {
 public:
  SpreadsheetRows(SheetFile file, const SheetChoice& choice)
      : SheetRows(file.label), bytes_(std::move(file.bytes)), package_(bytes_, Label()) {
    if (package_.Has("content.xml")) {
      OpenOds(choice);
    } else if (IsXlsx(package_)) {
      OpenXlsx(choice);
    } else {
      throw Error(
          Label() +
          ": the file is no sheet but another zip file; unpack it, or save the sheet as .xlsx or .ods");
    }
  }

  bool Next(SheetRow& row) override { return rows_->Next(row); }
  std::vector<std::string> Remarks() const override {
    std::vector<std::string> remarks = remarks_;
    for (std::string& remark : rows_->Remarks()) remarks.push_back(std::move(remark));
    return remarks;
  }

 private:
  XmlScanner::Fault FaultOf(const std::string& part) const {
    return [this, part](const std::string& what) { package_.Damaged(part, what); };
  }

  void OpenXlsx(const SheetChoice& choice) {
    XlsxBook book = ReadXlsxBook(package_);
    const std::string& part = book.sheets[Choose(book.sheets, choice.sheet, Label(), remarks_)].part;
    XlsxRows::Parts parts;
    if (!book.shared_strings.empty() && package_.Has(book.shared_strings)) {
      parts.strings = SharedStrings(*package_.Open(book.shared_strings), FaultOf(book.shared_strings));
    }
    // Merged cells are told behind the rows.
    if (Holds(*package_.Open(part), "mergeCell ")) {
      parts.merged = ReadMergedCells(*package_.Open(part), FaultOf(part));
    }
    parts.formats = std::move(book.formats);
    parts.epoch = book.epoch;
    rows_ = std::make_unique<XlsxRows>(Label(), package_.Open(part), std::move(parts), FaultOf(part));
  }

  void OpenOds(const SheetChoice& choice) {
    const std::string manifest = "META-INF/manifest.xml";
    if (package_.Has(manifest) && package_.Read(manifest).find("encryption-data") != std::string::npos) {
      throw Error(Label() + ": the file is protected by a password; save it without one");
    }
    const std::string part = "content.xml";
    const std::vector<OdsSheet> sheets = ReadOdsSheets(*package_.Open(part), FaultOf(part));
    if (sheets.empty()) throw Error(Label() + ": the file is no sheet; save it as .xlsx, .ods or .csv");
    const std::size_t sheet = Choose(sheets, choice.sheet, Label(), remarks_);
    rows_ = std::make_unique<OdsRows>(Label(), package_.Open(part), sheet, FaultOf(part));
  }

  std::string bytes_;
  ZipPackage package_;
  std::vector<std::string> remarks_;
  std::unique_ptr<SheetRows> rows_;
};

bool IsZip(std::string_view bytes) {
  return bytes.starts_with("PK\x03\x04") || bytes.starts_with("PK\x05\x06");
}

}  // namespace

std::unique_ptr<SheetRows> OpenSheet(SheetFile file, const SheetChoice& choice) {
  if (IsZip(file.bytes)) return std::make_unique<SpreadsheetRows>(std::move(file), choice);
  RefuseForeign(file);
  if (!choice.sheet.empty()) throw Error(file.label + ": a text has no sheets to choose from");
  const TextForm form = TextFormOf(file.label);
  return OpenTextRows(file, form, choice.columns, choice.encoding);
}

}  // namespace mox

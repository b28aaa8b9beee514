#include "cli/record_set_file.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <istream>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "sheets/csv_scanner.h"

namespace mox {
namespace {

constexpr std::size_t kMostInput = 1024UL * 1024 * 1024;

bool IsText(FieldKind kind) { return kind == FieldKind::kText || kind == FieldKind::kBinary; }

// --- reading ---

const char* RangeOf(FieldKind kind) {
  if (kind == FieldKind::kCurrency) return "a currency";
  return kind == FieldKind::kInteger ? "an integer" : "a floating-point number";
}

// Whether a number, which was read, has a decimal beyond the fourth that is not 0.
bool HasMoreDecimalsThanCurrency(std::string_view number) {
  const std::size_t exponent_at = std::min(number.find_first_of("eE"), number.size());
  std::string_view mantissa = number.substr(0, exponent_at);
  const std::string exponent(number.substr(std::min(exponent_at + 1, number.size())));
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t last = mantissa.find_last_of("123456789");
  if (last == std::string_view::npos) return false;
  const auto decimals =
      last > point ? static_cast<long>(last - point) : 1 - static_cast<long>(point - last);  // "1200" has -2
  const long shift = exponent.empty() ? 0 : std::strtol(exponent.c_str(), nullptr, 10);
  return decimals - shift > 4;
}

class Reader {
 public:
  explicit Reader(const FileText& file)
      : file_(file), scanner_(file.bytes), check_utf8_(!IsValidUtf8(file.bytes)) {}

  RecordSetFile Read(const ReadOptions& options) {
    std::vector<FieldDef> fields = ReadHeader(options.known);
    const std::size_t columns = fields.size();
    if (options.declare) options.declare(file_.label, fields);
    for (std::size_t i = 0; i < columns; ++i) kinds_.push_back(fields[i].kind);
    result_.label = file_.label;
    result_.records.SetName(file_.label + ":1");
    for (FieldDef& field : fields) result_.records.DefineField(std::move(field));
    result_.records.Open();
    if (options.on_calc_fields) result_.records.SetOnCalcFields(options.on_calc_fields);
    while (NextRecord()) ReadRecord();
    return std::move(result_);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw Error(file_.label + ":" + std::to_string(scanner_.line()) + ": " + what);
  }
  [[noreturn]] void FailAt(std::size_t cell, const std::string& what) const {
    Fail((cell < names_.size() ? names_[cell] : "cell " + std::to_string(cell + 1)) + ": " + what);
  }

  bool Scan() {
    bool more = false;
    try {
      more = scanner_.Next(cells_);
    } catch (const CsvFault& fault) {
      FailAt(fault.cell, fault.reason);
    }
    for (std::size_t i = 0; check_utf8_ && i < cells_.size(); ++i) {
      if (!IsValidUtf8(cells_[i].text)) FailAt(i, "the text is not valid UTF-8");
    }
    return more;
  }

  std::vector<FieldDef> ReadHeader(const std::vector<FieldDef>& known) {
    if (!Scan()) throw Error(file_.label + ": the file is empty");
    if (cells_.size() > Structure::kMostFields) Fail("there are too many fields");
    if (cells_.size() == 1 && cells_[0].text.find_first_of(";\t") != std::string_view::npos) {
      Fail("the header is one cell; the cells are separated by commas");
    }
    std::vector<FieldDef> fields;
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      FieldDef field = ColumnOf(cells_[i].text, known);
      if (field.name.empty()) FailAt(i, "the field has no name");
      for (const FieldDef& other : fields) {
        if (SameName(other.name, field.name)) Fail("field \"" + field.name + "\" is there twice");
      }
      const std::string_view cell = cells_[i].text;
      lent_.push_back(cell.find(':') == std::string_view::npos && !FindInVocabulary(cell) &&
                      !IsText(field.kind));
      fields.push_back(std::move(field));
    }
    for (const FieldDef& field : fields) names_.push_back(field.name);
    return fields;
  }

  FieldDef ColumnOf(std::string_view cell, const std::vector<FieldDef>& columns) const {
    FieldDef field;
    const std::size_t colon = cell.rfind(':');
    field.name = cell.substr(0, colon);
    if (colon != std::string_view::npos) {
      const std::string_view kind = cell.substr(colon + 1);
      if (!KindFromName(kind, field.kind) || field.kind == FieldKind::kBinary) {
        Fail("field \"" + field.name + "\" has the unknown kind \"" + std::string(kind) + "\"");
      }
    } else if (const auto known = FindInVocabulary(cell)) {
      field.kind = kVocabulary[static_cast<std::size_t>(*known)].kind;
    } else {
      const auto same = [cell](const FieldDef& column) { return SameName(column.name, cell); };
      const auto column = std::find_if(columns.begin(), columns.end(), same);
      if (column != columns.end() && column->kind != FieldKind::kBinary) field.kind = column->kind;
    }
    return field;
  }

  bool NextRecord() {
    if (!Scan()) return false;
    if (cells_.size() == names_.size()) return true;
    const bool blank = cells_.size() == 1 && !cells_[0].quoted && cells_[0].text.empty();
    if (blank && scanner_.OnlyBlankLinesLeft()) return false;
    Fail("the line has " + std::to_string(cells_.size()) + (cells_.size() == 1 ? " cell" : " cells") +
         ", the header " + std::to_string(names_.size()));
  }

  // Of a kind that the header does not say: it may say another.
  std::string WayOut(std::size_t cell) const {
    if (cell >= lent_.size() || !lent_[cell]) return {};
    return "; " + names_[cell] + ":text sends it as it stands";
  }

  void StoreCell(RecordSet& records, std::size_t field, std::string_view text) const {
    switch (kinds_[field]) {
      case FieldKind::kText:
      case FieldKind::kBinary:
        return records.SetText(field, text);
      case FieldKind::kCurrency:
        return records.SetCurrency(field, Currency::Parse(text));
      case FieldKind::kFloat:
        return records.SetFloat(field, ParseNumber(text));
      default:
        return records.SetVariant(field, ParsePlain(text, kinds_[field]));
    }
  }

  void ReadRecord() {
    RecordSet& records = result_.records;
    records.Append();
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      if (!cells_[i].quoted && cells_[i].text.empty()) continue;
      try {
        StoreCell(records, i, cells_[i].text);
        if (kinds_[i] == FieldKind::kCurrency && HasMoreDecimalsThanCurrency(cells_[i].text)) {
          throw Error("\"" + std::string(cells_[i].text) + "\" has more than four decimals; " + names_[i] +
                      ":float keeps them");
        }
      } catch (const Overflow&) {
        FailAt(i, "\"" + std::string(cells_[i].text) + "\" is outside the range of " + RangeOf(kinds_[i]) +
                      WayOut(i));
      } catch (const Error& error) {
        FailAt(i, error.what() + WayOut(i));
      }
    }
    try {
      records.Post();
    } catch (const FieldNotFound&) {
      throw;
    } catch (const Error& error) {
      Fail(error.what());
    }
    result_.lines.push_back(scanner_.line());
  }

  const FileText& file_;
  CsvScanner scanner_;
  bool check_utf8_;
  std::vector<CsvCell> cells_;
  std::vector<std::string> names_;
  std::vector<FieldKind> kinds_;
  std::vector<bool> lent_;  // whether the kind is that of a known column, which the header does not say
  RecordSetFile result_;
};

// --- writing ---

void AppendText(std::string_view text, std::string& out) {
  if (!text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

}  // namespace

FileText ReadFileText(const std::string& path, std::istream& standard_input) {
  FileText file;
  if (path.empty()) throw Error("the name of a file is empty");
  if (path == "-") {
    file.label = "standard input";
    char block[64 * 1024];
    while (standard_input.read(block, sizeof block), standard_input.gcount() > 0) {
      file.bytes.append(block, static_cast<std::size_t>(standard_input.gcount()));
      if (file.bytes.size() > kMostInput)
        throw Error(file.label + ": is longer than a gigabyte, which is too long");
    }
    if (standard_input.bad()) throw Error(file.label + ": cannot be read");
  } else {
    file.label = path;
    file.bytes = ReadWholeFile(path);
  }
  if (file.bytes.empty()) throw Error(file.label + ": the file is empty");
  return file;
}

std::string RecordSetFile::Where(std::size_t record) const {
  return label + ":" + std::to_string(lines.at(record));
}

RecordSetFile ReadRecordSet(const FileText& file, const ReadOptions& options) {
  return Reader(file).Read(options);
}

void WriteRecordSet(const RecordSet& records, std::string& out) {
  std::vector<FieldKind> kinds;
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    kinds.push_back(field.kind);
    if (i > 0) out += ',';
    AppendText(field.name + ":" + std::string(KindName(field.kind)), out);
  }
  out += '\n';
  for (const RecordRow& record : records.Rows()) {
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      if (i > 0) out += ',';
      if (record.IsNull(i)) continue;
      if (IsText(kinds[i])) {
        AppendText(record.AsTextView(i), out);
      } else {
        AppendPlain(out, record, i);
      }
    }
    out += '\n';
  }
}

void WalkWatch::Visit(const RecordSetFile& file, const RecordSet& records) {
  if (std::uncaught_exceptions() > 0) return;
  file_ = &file;
  record_ = records.Position();
}

void WalkWatch::Observe(RecordSetFile& file) {
  file.records.SetOnCalcFields([this, &file](RecordSet& records) { Visit(file, records); });
}

void WalkWatch::Run(const std::function<void()>& walk) const {
  try {
    walk();
  } catch (const FieldNotFound&) {
    throw;
  } catch (const Error& error) {
    if (file_ == nullptr) throw;
    throw Error(Where() + ": " + error.what());
  }
}

}  // namespace mox

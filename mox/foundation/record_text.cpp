#include "mox/foundation/record_text.h"

#include <bit>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

// The text form of a record set, as docs/FORMATS.md describes it.

namespace mox {
namespace {

constexpr std::string_view kSignature = "moxrs 1";
constexpr char kNull = '~';
constexpr std::string_view kEnd = "end";

// Knows the cell that is being read.
class Reader final : public TextReader {
 public:
  using TextReader::TextReader;

  void SetPlace(std::string where) {
    where_ = std::move(where);
    field_ = nullptr;
  }
  void SetPlace(std::size_t record, const FieldDef& field) {
    record_ = record;
    field_ = &field;
  }

 private:
  std::string Place() const override {
    return field_ == nullptr ? where_
                             : "record " + std::to_string(record_) + ", field " + field_->name + ": ";
  }

  std::string where_;
  std::size_t record_ = 0;
  const FieldDef* field_ = nullptr;  // while reading the cells of a record
};

FieldDef ReadField(Reader& in) {
  FieldDef field;
  in.Expect("field ");
  field.name = in.Counted();
  if (field.name.empty()) in.Refuse("a field has no name");
  in.Expect(" ");
  const std::string_view kind = in.Word();
  if (!KindFromName(kind, field.kind))
    in.Refuse("\"" + std::string(kind.substr(0, 40)) + "\" is not a kind of field");
  in.Skip(kind.size());
  in.Expect(" ");
  field.size = in.Count(std::string::npos, "characters");
  in.Expect(" ");
  const std::string_view flags = in.Word();
  for (const char flag : flags) {
    if (flag != 'r' && flag != 'c' && flag != '-')
      in.Refuse("unknown field flag \"" + std::string(1, flag) + "\"");
    field.required = field.required || flag == 'r';
    field.calculated = field.calculated || flag == 'c';
  }
  in.Skip(flags.size());
  in.Expect(" ");
  field.display_name = in.Counted();
  in.Expect(" ");
  field.display_format = in.Counted();
  in.Expect("\n");
  return field;
}

}  // namespace

namespace {

// --- writing ---

void WriteHead(const RecordTable& table, std::string& out) {
  out += kSignature;
  out += "\nname ";
  AppendCounted(out, table.name);
  out += "\nfields " + std::to_string(table.Fields().size()) + '\n';
  for (const FieldDef& field : table.Fields()) {
    out += "field ";
    AppendCounted(out, field.name);
    out += ' ';
    out += KindName(field.kind);
    out += ' ' + std::to_string(field.size) + ' ';
    if (field.required) out += 'r';
    if (field.calculated) out += 'c';
    if (!field.required && !field.calculated) out += '-';
    out += ' ';
    AppendCounted(out, field.display_name);
    out += ' ';
    AppendCounted(out, field.display_format);
    out += '\n';
  }
  out += "records " + std::to_string(table.size()) + '\n';
}

// --- reading ---

// Opens the table with the fields of the text and answers the number of records to come.
std::size_t ReadHead(RecordTable& table, Reader& in) {
  in.SetPlace("head: ");
  in.Expect(kSignature);
  in.Expect("\n");
  in.Expect("name ");
  table.name = in.Counted();
  in.Expect("\n");
  in.Expect("fields ");
  const std::size_t fields = in.Count(Structure::kMostFields, "fields");
  in.Expect("\n");
  for (std::size_t i = 0; i < fields; ++i) {
    in.SetPlace("field " + std::to_string(i + 1) + ": ");
    FieldDef field = ReadField(in);
    if (table.Find(field.name)) in.Refuse("the name \"" + field.name + "\" stands twice");
    table.Define(std::move(field));
  }
  in.SetPlace("head: ");
  in.Expect("records ");
  const std::size_t records = in.Count(in.left(), "records");
  in.Expect("\n");
  if (fields > 0) {
    table.Open();
  } else if (records > 0) {
    in.Refuse("records without fields");
  }
  return records;
}

void ReadCell(RecordTable& table, std::uint64_t* cells, std::size_t index, Reader& in) {
  if (in.IsAt(kNull)) return in.Skip(1);
  const FieldDef& field = table.Fields()[index];
  if (HoldsText(field.kind)) {
    const std::string_view text = in.Counted();
    if (field.kind == FieldKind::kText && field.size > 0 && CountCharacters(text) > field.size) {
      in.Refuse("the text is longer than the field's " + std::to_string(field.size) + " characters");
    }
    table.WriteText(cells, index, text);
  } else if (field.kind == FieldKind::kCurrency) {  // as PackNumber packs it, without a value in between
    table.WriteBits(cells, index, static_cast<std::uint64_t>(in.Amount().scaled()));
  } else if (field.kind == FieldKind::kFloat) {
    table.WriteBits(cells, index, std::bit_cast<std::uint64_t>(in.Number()));
  } else {
    table.WriteBits(cells, index, PackNumber(field.kind, in.Plain(field.kind)));
  }
}

RecordTable ReadTable(std::string_view text) {
  RecordTable table;
  Reader in(text);
  const std::size_t records = ReadHead(table, in);
  for (std::size_t i = 0; i < records; ++i) {
    const RecordTable::Id record = table.NewRecord();
    std::uint64_t* const cells = table.Cells(record);
    for (std::size_t field = 0; field < table.Fields().size(); ++field) {
      in.SetPlace(i + 1, table.Fields()[field]);
      if (field > 0) in.Expect(" ");
      ReadCell(table, cells, field, in);
    }
    in.Expect("\n");
    table.Place(record, i);
  }
  in.SetPlace("after the last record: ");
  in.Expect(kEnd);
  in.Expect("\n");
  if (in.left() > 0) in.Refuse("something follows the end");
  return table;
}

}  // namespace

void AppendRecordSetText(const RecordSet& set, std::string& out) {
  const RecordTable& table = set.Table();
  WriteHead(table, out);
  // The text is seldom longer than the records in memory, and room that is not used costs nothing.
  out.reserve(out.size() + table.MemoryBytes());
  const std::size_t fields = table.Fields().size();
  for (std::size_t record = 0; record < table.size(); ++record) {
    const std::uint64_t* const cells = table.PostedCells(table.order()[record]);
    const RecordRow row = table.Row(cells);
    for (std::size_t i = 0; i < fields; ++i) {
      if (i > 0) out += ' ';
      if (table.IsNull(cells, i)) {
        out += kNull;
      } else if (HoldsText(table.structure().kinds()[i])) {
        AppendCounted(out, row.AsTextView(i));
      } else {
        AppendPlain(out, row, i);
      }
    }
    out += '\n';
  }
  out += kEnd;
  out += '\n';
}

std::optional<RecordSetTextHead> ReadRecordSetTextHead(std::string_view text) {
  if (!text.starts_with(kSignature)) return std::nullopt;
  try {
    RecordTable table;
    Reader in(text);
    const std::size_t records = ReadHead(table, in);
    return RecordSetTextHead{table.name, records};
  } catch (const Error&) {
    return std::nullopt;
  }
}

std::string RecordSet::SaveToString() const {
  std::string out;
  AppendRecordSetText(*this, out);
  return out;
}

void RecordSet::LoadFromString(std::string_view text) {
  RequireOutsideEvents("load");
  table_ = ReadTable(text);
  BeginAnew();
}

void RecordSet::SaveToFile(const std::string& path) const { ReplaceFile(path, SaveToString()); }

void RecordSet::LoadFromFile(const std::string& path) {
  const std::string text = ReadWholeFile(path);
  try {
    LoadFromString(text);
  } catch (const FormatError& error) {
    throw FormatError(path + ": ", error);
  }
}

}  // namespace mox

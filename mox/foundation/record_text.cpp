#include "mox/foundation/record_text.h"

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

/// Reads and writes the text form over the cells of a set.
class RecordSetText {
 public:
  static void Append(const RecordSet& set, std::string& out) {
    WriteHead(set, out);
    // The text is seldom longer than the records in memory, and room that is not used costs nothing.
    out.reserve(out.size() + set.MemoryBytes());
    for (const std::uint32_t record : set.order_) {
      const std::uint64_t* const cells = set.PostedCellsOf(record);
      for (std::size_t i = 0; i < set.FieldCount(); ++i) {
        if (i > 0) out += ' ';
        WriteCell(set, cells, i, out);
      }
      out += '\n';
    }
    out += kEnd;
    out += '\n';
  }

  static void Read(RecordSet& set, std::string_view text) {
    Reader in(text);
    const std::size_t records = ReadHead(set, in);
    for (std::size_t i = 0; i < records; ++i) {
      const std::uint32_t record = set.NewRecord();
      std::uint64_t* const cells = set.CellsOf(record);
      for (std::size_t field = 0; field < set.FieldCount(); ++field) {
        in.SetPlace(i + 1, set.Definition(field));
        if (field > 0) in.Expect(" ");
        ReadCell(set, cells, field, in);
      }
      in.Expect("\n");
      set.order_.push_back(record);
    }
    in.SetPlace("after the last record: ");
    in.Expect(kEnd);
    in.Expect("\n");
    if (in.left() > 0) in.Refuse("something follows the end");
    set.Rebind();
    if (!set.IsEmpty()) set.First();
  }

  static std::optional<RecordSetTextHead> ReadHeadOf(std::string_view text) {
    if (!text.starts_with(kSignature)) return std::nullopt;
    try {
      RecordSet set;
      Reader in(text);
      const std::size_t records = ReadHead(set, in);
      return RecordSetTextHead{set.Name(), records};
    } catch (const Error&) {
      return std::nullopt;
    }
  }

 private:
  static void WriteHead(const RecordSet& set, std::string& out) {
    out += kSignature;
    out += "\nname ";
    AppendCounted(out, set.Name());
    out += "\nfields " + std::to_string(set.FieldCount()) + '\n';
    for (const FieldDef& field : set.defs()) {
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
    out += "records " + std::to_string(set.order_.size()) + '\n';
  }

  static void WriteCell(const RecordSet& set, const std::uint64_t* cells, std::size_t index,
                        std::string& out) {
    if (set.IsNullCell(cells, index)) {
      out += kNull;
    } else if (HoldsText(set.KindOf(index))) {
      AppendCounted(out, TextArena::Get(cells[index]));
    } else {
      AppendPlain(out, set.RowOf(cells).AsVariant(index));
    }
  }

  // Opens the set with the fields of the text and answers the number of records to come.
  static std::size_t ReadHead(RecordSet& set, Reader& in) {
    in.SetPlace("head: ");
    in.Expect(kSignature);
    in.Expect("\n");
    in.Expect("name ");
    set.SetName(std::string(in.Counted()));
    in.Expect("\n");
    in.Expect("fields ");
    const std::size_t fields = in.Count(Structure::kMostFields, "fields");
    in.Expect("\n");
    for (std::size_t i = 0; i < fields; ++i) {
      in.SetPlace("field " + std::to_string(i + 1) + ": ");
      FieldDef field = ReadField(in);
      if (set.FindFieldIndex(field.name)) in.Refuse("the name \"" + field.name + "\" stands twice");
      set.DefineField(std::move(field));
    }
    in.SetPlace("head: ");
    in.Expect("records ");
    const std::size_t records = in.Count(in.left(), "records");
    in.Expect("\n");
    if (fields > 0) {
      set.Open();
    } else if (records > 0) {
      in.Refuse("records without fields");
    }
    return records;
  }

  static void ReadCell(RecordSet& set, std::uint64_t* cells, std::size_t index, Reader& in) {
    if (in.IsAt(kNull)) return in.Skip(1);
    const FieldDef& field = set.Definition(index);
    if (HoldsText(field.kind)) {
      const std::string_view text = in.Counted();
      if (field.kind == FieldKind::kText && field.size > 0 && CountCharacters(text) > field.size) {
        in.Refuse("the text is longer than the field's " + std::to_string(field.size) + " characters");
      }
      cells[index] = set.texts_.Add(text);
    } else {
      cells[index] = PackNumber(field.kind, in.Plain(field.kind));
    }
    set.MarkCell(cells, index, false);
  }
};

void AppendRecordSetText(const RecordSet& set, std::string& out) { RecordSetText::Append(set, out); }

std::optional<RecordSetTextHead> ReadRecordSetTextHead(std::string_view text) {
  return RecordSetText::ReadHeadOf(text);
}

std::string RecordSet::SaveToString() const {
  std::string out;
  AppendRecordSetText(*this, out);
  return out;
}

void RecordSet::LoadFromString(std::string_view text) {
  RequireOutsideEvents("load");
  RecordSet loaded;
  RecordSetText::Read(loaded, text);
  loaded.on_calc_fields_ = std::move(on_calc_fields_);
  loaded.on_before_post_ = std::move(on_before_post_);
  loaded.listener_ = std::move(listener_);
  loaded.watched_ = watched_;
  *this = std::move(loaded);
  if (row_count_ > 0) First();
  Notify(RecordSetChange::kRecords);
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

void Field::SaveToFile(const std::string& path) const { ReplaceFile(path, set_->AsText(index_)); }

void Field::LoadFromFile(const std::string& path) { set_->SetText(index_, ReadWholeFile(path)); }

}  // namespace mox

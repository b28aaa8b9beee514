#include <algorithm>
#include <charconv>

#include "mox/foundation/files.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

// The text form of a record set, as docs/FORMATS.md describes it.

namespace mox {
namespace {

constexpr std::string_view kSignature = "moxrs 1";
constexpr std::string_view kNull = "~";
constexpr std::string_view kEnd = "end";

void AppendCounted(std::string& out, std::string_view bytes) {
  out += std::to_string(bytes.size());
  out += ':';
  out += bytes;
}

// A value that is no text, in the form of exchange: decimal point, ISO dates.
void AppendPlain(std::string& out, const Value& value) {
  if (const auto* flag = std::get_if<bool>(&value)) {
    out += *flag ? "true" : "false";
  } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    out += std::to_string(*integer);
  } else if (const auto* number = std::get_if<double>(&value)) {
    out += ShortestNumber(*number);
  } else if (const auto* amount = std::get_if<Currency>(&value)) {
    out += amount->ToString();
  } else if (const auto* date = std::get_if<Date>(&value)) {
    out += FormatIsoDate(*date);
  } else if (const auto* moment = std::get_if<DateTime>(&value)) {
    out += FormatIsoDateTime(*moment);
  }
}

// Walks over the text and knows where it is. Everything that does not fit raises FormatError there.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  [[noreturn]] void Refuse(const std::string& reason) const { throw FormatError(Place() + reason, at_); }
  void SetPlace(std::string where) {
    where_ = std::move(where);
    field_ = nullptr;
  }
  void SetPlace(std::size_t record, const FieldDef& field) {
    record_ = record;
    field_ = &field;
  }
  std::size_t left() const { return text_.size() - at_; }

  void Expect(std::string_view expected) {
    if (text_.substr(at_, expected.size()) != expected) {
      Refuse(left() == 0 ? "the text ends too early" : Named(expected) + " is missing");
    }
    at_ += expected.size();
  }

  // Up to the next blank or line break.
  std::string_view Word() {
    const std::size_t end = std::min(text_.find_first_of(" \n", at_), text_.size());
    return text_.substr(at_, end - at_);
  }
  void Skip(std::size_t bytes) { at_ += bytes; }

  std::size_t Count(std::size_t most, const char* what) {
    const std::string_view word = Word();
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error != std::errc() || end != word.data() + word.size() || count > most) {
      Refuse("\"" + Shown(word) + "\" is not a possible number of " + what);
    }
    Skip(word.size());
    return count;
  }

  std::string_view Counted() {
    const std::size_t colon = text_.find(':', at_);
    std::size_t size = 0;
    const char* const digits_end = text_.data() + std::min(colon, text_.size());
    const auto [end, error] = std::from_chars(text_.data() + at_, digits_end, size);
    if (colon == std::string_view::npos || error != std::errc() || end != digits_end) {
      Refuse("a length and a colon are missing");
    }
    if (size > text_.size() - colon - 1)
      Refuse("the text ends before its length of " + std::to_string(size) + " bytes");
    at_ = colon + 1 + size;
    return text_.substr(colon + 1, size);
  }

  bool AtNull() const { return text_.substr(at_, 1) == kNull; }

 private:
  static std::string Named(std::string_view expected) {
    if (expected == "\n") return "the end of the line";
    if (expected == " ") return "a blank";
    return "\"" + std::string(expected) + "\"";
  }

  static std::string Shown(std::string_view text) {
    std::string shown(CutToCharacters(text, 40));
    std::replace(shown.begin(), shown.end(), '\n', ' ');
    return shown;
  }

  std::string Place() const {
    return field_ == nullptr ? where_
                             : "record " + std::to_string(record_) + ", field " + field_->name + ": ";
  }

  std::string_view text_;
  std::size_t at_ = 0;
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

Value ReadPlain(Reader& in, FieldKind kind) {
  const std::string_view word = in.Word();
  const auto given = [&](const auto& parsed) -> Value {
    if (!parsed) in.Refuse("\"" + std::string(word.substr(0, 40)) + "\" is not a date");
    return *parsed;
  };
  Value value;
  try {
    switch (kind) {
      case FieldKind::kInteger:
        value = ParseInteger(word);
        break;
      case FieldKind::kFloat:
        value = ParseNumber(word);
        break;
      case FieldKind::kCurrency:
        value = Currency::Parse(word);
        break;
      case FieldKind::kDate:
        value = given(ParseIsoDate(word));
        break;
      case FieldKind::kDateTime:
        value = given(ParseIsoDateTime(word));
        break;
      default:
        if (word != "true" && word != "false")
          in.Refuse("\"" + std::string(word.substr(0, 40)) + "\" is not true or false");
        value = word == "true";
    }
  } catch (const FormatError&) {
    throw;
  } catch (const Error& error) {
    in.Refuse(error.what());
  }
  in.Skip(word.size());
  return value;
}

}  // namespace

/// Reads and writes the text form over the cells of a set.
class RecordSetText {
 public:
  static std::string Write(const RecordSet& set) {
    std::string out;
    WriteHead(set, out);
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
    return out;
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
    } else if (RecordSet::HoldsText(set.KindOf(index))) {
      AppendCounted(out, TextArena::Get(cells[index]));
    } else {
      AppendPlain(out, set.ValueOf(cells, index));
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
    if (in.AtNull()) {
      in.Expect(kNull);
      return;
    }
    const FieldDef& field = set.Definition(index);
    if (RecordSet::HoldsText(field.kind)) {
      const std::string_view text = in.Counted();
      if (field.kind == FieldKind::kText && field.size > 0 && CountCharacters(text) > field.size) {
        in.Refuse("the text is longer than the field's " + std::to_string(field.size) + " characters");
      }
      cells[index] = set.texts_.Add(text);
    } else {
      cells[index] = PackNumber(field.kind, ReadPlain(in, field.kind));
    }
    set.MarkCell(cells, index, false);
  }
};

std::string RecordSet::SaveToString() const { return RecordSetText::Write(*this); }

void RecordSet::LoadFromString(std::string_view text) {
  if (state_ == DataSetState::kCalcFields) RequireBrowsable("load");
  RecordSet loaded;
  RecordSetText::Read(loaded, text);
  loaded.on_calc_fields_ = std::move(on_calc_fields_);
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

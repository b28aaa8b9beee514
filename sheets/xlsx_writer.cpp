#include "sheets/xlsx_writer.h"

#include <stdlib.h>
#include <xlsxwriter.h>

#include <algorithm>
#include <filesystem>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"
#include "sheets/merged_values.h"
#include "sheets/zip_package.h"

namespace mox {
namespace {

constexpr std::size_t kLongestText = 32'767;  // of a cell, in characters
constexpr std::size_t kLongestList = 200;     // of choices that stand in the column itself, in bytes
constexpr const char* kListSheet = "Popisi";
constexpr double kNarrowest = 9;
constexpr double kWidest = 40;

// Day 1 of the calendar since 1900 for dates after its 29 February.
constexpr std::int32_t kSerialZero = -25'569;
constexpr std::int32_t kFirstSafeDay = kSerialZero + 61;

// A folder for one file, which only its owner reads.
class ScratchFile {
 public:
  ScratchFile() {
    std::string folder = (std::filesystem::temp_directory_path() / "mox_sheet_XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) throw Error(folder + ": the folder cannot be made");
    folder_ = folder;
    path_ = (folder_ / "sheet.xlsx").string();
  }
  ~ScratchFile() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::filesystem::path folder_;
  std::string path_;
};

double WidthOf(const WrittenColumn& column) {
  const auto letters = static_cast<double>(CountCharacters(column.heading) + (column.required ? 2 : 0) + 2);
  return std::clamp(letters, kNarrowest, kWidest);
}

void Require(lxw_error error) {
  if (error != LXW_NO_ERROR) throw Error(std::string("the sheet cannot be written: ") + lxw_strerror(error));
}

}  // namespace

class XlsxWriter::Book {
 public:
  Book(const std::string& sheet, std::vector<WrittenColumn> columns, LocaleSettings locale, bool many_rows)
      : columns_(std::move(columns)), locale_(std::move(locale)) {
    lxw_workbook_options options{};
    options.constant_memory = many_rows ? LXW_TRUE : LXW_FALSE;
    book_ = workbook_new_opt(file_.Path().c_str(), &options);
    if (book_ == nullptr) throw Error("the sheet cannot be written");
    sheet_ = workbook_add_worksheet(book_, sheet.c_str());
    MakeFormats();
    for (std::size_t i = 0; i < columns_.size(); ++i) AddColumn(i);
    worksheet_freeze_panes(sheet_, 1, 0);
  }
  ~Book() {
    if (book_ != nullptr) lxw_workbook_free(book_);
  }
  Book(const Book&) = delete;
  Book& operator=(const Book&) = delete;

  void AddRow(std::span<const std::string_view> cells, std::span<const FaultyCell> faulty) {
    if (row_ >= kMostSheetRows) throw Error("there are more rows than a sheet has");
    for (std::size_t i = 0; i < std::min(cells.size(), columns_.size()); ++i) {
      const auto fault =
          std::find_if(faulty.begin(), faulty.end(), [&](const FaultyCell& f) { return f.column == i; });
      AddCell(i, cells[i], fault == faulty.end() ? nullptr : &*fault);
    }
    ++row_;
  }

  std::string Finish(const std::string& mark) {
    if (!mark.empty()) {
      std::string comments = mark;
      lxw_doc_properties properties{};
      properties.comments = comments.data();
      Require(workbook_set_properties(book_, &properties));
    }
    lxw_workbook* const book = book_;
    book_ = nullptr;
    Require(workbook_close(book));
    return ReadWholeFile(file_.Path());
  }

 private:
  struct Formats {
    lxw_format* plain;
    lxw_format* faulty;
  };

  static lxw_col_t Column(std::size_t index) { return static_cast<lxw_col_t>(index); }

  lxw_format* NewFormat(const std::string& number_format, bool faulty) {
    lxw_format* const format = workbook_add_format(book_);
    if (!number_format.empty()) format_set_num_format(format, number_format.c_str());
    if (faulty) format_set_bg_color(format, 0xFFC7CE);
    return format;
  }

  void MakeFormats() {
    std::string date = locale_.short_date;
    std::replace(date.begin(), date.end(), 'M', 'm');
    const std::string codes[] = {"@", "", date, date, ""};  // as the kinds of cells follow each other
    for (std::size_t i = 0; i < std::size(codes); ++i) {
      formats_[i] = {NewFormat(codes[i], false), NewFormat(codes[i], true)};
    }
    for (const bool required : {false, true}) {
      lxw_format* const format = workbook_add_format(book_);
      format_set_bold(format);
      format_set_bottom(format, LXW_BORDER_THIN);
      format_set_bg_color(format, required ? 0xFFE699 : 0xD9E1F2);
      heading_[required ? 1 : 0] = format;
    }
  }

  const Formats& FormatsOf(CellKind kind) const { return formats_[static_cast<std::size_t>(kind)]; }

  void AddColumn(std::size_t index) {
    WrittenColumn& column = columns_[index];
    Require(worksheet_set_column(sheet_, Column(index), Column(index), WidthOf(column),
                                 FormatsOf(column.kind).plain));
    const std::string heading = column.heading + (column.required ? " *" : "");
    Require(
        worksheet_write_string(sheet_, 0, Column(index), heading.c_str(), heading_[column.required ? 1 : 0]));
    if (!column.choices.empty()) AddChoices(index, column.choices);
  }

  // A short list stands in the column itself, a long one in a hidden sheet.
  void AddChoices(std::size_t index, std::vector<std::string>& choices) {
    std::size_t length = 0;
    bool plain = true;
    std::vector<char*> list;
    for (std::string& choice : choices) {
      length += choice.size() + 1;
      plain = plain && choice.find_first_of(",\"") == std::string::npos;
      list.push_back(choice.data());
    }
    list.push_back(nullptr);
    lxw_data_validation validation{};
    validation.error_type = LXW_VALIDATION_ERROR_TYPE_WARNING;
    std::string title = "Upozorenje";
    std::string message = "Vrijednosti nema na popisu.";
    validation.error_title = title.data();
    validation.error_message = message.data();
    std::string formula;
    if (length <= kLongestList && plain) {
      validation.validate = LXW_VALIDATION_TYPE_LIST;
      validation.value_list = list.data();
    } else {
      formula = WriteList(choices);
      validation.validate = LXW_VALIDATION_TYPE_LIST_FORMULA;
      validation.value_formula = formula.data();
    }
    const auto last = static_cast<lxw_row_t>(kMostSheetRows - 1);
    Require(worksheet_data_validation_range(sheet_, 1, Column(index), last, Column(index), &validation));
  }

  std::string WriteList(const std::vector<std::string>& choices) {
    if (lists_ == nullptr) {
      lists_ = workbook_add_worksheet(book_, kListSheet);
      worksheet_hide(lists_);
    }
    for (std::size_t i = 0; i < choices.size(); ++i) {
      Require(worksheet_write_string(lists_, static_cast<lxw_row_t>(i), Column(list_count_),
                                     choices[i].c_str(), nullptr));
    }
    std::string letters = CellName(list_count_++, 1);
    letters.pop_back();
    return std::string("=") + kListSheet + "!$" + letters + "$1:$" + letters + "$" +
           std::to_string(choices.size());
  }

  void AddCell(std::size_t index, std::string_view text, const FaultyCell* fault) {
    const Formats& formats = FormatsOf(columns_[index].kind);
    lxw_format* const format = fault != nullptr ? formats.faulty : formats.plain;
    const auto row = static_cast<lxw_row_t>(row_);
    const auto number = ParseLocaleNumber(text, locale_);
    if (fault != nullptr && fault->was_rounded && number) {
      Require(
          worksheet_write_number(sheet_, row, Column(index), *number, FormatsOf(CellKind::kNumber).faulty));
    } else if (text.empty()) {
      if (fault != nullptr) Require(worksheet_write_blank(sheet_, row, Column(index), format));
    } else if (!AddValue(row, index, text, format)) {
      const std::string cell(CutToCharacters(text, kLongestText));
      Require(worksheet_write_string(sheet_, row, Column(index), cell.c_str(), format));
    }
  }

  // False where the text is no value of the column's kind.
  bool AddValue(lxw_row_t row, std::size_t index, std::string_view text, lxw_format* format) {
    constexpr double kFirstRounded = 1e15;
    switch (columns_[index].kind) {
      case CellKind::kNumber: {
        const bool padded = text.size() > 1 && text[0] == '0' && text[1] >= '0' && text[1] <= '9';
        const auto number = ParseLocaleNumber(text, locale_);
        if (padded || !number || number.value() >= kFirstRounded || number.value() <= -kFirstRounded)
          return false;
        Require(worksheet_write_number(sheet_, row, Column(index), *number, format));
        return true;
      }
      case CellKind::kDate:
      case CellKind::kMoment: {
        const auto day = ParseLocaleDate(text, locale_);
        if (!day || day->days < kFirstSafeDay) return false;
        Require(worksheet_write_number(sheet_, row, Column(index), day->days - kSerialZero, format));
        return true;
      }
      case CellKind::kBoolean: {
        const bool is_true = SameName(text, "true");
        if (!is_true && !SameName(text, "false")) return false;
        Require(worksheet_write_boolean(sheet_, row, Column(index), is_true ? 1 : 0, format));
        return true;
      }
      default:
        return false;
    }
  }

  ScratchFile file_;
  std::vector<WrittenColumn> columns_;
  LocaleSettings locale_;
  lxw_workbook* book_ = nullptr;
  lxw_worksheet* sheet_ = nullptr;
  lxw_worksheet* lists_ = nullptr;
  std::size_t list_count_ = 0;
  Formats formats_[5] = {};
  lxw_format* heading_[2] = {};
  std::size_t row_ = 1;
};

XlsxWriter::XlsxWriter(const std::string& sheet, std::vector<WrittenColumn> columns, LocaleSettings locale,
                       bool many_rows)
    : book_(std::make_unique<Book>(sheet, std::move(columns), std::move(locale), many_rows)) {}

XlsxWriter::~XlsxWriter() = default;

void XlsxWriter::AddRow(std::span<const std::string_view> cells, std::span<const FaultyCell> faulty) {
  book_->AddRow(cells, faulty);
}

std::string XlsxWriter::Finish(const std::string& mark) { return book_->Finish(mark); }

// A spreadsheet program that saves a workbook keeps when it was created and sets when it was modified.
bool IsAsWritten(std::string_view bytes, std::string_view mark) {
  constexpr const char* kProperties = "docProps/core.xml";
  std::string properties;
  try {
    const ZipPackage package(bytes, "");
    if (!package.Has(kProperties)) return false;
    properties = package.Read(kProperties);
  } catch (const Error&) {
    return false;
  }
  const auto value = [&](std::string_view name) {
    const std::string end = "</" + std::string(name) + '>';
    const std::size_t begin = properties.find('<' + std::string(name));
    const std::size_t text = properties.find('>', std::min(begin, properties.size()));
    const std::size_t last = properties.find(end, std::min(text, properties.size()));
    return last == std::string::npos ? std::string() : properties.substr(text + 1, last - text - 1);
  };
  return value("dc:description") == mark && !value("dcterms:created").empty() &&
         value("dcterms:created") == value("dcterms:modified");
}

}  // namespace mox

#include "bench/print_benchmarks.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/plain_loop.h"
#include "cli/document_input.h"
#include "cli/text_table.h"
#include "mox/foundation/app.h"
#include "mox/host/company_parameters.h"
#include "mox/host/locale.h"
#include "mox/host/memory_settings.h"

namespace mox::bench {
namespace {

constexpr std::size_t kPrintedLines = 10'000;
constexpr int kPrints = 15;

// --- the file ---

constexpr std::string_view kRead[] = {"sifra", "naziv", "jm",   "kolicina", "pc",
                                      "rbp1",  "rbp2",  "rbp3", "tbr_stp",  "pov_nak"};

const Column& ColumnOf(std::string_view name) {
  for (const Column& column : Columns()) {
    if (column.name == name) return column;
  }
  throw std::runtime_error("the lines have no column " + std::string(name));
}

std::string MakeFile() {
  RecordSet lines("stavke");
  for (const std::string_view name : kRead) lines.DefineField(name, ColumnOf(name).Kind());
  lines.Open();
  for (const PlainLine& line : MakeLines(kPrintedLines)) {
    std::vector<Value> values;
    for (const std::string_view name : kRead) values.push_back(ColumnOf(name).ValueOf(line));
    lines.AppendRecord(values);
  }
  std::string file;
  WriteRecordSet(lines, file);
  return file;
}

// --- the document ---

std::string PrintDocument(const FileText& file) {
  DocumentInput input(DocumentKindByName("gotovinski-racun"), {file});
  std::string table;
  AppendTable(*input.document().Goods(), {.number_records = true, .hide_empty = true}, table);
  return table;
}

// --- the plain loop ---

// The cells of a file: up to a comma or the end of the line, quoted ones up to the quotation mark.
class PlainCells {
 public:
  explicit PlainCells(std::string_view text) : text_(text) {}

  bool AtEnd() const { return at_ == text_.size(); }
  void SkipLine() { at_ = text_.find('\n', at_) + 1; }
  std::string_view Next() {
    const bool quoted = text_[at_] == '"';
    const std::size_t begin = at_ + (quoted ? 1 : 0);
    std::size_t end = begin;
    while (quoted ? text_[end] != '"' : text_[end] != ',' && text_[end] != '\n') ++end;
    at_ = end + (quoted ? 2 : 1);
    return text_.substr(begin, end - begin);
  }
  double NextNumber() {
    const std::string_view cell = Next();
    double number = 0;
    std::from_chars(cell.data(), cell.data() + cell.size(), number);
    return number;
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

std::vector<PlainLine> ReadPlainly(std::string_view file) {
  std::vector<PlainLine> lines;
  PlainCells cells(file);
  for (cells.SkipLine(); !cells.AtEnd();) {
    PlainLine& line = lines.emplace_back();
    line.sifra = cells.Next();
    line.naziv = cells.Next();
    line.jm = cells.Next();
    line.kolicina = cells.NextNumber();
    line.pc = Currency::Parse(cells.Next());
    line.rbp1 = cells.NextNumber();
    line.rbp2 = cells.NextNumber();
    line.rbp3 = cells.NextNumber();
    line.tbr_stp = cells.NextNumber();
    line.pov_nak = Currency::Parse(cells.Next());
  }
  return lines;
}

// A column of the table: texts, or numbers in ten-thousandths.
struct PlainColumn {
  std::string_view heading;
  std::vector<std::string_view> texts;
  std::vector<std::int64_t> numbers;
  int decimals = 0;  // of the number that has most
  bool grouped = true;
  std::size_t width = 0;
};

std::size_t CharactersIn(std::string_view text) {
  std::size_t count = 0;
  for (const char c : text) count += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
  return count;
}

int DecimalsIn(std::int64_t scaled) {
  int decimals = 4;
  for (; decimals > 0 && scaled % 10 == 0; --decimals) scaled /= 10;
  return decimals;
}

// "-1.234,50" at the end of the room; answers where it begins.
char* WriteNumber(std::int64_t scaled, int decimals, bool grouped, char* end) {
  std::int64_t rest = std::abs(scaled);
  for (int i = 4; i > decimals; --i) rest /= 10;
  for (int i = 0; i < decimals; ++i, rest /= 10) *--end = static_cast<char>('0' + rest % 10);
  if (decimals > 0) *--end = ',';
  int digits = 0;
  do {
    if (grouped && digits > 0 && digits % 3 == 0) *--end = '.';
    *--end = static_cast<char>('0' + rest % 10);
    ++digits;
    rest /= 10;
  } while (rest > 0);
  if (scaled < 0) *--end = '-';
  return end;
}

PlainColumn ReadColumn(const Column& column, const std::vector<PlainLine>& lines) {
  PlainColumn read{.heading = column.name, .texts = {}, .numbers = {}};
  std::visit(
      [&](auto member) {
        for (const PlainLine& line : lines) {
          const auto& value = line.*member;
          if constexpr (requires { value.view(); }) {
            read.texts.push_back(value.view());
            read.width = std::max(read.width, CharactersIn(value.view()));
          } else if constexpr (requires { value.scaled(); }) {
            read.numbers.push_back(value.scaled());
          } else {
            read.numbers.push_back(std::llround(static_cast<double>(value) * 10'000));
          }
        }
      },
      column.member);
  read.decimals = column.Kind() == FieldKind::kCurrency ? 2 : 0;
  read.grouped = column.Kind() != FieldKind::kInteger;
  for (const std::int64_t number : read.numbers) read.decimals = std::max(read.decimals, DecimalsIn(number));
  char room[40];
  for (const std::int64_t number : read.numbers) {
    const char* const begin = WriteNumber(number, read.decimals, read.grouped, room + sizeof room);
    read.width = std::max(read.width, static_cast<std::size_t>(room + sizeof room - begin));
  }
  read.width = std::max(read.width, read.heading.size());
  return read;
}

bool IsWorthPrinting(const PlainColumn& column) {
  return !column.texts.empty() || std::any_of(column.numbers.begin(), column.numbers.end(),
                                              [](std::int64_t number) { return number != 0; });
}

void AppendCell(std::string_view text, std::size_t width, bool to_the_right, std::string& out) {
  const std::size_t blanks = width - CharactersIn(text);
  if (to_the_right) out.append(blanks, ' ');
  out.append(text);
  if (!to_the_right) out.append(blanks, ' ');
}

void AppendPlainBlock(const std::vector<const PlainColumn*>& block, std::size_t rows, std::string& out) {
  const auto append_line = [&](const auto& append_cell) {
    for (const PlainColumn* const column : block) {
      if (column != block.front()) out.append("  ");
      append_cell(*column);
    }
    out.erase(out.find_last_not_of(' ') + 1);
    out += '\n';
  };
  append_line([&](const PlainColumn& column) {
    AppendCell(column.heading, column.width, column.texts.empty(), out);
  });
  append_line([&](const PlainColumn& column) { out.append(column.width, '-'); });
  for (std::size_t row = 0; row < rows; ++row) {
    append_line([&](const PlainColumn& column) {
      if (!column.texts.empty()) return AppendCell(column.texts[row], column.width, false, out);
      char room[40];
      char* const end = room + sizeof room;
      const char* const begin = WriteNumber(column.numbers[row], column.decimals, column.grouped, end);
      AppendCell({begin, static_cast<std::size_t>(end - begin)}, column.width, true, out);
    });
  }
}

constexpr std::string_view kPrinted[] = {"sifra",    "naziv", "jm",         "kolicina", "pc",  "rbp1",
                                         "rbp2",     "rbp3",  "tbr_stp",    "pov_nak",  "pci", "rbi1",
                                         "rbi2",     "rbi3",  "rabatIznos", "pov_naki", "mpc", "mpci",
                                         "osnovica", "pdvi",  "ukupno"};

std::string PrintPlainly(std::string_view file) {
  constexpr std::size_t kWidth = 120;
  std::vector<PlainLine> lines = ReadPlainly(file);
  CalculatePlainly(lines, {});
  benchmark::DoNotOptimize(RecapitulatePlainly(lines, {}));
  std::vector<PlainColumn> columns;
  for (std::size_t i = 0; i < lines.size(); ++i) lines[i].id = static_cast<std::int64_t>(i) + 1;
  columns.push_back(ReadColumn(ColumnOf("id"), lines));
  columns.front().heading = "rb";
  for (const std::string_view name : kPrinted) {
    columns.push_back(ReadColumn(ColumnOf(name), lines));
    if (!IsWorthPrinting(columns.back())) columns.pop_back();
  }
  std::string table;
  std::vector<const PlainColumn*> block;
  std::size_t width = 0;
  for (const PlainColumn& column : columns) {
    if (block.size() > 1 && width + column.width > kWidth) {
      AppendPlainBlock(block, lines.size(), table);
      table += '\n';
      block = {&columns.front()};
      width = columns.front().width + 2;
    }
    block.push_back(&column);
    width += column.width + 2;
  }
  AppendPlainBlock(block, lines.size(), table);
  return table;
}

// What a document asks of its application.
struct PrintHost {
  MemorySettings settings;
  CompanyParameterModule parameters;
  StandardLocale locale;
  AppParts Parts() { return {.ini = &settings, .comunication = &parameters, .locale = &locale}; }
};

void RequireSame(const std::string& printed, const std::string& plain) {
  if (printed == plain) return;
  const auto at = std::mismatch(printed.begin(), printed.end(), plain.begin(), plain.end()).first;
  const auto place = static_cast<std::size_t>(at - printed.begin());
  const std::size_t begin = place < 60 ? 0 : place - 60;
  throw std::runtime_error("the printed tables differ: \"" + printed.substr(begin, 90) + "\" and \"" +
                           plain.substr(begin, 90) + '"');
}

}  // namespace

void RegisterPrintBenchmarks() {
  const auto file = std::make_shared<const FileText>(FileText{"stavke.csv", MakeFile()});
  const auto host = std::make_shared<PrintHost>();
  {
    const ScopedApp app(host->Parts());
    RequireSame(PrintDocument(*file), PrintPlainly(file->bytes));
  }
  const auto add = [](const char* name, auto print) {
    benchmark::RegisterBenchmark(
        name,
        [print](benchmark::State& state) {
          for (auto _ : state) benchmark::DoNotOptimize(print());
          state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPrintedLines));
        })
        ->Iterations(1)
        ->Repetitions(kPrints);
  };
  add("print/document", [file, host] {
    const ScopedApp app(host->Parts());
    return PrintDocument(*file);
  });
  add("print/plain_loop", [file] { return PrintPlainly(file->bytes); });
}

void PrintPrintRatios(const Measurements& measurements) {
  measurements.PrintRatio({"print_document", "print/document", "print/plain_loop"});
}

}  // namespace mox::bench

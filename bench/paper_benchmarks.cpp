#include "bench/paper_benchmarks.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "appserver/company_server.h"
#include "mox/documents/document.h"
#include "mox/host/memory_settings.h"
#include "paper/a4_layout.h"
#include "paper/page.h"
#include "paper/pdf.h"
#include "paper/text_painter.h"

namespace mox::bench {
namespace {

constexpr const char* kPage = "paper/page";
constexpr const char* kLong = "paper/long";
constexpr const char* kPeer = "paper/weasyprint";
constexpr const char* kPython = "/usr/bin/python3 ";  // the one that finds Debian's packages
constexpr int kLinesOfSheet = 30;
constexpr int kLinesOfLong = 5000;
constexpr int kRepetitions = 3;

// A company with an invoice of so many lines.
class PrintedInvoice {
 public:
  explicit PrintedInvoice(int lines) {
    for (const auto& [name, value] : {std::pair("NazivPoduzeca", "Žito i sinovi d.o.o."),
                                      {"OIBPoduzeca", "12345678903"},
                                      {"AdresaPoduzeca", "Ilica 10"},
                                      {"MjestoPoduzeca", "10000 Zagreb"}}) {
      StoreCompanyValue(server_.database(), name, value);
    }
    Document invoice("racun-usluga");
    invoice.SetHeader("datum", *MakeDate(2026, 3, 2));
    RecordSet& services = *invoice.Services();
    for (int i = 1; i <= lines; ++i) {
      services.Append();
      services.FieldByName("naziv").SetText("Čišćenje i održavanje " + std::to_string(i));
      services.FieldByName("kolicina").SetFloat(i % 7 + 1);
      services.FieldByName("pc").SetFloat(i % 97 + 0.55);
      services.FieldByName("tbr_stp").SetFloat(i % 3 == 0 ? 13 : 25);
      services.Post();
    }
    if (!invoice.Store()) throw std::runtime_error("the invoice is not stored: " + server_.WriteRefusal());
    id_ = server_.LastWrite().stored.value().RowAt(0).AsInteger(0);
  }

  DocumentPage Page() { return MakePage(id_, paper_); }
  std::string Pdf() {
    const DocumentPage page = Page();
    PdfFile file("DejaVu Sans", page.date);
    file.Add(LayOutA4(page, paper_, painter_, CurrentLocale()));
    return file.Finish();
  }

 private:
  CompanyServer server_{Database::InMemory()};
  MemorySettings settings_;
  ScopedApp app_{{.ini = &settings_, .comunication = &server_}};
  PaperTemplate paper_;
  TextPainter painter_{"DejaVu Sans"};
  std::int64_t id_ = 0;
};

// The same texts, as whoever has no other tool would print them.
std::string HtmlOf(const DocumentPage& page) {
  std::string html =
      "<html lang=hr><meta charset=utf-8><style>@page{size:A4;margin:15mm}body{font:8.5pt 'DejaVu Sans'}"
      "table{width:100%;border-collapse:collapse}</style>";
  html += "<h2>" + page.seller.name + "</h2>";
  for (const std::string& line : page.seller.lines) html += "<div>" + line + "</div>";
  html += "<h1>" + page.title + " " + page.number + "</h1>";
  for (const PageFact& fact : page.facts) html += "<div>" + fact.label + ": <b>" + fact.text + "</b></div>";
  for (const PageTable& table : page.tables) {
    html += "<table><thead><tr>";
    for (const PageTable::Column& column : table.columns) html += "<th>" + column.heading + "</th>";
    html += "</tr></thead>";
    for (const PageTable::Row& row : table.rows) {
      html += "<tr>";
      for (const std::string& cell : row.cells) html += "<td>" + cell + "</td>";
      html += "</tr>";
    }
    html += "</table>";
  }
  for (const PageSum& sum : page.sums) html += "<div>" + sum.label + " " + sum.amount + "</div>";
  return html + "</html>";
}

double AskPeer(const std::string& html) {
  const auto path =
      std::filesystem::temp_directory_path() / ("mox_bench_" + std::to_string(::getpid()) + ".html");
  std::ofstream(path) << html;
  const std::string command =
      kPython + std::string(MOX_SOURCE_DIR "/bench/weasyprint_peer.py '") + path.string() + "'";
  std::FILE* const pipe = ::popen(command.c_str(), "r");
  double seconds = 0;
  std::size_t bytes = 0;
  const bool read = pipe != nullptr && std::fscanf(pipe, "%lf %zu", &seconds, &bytes) == 2;
  const bool ended = pipe != nullptr && ::pclose(pipe) == 0;
  std::filesystem::remove(path);
  if (!read || !ended || bytes == 0) throw std::runtime_error("no answer from " + command);
  return seconds;
}

void RegisterPrinting(const char* name, int lines) {
  benchmark::RegisterBenchmark(name, [lines](benchmark::State& state) {
    PrintedInvoice invoice(lines);
    for (auto _ : state) benchmark::DoNotOptimize(invoice.Pdf());
    state.SetItemsProcessed(state.iterations());
  })->Repetitions(kRepetitions);
}

}  // namespace

void RegisterPaperBenchmarks() {
  RegisterPrinting(kPage, kLinesOfSheet);
  RegisterPrinting(kLong, kLinesOfLong);
  if (std::system((kPython + std::string("-c 'import weasyprint' 2>/dev/null")).c_str()) != 0) {
    std::printf("weasyprint is not installed and not compared\n");
    return;
  }
  benchmark::RegisterBenchmark(kPeer,
                               [](benchmark::State& state) {
                                 PrintedInvoice invoice(kLinesOfSheet);
                                 const std::string html = HtmlOf(invoice.Page());
                                 for (auto _ : state) state.SetIterationTime(AskPeer(html));
                                 state.SetItemsProcessed(state.iterations());
                               })
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(kRepetitions);
}

void PrintPaperRatios(const Measurements& measurements) {
  measurements.PrintRatio({"print_pages", kPeer, kPage});
  if (const auto nanoseconds = measurements.Fastest(kPage)) {
    std::printf("ratio print_pages_a_second %.0f\n", 1e9 / *nanoseconds);
  }
  if (const auto nanoseconds = measurements.Fastest(kLong)) {
    PrintedInvoice invoice(kLinesOfLong);
    const double bytes = MemoryTaken([&invoice] { benchmark::DoNotOptimize(invoice.Pdf()); });
    std::printf("ratio print_5000_lines_seconds %.2f\nratio print_5000_lines_mb %.0f\n", *nanoseconds / 1e9,
                bytes / 1e6);
  }
}

}  // namespace mox::bench

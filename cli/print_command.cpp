#include <algorithm>
#include <filesystem>
#include <memory>
#include <ostream>
#include <system_error>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/print_template.h"
#include "cli/progress_bar.h"
#include "cli/service_request.h"
#include "mox/foundation/visible_text.h"
#include "mox/host/system_platform.h"
#include "mox/server/read_services.h"
#include "paper/a4_layout.h"
#include "paper/esc_pos.h"
#include "paper/page.h"
#include "paper/pdf.h"
#include "paper/slip.h"
#include "paper/text_page.h"
#include "paper/text_painter.h"
#include "symbols/code_picture.h"

namespace mox {
namespace {

constexpr OutputKind kPng = {"a PNG picture",
                             [](std::string_view file) { return file.starts_with("\x89PNG"); }};

struct PrintArguments {
  std::string document;
  bool text = false;
  std::string pdf;
  std::string slip;
  std::string code;
  std::string width;
  bool open = false;
  std::string template_file;
  bool show_template = false;
  std::string from;
  std::string to;
  std::string kind;
};

// What is printed, one document after the other: its page is made, checked and warned of when its turn comes.
class Pages {
 public:
  Pages(std::vector<std::int64_t> ids, const PaperTemplate& paper, Session& session)
      : ids_(std::move(ids)), paper_(paper), session_(session), bar_(session.err) {}

  std::size_t Count() const { return ids_.size(); }
  void Tell(const DocumentPage& page, const std::vector<std::string>& warnings) {
    for (const std::string& warning : warnings) Tell(page.id, warning);
  }
  /// Calls `print` with each page.
  template <typename Print>
  void Each(Print print) {
    for (std::size_t i = 0; i < ids_.size(); ++i) PrintOne(i, print);
    bar_.Clear();
  }
  /// The same where each page is for itself: one that cannot be printed is told, and the others are printed.
  template <typename Print>
  void EachByItself(Print print) {
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      try {
        PrintOne(i, print);
      } catch (const Error& error) {
        session_.valid = false;
        Tell(ids_[i], std::string("is not printed: ") + error.what());
      }
    }
    bar_.Clear();
  }

 private:
  template <typename Print>
  void PrintOne(std::size_t i, Print print) {
    bar_.Show("Ispis", static_cast<std::int64_t>(i), static_cast<std::int64_t>(ids_.size()));
    const DocumentPage page = MakePage(ids_[i], paper_);
    print(page);
    Tell(page, page.warnings);
  }
  void Tell(std::int64_t id, const std::string& message) {
    bar_.Clear();
    session_.err << "mox: document " << id << ": " << VisibleMessage(message) << std::endl;
  }

  std::vector<std::int64_t> ids_;
  const PaperTemplate& paper_;
  Session& session_;
  ProgressBar bar_;
};

// The documents of a period, by their dates; of one kind where it is named.
std::vector<std::int64_t> DocumentsOf(const PrintArguments& arguments) {
  TAstaParamList request;
  const auto day = [](const char* option, const std::string& text) {
    if (const auto date = ParseIsoDate(text)) return *date;
    throw UsageError(std::string(option) + ": \"" + text + "\" is not a date like 2024-03-01");
  };
  const Date from = day("--from", arguments.from);
  const Date to = arguments.to.empty() ? from : day("--to", arguments.to);
  if (to < from) throw UsageError("--to is before --from");
  request.FastAdd("od", from);
  request.FastAdd("do", to);
  if (!arguments.kind.empty()) request.FastAdd("vrsta", std::string(DocumentKindByName(arguments.kind).name));
  const auto documents = CreateDBDataSet("Dokumenti", "adsList", request);
  std::vector<std::int64_t> ids;
  if (documents) {
    for (const RecordRow& row : documents->Rows()) ids.push_back(row.AsInteger(row.IndexOf("id")));
  }
  return ids;
}

std::vector<std::int64_t> AskedFor(const PrintArguments& arguments) {
  if (arguments.document.empty() == arguments.from.empty()) {
    throw UsageError("either ID or --from DATE says what is printed");
  }
  if (arguments.from.empty()) {
    if (!arguments.to.empty() || !arguments.kind.empty()) throw UsageError("--to and --kind need --from");
    return {IntegerArgument("ID", arguments.document)};
  }
  std::vector<std::int64_t> ids = DocumentsOf(arguments);
  if (ids.empty()) throw Error("there are no such documents");
  return ids;
}

void PrintText(Pages& pages, Session& session) {
  pages.Each([&](const DocumentPage& page) {
    if (!session.out.empty()) session.out += "\f";
    session.out += TextPage(page, CurrentLocale());
  });
}

// The user's own program shows the file.
void Show(const std::string& path) {
  constexpr std::string_view kProgram = "xdg-open";
  if (SystemPlatform().StartHidden(kProgram, " \"" + std::filesystem::absolute(path).string() + '"') ==
      nullptr) {
    throw Error(path + " is printed, and there is no program (xdg-open) that shows it");
  }
}

// A path of files, one for each document: of a folder that there is, or that is to be made.
bool IsFolder(const std::string& path) {
  std::error_code none;
  return path.ends_with('/') || std::filesystem::is_directory(path, none);
}

void RequireFolder(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) return;
  if (std::filesystem::exists(path.substr(0, path.find_last_not_of('/') + 1), error)) {
    throw Error(path + ": is a file and no folder");
  }
  std::filesystem::create_directories(path, error);
  if (error) throw Error(path + ": the folder cannot be made: " + error.message());
}

void PrintPdf(Pages& pages, const PaperTemplate& paper, const std::string& path, bool open,
              Session& session) {
  const std::string& font = paper.Text("stranica", "font");
  TextPainter painter(font);
  const bool is_folder = IsFolder(path);
  if (!is_folder) session.files.Require(path, kPdfOutput);
  if (is_folder) RequireFolder(path);
  std::unique_ptr<PdfFile> all;
  std::string shown = path;
  const auto print = [&](const DocumentPage& page) {
    const LaidDocument laid = LayOutA4(page, paper, painter, CurrentLocale());
    if (all == nullptr || is_folder) all = std::make_unique<PdfFile>(font, page.date);
    all->Add(laid);
    if (!is_folder) return;
    shown = (std::filesystem::path(path) / FileNameOf(page)).string();
    session.files.Write(shown, all->Finish(), kPdfOutput);
    session.out += shown + "\n";
  };
  if (is_folder) {
    pages.EachByItself(print);
  } else {
    pages.Each(print);
  }
  if (!is_folder) {
    session.files.Write(path, all->Finish(), kPdfOutput);
    session.out += path + "\n";
  }
  if (open && session.valid) Show(shown);
}

SlipPaper WidthOf(const std::string& width) {
  if (width.empty() || width == "80") return SlipPaper::k80mm;
  if (width == "58") return SlipPaper::k58mm;
  throw UsageError("--width: \"" + width + "\" is neither 80 nor 58");
}

void PrintSlips(Pages& pages, const PaperTemplate& paper, const std::string& device, SlipPaper width,
                Session& session) {
  TextPainter painter(paper.Text("isjecak", "font"));
  const SlipSettings settings{paper.IsYes("isjecak", "rez"), paper.IsYes("isjecak", "ladica")};
  session.files.Require(device, kSlipOutput);
  std::string bytes;
  pages.Each([&](const DocumentPage& page) {
    const LaidDocument laid = LayOutSlip(page, paper, painter, width);
    bytes += EscPos(laid, painter, settings);
    pages.Tell(page, laid.left_out);
  });
  session.files.Write(device, bytes, kSlipOutput);
}

void PrintCode(Pages& pages, const std::string& path, Session& session) {
  session.files.Require(path, kPng);
  pages.Each([&](const DocumentPage& page) {
    if (page.payment_code.empty()) {
      const auto why =
          std::find_if(page.warnings.begin(), page.warnings.end(),
                       [](const std::string& warning) { return warning.starts_with(kNoPaymentCode); });
      throw Error("document " + std::to_string(page.id) + " has " +
                  (why == page.warnings.end() ? "no payment code" : *why));
    }
    constexpr int kDots = 4;
    const DotPicture drawn =
        DrawCode(CodeKind::kPdf417, MakeCode(CodeKind::kPdf417, page.payment_code), kDots);
    Picture picture{drawn.width, drawn.height, {}};
    for (const std::uint8_t dot : drawn.dots)
      picture.pixels.insert(picture.pixels.end(), {dot, dot, dot, 0xFF});
    session.files.Write(path, EncodePng(picture), kPng);
  });
  session.out += path + "\n";
}

void RunPrint(const PrintArguments& arguments, Session& session) {
  if (arguments.show_template) {
    session.out += PaperTemplate::DefaultText();
    return;
  }
  const int ways = (arguments.text ? 1 : 0) + (arguments.pdf.empty() ? 0 : 1) +
                   (arguments.slip.empty() ? 0 : 1) + (arguments.code.empty() ? 0 : 1);
  if (ways != 1)
    throw UsageError("one of --pdf FILE, --slip DEVICE, --code FILE and --text says how it is printed");
  if (!arguments.code.empty() && arguments.document.empty()) throw UsageError("--code needs ID");
  if (arguments.open && arguments.pdf.empty()) throw UsageError("--open needs --pdf");
  if (!arguments.width.empty() && arguments.slip.empty()) throw UsageError("--width needs --slip");
  const SlipPaper width = WidthOf(arguments.width);
  ServerOf(session);
  const PaperTemplate paper = TemplateOf(arguments.template_file);
  Pages pages(AskedFor(arguments), paper, session);
  if (arguments.open && pages.Count() > 1 && IsFolder(arguments.pdf)) {
    throw UsageError("--open shows one file");
  }
  if (arguments.text) return PrintText(pages, session);
  if (!arguments.code.empty()) return PrintCode(pages, arguments.code, session);
  if (!arguments.slip.empty()) return PrintSlips(pages, paper, arguments.slip, width, session);
  PrintPdf(pages, paper, arguments.pdf, arguments.open, session);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<PrintArguments>();
  options.Argument("ID", arguments->document, "the stored document's id");
  options.Value("--pdf", arguments->pdf, "FILE",
                "a PDF file, all documents in one; of a folder (FOLDER/) one file each");
  options.Value("--slip", arguments->slip, "DEVICE",
                "a slip (ESC/POS) to a printer's device, such as /dev/usb/lp0, or a file");
  options.Value("--code", arguments->code, "FILE",
                "the two-dimensional code of its payment slip alone, as a PNG picture");
  options.Flag("--text", arguments->text, "plain text to standard output");
  options.Value("--width", arguments->width, "MM", "the paper of slips, 80 or 58; 80 where it is left out");
  options.Flag("--open", arguments->open, "show the PDF file with the user's own program");
  options.Value("--from", arguments->from, "DATE", "instead of ID: the documents of that day, or from it on");
  options.Value("--to", arguments->to, "DATE",
                "up to that day; of the day of --from alone where it is left out");
  options.Value("--kind", arguments->kind, "KIND", "of them those of one kind");
  options.Value("--template", arguments->template_file, "FILE",
                "what the company says on its paper: texts, columns, logo; the setting\n"
                "PREDLOZAK names one that always holds");
  options.Flag("--show-template", arguments->show_template,
               "print the template that holds without a file, to begin one's own with");
  options.Run([arguments](Session& session) { RunPrint(*arguments, session); });
}

}  // namespace

const Command kPrintCommand = {
    "print",
    "ID | --from DATE [--to DATE] [--kind KIND] --pdf FILE [--open] | --slip DEVICE | --code FILE "
    "| --text --db DB",
    "Print the page of a stored document.",
    R"(Examples:
  mox print 3 --pdf racun.pdf --open --db tvrtka.db
  mox print --from 2026-03-01 --to 2026-03-31 --kind otpremnica-racun --pdf racuni/ --db tvrtka.db
  mox print 3 --slip /dev/usb/lp0 --width 58 --db tvrtka.db
  mox print 3 --text --db tvrtka.db
  mox print --show-template > predlozak.txt

The paths of PDF files are printed. Before anything goes out the page is read back: its lines add up to its sums, and these are the document's.)",
    Declare};

}  // namespace mox

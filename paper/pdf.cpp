#include "paper/pdf.h"

#include <cairo-pdf.h>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "paper/text_painter.h"

namespace mox {
namespace {

cairo_status_t Append(void* bytes, const unsigned char* data, unsigned int size) {
  try {
    static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), size);
  } catch (const std::bad_alloc&) {
    return CAIRO_STATUS_NO_MEMORY;
  }
  return CAIRO_STATUS_SUCCESS;
}

void Require(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS)
    throw Error(std::string("the page cannot be drawn: ") + cairo_status_to_string(status));
}

// What stands behind a key of the last trailer, up to a blank or a line break.
std::string NumberBehind(const std::string& pdf, std::string_view key, std::size_t from) {
  const std::size_t at = pdf.find(key, from);
  if (at == std::string::npos) throw Error("the page has no " + std::string(key));
  const std::size_t begin = pdf.find_first_of("0123456789", at + key.size());
  return pdf.substr(begin, pdf.find_first_not_of("0123456789", begin) - begin);
}

// The catalogue once more with the language, behind what stands there, as the form of the file allows it: the
// library that draws has no word for it.
void SayLanguage(std::string& pdf) {
  const std::size_t trailer = pdf.rfind("trailer");
  if (trailer == std::string::npos) throw Error("the page has no trailer");
  const std::string root = NumberBehind(pdf, "/Root", trailer);
  const std::string info = NumberBehind(pdf, "/Info", trailer);
  const std::string size = NumberBehind(pdf, "/Size", trailer);
  const std::string before = NumberBehind(pdf, "startxref", trailer);
  const std::string head = "\n" + root + " 0 obj\n<<";
  const std::size_t begin = pdf.rfind(head);
  const std::size_t end = begin == std::string::npos ? begin : pdf.find("endobj", begin);
  if (end == std::string::npos) throw Error("the page has no catalogue");
  const std::string catalogue = pdf.substr(begin + head.size(), end - begin - head.size());
  if (!pdf.ends_with('\n')) pdf += '\n';
  const std::size_t place = pdf.size();
  pdf +=
      root +
      " 0 obj\n<< /Lang (hr-HR) /MarkInfo << /Marked true >> /ViewerPreferences << /DisplayDocTitle true >>" +
      catalogue + "endobj\n";
  const std::size_t table = pdf.size();
  const std::string offset = std::to_string(place);
  pdf += "xref\n" + root + " 1\n" + std::string(10 - offset.size(), '0') + offset + " 00000 n \n";
  pdf += "trailer\n<< /Size " + size + " /Root " + root + " 0 R /Info " + info + " 0 R /Prev " + before +
         " >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n";
}

}  // namespace

struct PdfFile::Impl {
  explicit Impl(const std::string& font) : painter(font) {}
  ~Impl() {
    if (cairo != nullptr) cairo_destroy(cairo);
    if (surface != nullptr) {
      cairo_surface_finish(surface);
      cairo_surface_destroy(surface);
    }
  }

  TextPainter painter;
  std::string bytes;
  std::string day;
  cairo_surface_t* surface = nullptr;
  cairo_t* cairo = nullptr;
};

PdfFile::PdfFile(const std::string& font, Date day) : impl_(std::make_unique<Impl>(font)) {
  impl_->day = FormatIsoDate(day) + "T00:00:00Z";
}

PdfFile::~PdfFile() = default;

void PdfFile::Add(const LaidDocument& document) {
  Impl& file = *impl_;
  if (file.surface == nullptr) {
    file.surface = cairo_pdf_surface_create_for_stream(Append, &file.bytes, document.width * document.unit,
                                                       document.height * document.unit);
    cairo_pdf_surface_restrict_to_version(file.surface, CAIRO_PDF_VERSION_1_5);
    const auto say = [&](cairo_pdf_metadata_t what, const std::string& text) {
      cairo_pdf_surface_set_metadata(file.surface, what, text.c_str());
    };
    say(CAIRO_PDF_METADATA_TITLE, document.title);
    say(CAIRO_PDF_METADATA_AUTHOR, document.author);
    say(CAIRO_PDF_METADATA_CREATOR, "mox");
    say(CAIRO_PDF_METADATA_CREATE_DATE, file.day);
    file.cairo = cairo_create(file.surface);
  }
  cairo_pdf_surface_set_size(file.surface, document.width * document.unit, document.height * document.unit);
  cairo_save(file.cairo);
  cairo_scale(file.cairo, document.unit, document.unit);
  for (const LaidSheet& sheet : document.sheets) {
    // The library takes no tag that goes on over sheets.
    cairo_tag_begin(file.cairo, "Document", nullptr);
    DrawSheet(file.cairo, sheet, file.painter);
    cairo_tag_end(file.cairo, "Document");
    cairo_show_page(file.cairo);
  }
  cairo_restore(file.cairo);
  Require(cairo_status(file.cairo));
}

std::string PdfFile::Finish() {
  Impl& file = *impl_;
  if (file.surface == nullptr) throw Error("there is nothing to print");
  cairo_destroy(file.cairo);
  file.cairo = nullptr;
  cairo_surface_finish(file.surface);
  Require(cairo_surface_status(file.surface));
  SayLanguage(file.bytes);
  return std::move(file.bytes);
}

}  // namespace mox

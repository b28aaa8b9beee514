#pragma once

#include <memory>
#include <string>

#include "mox/foundation/dates.h"
#include "mox/foundation/output_file.h"
#include "paper/layout.h"

namespace mox {

inline constexpr OutputKind kPdfOutput = {"a PDF file",
                                          [](std::string_view file) { return file.starts_with("%PDF-"); }};

/// Makes one PDF file of any number of documents. The fonts are embedded, title and language said; the same
/// documents of the same day make the same bytes.
class PdfFile {
 public:
  /// `font` is the family of the texts, `day` what the file says of when it was made.
  PdfFile(const std::string& font, Date day);
  ~PdfFile();
  PdfFile(const PdfFile&) = delete;
  PdfFile& operator=(const PdfFile&) = delete;

  /// The title of the file is that of its first document.
  void Add(const LaidDocument& document);
  /// The bytes; nothing can be added afterwards. Raises Error where there is no sheet.
  std::string Finish();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace mox

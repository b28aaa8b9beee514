#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/documents/document_kinds.h"
#include "paper/page_columns.h"

namespace mox {

/// What a company says and shows on its paper: titles, columns, notes, its logo, slips and mails. A template
/// is a text of sections and NAME = VALUE lines (docs/PAPER.md) and begins with all that DefaultText() says.
class PaperTemplate {
 public:
  /// The template that holds where a company has none, as a company may change it.
  static std::string_view DefaultText();

  PaperTemplate();
  /// Raises Error "FILE:LINE: ..." for a section, name, column, placeholder or value that there is not.
  /// Paths in it are those of the folder of `file`.
  PaperTemplate(std::string_view text, const std::string& file);

  /// A text, with line breaks for "\n"; empty where the template says nothing.
  const std::string& Text(std::string_view section, std::string_view name) const;
  double Number(std::string_view section, std::string_view name) const;
  bool IsYes(std::string_view section, std::string_view name) const;

  std::string TitleOf(const DocumentKind& kind) const;
  /// Of goods or of services, by the kind whose columns the lines have.
  std::vector<const PageColumn*> ColumnsOf(const DocumentKind& kind, bool services) const;
  std::string HeadingOf(const PageColumn& column) const;
  /// Those of its kind, of invoices and of all documents; of one that carries no tax also those for it.
  std::vector<std::string> NotesOf(const DocumentKind& kind, bool taxed) const;
  /// The path of the picture; empty where there is none.
  const std::string& Logo() const { return logo_; }

 private:
  void Read(std::string_view text, const std::string& file);

  std::map<std::string, std::string, std::less<>> values_;  // by "section.name"
  std::string logo_;
};

/// The template that the setting PREDLOZAK names, or the one that holds without. Raises Error as the
/// constructor, and for a file that cannot be read.
PaperTemplate InstalledTemplate();

/// What a placeholder stands for, by its name: {broj}.
using Placeholders = std::map<std::string, std::string, std::less<>>;
/// The names that texts of templates may hold.
std::span<const std::string_view> PlaceholderNames();
/// The text with its placeholders replaced.
std::string Filled(std::string_view text, const Placeholders& values);

}  // namespace mox

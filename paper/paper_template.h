#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/documents/document_kinds.h"
#include "paper/page_columns.h"
#include "paper/picture.h"

namespace mox {

/// What a company says and shows on its paper: titles, columns, notes, its logo, slips and mails. A template
/// is a text of sections and NAME = VALUE lines (docs/PAPER.md) and begins with all that DefaultText() says.
class PaperTemplate {
 public:
  /// The template that holds where a company has none, as a company may change it.
  static std::string_view DefaultText();

  PaperTemplate();
  /// Raises Error "FILE:LINE: ..." for a section, name, column, placeholder or value that there is not, for a
  /// font that is not installed and for a logo that cannot be shown. Paths in it are those of the folder of
  /// `file`.
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
  /// The picture; null where there is none.
  const std::shared_ptr<const Picture>& Logo() const { return logo_; }

  /// What it was made of: its text and its file, the latter empty for the one that holds without.
  const std::string& Source() const { return source_; }
  const std::string& File() const { return file_; }

 private:
  void Read(std::string_view text, const std::string& file);

  std::map<std::string, std::string, std::less<>> values_;  // by "section.name"
  std::shared_ptr<const Picture> logo_;
  std::string source_;
  std::string file_;
};

/// The template of a file. Raises Error as the constructor, and for a file that cannot be read.
PaperTemplate TemplateOfFile(const std::string& file);
/// The one that the setting PREDLOZAK names, or the one that holds without. Raises Error likewise.
PaperTemplate InstalledTemplate();

/// What a placeholder stands for, by its name: {broj}.
using Placeholders = std::map<std::string, std::string, std::less<>>;
/// The names that texts of templates may hold.
std::span<const std::string_view> PlaceholderNames();
/// The text with its placeholders replaced.
std::string Filled(std::string_view text, const Placeholders& values);

}  // namespace mox

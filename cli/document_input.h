#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/record_set_file.h"
#include "mox/documents/document.h"

namespace mox {

/// The kind of a document. Raises UsageError that suggests near names.
const DocumentKind& FindKindArgument(std::string_view name);

/// Where articles are asked for: at the server of the application.
struct ArticleSource {
  std::optional<std::int64_t> warehouse;
};

/// A document calculated from the files of its lines: each line once, as it is read.
class DocumentInput {
 public:
  /// `files` are the lines of goods and of services, or of the one sort that the kind has; the services may
  /// be left out. Raises Error that says where a file is faulty, which columns are missing, or at which line
  /// a calculation fails.
  ///
  /// With articles, those of the application's server, goods with a column sifra or art_id may leave out what
  /// their articles say (TakeFromArticles), values and whole columns. Raises Error for a line without price
  /// or rate.
  DocumentInput(const DocumentKind& kind, const std::vector<FileText>& files,
                std::optional<ArticleSource> articles = std::nullopt);
  DocumentInput(const DocumentInput&) = delete;
  DocumentInput& operator=(const DocumentInput&) = delete;

  Document& document() { return *document_; }
  /// What stands about codes that no article has, with file and line each.
  const std::vector<std::string>& UnknownArticles() const { return unknown_articles_; }

 private:
  void Observe(RecordSet& lines, const RecordSetFile& file);
  RecordSetFile ReadGoods(const DocumentKind& kind, const ArticleSource& articles, const FileText& text);

  std::vector<std::string> unknown_articles_;

  std::vector<std::unique_ptr<RecordSetFile>> files_;  // without their records, which the document has
  WalkWatch watch_;
  std::unique_ptr<Document> document_;
};

}  // namespace mox

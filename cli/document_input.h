#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "cli/record_set_file.h"
#include "mox/documents/document.h"

namespace mox {

/// The kind of a document. Raises UsageError that suggests near names.
const DocumentKind& FindKindArgument(std::string_view name);

/// A document calculated from the files of its lines: each line once, as it is read.
class DocumentInput {
 public:
  /// `files` are the lines of goods and of services, or of the one sort that the kind has; the services may
  /// be left out. Raises Error that says where a file is faulty, which columns are missing, or at which line
  /// a calculation fails.
  DocumentInput(const DocumentKind& kind, const std::vector<FileText>& files);
  DocumentInput(const DocumentInput&) = delete;
  DocumentInput& operator=(const DocumentInput&) = delete;

  Document& document() { return *document_; }

 private:
  void Observe(RecordSet& lines, const RecordSetFile& file);

  std::vector<std::unique_ptr<RecordSetFile>> files_;  // without their records, which the document has
  WalkWatch watch_;
  std::unique_ptr<Document> document_;
};

}  // namespace mox

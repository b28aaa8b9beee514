#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/document_kinds.h"
#include "cli/record_set_file.h"

namespace mox {

/// A document calculated from the files of its lines. It stays where it is made: its line sets refer to it.
class Document {
 public:
  /// `files` are the lines of goods and of services, or of the one sort that the kind has; the services may
  /// be left out. The digit settings are those of the installed application. Raises Error that says where a
  /// file is faulty, which columns are missing, or at which line a calculation fails.
  Document(const DocumentKind& kind, const std::vector<FileText>& files);
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  const DocumentKind& kind() const { return kind_; }
  /// Null where the document has no such lines.
  RecordSet* Goods() { return goods_ ? &goods_->file.records : nullptr; }
  RecordSet* Services() { return services_ ? &services_->file.records : nullptr; }
  /// Null where the kind has no tax.
  RecordSet* Recap() { return recap_ ? &*recap_ : nullptr; }
  /// Fields izvor, polje, iznos: the sums of the amounts of all lines ("stavke"), field by field, and of the
  /// recapitulation ("rekapitulacija").
  RecordSet& Totals() { return totals_; }
  /// The amount that the document shows in words: the sum of the total of all lines, or that of the
  /// recapitulation where the lines have none. None where the document has neither.
  std::optional<Currency> Total();

 private:
  struct Lines {
    const LineSchema& schema;
    RecordSetFile file;
  };

  std::unique_ptr<Lines> Load(const LineSchema& schema, const FileText& text);
  void FillRecap();
  void FillTotals();

  const DocumentKind& kind_;
  DocumentDigits digits_;
  WalkWatch watch_;
  std::unique_ptr<Lines> goods_;
  std::unique_ptr<Lines> services_;
  std::optional<RecordSet> recap_;
  RecordSet totals_;
};

/// Whether a currency field holds amounts that can be summed, and not unit prices.
bool IsAmountField(const FieldDef& field);

}  // namespace mox

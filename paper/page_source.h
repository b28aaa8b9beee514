#pragma once

#include "mox/documents/document_figures.h"
#include "mox/documents/document_kinds.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// The records of a stored document, as the services answer them.
struct PageSource {
  RecordSet header;
  RecordSet goods;
  RecordSet services;
  RecordSet taxes;
  RecordSet seller;
  RecordSet partner;
  RecordSet place;
  RecordSet original;  ///< what it cancels; without records where it cancels nothing
  RecordSet storno;    ///< what cancels it, likewise
  RecordSet fiscal;
  RecordSet stored;  ///< how it is paid, and when it was stored
  RecordSet slips;
  const DocumentKind* kind = nullptr;
  const DocumentKind* figures_kind = nullptr;  ///< by whose row its figures are read

  DocumentSets Sets() const;
  /// Whether its total is to be paid after it was handed over: as its header says, else as its kind is.
  bool IsPaidLater() const;
  /// Whether its lines carry neither tax nor fees, whatever their rates: a supplier who charges none.
  bool IsUncharged() const;
};

/// Raises Error for a document that there is not, or that is of no known kind.
PageSource ReadPageSource(std::int64_t id);

/// A text of the first record as people may see it, in one line; empty where there is none.
std::string TextOf(const RecordSet& records, std::string_view field);
/// The same with the line breaks that it has; a tab is a blank.
std::string ParagraphOf(const RecordSet& records, std::string_view field);

}  // namespace mox

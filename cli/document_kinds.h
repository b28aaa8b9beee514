#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "mox/foundation/record_set.h"

namespace mox {

/// The digit settings that calculators take as arguments.
struct DocumentDigits {
  int vat = 2;
  int purchase_price = 2;
  int selling_price = 2;
};

/// How the lines of goods, or those of services, of one kind of document are calculated.
struct LineSchema {
  std::string_view inputs;      ///< fields that must be there, separated by blanks
  std::string_view calculated;  ///< fields that the calculator writes
  void (*calculate)(RecordSet& lines, const DocumentDigits& digits) = nullptr;  ///< null: no such lines
  std::string_view total = "ukupno";  ///< the field whose sum is to be paid, if the calculator writes it

  bool Exists() const { return calculate != nullptr; }
};

/// One kind of document.
struct DocumentKind {
  std::string_view name;
  std::string_view title;    ///< Croatian
  std::string_view english;  ///< the title in English
  LineSchema goods;
  LineSchema services;
  std::string_view recap_member;  ///< empty where the document has no tax
  /// The member's arguments but for Digits, "AmountField1=ukupno RateField1=tbr_stp". Those of the second
  /// amount are columns of the services where the kind has both sorts of lines.
  std::string_view recap_values;
  int recap_digits = 0;  ///< 0: the decimals of tax amounts
};

std::span<const DocumentKind> DocumentKinds();

/// Raises UsageError that suggests near names.
const DocumentKind& FindDocumentKind(std::string_view name);

/// The names in a list separated by blanks.
std::vector<std::string_view> SplitNames(std::string_view names);

}  // namespace mox

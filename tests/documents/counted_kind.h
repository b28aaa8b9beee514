#pragma once

#include "mox/documents/document_kinds.h"

namespace mox {

/// A kind of documents whose calculators count how often they run, over goods and over services.
struct CountedKind {
  explicit CountedKind(const DocumentKind& known) : kind(known) {
    counted[0] = &known.goods;
    counted[1] = &known.services;
    if (kind.goods.Exists()) kind.goods.calculate = Count<0>;
    if (kind.services.Exists()) kind.services.calculate = Count<1>;
    runs = 0;
  }

  DocumentKind kind;
  static inline int runs = 0;

 private:
  template <std::size_t kSort>
  static void Count(RecordSet& lines, const DocumentDigits& digits) {
    ++runs;
    counted[kSort]->calculate(lines, digits);
  }

  static inline const LineSchema* counted[2] = {};
};

}  // namespace mox

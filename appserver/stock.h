#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "appserver/database.h"
#include "appserver/write_outcome.h"
#include "mox/documents/document_kinds.h"

namespace mox {

// The stock of warehouses. Documents move it line by line, in the transaction that stores them; what stands
// in a warehouse is the sum of these movements. Quantities are counted in whole millionths and values in
// whole ten-thousandths, so sums are exact.
//
// A movement is worth what its line says at purchase prices. Where it says nothing (a sale, a customer's
// return) it is worth its share of what stands there: the average purchase price of the moment when the
// document is stored.

/// The header says that stock may become negative.
inline constexpr std::string_view kStockMayBeNegative = "lagernegative";

/// The articles that lines of goods name: by their keys, art_id, or by their codes, sifra.
class LineArticles {
 public:
  /// `goods` may be null. Raises WriteRefused for a line whose code is that of another article than its key.
  LineArticles(Database& database, const RecordSet* goods);

  /// Whether a line names an article that there is.
  bool HasArticles() const { return !lines_.empty(); }
  /// Raises WriteRefused for the first line with a code that no article has.
  void RequireKnown() const;
  /// Writes the keys into the stored lines, whose numbers begin with 1.
  void StoreKeys(Database& database, std::int64_t doc_id) const;

 private:
  struct Line {
    std::size_t row;
    std::int64_t article;
    bool by_code;
  };
  std::vector<Line> lines_;
  std::optional<WriteFailure> unknown_;
};

/// The warehouse that a new document moves: that of its header (null where it names none), or the only one in
/// use. None where the document moves nothing: by its kind, or because no line names an article and the
/// header names no warehouse. Raises WriteRefused where there are several warehouses and the header names
/// none, and for a line with a code that no article has.
std::optional<std::int64_t> WarehouseOf(Database& database, const DocumentKind& kind,
                                        const LineArticles& articles, std::optional<std::int64_t> named);

/// A quantity of stored lines, a double, as stock counts it (CountedQuantity), on every engine.
std::string CountedQuantitySql(const Dialect& dialect, const std::string& quantity);

/// Moves stock by the stored lines of a new document. Raises WriteRefused for a line that would leave less
/// than nothing of an article, unless that is allowed, and for a quantity too large to count.
void MoveStock(Database& database, const DocumentKind& kind, std::int64_t doc_id, std::int64_t warehouse,
               bool may_be_negative);

/// Takes back what a document has moved, to the same quantities and values; refuses as MoveStock does.
void MoveStockBack(Database& database, std::int64_t cancelled_id, std::int64_t storno_id,
                   bool may_be_negative);

}  // namespace mox

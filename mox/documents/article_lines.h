#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/documents/document_kinds.h"

namespace mox {

// Lines of goods and the articles that they name, by art_id or by their code, sifra. The articles and what
// stands of them in warehouses are asked of the application server, each once.

/// The input fields of the kind's goods that a line may leave out where it names an article: the tax rate and
/// the selling prices, and the purchase price of what goes out of a warehouse.
std::vector<std::string_view> FieldsOfArticles(const DocumentKind& kind);

/// What is wrong with a line, counted from 1.
struct LineFault {
  std::size_t line;
  std::string field;
  std::string message;
};

/// What lines leave out they get from the articles that they name: name, unit, tax rate and price (pc and vpc
/// without tax, mpc with it; nc is the average purchase price in the warehouse); a code gets the key and a
/// key the code. Whatever a line says itself stays, and nothing is calculated. Answers the lines with codes
/// that no article has. Raises Error for a field that the lines do not have but need (FieldsOfArticles).
std::vector<LineFault> TakeFromArticles(const DocumentKind& kind, RecordSet& goods,
                                        std::optional<std::int64_t> warehouse);

/// Makes the open record of the goods a line of the article that has the code, whatever it said before of
/// what articles say; nothing is posted. False, and nothing changed, where no article has it.
bool BecomeLineOf(const DocumentKind& kind, RecordSet& goods, std::string_view code,
                  std::optional<std::int64_t> warehouse);

/// The lines that have neither a rate nor a price of their own (FieldsOfArticles) nor an article that has
/// one, as far as they name an article or `required` says that every line has to. `unknown` is what
/// TakeFromArticles answered: such a line's article is told with what it lacks.
std::vector<LineFault> FindMissingOfArticles(const DocumentKind& kind, const RecordSet& goods,
                                             const std::vector<std::string_view>& required,
                                             const std::vector<LineFault>& unknown);

/// The only warehouse in use, which a document moves whose header names none; none where there are several.
std::optional<std::int64_t> OnlyWarehouse();

/// A record for each article that the goods would take from a warehouse: art_id, sifra, kolicina, which is
/// below 0, and stanje, what stands there; for CheckLagerNegative. Empty where the kind takes nothing.
RecordSet StockTaken(const DocumentKind& kind, const RecordSet& goods, std::int64_t warehouse);

}  // namespace mox

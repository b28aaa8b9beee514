#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "mox/documents/document.h"

namespace mox {

// What everybody who lets people enter a document does in the same way, a window or a command: naming
// articles, checking lines and documents, asking what has to be asked, and storing.

/// The code of the article that a text means: its code or its bar code, or a part of its texts that no other
/// article has. Where several have it, the host's look-up form shows them. None where no article has it, or
/// the user chose none.
std::optional<std::string> FindArticleCode(std::string_view text);

/// The checks of a line before it is posted, with their dialogs: required fields are filled, and a quantity
/// is not 0. False at the first that fails.
bool CheckLine(const RecordSet& lines);
/// Whether a line passes them, without a dialog.
bool LineIsComplete(const RecordSet& lines, std::size_t row);

/// The checks of a document before it is stored, with their dialogs: its date lies in the working year and
/// not in the future; of a receipt the supplier's dates go with it, and no other document has the supplier's
/// number. What is pending in the header counts. False at the first that fails.
bool CheckDocument(const Document& document);

/// What the lines take from a warehouse and does not stand there.
struct StockShortage {
  std::string article;  ///< its code
  double stands = 0;
  double taken = 0;
};

/// Whether what goes out of the header's warehouse, or of the only one, stands there, unless stock may become
/// negative. The dialog tells of the first article that does not, which is answered.
std::optional<StockShortage> CheckStock(const Document& document, std::optional<std::int64_t> warehouse);

/// The warehouse of the header, or the only one.
std::optional<std::int64_t> WarehouseOf(const Document& document);

/// Notes in the header that stock may become negative, where the user's setting allows it and the header does
/// not say.
void AllowNegativeStock(RecordSet& header);

/// Stores the document. Where the server lacks the leave for a partner's credit, `confirm_credit` is asked
/// and the document is sent again. False where it was refused or not agreed to.
bool StoreAskingForCredit(Document& document, const std::function<bool()>& lacks_credit,
                          const std::function<bool()>& confirm_credit);

/// Stores a payment of a stored document with the transaction "UplataInsert"; a negative one gives back what
/// was paid. False when the server refused it.
bool StorePayment(std::int64_t document, Currency amount, Date date);

// --- a document that is not finished ---

/// The document as a text: its header and lines as they stand now, what is pending with them,
/// and what was entered of the supplier's document.
std::string DraftOf(const Document& document);
/// The document of such a text. Raises Error where it is none.
Document FromDraft(std::string_view text);

}  // namespace mox

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/file_lock.h"
#include "mox/foundation/record_set.h"

namespace mox {

// The files through which an invoice goes to the request sender and its answer comes back, in the state
// folder, where DOCUMENT is the document's identifier, behind that of the company where there are several:
//   adsB2C_DOCUMENT.txt   the invoice, with the credentials of the account: for its owner alone
//   adsB2C_DOCUMENT.xml   the answer, a record set in its text form
//   adsB2C_DOCUMENT.try   the attempt, there while it is not known what became of an invoice
//   adsB2C.lock           locked by the program that works with such files, from writing to reading
struct InvoiceFiles {
  std::string invoice;
  std::string answer;
  std::string attempt;
};

/// Those of a document of the installed application's company.
InvoiceFiles InvoiceFilesOf(std::int64_t doc_id);

/// Those that belong to an invoice's file.
InvoiceFiles InvoiceFilesBeside(const std::string& invoice_file);

/// What the request sender does with an invoice, as the attempt's file has it: its second line says so, the
/// first one names the attempt. A sender that finds no file begins an attempt of its own.
enum class AttemptStep : std::uint8_t {
  kAsk,        ///< an earlier one may have delivered it: ask the intermediary before it is posted
  kPost,       ///< "novi": post it; nobody has posted it so far
  kPostAgain,  ///< "potvrdeno": post it, as the user wants, although an earlier one may have delivered it
  kAskOnly     ///< "upit": ask, and do not post: another program may be posting it at this moment
};

struct InvoiceAttempt {
  std::string name;
  AttemptStep step = AttemptStep::kAsk;
};

/// None where there is no file. Raises Error where it cannot be read.
std::optional<InvoiceAttempt> ReadAttempt(const std::string& file);
void WriteAttempt(const std::string& file, const InvoiceAttempt& attempt);

/// The documents of the installed application's company whose attempts lie in the state folder.
std::vector<std::int64_t> DocumentsWithAttempts();

/// The name of the record set that answers an invoice sent to an address; it tells one invoice from any
/// other, also from that of another company with the same document identifier.
std::string InvoiceAnswerName(std::string_view url, std::string_view invoice);

/// Whether a record set of that name is the answer to another invoice than this one. Senders that name their
/// answers otherwise are believed.
bool IsAnswerToAnother(std::string_view answer_name, std::string_view url, std::string_view invoice);

/// Whether the intermediary has taken the invoice: an `electronicId` above 0, and no `statusId` of a failed
/// delivery.
bool IsAcceptedAnswer(const RecordSet& answer);

/// Waits until no other program works with such files in the state folder; meanwhile the user interface
/// processes its messages. Raises Abort when the application is closing, Error where the folder cannot be
/// written.
FileLock LockInvoiceFiles();

/// Removes the invoices that programs which ended have left in a folder: they hold the credentials of the
/// account. Does nothing while another program works with such files. To be called when a program starts.
void RemoveLeftInvoices(const std::string& folder);

}  // namespace mox

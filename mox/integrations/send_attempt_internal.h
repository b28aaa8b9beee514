#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "mox/server/invoice_files.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// An attempt to send an invoice, as the company database and the attempt's file remember it: from before the
/// invoice can be posted until it is known what became of it, so that whoever tries next, from another
/// workstation, with a copy of the database or after a crash, asks before he posts again. A server that keeps
/// no attempts leaves them to the files of the request sender.
///
/// The programs of one state folder come one after the other, by the lock of its files. Programs of several
/// folders take each other's place by the transaction ERacunPokusajPocetak, which only one of them passes.
class SendAttempt {
 public:
  /// `answer_name` names the answer to the invoice.
  SendAttempt(bool kept, std::int64_t doc_id, InvoiceFiles files, std::string answer_name);

  /// Remembers the attempt and tells the request sender, by the file, whether to ask before it posts.
  void Begin();
  /// The user wants the invoice to be posted although it may have been delivered. Raises Error where another
  /// program has begun an attempt meanwhile.
  void BeginAgain();
  /// The request sender has ended. Where its file says that all is known, and `in_doubt` does not, the
  /// attempt is forgotten; while the application is closing it stays as it is.
  void End(bool in_doubt = false);
  /// Moves an attempt that only its file remembers, of a program that kept it there or from before the
  /// database was restored, into the database.
  void CarryOver();

 private:
  struct Mark;
  std::optional<Mark> ReadMark() const;
  bool Store();
  bool IsTheFirst(const std::optional<Mark>& mark, const std::optional<InvoiceAttempt>& left) const;
  bool IsNotAccepted(const std::string& answer_name) const;

  bool kept_;
  std::int64_t doc_id_;
  InvoiceFiles files_;
  std::string answer_name_;
  std::string name_;    // empty while another program's attempt stands
  std::string before_;  // the last attempt that was seen in the database
};

/// Carries over all attempts of the company that lie in the state folder.
void CarryOverAttempts();

}  // namespace mox

#pragma GCC visibility pop

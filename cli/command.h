#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "mox/foundation/error.h"
#include "mox/foundation/output_file.h"
#include "mox/foundation/secrets.h"

namespace mox {

class CompanyAccess;
class Options;

/// The command was called in a wrong way; exit status 2.
class UsageError : public Error {
 public:
  using Error::Error;
};

/// What a running command works with.
struct Session {
  std::istream& in;
  std::ostream& err;  ///< for remarks beside the result
  std::string out;    ///< goes to standard output once the command has succeeded
  /// What stands before a message of the library, `lines.csv:3: vrsta "XYZ": `; none where nothing is walked.
  std::function<std::string()> place = nullptr;
  std::string clipboard = {};       ///< what the library finds on the clipboard
  CompanyAccess* server = nullptr;  ///< the company that --db or --server names; null where none is named
  std::string database = {};        ///< what --db names, also where the command opens it itself
  Secrets secrets = {};             ///< nobody is to see them in a message
  OutputFiles files = {};           ///< what the user names for results is written through it
  std::string stored = {};          ///< "stored as KIND NUMBER": what is so whatever fails afterwards
  bool valid = true;  ///< false where the answer is that what was checked is not valid; exit status 1
};

using Action = std::function<void(Session&)>;

/// One command of the program.
struct Command {
  const char* name;
  const char* usage;     ///< its arguments, as the help shows them
  const char* summary;   ///< one sentence
  const char* examples;  ///< and remarks, shown below the options
  void (*declare)(Options& options);
  bool opens_database =
      true;  ///< false where the command itself does with --db what it does, and takes no server
};

extern const Command kRoundCommand;
extern const Command kCalcCommand;
extern const Command kRecapCommand;
extern const Command kTotalCommand;
extern const Command kDocumentCommand;
extern const Command kOibCommand;
extern const Command kIbanCommand;
extern const Command kWordsCommand;
extern const Command kCurrencyCommand;
extern const Command kWorkdaysCommand;
extern const Command kServiceCommand;
extern const Command kDbCommand;
extern const Command kCompanyCommand;
extern const Command kCodebookCommand;
extern const Command kRatesCommand;
extern const Command kPayCommand;
extern const Command kReportCommand;
extern const Command kQueryCommand;
extern const Command kStoreCommand;
extern const Command kImportCommand;
extern const Command kQrCommand;
extern const Command kEInvoiceCommand;
extern const Command kLoginCommand;
extern const Command kLogoutCommand;
extern const Command kPrintCommand;  ///< this one and the next ones where paper is built
extern const Command kMailCommand;
extern const Command kPictureCommand;

}  // namespace mox

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"
#include "paper/paper_template.h"
#include "paper/picture.h"

namespace mox {

/// How the warning that says why a page has no payment code begins.
inline constexpr std::string_view kNoPaymentCode = "no payment code: ";

/// A label with what it stands for, "OIB" and "12345678903".
struct PageFact {
  std::string label;
  std::string text;
};

struct PageParty {
  std::string heading;  ///< "Kupac"; empty for the seller
  std::string name;     ///< empty where the document has no such party
  std::vector<std::string> lines;
};

/// Lines of goods, or of services. Texts of numbers are as people read them.
struct PageTable {
  struct Column {
    const PageColumn* column;
    std::string heading;
  };
  struct Row {
    std::vector<std::string> cells;  ///< one for each column
    std::vector<Currency> amounts;   ///< of the summed columns, in their order
    /// Where lines are paid, for slips: what one costs with tax, what the line comes to without its fee, and
    /// that fee, empty where it has none. Quantity times price less discounts is the amount.
    std::string consumer_price = {};
    std::string consumer_amount = {};
    std::string fee = {};
    std::shared_ptr<const Picture> picture = nullptr;  ///< of its article, where a column shows it
  };
  std::string heading;     ///< "Usluge"; empty where the document has one table
  std::string to_be_paid;  ///< the field whose sum is what the lines cost; empty where they cost nothing
  std::vector<Column> columns;
  std::vector<Row> rows;
  std::vector<Currency> sums;  ///< of the summed columns

  /// The texts of sums in all columns, empty where a column is not summed.
  std::vector<std::string> SumCells(const std::vector<Currency>& amounts, const LocaleSettings& locale) const;
};

/// Base, tax and total of one rate; the last row sums the others where there are several.
struct PageTaxRow {
  std::string rate;
  std::string base;
  std::string tax;
  std::string total;
  bool is_sum = false;
};

struct PageSum {
  std::string label;
  std::string amount;
  bool strong = false;
};

/// What stands on paper of one stored document, whatever it is drawn by.
struct DocumentPage {
  std::int64_t id = 0;
  const DocumentKind* kind = nullptr;
  std::string title;   ///< "Gotovinski račun"
  std::string number;  ///< "1/2026", or that of the fiscal receipt: "17/PP1/1"
  Date date;
  PageParty seller;
  PageParty partner;
  std::string partner_mail;
  bool cancelled = false;  ///< another document cancels it, which a fact tells
  std::vector<PageFact> facts;
  std::vector<PageTable> tables;
  std::vector<PageTaxRow> taxes;
  std::string discount;       ///< of all lines, which their amounts have left out; empty where there is none
  std::string slip_discount;  ///< the same by the prices that slips show, which have tax where lines are paid
  std::vector<PageSum> sums;  ///< which add up to the strong one
  std::string currency;       ///< its code
  std::optional<Currency> total;  ///< what is to be paid
  std::string words;              ///< of it; empty where there are none
  std::vector<PageFact> payment;  ///< where it is to be paid; empty where it is not
  std::vector<PageFact> fiscal;   ///< what the tax administration knows of it
  std::vector<std::string> notes;
  std::string footer;
  std::string verification_code;      ///< what the code holds through which a buyer verifies a receipt
  std::string payment_code;           ///< what the code of the payment slip holds
  std::vector<std::string> warnings;  ///< for whoever prints, in English: what is not on the page and why
};

/// The page of a stored document, from the services "Dokument" and "DokumentIspis" of the installed
/// application, its numbers and dates as its locale writes them.
///
/// Raises Error for a document that does not exist, whose kind is unknown, whose lines, tax by rate and total
/// disagree (CheckFigures, as figures of a stored one), for a storno that is not the negative of what it
/// cancels, and where the company is not named.
DocumentPage MakePage(std::int64_t id, const PaperTemplate& paper);

/// "gotovinski-racun-1-2026.pdf": of characters that any file system and any header takes.
std::string FileNameOf(const DocumentPage& page);

/// What placeholders of texts stand for.
Placeholders PlaceholdersOf(const DocumentPage& page, const LocaleSettings& locale);

}  // namespace mox

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
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

  /// The settings of the installed application.
  static DocumentDigits OfApplication();
};

/// What a document is to those who get it, and to the books.
enum class DocumentClass : std::uint8_t {
  kInvoice,
  kProForma,
  kOrder,
  kGoodsReceipt,
  kReturn,
  kStock,
  kReport
};

/// In which direction the lines of goods move stock when their quantities are positive.
enum class StockDirection : std::uint8_t { kNone, kIn, kOut };

/// An amount of a line that is a percentage of others, rounded to hundredths.
struct PercentOf {
  std::string_view amount;
  std::string_view percent;
  /// What it is of: amounts that are added up, what is taken off has a minus. Where the amount itself is
  /// among them it is contained in the others.
  std::string_view of;
  /// The calculated unit price through whose rounding the amount went; empty where through none.
  std::string_view price = {};
  bool is_with_whole = false;  ///< the amount is the whole and the percentage of it
};

/// How the lines of goods, or those of services, of one kind of document are calculated. Lists of names are
/// separated by blanks.
struct LineSchema {
  std::string_view inputs;      ///< fields that must be there
  std::string_view calculated;  ///< fields that the calculator writes
  void (*calculate)(RecordSet& lines, const DocumentDigits& digits) = nullptr;  ///< null: no such lines
  /// What all passes together read. Each kind says it: a line is calculated again only where that lets it
  /// be, and one that promises too much keeps amounts that are not its own.
  CalcFieldsReads reads = CalcFieldsReads::kAnything;
  std::optional<CurrencyName> to_be_paid = std::nullopt;  ///< its sum is what the lines cost
  /// The taxable base; empty where it is what is recapitulated, less fee and tax. Several fields are added.
  std::string_view base = {};
  std::string_view tax = {};  ///< empty where the lines have none
  /// Amounts of the line and what each is the sum of, to the hundredth where that is finer; what is taken off
  /// has a minus.
  std::span<const std::string_view> sums = {};
  std::span<const PercentOf> percents = {};
  /// How often a line is calculated at a time: twice where the calculator reads what it stored before.
  int passes = 1;
  /// What the calculator takes as an earlier pass left it, for good or ill. A line that is entered has no
  /// earlier pass: however often it is calculated, it begins with 0 there.
  std::optional<CurrencyName> of_earlier_pass = std::nullopt;
  /// Its calculator leaves a line with quantity 0 as it is.
  bool stays_without_quantity = false;

  bool Exists() const { return calculate != nullptr; }
};

/// Columns of the lines that a recapitulation walks.
struct RecapFields {
  std::optional<Field> amount1 = std::nullopt;
  std::optional<Field> rate1 = std::nullopt;
  std::optional<Field> amount2 = std::nullopt;
  std::optional<Field> rate2 = std::nullopt;
};

/// The recapitulation of a kind: one member of the family by rate, and what it is called with.
struct DocumentRecap {
  struct Columns {
    CurrencyName amount;
    FloatName rate;
  };

  std::string_view member = {};
  void (*fill)(const RecapFields& fields, RecordSet& recap, int digits) = nullptr;  ///< null: no tax
  /// Of the goods, or of the services where the kind has nothing else.
  Columns first = {field::ukupno, field::tbr_stp};
  /// Of the services where the kind has both sorts of lines, else of the same lines as the first.
  std::optional<Columns> second = std::nullopt;
  bool takes_digits = true;
  int digits = 0;  ///< 0: the decimals of tax amounts

  bool Exists() const { return fill != nullptr; }
};

/// One kind of document.
struct DocumentKind {
  std::string_view name;
  std::string_view tip;      ///< its code, at most 15 characters; no other kind has it
  std::string_view title;    ///< Croatian
  std::string_view english;  ///< the title in English
  DocumentClass is;
  StockDirection stock;
  LineSchema goods;
  LineSchema services;
  DocumentRecap recap;
  /// The kind whose documents cancel those of this one; empty where the kind itself does, with quantities of
  /// the other sign.
  std::string_view cancelled_by = {};
  /// Documents of the kind only cancel others.
  bool is_storno = false;
  /// The customer of an invoice pays it later: its total is his debt from its date on.
  bool is_paid_later = false;
  /// An invoice for the company's own use: it is taxed, but nobody buys, and it goes to no customer.
  bool is_own_use = false;

  /// Invoices to customers, and their stornos.
  bool IsSale() const { return is == DocumentClass::kInvoice && !is_own_use; }
};

std::span<const DocumentKind> DocumentKinds();

/// By its name, letter for letter; null where there is none.
const DocumentKind* FindDocumentKind(std::string_view name);
/// By its code or its name; also by the first 15 characters of a name, as texts of that length may have cut
/// it, where no other name begins so. Null where there is none.
const DocumentKind* FindDocumentTip(std::string_view tip);
/// As FindDocumentKind. Raises Error for an unknown name.
const DocumentKind& DocumentKindByName(std::string_view name);
/// The kind whose documents cancel those of `kind`.
const DocumentKind& StornoKindOf(const DocumentKind& kind);

/// The names in a list separated by blanks.
std::vector<std::string_view> SplitNames(std::string_view names);

/// Calculates the current line as it stands, which is being edited or in its calculate-fields event. What
/// came with the line of an earlier pass counts where the calculator takes it.
void CalculateLine(const LineSchema& schema, RecordSet& lines, const DocumentDigits& digits);
/// The same of a line that was entered, of which no earlier pass counts: it comes to the same each time.
void CalculateEnteredLine(const LineSchema& schema, RecordSet& lines, const DocumentDigits& digits);
/// Makes the latter the calculate-fields event of the lines. The schema must outlive them. Who calculates a
/// line himself before he posts it says so by `is_calculated`: the next event leaves it so and takes the mark
/// back.
void CalculateByEvent(const LineSchema& schema, RecordSet& lines, const DocumentDigits& digits,
                      std::shared_ptr<bool> is_calculated = std::make_shared<bool>(false));

/// The fields of a schema: inputs, then calculated ones.
std::vector<FieldDef> LineFields(const LineSchema& schema);
/// Adds the fields of a schema that are missing, and marks the calculated ones.
void AddLineFields(const LineSchema& schema, std::vector<FieldDef>& fields);

}  // namespace mox

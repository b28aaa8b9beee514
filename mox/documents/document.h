#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "mox/documents/document_figures.h"
#include "mox/documents/document_kinds.h"

namespace mox {

/// A document as the record sets that it consists of: its header, its lines of goods and of services, its tax
/// by rate and its totals. It declares and calculates them, and stores them together. The decimals of tax
/// amounts and of purchase prices are those of the application that is installed when it is made; calculators
/// that round selling prices read their decimals anew for each line.
class Document {
 public:
  /// Without lines, for a screen or a program that fills them: the sets of lines that the kind has are open
  /// (art_id, sifra, naziv and jm say what a line is, then come the fields of its kind, and the dependent
  /// costs of what is received), and a line is calculated when it is posted, and when it becomes current
  /// again unless that would change nothing.
  explicit Document(const DocumentKind& kind);
  /// Raises Error for an unknown kind.
  explicit Document(std::string_view kind) : Document(DocumentKindByName(kind)) {}
  /// From lines that the caller has; either sort may be left out. Columns that only the calculator writes are
  /// added where they are missing; a column that it reads and that is missing raises Error. A line that is
  /// being edited is posted first. Nothing is calculated until Calculate(), so lines that were calculated
  /// stay as they are. Events and listeners of the sets stay only where no column is missing.
  Document(const DocumentKind& kind, std::optional<RecordSet> goods, std::optional<RecordSet> services = {});

  const DocumentKind& Kind() const { return *kind_; }

  /// One record: vrsta, datum (today), and what else a document says about itself, which is null: partner,
  /// warehouse, currency, user and so on. `ukupno` is written when the document is stored.
  RecordSet& Header() { return header_; }
  const RecordSet& Header() const { return header_; }
  /// Writes one field of the header. Raises FieldNotFound, ConversionError.
  void SetHeader(std::string_view field, const Value& value);

  /// The lines; null where the document has no such sort.
  RecordSet* Goods() { return goods_ ? &goods_->records : nullptr; }
  RecordSet* Services() { return services_ ? &services_->records : nullptr; }
  const RecordSet* Goods() const { return goods_ ? &goods_->records : nullptr; }
  const RecordSet* Services() const { return services_ ? &services_->records : nullptr; }
  std::size_t LineCount() const;

  /// Shows in the open record of the lines, Goods() or Services(), what posting it as it stands would make of
  /// it, so that posting it calculates the same. Does nothing while no record is open.
  void PreviewLine(RecordSet& lines) const;
  /// Brings the calculated fields of the open record back, for the before-post event of a screen that showed
  /// a preview.
  void TakeBackPreview(RecordSet& lines) const;

  /// Calculates every line once more, posting it: lines that were handed over as they stand, so that what
  /// they have of an earlier pass counts, lines of its own as they were entered. An error
  /// cancels the line that it comes from and ends the walk: the lines before it are calculated, those after
  /// it are as they were.
  void Calculate();
  /// Fills the recapitulation and the totals from the lines; a line that is being edited is posted first, and
  /// lines of its own that are to be calculated yet or anew are: those that came from elsewhere, were posted
  /// without their event, or are of other settings. Raises Error that names the line which cannot be
  /// calculated, StateError where lines are filtered. Lines that were handed over count as they are. Columns
  /// that the kind neither needs nor computes do not count, whatever they are called.
  void Recapitulate();
  /// The tax by rate; null where the kind has none. Empty before Recapitulate().
  RecordSet* Recapitulation() { return recap_ ? &*recap_ : nullptr; }
  const RecordSet* Recapitulation() const { return recap_ ? &*recap_ : nullptr; }
  /// Fields izvor, polje, iznos: the sums of the amounts of all lines ("stavke"), field by field, and of the
  /// recapitulation ("rekapitulacija"). Empty before Recapitulate().
  RecordSet& Totals() { return totals_; }
  const RecordSet& Totals() const { return totals_; }
  /// What is to be paid, of lines and recapitulation as they are.
  std::optional<Currency> ToBePaid() const { return mox::ToBePaid(*kind_, Sets()); }

  /// What the document of the supplier comes to, of a goods receipt with tax: one record with the fields of
  /// CalcDocDobavljaca, as it was when the document was last stored; null for other kinds. Where a line has
  /// the rate of the Bosnian edition the fields are those of CalcDocDobavljacaBIH. The header's vrsta_dok_dob
  /// says which kind of document it is.
  RecordSet* SupplierTotals() { return supplier_totals_ ? &*supplier_totals_ : nullptr; }
  const RecordSet* SupplierTotals() const { return supplier_totals_ ? &*supplier_totals_ : nullptr; }

  /// Sums it from the lines as they are.
  void FillSupplierTotals();

  /// The record sets that the transaction "DokumentInsert" takes, under the names that it knows: "Zaglavlje",
  /// "Stavke", "Usluge", "Rekapitulacija", "DokDobavljaca", "Potvrde". Recapitulates. Raises Error for a
  /// document without lines, and where lines and recapitulation disagree.
  std::vector<RecordSet*> StoreRequest();
  /// Whether the partner may owe what the document costs. Asks the user on the figures that the server has
  /// now (CheckKreditniLimitPartnera), and says to the server on which figures the user agreed: it stores a
  /// document beyond the limits only while they are still so. For a document that the server refused for
  /// its partner's credit; true where there is no partner or nothing to be paid.
  bool ConfirmCredit();
  /// Stores the document through the application server. False when the server refused it, and when the user
  /// did not confirm a positive quantity of a kind that cancels others (ConfirmQuantities).
  bool Store();

 private:
  struct Lines {
    const LineSchema* schema;
    RecordSet records;
    // Of lines that an event of this document calculates: the line that is posted is calculated already.
    std::shared_ptr<bool> is_calculated = nullptr;

    bool HasEvent() const { return is_calculated != nullptr; }
  };
  class CalculationPauses;

  Lines TakeLines(const LineSchema& schema, RecordSet records) const;
  Lines MakeLines(const LineSchema& schema, const char* name) const;
  void CalculateCurrent(const Lines& lines, RecordSet& records) const;
  void CalculateEach(Lines& lines) const;
  void PostCalculated(Lines& lines) const;
  void SettleLines();
  const Lines& LinesOf(const RecordSet& records) const;
  void FillRecapitulation();
  void FillTotals();
  DocumentSets Sets() const;
  Currency InEuros(Currency amount) const;

  const DocumentKind* kind_;
  DocumentDigits digits_;
  RecordSet header_;
  std::optional<Lines> goods_;
  std::optional<Lines> services_;
  std::optional<RecordSet> recap_;
  RecordSet totals_;
  std::optional<RecordSet> supplier_totals_;
  std::optional<RecordSet> confirmed_;
};

}  // namespace mox

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mox/foundation/record_set.h"
#include "mox/import/import_check.h"
#include "mox/import/import_field.h"
#include "mox/import/import_view.h"
#include "mox/import/record_faults.h"

namespace mox {

// Modal results of a form; kMrNone keeps it open.
inline constexpr int kMrNone = 0;
inline constexpr int kMrOk = 1;
inline constexpr int kMrCancel = 2;

/// Keys held down together with another one.
struct ShiftState {
  bool shift = false;
  bool alt = false;
  bool ctrl = false;
};

/// A column of the grid.
struct GridColumn {
  std::size_t position = 0;  ///< in the field list
  std::string field_name;    ///< what it is bound to
  std::string caption;
  int width = 0;
  bool visible = false;
};

/// A button of the form.
struct FormButton {
  std::string caption;
  bool visible = true;
  std::string hint = {};
  int modal_result = kMrNone;  ///< with which it closes the form, unless its click decides otherwise
  bool cancel = false;         ///< the escape key presses it
};

/// How the grid draws something: colours as 0xBBGGRR, and those of the system with kSystemColor. A colour
/// that is none stays the grid's own.
struct GridStyle {
  std::string_view name;
  std::optional<std::uint32_t> color;
  std::optional<std::uint32_t> text_color;
};

inline constexpr std::uint32_t kSystemColor = 0xFF000000;
inline constexpr std::uint32_t kScrollBarColor = kSystemColor | 0;

/// What became of the rows when the button was pressed last.
enum class ImportOutcome : std::uint8_t {
  kNone,      ///< it was not pressed, the check ended with an error, or the profile has no transaction
  kNoRows,    ///< there was nothing to check
  kFaulty,    ///< rows are faulty
  kDeclined,  ///< the user did not agree
  kRefused,   ///< the server refused the transaction
  kUnknown,   ///< the transaction was sent and no answer came: it may be stored
  kStored
};

/// A cell for which the server refused the rows.
struct ImportRefusal {
  std::size_t row = 0;  ///< from 1
  std::string field_name;
  std::string reason;
};

/// The rows of a grid at one time, with what was known of their faults.
struct GridRows {
  RecordSet rows;
  std::vector<ImportFault> faults;        ///< of the last check
  std::vector<ImportFault> sheet_faults;  ///< of the sheet and of pasting
};

/// Where the rows of an import come from, for the journal of the application server.
struct ImportOrigin {
  std::string user;
  std::string file;    ///< its name
  std::string digest;  ///< of its bytes; a digest that was stored before is refused...
  bool again = false;  ///< ...unless the user knows that
};

/// The import grid: rows pasted from a spreadsheet are checked column by column against the definitions of a
/// profile and, when all are in order, stored by the application server in one transaction.
///
/// The form has no screen of its own. It holds everything that the dialog shows and does everything that the
/// dialog does, talks to the screen through a view and to the user, the clipboard and the server through the
/// host's application object.
///
/// The source set has every cell as a text of 100 characters; the target set has the checked rows with the
/// kinds and sizes of the profile. What is longer is cut, and a fault of its cell. A cell without a value is
/// null. All checks look at every source row, whatever the display filter hides.
class TfrmImportGrid {
 public:
  // --- what is the same for every profile ---

  static constexpr std::string_view kCaption = "Grid (tablica) za uvoz podataka";
  static constexpr int kClientWidth = 1008;
  static constexpr int kClientHeight = 696;
  static constexpr std::string_view kFont = "Segoe UI";
  static constexpr bool kFixedBorder = true;
  static constexpr bool kBoldIndicator = true;
  static constexpr bool kAppending = true;
  static constexpr bool kGroupBox = false;
  static constexpr bool kColumnMoving = false;
  static constexpr std::string_view kEmptyGridText = "<Tipkom dolje dodajte novi redak>";
  static constexpr GridStyle kSelected{"Selected", kScrollBarColor, 0x000000};
  static constexpr GridStyle kHeader{"Header", 15788776, std::nullopt};
  static constexpr GridStyle kNeispravno{"Neispravno", std::nullopt, 0x0000FF};

  /// The view must outlive the form.
  explicit TfrmImportGrid(ImportGridView& view, std::string_view profile_key = {});
  TfrmImportGrid(const TfrmImportGrid&) = delete;
  TfrmImportGrid& operator=(const TfrmImportGrid&) = delete;

  // --- what the dialog holds ---

  const std::string& ProfileKey() const { return profile_key_; }
  void SetProfileKey(std::string_view key) { profile_key_ = key; }
  std::span<const ImportFieldDef> Fields() const { return fields_; }
  std::span<const GridColumn> Columns() const { return columns_; }
  /// Current record number, "/", record count.
  const std::string& LblIndicator() const { return lbl_indicator_; }
  int ModalResult() const { return modal_result_; }
  const TfrmStatus& Status() const { return status_; }
  RecordSet& AdsForImport() { return source_; }
  const RecordSet& AdsForImport() const { return source_; }
  RecordSet& AdsForDBSave() { return target_; }
  /// Faults of cells that whoever read the sheet found and the check cannot see: a number that the
  /// spreadsheet has rounded. Their rows are those that the source set has now. They count from the next
  /// check on, each as long as its cell has the value that it names, and in the place of what the same pass
  /// finds of that cell. They replace those that pasting found: texts that were cut.
  void SetSheetFaults(std::vector<ImportFault> faults) { sheet_faults_.Assign(std::move(faults), source_); }
  /// Copies of all rows, after posting what is pending.
  GridRows KeepRows();
  /// Puts such rows of a grid with the same columns in the place of those that are there; what is pending is
  /// lost. The first one is current then.
  void RestoreRows(const GridRows& kept);
  /// What the last check found, whole; the fault texts of the rows are cut at 100 characters. A fault stays
  /// with its record: its row is where that stands now, and it goes when that is deleted.
  std::span<const ImportFault> Faults() const { return faults_.All(); }
  /// The modal result does not tell.
  ImportOutcome Outcome() const { return outcome_; }
  /// Why the server refused the rows, where it says so.
  const std::string& Refusal() const { return refusal_; }
  /// Makes the cells for which the server refused the rows, counted from 1, faults. Nothing happens where
  /// there is no such row or data column.
  void SetRefusedCells(std::span<const ImportRefusal> cells);
  /// Sent with the rows from now on. Without an origin the transaction has them alone.
  void SetOrigin(const ImportOrigin& origin);

  const FormButton& FilterButton() const { return filter_button_; }
  const FormButton& PreracunVelicinaButton() const { return preracun_velicina_button_; }
  const FormButton& GeneriranjeSifriButton() const { return generiranje_sifri_button_; }
  const FormButton& WSKatalogButton() const { return ws_katalog_button_; }
  const FormButton& ProvjeraIUvozButton() const { return provjera_i_uvoz_button_; }
  const FormButton& OdustaniButton() const { return odustani_button_; }

  // --- what the user does ---

  /// Applies the profile. An unknown key gives a grid without columns.
  void OnShow();
  /// Shows the form on its view. Answers the modal result.
  int ShowModal();
  /// The column of the field list on which the user stands; a hidden one is none.
  void FocusColumn(std::size_t position) { focused_ = position; }
  /// Alt+E pastes from the clipboard. True when the key is consumed.
  bool GridKeyDown(char32_t key, ShiftState shift);
  void FilterClick();
  void PreracunVelicinaClick();
  void GeneriranjeSifriClick();
  void WSKatalogClick();
  /// Checks all rows and stores them when they are in order and the user agrees. The modal result is OK also
  /// where he declines or the server refuses. An error of the server leaves the dialog open; the faults are
  /// those that can be told without its answer. A view that ends the check by raising Abort when it is told
  /// of the status, which it is at least every kImportRowsBetween rows, leaves the dialog open, too, and all
  /// faults as the check before has left them.
  void ProvjeraIUvozClick();
  void OdustaniClick() { SetModalResult(odustani_button_.modal_result); }
  /// The style of a source row as the grid shows them, null for the grid's own. Raises Error when there is
  /// none at that place.
  const GridStyle* RowStyle(std::size_t row) const;
  /// Of the current source row; null where there is none.
  const GridStyle* RowStyle() const;
  /// What the last check found in a source row as the grid shows them.
  std::span<const ImportFault> FaultsOfRow(std::size_t row) const {
    return faults_.OfRow(source_.NumberOfRow(row));
  }
  /// Whether a source row still has the value that a fault names in its cell, as far as a cell holds it.
  bool HasValueOf(const ImportFault& fault, const RecordRow& row) const;

  // --- how a profile builds the grid ---

  /// Sizes the field list; the definitions follow.
  void SetFieldCount(std::size_t count) { fields_.assign(count, {}); }
  /// Raises Error when the field list is shorter.
  void ImportFieldDefinition(std::size_t index, std::string_view field_name, std::string_view caption,
                             std::string_view field_type, std::string_view size, std::string_view required,
                             std::string_view lookup, std::string_view lookup_sql, std::string_view unique,
                             std::string_view unique_sql);
  void CreateGrid();
  void CreateDataSetFrom();
  /// Raises ConversionError where a kind or a size is no integer, Error where there is no such kind.
  void CreateDataSetTo();

  void PrepareImportArtDob();
  void PrepareImportZaposlenik();
  void PrepareImportParPTTMje();
  void PrepareImportSmjestajnaJed();
  void PrepareImportResurs();
  void PrepareImportResursBezLookup();
  void PrepareImportGostiHotel();
  void PrepareImportMjesta();
  void PrepareImportParPTTMjeOPZ();
  /// Asks the server which number identifies travellers in payments; only then may their OIB be required.
  void PrepareImportPutniciGrupa();
  void PrepareImportArtikala();
  void PrepareImportOtvoreneStavke();
  void PrepareImportOtvoreneStavkeStrano();
  void PrepareImportOsnovnaSredstva();
  void PrepareImportAPOUplate();
  void PrepareImportVrsteKnjizenja();
  void PrepareImportKontniPlan();
  void PrepareImportTemeljnica();
  void PrepareImportArtikliLunari();
  void PrepareUpdateArtikliLunari();
  void PrepareImportKupciLunari();
  void PrepareUpdateParEracunMail();
  void PrepareImportUslugeIPrijevodi();

  // --- the steps of pasting, checking and storing ---

  /// Pastes the clipboard from the current record on: a line a record, a tab between cells.
  void ReadDataFromExcelClipboard();
  /// All checks of one column, in their order.
  void Validate(std::size_t index, std::string_view service_name);
  void ResetVTemp();
  void ValidateRequired(std::size_t index);
  void ValidateLookup(std::size_t index, std::string_view service_name);
  /// Converts the column and stores it in the target rows, which the first data column appends.
  void ValidateFormat(std::size_t index);
  void ValidateUnique(std::size_t index, std::string_view service_name);
  /// All values of a field that are not null, joined with "','"; "0" where there is none.
  std::string GetFieldValues(std::string_view field_name);
  bool ExecuteTransaction(std::string_view transaction_name, std::span<const RecordSet* const> record_sets);

 private:
  class Lookups;

  void PrepareProfile(std::string_view key);
  void UpdateIndicator();
  void SourceChanged(const RecordSetChange& change);
  void SetModalResult(int result);
  std::string FilterExpression() const;

  template <typename Action>
  void ForEachSourceRow(Action action);
  void ShowPass(const ImportFieldDef& field, ImportPass pass);
  bool CheckAllRows();
  void LookAtStatus();
  void TakeFaults(std::vector<ImportFault> found);
  std::vector<ImportFault> WithSheetFaults(std::vector<ImportFault> found);
  ImportValues ValuesToAskFor(std::string_view field_name);
  std::size_t DataColumn(std::string_view field_name) const;
  void PaintFaults(const std::function<void()>& reached = nullptr);
  void ShowFaultTexts();
  void StoreRows(std::string_view transaction);
  void AddFault(std::string_view fragment);

  ImportGridView& view_;
  std::string profile_key_;
  std::vector<ImportFieldDef> fields_;
  std::vector<GridColumn> columns_;
  RecordSet source_;
  RecordSet target_;
  RecordSet origin_;
  TfrmStatus status_;
  std::string lbl_indicator_ = "0/0";
  int modal_result_ = kMrNone;
  std::size_t focused_ = kFirstDataPosition;
  RecordFaults faults_;
  RecordFaults sheet_faults_;
  ImportOutcome outcome_ = ImportOutcome::kNone;
  std::string refusal_;

  FormButton filter_button_;
  FormButton preracun_velicina_button_;
  FormButton generiranje_sifri_button_;
  FormButton ws_katalog_button_;
  FormButton provjera_i_uvoz_button_;
  FormButton odustani_button_;
};

/// Shows the import grid for a profile. Where it was closed with OK, the user is told of success, although
/// the rows may have been declined or refused, which Outcome() of a form of one's own tells. Answers whether
/// it was.
bool CallImportGrid(std::string_view profile_key, ImportGridView& view);
/// The same on a window of the host's.
bool CallImportGrid(std::string_view profile_key);

}  // namespace mox

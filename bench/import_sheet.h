#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/import/import_grid.h"

namespace mox::bench {

/// Sheets of partners as they are pasted into the import grid: 35 filled columns; every thousandth row names
/// a place, and every other thousandth a post code, that is not in the database.
class ImportSheets {
 public:
  static constexpr std::size_t kLookupValues = 10'000;
  static constexpr std::size_t kMostRows = 200'000;

  ImportSheets();
  /// Lines that end in LF, cells separated by tabs. At most kMostRows.
  std::string Text(std::size_t rows) const;
  /// The stored values by field: places, post codes, salesmen, names of partners, countries, currencies.
  const std::map<std::string, std::vector<std::string>>& Stored() const { return stored_; }

  static constexpr std::size_t Faults(std::size_t rows) { return (rows + 999) / 1000 + (rows + 499) / 1000; }

 private:
  std::map<std::string, std::vector<std::string>> stored_;
  std::string text_;
  std::vector<std::size_t> ends_;  // of the rows in the text
};

/// A host that answers the look-ups of the sheets from memory, and declines to store.
class ImportHost : public TdmComunication, public AppDialogs, public ImportGridView {
 public:
  explicit ImportHost(const ImportSheets& sheets);
  ~ImportHost() override;

  /// Pastes the text into a new grid and checks it. Raises std::runtime_error where it finds another number
  /// of faulty rows, or has not a typed row for each.
  void PasteAndCheck(const std::string& text, std::size_t rows);

  RecordSet* CompanyParameters() override { return nullptr; }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override;
  int WriteDataService(const TAstaParamList& /*request*/) override { return 0; }
  int ShowVelorDialog(TVCustomDialogType, std::string_view, std::string_view, std::string_view) override {
    return kDialogNo;
  }
  void ShowMessage(std::string_view /*text*/) override {}
  void ShowModal(TfrmImportGrid& /*form*/) override {}

 private:
  std::map<std::string, RecordSet, std::less<>> answers_;  // by field name
};

}  // namespace mox::bench

#pragma once

#include <memory>

#include "mox/import/import_grid.h"
#include "mox/import/import_view.h"

namespace mox {

class DesktopHost;
class ImportDialog;

/// The screen of the import grid: a modal dialog without an owner.
class ImportWindow : public ImportGridView {
 public:
  explicit ImportWindow(DesktopHost& host);
  ~ImportWindow() override;
  void ShowModal(TfrmImportGrid& form) override;
  void FormChanged(const TfrmImportGrid& form) override;
  void FaultsChanged(const TfrmImportGrid& form) override;
  void ModalResultChanged(const TfrmImportGrid& form) override;
  void StatusChanged(const TfrmStatus& status, bool repaint) override;

 private:
  DesktopHost& host_;
  std::unique_ptr<ImportDialog> dialog_;
};

}  // namespace mox

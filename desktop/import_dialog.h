#pragma once

#include <QDialog>
#include <QPushButton>
#include <QSplitter>
#include <QTableView>

#include "desktop/fault_list.h"
#include "desktop/host.h"
#include "desktop/named_label.h"
#include "desktop/record_set_view.h"
#include "desktop/status_window.h"
#include "mox/import/import_grid.h"
#include "sheets/sheet_layout.h"

namespace mox {

/// The dialog of the import grid. It shows what the form holds and hands on what the user does: Alt+E pastes,
/// Ctrl+O and dropping open a sheet, F8 shows the faulty rows only, a double click in the list of faults, or
/// Enter, goes to the cell.
class ImportDialog : public QDialog {
 public:
  ImportDialog(TfrmImportGrid& form, DesktopHost& host);
  ~ImportDialog() override;

  void FormChanged();
  void ShowFaults();
  void StatusChanged(const TfrmStatus& status, bool repaint);
  /// Puts the rows of a sheet into the grid, from the first record on.
  void OpenSheetFile(const QString& path);
  void reject() override;
  /// The rows as they are left, with what is being typed, where there are any that are not stored.
  std::optional<KeptImport> Unstored();
  /// Puts rows that were left into the grid.
  void TakeUp(const KeptImport& kept);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void Build();
  QWidget* MakeTop();
  QWidget* MakeBottom();
  QPushButton* MakeButton(const FormButton& button, void (TfrmImportGrid::*click)());
  void ShowColumns();
  // A sheet as it comes into the grid, and what its file is known by.
  struct ReadSheet {
    std::string digest;
    SheetText sheet;
  };
  ReadSheet Read(const std::string& file);
  void Run(const std::function<void()>& action);
  void Look(const QElapsedTimer& since);
  void ReplaceRows(const std::function<void()>& action);
  void Paste();
  void Check();
  void ShowRefusedCells();
  void GoToFault(int row);
  void ShowFaultyRows(bool only);
  QString FaultOfCell(std::size_t row, std::size_t field) const;

  TfrmImportGrid& form_;
  DesktopHost& host_;
  QSplitter parts_{Qt::Vertical};  // before what it shows, which goes first
  RecordSetModel model_;
  RecordSetView view_;
  FaultListModel faults_;
  QTableView fault_view_;
  StatusForm status_;
  NamedLabel indicator_;
  NamedLabel summary_;
  QPushButton only_faulty_{QStringLiteral("Samo neispravni (F8)")};
  std::vector<std::pair<const FormButton*, QPushButton*>> buttons_;
  std::optional<ImportOrigin> origin_;
  int listener_ = 0;
  bool has_work_ = false;  // rows that no file has as they are
  bool busy_ = false;
};

}  // namespace mox

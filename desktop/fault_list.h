#pragma once

#include <QAbstractTableModel>
#include <QString>

#include "mox/import/import_grid.h"

namespace mox {

/// What is wrong with a cell of an import, for people.
QString FaultText(const ImportFault& fault, const ImportFieldDef& field);

/// The faults of an import's last check as a list: row, column, value and reason.
class FaultListModel : public QAbstractTableModel {
 public:
  explicit FaultListModel(const TfrmImportGrid& form) : form_(form) {}
  /// A check has run.
  void ReadAnew();
  const ImportFault& At(int row) const { return form_.Faults()[static_cast<std::size_t>(row)]; }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  const TfrmImportGrid& form_;
  int count_ = 0;
};

}  // namespace mox

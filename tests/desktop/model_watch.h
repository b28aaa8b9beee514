#pragma once

#include <QAbstractItemModelTester>
#include <QEvent>
#include <QTableView>

namespace mox {

/// Installed on the application: whatever model a table shows keeps to the rules of models in every test, or
/// the test program ends. Where it has so many cells that looking at all of them after each change takes too
/// long, it is looked at again once there are fewer.
class ModelWatch : public QObject {
 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::Polish) return false;
    const auto* const table = qobject_cast<QTableView*>(watched);
    QAbstractItemModel* const model = table == nullptr ? nullptr : table->model();
    if (model == nullptr || model->property(kWatched).isValid()) return false;
    model->setProperty(kWatched, true);
    const auto look = [model] { Look(*model); };
    connect(model, &QAbstractItemModel::rowsInserted, model, look);
    connect(model, &QAbstractItemModel::rowsRemoved, model, look);
    connect(model, &QAbstractItemModel::modelReset, model, look);
    look();
    return false;
  }

 private:
  static constexpr const char* kWatched = "watched";
  static constexpr int kMostCells = 3000;
  static void Look(QAbstractItemModel& model) {
    using Tester = QAbstractItemModelTester;
    auto* const tester = model.findChild<Tester*>();
    const bool is_large = model.rowCount() * model.columnCount() > kMostCells;
    if (is_large) delete tester;
    if (!is_large && tester == nullptr) new Tester(&model, Tester::FailureReportingMode::Fatal, &model);
  }
};

}  // namespace mox

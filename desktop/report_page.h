#pragma once

#include <QComboBox>
#include <QLineEdit>

#include "desktop/record_page.h"

namespace mox {

/// Bars of amounts with their names, for a look; who cannot see them is told the same.
class BarChart : public QWidget {
 public:
  struct Bar {
    QString name;
    QString amount;
    double value;
  };
  BarChart();
  void SetBars(const QString& title, std::vector<Bar> bars);
  QSize sizeHint() const override { return {400, 160}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::vector<Bar> bars_;
};

/// The reports of the application server over a period, as tables and as bars.
class ReportPage : public RecordPage {
 public:
  explicit ReportPage(DesktopHost& host);
  void Clear() override;

 private:
  void Read() override;
  void ShowBars();

  QComboBox report_;
  QLineEdit from_;
  QLineEdit to_;
  BarChart chart_;
};

}  // namespace mox

#pragma once

#include <QLineEdit>

#include "desktop/storing_page.h"

namespace mox {

class DesktopHost;

/// The exchange rates that hold on a day: entered one by one, or read from the national bank's daily list.
class RatePage : public StoringPage {
 public:
  explicit RatePage(DesktopHost& host);
  /// Stores the rates of a list as the bank publishes it.
  void ReadList(const std::string& path);

 private:
  void Read() override;
  void ChooseList();
  void StoreRow(RecordSet& row) override;
  bool SendAsking(RecordSet& rates);

  QLineEdit day_;
  Date shown_;  // of the rates that are shown, also while another day is typed
};

}  // namespace mox

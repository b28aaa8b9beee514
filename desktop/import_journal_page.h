#pragma once

#include "desktop/record_page.h"

namespace mox {

class DesktopHost;

/// The stored imports; each can be taken back while nothing stands against it.
class ImportJournalPage : public RecordPage {
 public:
  explicit ImportJournalPage(DesktopHost& host);

 private:
  void Read() override;
  void TakeBack();
};

}  // namespace mox

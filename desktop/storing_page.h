#pragma once

#include <initializer_list>
#include <string_view>

#include "desktop/record_page.h"

namespace mox {

/// A page whose rows are stored one by one as they are left. One that is refused stays open as it was typed,
/// and why is told beside it.
class StoringPage : public RecordPage {
 protected:
  StoringPage(DesktopHost& host, const QString& title, RecordSet empty,
              std::initializer_list<std::string_view> read_only = {});
  /// At the end of a page's constructor: reads the rows. From then on StoreRow() gets those that are left.
  void Begin();
  /// Raises why a row is not stored; Abort says nothing more.
  virtual void StoreRow(RecordSet& row) = 0;
  /// Raises Error that says to people why the server refused them.
  void Send(std::string_view transaction, RecordSet& records);
};

}  // namespace mox

#pragma once

#include "desktop/storing_page.h"

namespace mox {

class DesktopHost;

/// The users of a company on a server and their roles, for its administrators. A user's roles are stored when
/// his row is left.
class UsersPage : public StoringPage {
 public:
  explicit UsersPage(DesktopHost& host);

 private:
  void Read() override;
  void StoreRow(RecordSet& row) override;
  void Add();
  void EndLogIns();
};

}  // namespace mox

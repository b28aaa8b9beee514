#pragma once

#include "desktop/record_page.h"

namespace mox {

class DesktopHost;

/// The users of a company on a server and their roles, for its administrators. A user's roles are stored when
/// his row is left.
class UsersPage : public RecordPage {
 public:
  explicit UsersPage(DesktopHost& host);

 private:
  void Read() override;
  void StoreRow(RecordSet& row);
  void Send(std::string_view transaction, RecordSet& user);
  void Add();
  void EndLogIns();
};

}  // namespace mox

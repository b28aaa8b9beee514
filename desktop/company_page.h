#pragma once

#include "desktop/record_page.h"

namespace mox {

class DesktopHost;

/// Who the company is and how it works: parameters, features and the account of e-invoices by their names.
class CompanyPage : public RecordPage {
 public:
  explicit CompanyPage(DesktopHost& host);

 private:
  void Read() override;
  void StoreRow(RecordSet& row);
  void AddIban();
};

}  // namespace mox

#pragma once

#include <set>
#include <string>

#include "desktop/storing_page.h"

namespace mox {

class DesktopHost;

/// Who the company is and how it works: parameters, features and the account of e-invoices by their names.
class CompanyPage : public StoringPage {
 public:
  explicit CompanyPage(DesktopHost& host);

 private:
  void Read() override;
  void StoreRow(RecordSet& row) override;
  void ShowTruth(RecordSet& parameters);
  void AddIban();

  std::set<std::string> truths_;  // the names of what is true or false
};

}  // namespace mox

#pragma once

#include <QLineEdit>

#include "desktop/storing_page.h"

namespace mox {

class DesktopHost;

/// A codebook of the application server, whichever: its rows are stored one by one as they are left, and
/// searched by a part of any text.
class CodebookPage : public StoringPage {
 public:
  CodebookPage(DesktopHost& host, std::string name, const QString& title);

 private:
  void Read() override;
  void StoreRow(RecordSet& row) override;
  void DeleteRow();
  void ShowPicture();
  bool LookUpCell(std::string_view field);
  RecordSet CurrentRow() const;

  std::string name_;
  QLineEdit search_;
};

/// What people call the codebooks; those that the table does not know have their own names.
QString CodebookTitle(std::string_view name);

}  // namespace mox

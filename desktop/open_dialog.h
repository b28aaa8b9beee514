#pragma once

#include <QComboBox>
#include <QDialog>
#include <string>
#include <vector>

namespace mox {

/// Where the company is that is to be opened: a file, a PostgreSQL database or a server, or one of those that
/// were opened before.
class OpenDialog : public QDialog {
 public:
  OpenDialog(const std::vector<std::string>& recent, QWidget* parent);
  std::string Address() const;
  void accept() override;

 private:
  void ChooseFile();
  QComboBox address_;
};

}  // namespace mox

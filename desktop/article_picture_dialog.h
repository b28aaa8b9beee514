#pragma once

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <string>

namespace mox {

class DesktopHost;

/// The picture of an article: shown, loaded from a file or dropped, saved and removed.
class ArticlePictureDialog : public QDialog {
 public:
  ArticlePictureDialog(DesktopHost& host, std::string code, QWidget* parent);

  /// Stores the picture of a file with the article, cut to the proportions that are chosen. Raises Error for
  /// what is none.
  void Load(const std::string& path);
  /// Raises Error where there is no picture.
  void SaveTo(const std::string& path);

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void Show();
  void Store(std::string_view bytes);
  void Remove();

  DesktopHost& host_;
  std::string code_;
  std::string bytes_;  // as they are stored; empty without a picture
  QLabel picture_;
  QComboBox cut_;
};

}  // namespace mox

#pragma once

#include <QDialog>
#include <QLabel>
#include <string>

namespace mox {

class DesktopHost;

/// The picture of an article: shown, loaded from a file or dropped, saved and removed.
class ArticlePictureDialog : public QDialog {
 public:
  ArticlePictureDialog(DesktopHost& host, std::string code, QWidget* parent);

  /// Stores the picture of a file with the article. Raises Error for what is none.
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
};

}  // namespace mox

#pragma once

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QVBoxLayout>

#include "paper/page.h"
#include "paper/text_painter.h"

namespace mox {

/// What a stored document looks like on paper, a page or a slip, before it is printed, saved or opened with
/// the user's own program.
class PrintDialog : public QDialog {
 public:
  /// Raises Error for a document that may not go out (MakePage).
  PrintDialog(std::int64_t id, QWidget* parent);

  /// The file of the chosen form: PDF of a page, what a printer is sent of a slip.
  std::string Bytes();
  void SaveTo(const std::string& path);

 private:
  void ShowSheets();
  void LayOut();
  bool IsSlip() const { return form_.currentIndex() > 0; }
  void Print();
  void Save();
  void OpenOutside();

  PaperTemplate paper_;
  DocumentPage page_;
  std::unique_ptr<TextPainter> painter_;
  LaidDocument laid_;
  QComboBox form_;
  QVBoxLayout* sheets_ = nullptr;
};

/// The picture as Qt has it.
QImage ToQtImage(const Picture& picture);

}  // namespace mox

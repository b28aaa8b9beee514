#pragma once

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QVBoxLayout>

#include "desktop/named_label.h"
#include "paper/page.h"
#include "paper/text_painter.h"

class QPrinter;
class QPushButton;

namespace mox {

/// What a stored document looks like on paper, a page or a slip, before it is printed, saved or opened with
/// the user's own program. A kind is shown in the form that it was printed in last.
class PrintDialog : public QDialog {
 public:
  /// Raises Error for a document that may not go out (MakePage).
  PrintDialog(std::int64_t id, QWidget* parent);

  /// The file of the chosen form: PDF of a page, what a printer is sent of a slip.
  std::string Bytes();
  void SaveTo(const std::string& path);
  /// The sheets on a printer of pages, those of its range. Raises Error where it is not ready.
  void PrintSheets(QPrinter& printer);

 private:
  void ShowChosenForm();
  void ShowSheets();
  bool IsSlip() const { return form_.currentIndex() > 0; }
  const std::string& Font() const;
  std::string PdfBytes();
  void KeepForm();
  void Print();
  void PrintSlip();
  bool ChoosePrinter();
  void Save();
  void OpenOutside();

  PaperTemplate paper_;
  DocumentPage page_;
  std::unique_ptr<TextPainter> painter_;
  LaidDocument laid_;
  QComboBox form_;
  int shown_form_ = 0;
  QVBoxLayout* sheets_ = nullptr;
  NamedLabel* warnings_ = nullptr;
  NamedLabel* note_ = nullptr;
  QPushButton* slip_printer_ = nullptr;
};

}  // namespace mox

#include "desktop/print_dialog.h"

#include <QDir>
#include <QFileDialog>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollArea>

#include "desktop/action_button.h"
#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "mox/foundation/locale_text.h"
#include "paper/a4_layout.h"
#include "paper/esc_pos.h"
#include "paper/pdf.h"
#include "paper/sheet_picture.h"
#include "paper/slip.h"

namespace mox {
namespace {

constexpr double kPagePixels = 1.2;  // a point
constexpr double kSlipPixels = 0.6;  // a dot
constexpr double kPointsPerInch = 72;
constexpr const char* kSection = "DESKTOP";
constexpr const char* kPrinter = "ISJECAK";  // where slips went last

}  // namespace

QImage ToQtImage(const Picture& picture) {
  return QImage(picture.pixels.data(), picture.width, picture.height, QImage::Format_RGBA8888).copy();
}

PrintDialog::PrintDialog(std::int64_t id, QWidget* parent)
    : QDialog(parent), paper_(InstalledTemplate()), page_(MakePage(id, paper_)) {
  setWindowTitle(QStringLiteral("Ispis – %1 %2").arg(ToQt(page_.title), ToQt(page_.number)));
  auto* const layout = new QVBoxLayout(this);
  form_.addItems(
      {QStringLiteral("Stranica A4"), QStringLiteral("Isječak 80 mm"), QStringLiteral("Isječak 58 mm")});
  form_.setAccessibleName(QStringLiteral("Oblik ispisa"));
  connect(&form_, &QComboBox::currentIndexChanged, this, [this] { Guarded([this] { ShowSheets(); }); });
  layout->addWidget(&form_);
  auto* const paper = new QWidget;
  sheets_ = new QVBoxLayout(paper);
  auto* const scroll = new QScrollArea;
  scroll->setWidgetResizable(true);
  scroll->setAlignment(Qt::AlignHCenter);
  scroll->setWidget(paper);
  scroll->setAccessibleName(QStringLiteral("Pregled"));
  layout->addWidget(scroll, 1);
  for (const std::string& warning : page_.warnings) {
    auto* const label = new QLabel(InCroatian(warning));
    label->setWordWrap(true);
    layout->addWidget(label);
  }
  auto* const bar = new QHBoxLayout;
  bar->addStretch(1);
  AddActionButton(
      this, *bar, QStringLiteral("Ispiši…"), [this] { Print(); }, QKeySequence::Print);
  AddActionButton(
      this, *bar, QStringLiteral("Spremi…"), [this] { Save(); }, QKeySequence::Save);
  AddActionButton(
      this, *bar, QStringLiteral("Otvori PDF"), [this] { OpenOutside(); }, QKeySequence::Open);
  AddActionButton(this, *bar, QStringLiteral("Zatvori"), [this] { accept(); });
  layout->addLayout(bar);
  ShowSheets();
  resize(790, 820);
}

void PrintDialog::LayOut() {
  painter_ = std::make_unique<TextPainter>(IsSlip() ? paper_.Text("isjecak", "font")
                                                    : paper_.Text("stranica", "font"));
  if (IsSlip()) {
    laid_ =
        LayOutSlip(page_, paper_, *painter_, form_.currentIndex() == 1 ? SlipPaper::k80mm : SlipPaper::k58mm);
  } else {
    laid_ = LayOutA4(page_, paper_, *painter_, CurrentLocale());
  }
}

void PrintDialog::ShowSheets() {
  LayOut();
  while (QLayoutItem* const old = sheets_->takeAt(0)) {
    delete old->widget();
    delete old;
  }
  const double ratio = devicePixelRatioF();
  for (std::size_t i = 0; i < laid_.sheets.size(); ++i) {
    QImage image =
        ToQtImage(DrawSheetPicture(laid_, i, (IsSlip() ? kSlipPixels : kPagePixels) * ratio, *painter_));
    image.setDevicePixelRatio(ratio);
    auto* const sheet = new QLabel;
    sheet->setPixmap(QPixmap::fromImage(image));
    sheet->setAccessibleName(QStringLiteral("List %1 od %2").arg(i + 1).arg(laid_.sheets.size()));
    sheets_->addWidget(sheet, 0, Qt::AlignHCenter);
  }
  sheets_->addStretch(1);
}

std::string PrintDialog::Bytes() {
  if (IsSlip()) {
    return EscPos(laid_, *painter_, {paper_.IsYes("isjecak", "rez"), paper_.IsYes("isjecak", "ladica")});
  }
  PdfFile file(paper_.Text("stranica", "font"), page_.date);
  file.Add(laid_);
  return file.Finish();
}

void PrintDialog::SaveTo(const std::string& path) {
  OutputFiles files;
  files.Keep(App().Company().CompanyPath(), "the company database");
  files.Write(path, Bytes(), IsSlip() ? kSlipOutput : kPdfOutput);
}

void PrintDialog::Save() {
  const QString last = IsSlip() ? ToQt(App().Ini().ReadString(kSection, kPrinter, "")) : QString();
  const QString path = QFileDialog::getSaveFileName(
      this, QStringLiteral("Spremi ispis"), IsSlip() ? last : ToQt(FileNameOf(page_)),
      IsSlip() ? QStringLiteral("Pisač ili datoteka (*)") : QStringLiteral("PDF (*.pdf)"), nullptr,
      IsSlip() ? QFileDialog::DontConfirmOverwrite : QFileDialog::Options());
  if (path.isEmpty()) return;
  SaveTo(FromQt(path));
  if (IsSlip()) App().Ini().WriteString(kSection, kPrinter, FromQt(path));
}

void PrintDialog::Print() {
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(windowTitle());
  printer.setPageSize(QPageSize(QPageSize::A4));
  printer.setFullPage(true);
  if (QPrintDialog(&printer, this).exec() != QDialog::Accepted) return;
  form_.setCurrentIndex(0);
  QPainter painter(&printer);
  if (!painter.isActive()) throw Error("Pisač nije dostupan.");
  for (std::size_t i = 0; i < laid_.sheets.size(); ++i) {
    if (i > 0) printer.newPage();
    const QImage image =
        ToQtImage(DrawSheetPicture(laid_, i, printer.resolution() / kPointsPerInch, *painter_));
    painter.drawImage(painter.viewport(), image);
  }
}

void PrintDialog::OpenOutside() {
  form_.setCurrentIndex(0);
  const QDir folder(ToQt(App().Platform().StateFolder()) + QStringLiteral("ispis"));
  if (!folder.mkpath(QStringLiteral("."))) throw Error(FromQt(folder.path()) + ": mapa se ne može napraviti");
  const std::string path = FromQt(folder.filePath(ToQt(FileNameOf(page_))));
  SaveTo(path);
  if (App().Platform().StartHidden("xdg-open", " \"" + path + '"') == nullptr) {
    throw Error("Nema programa (xdg-open) koji prikazuje PDF. Datoteka je u " + path + ".");
  }
}

}  // namespace mox

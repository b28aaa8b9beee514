#include "desktop/print_dialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QScrollArea>
#include <algorithm>

#include "desktop/action_button.h"
#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "desktop/sheet_view.h"
#include "desktop/window_place.h"
#include "mox/foundation/locale_text.h"
#include "paper/a4_layout.h"
#include "paper/esc_pos.h"
#include "paper/pdf.h"
#include "paper/slip.h"

namespace mox {
namespace {

constexpr double kPagePixels = 1.2;  // a point
constexpr double kSlipPixels = 0.6;  // a dot
constexpr double kPointsPerInch = 72;
constexpr const char* kSection = "DESKTOP";
constexpr const char* kPrinter = "PISAC_ISJECAKA";

struct Form {
  const char16_t* title;
  const char* name;  // in the settings
};
constexpr Form kForms[] = {{u"Stranica A4", "A4"}, {u"Isječak 80 mm", "80"}, {u"Isječak 58 mm", "58"}};

void WriteTo(const std::string& path, std::string_view bytes, const OutputKind& kind) {
  OutputFiles files;
  files.Keep(App().Company().CompanyPath(), "the company database");
  files.Write(path, bytes, kind);
}

std::string FormOfKind(const DocumentKind& kind) { return "ISPIS_" + std::string(kind.name); }

}  // namespace

PrintDialog::PrintDialog(std::int64_t id, QWidget* parent)
    : QDialog(parent), paper_(InstalledTemplate()), page_(MakePage(id, paper_)) {
  setWindowTitle(QStringLiteral("Ispis – %1 %2").arg(ToQt(page_.title), ToQt(page_.number)));
  auto* const layout = new QVBoxLayout(this);
  const std::string last = App().Ini().ReadString(kSection, FormOfKind(*page_.kind), "");
  for (const Form& form : kForms) {
    form_.addItem(QString::fromUtf16(form.title));
    if (last == form.name) form_.setCurrentIndex(form_.count() - 1);
  }
  form_.setAccessibleName(QStringLiteral("Oblik ispisa"));
  connect(&form_, &QComboBox::currentIndexChanged, this, &PrintDialog::ShowChosenForm);
  layout->addWidget(&form_);
  auto* const paper = new QWidget;
  sheets_ = new QVBoxLayout(paper);
  auto* const scroll = new QScrollArea;
  scroll->setWidgetResizable(true);
  scroll->setAlignment(Qt::AlignHCenter);
  scroll->setWidget(paper);
  scroll->setAccessibleName(QStringLiteral("Pregled"));
  layout->addWidget(scroll, 1);
  warnings_ = new NamedLabel;
  warnings_->setWordWrap(true);
  warnings_->setAccessibleName(QStringLiteral("Upozorenja"));
  layout->addWidget(warnings_);
  auto* const bar = new QHBoxLayout;
  note_ = new NamedLabel;
  note_->setAccessibleName(QStringLiteral("Napomena"));
  bar->addWidget(note_, 1);
  AddActionButton(
      this, *bar, QStringLiteral("Ispiši…"), [this] { Print(); }, QKeySequence::Print);
  slip_printer_ = AddActionButton(this, *bar, QStringLiteral("Pisač…"), [this] { ChoosePrinter(); });
  AddActionButton(
      this, *bar, QStringLiteral("Spremi…"), [this] { Save(); }, QKeySequence::Save);
  AddActionButton(
      this, *bar, QStringLiteral("Otvori PDF"), [this] { OpenOutside(); }, QKeySequence::Open);
  AddActionButton(this, *bar, QStringLiteral("Zatvori"), [this] { accept(); });
  layout->addLayout(bar);
  ShowSheets();
  resize(790, 820);
  new WindowPlace(*this, "PRINT");
}

const std::string& PrintDialog::Font() const {
  return paper_.Text(IsSlip() ? "isjecak" : "stranica", "font");
}

// A form that cannot be shown leaves the one before it chosen.
void PrintDialog::ShowChosenForm() {
  if (Guarded([this] { ShowSheets(); })) return;
  const QSignalBlocker quiet(&form_);
  form_.setCurrentIndex(shown_form_);
}

void PrintDialog::ShowSheets() {
  auto painter = std::make_unique<TextPainter>(Font());
  const SlipPaper width = form_.currentIndex() == 1 ? SlipPaper::k80mm : SlipPaper::k58mm;
  LaidDocument laid = IsSlip() ? LayOutSlip(page_, paper_, *painter, width)
                               : LayOutA4(page_, paper_, *painter, CurrentLocale());
  while (QLayoutItem* const old = sheets_->takeAt(0)) {
    delete old->widget();
    delete old;
  }
  laid_ = std::move(laid);
  painter_ = std::move(painter);
  shown_form_ = form_.currentIndex();
  for (std::size_t i = 0; i < laid_.sheets.size(); ++i) {
    auto* const sheet = new SheetView(laid_, i, IsSlip() ? kSlipPixels : kPagePixels, *painter_);
    sheet->setAccessibleName(QStringLiteral("List %1 od %2").arg(i + 1).arg(laid_.sheets.size()));
    sheets_->addWidget(sheet, 0, Qt::AlignHCenter);
  }
  sheets_->addStretch(1);
  QStringList warnings;
  for (const std::vector<std::string>* const some : {&page_.warnings, &laid_.left_out}) {
    for (const std::string& warning : *some) warnings.append(InCroatian(warning));
  }
  warnings_->setText(warnings.join(u'\n'));
  warnings_->setVisible(!warnings.isEmpty());
  slip_printer_->setVisible(IsSlip());
}

std::string PrintDialog::PdfBytes() {
  PdfFile file(Font(), page_.date);
  file.Add(laid_);
  return file.Finish();
}

std::string PrintDialog::Bytes() {
  if (!IsSlip()) return PdfBytes();
  return EscPos(laid_, *painter_, {paper_.IsYes("isjecak", "rez"), paper_.IsYes("isjecak", "ladica")});
}

void PrintDialog::SaveTo(const std::string& path) {
  WriteTo(path, Bytes(), IsSlip() ? kSlipOutput : kPdfOutput);
}

void PrintDialog::KeepForm() {
  App().Ini().WriteString(kSection, FormOfKind(*page_.kind),
                          kForms[static_cast<std::size_t>(form_.currentIndex())].name);
}

void PrintDialog::Save() {
  const QString name = ToQt(FileNameOf(page_));
  const QString path = QFileDialog::getSaveFileName(
      this, QStringLiteral("Spremi ispis"), IsSlip() ? name.chopped(4) + QStringLiteral(".bin") : name,
      IsSlip() ? QStringLiteral("Isječak (*.bin);;Sve datoteke (*)") : QStringLiteral("PDF (*.pdf)"));
  if (path.isEmpty()) return;
  SaveTo(FromQt(path));
  KeepForm();
}

// The device or file that slips go to, from now on.
bool PrintDialog::ChoosePrinter() {
  const QString path = QFileDialog::getSaveFileName(
      this, QStringLiteral("Pisač isječaka"),
      ToQt(App().Ini().ReadString(kSection, kPrinter, "/dev/usb/lp0")),
      QStringLiteral("Uređaj ili datoteka (*)"), nullptr, QFileDialog::DontConfirmOverwrite);
  if (!path.isEmpty()) App().Ini().WriteString(kSection, kPrinter, FromQt(path));
  return !path.isEmpty();
}

void PrintDialog::PrintSlip() {
  if (App().Ini().ReadString(kSection, kPrinter, "").empty() && !ChoosePrinter()) return;
  const std::string printer = App().Ini().ReadString(kSection, kPrinter, "");
  if (QFileInfo(ToQt(printer)).isFile() &&
      !AskToLose("Pisač isječaka je datoteka " + printer + ".", "Zamijeniti je ovim isječkom?")) {
    return;
  }
  SaveTo(printer);
  note_->setText(QStringLiteral("Isječak je poslan na %1").arg(ToQt(printer)));
  KeepForm();
}

void PrintDialog::PrintSheets(QPrinter& printer) {
  QPainter output(&printer);
  if (!output.isActive()) throw Error("Pisač nije dostupan.");
  const int count = static_cast<int>(laid_.sheets.size());
  const int first = std::max(1, printer.fromPage());
  const int last = printer.toPage() > 0 ? std::min(count, printer.toPage()) : count;
  const double points = laid_.unit * printer.resolution() / kPointsPerInch;
  const double scale =
      std::min({points, output.viewport().width() / laid_.width, output.viewport().height() / laid_.height});
  output.scale(scale, scale);
  for (int sheet = first; sheet <= last; ++sheet) {
    if (sheet > first && !printer.newPage()) throw Error("Pisač nije dostupan.");
    PaintSheet(output, laid_.sheets[static_cast<std::size_t>(sheet - 1)], ToQt(Font()), *painter_);
  }
}

void PrintDialog::Print() {
  if (IsSlip()) return PrintSlip();
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(windowTitle());
  printer.setPageSize(QPageSize(QPageSize::A4));
  printer.setFullPage(true);
  QPrintDialog dialog(&printer, this);
  dialog.setMinMax(1, static_cast<int>(laid_.sheets.size()));
  if (dialog.exec() != QDialog::Accepted) return;
  PrintSheets(printer);
  KeepForm();
}

void PrintDialog::OpenOutside() {
  const QDir folder(ToQt(App().Platform().StateFolder()) + QStringLiteral("ispis"));
  if (!folder.mkpath(QStringLiteral("."))) throw Error(FromQt(folder.path()) + ": mapa se ne može napraviti");
  const std::string path = FromQt(folder.filePath(ToQt(FileNameOf(page_))));
  WriteTo(path, PdfBytes(), kPdfOutput);
  if (App().Platform().StartHidden("xdg-open", " \"" + path + '"') == nullptr) {
    throw Error("Nema programa (xdg-open) koji prikazuje PDF. Datoteka je u " + path + ".");
  }
}

}  // namespace mox

#include "desktop/code_dialog.h"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QLabel>
#include <QVBoxLayout>

#include "desktop/action_button.h"
#include "desktop/croatian.h"
#include "desktop/qt_text.h"
#include "paper/page.h"
#include "symbols/code_picture.h"

namespace mox {
namespace {

QImage Drawn(CodeKind kind, const std::string& text) {
  constexpr int kDots = 4;
  const DotPicture dots = DrawCode(kind, MakeCode(kind, text), kDots);
  return QImage(dots.dots.data(), dots.width, dots.height, dots.width, QImage::Format_Grayscale8).copy();
}

// The code under what it is for, with what it says as its description; a button copies the picture.
void AddCode(QDialog* dialog, QVBoxLayout& layout, const QString& title, CodeKind kind,
             const std::string& text) {
  auto* const heading = new QLabel(title);
  auto* const picture = new QLabel;
  const QImage image = Drawn(kind, text);
  picture->setPixmap(QPixmap::fromImage(image));
  picture->setAccessibleName(title);
  picture->setAccessibleDescription(ToQt(text));
  picture->setToolTip(ToQt(text));
  layout.addWidget(heading);
  layout.addWidget(picture, 0, Qt::AlignHCenter);
  AddActionButton(dialog, layout, QStringLiteral("Kopiraj sliku"),
                  [image] { QApplication::clipboard()->setImage(image); });
}

}  // namespace

CodeDialog::CodeDialog(std::int64_t id, QWidget* parent) : QDialog(parent) {
  const DocumentPage page = MakePage(id, InstalledTemplate());
  setWindowTitle(QStringLiteral("Kodovi – %1 %2").arg(ToQt(page.title), ToQt(page.number)));
  auto* const layout = new QVBoxLayout(this);
  if (!page.verification_code.empty()) {
    AddCode(this, *layout, QStringLiteral("Provjera računa"), CodeKind::kQr, page.verification_code);
  } else {
    layout->addWidget(new QLabel(QStringLiteral("Kod za provjeru ima samo fiskalizirani račun.")));
  }
  if (!page.payment_code.empty()) {
    AddCode(this, *layout, QStringLiteral("Plaćanje"), CodeKind::kPdf417, page.payment_code);
  }
  for (const std::string& warning : page.warnings) layout->addWidget(new QLabel(InCroatian(warning)));
  AddActionButton(this, *layout, QStringLiteral("Zatvori"), [this] { accept(); });
}

}  // namespace mox

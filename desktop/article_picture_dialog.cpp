#include "desktop/article_picture_dialog.h"

#include <QDragEnterEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QMimeData>
#include <QVBoxLayout>

#include "desktop/action_button.h"
#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/host.h"
#include "desktop/sheet_view.h"
#include "desktop/status_window.h"
#include "mox/foundation/files.h"
#include "mox/server/transactions.h"
#include "paper/article_pictures.h"

namespace mox {
namespace {

constexpr int kSide = 420;
struct Cut {
  const char16_t* title;
  int width;
  int height;
};
constexpr Cut kCuts[] = {
    {u"Cijela slika", 0, 0}, {u"Izrez 1:1", 1, 1}, {u"Izrez 4:3", 4, 3}, {u"Izrez 3:4", 3, 4}};
const QString kPictures = QStringLiteral("Slike (*.jpg *.jpeg *.png *.gif);;Sve datoteke (*)");

}  // namespace

ArticlePictureDialog::ArticlePictureDialog(DesktopHost& host, std::string code, QWidget* parent)
    : QDialog(parent), host_(host), code_(std::move(code)) {
  setWindowTitle(QStringLiteral("Slika artikla %1").arg(ToQt(code_)));
  setAcceptDrops(true);
  auto* const layout = new QVBoxLayout(this);
  picture_.setAlignment(Qt::AlignCenter);
  picture_.setMinimumSize(kSide, kSide);
  picture_.setAccessibleName(QStringLiteral("Slika"));
  layout->addWidget(&picture_, 1);
  auto* const bar = new QHBoxLayout;
  for (const Cut& cut : kCuts) cut_.addItem(QString::fromUtf16(cut.title));
  cut_.setAccessibleName(QStringLiteral("Izrez učitane slike"));
  bar->addWidget(&cut_);
  AddActionButton(
      this, *bar, QStringLiteral("Učitaj…"),
      [this] {
        const QString path =
            QFileDialog::getOpenFileName(this, QStringLiteral("Slika artikla"), {}, kPictures);
        if (!path.isEmpty()) Load(FromQt(path));
      },
      QKeySequence::Open);
  AddActionButton(
      this, *bar, QStringLiteral("Spremi…"),
      [this] {
        const QString path =
            QFileDialog::getSaveFileName(this, QStringLiteral("Spremi sliku"), {}, kPictures);
        if (!path.isEmpty()) SaveTo(FromQt(path));
      },
      QKeySequence::Save);
  AddActionButton(this, *bar, QStringLiteral("Ukloni"), [this] { Remove(); });
  AddActionButton(this, *bar, QStringLiteral("Zatvori"), [this] { accept(); });
  layout->addLayout(bar);
  Show();
}

void ArticlePictureDialog::Show() {
  bytes_ = FindArticlePicture(code_).value_or(std::string());
  if (bytes_.empty()) {
    picture_.setPixmap({});
    picture_.setText(QStringLiteral("Artikl nema sliku."));
    picture_.setAccessibleDescription(picture_.text());
    return;
  }
  const Picture stored = DecodePicture(bytes_);
  const double ratio = devicePixelRatioF();
  const int most = static_cast<int>(kSide * ratio);
  QImage image = ToQtImage(ResizedTo(stored, most, most));
  image.setDevicePixelRatio(ratio);
  picture_.setPixmap(QPixmap::fromImage(image));
  picture_.setAccessibleDescription(QStringLiteral("%1 × %2").arg(stored.width).arg(stored.height));
}

void ArticlePictureDialog::Store(std::string_view bytes) {
  RecordSet record = ArticlePictureRecord(code_, bytes);
  if (!ExecuteTransaction("ArtiklSlikaUpis", {&record})) throw Error(FromQt(RefusalOf(host_.Server())));
  Show();
}

void ArticlePictureDialog::Load(const std::string& path) {
  const LongRun run(host_, QStringLiteral("Priprema slike"));
  Store(host_.RunLong([path, cut = kCuts[static_cast<std::size_t>(cut_.currentIndex())]] {
    const std::string bytes = ReadRegularFile(path);
    try {
      return PreparedPicture(bytes, {.crop_width = cut.width, .crop_height = cut.height});
    } catch (const Error& error) {
      throw Error(path + ": " + error.what());
    }
  }));
}

void ArticlePictureDialog::SaveTo(const std::string& path) {
  if (bytes_.empty()) throw Error("Artikl nema sliku.");
  OutputFiles files;
  files.Keep(App().Company().CompanyPath(), "the company database");
  files.Write(path, bytes_, kPictureOutput);
}

void ArticlePictureDialog::Remove() {
  if (bytes_.empty()) throw Error("Artikl nema sliku.");
  if (AskToLose("Slika artikla", "Ukloniti sliku?")) Store({});
}

void ArticlePictureDialog::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->urls().size() == 1) event->acceptProposedAction();
}

void ArticlePictureDialog::dropEvent(QDropEvent* event) {
  const QList<QUrl> files = event->mimeData()->urls();
  if (files.size() == 1 && files.first().isLocalFile()) {
    Guarded([&] { Load(FromQt(files.first().toLocalFile())); });
  }
}

}  // namespace mox

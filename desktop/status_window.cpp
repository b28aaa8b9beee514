#include "desktop/status_window.h"

#include <QApplication>
#include <QKeyEvent>
#include <QVBoxLayout>
#include <algorithm>

#include "desktop/qt_text.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr qint64 kBetweenPaints = 40;  // milliseconds
constexpr int kWidth = 460;
constexpr std::string_view kStoring = "Pohrana";

}  // namespace

StatusForm::StatusForm(QWidget* owner) : QDialog(owner) {
  setWindowTitle(QStringLiteral("Status"));
  setModal(true);
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(&text_);
  layout->addWidget(&bar_);
  layout->addWidget(&end_, 0, Qt::AlignRight);
  bar_.setAccessibleName(QStringLiteral("Napredak"));
  end_.setAutoDefault(false);
  connect(&end_, &QPushButton::clicked, this, &QDialog::reject);
  setFixedWidth(kWidth);
  since_painted_.start();
}

StatusForm::~StatusForm() { hide(); }

// What was stored is not ended any more, although the button was pressed while it was sent.
void StatusForm::Show(const TfrmStatus& status, bool repaint) {
  if (!status.Visible()) return hide();
  const bool opens = !isVisible();
  const bool stores = std::string_view(status.Text()).starts_with(kStoring);
  if (!repaint && !opens && since_painted_.elapsed() < kBetweenPaints) return;
  text_.setText(ToQt(status.Text()));
  const auto maximum = static_cast<int>(std::max<std::int64_t>(status.Maximum(), 1));
  bar_.setRange(0, maximum);
  bar_.setValue(static_cast<int>(std::min<std::int64_t>(status.Position(), maximum)));
  if (opens) show();
  if (opens || since_painted_.elapsed() >= kBetweenPaints) Paint();
  if (ended_ && !stores) throw Abort();
}

void StatusForm::Show(const QString& text) {
  text_.setText(text);
  bar_.setRange(0, 0);
  show();
  Look();
}

void StatusForm::Paint() {
  QCoreApplication::processEvents();
  since_painted_.restart();
}

void StatusForm::Look() {
  Paint();
  if (ended_) throw Abort();
}

void StatusForm::showEvent(QShowEvent* event) {
  typed_in_ = QGuiApplication::focusWindow();
  QCoreApplication::instance()->installEventFilter(this);
  QDialog::showEvent(event);
}

// A person who types ahead neither ends the work nor loses a key. What the work asks takes its keys itself.
bool StatusForm::eventFilter(QObject* watched, QEvent* event) {
  const bool is_key = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
  const bool asks = QApplication::activeModalWidget() != this;
  if (!is_key || asks || !watched->isWindowType()) return QDialog::eventFilter(watched, event);
  const auto& key = static_cast<const QKeyEvent&>(*event);
  if (key.key() == Qt::Key_Escape) {
    if (event->type() == QEvent::KeyPress) reject();
  } else {
    if (typed_in_ == nullptr && watched != windowHandle()) typed_in_ = static_cast<QWindow*>(watched);
    typed_.emplace_back(key.clone());
  }
  return true;
}

void StatusForm::hideEvent(QHideEvent* event) {
  QCoreApplication::instance()->removeEventFilter(this);
  for (auto& key : std::exchange(typed_, {})) {
    if (typed_in_ != nullptr) QCoreApplication::postEvent(typed_in_, key.release());
  }
  QDialog::hideEvent(event);
}

LongRun::LongRun(DesktopHost& host, QString text) : text_(std::move(text)), work_(host, [this] { Look(); }) {
  since_.start();
}

void LongRun::Look() {
  if (status_ != nullptr) return status_->Look();
  if (since_.elapsed() < kTakesLong) return;
  status_ = std::make_unique<StatusForm>(QApplication::activeWindow());
  status_->Show(text_);
}

}  // namespace mox

#include "desktop/status_window.h"

#include <QApplication>
#include <QKeyEvent>
#include <QVBoxLayout>
#include <algorithm>

#include "desktop/dialogs.h"
#include "desktop/qt_text.h"
#include "desktop/typed_ahead.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr qint64 kBetweenPaints = 40;  // milliseconds
constexpr int kWidth = 460;
constexpr std::string_view kStoring = "Pohrana";

// Of the whole application.
TypedAhead& Typed() {
  static const QPointer<TypedAhead> typed(new TypedAhead(QCoreApplication::instance()));
  return *typed;
}

}  // namespace

StatusForm::StatusForm(QWidget* owner) : QDialog(owner) {
  setWindowTitle(QStringLiteral("Status"));
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(&text_);
  layout->addWidget(&bar_);
  layout->addWidget(&end_, 0, Qt::AlignRight);
  bar_.setAccessibleName(QStringLiteral("Napredak"));
  end_.setAutoDefault(false);
  end_.setFocusPolicy(Qt::NoFocus);  // keys go to the window behind
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
  if (!stores && std::exchange(ends_, false)) throw Abort();
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
  if (std::exchange(ends_, false)) throw Abort();
}

void StatusForm::showEvent(QShowEvent* event) {
  if (!event->spontaneous()) {
    Typed().Hold();
    QCoreApplication::instance()->installEventFilter(this);
  }
  QDialog::showEvent(event);
}

// What reaches a window that is blocked by a modal one is gone, or a shortcut there takes effect all the same
// until the other window is the active one. So this one is not modal: it takes what comes to the others, and
// a person who types ahead neither ends the work nor loses a key.
bool StatusForm::eventFilter(QObject* watched, QEvent* event) {
  if (!watched->isWindowType() || Typed().IsBehindADialog()) return QDialog::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
      if (static_cast<const QKeyEvent&>(*event).key() != Qt::Key_Escape) break;
      if (event->type() == QEvent::KeyPress) reject();
      return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::TabletMove:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::Close:
      if (watched == windowHandle()) break;
      event->ignore();
      return true;
    default:
      break;
  }
  return QDialog::eventFilter(watched, event);
}

void StatusForm::hideEvent(QHideEvent* event) {
  if (!event->spontaneous()) {
    QCoreApplication::instance()->removeEventFilter(this);
    Typed().LetGo(windowHandle());
  }
  QDialog::hideEvent(event);
}

LongRun::LongRun(DesktopHost& host, QString text) : text_(std::move(text)), work_(host, [this] { Look(); }) {
  since_.start();
}

void LongRun::Look() {
  if (status_ != nullptr) return status_->Look();
  if (since_.elapsed() < kTakesLong) return;
  status_ = std::make_unique<StatusForm>(FrontWindow());
  status_->Show(text_);
}

}  // namespace mox

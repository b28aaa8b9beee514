#include "desktop/status_window.h"

#include <QApplication>
#include <QVBoxLayout>
#include <algorithm>

#include "desktop/qt_text.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr qint64 kBetweenPaints = 40;  // milliseconds
constexpr qint64 kMoment = 300;
constexpr int kWidth = 460;
// What was sent to the server cannot be taken back any more.
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
  connect(&end_, &QPushButton::clicked, this, &QDialog::reject);
  setFixedWidth(kWidth);
  since_painted_.start();
}

void StatusForm::Show(const TfrmStatus& status, bool repaint) {
  if (!status.Visible()) return hide();
  const bool opens = !isVisible();
  may_end_ = !std::string_view(status.Text()).starts_with(kStoring);
  if (!repaint && !opens && since_painted_.elapsed() < kBetweenPaints) return;
  text_.setText(ToQt(status.Text()));
  const auto maximum = static_cast<int>(std::max<std::int64_t>(status.Maximum(), 1));
  bar_.setRange(0, maximum);
  bar_.setValue(static_cast<int>(std::min<std::int64_t>(status.Position(), maximum)));
  end_.setEnabled(may_end_);
  if (opens) show();
  if (opens || since_painted_.elapsed() >= kBetweenPaints) return Look();
  if (ended_ && may_end_) throw Abort();
}

void StatusForm::Show(const QString& text) {
  may_end_ = true;
  text_.setText(text);
  bar_.setRange(0, 0);
  end_.setEnabled(true);
  show();
  Look();
}

void StatusForm::ShowSoon(const QString& text, bool may_end) {
  may_end_ = may_end;
  comes_ = true;
  text_.setText(text);
  bar_.setRange(0, 0);
  end_.setEnabled(may_end);
  since_painted_.restart();
}

// What is not under this form takes no keys and clicks.
void StatusForm::Look() {
  if (comes_ && !isVisible()) {
    if (since_painted_.elapsed() < kMoment) return;
    show();
  }
  QCoreApplication::processEvents(isVisible() ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
  since_painted_.restart();
  if (ended_ && may_end_) throw Abort();
}

LongRun::LongRun(DesktopHost& host, const QString& text, Ending ending)
    : status_(QApplication::activeWindow()), work_(host, [this] { status_.Look(); }) {
  status_.ShowSoon(text, ending == Ending::kByUser);
}

}  // namespace mox

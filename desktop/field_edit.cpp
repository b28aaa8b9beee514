#include "desktop/field_edit.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QStyle>

#include "desktop/croatian.h"
#include "desktop/dialogs.h"
#include "desktop/look_ups.h"
#include "desktop/qt_text.h"
#include "mox/entry/line_screen.h"
#include "mox/foundation/error.h"

namespace mox {

FieldEdit::FieldEdit(RecordSet& record, std::string_view field, QWidget* parent)
    : QWidget(parent), record_(record), field_(record.FieldByName(field).Index()) {
  auto* const layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(&line_);
  line_.setAccessibleName(ToQt(CaptionOf(field)));
  line_.installEventFilter(this);
  setFocusProxy(&line_);
  connect(&line_, &QLineEdit::editingFinished, this, [this] { Take(); });
  ReadAnew();
}

// A line that goes while it has the focus says that its editing is finished.
FieldEdit::~FieldEdit() { line_.disconnect(this); }

void FieldEdit::SetLookUp(LookUpForm form, std::string_view shown,
                          std::function<std::optional<Value>(const RecordSet&)> key_of) {
  look_up_ = LookUp{form, std::string(shown), std::move(key_of)};
  line_.setPlaceholderText(QStringLiteral("F4: ") + SourceOf(form).title.toLower());
  QAction* const open =
      line_.addAction(style()->standardIcon(QStyle::SP_ArrowDown), QLineEdit::TrailingPosition);
  open->setToolTip(SourceOf(form).title + QStringLiteral(" (F4)"));
  connect(open, &QAction::triggered, this, [this] { OpenLookUp(); });
}

void FieldEdit::SetReadOnly(bool read_only) { line_.setReadOnly(read_only); }

bool FieldEdit::IsByKey() const { return look_up_ && !HoldsText(record_.Definition(field_).kind); }

void FieldEdit::ShowName(const QString& name) {
  name_ = name;
  ReadAnew();
}

void FieldEdit::ReadAnew() {
  const RecordRow row = record_.RowAt(0);
  line_.setText(row.IsNull(field_)              ? QString()
                : IsByKey() && !name_.isEmpty() ? name_
                                                : ToQt(row.AsText(field_)));
  line_.setModified(false);
  Fault({});
}

void FieldEdit::Fault(const QString& text) {
  line_.setToolTip(text);
  line_.setStyleSheet(text.isEmpty() ? QString()
                                     : QStringLiteral("QLineEdit { border: 2px solid #d03030; }"));
  line_.setAccessibleDescription(text);
}

bool FieldEdit::Write(const Value& value) {
  try {
    if (record_.State() == DataSetState::kBrowse) record_.Edit();
    record_.SetVariant(field_, value);
    record_.Post();
  } catch (const Error& error) {
    record_.Cancel();
    const FieldKind kind = record_.Definition(field_).kind;
    Fault(kind == FieldKind::kDate
              ? QStringLiteral("To nije datum (%1).").arg(ToQt(CurrentLocale().short_date))
          : HoldsText(kind) ? InCroatian(error.what())
                            : QStringLiteral("To nije broj."));
    return false;
  }
  return true;
}

bool FieldEdit::Take() {
  if (choosing_ || !line_.isModified()) return line_.toolTip().isEmpty() || !line_.isModified();
  const QString text = line_.text().trimmed();
  if (IsByKey() && !text.isEmpty()) {
    OpenLookUp();
    return !line_.isModified();
  }
  if (!Write(text.isEmpty() ? Value() : Value(FromQt(text)))) return false;
  if (text.isEmpty()) name_.clear();
  ReadAnew();
  if (on_changed_) on_changed_();
  return true;
}

QString FieldEdit::TakeTyped() {
  if (!line_.isModified()) return {};
  const QString text = line_.text().trimmed();
  const QString what = line_.accessibleName() + QStringLiteral(" „") + text + QStringLiteral("”: ");
  if (IsByKey() && !text.isEmpty()) return what + QStringLiteral("nije odabrano");
  return Take() ? QString() : what + line_.toolTip();
}

void FieldEdit::OpenLookUp() {
  if (!look_up_ || line_.isReadOnly() || choosing_) return;
  choosing_ = true;
  Guarded([this] {
    const auto chosen =
        App().LookUps().LookUp(look_up_->form, line_.isModified() ? FromQt(line_.text()) : "");
    if (!chosen) return ReadAnew();
    const std::optional<Value> key = look_up_->key_of(*chosen);
    if (!key || !Write(*key)) return;
    name_ = ToQt(chosen->RowAt(0).AsText(*chosen->FindFieldIndex(look_up_->shown)));
    ReadAnew();
    if (on_changed_) on_changed_();
  });
  choosing_ = false;
}

bool FieldEdit::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
  const int key = static_cast<QKeyEvent*>(event)->key();
  if (key == Qt::Key_F4) return OpenLookUp(), true;
  if (key == Qt::Key_Escape && line_.isModified()) return ReadAnew(), true;
  if (key == Qt::Key_Return || key == Qt::Key_Enter) {
    if (Take()) focusNextChild();
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace mox

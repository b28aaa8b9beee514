#include "desktop/dialogs.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "desktop/contrast.h"
#include "desktop/croatian.h"
#include "desktop/dialog_buttons.h"
#include "desktop/money.h"
#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"

namespace mox {
namespace {

constexpr int kBoxWidth = 420;

QMessageBox::Icon IconOf(TVCustomDialogType kind) {
  switch (kind) {
    case TVCustomDialogType::kConfirmation:
      return QMessageBox::Question;
    case TVCustomDialogType::kError:
      return QMessageBox::Critical;
    default:
      return QMessageBox::Information;
  }
}

// A prompt, an editor, what is wrong with it, and two buttons.
class InputDialog : public QDialog {
 public:
  // What is wrong with what was entered; empty where nothing is.
  using Check = std::function<QString()>;

  InputDialog(std::string_view title, std::string_view prompt, QWidget* editor, Check check = nullptr)
      : QDialog(FrontWindow()), check_(std::move(check)), fault_(new QLabel) {
    setWindowTitle(ToQt(title));
    auto* const layout = new QVBoxLayout(this);
    auto* const label = new QLabel(ToQt(prompt));
    label->setBuddy(editor);
    editor->setAccessibleName(ToQt(prompt));
    auto* const buttons = MakeDialogButtons(*this, QStringLiteral("U redu"));
    fault_->setVisible(false);
    fault_->setStyleSheet(FaultStyle(palette()));
    layout->addWidget(label);
    layout->addWidget(editor);
    layout->addWidget(fault_);
    layout->addWidget(buttons);
    resize(kBoxWidth, sizeHint().height());
    editor->setFocus();
  }
  void accept() override {
    const QString fault = check_ ? check_() : QString();
    fault_->setText(fault);
    fault_->setVisible(!fault.isEmpty());
    if (fault.isEmpty()) QDialog::accept();
  }

 private:
  Check check_;
  QLabel* fault_;
};

// The line that was entered, as far as `check` lets it pass.
std::optional<QString> InputLine(std::string_view title, std::string_view prompt, const QString& text,
                                 const std::function<QString(const QString&)>& check = nullptr) {
  auto* const line = new QLineEdit(text);
  line->selectAll();
  InputDialog dialog(title, prompt, line, [&] { return check ? check(line->text()) : QString(); });
  return dialog.exec() == QDialog::Accepted ? std::optional(line->text()) : std::nullopt;
}

// Answers whether yes was pressed, which a message has none of.
bool ShowBox(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
             std::string_view message, bool yes_by_default = true) {
  QMessageBox box(IconOf(kind), ToQt(caption), ToQt(heading), QMessageBox::NoButton, FrontWindow());
  box.setTextFormat(Qt::PlainText);
  box.setInformativeText(ToQt(message));
  if (kind != TVCustomDialogType::kConfirmation) {
    box.addButton(QStringLiteral("U redu"), QMessageBox::AcceptRole);
    box.exec();
    return false;
  }
  QPushButton* const yes = box.addButton(QStringLiteral("&Da"), QMessageBox::YesRole);
  QPushButton* const no = box.addButton(QStringLiteral("&Ne"), QMessageBox::NoRole);
  box.setDefaultButton(yes_by_default ? yes : no);
  box.setEscapeButton(no);
  box.exec();
  return box.clickedButton() == yes;
}

}  // namespace

int QtDialogs::ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                               std::string_view message) {
  const bool yes = ShowBox(kind, caption, heading, message);
  if (kind != TVCustomDialogType::kConfirmation) return 0;
  return yes ? kDialogYes : kDialogNo;
}

void QtDialogs::ShowMessage(std::string_view text) {
  QMessageBox box(QMessageBox::NoIcon, QStringLiteral("Mox"), ToQt(text), QMessageBox::NoButton,
                  FrontWindow());
  box.setTextFormat(Qt::PlainText);
  box.addButton(QStringLiteral("U redu"), QMessageBox::AcceptRole);
  box.exec();
}

std::optional<std::string> QtDialogs::InputBox(std::string_view title, std::string_view prompt,
                                               std::string_view default_text) {
  const auto text = InputLine(title, prompt, ToQt(default_text));
  return text ? std::optional(FromQt(*text)) : std::nullopt;
}

std::optional<std::string> QtDialogs::InputText(std::string_view title, std::string_view prompt,
                                                std::string_view default_text) {
  auto* const editor = new QPlainTextEdit(ToQt(default_text));
  editor->setTabChangesFocus(true);
  InputDialog dialog(title, prompt, editor);
  return dialog.exec() == QDialog::Accepted ? std::optional(FromQt(editor->toPlainText())) : std::nullopt;
}

std::optional<double> QtDialogs::InputNumber(std::string_view title, std::string_view prompt,
                                             double default_value) {
  const LocaleSettings& locale = CurrentLocale();
  const auto text =
      InputLine(title, prompt, ToQt(NumberToText(default_value, locale)), [&](const QString& typed) {
        return ParseLocaleNumber(WithoutGroups(typed), locale) ? QString() : QStringLiteral("To nije broj.");
      });
  return text ? ParseLocaleNumber(WithoutGroups(*text), locale) : std::nullopt;
}

std::optional<Date> QtDialogs::InputDate(std::string_view title, std::string_view prompt, Date default_date) {
  const LocaleSettings& locale = CurrentLocale();
  const auto text =
      InputLine(title, prompt, ToQt(DateToText(default_date, locale)), [&](const QString& typed) {
        return ParseLocaleDate(FromQt(typed), locale)
                   ? QString()
                   : QStringLiteral("To nije datum (%1).").arg(ToQt(locale.short_date));
      });
  return text ? ParseLocaleDate(FromQt(*text), locale) : std::nullopt;
}

QWidget* FrontWindow() {
  if (QWidget* const dialog = QApplication::activeModalWidget()) return dialog;
  QWidget* const active = QApplication::activeWindow();
  if (active != nullptr && active->isVisible()) return active;
  return dynamic_cast<QWidget*>(App().Forms().MainForm());
}

bool Guarded(const std::function<void()>& action) {
  try {
    action();
    return true;
  } catch (const Abort&) {
  } catch (const std::exception& error) {
    QtDialogs().ShowVelorDialog(TVCustomDialogType::kError, "Greška", "Radnja nije izvršena.",
                                FromQt(InCroatian(error.what())));
  }
  return false;
}

bool Ask(std::string_view heading, std::string_view message) {
  return ShowBox(TVCustomDialogType::kConfirmation, "Potvrda", heading, message);
}

bool AskToLose(std::string_view heading, std::string_view message) {
  return ShowBox(TVCustomDialogType::kConfirmation, "Potvrda", heading, message, false);
}

}  // namespace mox

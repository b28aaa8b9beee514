#pragma once

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QMessageBox>
#include <QTest>
#include <QTimerEvent>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "appserver/database.h"
#include "desktop/document_editor.h"
#include "desktop/host.h"
#include "desktop/import_dialog.h"
#include "desktop/main_window.h"
#include "desktop/qt_text.h"
#include "tests/fakes/scratch_folder.h"

namespace mox {

/// In the place of what is there, as a person types.
inline void Fill(QLineEdit* line, const QString& text) {
  line->selectAll();
  QTest::keyClicks(line, text);
}
inline void FillIn(QLineEdit* line, const QString& text) {
  Fill(line, text);
  QTest::keyClick(line, Qt::Key_Return);
}
/// By Escape, as it were, whatever has the keys.
inline void Leave(QWidget* dialog) { static_cast<QDialog*>(dialog)->reject(); }

/// A person before dialogs: what a message says is written down, and each dialog gets the next answer, the
/// caption of a button or something to do with it. Where answers end, the default button is pressed.
class Person : private QObject {
 public:
  Person() { startTimer(1); }
  void WillPress(const char* button) {
    answers_.emplace_back([name = QString::fromUtf8(button)](QWidget* dialog) {
      for (QAbstractButton* const candidate : dialog->findChildren<QAbstractButton*>()) {
        if (candidate->text().remove(u'&') == name) return candidate->click();
      }
      ADD_FAILURE() << "no button " << FromQt(name) << " in " << FromQt(dialog->windowTitle());
    });
  }
  void WillDo(std::function<void(QWidget* dialog)> action) { answers_.push_back(std::move(action)); }
  // Into the line that a dialog asks for.
  void WillEnter(const QString& text) {
    WillDo([text](QWidget* dialog) { FillIn(dialog->findChild<QLineEdit*>(), text); });
  }

  bool ends_work = false;  ///< as soon as it shows how far it is
  std::function<void(QWidget* status)> on_status;
  std::vector<std::string> read;  ///< "caption | heading | message" of messages, the title of other dialogs

 private:
  // Each time by a timer of its own, as one does not run again while what it has called opens further
  // dialogs.
  void timerEvent(QTimerEvent* event) override {
    killTimer(event->timerId());
    startTimer(1);
    Look();
  }
  void Look() {
    QWidget* const dialog = QApplication::activeModalWidget();
    if (dialog == nullptr || dialog == handled_) return LookAtStatus();
    const auto* const box = qobject_cast<QMessageBox*>(dialog);
    read.push_back(FromQt(box == nullptr ? dialog->windowTitle()
                                         : box->windowTitle() + QStringLiteral(" | ") + box->text() +
                                               QStringLiteral(" | ") + box->informativeText()));
    if (answers_.empty()) {
      QTest::keyClick(dialog, Qt::Key_Return);
      return;
    }
    const auto answer = std::move(answers_.front());
    answers_.pop_front();
    QWidget* const before = std::exchange(handled_, dialog);
    answer(dialog);
    handled_ = before;
  }

  void LookAtStatus() {
    for (QWidget* const window : QApplication::topLevelWidgets()) {
      if (!window->isVisible() || window->windowTitle() != QStringLiteral("Status")) continue;
      if (on_status) on_status(window);
      if (ends_work) Leave(window);
    }
  }

  std::deque<std::function<void(QWidget*)>> answers_;
  QWidget* handled_ = nullptr;  // what an answer works on, which may open others
};

/// A new company with its made-up data, open in the main window.
class DesktopTest : public testing::Test {
 protected:
  DesktopTest() {
    Database::Create(company_, WithDemo::kYes);
    Start();
  }
  void Start() {
    host_ = std::make_unique<DesktopHost>(folder_ / "mox.ini", folder_ / "");
    window_ = std::make_unique<MainWindow>(*host_);
    window_->show();
    window_->OpenCompany(company_);
  }
  void Stop() {
    window_.reset();
    host_.reset();
  }
  DocumentEditor* New(const char* kind) { return window_->NewDocument(DocumentKindByName(kind)); }
  // A new document with lines as they come from a spreadsheet.
  DocumentEditor* Enter(const char* kind, const char* sheet, const char* lines) {
    DocumentEditor* const editor = New(kind);
    QApplication::clipboard()->setText(QString::fromUtf8(lines));
    RecordSetView* const view = Lines(editor, sheet);
    QTest::keyClick(view, Qt::Key_V, Qt::ControlModifier);
    view->Model().submit();
    view->setCurrentIndex(view->Model().index(view->Model().rowCount() - 1, 3));
    Settle();
    return editor;
  }
  DocumentEditor* EnterService() { return Enter("racun-usluga", "Usluge", "\tObuka\tdan\t1\t320\t10\t25\n"); }
  // The import grid, until it is left.
  bool InGrid(const std::function<void(ImportDialog* grid)>& action, const char* profile = "KONTNIPLAN") {
    person_.WillDo([action](QWidget* dialog) {
      auto* const grid = dynamic_cast<ImportDialog*>(dialog);
      ASSERT_NE(grid, nullptr);
      action(grid);
      if (grid->isVisible()) Leave(grid);
    });
    return CallImportGrid(profile);
  }
  static void PasteRows(QWidget* grid, const QString& text) {
    QApplication::clipboard()->setText(text);
    QTest::keyClick(Lines(grid, "Redci za uvoz"), Qt::Key_E, Qt::AltModifier);
  }
  static void Settle() {
    for (int i = 0; i < 4; ++i) {
      QCoreApplication::processEvents();
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
  }
  // A shortcut, in the window that a window manager would have made active.
  static void Press(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    widget->window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(widget->window()));
    QTest::keyClick(widget, key, modifiers);
  }
  static void PressButton(QWidget* page, const char* caption) {
    for (QPushButton* const button : page->findChildren<QPushButton*>()) {
      if (button->text().remove(u'&') == QString::fromUtf8(caption)) return button->click();
    }
    ADD_FAILURE() << "no button " << caption;
  }
  template <typename Widget>
  static Widget* Named(QWidget* page, const char* name) {
    for (Widget* const widget : page->findChildren<Widget*>()) {
      if (widget->accessibleName() == QString::fromUtf8(name)) return widget;
    }
    return nullptr;
  }
  static RecordSetView* Lines(QWidget* page, const char* name = "Stavke") {
    return Named<RecordSetView>(page, name);
  }
  static QLabel* Label(QWidget* page, const char* name) { return Named<QLabel>(page, name); }
  static QLineEdit* Line(QWidget* page, const char* name) { return Named<QLineEdit>(page, name); }
  static std::string Told(QWidget* page, const char* label = "Napomena") {
    return FromQt(Label(page, label)->text());
  }
  QWidget* Page() { return window_->Tabs().currentWidget(); }
  void ClosePage() { Q_EMIT window_->Tabs().tabCloseRequested(window_->Tabs().currentIndex()); }
  static void Go(RecordSetView* view, int row, const char* field) {
    view->setCurrentIndex(view->Model().index(row, view->Model().ColumnOf(field).value()));
  }
  static int RowOf(RecordSetView* view, const char* field, const QString& text) {
    for (int row = 0; row < view->Model().rowCount(); ++row) {
      if (Cell(view, row, field) == text) return row;
    }
    ADD_FAILURE() << "no row of " << FromQt(text);
    return -1;
  }
  // Begins a row by the text of a field, and answers its number.
  static int Append(RecordSetView* view, const char* field, const QString& text, bool enter = true) {
    QTest::keyClick(view, Qt::Key_Insert);
    const int row = view->Model().rowCount() - 1;
    Put(view, row, field, text, enter);
    return row;
  }
  static void Put(RecordSetView* view, int row, const char* field, const QString& text, bool enter = true) {
    Go(view, row, field);
    Type(view, text, enter);
  }
  // Into the current cell of a table, as a person types, Enter behind it.
  static void Type(RecordSetView* view, const QString& text, bool enter = true) {
    QWidget* target = view;
    for (const QChar key : text) {
      QTest::keyClick(target, key.toLatin1());
      if (QLineEdit* const editor = view->viewport()->findChild<QLineEdit*>()) target = editor;
    }
    if (enter) QTest::keyClick(target, Qt::Key_Return);
    if (enter) Settle();
  }
  static QString Cell(RecordSetView* view, int row, const char* field) {
    return view->Model().index(row, view->Model().ColumnOf(field).value()).data().toString();
  }

  ScratchFolder folder_;
  std::string company_ = folder_ / "firma.db";
  Person person_;
  std::unique_ptr<DesktopHost> host_;
  std::unique_ptr<MainWindow> window_;
};

}  // namespace mox

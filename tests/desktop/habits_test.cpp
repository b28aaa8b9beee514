// What every window has: a place that is remembered, and keys that are listed.

#include <QShortcut>
#include <QTextBrowser>

#include "desktop/print_dialog.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "tests/desktop/desktop_fixture.h"

namespace mox {
namespace {

TEST_F(DesktopTest, ShowsWindowsWhereTheyWere) {
  const QPoint there(10, 20);
  const QSize other(740, 580);
  const auto editor = [this] {
    auto made = std::make_unique<DocumentEditor>(*host_, Document("predracun"), Draft::Begin());
    made->show();
    return made;
  };
  window_->resize(760, 590);  // the screen has 800; as far as it goes
  const QSize size = window_->size();
  window_->move(there);
  InGrid([&](QWidget* grid) { grid->move(there); });
  {
    const auto shown = editor();
    shown->resize(other);
    shown->move(there);
  }
  Stop();
  Start();
  EXPECT_EQ(window_->size(), size);
  EXPECT_EQ(window_->pos(), there);
  InGrid([&](QWidget* grid) {
    EXPECT_EQ(grid->pos(), there);
    EXPECT_EQ(grid->size(), QSize(1008, 696));
  });
  EXPECT_EQ(editor()->size(), other);
  EXPECT_EQ(New("predracun")->window(), window_.get());
  EXPECT_EQ(window_->size(), size) << "a page has no place of its own";
}

// Every key of every page and dialog is found at F1.
TEST_F(DesktopTest, ListsEveryKey) {
  QString listed;
  person_.WillDo([&](QWidget* dialog) {
    listed = dialog->findChild<QTextBrowser*>()->toPlainText();
    Leave(dialog);
  });
  Press(window_.get(), Qt::Key_F1);
  int keys = 0;
  const auto look = [&](const QWidget* window) {
    for (const QShortcut* const shortcut : window->findChildren<QShortcut*>()) {
      ++keys;
      EXPECT_TRUE(listed.contains(shortcut->key().toString(QKeySequence::NativeText)))
          << FromQt(shortcut->key().toString()) << " in " << FromQt(window->windowTitle());
    }
  };
  DocumentEditor* const editor = EnterService();
  Press(editor, Qt::Key_F9);
  Press(editor, Qt::Key_F9);  // shows it
  window_->ShowRates();
  window_->ShowMails();
  window_->ShowReports();
  window_->ShowCodebook("artikli");
  look(window_.get());
  EXPECT_GT(keys, 20);
  InGrid(look);
  look(std::make_unique<PrintDialog>(1, window_.get()).get());
}

// Ctrl+Z in a cell, F4 for what is typed in it, and an article by its bar code.
TEST_F(DesktopTest, KnowsTheHabitsOfTyping) {
  RecordSet article("artikli");
  article.CleanClone(*CreateDBDataSet("Kat\\artikli", "artikli", {{"trazi", Value("Demo artikl")}}));
  article.Edit();
  article.FieldByName("barcode").SetText("3850001234567");
  article.Post();
  ASSERT_TRUE(ExecuteTransaction("KatalogUpis", {&article})) << host_->Server().WriteRefusal();
  DocumentEditor* const editor = New("predracun");
  RecordSetView* const lines = Lines(editor);
  Append(lines, "naziv", "Stol", false);
  auto* const cell = lines->viewport()->findChild<QLineEdit*>();
  QTest::keyClick(cell, Qt::Key_Backspace);
  QTest::keyClick(cell, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(cell->text(), "Stol");
  QTest::keyClick(cell, Qt::Key_Escape);
  Settle();
  Append(lines, "sifra", "3850001234567");
  EXPECT_EQ(Cell(lines, 0, "naziv"), "Demo artikl");
  const auto look_up = [&](int row, const char* typed, Qt::Key key) {
    ASSERT_TRUE(lines->Model().submit());
    QTest::keyClick(lines, Qt::Key_Insert);
    Settle();
    Put(lines, row, "sifra", typed, false);
    person_.WillDo([=](QWidget* dialog) {
      EXPECT_EQ(Line(dialog, "Traži")->text(), typed);
      QTest::keyClick(Line(dialog, "Traži"), key);
    });
    QTest::keyClick(lines->viewport()->findChild<QLineEdit*>(), Qt::Key_F4);
    Settle();
    EXPECT_EQ(person_.read.back(), "Artikli");
    EXPECT_THAT(FromQt(Cell(lines, row, "naziv")), testing::HasSubstr("emo"));
  };
  look_up(1, "demo", Qt::Key_Return);
  look_up(2, "3850001234567", Qt::Key_Escape);
}

}  // namespace
}  // namespace mox

#include "desktop/record_set_model.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMimeData>
#include <QTest>
#include <random>

#include "desktop/clipboard_table.h"
#include "desktop/contrast.h"
#include "desktop/qt_text.h"
#include "desktop/record_set_view.h"
#include "mox/calculations/document_lines.h"
#include "mox/foundation/app.h"
#include "mox/host/locale.h"
#include "mox/host/memory_settings.h"

namespace mox {
namespace {

using testing::ElementsAre;

RecordSet Lines(int count) {
  RecordSet lines("Stavke");
  lines.DefineField({.name = "naziv", .required = true, .display_name = "Naziv"});
  lines.DefineField({.name = "kolicina", .kind = FieldKind::kFloat});
  lines.DefineField({.name = "pc", .kind = FieldKind::kCurrency, .display_format = "#,0.00;-#,0.00"});
  lines.DefineField({.name = "hitno", .kind = FieldKind::kBoolean});
  lines.DefineField({.name = "datum", .kind = FieldKind::kDate});
  lines.DefineField({.name = "ukupno", .kind = FieldKind::kCurrency, .calculated = true});
  lines.SetOnCalcFields([](RecordSet& line) {
    const Field total = line.FieldByName("ukupno");
    line.SetFloat(total.Index(), line.AsFloat(1) * line.AsFloat(2));
  });
  lines.Open();
  for (int i = 0; i < count; ++i) {
    lines.AppendRecord({"r" + std::to_string(i), 2.0, Currency::Parse("1.50"), i % 2 == 0});
  }
  lines.First();
  return lines;
}

class RecordSetModelTest : public testing::Test {
 protected:
  void Open(int count) {
    view_.reset();
    model_.reset();
    lines_ = Lines(count);
    model_ = std::make_unique<RecordSetModel>(lines_);
    view_ = std::make_unique<RecordSetView>(*model_);
    view_->resize(800, 300);
    view_->show();
  }
  QString At(int row, const char* field, int role = Qt::DisplayRole) const {
    return model_->index(row, *model_->ColumnOf(field)).data(role).toString();
  }
  void Go(int row, const char* field) {
    view_->setCurrentIndex(model_->index(row, *model_->ColumnOf(field)));
  }
  // Into the current cell, as a person types.
  QLineEdit* Type(const char* text) {
    const auto editor = [this] { return view_->findChild<QLineEdit*>(); };
    for (const char* key = text; *key != '\0'; ++key) {
      QWidget* const target = editor() != nullptr ? static_cast<QWidget*>(editor()) : view_.get();
      QTest::keyClick(target, *key);
    }
    return editor();
  }
  void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* const editor = view_->findChild<QLineEdit*>();
    QTest::keyClick(editor != nullptr ? editor : view_.get(), key, modifiers);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (int row = 0; row < model_->rowCount(); ++row) names.push_back(FromQt(At(row, "naziv")));
    return names;
  }

  MemorySettings settings_;
  StandardLocale locale_;
  ScopedApp app_{{.ini = &settings_, .locale = &locale_}};
  RecordSet lines_;
  std::unique_ptr<RecordSetModel> model_;
  std::unique_ptr<RecordSetView> view_;
};

TEST_F(RecordSetModelTest, ReadsAnyRowWithoutMovingOrPosting) {
  Open(5);
  lines_.GoToRow(2);
  lines_.Edit();
  lines_.SetText(1, "7,5");
  EXPECT_EQ(At(2, "kolicina"), "7,5");
  EXPECT_EQ(At(4, "pc"), "1,50");
  EXPECT_EQ(At(0, "ukupno", Qt::EditRole), "3,00");
  EXPECT_EQ(lines_.State(), DataSetState::kEdit);
  EXPECT_EQ(lines_.CurrentRow(), 2U);
  EXPECT_TRUE(model_->headerData(2, Qt::Vertical, Qt::DisplayRole).toString().contains(u'✎'));
  EXPECT_EQ(model_->index(1, *model_->ColumnOf("hitno")).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
  EXPECT_NE(model_->index(0, 1).data(Qt::TextAlignmentRole).toInt() & Qt::AlignRight, 0);
}

TEST_F(RecordSetModelTest, TypesARowAndPostsItByLeavingIt) {
  Open(2);
  Go(0, "kolicina");
  Type("4");
  EXPECT_EQ(lines_.AsFloat(1), 4) << "what is typed counts at once";
  Press(Qt::Key_Return);
  EXPECT_EQ(lines_.State(), DataSetState::kEdit);
  EXPECT_EQ(view_->currentIndex().column(), *model_->ColumnOf("pc"));
  Type("2,25");
  Press(Qt::Key_Return);
  Press(Qt::Key_Down);
  EXPECT_EQ(lines_.State(), DataSetState::kBrowse);
  EXPECT_EQ(At(0, "ukupno"), "9,00");
  Press(Qt::Key_Down);  // beyond the last row
  EXPECT_EQ(lines_.State(), DataSetState::kInsert);
  EXPECT_EQ(model_->rowCount(), 3);
  Press(Qt::Key_Up);  // nobody touched it
  EXPECT_EQ(model_->rowCount(), 2);
}

TEST_F(RecordSetModelTest, EscapeTakesBackTheCellThenTheRow) {
  Open(2);
  Go(0, "kolicina");
  Type("4");
  Press(Qt::Key_Return);
  Type("9");
  Press(Qt::Key_Escape);
  EXPECT_EQ(At(0, "pc"), "1,50");
  EXPECT_EQ(At(0, "kolicina"), "4");
  Press(Qt::Key_Escape);
  EXPECT_EQ(At(0, "kolicina"), "2");
  EXPECT_EQ(lines_.State(), DataSetState::kBrowse);
  Type("5");
  Press(Qt::Key_Escape);
  EXPECT_EQ(At(0, "kolicina"), "2");
  EXPECT_EQ(lines_.State(), DataSetState::kBrowse) << "the only cell that was touched";
}

TEST_F(RecordSetModelTest, WhatIsRefusedKeepsRowAndCell) {
  Open(3);
  QString told;
  model_->SetOnRefused([&](const QString& reason) { told = reason; });
  Go(1, "pc");
  Type("abc");
  Press(Qt::Key_Return);
  EXPECT_EQ(At(1, "pc"), "abc");
  EXPECT_TRUE(told.contains(QStringLiteral("nije broj")));
  EXPECT_EQ(At(1, "pc", Qt::ToolTipRole), told);
  Press(Qt::Key_Down);
  EXPECT_EQ(view_->currentIndex(), model_->RefusedCell());
  EXPECT_EQ(lines_.CurrentRow(), 1U);
  Type("3");
  Press(Qt::Key_Return);
  EXPECT_EQ(told, "");

  lines_.SetOnBeforePost([](RecordSet& line) {
    if (line.AsFloat(2) > 2) throw Abort();
  });
  Go(2, "naziv");
  EXPECT_EQ(lines_.CurrentRow(), 1U);
  EXPECT_EQ(lines_.State(), DataSetState::kEdit);
  EXPECT_EQ(At(1, "pc"), "3,00") << "what was typed is still there";
  Press(Qt::Key_Escape);
  EXPECT_EQ(At(1, "pc"), "1,50");
  EXPECT_EQ(told, "");
  Go(2, "naziv");
  EXPECT_EQ(lines_.CurrentRow(), 2U);
}

// A set that is walked or checked while messages are processed is left alone, whatever the user does.
TEST_F(RecordSetModelTest, LeavesASetAloneThatIsWalkedOrChecked) {
  for (const char* const state : {"browse", "edit", "insert"}) {
    Open(3);
    const std::string_view is = state;
    const auto begin = [&] {
      if (is == "edit") lines_.Edit(), lines_.SetText(0, "x");
      if (is == "insert") lines_.Append(), lines_.SetText(0, "x");
    };
    const auto refuses = [&] {
      const std::vector<std::string> before = Names();
      const int current = model_->CurrentTableRow();
      EXPECT_FALSE(model_->setData(model_->index(1, 0), QStringLiteral("y")));
      EXPECT_EQ(model_->submit(), is == "browse") << "there is nothing to post";
      model_->revert();
      EXPECT_FALSE(model_->MoveTo(1));
      EXPECT_FALSE(model_->Append());
      for (int row = 0; row < model_->rowCount(); ++row) EXPECT_FALSE(model_->Remove(row));
      EXPECT_EQ(model_->Paste(model_->index(0, 0), {{QStringLiteral("z")}}), 0);
      EXPECT_EQ(Names(), before);
      EXPECT_EQ(model_->CurrentTableRow(), current);
    };
    SCOPED_TRACE(state);
    begin();
    {
      const ControlsGuard walk(lines_);
      refuses();
    }
    if (is == "browse") continue;
    bool checked = false;
    lines_.SetOnBeforePost([&](RecordSet&) {
      refuses();
      checked = true;
    });
    EXPECT_TRUE(model_->submit());
    EXPECT_TRUE(checked);
  }
}

TEST_F(RecordSetModelTest, SortsAndFiltersByAnIndexOfItsOwn) {
  Open(0);
  for (const char* const name : {"šuma", "Čaj", "dva", "zec", "čaša", "10", "9"}) {
    lines_.AppendRecord({std::string(name), static_cast<double>(name[0])});
  }
  const int name = *model_->ColumnOf("naziv");
  model_->sort(name);
  EXPECT_THAT(Names(), ElementsAre("9", "10", "Čaj", "čaša", "dva", "šuma", "zec"));
  lines_.AppendRecord({std::string("Ana")});
  EXPECT_EQ(At(7, "naziv"), "Ana") << "it stands last until it is sorted anew";
  lines_.GoToRow(0);
  lines_.Delete();
  model_->sort(name, Qt::DescendingOrder);
  EXPECT_THAT(Names(), ElementsAre("zec", "dva", "čaša", "Čaj", "Ana", "10", "9"));
  model_->SetTextFilter(QStringLiteral(" ča "));
  EXPECT_THAT(Names(), ElementsAre("čaša", "Čaj"));
  EXPECT_TRUE(model_->setData(model_->index(1, name), QStringLiteral("Kava")));
  EXPECT_TRUE(model_->submit());
  EXPECT_THAT(Names(), ElementsAre("čaša", "Kava")) << "a row that is edited stays";
  model_->SetTextFilter({});
  model_->sort(-1);
  EXPECT_THAT(Names(), ElementsAre("Kava", "dva", "zec", "čaša", "10", "9", "Ana"));
}

TEST_F(RecordSetModelTest, ExchangesRangesWithSpreadsheets) {
  Open(2);
  QApplication::clipboard()->setText(
      "prvi\t1\t2,50\tTRUE\t01.03.2024\t999\nd\"rugi\t3\t4\n\"s \"\"n\"\"\tx\"\t5\t6\r\n");
  Go(1, "naziv");
  Press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_THAT(Names(), ElementsAre("r0", "prvi", "d\"rugi", "s \"n\"\tx"));
  EXPECT_TRUE(model_->submit());
  EXPECT_EQ(At(1, "ukupno"), "2,50") << "a calculated cell is not pasted over";
  EXPECT_EQ(At(3, "ukupno"), "30,00");
  view_->selectionModel()->select(QItemSelection(model_->index(1, 0), model_->index(3, 2)),
                                  QItemSelectionModel::ClearAndSelect);
  view_->CopySelection();
  EXPECT_EQ(QApplication::clipboard()->text(),
            "prvi\t1\t2,50\nd\"rugi\t3\t4,00\n\"s \"\"n\"\"\tx\"\t5\t6,00\n");

  // A cell that is refused ends the paste, and shows why; what came before stays.
  QApplication::clipboard()->setText("a\t1\nb\tdva\nc\t3\n");
  Go(0, "naziv");
  Press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(view_->currentIndex(), model_->index(1, 1));
  EXPECT_TRUE(At(1, "kolicina", Qt::ToolTipRole).contains(QStringLiteral("nije broj")));
  EXPECT_EQ(At(2, "naziv"), "d\"rugi");
  auto* const picture = new QMimeData;
  picture->setData(QStringLiteral("image/png"), QByteArray(1000, '\xff'));
  QApplication::clipboard()->setMimeData(picture);
  Press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(model_->rowCount(), 4);
}

// A model that follows what it is told shows what a new one would show, whatever happens to the set.
TEST_F(RecordSetModelTest, FollowsTheSet) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    Open(5);
    std::mt19937 random(seed);
    if (seed % 4 == 1) model_->sort(0, Qt::DescendingOrder);
    if (seed % 4 == 2) lines_.SetFilter("naziv like '%1%'"), lines_.SetFiltered(true);
    for (int step = 0; step < 60; ++step) {
      const std::size_t rows = lines_.RowCount();
      const auto any = [&](std::size_t n) {
        return static_cast<std::size_t>(random() % std::max<std::size_t>(n, 1));
      };
      switch (random() % 8) {
        case 0:
          lines_.Insert();
          break;
        case 1:
          lines_.Append();
          break;
        case 2:
          if (rows > 0) lines_.GoToRow(any(rows));
          break;
        case 3:
          if (rows > 0) lines_.Edit(), lines_.SetText(0, "r" + std::to_string(random() % 99));
          break;
        case 4:
          lines_.PostPending();
          break;
        case 5:
          lines_.Cancel();
          break;
        case 6:
          if (!lines_.IsEmpty() && lines_.State() == DataSetState::kBrowse) lines_.Delete();
          break;
        default:
          model_->SetRowFilter(random() % 2 == 0 ? RecordSetModel::RowFilter()
                                                 : [](std::size_t row) { return row % 2 == 0; });
          break;
      }
      std::vector<std::string> shown;
      for (int row = 0; row < model_->rowCount(); ++row) {
        EXPECT_EQ(At(row, "naziv"), ToQt(lines_.RowAt(model_->SetRow(row)).AsTextView(0)));
      }
      if (lines_.RowCount() > 0 && model_->CurrentTableRow() >= 0 &&
          lines_.State() != DataSetState::kBrowse) {
        EXPECT_EQ(model_->SetRow(model_->CurrentTableRow()), lines_.CurrentRow());
      }
    }
    model_->SetRowFilter(nullptr);
    EXPECT_EQ(static_cast<std::size_t>(model_->rowCount()), lines_.RowCount());
  }
}

// In the light and in the dark: what is missing and what is faulty is tinted, and can be read.
TEST_F(RecordSetModelTest, TintsCellsSoThatTheyCanBeRead) {
  Open(2);
  lines_.Edit();
  lines_.SetText(0, "");
  model_->SetFaultOf(
      [](std::size_t, std::size_t field) { return field == 2 ? QStringLiteral("krivo") : QString(); });
  for (const auto& [base, text] :
       {std::pair(QColor(Qt::white), QColor(Qt::black)),
        {QColor(42, 42, 42), QColor(Qt::white)},
        {view_->palette().color(QPalette::Base), view_->palette().color(QPalette::Text)}}) {
    for (const char* const field : {"naziv", "pc"}) {
      const auto tint = model_->index(0, *model_->ColumnOf(field)).data(Qt::BackgroundRole).value<QColor>();
      ASSERT_TRUE(tint.isValid()) << field;
      const double part = tint.alphaF();
      const auto over = [part](int above, int below) {
        return static_cast<int>(part * above + (1 - part) * below);
      };
      const QColor seen(over(tint.red(), base.red()), over(tint.green(), base.green()),
                        over(tint.blue(), base.blue()));
      EXPECT_GE(Contrast(text, seen), 4.5) << field;
    }
    EXPECT_GE(Contrast(ReadableOn(Qt::red, base), base), 4.5);
  }
  EXPECT_EQ(ReadableOn(Qt::black, Qt::white), QColor(Qt::black)) << "what can be read stays";
}

TEST_F(RecordSetModelTest, ShowsAndScrollsManyRows) {
  Open(100000);
  view_->scrollToBottom();
  QCoreApplication::processEvents();
  EXPECT_EQ(view_->rowAt(view_->viewport()->height() - 5), 99999);
  model_->sort(0, Qt::DescendingOrder);
  EXPECT_EQ(At(0, "naziv"), "r99999");
  model_->SetTextFilter(QStringLiteral("r9999"));
  EXPECT_EQ(model_->rowCount(), 11);
}

}  // namespace
}  // namespace mox

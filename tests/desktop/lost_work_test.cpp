// Nothing that was typed goes away because a page, a file or the window came in its place.

#include <fcntl.h>

#include <QClipboard>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "desktop/rate_page.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/fakes/own_process.h"

namespace mox {
namespace {

using testing::Contains;
using testing::HasSubstr;

class LostWorkTest : public DesktopTest {
 protected:
  static std::size_t Stored(const char* codebook, const char* text) {
    return CreateDBDataSet(std::string("Kat\\") + codebook, codebook, {{"trazi", Value(text)}})->RowCount();
  }
  std::string Sheet(const char* rows) {
    std::ofstream(folder_ / "konta.csv") << "Konto;Opis\n" << rows;
    return folder_ / "konta.csv";
  }
  // Alt+E on a record, from a clipboard with this text.
  static void Paste(QWidget* grid, int row, const char* text) {
    RecordSetView* const rows = Lines(grid, "Redci za uvoz");
    if (row < rows->Model().rowCount()) Go(rows, row, "KONTO");
    PasteRows(grid, QString::fromUtf8(text));
  }
  // The row's text is longer than a cell: it is told in the list, and the cell has its colour and reason.
  static void ExpectCut(QWidget* grid, int row) {
    const RecordSetModel& rows = Lines(grid, "Redci za uvoz")->Model();
    const QModelIndex cell = rows.index(row, rows.ColumnOf("OPIS").value());
    EXPECT_THAT(FromQt(cell.data(Qt::ToolTipRole).toString()), HasSubstr("100"));
    EXPECT_TRUE(cell.data(Qt::BackgroundRole).isValid());
    EXPECT_EQ(Told(grid, "Sažetak"), "Grešaka: 1");
    EXPECT_FALSE(Lines(grid, "Redci za uvoz")->isColumnHidden(static_cast<int>(kErrMsgPosition)));
  }
};

TEST_F(LostWorkTest, AFileTakesThePlaceOfRowsOnlyOnAYes) {
  const QString sheet = ToQt(Sheet("99991;Prvi\n99992;Drugi\n"));
  InGrid([&](ImportDialog* grid) {
    RecordSetView* const rows = Lines(grid, "Redci za uvoz");
    person_.read.clear();
    grid->OpenSheetFile(sheet);
    grid->OpenSheetFile(sheet);
    EXPECT_TRUE(person_.read.empty()) << "what a file has is no work";
    Put(rows, 0, "OPIS", "Mended", false);
    grid->OpenSheetFile(sheet);  // Enter says no
    EXPECT_THAT(person_.read, Contains(HasSubstr("U tablici su redci koji nisu uvezeni.")));
    EXPECT_EQ(Cell(rows, 0, "OPIS"), "Mended");
    person_.WillPress("Da");
    grid->OpenSheetFile(sheet);
    EXPECT_EQ(Cell(rows, 0, "OPIS"), "Prvi");
    std::filesystem::remove(FromQt(sheet));  // its rows are here
    // Rows that come from elsewhere are journalled so.
    Paste(grid, 1, "99993\tTreći");
    person_.WillPress("Da");
    PressButton(grid, "Provjera i uvoz podataka");
  });
  InGrid([&](ImportDialog* grid) {
    Paste(grid, 0, "99994\tČetvrti");
    person_.WillPress("Da");
    PressButton(grid, "Provjera i uvoz podataka");
  });
  const auto journal = CreateDBDataSet("DnevnikUvoza", "adsUvoz", {});
  ASSERT_EQ(journal->RowCount(), 2U);
  std::vector<std::string> files;
  for (const RecordRow& row : journal->Rows()) files.push_back(row.AsText(row.IndexOf("datoteka")));
  EXPECT_THAT(files, testing::UnorderedElementsAre("konta.csv + međuspremnik", "međuspremnik"));
}

// Also out of a cell that is being typed, which takes no letter of the key; the cell is one that is seen.
TEST_F(LostWorkTest, PastesWhereverTheKeysAre) {
  InGrid([&](ImportDialog* grid) {
    RecordSetView* const rows = Lines(grid, "Redci za uvoz");
    PasteRows(grid, QStringLiteral("99991\tPrvi\n99992\tDrugi"));
    EXPECT_FALSE(rows->isColumnHidden(rows->currentIndex().column()));
    Put(rows, 1, "OPIS", "Novi", false);
    auto* const cell = rows->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(cell, nullptr);
    QApplication::clipboard()->setText(QStringLiteral("99993\tTreći"));
    QTest::keyClick(cell, Qt::Key_E, Qt::AltModifier);
    std::vector<std::string> texts;
    for (int row = 0; row < rows->Model().rowCount(); ++row) texts.push_back(FromQt(Cell(rows, row, "OPIS")));
    EXPECT_THAT(texts, testing::IsSupersetOf({"Prvi", "Treći"}));
    EXPECT_THAT(texts, testing::Not(Contains("Novie")));
  });
}

TEST_F(LostWorkTest, RowsThatWereNotImportedAreOfferedAgain) {
  const auto rows_of = [](QWidget* grid) { return Lines(grid, "Redci za uvoz")->Model().rowCount(); };
  InGrid([&](ImportDialog* grid) { Paste(grid, 0, "99991\tPrvi\n99992\tDrugi"); });
  EXPECT_FALSE(window_->close()) << "Enter says no";
  EXPECT_THAT(person_.read.back(), HasSubstr("Kontni plan: 2"));
  person_.WillPress("Ne");
  InGrid([&](ImportDialog* grid) { EXPECT_EQ(rows_of(grid), 0); });
  EXPECT_THAT(person_.read, Contains(HasSubstr("ostali su redci koji nisu uvezeni")));
  person_.WillPress("Da");
  InGrid([&](ImportDialog* grid) {
    EXPECT_EQ(Cell(Lines(grid, "Redci za uvoz"), 1, "OPIS"), "Drugi");
    person_.WillPress("Ne");  // not stored, although the grid closes
    PressButton(grid, "Provjera i uvoz podataka");
  });
  EXPECT_EQ(Stored("fin_kto", "99992"), 0U);
  person_.WillPress("Da");
  InGrid([&](ImportDialog* grid) {
    EXPECT_EQ(rows_of(grid), 2);
    person_.WillPress("Da");
    PressButton(grid, "Provjera i uvoz podataka");
  });
  EXPECT_EQ(Stored("fin_kto", "99992"), 1U);
  person_.read.clear();
  InGrid([&](ImportDialog* grid) { EXPECT_EQ(rows_of(grid), 0); });
  EXPECT_EQ(person_.read.size(), 1U) << "what is stored is not offered";

  // With what is known of their faults.
  const std::string cut = "99993\tTreći\n99994\t" + std::string(150, 'x');
  InGrid([&](ImportDialog* grid) {
    Paste(grid, 0, cut.c_str());
    PressButton(grid, "Provjera i uvoz podataka");
    ExpectCut(grid, 1);
  });
  person_.WillPress("Da");
  InGrid([&](ImportDialog* grid) {
    ExpectCut(grid, 1);
    PressButton(grid, "Provjera i uvoz podataka");
    ExpectCut(grid, 1);
  });
  EXPECT_EQ(Stored("fin_kto", "99994"), 0U);
}

TEST_F(LostWorkTest, AnEndedPasteLeavesTheRowsThatWere) {
  QString text;
  for (int i = 0; i < 50'000; ++i) text += QStringLiteral("9%1\tRedak\n").arg(i, 5, 10, QChar(u'0'));
  const std::string before = "99991\tPrvi\n99992\t" + std::string(150, 'x');
  InGrid([&](ImportDialog* grid) {
    Paste(grid, 0, before.c_str());
    PressButton(grid, "Provjera i uvoz podataka");
    person_.ends_work = true;
    Paste(grid, 0, text.toUtf8().constData());
    person_.ends_work = false;
    RecordSetView* const rows = Lines(grid, "Redci za uvoz");
    ASSERT_EQ(rows->Model().rowCount(), 2);
    EXPECT_EQ(Cell(rows, 0, "KONTO"), "99991");
    EXPECT_EQ(Cell(rows, 1, "OPIS"), QString(100, QChar(u'x')));
    PressButton(grid, "Provjera i uvoz podataka");
    ExpectCut(grid, 1);
  });
}

// F5, another search, closing the page and closing the window store the row that is being typed, and keep it
// where it is refused.
TEST_F(LostWorkTest, RowsOfCodebooksAreStoredBeforeTheyGo) {
  const auto begin = [&](const char* text, const char* codebook = "jm", const char* field = "naziv") {
    window_->ShowCodebook(codebook);
    RecordSetView* const rows = Lines(Page(), FromQt(Page()->windowTitle()).c_str());
    Append(rows, field, QString::fromUtf8(text), false);
    return rows;
  };
  begin("vreca");
  Press(Page(), Qt::Key_F5);
  EXPECT_EQ(Stored("jm", "vreca"), 1U);
  ClosePage();
  begin("sanduk");
  ClosePage();
  EXPECT_EQ(Stored("jm", "sanduk"), 1U);
  begin("paleta");
  EXPECT_TRUE(window_->close());
  EXPECT_EQ(Stored("jm", "paleta"), 1U);
  window_->show();
  ClosePage();

  RecordSetView* const refused = begin("12345", "partneri", "oib");  // without a name, and no such number
  const int row = refused->Model().rowCount() - 1;
  Press(Page(), Qt::Key_F5);
  ASSERT_EQ(refused->Model().rowCount(), row + 1);
  EXPECT_EQ(Cell(refused, row, "oib"), "12345");
  EXPECT_THAT(Told(Page()), HasSubstr("partneri"));
  const int tabs = window_->Tabs().count();
  ClosePage();
  EXPECT_THAT(person_.read.back(), HasSubstr("Redak nije pohranjen."));
  EXPECT_EQ(window_->Tabs().count(), tabs) << "Enter says no";
  EXPECT_FALSE(window_->close());
  person_.WillPress("Da");
  ClosePage();
  EXPECT_EQ(window_->Tabs().count(), tabs - 1);
}

TEST_F(LostWorkTest, CompanyDataAndRatesAreStoredBeforeTheyAreReadAnew) {
  window_->ShowCompanyData();
  RecordSetView* const rows = Lines(Page(), "Podaci tvrtke");
  const int at = RowOf(rows, "naziv", "MjestoPoduzeca");
  Put(rows, at, "vrijednost", "Sisak", false);
  Press(Page(), Qt::Key_F5);
  EXPECT_EQ(Cell(rows, at, "vrijednost"), "Sisak");
  // What is true or false is so in the words of people, and stored as it was.
  const int truth = RowOf(rows, "naziv", "override_constraints");
  EXPECT_EQ(Cell(rows, truth, "vrijednost"), "ne");
  Settle();
  Put(rows, truth, "vrijednost", "da", false);
  Press(Page(), Qt::Key_F5);
  EXPECT_EQ(Cell(rows, truth, "vrijednost"), "da");
  EXPECT_TRUE(host_->Server().CompanyParameters()->FieldByName("override_constraints").AsBoolean());
  EXPECT_EQ(rows->Model().Set().State(), DataSetState::kBrowse);

  // A rate is of the day for which it was typed, also when another day is chosen before it is left.
  window_->ShowRates();
  RecordSetView* const rates = Lines(Page(), "Tečajevi");
  const int usd = RowOf(rates, "val_ozn", "USD");
  Go(rates, usd, "tecaj");
  Type(rates, "1,25", false);
  const Date yesterday{Today().days - 1};
  Fill(Line(Page(), "Na dan"), ToQt(DateToText(yesterday, CurrentLocale())));
  QTest::keyClick(Line(Page(), "Na dan"), Qt::Key_Return);
  EXPECT_EQ(GetTecajByOznakaValute(Today(), "USD"), 1.25);
  EXPECT_NE(GetTecajByOznakaValute(yesterday, "USD"), 1.25);
}

// A list is read beside the window: one that another program keeps from being opened is ended.
TEST_F(LostWorkTest, ARateListThatDoesNotComeIsEnded) {
  const std::string list = folder_ / "lista.csv";
  std::ofstream(list) << "datum_primjene;valuta;srednji_tecaj\n01.03.2024.;USD;1,0842\n";
  std::signal(SIGIO, SIG_IGN);
  const int lease = ::open(list.c_str(), O_RDWR | O_CLOEXEC);
  if (::fcntl(lease, F_SETLEASE, F_WRLCK) != 0) GTEST_SKIP() << "the file system has no leases";
  window_->ShowRates();
  auto* const page = dynamic_cast<RatePage*>(Page());
  person_.ends_work = true;
  EXPECT_THROW(page->ReadList(list), Abort);
  person_.ends_work = false;
  ::close(lease);
  page->ReadList(list);
  EXPECT_EQ(Told(page), "Novih tečajeva: 1, izmijenjenih: 0, istih: 0");
}

TEST_F(LostWorkTest, ADocumentIsFoundAgainAsItWasTyped) {
  DocumentEditor* const editor = Enter("predracun", "Stavke", "\tStol\tkom\t2\t99,5\n");
  RecordSetView* const lines = Lines(editor);
  Append(lines, "naziv", "Stolac", false);
  Fill(Line(editor, "Opis"), QStringLiteral("hitno"));  // without leaving it
  ASSERT_TRUE(window_->close());
  Stop();
  person_.WillPress("Ne");  // and Enter: it is not thrown away
  Start();
  EXPECT_EQ(window_->Tabs().count(), 1);
  Stop();
  person_.WillPress("Da");
  Start();
  auto* const again = dynamic_cast<DocumentEditor*>(Page());
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(Cell(Lines(again), 1, "naziv"), "Stolac");
  EXPECT_EQ(Line(again, "Opis")->text(), "hitno");
  // The line that was being typed is checked like any other before it is stored.
  Go(Lines(again), 0, "naziv");
  Press(again, Qt::Key_F9);
  EXPECT_FALSE(again->IsStored());
  EXPECT_THAT(person_.read.back(), HasSubstr("ne smije biti 0"));
  EXPECT_EQ(Lines(again)->currentIndex().row(), 1);

  Fill(Line(again, "Dospijeće"), QStringLiteral("31.2."));
  EXPECT_FALSE(window_->close());
  EXPECT_THAT(person_.read.back(), HasSubstr("Dospijeće „31.2.”: To nije datum"));
  QTest::keyClick(Line(again, "Dospijeće"), Qt::Key_Escape);
  Fill(Line(again, "Opis"), QStringLiteral("nije hitno"));
  {
    const FullDisk full(16);
    EXPECT_FALSE(window_->close());
  }
  EXPECT_THAT(person_.read, Contains(HasSubstr("Nedovršeni dokument bit će izgubljen.")));

  Stop();
  for (const char* const answer : {"Ne", "Da"}) person_.WillPress(answer);
  Start();
  person_.read.clear();
  Stop();
  Start();
  EXPECT_TRUE(person_.read.empty()) << "it was thrown away";
}

TEST_F(LostWorkTest, ADocumentInAWindowOfItsOwnGoesWhileItsHeaderIsTyped) {
  auto editor = std::make_unique<DocumentEditor>(*host_, Document("predracun"), Draft::Begin());
  editor->show();
  QLineEdit* const due = Line(editor.get(), "Dospijeće");
  due->setFocus();
  Press(due, Qt::Key_3);
  ASSERT_TRUE(due->hasFocus());
  editor.reset();
}

}  // namespace
}  // namespace mox

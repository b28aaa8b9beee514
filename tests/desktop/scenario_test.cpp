#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QSpinBox>
#include <cmath>
#include <fstream>

#include "desktop/codebook_page.h"
#include "desktop/report_page.h"
#include "mox/codes/exchange_rates.h"
#include "mox/entry/document_entry.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"
#include "tests/desktop/desktop_fixture.h"

namespace mox {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> StoredDocuments() {
  std::vector<std::string> documents;
  const auto list = CreateDBDataSet("Dokumenti", "adsList", {});
  for (const RecordRow& row : list->Rows()) {
    documents.push_back(row.AsText(row.IndexOf("vrsta")) + " " + row.AsText(row.IndexOf("broj")) + " " +
                        row.AsText(row.IndexOf("ukupno")));
  }
  return documents;
}

TEST_F(DesktopTest, TypesACashInvoiceAndStoresIt) {
  DocumentEditor* const editor = New("gotovinski-racun");
  RecordSetView* const lines = Lines(editor);
  Append(lines, "sifra", "Demo art");  // a part of the name that no other article has
  EXPECT_EQ(Cell(lines, 0, "sifra"), "1");
  EXPECT_EQ(Cell(lines, 0, "naziv"), "Demo artikl");
  EXPECT_EQ(Cell(lines, 0, "pc"), "80,00");
  EXPECT_EQ(Cell(lines, 0, "ukupno"), "100,00") << "calculated before it is posted";
  Put(lines, 0, "kolicina", "3", false);
  EXPECT_EQ(Told(editor, "Za platiti"), "300,00 EUR") << "with every key";
  QTest::keyClick(lines->viewport()->findChild<QLineEdit*>(), Qt::Key_Return);
  Settle();

  Press(editor, Qt::Key_F9);
  EXPECT_THAT(person_.read, Contains(HasSubstr("Upisana količina je veća od količine na lageru!")));
  EXPECT_EQ(Told(editor), "Artikla 1 na lageru je 0, a upisano je 3.");
  EXPECT_FALSE(editor->IsStored());
  App().Ini().WriteInteger("GENERAL", "LAGERNEGATIVE", 1);
  person_.WillDo([](QWidget* dialog) {
    Fill(Line(dialog, "Primljeno"), "250");
    EXPECT_EQ(Told(dialog, "Za vratiti"), "nedostaje 50,00");
    Fill(Line(dialog, "Primljeno"), "350");
    EXPECT_EQ(Told(dialog, "Za vratiti"), "50,00");
    QTest::keyClick(Line(dialog, "Primljeno"), Qt::Key_Return);
  });
  Press(editor, Qt::Key_F9);
  EXPECT_TRUE(editor->IsStored());
  EXPECT_TRUE(editor->Title().startsWith("Gotovinski račun 1/"));
  EXPECT_THAT(StoredDocuments(), ElementsAre("gotovinski-racun 1 300,00"));
  Type(lines, "9");
  EXPECT_EQ(Cell(lines, 0, "kolicina"), "3,00") << "what is stored is not edited";
  window_->ShowDocuments();
  EXPECT_EQ(window_->Tabs().count(), 2) << "the list that is there";
  EXPECT_EQ(Lines(Page(), "Dokumenti")->Model().rowCount(), 1);
}

TEST_F(DesktopTest, RefusesALineAndKeepsIt) {
  DocumentEditor* const editor = New("predracun");
  RecordSetView* const lines = Lines(editor);
  Append(lines, "kolicina", "2");
  QTest::keyClick(lines, Qt::Key_Down);  // a new line, before this one has a name
  EXPECT_THAT(person_.read, Contains(HasSubstr("Polje 'Naziv' nije popunjeno!")));
  EXPECT_EQ(lines->Model().rowCount(), 1);
  EXPECT_EQ(Cell(lines, 0, "kolicina"), "2,00");
  Press(editor, Qt::Key_F9);
  EXPECT_TRUE(StoredDocuments().empty());
}

// The keys are where the work is, on whichever page, and get from each page to the next.
TEST_F(DesktopTest, PutsTheKeysWhereTheWorkIs) {
  const auto focused = [] {
    QWidget* const focus = QApplication::focusWidget();
    return focus == nullptr ? std::string() : FromQt(focus->accessibleName());
  };
  window_->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
  EXPECT_EQ(focused(), "Dokumenti");
  New("gotovinski-racun");
  EXPECT_EQ(focused(), "Stavke");
  DocumentEditor* const later = New("otpremnica-racun");
  EXPECT_EQ(focused(), "Datum");
  for (const char* const next : {"Isporuka", "Dospijeće", "Partner", "Skladište", "Način plaćanja",
                                 "Poziv na broj", "Korisnik", "Opis"}) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(focused(), next);
  }
  for (int steps = 0; focused() != "Stavke" && steps < 3; ++steps) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
  }
  EXPECT_EQ(focused(), "Stavke");
  Press(window_.get(), Qt::Key_PageDown, Qt::ControlModifier);
  EXPECT_EQ(focused(), "Dokumenti") << "behind the last one is the first";
  Press(window_.get(), Qt::Key_PageUp, Qt::ControlModifier);
  EXPECT_EQ(Page(), later);
  Press(window_.get(), Qt::Key_W, Qt::ControlModifier);
  EXPECT_EQ(focused(), "Stavke");
}

// Most of them pasted from a spreadsheet, the others typed behind them, cell after cell by Enter.
TEST_F(DesktopTest, StoresACashInvoiceOfAThousandLines) {
  constexpr int kPasted = 980;
  DocumentEditor* const editor = New("gotovinski-racun");
  RecordSetView* const lines = Lines(editor);
  QString text;
  for (int i = 1; i <= kPasted; ++i) text += QStringLiteral("\tRoba %1\tkom\t1\t8\t0\t0\t0\t25\n").arg(i);
  QApplication::clipboard()->setText(text);
  QTest::keyClick(lines, Qt::Key_V, Qt::ControlModifier);
  lines->Model().submit();
  Settle();
  EXPECT_EQ(Told(editor, "Za platiti"), "9.800,00 EUR");
  for (int row = kPasted; row < 1000; ++row) {
    QTest::keyClick(lines, Qt::Key_Insert);
    Go(lines, row, "naziv");
    for (const char* const cell : {"Sir", "kg", "2", "4"}) Type(lines, cell);
    for (int empty = 0; empty < 3; ++empty) QTest::keyClick(lines, Qt::Key_Return);
    Type(lines, "25");
  }
  EXPECT_EQ(lines->Model().rowCount(), 1000);
  EXPECT_EQ(Cell(lines, 999, "ukupno"), "10,00");
  EXPECT_EQ(Told(editor, "Za platiti"), "10.000,00 EUR");
  Press(editor, Qt::Key_F9);
  EXPECT_EQ(Cell(Lines(editor, "Rekapitulacija PDV-a"), 0, "porez"), "2.000,00");
  EXPECT_THAT(StoredDocuments(), ElementsAre("gotovinski-racun 1 10000,00"));
}

// What a line comes to is seen without scrolling, whatever the kind.
TEST_F(DesktopTest, ShowsWhatALineComesTo) {
  window_->resize(1180, 760);
  for (const DocumentKind& kind : DocumentKinds()) {
    DocumentEditor* const editor = window_->NewDocument(kind);
    Settle();
    for (const char* const sheet : {"Stavke", "Usluge"}) {
      RecordSetView* const lines = Lines(editor, sheet);
      const auto total = lines == nullptr ? std::nullopt : lines->Model().ColumnOf("ukupno");
      if (!total || !lines->isVisible()) continue;
      EXPECT_LE(lines->columnViewportPosition(*total) + lines->columnWidth(*total),
                lines->viewport()->width())
          << kind.name << ' ' << sheet;
    }
  }
}

// A preview leaves no trace, nor does a visit of the line: what is stored is what the same lines come to when
// nobody looks.
TEST_F(DesktopTest, PreviewsWithoutChangingWhatIsCalculated) {
  DocumentEditor* const editor = New("mat-povratnica-dobavljacu");
  RecordSetView* const lines = Lines(editor);
  QTest::keyClick(lines, Qt::Key_Insert);
  for (const auto& [field, text] : std::initializer_list<std::pair<const char*, const char*>>{
           {"naziv", "Lim"}, {"kolicina", "1"}, {"fc", "100"}, {"pot_nak", "3"}, {"tbr_stp", "25"}}) {
    Put(lines, 0, field, text);
  }
  QTest::keyClick(lines, Qt::Key_Insert);
  for (const auto& [field, text] : {std::pair("naziv", "Vijak"), {"kolicina", "1"}}) {
    Put(lines, 1, field, text);
  }
  ASSERT_TRUE(lines->Model().submit());
  Go(lines, 0, "naziv");
  Document alone("mat-povratnica-dobavljacu");
  RecordSet& goods = *alone.Goods();
  goods.Append();
  for (const auto& [field, value] : std::initializer_list<std::pair<const char*, double>>{
           {"kolicina", 1}, {"fc", 100}, {"pot_nak", 3}, {"tbr_stp", 25}}) {
    goods.FieldByName(field).SetFloat(value);
  }
  goods.Post();
  for (const char* const field : {"nfci", "pdvi", "ukupno"}) {
    const RecordSet& shown = *editor->Content().Goods();
    EXPECT_EQ(shown.RowAt(0).AsText(*shown.FindFieldIndex(field)), goods.FieldByName(field).AsText())
        << field;
  }
}

TEST_F(DesktopTest, OffersWhatACrashLeft) {
  DocumentEditor* const editor = New("predracun");
  RecordSetView* const lines = Lines(editor);
  Append(lines, "naziv", "Stol");
  Put(lines, 0, "pc", "99,5");
  Put(lines, 0, "kolicina", "2");
  Fill(Line(editor, "Poziv na broj") != nullptr ? Line(editor, "Poziv na broj") : Line(editor, "Opis"),
       "hitno");
  QTest::keyClick(Line(editor, "Opis"), Qt::Key_Return);
  editor->SaveDraft();

  // Another window on the same company leaves alone what this one has open.
  {
    MainWindow second(*host_);
    second.OpenCompany(company_);
    EXPECT_EQ(second.Tabs().count(), 1);
  }
  Stop();  // nothing was asked, as when the program is killed
  person_.WillPress("Da");
  Start();
  EXPECT_THAT(person_.read, Contains(HasSubstr("nije dovršen")));
  auto* const again = dynamic_cast<DocumentEditor*>(Page());
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(Cell(Lines(again), 0, "naziv"), "Stol");
  EXPECT_EQ(Line(again, "Opis")->text(), "hitno");
  EXPECT_EQ(Told(again, "Za platiti"), "199,00 EUR");
  Press(again, Qt::Key_F9);
  EXPECT_EQ(StoredDocuments().size(), 1U);
  person_.read.clear();
  Stop();
  Start();
  EXPECT_TRUE(person_.read.empty()) << "what was stored is offered no more";
}

TEST_F(DesktopTest, MendsAFaultySheetAndStoresIt) {
  const std::string sheet = folder_ / "konta.csv";
  std::ofstream(sheet) << "Konto;Opis\n99991;Prvi\n;Bez konta\n99992;Drugi\n;Ni ovaj\n";
  EXPECT_TRUE(InGrid([&](ImportDialog* grid) {
    EXPECT_EQ(grid->windowTitle(), "Grid (tablica) za uvoz podataka");
    EXPECT_EQ(grid->size(), QSize(1008, 696));
    grid->OpenSheetFile(ToQt(sheet));
    RecordSetView* const rows = Lines(grid, "Redci za uvoz");
    PressButton(grid, "Provjera i uvoz podataka");
    EXPECT_EQ(person_.read.back(), "Upozorenje | Uvoz podataka | Pronađene su greške u podacima!");
    Press(grid, Qt::Key_F8);
    EXPECT_EQ(rows->Model().rowCount(), 2);
    Press(grid, Qt::Key_F8);
    auto* const faults = Named<QTableView>(grid, "Pronađene greške");
    faults->setCurrentIndex(faults->model()->index(1, 0));
    QTest::keyClick(faults, Qt::Key_Return);
    EXPECT_EQ(rows->currentIndex().row(), 3);
    EXPECT_EQ(faults->currentIndex().row(), 1) << "going to a row leaves the list as it is";
    Type(rows, "99994");
    faults->setCurrentIndex(faults->model()->index(0, 0));
    EXPECT_EQ(faults->model()->index(0, 3).data().toString(), "obavezan podatak nije upisan");
    QTest::keyClick(faults, Qt::Key_Return);
    EXPECT_EQ(rows->currentIndex().row(), 1);
    EXPECT_EQ(rows->currentIndex().data(Qt::ToolTipRole).toString(), "obavezan podatak nije upisan");
    // Selected cells look as the grid's style has them, in any theme.
    const QImage shown = rows->viewport()->grab().toImage();
    const QPoint corner = rows->visualRect(rows->currentIndex()).topRight() + QPoint(-5, 5);
    EXPECT_NEAR(shown.pixelColor(corner * shown.devicePixelRatio()).green(), 200, 8);
    EXPECT_EQ(rows->palette().color(QPalette::HighlightedText), QColor(Qt::black));
    Type(rows, "99993");
    person_.WillPress("Da");
    PressButton(grid, "Provjera i uvoz podataka");
  }));
  EXPECT_EQ(person_.read.back(), "Obavijest | Uvoz podataka | Uvoz podataka uspješno izvršen.");
  const auto found = CreateDBDataSet("Kat\\fin_kto", "fin_kto", {{"trazi", Value("Bez konta")}});
  ASSERT_EQ(found->RowCount(), 1U);
  EXPECT_EQ(found->RowAt(0).AsText(0), "99993");
}

TEST_F(DesktopTest, EndsACheckAndTakesAnImportBack) {
  const auto count = [] { return CreateDBDataSet("Kat\\fin_kto", "fin_kto", {})->RowCount(); };
  const std::size_t before = count();
  EXPECT_TRUE(InGrid([&](QWidget* dialog) {
    QString text;
    for (int i = 0; i < 2000; ++i) text += QStringLiteral("9%1\tRedak\n").arg(i, 5, 10, QChar(u'0'));
    PasteRows(dialog, text);
    EXPECT_EQ(Told(dialog, "Redak"), "2000/2000");
    person_.ends_work = true;
    PressButton(dialog, "Provjera i uvoz podataka");
    person_.ends_work = false;
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(count(), before);
    person_.WillPress("Da");
    PressButton(dialog, "Provjera i uvoz podataka");
  }));
  EXPECT_EQ(count(), before + 2000);
  window_->ShowImportJournal();
  person_.WillPress("Da");
  PressButton(Page(), "Poništi uvoz");
  EXPECT_EQ(count(), before);
}

TEST_F(DesktopTest, StoresRowsOfACodebookAsTheyAreLeft) {
  window_->ShowCodebook("jm");
  QWidget* const page = Page();
  RecordSetView* const rows = Lines(page, "Jedinice mjere");
  const int before = rows->Model().rowCount();
  Append(rows, "naziv", "vreca");
  ASSERT_TRUE(rows->Model().submit());
  Settle();
  EXPECT_EQ(rows->Model().rowCount(), before + 1);
  const auto stored = CreateDBDataSet("Kat\\jm", "jm", {{"trazi", Value("vreca")}});
  EXPECT_EQ(stored->RowCount(), 1U);
  Go(rows, 0, "naziv");
  for (const auto& [key, first] : {std::pair(Qt::Key_Down, true), {Qt::Key_Up, false}}) {
    QTest::keyClick(rows, key, Qt::AltModifier);
    EXPECT_EQ(QString::localeAwareCompare(Cell(rows, 0, "naziv"), Cell(rows, before, "naziv")) > 0, first);
  }
}

// F4 in a cell that names a row of another codebook: all cells of that row take what was chosen.
TEST_F(DesktopTest, LooksUpCellsOfACodebook) {
  window_->ShowCodebook("partneri");
  QWidget* const page = Page();
  RecordSetView* const rows = Lines(page, "Partneri");
  const int row = Append(rows, "naziv", "Novi kupac");
  Go(rows, row, "naziv");
  QTest::keyClick(rows, Qt::Key_F4);  // names nothing
  QString place;
  person_.WillDo([&](QWidget* dialog) {
    EXPECT_EQ(FromQt(dialog->windowTitle()), "Mjesta");
    auto* const places = dialog->findChild<RecordSetView*>();
    Go(places, 1, "ptt");
    place = Cell(places, 1, "ptt") + u' ' + Cell(places, 1, "naziv");
    QTest::keyClick(places, Qt::Key_Return);
  });
  Go(rows, row, "ptt");
  QTest::keyClick(rows, Qt::Key_F4);
  EXPECT_EQ(Cell(rows, row, "ptt") + u' ' + Cell(rows, row, "mjesto"), place);
  person_.WillDo([&](QWidget* dialog) {
    EXPECT_EQ(Line(dialog, "Traži")->text(), "Hrv");
    QTest::keyClick(Line(dialog, "Traži"), Qt::Key_Return);
  });
  Settle();
  Put(rows, row, "drzava", "Hrv", false);
  QTest::keyClick(rows->viewport()->findChild<QLineEdit*>(), Qt::Key_F4);
  EXPECT_EQ(person_.read.back(), "Države");
  EXPECT_EQ(Cell(rows, row, "drzava"), "HR");
  EXPECT_TRUE(rows->Model().submit()) << FromQt(rows->Model().Refusal());
}

// A rate that is entered holds from the day; another one in its place is asked about.
TEST_F(DesktopTest, StoresRatesOfADay) {
  window_->ShowRates();
  RecordSetView* const rates = Lines(Page(), "Tečajevi");
  const int usd = RowOf(rates, "val_ozn", "USD");
  person_.WillPress("Da");  // to the question about the second one
  for (const double rate : {1.0842, 1.0901}) {
    Put(rates, usd, "tecaj", QString::number(rate).replace(u'.', u','));
    ASSERT_TRUE(rates->Model().submit());
    EXPECT_EQ(GetTecajByOznakaValute(Today(), "USD"), rate);
  }
  EXPECT_THAT(person_.read, ElementsAre(HasSubstr("Već postoji drugi tečaj.")));
}

// Who goes on from line to line has always one open; the totals are those of the lines before.
TEST_F(DesktopTest, SumsLinesWhileTheNextOneIsOpen) {
  DocumentEditor* const editor = New("primka-kalkulacija");
  RecordSetView* const lines = Lines(editor);
  Append(lines, "naziv", "Sir");
  for (const auto& [field, text] : {std::pair("kolicina", "10"), {"fc", "50"}, {"tbr_stp", "25"}}) {
    Put(lines, 0, field, text);
  }
  QTest::keyClick(lines, Qt::Key_Insert);
  Settle();
  ASSERT_EQ(lines->Model().rowCount(), 2);
  EXPECT_EQ(Told(editor, "Za platiti"), "625,00 EUR");
  EXPECT_EQ(Cell(Lines(editor, "Rekapitulacija PDV-a"), 0, "osnovica"), "500,00");
}

// What was entered from the supplier's document is compared with the lines, kept in the draft, and asked
// about when it differs.
TEST_F(DesktopTest, ComparesTheSupplierDocumentWithTheLines) {
  DocumentEditor* const editor =
      Enter("primka-kalkulacija", "Stavke", "\tBrašno\tkom\t1000\t10\t0\t0\t0\t0\t0\t25\n");
  const auto enter = [&](const char* tax) {
    person_.WillDo([tax](QWidget* dialog) {
      EXPECT_EQ(dialog->findChildren<QLineEdit*>().size(), 14);
      Fill(Line(dialog, "PDV (25%):"), QString::fromUtf8(tax));
      PressButton(dialog, "U redu");
    });
    PressButton(editor, "PDV dokumenta dobavljača…");
    return Told(editor);
  };
  EXPECT_THAT(enter("2600"), HasSubstr("PDV (25%): na dokumentu 2.600,00, iz stavaka 2.500,00"));
  EXPECT_EQ(FromDraft(DraftOf(editor->Content())).SupplierTotals()->FieldByName("pdv_25").AsText(),
            "2600,00");
  person_.WillPress("Ne");
  Press(editor, Qt::Key_F9);
  EXPECT_THAT(person_.read.back(), HasSubstr("Dokument dobavljača se razlikuje od stavaka."));
  EXPECT_FALSE(editor->IsStored());
  EXPECT_EQ(enter("2500"), "");
  Press(editor, Qt::Key_F9);
  EXPECT_TRUE(editor->IsStored());
  person_.WillDo([](QWidget* dialog) {
    EXPECT_TRUE(Line(dialog, "PDV (25%):")->isReadOnly());
    Leave(dialog);
  });
  PressButton(editor, "PDV dokumenta dobavljača…");
}

// What the partner owes beyond his limit is asked about, or refused, before anything is stored.
TEST_F(DesktopTest, AsksForCreditBeforeItStores) {
  const struct {
    bool may_exceed;
    const char* answer;
    const char* told;
    bool stored;
  } cases[] = {{false, "U redu", "Kreditni limit partnera je prekoračen.", false},
               {true, "Ne", "Kreditni limit partnera je prekoračen.\r\nNastavak rada?", false},
               {true, "Da", "Kreditni limit partnera je prekoračen.\r\nNastavak rada?", true}};
  DocumentEditor* const editor = EnterService();
  QTest::keyClick(Line(editor, "Partner"), Qt::Key_F4);
  for (const auto& c : cases) {
    Database(company_).Execute("UPDATE par SET limit_duga = 359, fakturiranje_limit_duga = :smije",
                               {c.may_exceed});
    person_.read.clear();
    person_.WillPress(c.answer);
    Press(editor, Qt::Key_F9);
    EXPECT_THAT(person_.read,
                ElementsAre("Upozorenje! | Prekoračenje kreditnog limita | " + std::string(c.told)));
    EXPECT_EQ(editor->IsStored(), c.stored);
    EXPECT_EQ(StoredDocuments().size(), c.stored ? 1U : 0U);
  }
}

// A setting of decimals holds for what is shown, also in pages that are open, and for what is typed.
TEST_F(DesktopTest, ShowsAsManyDecimalsAsAreSet) {
  const struct {
    const char* digits;
    const char* mask;
    const char* kind;
    const char* field;
  } cases[] = {{"KOL_NUM", "KOL_MASK", "predracun", "kolicina"},
               {"NC_CALC_DIGIT", "NC_CALC_MASK", "pocetno-stanje", "nc"},
               {"PC_CALC_DIGIT", "PC_CALC_MASK", "predracun", "pc"},
               {"FC_CALC_DIGIT", "FC_CALC_MASK", "primka-kalkulacija", "fc"}};
  const auto set = [this](std::size_t place, const QString& decimals) {
    person_.WillDo([place, decimals](QWidget* dialog) {
      auto* const digits = dialog->findChildren<QSpinBox*>()[static_cast<qsizetype>(place)];
      digits->selectAll();
      QTest::keyClicks(digits, decimals);
      PressButton(dialog, "Pohrani");
    });
    for (QAction* const action : window_->findChildren<QAction*>()) {
      if (action->text() == QStringLiteral("&Broj decimala…")) action->trigger();
    }
    Settle();
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto& c = cases[i];
    SCOPED_TRACE(c.digits);
    RecordSetView* const lines = Lines(New(c.kind));
    QTest::keyClick(lines, Qt::Key_Insert);
    const auto type = [&](const char* text) {
      Put(lines, 0, c.field, QString::fromUtf8(text));
      return FromQt(Cell(lines, 0, c.field));
    };
    EXPECT_EQ(type("1.234,5678"), "1.234,57");
    set(i, "4");
    EXPECT_EQ(Cell(lines, 0, c.field), "1.234,5678");
    EXPECT_EQ(type("0,5"), "0,5000");
    EXPECT_EQ(App().Ini().ReadInteger("GENERAL", c.digits, 2), 4);
    EXPECT_EQ(App().Ini().ReadString("GENERAL", c.mask, ""), "#,0.0000;-#,0.0000");
    set(i, "0");
    EXPECT_EQ(type("7,4"), "7");
    set(i, "2");
  }
}

// The bars of a report are as high as its amounts, below zero in another colour, and tell the same in words.
TEST_F(DesktopTest, DrawsTurnoverAndTax) {
  for (const char* const line :
       {"\tObuka\tdan\t1\t400\t0\t25\n", "\tKnjiga\tkom\t1\t100\t0\t5\n", "\tPovrat\tkom\t-1\t80\t0\t13\n"}) {
    Press(Enter("racun-usluga", "Usluge", line), Qt::Key_F9);
  }
  Press(Enter("predracun", "Stavke", "\tStol\tkom\t1\t100\t0\t0\t0\t25\n"), Qt::Key_F9);
  window_->ShowReports();
  QWidget* const page = Page();
  QWidget* chart = nullptr;
  for (QWidget* const child : page->findChildren<QWidget*>()) {
    if (dynamic_cast<BarChart*>(child) != nullptr) chart = child;
  }
  ASSERT_NE(chart, nullptr);
  const struct {
    const char* report;
    const char* told;
    std::vector<double> amounts;
  } cases[] = {
      {"Promet po danima", ": 514,60", {514.6}},
      {"PDV po stopama", "izlazni 25 %: 100,00; izlazni 13 %: -10,40; izlazni 5 %: 5,00", {100, -10.4, 5}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.report);
    page->findChild<QComboBox*>()->setCurrentText(QString::fromUtf8(c.report));
    Settle();
    EXPECT_EQ(FromQt(chart->accessibleName()), "Grafikon: " + std::string(c.report));
    EXPECT_THAT(FromQt(chart->accessibleDescription()), testing::EndsWith(c.told));
    const QImage image = chart->grab().toImage();
    const double ratio = image.devicePixelRatio();
    const auto height = [&](std::size_t bar, const QColor& color) {
      const int x = static_cast<int>(image.width() * (static_cast<double>(bar) + 0.5) /
                                     static_cast<double>(c.amounts.size()));
      int rows = 0;
      for (int y = 0; y < image.height(); ++y) rows += image.pixelColor(x, y) == color ? 1 : 0;
      return rows / ratio;
    };
    const double highest = height(0, chart->palette().color(QPalette::Highlight));
    EXPECT_GT(highest, 50);
    for (std::size_t i = 0; i < c.amounts.size(); ++i) {
      const QColor color =
          c.amounts[i] < 0 ? QColor(200, 80, 80) : chart->palette().color(QPalette::Highlight);
      EXPECT_NEAR(height(i, color), highest * std::abs(c.amounts[i]) / c.amounts[0], 2) << i;
    }
  }
}

TEST_F(DesktopTest, AsksForValues) {
  AppDialogs& dialogs = App().Dialogs();
  const auto entering = [this](const char* text) {
    person_.WillDo([text](QWidget* dialog) {
      auto* const line = dialog->findChild<QLineEdit*>();
      FillIn(line, QString::fromUtf8(text));
      if (!dialog->isVisible()) return;
      Fill(line, QStringLiteral("1,5"));  // what was refused stays until it is one
      QTest::keyClick(line, Qt::Key_Return);
    });
  };
  entering("abc");
  EXPECT_EQ(dialogs.InputNumber("Naslov", "Broj:", 2), 1.5);
  entering("1.3.2024");
  EXPECT_EQ(DateToText(dialogs.InputDate("Naslov", "Dan:", Date{}).value(), CurrentLocale()), "01.03.2024");
  entering("tekst");
  EXPECT_EQ(dialogs.InputBox("Naslov", "Tekst:", "staro"), "tekst");
  person_.WillPress("Odustani");
  EXPECT_EQ(dialogs.InputText("Naslov", "Tekst:", "staro"), std::nullopt);
  person_.WillPress("Ne");
  EXPECT_EQ(ShowVelorDialog(TVCustomDialogType::kConfirmation, "Potvrda", "Naslov", "Pitanje?"), kDialogNo);
  EXPECT_EQ(person_.read.back(), "Potvrda | Naslov | Pitanje?");
  EXPECT_EQ(ShowVelorDialog(TVCustomDialogType::kConfirmation, "Potvrda", "Naslov", "Pitanje?"), kDialogYes);
  EXPECT_EQ(ShowVelorDialog(TVCustomDialogType::kError, "Greška", "Naslov", "Poruka"), 0);
}

}  // namespace
}  // namespace mox

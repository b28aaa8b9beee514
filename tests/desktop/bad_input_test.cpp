#include <sys/stat.h>

#include <QClipboard>
#include <QDropEvent>
#include <QMimeData>
#include <QStyleOptionViewItem>
#include <filesystem>
#include <fstream>

#include "desktop/croatian.h"
#include "desktop/money.h"
#include "desktop/platform.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/files.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/desktop/servers.h"
#include "tests/fakes/own_process.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

using testing::Contains;
using testing::HasSubstr;

// What cannot be pasted is told in a sentence, and changes nothing, in a document and in the import grid.
TEST_F(DesktopTest, TellsWhatIsNoTableOnTheClipboard) {
  struct Case {
    const char* type;
    QByteArray data;
    const char* told;
    int rows;
  };
  const QByteArray table =
      "<p>Cjenik</p><table><tr><td></td><td>Stol</td><td>kom</td><td>2</td></tr>\n<tr><td></td><td>Stolac</"
      "td><td>kom</td><td>4</td></tr></table>";
  const Case cases[] = {
      {"text/html", table, "", 2},
      {"image/png", QByteArray(1000, '\xff'), "U međuspremniku nema teksta.", 0},
      {"text/plain", QByteArray("Stol\0kom\n", 9), "U međuspremniku nije tekst.", 0},
      {"text/plain", QByteArray(40'000, 'x'), "U međuspremniku je ćelija dulja od 32767 znakova.", 0},
      {"text/plain", QByteArray("a\tb\n").repeated(13'000'000), "najviše se lijepi", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.told);
    const auto copy = [&c] {
      auto* const mime = new QMimeData;
      mime->setData(QString::fromUtf8(c.type), c.data);
      QApplication::clipboard()->setMimeData(mime);
    };
    copy();
    DocumentEditor* const editor = New("predracun");
    RecordSetView* const lines = Lines(editor);
    lines->setCurrentIndex(QModelIndex());
    QTest::keyClick(lines, Qt::Key_V, Qt::ControlModifier);
    EXPECT_THAT(Told(editor), HasSubstr(c.told));
    EXPECT_EQ(lines->Model().rowCount(), c.rows);
    EXPECT_EQ(c.rows > 0 ? FromQt(Cell(lines, 1, "naziv")) : "Stolac", "Stolac");
    if (c.rows > 0) person_.WillPress("Da");
    editor->MayClose();
    // The rows of the first one are offered to the others.
    if (&c != cases) person_.WillPress("Ne");
    InGrid([&](QWidget* grid) {
      QTest::keyClick(Lines(grid, "Redci za uvoz"), Qt::Key_E, Qt::AltModifier);
      if (c.rows > 0) return;
      EXPECT_THAT(Told(grid, "Sažetak"), HasSubstr(c.told));
    });
  }
}

// A sheet is dropped onto the grid; of a file that is none, or went away, the reason is told, and the rows
// that are there stay.
TEST_F(DesktopTest, TakesDroppedSheetsAndKeepsRowsWhereThereIsNone) {
  const std::string examples = SourceDir() + "/examples/import/";
  const auto write = [&](const char* name, std::string_view bytes) {
    ReplaceFile(folder_ / name, bytes);
    return folder_ / name;
  };
  const std::string sheet = ReadWholeFile(examples + "kontniplan.xlsx");
  struct Case {
    std::string path;
    const char* told;  // empty where it is a sheet
  };
  const Case cases[] = {{examples + "kontniplan.csv", ""},
                        {examples + "kontniplan.xlsx", ""},
                        {folder_ / "nema.xlsx", "nema takve datoteke"},
                        {write("pola.xlsx", sheet.substr(0, sheet.size() / 2)), "oštećena"},
                        {write("racun.csv", "%PDF-1.5 ..."), "to je PDF"},
                        {folder_.path().string(), "to je mapa"},
                        {folder_ / "cijev", "to je cijev"}};
  ASSERT_EQ(::mkfifo((folder_ / "cijev").c_str(), 0600), 0);
  InGrid([&](QWidget* grid) {
    RecordSetView* const rows = Lines(grid, "Redci za uvoz");
    for (const Case& c : cases) {
      SCOPED_TRACE(c.path);
      const std::string before = Told(grid, "Redak");
      QMimeData mime;
      mime.setUrls({QUrl::fromLocalFile(ToQt(c.path))});
      QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
      QApplication::sendEvent(grid, &enter);
      EXPECT_TRUE(enter.isAccepted());
      QDropEvent drop(QPointF(9, 9), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
      person_.read.clear();
      QApplication::sendEvent(grid, &drop);
      if (*c.told == '\0') {
        EXPECT_GT(rows->Model().rowCount(), 3);
        continue;
      }
      EXPECT_THAT(person_.read, Contains(HasSubstr(c.told)));
      EXPECT_EQ(Told(grid, "Redak"), before);
    }
  });
}

// Nothing that was typed is lost, what is known of it is told, and storing again stores it once.
TEST_F(DesktopTest, KeepsADocumentWhileItsServerIsAway) {
  using enum LostServer::Lost;
  auto opened = std::make_unique<LostServer>(company_);
  LostServer& server = *opened;
  host_->Open(company_, std::move(opened));
  for (const auto& [how, told] :
       {std::pair(kBefore, "Ništa nije pohranjeno"), {kAfter, "Ne zna se je li pohranjeno"}}) {
    DocumentEditor* const editor = EnterService();
    server.Lose(how);
    person_.read.clear();
    Press(editor, Qt::Key_F9);
    EXPECT_THAT(person_.read, Contains(HasSubstr(told)));
    EXPECT_FALSE(editor->IsStored());
    EXPECT_EQ(Cell(Lines(editor, "Usluge"), 0, "naziv"), "Obuka");
    server.Lose(kNo);
    Press(editor, Qt::Key_F9);
    EXPECT_TRUE(editor->IsStored());
  }
  EXPECT_EQ(CreateDBDataSet("Dokumenti", "adsList", {})->RowCount(), 2U) << "each is stored once";

  // In the middle of a line, and of a row of a codebook.
  DocumentEditor* const editor = New("gotovinski-racun");
  QTest::keyClick(Lines(editor), Qt::Key_Insert);
  Go(Lines(editor), 0, "sifra");
  server.Lose(kReads);
  person_.read.clear();
  Type(Lines(editor), "Demo");
  EXPECT_THAT(person_.read, Contains(HasSubstr("poslužitelj nije dostupan")));
  EXPECT_EQ(Cell(Lines(editor), 0, "sifra"), "Demo");
  server.Lose(kNo);
  window_->ShowCodebook("jm");
  QWidget* const page = Page();
  RecordSetView* const units = Lines(page, "Jedinice mjere");
  const int row = Append(units, "naziv", "vreca", false);
  server.Lose(kBefore);
  EXPECT_FALSE(units->TakeRow());
  EXPECT_THAT(Told(page), HasSubstr("Ništa nije pohranjeno"));
  EXPECT_EQ(Cell(units, row, "naziv"), "vreca");
  server.Lose(kNo);
  EXPECT_TRUE(units->TakeRow());
}

TEST_F(DesktopTest, ChangesUsersWhereThereIsAServer) {
  EXPECT_THROW(window_->ShowUsers(), Error) << "a file has none";
  Accounts::Create(folder_ / "imenik.db");
  Accounts accounts(folder_ / "imenik.db", {.password_passes = 1, .password_memory = 8192});
  accounts.AddCompany("firma", company_);
  for (const char* const user : {"ana", "iva"}) accounts.AddUser(user, "tajna lozinka");
  accounts.Grant("ana", "firma", {FindRole("administracija")});
  host_->Open(company_, std::make_unique<UsersServer>(company_, accounts));
  window_->ShowUsers();
  QWidget* const page = Page();
  RecordSetView* const users = Lines(page, "Korisnici i ovlasti");
  const auto toggle = [&](int row, const char* role) {
    Go(users, row, role);
    QTest::keyClick(users, Qt::Key_Space);
    const bool stored = users->Model().submit();
    Settle();
    return stored;
  };
  const auto roles = [&] { return accounts.UsersOf("firma").back().roles; };
  const auto add = [&](const char* name) {
    person_.WillEnter(name);
    PressButton(page, "Dodaj korisnika…");
  };
  add("nitko");
  EXPECT_THAT(person_.read.back(), HasSubstr("poslužitelj nema korisnika „nitko”"));
  add("iva");
  ASSERT_EQ(users->Model().rowCount(), 2);
  EXPECT_TRUE(toggle(1, "uvoz"));
  EXPECT_THAT(roles(), testing::ElementsAre(FindRole("citanje"), FindRole("uvoz")));
  add("iva");
  EXPECT_THAT(person_.read.back(), HasSubstr("netko je u međuvremenu promijenio"));
  EXPECT_EQ(roles().size(), 2U) << "who has roles keeps them";
  // A click on a role in another row counts, although the row that is left is stored and read anew.
  Go(users, 0, "unos");
  QTest::keyClick(users, Qt::Key_Space);
  QStyleOptionViewItem cell;
  cell.initFrom(users);
  cell.features = QStyleOptionViewItem::HasCheckIndicator;
  cell.rect = users->visualRect(users->Model().index(1, *users->Model().ColumnOf("maticni")));
  const QRect box = users->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &cell, users);
  const QPoint at = users->viewport()->mapTo(window_.get(), box.center());
  QTest::mousePress(window_->windowHandle(), Qt::LeftButton, {}, at);
  Settle();
  QTest::mouseRelease(window_->windowHandle(), Qt::LeftButton, {}, at);
  Settle();
  EXPECT_TRUE(users->Model().submit());
  Settle();
  EXPECT_THAT(roles(), Contains(FindRole("maticni")));
  EXPECT_FALSE(toggle(0, "administracija"));
  EXPECT_THAT(Told(page), HasSubstr("bez korisnika s administracijom"));
  QTest::keyClick(users, Qt::Key_Escape);

  accounts.LogIn("iva", "tajna lozinka", "192.0.2.1");
  Press(page, Qt::Key_F5);
  EXPECT_EQ(Cell(users, 1, "prijava"), "1");
  Go(users, 1, "ime");
  PressButton(page, "Prekini prijave");  // Enter says no
  EXPECT_EQ(accounts.Tokens().size(), 1U);
  person_.WillPress("Da");
  PressButton(page, "Prekini prijave");
  EXPECT_TRUE(accounts.Tokens().empty());
}

TEST_F(DesktopTest, KeepsADocumentWhileTheDiskIsFull) {
  DocumentEditor* const editor = EnterService();
  {
    const FullDisk full(16);
    editor->SaveDraft();
    EXPECT_THAT(Told(editor), HasSubstr("Nacrt nije spremljen"));
    Press(editor, Qt::Key_F9);
  }
  EXPECT_FALSE(editor->IsStored());
  EXPECT_THAT(person_.read, Contains(HasSubstr("Radnja nije izvršena")));
  EXPECT_EQ(Cell(Lines(editor, "Usluge"), 0, "naziv"), "Obuka");
  Press(editor, Qt::Key_F9);
  EXPECT_TRUE(editor->IsStored());
}

// A file that another program takes away or replaces is not written any more, and what is entered stays.
TEST_F(DesktopTest, KeepsADocumentWhileItsFileIsAway) {
  DocumentEditor* const editor = EnterService();
  const std::string away = folder_ / "drugdje.db";
  const auto refuses = [&] {
    person_.read.clear();
    Press(editor, Qt::Key_F9);
    EXPECT_THAT(person_.read, Contains(HasSubstr("premještena, zamijenjena ili obrisana")));
    EXPECT_FALSE(editor->IsStored());
    EXPECT_EQ(Cell(Lines(editor, "Usluge"), 0, "naziv"), "Obuka");
  };
  const auto move = [](const std::string& from, const std::string& to) {
    for (const char* const ending : {"", "-wal", "-shm"}) std::filesystem::rename(from + ending, to + ending);
  };
  move(company_, away);
  refuses();
  Database::Create(company_, WithDemo::kYes);
  refuses();
  move(away, company_);
  Press(editor, Qt::Key_F9);
  EXPECT_TRUE(editor->IsStored());
}

// The company that is open stays, with its pages, where another one cannot be opened.
TEST_F(DesktopTest, StaysWhereAnotherCompanyCannotBeOpened) {
  const std::string newer = folder_ / "novija.db";
  Database::Create(newer, WithDemo::kNo);
  Database(newer).Execute("PRAGMA user_version = 99", {});
  const std::string text = folder_ / "tekst.db";
  std::ofstream(text) << "ovo nije baza podataka, nego tekst koji je dulji od zaglavlja";
  const struct {
    std::string address;
    const char* told;
  } cases[] = {{newer, "bazu je zapisala novija inačica programa (inačica 99"},
               {text, "nije baza podataka tvrtke"},
               {folder_ / "nema.db", "nema takve datoteke"},
               {"https://", "adresa poslužitelja je https://RAČUNALO"}};
  const int tabs = window_->Tabs().count();
  for (const auto& c : cases) {
    EXPECT_FALSE(Guarded([&] { window_->OpenCompany(c.address); }));
    EXPECT_THAT(person_.read.back(), HasSubstr(c.told));
    EXPECT_EQ(window_->Tabs().count(), tabs);
    EXPECT_EQ(App().Company().CompanyPath(), company_);
  }
  EXPECT_EQ(host_->RecentCompanies(), std::vector{company_}) << "what was not opened is not remembered";
}

// Numbers and dates are read as they are written, whatever the separators.
TEST(SystemLocale, ReadsWhatItWrites) {
  for (const char* const name : {"hr_HR", "en_US", "en_GB", "de_DE", "de_CH", "fr_FR", "sv_SE", "hu_HU",
                                 "pl_PL", "pt_BR", "hi_IN", "C"}) {
    SCOPED_TRACE(name);
    const LocaleSettings locale = LocaleSettingsOf(QLocale(QString::fromUtf8(name)));
    const std::string number = FormatFloat("0.00;-0.00", Currency::Parse("-1234567.89"), locale);
    EXPECT_EQ(ParseLocaleCurrency(number, locale), Currency::Parse("-1234567.89")) << number;
    const Date day = *ParseIsoDate("2026-03-02");
    EXPECT_EQ(ParseLocaleDate(DateToText(day, locale), locale), day) << DateToText(day, locale);
  }
}

TEST_F(DesktopTest, TakesNumbersInGroups) {
  for (const auto& [typed, read] : {std::pair(u"1.250,00", "1250,00"),
                                    {u"-12.345.678", "-12345678"},
                                    {u"1.250", "1.250"},
                                    {u"12.50,00", "12.50,00"},
                                    {u"1.3.2026", "1.3.2026"}}) {
    EXPECT_EQ(WithoutGroups(QString::fromUtf16(typed)), read);
  }
  EXPECT_EQ(ReadMoney(QStringLiteral("1.250,50")), Currency::Parse("1250.5"));
  EXPECT_EQ(ReadMoney(QStringLiteral("0,007")), std::nullopt);
}

TEST_F(DesktopTest, TellsWhyALoginWasRefused) {
  person_.WillDo([](QWidget* dialog) {
    Fill(Line(dialog, "Korisnik"), "ana");
    Fill(Line(dialog, "Lozinka"), "tajna");
    PressButton(dialog, "Prijavi se");
    EXPECT_THAT(Told(dialog, "Zašto prijava nije uspjela"), HasSubstr("poslužitelj nije dostupan"));
    PressButton(dialog, "Odustani");
  });
  window_->OpenCompany("https://127.0.0.1:1/tvrtka");
  EXPECT_EQ(person_.read.back(), "Prijava");
  EXPECT_EQ(App().Company().CompanyPath(), company_);
}

TEST(Croatian, SaysWhatThePartsOfAMessageMean) {
  EXPECT_EQ(InCroatian("Zaglavlje: row 2: must not be empty"), "Zaglavlje: redak 2: ne smije biti prazno");
  EXPECT_EQ(InCroatian("a.db: was written by a newer program (version 99, this program knows up to 26)"),
            "a.db: bazu je zapisala novija inačica programa (inačica 99, this program knows up to 26). "
            "Nadogradite program; ništa nije promijenjeno.");
  EXPECT_EQ(InCroatian("\"k\" is the key of another document, racun 2026/1 (id 3)"),
            "dokument je već pohranjen kao racun 2026/1 (id 3); promjene nakon toga nisu pohranjene");
  EXPECT_EQ(InCroatian("user ana may not use DokumentInsert, which takes the role \"upis\""),
            "korisnik ana nema ovlast „upis”, koju za to treba");
  EXPECT_EQ(InCroatian("it is in AED and has no exchange rate (tecaj): its tax in EUR is not on it"),
            "U valuti je AED, a nema tečaja: na njemu nema poreza u valuti EUR");
  EXPECT_EQ(InCroatian(
                "no payment code: the code of the payment slip: primatelj_naziv: \"Žito\" has 40 characters, "
                "the code has room for 25"),
            "Nema koda za plaćanje: naziv primatelja: „Žito” ima 40 znakova, a u kod ih stane 25");
  EXPECT_EQ(InCroatian("document 3 does not add up: at 25 % the lines have the base 1.00 and tax 0.25, the "
                       "recapitulation has the base 1.00 and tax 0.75"),
            "Dokument 3 ne slaže se: po stopi 25 % stavke imaju osnovicu 1.00 i PDV 0.25, a rekapitulacija "
            "osnovicu 1.00 i PDV 0.75");
  EXPECT_EQ(InCroatian("p.txt:2: roba: there is no column \"cijena\""),
            "p.txt:2: roba: nema stupca \"cijena\"");
  EXPECT_EQ(InCroatian("the payment code is not on the slip, whose paper is too narrow for it"),
            "Na isječku nema koda za plaćanje: papir je preuzak");
  EXPECT_EQ(InCroatian("nobody knows this"), "nobody knows this");
}

}  // namespace
}  // namespace mox

#include "desktop/stored_document.h"

#include <QPrinter>
#include <QProcess>
#include <QRegularExpression>
#include <filesystem>

#include "desktop/article_picture_dialog.h"
#include "desktop/code_dialog.h"
#include "desktop/document_list.h"
#include "desktop/mail_page.h"
#include "desktop/print_dialog.h"
#include "mox/documents/document.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/files.h"
#include "mox/server/transactions.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/fakes/silent_server.h"

namespace mox {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class StoredDocumentTest : public DesktopTest {
 protected:
  // An invoice of two services that is paid later, opened from the list.
  StoredDocumentPage* Open(const char16_t* partner = u"") {
    DocumentEditor* const editor =
        Enter("racun-usluga", "Usluge", "\tSavjetovanje\tsat\t3\t60\t0\t25\n\tObuka\tdan\t1\t320\t10\t25\n");
    Fill(Line(editor, "Partner"), QString::fromUtf16(partner));
    QTest::keyClick(Line(editor, "Partner"), Qt::Key_F4);  // the first one
    Press(editor, Qt::Key_F9);
    window_->ShowDocuments();
    RecordSetView* const list = Lines(Page(), "Dokumenti");
    list->selectRow(0);
    QTest::keyClick(list, Qt::Key_Return);
    return dynamic_cast<StoredDocumentPage*>(Page());
  }
};

TEST_F(StoredDocumentTest, ShowsPaysAndCancels) {
  StoredDocumentPage* const page = Open();
  ASSERT_NE(page, nullptr);
  EXPECT_THAT(FromQt(page->windowTitle()), StartsWith("Račun usluga 1/"));
  RecordSetView* const lines = Lines(page, "Usluge");
  EXPECT_EQ(Cell(lines, 1, "ukupno"), "360,00");
  EXPECT_EQ(lines->Model().ColumnOf("rbp3"), std::nullopt) << "no line has it";
  Type(lines, "9");
  EXPECT_EQ(Cell(lines, 1, "kolicina"), "1,00");
  EXPECT_EQ(Cell(Lines(page, "Rekapitulacija PDV-a"), 0, "porez"), "117,00");
  EXPECT_EQ(Told(page, "Plaćeno"), "Plaćeno: 0,00   Otvoreno: 585,00");
  person_.WillDo([](QWidget* dialog) { FillIn(dialog->findChild<QLineEdit*>(), QStringLiteral("500")); });
  Press(page, Qt::Key_U, Qt::ControlModifier);  // the day is today
  EXPECT_EQ(Told(page, "Plaćeno"), "Plaćeno: 500,00   Otvoreno: 85,00");
  Press(page, Qt::Key_T, Qt::ControlModifier);
  RecordSetView* const links = Lines(page, "Veze");
  ASSERT_EQ(links->Model().rowCount(), 1);
  EXPECT_EQ(Cell(links, 0, "veza"), "Stornirano dokumentom");
  links->setCurrentIndex(links->Model().index(0, 0));
  QTest::keyClick(links, Qt::Key_Return);
  ASSERT_NE(Page(), page);
  EXPECT_EQ(Cell(Lines(Page(), "Veze"), 0, "veza"), "Stornira");
  const int tabs = window_->Tabs().count();
  window_->ShowDocument(page->Id());
  EXPECT_EQ(Page(), page) << "a document has one page";
  EXPECT_EQ(window_->Tabs().count(), tabs);
  // The list names what cancels what, also where the other document is not in it.
  window_->ShowDocuments();
  FillIn(Line(Page(), "Partner, opis, broj/godina…"), QStringLiteral("1/"));
  RecordSetView* const list = Lines(Page(), "Dokumenti");
  ASSERT_EQ(list->Model().rowCount(), 1);
  EXPECT_THAT(FromQt(Cell(list, 0, "storno")), StartsWith("stornirano: Račun usluga 2/"));
}

TEST_F(StoredDocumentTest, GoesOnPaper) {
  StoredDocumentPage* const page = Open();
  const std::string path = folder_ / "racun.pdf";
  const std::string printer = folder_ / "lp0";
  const auto print_dialog = [](QWidget* dialog) { return dynamic_cast<PrintDialog*>(dialog); };
  person_.WillDo([&](QWidget* dialog) {
    PrintDialog* const print = print_dialog(dialog);
    ASSERT_NE(print, nullptr);
    print->SaveTo(path);
    EXPECT_THAT(ReadWholeFile(path), StartsWith("%PDF-"));
    EXPECT_THROW(print->SaveTo(company_), Error);
    print->findChild<QComboBox*>()->setCurrentIndex(2);
    EXPECT_THAT(print->Bytes(), StartsWith("\x1B@"));
    EXPECT_THROW(print->SaveTo(path), Error) << "a slip in the place of a page";
    // It goes where slips go, and over a file only on a yes.
    App().Ini().WriteString("DESKTOP", "ISJECAK", path);
    App().Ini().WriteString("DESKTOP", "PISAC_ISJECAKA", printer);
    const auto print_slip = [&] { PressButton(print, "Ispiši… (Ctrl+P)"); };
    print_slip();
    ASSERT_TRUE(std::filesystem::exists(printer));
    EXPECT_EQ(ReadWholeFile(printer), print->Bytes());
    EXPECT_EQ(Told(print), "Isječak je poslan na " + printer);
    ReplaceFile(printer, "\x1B@ drugi");
    print_slip();  // Enter says no
    EXPECT_EQ(ReadWholeFile(printer), "\x1B@ drugi");
    person_.WillPress("Da");
    print_slip();
    EXPECT_EQ(ReadWholeFile(printer), print->Bytes());
    print->accept();
  });
  Press(page, Qt::Key_P, Qt::ControlModifier);
  EXPECT_THAT(person_.read, testing::Contains(StartsWith("Ispis – Račun usluga 1/")));
  person_.WillDo([&](QWidget* dialog) {
    EXPECT_EQ(dialog->findChild<QComboBox*>()->currentText(), "Isječak 58 mm") << "as it was printed last";
    dialog->findChild<QComboBox*>()->setCurrentIndex(0);
    print_dialog(dialog)->accept();
  });
  Press(page, Qt::Key_P, Qt::ControlModifier);
}

// What a printer of pages is sent are letters and not pictures, so it is small however fine the printer is.
TEST_F(StoredDocumentTest, PrintsLetters) {
  constexpr int kFine = 1200;
  constexpr int kLines = 120;
  Document document(DocumentKindByName("racun-usluga"));
  document.SetHeader("datum", *MakeDate(2026, 3, 2));
  for (int line = 0; line < kLines; ++line) {
    RecordSet& lines = *document.Services();
    lines.Append();
    lines.FieldByName("naziv").SetText("Savjetovanje čćđšž " + std::to_string(line));
    lines.FieldByName("kolicina").SetFloat(2);
    lines.FieldByName("pc").SetFloat(10 + line);
    lines.FieldByName("tbr_stp").SetFloat(25);
    lines.Post();
  }
  ASSERT_TRUE(document.Store()) << host_->Server().WriteRefusal();
  PrintDialog dialog(host_->Server().LastWrite().stored.value().AsInteger(0), window_.get());
  QPrinter printer(QPrinter::HighResolution);
  printer.setResolution(kFine);
  printer.setFullPage(true);
  printer.setPageSize(QPageSize(QPageSize::A4));
  printer.setOutputFileName(ToQt(folder_ / "pisac.pdf"));
  dialog.PrintSheets(printer);
  dialog.SaveTo(folder_ / "mox.pdf");
  const auto text_of = [this](const char* name) {
    QProcess reader;
    reader.start(QStringLiteral("pdftotext"),
                 {QStringLiteral("-raw"), ToQt(folder_ / name), QStringLiteral("-")});
    EXPECT_TRUE(reader.waitForFinished());
    return QString::fromUtf8(reader.readAllStandardOutput())
        .remove(QRegularExpression(QStringLiteral("\\s")));
  };
  EXPECT_THAT(FromQt(text_of("pisac.pdf")), HasSubstr("Savjetovanječćđšž119"));
  EXPECT_EQ(text_of("pisac.pdf"), text_of("mox.pdf"));
  EXPECT_LT(std::filesystem::file_size(folder_ / "pisac.pdf"), 100'000U);
}

// Through an account whose server is not there: the mail waits, and goes out once it is sent again.
TEST_F(StoredDocumentTest, GoesByMail) {
  StoredDocumentPage* const page = Open();
  const auto mail = [&](const char* to) {
    person_.WillEnter(QString::fromUtf8(to));
    Press(page, Qt::Key_M, Qt::ControlModifier);
    return Told(page);
  };
  mail("kupac@");
  EXPECT_THAT(person_.read.back(), HasSubstr("„kupac@” nije e-mail adresa"));
  mail("kupac@primjer.hr");
  EXPECT_THAT(person_.read.back(), HasSubstr("tvrtka nema račun za poštu"));
  MailAccountDialog account(*host_, window_.get());
  Fill(Line(&account, "Poslužitelj"), QStringLiteral("smtp://127.0.0.1:1"));
  Fill(Line(&account, "Adresa pošiljatelja"), QStringLiteral("racuni@primjer.hr"));
  account.accept();
  EXPECT_EQ(account.result(), QDialog::Accepted);
  EXPECT_THAT(mail("kupac@primjer.hr"), StartsWith("Pošta za kupac@primjer.hr nije poslana i čeka"));
  window_->ShowMails();
  RecordSetView* const mails = Lines(Page(), "Odlazna pošta");
  EXPECT_EQ(Cell(mails, mails->Model().rowCount() - 1, "stanje"), "čeka");
  Press(Page(), Qt::Key_M, Qt::ControlModifier);
  EXPECT_THAT(Told(Page()), HasSubstr("nije poslana i čeka"));
  // A mail keeps its template; where that is not the installed one, it goes on a yes.
  ReplaceFile(folder_ / "drugi.txt", "[posta]\npredmet = Drugi {broj}\n");
  App().Ini().WriteString("GENERAL", "PREDLOZAK", folder_ / "drugi.txt");
  for (const auto& [answer, told] :
       {std::pair("Ne", "čeka; ostaje joj predložak"), {"Da", "nije poslana i čeka"}}) {
    person_.WillPress(answer);
    Press(Page(), Qt::Key_M, Qt::ControlModifier);
    EXPECT_THAT(person_.read.back(), HasSubstr("ostaje joj predložak"));
    EXPECT_THAT(Told(Page()), HasSubstr(told));
  }
  const auto state = [&] { return FromQt(Cell(mails, mails->Model().rowCount() - 1, "stanje")); };
  PressButton(Page(), "Stigla je");
  EXPECT_EQ(state(), "čeka") << "Enter says no";
  person_.WillPress("Da");
  PressButton(Page(), "Stigla je");
  EXPECT_EQ(state(), "čeka") << "it was never sent";
  person_.WillPress("Da");
  PressButton(Page(), "Povuci");
  EXPECT_EQ(state(), "odbijena je ili povučena");
}

// The picture of an article is loaded from a file, shown, saved and taken away.
TEST_F(StoredDocumentTest, ArticlesHavePictures) {
  const std::string file = folder_ / "slika.png";
  QImage drawn(840, 420, QImage::Format_RGB32);
  drawn.fill(Qt::darkGreen);
  ASSERT_TRUE(drawn.save(ToQt(file)));
  window_->ShowCodebook("artikli");
  Lines(Page(), "Artikli")->selectRow(0);
  person_.WillDo([&](QWidget* dialog) {
    auto* const picture = dynamic_cast<ArticlePictureDialog*>(dialog);
    ASSERT_NE(picture, nullptr);
    QLabel* const shown = Label(picture, "Slika");
    EXPECT_EQ(shown->text(), "Artikl nema sliku.");
    EXPECT_THROW(picture->Load(company_), Error);
    picture->Load(file);
    EXPECT_EQ(shown->accessibleDescription(), "800 × 400");
    EXPECT_NEAR(shown->pixmap().toImage().pixelColor(9, 9).green(), QColor(Qt::darkGreen).green(), 4);
    picture->SaveTo(folder_ / "kopija.jpg");
    EXPECT_EQ(QImage(ToQt(folder_ / "kopija.jpg")).size(), QSize(800, 400));
    picture->findChild<QComboBox*>()->setCurrentIndex(1);
    picture->Load(file);
    EXPECT_EQ(shown->accessibleDescription(), "420 × 420");
    PressButton(picture, "Ukloni");  // Enter says no
    EXPECT_EQ(shown->text(), "");
    person_.WillPress("Da");
    PressButton(picture, "Ukloni");
    EXPECT_EQ(shown->text(), "Artikl nema sliku.");
    picture->accept();
  });
  Press(Page(), Qt::Key_G, Qt::ControlModifier);
  EXPECT_THAT(person_.read, testing::Contains(StartsWith("Slika artikla")));
}

TEST_F(StoredDocumentTest, ShowsTheCodeOfAFiscalReceipt) {
  StoredDocumentPage* const page = Open();
  const auto shown = [&] {
    QString description;
    person_.WillDo([&](QWidget* dialog) {
      if (QLabel* const picture = Label(dialog, "Provjera računa"))
        description = picture->accessibleDescription();
      PressButton(dialog, "Zatvori");
    });
    Press(page, Qt::Key_K, Qt::ControlModifier);
    return FromQt(description);
  };
  EXPECT_EQ(shown(), "");
  RecordSet fiscal("adsFiskalno");
  fiscal.DefineField("dok_id", FieldKind::kInteger);
  for (const char* const field : {"broj_racuna", "zki"}) fiscal.DefineField(field, FieldKind::kText);
  fiscal.DefineField("vrijeme", FieldKind::kDateTime);
  fiscal.Open();
  fiscal.AppendRecord({page->Id(), std::string("1/PP1/1"), std::string("0123456789abcdef0123456789abcdef"),
                       LocalNow()});  // the document is of today
  ASSERT_TRUE(ExecuteTransaction("FiskalniPodaciUpis", {&fiscal})) << host_->Server().WriteRefusal();
  EXPECT_THAT(shown(), HasSubstr("zki=0123456789abcdef0123456789abcdef"));
}

// An e-invoice that is ended on its way may have arrived: so it is said, and asked before it goes once more.
TEST_F(StoredDocumentTest, TellsWhatIsKnownOfAnEInvoiceThatWasEnded) {
  const SilentServer intermediary;
  StoredDocumentPage* const page = Open(u"Ana");
  RecordSet account("Parametri");
  for (const char* const field : {"naziv", "vrijednost"}) account.DefineField(field, FieldKind::kText);
  account.Open();
  for (const auto& [name, value] : std::initializer_list<std::pair<const char*, std::string>>{
           {"EracunSendB2CBills", "true"},
           {"EracunB2CUrl", "http://" + intermediary.Address() + "/b2c"},
           {"EracunUserName", "ana"},
           {"EracunKey", "tajna"}}) {
    account.AppendRecord({std::string(name), value});
  }
  ASSERT_TRUE(ExecuteTransaction("ParametriPoduzecaUpdate", {&account})) << host_->Server().WriteRefusal();
  person_.on_status = [](QWidget* status) { Leave(status); };
  Press(page, Qt::Key_E, Qt::ControlModifier);
  person_.on_status = nullptr;
  EXPECT_THAT(person_.read.back(), HasSubstr("eRačun je možda poslan, a odgovor nije stigao."));
  EXPECT_THAT(Told(page), testing::Not(HasSubstr("eRačun je poslan")));
}

}  // namespace
}  // namespace mox

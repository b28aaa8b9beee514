// Shows the main places of the window with a made-up company and saves them: mox_desktop_pictures FOLDER.

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <fstream>

#include "desktop/article_picture_dialog.h"
#include "desktop/mail_page.h"
#include "desktop/payment_dialog.h"
#include "desktop/settings_dialog.h"
#include "tests/desktop/dark_theme.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/desktop/servers.h"

namespace {

QString folder;

}  // namespace

namespace mox {
namespace {

class Pictures : public DesktopTest {
 protected:
  Pictures() { window_->resize(1180, 700); }
  static void Save(QWidget* window, const char* name) {
    Settle();
    const QString path = QDir(folder).filePath(QString::fromUtf8(name) + QStringLiteral(".png"));
    ASSERT_TRUE(window->grab().save(path)) << FromQt(path);
  }
};

TEST_F(Pictures, Document) {
  App().Ini().WriteInteger("GENERAL", "LAGERNEGATIVE", 1);
  Enter("gotovinski-racun", "Stavke",
        "\tČaj šipak, 20 vrećica\tkom\t2\t2,39\t0\t0\t0\t25\t0\n"
        "\tVoda mineralna 1,5 l\tkom\t6\t0,79\t10\t0\t0\t25\t0,07\n"
        "\tKruh polubijeli\tkom\t1\t1,95\t0\t0\t0\t5\t0\n"
        "\tSir Gauda\tkg\t0,412\t9,89\t5\t3\t0\t25\t0\n");
  Save(window_.get(), "document");
}

TEST_F(Pictures, ListAndReport) {
  App().Ini().WriteInteger("GENERAL", "LAGERNEGATIVE", 1);
  for (const char* const lines : {"\tSavjetovanje\tsat\t3\t60\t0\t25\n", "\tOdržavanje\tsat\t8\t45\t10\t25\n",
                                  "\tObuka korisnika\tdan\t2\t320\t0\t25\n"}) {
    Press(Enter("racun-usluga", "Usluge", lines), Qt::Key_F9);
  }
  window_->ShowDocuments();
  Press(Page(), Qt::Key_T, Qt::ControlModifier);  // yes, and today
  Save(window_.get(), "documents");
  window_->ShowReports();
  Save(window_.get(), "reports");
  window_->ShowCodebook("partneri");
  Save(window_.get(), "codebook");
}

TEST_F(Pictures, Import) {
  const std::string sheet = folder_ / "kontni plan.csv";
  std::ofstream(sheet)
      << "Konto;Opis\n10000;Žiro račun\n;Devizni račun\n10200;Blagajna\n1200;Kupci\n10201;\n10300;Čekovi\n";
  InGrid([&](ImportDialog* grid) {
    grid->OpenSheetFile(ToQt(sheet));
    PressButton(grid, "Provjera i uvoz podataka");
    Save(grid, "import");
  });
}

TEST_F(Pictures, StoredDocument) {
  DocumentEditor* const editor = Enter("racun-usluga", "Usluge",
                                       "\tSavjetovanje\tsat\t3\t60\t0\t25\n"
                                       "\tOdržavanje\tsat\t8\t45\t10\t25\n");
  QTest::keyClick(Line(editor, "Partner"), Qt::Key_F4);
  Press(editor, Qt::Key_F9);
  Press(editor, Qt::Key_F9);  // shows it
  Save(window_.get(), "stored-document");
  person_.WillDo([](QWidget* dialog) {
    Save(dialog, "print");
    static_cast<QDialog*>(dialog)->accept();
  });
  Press(Page(), Qt::Key_P, Qt::ControlModifier);
}

TEST_F(Pictures, SupplierDocument) {
  DocumentEditor* const editor = Enter("primka-kalkulacija", "Stavke",
                                       "\tBrašno glatko\tkom\t100\t0,60\t5\t0\t0\t0\t0\t13\n"
                                       "\tKava mljevena\tkom\t40\t4,00\t5\t0\t0\t0\t0\t25\n");
  person_.WillDo([](QWidget* dialog) {
    Fill(Line(dialog, "PDV (25%):"), QStringLiteral("38,10"));
    Save(dialog, "supplier");
    Leave(dialog);
  });
  PressButton(editor, "PDV dokumenta dobavljača…");
}

TEST_F(Pictures, Places) {
  const std::string file = folder_ / "slika.png";
  QImage drawn(600, 400, QImage::Format_RGB32);
  drawn.fill(QColor(0x6B, 0x42, 0x26));
  drawn.save(ToQt(file));
  window_->ShowCodebook("artikli");
  Lines(Page(), "Artikli")->selectRow(0);
  Save(window_.get(), "articles");
  person_.WillDo([&](QWidget* dialog) {
    dynamic_cast<ArticlePictureDialog*>(dialog)->Load(file);
    Save(dialog, "article-picture");
    Leave(dialog);
  });
  Press(Page(), Qt::Key_G, Qt::ControlModifier);
  window_->ShowCompanyData();
  Save(window_.get(), "company");
  window_->ShowRates();
  Save(window_.get(), "rates");
  window_->ShowMails();
  Save(window_.get(), "mails");
  const auto save = [this](const char* name, QDialog&& dialog) {
    person_.WillDo([name](QWidget* shown) {
      Save(shown, name);
      Leave(shown);
    });
    dialog.exec();
  };
  save("mail-account", MailAccountDialog(*host_, nullptr));
  save("settings", SettingsDialog(nullptr));
  save("payment", PaymentDialog(Currency::Parse("17.28"), {}, nullptr));
  person_.WillDo([](QWidget* dialog) {
    Save(dialog, "keys");
    Leave(dialog);
  });
  Press(window_.get(), Qt::Key_F1);
}

TEST_F(Pictures, Users) {
  Accounts::Create(folder_ / "imenik.db");
  Accounts accounts(folder_ / "imenik.db", {.password_passes = 1, .password_memory = 8192});
  accounts.AddCompany("firma", company_);
  const std::pair<const char*, std::vector<const Role*>> users[] = {
      {"ana.horvat", {FindRole("administracija")}},
      {"ivan", {FindRole("unos"), FindRole("uvoz")}},
      {"marija", {FindRole("citanje"), FindRole("maticni")}}};
  for (const auto& [name, roles] : users) {
    accounts.AddUser(name, "tajna lozinka");
    accounts.Grant(name, "firma", roles);
  }
  accounts.LogIn("ivan", "tajna lozinka", "192.0.2.1");
  host_->Open(company_, std::make_unique<UsersServer>(company_, accounts));
  window_->ShowUsers();
  Save(window_.get(), "users");
}

TEST_F(Pictures, LookUp) {
  person_.WillDo([&](QWidget* dialog) {
    Save(dialog, "look-up");
    Leave(dialog);
  });
  App().LookUps().LookUp(LookUpForm::kPartner, "");
}

}  // namespace
}  // namespace mox

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleMock(&argc, argv);
  if (argc != 2) return 2;
  folder = QString::fromLocal8Bit(argv[1]);
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  mox::ShowDarkWhereAsked();
  return RUN_ALL_TESTS();
}

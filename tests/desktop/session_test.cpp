// Sessions with servers: what is not read without one is read once there is one.

#include <QComboBox>
#include <QElapsedTimer>
#include <filesystem>
#include <thread>

#include "desktop/croatian.h"
#include "mox/server/read_services.h"
#include "moxd/error_reply.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/desktop/servers.h"
#include "tests/fakes/postgresql_server.h"
#include "tests/fakes/silent_server.h"

namespace mox {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kFirma = "https://posluzitelj/firma";

// A company on a server that asks who it is.
class GuardedServer : public LostServer {
 public:
  GuardedServer(const std::string& path, const bool& session, const bool& may_read)
      : LostServer(path), session_(session), may_read_(may_read) {}
  RecordSet* CompanyParameters() override {
    Check();
    return LostServer::CompanyParameters();
  }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    Check();
    if (!may_read_) throw Error(server_ + ": the user may not do this in this company");
    return LostServer::ReportDataService(request, service);
  }

 private:
  void Check() const {
    if (!session_)
      throw NotLoggedIn(server_ + ": not logged in, or the session has ended: mox login " + server_);
  }
  const std::string server_ = "https://posluzitelj";
  const bool& session_;
  const bool& may_read_;
};

class SessionTest : public DesktopTest {
 protected:
  SessionTest() {
    qputenv("XDG_STATE_HOME", QByteArray::fromStdString(folder_ / "stanje"));
    SetDoors();
  }
  ~SessionTest() override { qunsetenv("XDG_STATE_HOME"); }
  void SetDoors() {
    host_->SetDoors(
        {.open = [this](const std::string& address) -> std::unique_ptr<CompanyAccess> {
           if (!address.starts_with("https://")) return OpenCompany(address);
           if (away_) throw DatabaseUnavailable(address + ": cannot be reached: Connection refused");
           return std::make_unique<GuardedServer>(company_, session_, may_read_);
         },
         .log_in = [this](const ServerAddress&, const std::string& user, const std::string& password,
                          const std::string&, const EndFlag&) -> StoredLogin {
           if (password != "tajna") throw Error("https://posluzitelj: the user or the password is wrong");
           session_ = true;
           return {"znak", user, {}};
         }});
  }
  void WillLogIn(const char* user = "ana") {
    person_.WillDo([user](QWidget* dialog) {
      EXPECT_EQ(FromQt(dialog->windowTitle()), "Prijava");
      Fill(Line(dialog, "Korisnik"), user);
      Fill(Line(dialog, "Lozinka"), "kriva");
      PressButton(dialog, "Prijavi se");
      EXPECT_THAT(FromQt(Label(dialog, "Zašto prijava nije uspjela")->text()), HasSubstr("nisu ispravni"));
      Fill(Line(dialog, "Lozinka"), "tajna");
      PressButton(dialog, "Prijavi se");
    });
  }
  QWidget* Page() { return window_->Tabs().currentWidget(); }

  bool session_ = false;
  bool may_read_ = true;
  bool away_ = false;
};

TEST_F(SessionTest, ReadsAndOffersWhatWaitedForALogIn) {
  WillLogIn();
  window_->OpenCompany(kFirma);
  EXPECT_EQ(App().Company().CompanyPath(), kFirma);
  DocumentEditor* const editor = Enter("racun-usluga", "Usluge", "\tObuka\tdan\t1\t320\t10\t25\n");
  editor->SaveDraft();
  Stop();
  session_ = false;

  // The next start finds a session that has ended: without another one nothing is opened, with it all is
  // there.
  host_ = std::make_unique<DesktopHost>(folder_ / "mox.ini", folder_ / "");
  SetDoors();
  window_ = std::make_unique<MainWindow>(*host_);
  window_->show();
  person_.WillPress("Odustani");
  window_->OpenCompany(host_->LastCompany());
  EXPECT_FALSE(host_->IsOpen());
  WillLogIn();
  person_.WillPress("Da");
  window_->LogIn();
  ASSERT_EQ(window_->Tabs().count(), 2);
  EXPECT_EQ(Cell(Lines(Page(), "Usluge"), 0, "naziv"), "Obuka");

  // And one that ends meanwhile: what is typed stays, pages are read anew.
  window_->Tabs().setCurrentIndex(0);
  session_ = false;
  person_.read.clear();
  Press(Page(), Qt::Key_F5);
  EXPECT_THAT(person_.read, Contains(HasSubstr("prijavite se ponovo")));
  WillLogIn();
  window_->LogIn();
  EXPECT_THAT(FromQt(Label(Page(), "Napomena")->text()), HasSubstr("Dokumenata: 0"));
  ASSERT_EQ(window_->Tabs().count(), 2) << "a document that is open is not offered";
  window_->Tabs().setCurrentIndex(1);
  Press(Page(), Qt::Key_F9);
  EXPECT_TRUE(dynamic_cast<DocumentEditor*>(Page())->IsStored());

  // What another user may not read does not stay for him.
  window_->ShowDocument(1);
  window_->Tabs().setCurrentIndex(0);
  Press(Page(), Qt::Key_F5);
  EXPECT_EQ(Lines(Page(), "Dokumenti")->Model().rowCount(), 1);
  window_->ShowReports();
  const auto charts = [this] {
    std::vector<QString> told;
    for (const QWidget* const widget : Page()->findChildren<QWidget*>()) {
      if (widget->accessibleName().startsWith(QStringLiteral("Grafikon"))) {
        told.push_back(widget->accessibleDescription());
      }
    }
    return told;
  };
  ASSERT_EQ(charts().size(), 1U);
  may_read_ = false;
  for (const auto& [user, rows, tabs] : {std::tuple("ana", 1, 4), {"ivo", 0, 3}}) {
    WillLogIn(user);
    window_->LogIn();
    EXPECT_EQ(Lines(window_->Tabs().widget(0), "Dokumenti")->Model().rowCount(), rows) << user;
    EXPECT_EQ(window_->Tabs().count(), tabs) << user;
    EXPECT_EQ(charts().front().isEmpty(), rows == 0) << user;
    for (const int page : {0, tabs - 1}) {
      EXPECT_EQ(Label(window_->Tabs().widget(page), "Napomena")->text().isEmpty(), rows == 0) << user;
    }
  }
}

// The company that is open stays, with what is typed in it, until the other one has answered; what is not
// finished in it is offered when it is opened again.
TEST_F(SessionTest, LosesNothingForACompanyThatDoesNotAnswer) {
  Enter("racun-usluga", "Usluge", "\tObuka\tdan\t1\t320\t10\t25\n");
  const auto stays = [&] {
    EXPECT_EQ(App().Company().CompanyPath(), company_);
    ASSERT_EQ(window_->Tabs().count(), 2);
    EXPECT_EQ(Cell(Lines(Page(), "Usluge"), 0, "naziv"), "Obuka");
  };
  away_ = true;
  EXPECT_FALSE(Guarded([&] { window_->OpenCompany(kFirma); }));
  stays();
  away_ = false;
  person_.WillPress("Odustani");
  window_->OpenCompany(kFirma);
  stays();
  Fill(Line(Page(), "Dospijeće"), "31.2.");
  session_ = true;
  window_->OpenCompany(kFirma);  // Enter keeps what is no date yet
  stays();
  QTest::keyClick(Line(Page(), "Dospijeće"), Qt::Key_Escape);
  window_->OpenCompany(kFirma);
  EXPECT_EQ(App().Company().CompanyPath(), kFirma);
  EXPECT_EQ(window_->Tabs().count(), 1);
  person_.WillPress("Da");
  window_->OpenCompany(company_);
  stays();
}

// Who ends what does not answer goes on at once, and nothing of it is left, nor keeps the program from
// ending.
TEST_F(DesktopTest, EndsWhatDoesNotAnswer) {
  const SilentServer silent;
  const std::string postgresql = "postgresql://ana@" + silent.Address() + "/x?company=a&connect_timeout=2";
  const std::function<void()> cases[] = {
      [&] {
        host_->LogIn(ServerAddress::Parse("https://" + silent.Address() + "/firma"), "ana", "tajna", {});
      },
      [&] { window_->OpenCompany(postgresql); },
      [&] { window_->CreateCompany(ToQt(postgresql), WithDemo::kYes); },
  };
  QElapsedTimer since;
  qint64 waited = 0;
  person_.on_status = [&](QWidget* status) {
    since.start();
    static_cast<QDialog*>(status)->reject();
  };
  for (const auto& ask : cases) {
    EXPECT_THROW(ask(), Abort);
    waited = std::max(waited, since.elapsed());
    EXPECT_EQ(App().Company().CompanyPath(), company_);
  }
  person_.on_status = nullptr;
  EXPECT_LT(waited, 1000);
  since.start();
  Stop();
  EXPECT_LT(since.elapsed(), 10'000);
}

// A company on PostgreSQL is chosen by its address, remembered, worked in and copied into a file.
TEST_F(DesktopTest, WorksInACompanyOnPostgresql) {
  const DatabaseLocation place = PostgresqlServer::NewCompany();
  Database::Create(place, WithDemo::kYes);
  person_.WillDo([&](QWidget* dialog) {
    auto* const address = dialog->findChild<QComboBox*>()->lineEdit();
    Fill(address, ToQt(place.ToString()));
    QTest::keyClick(address, Qt::Key_Return);
  });
  Press(window_.get(), Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(App().Company().CompanyPath(), place.ToString());
  DocumentEditor* const editor = Enter("racun-usluga", "Usluge", "\tObuka\tdan\t1\t320\t10\t25\n");
  Press(editor, Qt::Key_F9);
  EXPECT_TRUE(editor->IsStored());
  Stop();
  host_ = std::make_unique<DesktopHost>(folder_ / "mox.ini", folder_ / "");
  window_ = std::make_unique<MainWindow>(*host_);
  window_->show();
  window_->OpenCompany(host_->LastCompany());
  EXPECT_EQ(App().Company().CompanyPath(), place.ToString());
  EXPECT_EQ(CreateDBDataSet("Dokumenti", "adsList", {})->RowCount(), 1U);

  // One that waits for others is ended, and leaves nothing behind.
  const std::string copy = folder_ / "kopija.db";
  Database database(place);
  auto alone = std::make_unique<WriteTransaction>(database);
  database.Execute("LOCK TABLE dok IN ACCESS EXCLUSIVE MODE");
  person_.on_status = [&](QWidget* status) {
    static_cast<QDialog*>(status)->reject();
    alone.reset();
  };
  EXPECT_FALSE(Guarded([&] { window_->BackUpTo(ToQt(copy)); }));
  person_.on_status = nullptr;
  for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
    EXPECT_THAT(file.path().filename().string(), Not(HasSubstr("kopija")));
  }
  window_->BackUpTo(ToQt(copy));
  window_->OpenCompany(copy);
  EXPECT_EQ(CreateDBDataSet("Dokumenti", "adsList", {})->RowCount(), 1U);
  Stop();
  PostgresqlServer::Drop(place);
}

// A session that begins once nobody waits for it any more is ended.
TEST_F(SessionTest, LeavesNoSessionThatNobodyHas) {
  std::string ended_session;
  host_->SetDoors(
      {.log_in = [](const ServerAddress&, const std::string& user, const std::string&, const std::string&,
                    const EndFlag& ended) -> StoredLogin {
         while (!*ended) std::this_thread::yield();
         return {"znak", user, {}};
       },
       .log_out = [&](const ServerAddress&, const StoredLogin& login) { ended_session = login.token; }});
  person_.ends_work = true;
  EXPECT_THROW(host_->LogIn(ServerAddress::Parse(kFirma), "ana", "tajna", {}), Abort);
  Stop();
  EXPECT_EQ(ended_session, "znak");
}

// Whatever a server answers is said in Croatian.
TEST(ServerCodes, AreKnownToPeople) {
  for (const ErrorCode& code : ErrorCodes()) {
    const std::string told = FromQt(InCroatian("https://posluzitelj: " + std::string(code.message)));
    EXPECT_THAT(told, Not(HasSubstr(std::string(code.message)))) << code.code;
    EXPECT_THAT(told, HasSubstr("https://posluzitelj: ")) << code.code;
  }
}

}  // namespace
}  // namespace mox

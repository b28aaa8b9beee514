// Sessions with servers: what is not read without one is read once there is one.

#include <QComboBox>
#include <QElapsedTimer>
#include <atomic>
#include <filesystem>
#include <semaphore>
#include <thread>

#include "desktop/croatian.h"
#include "mox/host/system_platform.h"
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
  GuardedServer(const std::string& path, std::string by, const bool& session, const bool& may_read)
      : LostServer(path), user(std::move(by)), session_(session), may_read_(may_read) {}
  const std::string user;
  int WriteDataService(const TAstaParamList& request) override {
    stored_by.push_back(user);
    return LostServer::WriteDataService(request);
  }
  static inline std::vector<std::string> stored_by;
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
           return std::make_unique<GuardedServer>(company_, user_, session_, may_read_);
         },
         .log_in = [this](const ServerAddress&, const std::string& user, const std::string& password,
                          const std::string&, const EndFlag&) -> StoredLogin {
           if (password != "tajna") throw Error("https://posluzitelj: the user or the password is wrong");
           session_ = true;
           user_ = user;
           return {"znak", user, {}};
         }});
  }
  void WillLogIn(const char* user = "ana") {
    person_.WillDo([user](QWidget* dialog) {
      EXPECT_EQ(FromQt(dialog->windowTitle()), "Prijava");
      Fill(Line(dialog, "Korisnik"), user);
      Fill(Line(dialog, "Lozinka"), "kriva");
      PressButton(dialog, "Prijavi se");
      EXPECT_THAT(Told(dialog, "Zašto prijava nije uspjela"), HasSubstr("nisu ispravni"));
      Fill(Line(dialog, "Lozinka"), "tajna");
      PressButton(dialog, "Prijavi se");
    });
  }

  std::string user_;
  bool session_ = false;
  bool may_read_ = true;
  bool away_ = false;
};

TEST_F(SessionTest, ReadsAndOffersWhatWaitedForALogIn) {
  WillLogIn();
  window_->OpenCompany(kFirma);
  EXPECT_EQ(App().Company().CompanyPath(), kFirma);
  DocumentEditor* const editor = EnterService();
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
  EXPECT_THAT(Told(Page()), HasSubstr("Dokumenata: 0"));
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
      EXPECT_EQ(Told(window_->Tabs().widget(page)).empty(), rows == 0) << user;
    }
  }
}

// What one user has typed is stored in his name, or stays with his session where it cannot be.
TEST_F(SessionTest, StoresAnOpenRowBeforeAnotherUserLogsIn) {
  WillLogIn("ana");
  window_->OpenCompany(kFirma);
  const auto who = [this] { return dynamic_cast<GuardedServer&>(host_->Server()).user; };
  window_->ShowCodebook("jm");
  Append(Lines(Page(), "Jedinice mjere"), "naziv", "vreca", false);
  GuardedServer::stored_by.clear();
  WillLogIn("ivo");
  window_->LogIn();
  EXPECT_THAT(GuardedServer::stored_by, testing::ElementsAre("ana"));
  EXPECT_EQ(who(), "ivo");
  window_->ShowCodebook("partneri");
  RecordSetView* const partners = Lines(Page(), "Partneri");
  const int row = Append(partners, "oib", "12345", false);
  for (const auto& [answer, user, rows] : {std::tuple("Ne", "ivo", row + 1), {"Da", "ana", row}}) {
    WillLogIn("ana");
    person_.WillPress(answer);
    window_->LogIn();
    EXPECT_THAT(person_.read.back(), HasSubstr("Redak nije pohranjen."));
    EXPECT_EQ(who(), user);
    EXPECT_EQ(partners->Model().rowCount(), rows);
  }
}

// The company that is open stays, with what is typed in it, until the other one has answered; what is not
// finished in it is offered when it is opened again.
TEST_F(SessionTest, LosesNothingForACompanyThatDoesNotAnswer) {
  EnterService();
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
    Leave(status);
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
    FillIn(address, ToQt(place.ToString()));
  });
  Press(window_.get(), Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(App().Company().CompanyPath(), place.ToString());
  DocumentEditor* const editor = EnterService();
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
    Leave(status);
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

// Who ends the wait for a session has it where it had begun, else it is ended once it begins.
TEST_F(SessionTest, LeavesNoSessionThatNobodyHas) {
  static std::atomic<bool> left;
  struct Leaving {
    ~Leaving() { left = true; }
  };
  const auto log_in = [&](const std::function<void(const EndFlag& ended)>& wait) {
    std::string ended_session;
    host_->SetDoors(
        {.log_in = [&](const ServerAddress&, const std::string& user, const std::string&, const std::string&,
                       const EndFlag& ended) -> StoredLogin {
           wait(ended);
           return {"znak", user, {}};
         },
         .log_out = [&](const ServerAddress&, const StoredLogin& login) { ended_session = login.token; }});
    const bool begun = Guarded([this] { host_->LogIn(ServerAddress::Parse(kFirma), "ana", "tajna", {}); });
    Stop();  // waits for what goes on
    host_ = std::make_unique<DesktopHost>(folder_ / "mox.ini", folder_ / "");
    const bool kept = LoginStore(SystemPlatform::UserStateFolder()).Find("https://posluzitelj").has_value();
    EXPECT_EQ(begun, kept);
    EXPECT_EQ(ended_session, kept ? "" : "znak");
    return kept;
  };
  person_.ends_work = true;
  EXPECT_FALSE(log_in([](const EndFlag& ended) {
    while (!*ended) std::this_thread::yield();
  }));
  person_.ends_work = false;
  std::atomic<bool> waited_for = false;
  person_.on_status = [&](QWidget* status) {
    waited_for = true;
    while (!left) std::this_thread::yield();
    Leave(status);
  };
  EXPECT_TRUE(log_in([&](const EndFlag&) {
    thread_local const Leaving leaving;  // once the thread is done
    (void)leaving;
    while (!waited_for) std::this_thread::yield();
  }));
  person_.on_status = nullptr;
}

// Nothing is left of a company whose making is ended.
TEST_F(DesktopTest, EndsTheMakingOfACompany) {
  std::binary_semaphore goes_on(0);
  const auto make = [&](const std::string& address, WithDemo demo, const Doors::Fill& fill) {
    Database::Create(address, demo, [&](Database& created) {
      goes_on.acquire();
      fill(created);
    });
  };
  host_->SetDoors({.create = make});
  person_.ends_work = true;
  EXPECT_THROW(window_->CreateCompany(ToQt(folder_ / "nova.db"), WithDemo::kYes), Abort);
  EXPECT_EQ(App().Company().CompanyPath(), company_);
  goes_on.release();
  Stop();  // waits for what goes on
  for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
    EXPECT_THAT(file.path().filename().string(), Not(HasSubstr("nova")));
  }
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

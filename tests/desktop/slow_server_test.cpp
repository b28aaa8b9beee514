// A server that takes its time stops neither the window nor the work of people.

#include <QClipboard>
#include <QComboBox>
#include <thread>

#include "desktop/record_page.h"
#include "desktop/status_window.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/locale_text.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/desktop/servers.h"

namespace mox {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class SlowServerTest : public DesktopTest {
 protected:
  SlowServerTest() {
    auto opened = std::make_unique<SlowServer>(company_);
    server_ = opened.get();
    host_->Open(company_, std::move(opened));
  }
  ~SlowServerTest() override { server_->answers.release(); }
  // What the user ends as soon as it says that it takes long.
  void Ended(std::string_view slow, const std::function<void()>& action) {
    server_->slow = slow;
    int ended = 0;
    person_.on_status = [&](QWidget* status) {
      const bool stores = status->findChild<QLabel*>()->text().startsWith(QStringLiteral("Pohrana"));
      if (stores != (slow == SlowServer::kWrites)) return;
      ++ended;
      Leave(status);
    };
    action();
    EXPECT_GT(ended, 0) << "it is long work";
    person_.on_status = nullptr;
    server_->slow = {};
  }
  static std::size_t Documents() { return CreateDBDataSet("Dokumenti", "adsList", {})->RowCount(); }
  SlowServer* server_;
};

// What was there stays, with what it was narrowed down by.
TEST_F(SlowServerTest, ShowsByWhatTheRowsWereRead) {
  const Date today = Today();
  const QString yesterday = ToQt(DateToText(Date{today.days - 1}, CurrentLocale()));
  const auto fill = [this](const char* name, const QString& text) {
    return [this, name, text] { FillIn(Line(Page(), name), text); };
  };
  const auto choose = [this] { Page()->findChild<QComboBox*>()->setCurrentIndex(2); };
  const struct {
    std::function<void()> open;
    std::string_view slow;
    std::function<void()> narrow;
  } cases[] = {
      {[this] { window_->ShowRates(); }, "Kat\\valuta", fill("Na dan", yesterday)},
      {[this] { window_->ShowRates(); }, "GetTecaj", fill("Na dan", yesterday)},
      {[this] { window_->ShowRates(); }, "", fill("Na dan", "31.2.")},
      {[this] { window_->ShowDocuments(); }, "Dokumenti", fill("Partner, opis, broj/godina…", "x")},
      {[this] { window_->ShowDocuments(); }, "Dokumenti", choose},
      {[this] { window_->ShowReports(); }, "Izvjestaj\\Promet", choose},
      {[this] { window_->ShowCodebook("jm"); }, "Kat\\Sifarnici",
       [this] { Fill(Line(Page(), "Traži"), "k"); }},
  };
  const auto filters = [this] {
    QStringList texts;
    for (const QLineEdit* const line : Page()->findChildren<QLineEdit*>()) texts.append(line->text());
    for (const QComboBox* const box : Page()->findChildren<QComboBox*>()) texts.append(box->currentText());
    return texts;
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.slow);
    c.open();
    const QStringList before = filters();
    const int rows = Page()->findChild<RecordSetView*>()->Model().rowCount();
    if (c.slow.empty()) {
      c.narrow();
    } else {
      Ended(c.slow, c.narrow);
      EXPECT_EQ(Told(Page()), "Čitanje je prekinuto.");
    }
    EXPECT_EQ(filters(), before);
    EXPECT_EQ(Page()->findChild<RecordSetView*>()->Model().rowCount(), rows);
  }
  window_->ShowRates();
  Ended("GetTecaj", fill("Na dan", yesterday));
  RecordSetView* const rates = Lines(Page(), "Tečajevi");
  const int usd = RowOf(rates, "val_ozn", "USD");
  Go(rates, usd, "tecaj");
  Type(rates, "1,25", false);
  EXPECT_TRUE(rates->TakeRow());
  EXPECT_EQ(GetTecajByOznakaValute(today, "USD"), 1.25) << "of the day that the page names";
}

// Of what was sent and is not waited for any more it is told that nobody knows; it stands where it was
// entered, and what has a key is stored once.
TEST_F(SlowServerTest, TellsThatItIsNotKnownWhatBecameOfAStore) {
  const auto unknown = [this](const std::function<void()>& action) {
    person_.read.clear();
    Ended(SlowServer::kWrites, action);
    return testing::PrintToString(person_.read);
  };
  for (const bool ends : {true, false}) {
    SCOPED_TRACE(ends);
    server_->ends = ends;
    const std::size_t before = Documents();
    DocumentEditor* const editor = EnterService();
    EXPECT_THAT(unknown([&] { Press(editor, Qt::Key_F9); }),
                AllOf(HasSubstr("Ne zna se je li pohranjeno"), HasSubstr("i dalje na zaslonu")));
    EXPECT_FALSE(editor->IsStored());
    EXPECT_EQ(Cell(Lines(editor, "Usluge"), 0, "naziv"), "Obuka");
    if (!ends) server_->answers.release();
    Press(editor, Qt::Key_F9);
    EXPECT_TRUE(editor->IsStored());
    EXPECT_EQ(Documents(), before + 1);
  }
  server_->ends = true;
  window_->ShowDocuments();
  person_.WillDo([](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Return); });
  EXPECT_THAT(unknown([&] { PressButton(Page(), "Uplata (Ctrl+U)"); }),
              HasSubstr("Ne zna se je li pohranjeno"));
  EXPECT_THAT(unknown([&] { PressButton(Page(), "Storno (Ctrl+T)"); }),
              AllOf(HasSubstr("Ne zna se je li pohranjeno"), Not(HasSubstr("na zaslonu"))));

  window_->ShowCodebook("jm");
  RecordSetView* const units = Lines(Page(), "Jedinice mjere");
  person_.WillPress("Da");
  EXPECT_THAT(unknown([&] { PressButton(Page(), "Obriši"); }),
              AllOf(HasSubstr("Ne zna se je li pohranjeno"), Not(HasSubstr("na zaslonu"))));
  Append(units, "naziv", "vreca", false);
  unknown([&] { EXPECT_FALSE(units->TakeRow()); });
  EXPECT_THAT(Told(Page()),
              AllOf(HasSubstr("Ne zna se je li pohranjeno"), HasSubstr(". Upisano je i dalje na zaslonu.")));

  InGrid([&](QWidget* grid) {
    PasteRows(grid, QStringLiteral("99991\tPrvi"));
    person_.WillPress("Da");
    EXPECT_THAT(unknown([&] { PressButton(grid, "Provjera i uvoz podataka"); }),
                HasSubstr("Ne zna se je li pohranjeno"));
    EXPECT_EQ(Cell(Lines(grid, "Redci za uvoz"), 0, "OPIS"), "Prvi");
    EXPECT_THAT(Told(grid, "Sažetak"), Not(HasSubstr("ništa nije pohranjeno")));
  });
}

// What was stored is told as stored also where the screen cannot be read anew, so that nobody does it again.
TEST_F(SlowServerTest, TellsWhatWasDoneAndIsNotShown) {
  DocumentEditor* const editor = EnterService();
  QTest::keyClick(Line(editor, "Partner"), Qt::Key_F4);  // the first one, who pays later
  Press(editor, Qt::Key_F9);
  window_->ShowDocuments();
  const auto pay = [this](const std::function<void()>& before_it_reads) {
    person_.WillEnter("10");
    person_.WillDo([before_it_reads](QWidget* day) {
      before_it_reads();
      QTest::keyClick(day, Qt::Key_Return);
    });
    PressButton(Page(), "Uplata (Ctrl+U)");
    return Told(Page());
  };
  EXPECT_THAT(pay([this] { server_->Lose(LostServer::Lost::kReads); }),
              AllOf(HasSubstr("Uplata je upisana. Prikaz nije osvježen: "), HasSubstr("nije dostupan")));
  server_->Lose(LostServer::Lost::kNo);
  Ended("", [&] {
    EXPECT_EQ(pay([this] { server_->slow = "Dokumenti"; }), "Uplata je upisana. Čitanje je prekinuto.");
  });
  EXPECT_THAT(person_.read, Not(Contains(HasSubstr("Radnja nije izvršena"))));

  window_->ShowCompanyData();
  for (const auto& [slow, iban, told] :
       {std::tuple("Kat\\ParametriPoduzeca", "HR2923400091110000001", " je dodan. Čitanje je prekinuto."),
        {"", "HR4124840081110000002", " je dodan."}}) {
    person_.WillEnter(iban);
    server_->slow = slow;
    person_.ends_work = *slow != '\0';
    PressButton(Page(), "Dodaj IBAN…");
    person_.ends_work = false;
    EXPECT_EQ(Told(Page()), std::string("Račun ") + iban + told);
  }
  server_->slow = {};

  // Without what was stored nobody could tell whether another one has changed it since.
  window_->ShowCodebook("jm");
  RecordSetView* const units = Lines(Page(), "Jedinice mjere");
  const auto is_editable = [&] {
    return (units->Model().flags(units->currentIndex()) & Qt::ItemIsEditable) != 0;
  };
  Put(units, 0, "oznaka", "kut", false);
  Ended("Kat\\jm", [&] {
    EXPECT_TRUE(units->TakeRow());
    Settle();
  });
  EXPECT_THAT(Told(Page()), HasSubstr("osvježite (F5)"));
  EXPECT_FALSE(is_editable());
  Press(Page(), Qt::Key_F5);
  EXPECT_TRUE(is_editable());

  // A page that is closed is not read any more.
  Type(units, "pak", false);
  server_->slow = "Kat\\jm";
  bool reads = false;
  person_.on_status = [&](QWidget* status) {
    reads = true;
    Leave(status);
  };
  ClosePage();
  Settle();
  EXPECT_FALSE(reads);
  person_.on_status = nullptr;
  server_->slow = {};
}

// The user ends what goes on when he presses the button; what became of it is stored all the same.
TEST_F(SlowServerTest, StoresWhatBecameOfWhatWasEnded) {
  const LongRun run(*host_, QStringLiteral("Slanje"));
  bool pressed = false;
  bool sent = false;
  person_.on_status = [&](QWidget* status) {
    if (sent) server_->answers.release();
    if (!std::exchange(pressed, true)) Leave(status);
  };
  sent = host_->RunToEnd([](const std::atomic<bool>& ended) {
    while (!ended) std::this_thread::yield();
    return true;
  });
  server_->slow = SlowServer::kWrites;
  RecordSet unit("jm");
  unit.DefineField("naziv", FieldKind::kText);
  unit.Open();
  unit.AppendRecord({std::string("vreca")});
  EXPECT_TRUE(ExecuteTransaction("KatalogUpis", {&unit}));
  person_.on_status = nullptr;
}

// Whatever asks the server is ended where it takes long, and the next request does not wait for it.
TEST_F(SlowServerTest, EndsWhateverItAsks) {
  window_->ShowCodebook("partneri");
  RecordSetView* const partners = Lines(Page(), "Partneri");
  Ended("Kat\\partneri", [&] { Press(Page(), Qt::Key_F5); });
  EXPECT_EQ(Told(Page()), "Čitanje je prekinuto.");
  Press(Page(), Qt::Key_F5);
  EXPECT_THAT(Told(Page()), HasSubstr("Redaka: "));

  Go(partners, 0, "ptt");
  Ended("Kat\\mjesta", [&] { QTest::keyClick(partners, Qt::Key_F4); });
  EXPECT_TRUE(person_.read.empty()) << "nothing was asked";
  // In the middle of a search what was found before is not chosen for what was typed.
  person_.WillDo([&](QWidget* dialog) {
    auto* const places = dialog->findChild<RecordSetView*>();
    Ended("Kat\\mjesta", [&] { QTest::keyClick(Line(dialog, "Traži"), Qt::Key_Z); });
    EXPECT_EQ(places->Model().rowCount(), 0);
    PressButton(dialog, "Odustani");
  });
  QTest::keyClick(partners, Qt::Key_F4);
  QTest::keyClick(partners, Qt::Key_Escape);

  const auto calculate = [&](QWidget* grid) {
    PasteRows(grid, QStringLiteral("100\t\tMajica\t38"));
    Ended("Lunari\\KalkulirajVelicine", [&] { PressButton(grid, "Preračun veličina"); });
    EXPECT_THAT(Told(grid, "Sažetak"), HasSubstr("Prekinuto"));
  };
  InGrid(calculate, "UPDATEARTLUNARI");
}

// A person who types ahead neither ends the work nor loses a key or a shortcut, and closes no page that
// reads, wherever the keys go until the status form has them. Each goes to the window that it was typed for.
TEST_F(SlowServerTest, KeepsWhatIsTypedMeanwhile) {
  for (const auto& [to_status, after_question] : {std::pair(true, false), {false, false}, {true, true}}) {
    SCOPED_TRACE(testing::Message() << to_status << after_question);
    window_->ShowCodebook("jm");
    const int tabs = window_->Tabs().count();
    QLineEdit* const search = Line(Page(), "Traži");
    search->setFocus();
    Press(search, Qt::Key_K);
    QString text;
    QObject::connect(search, &QLineEdit::textChanged, search, [&text](const QString& now) { text = now; });
    server_->slow = "Kat\\jm";
    bool typed = false;
    person_.on_status = [&, into_status = to_status](QWidget* status) {
      if (std::exchange(typed, true)) return;
      QWindow* const into = (into_status ? status : window_.get())->windowHandle();
      for (const char key : {'g', ' ', '\r'}) QTest::keyClick(into, key);
      QTest::keyClick(into, Qt::Key_W, Qt::ControlModifier);
      EXPECT_TRUE(status->isVisible());
      EXPECT_EQ(window_->Tabs().count(), tabs) << "the page that reads is there";
      EXPECT_FALSE(window_->windowHandle()->close());
      server_->Lose(LostServer::Lost::kReads);
      server_->answers.release(10);
    };
    if (after_question) {
      Ask("Naslov", "Pitanje?");
      EXPECT_EQ(QApplication::activeWindow(), nullptr) << "no window manager has seen that it closed";
    }
    person_.WillDo([&](QWidget* box) {
      Settle();
      EXPECT_EQ(text, "");
      server_->Lose(LostServer::Lost::kNo);
      while (server_->answers.try_acquire()) {
      }
      person_.on_status = [&](QWidget* status) {
        QTest::keyClick(status->windowHandle(), Qt::Key_Return);
        server_->answers.release();
      };
      CreateDBDataSet("Kat\\jm", "jm", {});
      Settle();
      EXPECT_FALSE(box->isVisible()) << "by the key that was typed for it";
      Leave(box);
    });
    Guarded([this] { dynamic_cast<RecordPage*>(Page())->Reload(); });
    person_.on_status = nullptr;
    server_->slow = {};
    while (server_->answers.try_acquire()) {
    }
    EXPECT_TRUE(typed);
    EXPECT_EQ(text, "");
    window_->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window_->Tabs().count() < tabs; }));
    EXPECT_EQ(text, "kg ") << "before the page was closed";
  }
}

// What is asked while the status form is there is answered by the keyboard.
TEST_F(SlowServerTest, AsksInTheMiddleOfLongWork) {
  const LongRun run(*host_, QStringLiteral("Posao"));
  bool shown = false;
  person_.on_status = [&](QWidget*) {
    if (std::exchange(shown, true)) return;
    server_->answers.release();
  };
  server_->slow = "Kat\\jm";
  CreateDBDataSet("Kat\\jm", "jm", {});
  ASSERT_TRUE(shown);
  person_.WillDo([](QWidget* question) {
    QTest::keyClick(question->windowHandle(), Qt::Key_Return);
    EXPECT_FALSE(question->isVisible());
    Leave(question);
  });
  EXPECT_TRUE(Ask("Naslov", "Pitanje?"));
}

}  // namespace
}  // namespace mox

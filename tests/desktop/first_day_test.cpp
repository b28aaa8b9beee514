// Leads through docs/FIRST-DAY.md in the window: what the page gives to the command is typed, and what the
// command prints there has to stand on the screen.

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "desktop/print_dialog.h"
#include "desktop/stored_document.h"
#include "mox/entry/line_screen.h"
#include "mox/foundation/files.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

using testing::HasSubstr;

using Words = std::vector<std::string>;

constexpr const char* kIntermediary = "https://posrednik.example/b2c";
constexpr int kPatience = 60'000;  // milliseconds, for a machine that is busy

struct Command {
  Words words;                       // without "mox"
  std::vector<std::string> printed;  // lines
  std::string After(std::string_view option) const {
    const auto at = std::find(words.begin(), words.end(), option);
    return at == words.end() || at + 1 == words.end() ? std::string() : *(at + 1);
  }
};

struct Script {
  std::map<std::string, std::string> files;
  std::vector<Command> commands;
};

// By the reader of the page that the command is led by.
Script ReadScript() {
  QProcess reader;
  reader.start(QStringLiteral("python3"),
               {ToQt(SourceDir() + "/tests/cli/first_day.py"), QStringLiteral("--json"),
                ToQt(SourceDir() + "/docs/FIRST-DAY.md")});
  EXPECT_TRUE(reader.waitForFinished(kPatience));
  const QJsonObject json = QJsonDocument::fromJson(reader.readAllStandardOutput()).object();
  const auto words = [](const QJsonValue& list) {
    Words texts;
    for (const QJsonValue& text : list.toArray()) texts.push_back(FromQt(text.toString()));
    return texts;
  };
  Script page;
  const QJsonObject files = json["files"].toObject();
  for (const QString& name : files.keys()) page.files[FromQt(name)] = FromQt(files[name].toString());
  for (const QJsonValue& command : json["commands"].toArray()) {
    page.commands.push_back({words(command["words"]), words(command["printed"])});
  }
  return page;
}

// The rows of a file, its headings first.
std::vector<Words> ReadCsv(const std::string& text) {
  std::vector<Words> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    Words& row = rows.emplace_back(1);
    bool quoted = false;
    for (const char c : line) {
      if (c == '"') {
        quoted = !quoted;
      } else if (c == ',' && !quoted) {
        row.emplace_back();
      } else {
        row.back() += c;
      }
    }
  }
  for (std::string& heading : rows.front()) heading = heading.substr(0, heading.find(':'));
  return rows;
}

// The cells between two blanks and more.
Words CellsOf(const std::string& line) {
  Words cells;
  for (std::size_t at = 0; at < line.size();) {
    const std::size_t end = std::min(line.find("  ", at), line.size());
    cells.push_back(line.substr(at, end - at));
    at = std::min(line.find_first_not_of(' ', end), line.size());
  }
  return cells;
}

// Numbers to hundredths, as the window shows them.
std::string Rounded(const std::string& cell) {
  const auto number = ParseLocaleNumber(FromQt(ToQt(cell).remove(u'.')), CurrentLocale());
  return number ? FromQt(QString::number(*number, 'f', 2)) : cell;
}

class FirstDayTest : public DesktopTest {
 protected:
  static QString Local(const std::string& value) {
    if (const auto day = ParseIsoDate(value)) return ToQt(DateToText(*day, CurrentLocale()));
    const bool is_number = value.find_first_not_of("0123456789.") == std::string::npos;
    return is_number ? ToQt(value).replace(u'.', u',') : ToQt(value);
  }
  static void TypeRows(RecordSetView* view, const std::vector<Words>& rows) {
    for (std::size_t row = 1; row < rows.size(); ++row) {
      QTest::keyClick(view, Qt::Key_Insert);
      const int at = view->Model().CurrentTableRow();
      for (std::size_t i = 0; i < rows[row].size(); ++i) {
        const auto column = view->Model().ColumnOf(rows[0][i]);
        if (rows[row][i].empty() || !column) continue;
        view->setCurrentIndex(view->Model().index(at, *column));
        view->Model().setData(view->currentIndex(), Local(rows[row][i]));
        Settle();
      }
      EXPECT_TRUE(view->Model().submit()) << FromQt(view->Model().Refusal());
      Settle();
    }
  }
  void SetParameter(const std::string& name, const std::string& value) {
    RecordSetView* const rows = Lines(Page(), "Podaci tvrtke");
    Go(rows, RowOf(rows, "naziv", ToQt(name)), "vrijednost");
    rows->Model().setData(rows->currentIndex(), ToQt(value));
    EXPECT_TRUE(rows->Model().submit()) << name;
  }
  // Each printed row, by its headings, against the row of the window at the same place.
  static void Compare(RecordSetView* view, const Command& command) {
    const Words headings = CellsOf(command.printed[0]);
    int row = 0;
    for (std::size_t i = 2; i < command.printed.size() && !command.printed[i].empty(); ++i, ++row) {
      const Words cells = CellsOf(command.printed[i]);
      ASSERT_LT(row, view->Model().rowCount()) << command.printed[i];
      for (std::size_t cell = 0; cell < cells.size() && cells.size() == headings.size(); ++cell) {
        const auto column = view->Model().ColumnOf(headings[cell]);
        if (!column) continue;
        const DocumentKind* const kind = headings[cell] == "vrsta" ? FindDocumentTip(cells[cell]) : nullptr;
        const std::string expected = kind == nullptr ? Rounded(cells[cell]) : std::string(kind->title);
        EXPECT_EQ(Rounded(FromQt(view->Model().index(row, *column).data().toString())), expected)
            << headings[cell] << " of " << command.printed[i];
      }
    }
    EXPECT_EQ(row, view->Model().rowCount());
  }

  void Begin(const Command& command) {
    window_->CreateCompany(ToQt(folder_ / "trgovina.db"), WithDemo::kNo);
    window_->ShowCompanyData();
    for (std::size_t i = 3; i + 1 < command.words.size(); i += 2) {
      if (command.words[i] == "--IBAN") {
        person_.WillEnter(ToQt(command.words[i + 1]));
        PressButton(Page(), "Dodaj IBAN…");
      } else {
        SetParameter(command.words[i].substr(2), command.words[i + 1]);
      }
    }
    SetParameter("RadnaGodina", "2026");
  }
  void Company(const Command& command) {
    window_->ShowCompanyData();
    if (command.words[1] == "show") {
      EXPECT_EQ(host_->CompanyName(), QStringLiteral("Žito i sinovi d.o.o."));
      EXPECT_TRUE(Told(Page()).ends_with("HR1210010051863000160"));
      return;
    }
    for (const std::string& word : command.words) {
      const std::size_t at = word.find('=');
      if (at == std::string::npos) continue;
      const std::string value = word.substr(at + 1);
      SetParameter(word.substr(0, at), value == kIntermediary ? Intermediary() : value);
    }
    SetParameter("EracunKey", std::string(TrimBlanks(page_.files[command.After("--key")])));
  }
  void Codebook(const Command& command) {
    window_->ShowCodebook(command.words[1]);
    RecordSetView* const rows = Lines(Page(), FromQt(Page()->windowTitle()).c_str());
    if (const std::string found = command.After("--find"); !found.empty()) {
      Fill(Line(Page(), "Traži"), ToQt(found));
      return Compare(rows, command);
    }
    const int before = rows->Model().rowCount();
    TypeRows(rows, ReadCsv(page_.files[command.After("--store")]));
    EXPECT_EQ(static_cast<std::size_t>(rows->Model().rowCount() - before), command.printed.size() - 1);
  }
  // In the look-up form that opens next.
  void Choose(const std::string& code) {
    person_.WillDo([code](QWidget* dialog) {
      auto* const view = dialog->findChild<RecordSetView*>();
      Go(view, RowOf(view, "sifra", ToQt(code)), "sifra");
      QTest::keyClick(view, Qt::Key_Return);
    });
  }
  void Store(const Command& command) {
    DocumentEditor* const editor = New(command.words[1].c_str());
    for (std::size_t i = 0; i + 1 < command.words.size(); ++i) {
      if (command.words[i] != "--header") continue;
      const std::string& header = command.words[i + 1];
      const std::size_t at = header.find('=');
      const std::string name = header.substr(0, at) == "partner" ? "par_id" : header.substr(0, at);
      QLineEdit* const line = Line(editor, std::string(CaptionOf(name)).c_str());
      ASSERT_NE(line, nullptr) << name;
      if (name == "par_id") Choose(header.substr(at + 1));
      FillIn(line, Local(header.substr(at + 1)));
    }
    TypeRows(Lines(editor), ReadCsv(page_.files[command.words[2]]));
    Settle();
    Press(editor, Qt::Key_F9);
    ASSERT_TRUE(editor->IsStored()) << testing::PrintToString(person_.read);
    for (const std::string& line : command.printed) {
      if (line.starts_with("Slovima (")) {
        EXPECT_EQ("Slovima (" + Told(editor, "Za platiti") + "): " + Told(editor, "Slovima"), line);
      }
      if (line.starts_with("Pohranjeno: ")) {
        EXPECT_THAT(line, HasSubstr(' ' + FromQt(editor->Title().split(u' ').last()) + " (id "));
      }
    }
  }
  void Report(const Command& command) {
    const std::map<std::string, const char*> titles = {{"turnover", "Promet po vrstama"},
                                                       {"tax", "PDV po stopama"},
                                                       {"stock", "Stanje skladišta"},
                                                       {"balances", "Salda partnera"}};
    window_->ShowReports();
    for (const auto& [field, option] : {std::pair("Od datuma", "--from"), {"Do datuma", "--to"}}) {
      const std::string day = command.After(option);
      FillIn(Line(Page(), field), Local(day.empty() ? "2026-03-02" : day));
    }
    Page()->findChild<QComboBox*>()->setCurrentText(QString::fromUtf8(titles.at(command.words[1])));
    Compare(Lines(Page(), "Izvještaji"), command);
  }
  // On the page of a stored document.
  StoredDocumentPage* Open(const std::string& id) {
    window_->ShowDocument(std::stoll(id));
    return dynamic_cast<StoredDocumentPage*>(Page());
  }
  void Print(const Command& command) {
    const std::string pdf = command.After("--pdf");
    const std::string slip = command.After("--slip");
    person_.WillDo([&](QWidget* dialog) {
      auto* const print = dynamic_cast<PrintDialog*>(dialog);
      if (!slip.empty()) print->findChild<QComboBox*>()->setCurrentIndex(2);
      print->SaveTo(folder_ / (slip + pdf + ".ispis"));
      print->accept();
    });
    Press(Open(command.words[1]), Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(std::filesystem::exists(folder_ / (slip + pdf + ".ispis")));
  }
  void Pay(const Command& command) {
    for (const std::string& text : {command.words[2], command.After("--date")})
      person_.WillEnter(Local(text));
    StoredDocumentPage* const page = Open(command.words[1]);
    Press(page, Qt::Key_U, Qt::ControlModifier);
    const std::string row = command.printed[1].substr(0, command.printed[1].rfind(','));  // and its currency
    const std::string open = row.substr(row.rfind(',') + 1);
    EXPECT_THAT(Told(page, "Plaćeno"), testing::EndsWith("Otvoreno: " + FromQt(Local(open))));
  }
  void Cancel(const Command& command) {
    person_.WillPress("Da");
    person_.WillEnter(Local(command.After("--header").substr(std::string_view("datum=").size())));
    StoredDocumentPage* const page = Open(command.words[2]);
    Press(page, Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(Lines(page, "Veze")->Model().rowCount(), 1);
  }
  // One of this computer, for the one that the page names.
  std::string Intermediary() {
    intermediary_.start(QStringLiteral("python3"),
                        {ToQt(SourceDir() + "/examples/intermediary.py"), ToQt(folder_.path().string())});
    const auto port = [this] {
      const std::string path = folder_ / "port";
      return std::filesystem::exists(path) ? std::string(TrimBlanks(ReadWholeFile(path))) : std::string();
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return !port().empty(); }, kPatience));
    return "http://127.0.0.1:" + port() + "/accept";
  }
  void EInvoice(const Command& command) {
    StoredDocumentPage* const page = Open(command.words[2]);
    Press(page, Qt::Key_E, Qt::ControlModifier);
    const std::string& printed = command.printed[0];
    const char* const told =
        printed.find("sent before") == std::string::npos ? "eRačun je poslan: " : "eRačun je već poslan: ";
    EXPECT_EQ(Told(page), told + printed.substr(printed.rfind(' ') + 1))
        << testing::PrintToString(person_.read);
  }
  void Lead(const Command& command) {
    const std::string& verb = command.words[0];
    const std::string& what = command.words[1];
    if (verb == "db" && what == "init") return Begin(command);
    if (verb == "db" && what == "backup") return window_->BackUpTo(ToQt(folder_ / command.words[2]));
    if (verb == "company") return Company(command);
    if (verb == "codebook") return Codebook(command);
    if (verb == "document") return what == "storno" ? Cancel(command) : Store(command);
    if (verb == "report") return Report(command);
    if (verb == "print") return Print(command);
    if (verb == "pay") return Pay(command);
    if (verb == "einvoice") return EInvoice(command);
    left_out_.insert(verb);
  }

  ~FirstDayTest() override {
    intermediary_.kill();
    intermediary_.waitForFinished();
  }

  QProcess intermediary_;
  Script page_ = ReadScript();
  std::set<std::string> left_out_;
};

TEST_F(FirstDayTest, IsLedThroughInTheWindow) {
  ASSERT_GT(page_.commands.size(), 20U);
  for (const Command& command : page_.commands) {
    SCOPED_TRACE(testing::PrintToString(command.words));
    Lead(command);
    if (HasFatalFailure()) return;
  }
  // A calculator of its own and the check of a file have no window.
  EXPECT_THAT(left_out_, testing::ElementsAre("calc", "db"));
}

}  // namespace
}  // namespace mox

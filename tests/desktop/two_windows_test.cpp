// Two programs with windows on one company, which store at once.

#include <QProcess>
#include <numeric>

#include "mox/server/read_services.h"
#include "tests/desktop/desktop_fixture.h"
#include "tests/desktop/other_window.h"
#include "tests/fakes/postgresql_server.h"

namespace mox {
namespace {

using testing::ElementsAreArray;

constexpr int kPatience = 60'000;  // milliseconds, for a machine that is busy

bool StoreOne(MainWindow& window, const QString& line) {
  DocumentEditor* const editor = window.NewDocument(DocumentKindByName("racun-usluga"));
  QApplication::clipboard()->setText(line);
  for (RecordSetView* const view : editor->findChildren<RecordSetView*>()) {
    if (view->accessibleName() == QStringLiteral("Usluge")) {
      QTest::keyClick(view, Qt::Key_V, Qt::ControlModifier);
    }
  }
  return editor->Store();
}

}  // namespace

bool StoreInAWindow(const std::string& company, int count) {
  const ScratchFolder folder;
  Person person;
  DesktopHost host(folder / "mox.ini", folder / "");
  MainWindow window(host);
  window.show();
  window.OpenCompany(company);
  int stored = 0;
  while (stored < count && StoreOne(window, QStringLiteral("\tTamo\tsat\t1\t20\t0\t25\n"))) ++stored;
  return stored == count;
}

namespace {

// Numbers have no gaps, each document is there as often as somebody was told so, and the books agree.
TEST_F(DesktopTest, StoresBesideAnotherWindow) {
  constexpr int kThere = 12;
  const DatabaseLocation shared = PostgresqlServer::NewCompany();
  Database::Create(shared, WithDemo::kYes);
  for (const std::string& company : {company_, shared.ToString()}) {
    SCOPED_TRACE(company);
    window_->OpenCompany(company);
    QProcess other;
    other.setProcessChannelMode(QProcess::ForwardedChannels);
    other.start(QCoreApplication::applicationFilePath(),
                {ToQt(kOtherWindow), ToQt(company), QString::number(kThere)});
    ASSERT_TRUE(other.waitForStarted(kPatience));
    int here = 0;
    while (other.state() != QProcess::NotRunning && here < 1000) {
      ASSERT_TRUE(StoreOne(*window_, QStringLiteral("\tOvdje\tsat\t1\t10\t0\t25\n")));
      ++here;
      Settle();
    }
    ASSERT_TRUE(other.state() == QProcess::NotRunning || other.waitForFinished(kPatience));
    EXPECT_EQ(other.exitCode(), 0);
    const auto list = CreateDBDataSet("Dokumenti", "adsList", {});
    std::vector<std::int64_t> numbers;
    Currency sum;
    for (const RecordRow& row : list->Rows()) {
      numbers.push_back(row.AsInteger(row.IndexOf("broj")));
      sum += row.AsCurrency(row.IndexOf("ukupno"));
    }
    std::sort(numbers.begin(), numbers.end());
    std::vector<std::int64_t> expected(static_cast<std::size_t>(here + kThere));
    std::iota(expected.begin(), expected.end(), 1);
    EXPECT_THAT(numbers, ElementsAreArray(expected));
    EXPECT_EQ(sum, Currency::FromReal(12.5 * here + 25.0 * kThere));
  }
  Stop();
  PostgresqlServer::Drop(shared);
}

}  // namespace
}  // namespace mox

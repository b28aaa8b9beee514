#include "appserver/company_server.h"
#include "mox/import/import_profiles.h"
#include "tests/appserver/failing_disk.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/no_view.h"
#include "tests/fakes/recording_host.h"

namespace mox {
namespace {

// A way to a server that fails once, at one of its calls: before the server hears of it, or with its answer.
struct FailingWay : TdmComunication {
  template <typename Call>
  auto Reach(Call call) {
    const bool fails = ++calls == failing_call;
    if (fails && !answer_is_lost) throw Error("no connection");
    auto answer = call();
    if (fails) throw Error("no connection");
    return answer;
  }
  RecordSet* CompanyParameters() override { return server.CompanyParameters(); }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& request,
                                                    std::string_view service) override {
    return Reach([&] { return server.ReportDataService(request, service); });
  }
  int WriteDataService(const TAstaParamList& request) override {
    return Reach([&] { return server.WriteDataService(request); });
  }

  explicit FailingWay(const std::string& path) : server(Database(path)) {}
  CompanyServer server;
  bool answer_is_lost = false;
  int failing_call = 0;
  int calls = 0;
};

using ImportFailure = ScratchFile;

// Six look-ups and the storing of two partners, each of which fails once; then the user presses the button
// again. Where only the answer was lost, the second check finds the stored partners.
TEST_F(ImportFailure, IsRaisedAndASecondTryStoresOnce) {
  FailingWay way(path_);
  RecordingHost host;
  const ScopedApp app(host.PartsOn(way));
  NoView view;
  for (int n = 1; n <= 14; ++n) {
    way.answer_is_lost = n % 2 == 0;
    way.failing_call = (n + 1) / 2;
    SCOPED_TRACE(std::to_string(way.failing_call) + (way.answer_is_lost ? ", with its answer" : ", before"));
    Database& database = way.server.database();
    const auto partners = [&] { return Number(database, "SELECT count(*) FROM par"); };
    const auto imports = [&] {
      return Number(database, "SELECT count(*) FROM uvoz WHERE ponisteno IS NULL");
    };
    const std::int64_t before = partners();
    const std::int64_t journalled = imports();
    TfrmImportGrid form(view, "PARTNERPTT");
    form.OnShow();
    const std::string name = std::to_string(n) + " d.o.o.\t\t\t\t\t10000\tZagreb" + std::string(10, '\t');
    host.clipboard = "A" + name + "HR\tEUR" + std::string(10, '\t') + "Demo komercijalist\nB" + name + "HR\n";
    form.ReadDataFromExcelClipboard();
    way.calls = 0;
    EXPECT_THROW(form.ProvjeraIUvozClick(), Error);
    EXPECT_NE(form.ModalResult(), kMrOk);
    EXPECT_FALSE(form.Status().Visible() || form.AdsForImport().ControlsDisabled());
    const bool stored = way.answer_is_lost && way.failing_call == 7;
    EXPECT_EQ(partners(), before + (stored ? 2 : 0));
    form.ProvjeraIUvozClick();
    EXPECT_EQ(form.ModalResult(), stored ? kMrNone : kMrOk);
    EXPECT_EQ(partners(), before + 2);
    EXPECT_EQ(imports() - journalled, 1);
    EXPECT_EQ(way.calls - way.failing_call, stored ? 6 : 7);
  }
}

// Taking back fails once before the server hears of it, and once with its answer.
TEST_F(ImportFailure, OfTakingBackLeavesTheImportOrNothingOfIt) {
  FailingWay way(path_);
  const ScopedApp app({.comunication = &way});
  Database& database = way.server.database();
  RecordSet places = TypedRows(ImportFieldsOf(*FindImportProfile("MJESTA")));
  places.Append();
  places.FieldByName("NAZIV").SetText("Selo");
  places.Post();
  for (std::int64_t import = 1; import <= 2; ++import) {
    way.answer_is_lost = import == 2;
    way.failing_call = 2;
    way.calls = 0;
    RecordSet request = OneRecord("adsUvoz", "id:integer", {import});
    ASSERT_TRUE(ExecuteTransaction("MjestaImportInsert", {&places}));
    EXPECT_THROW(ExecuteTransaction("PonistiUvoz", {&request}), Error);
    const bool stored = Number(database, "SELECT COUNT(*) FROM mjesto WHERE naziv = 'Selo'") > 0;
    EXPECT_NE(stored, way.answer_is_lost);
    EXPECT_EQ(ExecuteTransaction("PonistiUvoz", {&request}), stored);
  }
}

// A disk that fails at each of the reads, writes and flushes of an import, then of its taking back.
TEST_F(ImportFailure, OfTheDiskLeavesTheImportOrNothingOfIt) {
  RecordSet places = TypedRows(ImportFieldsOf(*FindImportProfile("MJESTA")));
  for (const char* const name : {"Selo 1", "Selo 2"}) {
    places.Append();
    places.FieldByName("NAZIV").SetText(name);
    places.FieldByName("DRZAVA").SetText("HR");
    places.Post();
  }
  const auto write = [&](bool undo) {
    CompanyServer server{Database(path_)};
    if (!undo) return server.WriteDataService(RequestOf("MjestaImportInsert", {&places})) != 0;
    const std::int64_t import = Number(server.database(), "SELECT id FROM uvoz WHERE ponisteno IS NULL");
    const RecordSet request = OneRecord("adsUvoz", "id:integer", {import});
    return server.WriteDataService(RequestOf("PonistiUvoz", {&request})) != 0;
  };
  const auto is_stored = [&] {
    Database database(path_);
    database.Check();
    const RecordSet counts = database.Query("q", ParseColumns("rows:integer,valid:integer"),
                                            "SELECT (SELECT COUNT(*) FROM mjesto WHERE naziv LIKE 'Selo %'), "
                                            "(SELECT COUNT(*) FROM uvoz WHERE ponisteno IS NULL)");
    EXPECT_EQ(counts.AsInteger(0), 2 * counts.AsInteger(1));
    return counts.AsInteger(1) == 1;
  };
  for (const bool undo : {false, true}) {
    bool stored = is_stored();
    bool failed = true;
    int n = 0;
    while (failed) {
      SCOPED_TRACE((undo ? "undo, access " : "import, access ") + std::to_string(++n));
      ASSERT_TRUE(stored == undo || write(!undo));
      bool answer = false;
      {
        const FailingDisk disk(n);
        try {
          answer = write(undo);
        } catch (const Error&) {
        }
        failed = disk.HasFailed();
      }
      stored = is_stored();
      EXPECT_TRUE(answer || failed);
      EXPECT_TRUE(stored != undo || !answer);
    }
    EXPECT_GT(n, 30);  // an access that never came was the last
  }
}

}  // namespace
}  // namespace mox

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "mox/foundation/exchange_text.h"
#include "mox/server/credit_limit.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// One record with a value for each field, in the form of files; without values, no record.
RecordSet Answer(const std::string& fields, const Words& values) {
  RecordSet answer = EmptySet("", fields);
  if (values.empty()) return answer;
  std::vector<Value> record;
  for (std::size_t i = 0; i < answer.FieldCount(); ++i) {
    record.push_back(values.at(i) == "null" ? Value() : ParsePlain(values[i], answer.Definition(i).kind));
  }
  answer.AppendRecord(record);
  return answer;
}

RecordingHost::Service Answering(const std::string& name, std::function<RecordSet()> answer) {
  return [name, answer = std::move(answer)](const TAstaParamList&) {
    auto answers = std::make_unique<TAstaParamList>();
    answers->FastAdd("other", answer());
    answers->FastAdd(name, answer());
    return answers;
  };
}

const std::map<std::string, std::function<std::optional<RecordSet>()>> kHelpers = {
    {"GetSkladista", GetSkladista},
    {"GetSklFromGLN", [] { return GetSklFromGLN("3850000000017"); }},
    {"GetCompanyIbans", GetCompanyIbans},
    {"GetPoslovniProstorData", [] { return GetPoslovniProstorData(7); }},
    {"GetUgoPoslovniProstorData", [] { return GetUgoPoslovniProstorData(7); }},
    {"GetVezniDocIdFromDB", [] { return GetVezniDocIdFromDB("rac", "rac_id", 7, "OTP"); }},
    {"CheckIfRlistaExist",
     [] { return CheckIfRlistaExist(7, *MakeDate(2024, 3, 1), *MakeDate(2024, 3, 31)); }},
    {"CheckIfBrojDocDobExists",
     [] { return CheckIfBrojDocDobExists(7, "12/2024", *MakeDate(2024, 3, 1), 8); }},
    {"AdditionalFeaturesData", [] { return AdditionalFeaturesData("WEB"); }},
    {"AdditionalSetupParamsData", AdditionalSetupParamsData},
    {"WebshopSkladisteGet", WebshopSkladisteGet},
};

TEST(ReadServices, AskTheirServiceAndTakeItsAnswer) {
  const auto reads = [](const Words& row) {
    RecordingHost host;
    const ScopedApp app(host.Parts());
    const auto& helper = kHelpers.at(row.at(0));
    RecordingHost::Service& service = host.services[row.at(1)];
    const auto two_records = [] { return SetOf("id:integer", "1;2"); };
    service = Answering(row.at(2), two_records);
    const std::optional<RecordSet> taken = helper();
    EXPECT_TRUE(taken && taken->RecordCount() == 2 && taken->Position() == 0);
    EXPECT_EQ(host.log.front() + ", " + host.log.back(), "hourglass, cursor");
    const std::string asked = host.log.at(1);

    service = [&row](const TAstaParamList&) {
      return std::make_unique<TAstaParamList>(TAstaParamList{{row.at(2), Value()}});
    };
    EXPECT_FALSE(helper()) << "an empty answer";
    service = Answering("nothing", two_records);
    EXPECT_FALSE(helper()) << "no such answer";
    service = [](const TAstaParamList&) -> std::unique_ptr<TAstaParamList> { throw Error("no server"); };
    EXPECT_THROW(helper(), Error);
    EXPECT_EQ(host.log.back(), "cursor");
    host.services.clear();
    EXPECT_FALSE(helper()) << "no such service";
    return asked;
  };
  const auto features = [](const Words& row) {
    RecordingHost host;
    const ScopedApp app(host.Parts());
    EXPECT_FALSE(IsAdditionalFeatureAllowed("WEB"));
    if (row.at(0) != "none") {
      host.services["AdditionalFeaturesData"] = Answering("adsAddFeatures", [&row] {
        return Answer(row.at(0) + ":boolean", {row.begin() + 1, row.end()});
      });
    }
    std::string allowed;
    for (const char* setting : {"", "true", "false", "null"}) {
      RecordSet parameters = Answer("Web:boolean", {*setting == '\0' ? "null" : setting});
      host.parameters = *setting == '\0' ? nullptr : &parameters;
      allowed += IsAdditionalFeatureAllowed("WEB") ? "y" : "n";
      host.parameters = nullptr;
    }
    return allowed;
  };
  ExpectTables("services", {{"reads", reads}, {"features", features}}, "server");
}

/// A host that keeps the text of the last write request.
class WritingHost : public RecordingHost {
 public:
  std::string written;
  int WriteDataService(const TAstaParamList& request) override {
    written = request[0].AsTextView();
    return RecordingHost::WriteDataService(request);
  }
};

TEST(Transactions, SendTheTextsOfTheirRecordSets) {
  WritingHost host;
  const ScopedApp app(host.Parts());
  RecordSet head = OneRecord("Zaglavlje", "id:integer", {std::int64_t{1}});
  RecordSet lines = OneRecord("Stavke\n", "naziv", {"Čaša"});
  struct Module : TDataModule {
    std::vector<RecordSet*> sets;
    std::span<RecordSet* const> DataSets() const override { return sets; }
  } module;
  module.sets = {&head, &lines};
  const std::string text = TAstaParamList{
      {"Zaglavlje", head.SaveToString()},
      {"Stavke\n",
       lines.SaveToString()}}.AsTokenizedString(false);
  for (const int answer : {0, 1, -1}) {
    host.write_answer = answer;
    EXPECT_EQ(ExecuteTransaction("UpisRacuna", {&head, &lines}), answer != 0);
    EXPECT_EQ(std::exchange(host.written, ""), text);
    EXPECT_EQ(ExecuteTransaction("UpisRacuna", module), answer != 0);
    EXPECT_EQ(host.written, text);
  }
  EXPECT_EQ(host.log.back(), "write UpisRacuna=<list Zaglavlje=<1 record> Stavke\\n=<1 record>>");
}

TEST(Transactions, PostTheRecordThatIsBeingEdited) {
  WritingHost host;
  const ScopedApp app(host.Parts());
  RecordSet head = OneRecord("Zaglavlje", "id:integer", {std::int64_t{1}});
  RecordSet lines = OneRecord("Stavke", "naziv", {"Čaša"});
  const auto open_both = [&](std::int64_t id) {
    head.Edit();
    head.SetInteger(0, id);
    lines.Append();  // nobody touches it, so it is dropped
  };
  open_both(2);
  EXPECT_TRUE(ExecuteTransaction("UpisRacuna", {&head, &lines}));
  EXPECT_NE(host.written.find("\n2\nend\n"), std::string::npos) << host.written;
  EXPECT_EQ(DataSetState::kBrowse, head.State());
  EXPECT_EQ(DataSetState::kBrowse, lines.State());
  EXPECT_EQ(lines.RecordCount(), 1U);

  // a post that is refused, and one whose calculation fails
  head.SetOnBeforePost([](RecordSet&) { throw Abort(); });
  open_both(3);
  const std::size_t written = host.log.size();
  EXPECT_THROW(ExecuteTransaction("UpisRacuna", {&lines, &head}), Abort);
  EXPECT_EQ(head.State(), DataSetState::kEdit);
  head.Cancel();
  EXPECT_EQ(head.AsInteger(0), 2);
  head.SetOnBeforePost(nullptr);
  head.SetOnCalcFields([](RecordSet&) { throw DivisionByZero(); });
  open_both(4);
  EXPECT_THROW(ExecuteTransaction("UpisRacuna", {&head}), DivisionByZero);
  EXPECT_EQ(host.log.size(), written) << "nothing was sent";
}

TEST(CreditLimit, AsksRefusesOrLetsGoOn) {
  const std::string fields =
      "limit:currency,DaniKasnjenja:integer,saldo:currency,PostojiKasnjenje:integer,"
      "fakturiranje_limit_duga:boolean,faktur_limit_duga_once:boolean";
  const std::string limit =
      " | Upozorenje! | Prekoračenje kreditnog limita | Kreditni limit partnera je prekoračen.";
  const std::string days =
      " | Upozorenje! | Prekoračenje dana kašnjenja | Dani kašnjenja partnera su prekoračeni.";
  const std::map<std::string, std::string> dialogs = {
      {"dialog 1" + limit + "\r\nNastavak rada?", "limit? "},
      {"dialog 1" + days + "\r\nNastavak rada?", "days? "},
      {"dialog 2" + limit, "limit! "},
      {"dialog 2" + days, "days! "},
      {"dialog 2 | Upozorenje! | Prekoračenje kreditnog limita i dana kašnjenja | "
       "Kreditni limit i dani kašnjenja partnera su prekoračeni.",
       "both! "}};
  const std::map<std::string, std::vector<int>> answers = {
      {"-", {}},           {"yes", {1}},       {"no", {2}},           {"closed", {0}},
      {"yes,yes", {1, 1}}, {"yes,no", {1, 2}}, {"yes,closed", {1, 0}}};
  const auto checked = [&](const Words& row) {
    RecordingHost host;
    const ScopedApp app(host.Parts());
    const auto check = [&row] { return CheckKreditniLimitPartnera(7, Currency::Parse(row.at(6))); };
    EXPECT_TRUE(check()) << "no answer";
    Words values;
    host.services["KreditniLimitPartnera"] =
        Answering("KreditniLimit", [&] { return Answer(fields, values); });
    EXPECT_TRUE(check()) << "no record";
    EXPECT_EQ(std::exchange(host.log, {}).size(), 6U) << "no dialog";
    values = row;
    host.dialog_answers = answers.at(row.at(7));
    const bool may_go_on = check();
    EXPECT_EQ(host.log.at(1), "read KreditniLimitPartnera: par_id=7");
    std::string seen;
    for (std::size_t i = 3; i < host.log.size(); ++i) {
      const auto known = dialogs.find(host.log[i]);
      seen += known == dialogs.end() ? host.log[i] : known->second;
    }
    return seen + (may_go_on ? "true" : "false");
  };
  ExpectTables("credit_limit", {{"checked", checked}}, "server");
}

}  // namespace
}  // namespace mox

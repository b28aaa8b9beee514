#include <algorithm>
#include <filesystem>
#include <fstream>
#include <span>

#include "mox/foundation/files.h"
#include "mox/integrations/consumer_e_invoice.h"
#include "mox/integrations/send_attempt_internal.h"
#include "mox/server/invoice_files.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

constexpr std::int64_t kDocument = 7;
constexpr const char* kUrl = "https://eracun";
constexpr const char* kInvoice = "{}";

// The company database and the intermediary, which workstations share.
struct World {
  std::string attempt;  // of the document; empty where none is remembered
  bool under_way = false;
  bool linked = false;
  bool refuses = false;
  bool drops_answers = false;
  bool answers_another = false;
  bool refuses_links = false;
  int posted_unasked = 0;
};

struct Killed {};

// A workstation whose program and request sender are killed together before their n-th step.
class Workstation : public RecordingHost {
 public:
  Workstation(World& world, int steps) : world_(world), steps_(steps) {
    folder = scratch_ / "";
    program = [this](std::string_view) -> std::vector<int> {
      SendInvoice();
      return {0};
    };
    dialog_answers.assign(100, kDialogNo);
  }

  void KillBeforeStep(int steps) { steps_ = steps; }

  // False when it was killed.
  bool Try() {
    const ScopedApp app(Parts());
    try {
      eRacunB2CSendBill(kDocument);
    } catch (const Killed&) {
      return false;
    }
    return true;
  }

  void CarryOver() {
    const ScopedApp app(Parts());
    CarryOverAttempts();
  }

  std::string answer_name = InvoiceAnswerName(kUrl, kInvoice);  ///< of what it sends or carries over

  std::string File(const char* ending) const { return folder + "adsB2C_7" + ending; }

  /// What others do while the user is asked.
  std::function<void()> while_asked;

  bool WasPosting() {
    const ScopedApp app(Parts());
    const auto left = ReadAttempt(InvoiceFilesOf(kDocument).attempt);
    return left && left->step == AttemptStep::kAsk;
  }

  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& /*request*/,
                                                    std::string_view service) override {
    Step();
    auto answers = std::make_unique<TAstaParamList>();
    const auto add = [&](const char* name, const char* fields, std::initializer_list<Value> values) {
      answers->FastAdd(name, OneRecord(name, fields, values));
    };
    if (service == "IntegrationsUsersAccounts") {
      add("adsLoginData", "EracunSendB2CBills:boolean,EracunB2CUrl,EracunPokusaji:boolean",
          {true, kUrl, true});
    } else if (service == "MojERacunB2C") {
      add("adsData", "jsonData", {kInvoice});
      add("adsPartner", "tipTvrtke", {"Fizička osoba"});
    } else if (!world_.attempt.empty()) {
      add("adsPokusaj", "pokusaj,sazetak,u_tijeku:boolean",
          {world_.attempt, InvoiceAnswerName(kUrl, kInvoice), world_.under_way});
    }
    return answers;
  }

  int WriteDataService(const TAstaParamList& request) override {
    Step();
    const int done = Store(request);
    Step();
    return done;
  }

  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override {
    Step();
    if (while_asked) while_asked();
    return RecordingHost::ShowVelorDialog(kind, caption, heading, message);
  }

 private:
  void Step() {
    if (--steps_ == 0) throw Killed();
  }

  int Store(const TAstaParamList& request) {
    const std::string name = request[0].Name();
    if (name == "ERacunVezaSaMojERacunProvjera") return world_.linked ? 0 : 1;
    if (name == "InsertERacunB2C") {
      if (world_.refuses_links) return 0;
      world_.linked = true;
      world_.attempt.clear();
      return 1;
    }
    auto sets = TAstaParamList::FromTokenizedString(request[0].AsTextView());
    RecordSet& sent = sets[0].AsDataSet();
    const std::string attempt = sent.FieldByName("pokusaj").AsText();
    if (name == "ERacunPokusajPocetak") {
      EXPECT_EQ(sent.FieldByName("sazetak").AsText(), answer_name);
      if (world_.linked || sent.FieldByName("prethodni").AsText() != world_.attempt) return 0;
      world_.attempt = attempt;
      world_.under_way = true;
    } else if (name == "ERacunPokusajKraj" && attempt == world_.attempt) {
      world_.under_way = false;
      if (sent.FieldByName("poznat").AsText() == "true") world_.attempt.clear();
    }
    return 1;
  }

  // What the request sender does where the intermediary cannot be asked.
  void SendInvoice() {
    const InvoiceFiles files = InvoiceFilesOf(kDocument);
    Step();
    const InvoiceAttempt attempt = ReadAttempt(files.attempt).value();
    RecordSet answer = OneRecord("", "electronicId,statusId", {"5", "30"});
    if (attempt.step == AttemptStep::kAsk || attempt.step == AttemptStep::kAskOnly) {
      answer = OneRecord("", "statusCode,message,mozda_poslan", {"", "", "1"});
    } else {
      WriteAttempt(files.attempt, {attempt.name, AttemptStep::kAsk});
      Step();
      if (attempt.step == AttemptStep::kPost) ++world_.posted_unasked;
      Step();
      if (world_.drops_answers) return;
      if (world_.refuses) answer = OneRecord("", "statusCode,message", {"1", ""});
    }
    answer.SetName(world_.answers_another ? "adsB2C 0" : InvoiceAnswerName(kUrl, kInvoice));
    answer.SaveToFile(files.answer);
    Step();
    if (!answer.FindFieldIndex("mozda_poslan")) RemoveFile(files.attempt);
    Step();
  }

  World& world_;
  int steps_;
  ScratchFolder scratch_;
};

constexpr int kNever = 0;

// Killed before any step, tried again from the same workstation and from others: what may have been delivered
// is posted again only where a user has said so.
TEST(SendAttempt, IsRememberedWheneverItIsKilled) {
  for (const bool drops_answers : {false, true}) {
    for (const bool same_first : {false, true}) {
      bool killed = true;
      for (int step = 1; killed; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        World world;
        world.drops_answers = drops_answers;
        Workstation first(world, step);
        Workstation second(world, kNever);
        killed = !first.Try();
        first.KillBeforeStep(kNever);
        Workstation* const order[] = {&first, &second, &first};
        for (Workstation* const next : std::span(order).subspan(same_first ? 0 : 1)) {
          next->Try();
          EXPECT_LE(world.posted_unasked, 1);
        }
        EXPECT_TRUE(world.linked || !world.attempt.empty());
      }
    }
  }
}

// Its own workstation knows whether the invoice was on its way, and asks only then.
TEST(SendAttempt, IsAskedAboutOnlyInDoubt) {
  bool killed = true;
  for (int step = 1; killed; ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    World world;
    world.refuses = true;
    Workstation workstation(world, step);
    killed = !workstation.Try();
    const bool in_doubt = workstation.WasPosting();
    workstation.KillBeforeStep(kNever);
    workstation.log.clear();
    workstation.Try();
    const auto asked = [](const std::string& line) { return line.starts_with("dialog 1"); };
    EXPECT_EQ(std::any_of(workstation.log.begin(), workstation.log.end(), asked), in_doubt);
    EXPECT_EQ(world.attempt.empty(), !in_doubt);
  }
}

// Only a readable refusal of this very invoice says of the last attempt that there is no e-invoice.
TEST(SendAttempt, IsPostedUnaskedOnlyAfterARefusal) {
  const std::string own = InvoiceAnswerName(kUrl, kInvoice);
  const struct {
    std::string name;
    const char* field;
    int posted;
  } rows[] = {{own, "statusCode", 1}, {"adsB2C x", "statusCode", 0}, {own, "electronicId", 0}, {own, "", 0}};
  for (const auto& row : rows) {
    World world;
    world.attempt = "pokusaj";
    Workstation workstation(world, kNever);
    const RecordSet answer = OneRecord(row.name, *row.field == '\0' ? "x" : row.field, {"5"});
    answer.SaveToFile(workstation.File(".xml"));
    if (*row.field == '\0') std::ofstream(workstation.File(".xml")) << "<xml/>";
    workstation.Try();
    EXPECT_EQ(world.posted_unasked, row.posted) << row.name << " " << row.field;
    EXPECT_NE(world.attempt, "pokusaj") << "the next attempt takes its place";
  }
}

// An answer to another invoice says nothing of this one, and one that is not recorded is known to nobody
// else.
TEST(SendAttempt, StaysInDoubtUntilItsAnswerIsRecorded) {
  for (bool World::*const way : {&World::answers_another, &World::refuses_links}) {
    World world;
    world.*way = true;
    Workstation(world, kNever).Try();
    EXPECT_FALSE(world.linked);
    EXPECT_FALSE(world.attempt.empty());
    EXPECT_FALSE(world.under_way);
  }
}

TEST(SendAttempt, LeavesThatOfAnotherWhichIsUnderWay) {
  World world;
  world.attempt = "pokusaj";
  world.under_way = true;
  Workstation(world, kNever).Try();
  EXPECT_EQ(world.attempt, "pokusaj");
  EXPECT_TRUE(world.under_way);
  EXPECT_EQ(world.posted_unasked, 0);
}

// The user's yes is none to what another program has begun meanwhile.
TEST(SendAttempt, IsNotMadeAgainOverThatOfAnother) {
  World world;
  world.drops_answers = true;
  Workstation workstation(world, kNever);
  workstation.Try();
  workstation.log.clear();
  workstation.dialog_answers.assign(100, kDialogYes);
  workstation.while_asked = [&] { world.attempt = "pokusaj drugi"; };
  EXPECT_ERROR(workstation.Try(), "! document 7: another program has begun to send it; try again");
  EXPECT_EQ(world.attempt, "pokusaj drugi");
  EXPECT_FALSE(std::filesystem::exists(workstation.File(".try")));
  const auto started = [](const std::string& line) { return line.starts_with("start "); };
  EXPECT_EQ(std::count_if(workstation.log.begin(), workstation.log.end(), started), 1);
}

// An attempt that only a file tells of, of an earlier program, goes into the database as one that has ended;
// one that was never posted, or of a document that has its e-invoice, goes away.
TEST(SendAttempt, IsCarriedOverFromItsFile) {
  const struct {
    const char* text;
    bool linked;
    bool carried;
    bool file_left;
  } rows[] = {{"pokusaj\n", false, true, true},
              {"pokusaj\nnovi\n", false, false, true},
              {"\nupit\n", false, false, true},
              {"pokusaj\npotvrdeno\n", false, true, true},
              {"pokusaj\n", true, false, false}};
  for (const auto& row : rows) {
    World world;
    world.linked = row.linked;
    Workstation workstation(world, kNever);
    std::ofstream(workstation.File(".try")) << row.text;
    workstation.answer_name.clear();  // nobody knows to which invoice
    workstation.CarryOver();
    EXPECT_EQ(world.attempt.empty(), !row.carried) << row.text;
    EXPECT_FALSE(world.under_way) << row.text;
    EXPECT_EQ(std::filesystem::exists(workstation.File(".try")), row.file_left) << row.text;
  }
}

}  // namespace
}  // namespace mox

#include "appserver/company_move.h"

#include <algorithm>
#include <cstdio>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include "appserver/database.h"
#include "appserver/move_side.h"

namespace mox {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPoll{20};
constexpr milliseconds kPollCopy{200};
constexpr milliseconds kLongestCatchUp{700};  // writers wait for it
constexpr milliseconds kLongestLag{600'000};
constexpr int kMostHolds = 600;  // attempts to have the company alone, a second each
constexpr int kMostErrors = 5;   // of the engine while it copies
constexpr int kMostLost = 5;     // seconds in which a copy has lost its slot
constexpr int kMostCopies = 3;   // until somebody has to look why none comes to its end
constexpr int kOldestServer = 150000;

std::string Seconds(steady_clock::duration time) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f s", std::chrono::duration<double>(time).count());
  return text;
}

std::string Counted(std::int64_t count, const std::string& what) {
  return std::to_string(count) + " " + what;
}

// Two connections whose queries see one moment.
struct Snapshots {
  MoveSide from;
  MoveSide to;

  explicit Snapshots(const MovePlan& plan) : from(plan.from, plan.user), to(plan.to, plan.user) {}
  void Take() {
    for (MoveSide* const side : {&from, &to}) {
      side->Run("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY; SELECT 1 FROM mox_verzija");
    }
  }
  /// What differs.
  std::string Compare() {
    auto there = std::async(std::launch::async, [this] { return DigestsOf(to); });
    const TableDigests here = DigestsOf(from);
    return DifferenceOf(here, there.get());
  }
};

}  // namespace

struct CompanyMove::State {
  MovePlan plan;
  Tell tell;
  MoveSide from;
  MoveSide to;
  std::string name;                                   // of publication, slot and subscription
  std::string mark;                                   // how the comments of the schemas begin
  std::optional<steady_clock::time_point> held = {};  // since when writers wait

  State(MovePlan given, Tell told)
      : plan(std::move(given)),
        tell(std::move(told)),
        from(plan.from, plan.user),
        to(plan.to, plan.user),
        name("mox_move_" + plan.id),
        mark(kMoveMark + plan.id) {
    // A program that was killed a moment ago may not have left yet.
    from.Run("SET lock_timeout = '3s'");
    if (!from.TryRun("SELECT pg_advisory_lock(1836017764, hashtext(" + QuotedText("move " + from.schema()) +
                     "))"))
      throw DatabaseUnavailable(plan.from.ToString() + ": another program is moving this company");
  }

  void Say(MoveStep step, std::string text = {}) const {
    if (tell) tell({step, std::move(text)});
  }

  bool HasSubscription() {
    return to.AskNumber("SELECT count(*) FROM pg_subscription WHERE subname = " + QuotedText(name)) > 0;
  }
  bool HasSlot() {
    return from.AskNumber("SELECT count(*) FROM pg_replication_slots WHERE slot_name = " + QuotedText(name)) >
           0;
  }
  bool HasPublication() {
    return from.AskNumber("SELECT count(*) FROM pg_publication WHERE pubname = " + QuotedText(name)) > 0;
  }

  void MakeTables();
  void Publish();
  void Subscribe();
  bool HasLostCopy();
  void CopyAnew();
  bool WaitForCopy();
  bool CatchUp(MoveSide& beside, milliseconds longest);
  void HoldAtEnd(MoveSide& beside);
  void CarryKeys();
  std::string Leave(bool compared);
  void RequireSame(const std::string& difference);
  std::unique_ptr<Snapshots> SwitchOver();
  void Verify(Snapshots& both);
  void DropSlots(const std::string& which);
  void Unsubscribe();
};

// --- before ---

namespace {

// What a server does not have or allow.
void FindObstacles(MoveSide& side, bool is_source, std::vector<std::string>& obstacles) {
  const auto add = [&](const std::string& what) {
    obstacles.push_back(side.location().ToString() + ": " + what);
  };
  if (side.AskNumber("SHOW server_version_num") < kOldestServer) {
    return add("the server is older than version 15, which cannot publish a schema");
  }
  if (side.Ask("SELECT rolsuper FROM pg_roles WHERE rolname = current_user") != "t") {
    add("the user " + side.Ask("SELECT current_user") +
        " is no superuser of the server, which copying between servers needs; --as USER names one");
  }
  if (side.Ask("SELECT pg_is_in_recovery()") == "t")
    add("this is a standby; name the server that is written");
  if (is_source) {
    if (const std::string level = side.Ask("SHOW wal_level"); level != "logical") {
      add("wal_level is " + level + ", not logical (postgresql.conf; the server is restarted for it)");
    }
    for (const auto& [setting, used] : {std::pair("max_replication_slots", "pg_replication_slots"),
                                        std::pair("max_wal_senders", "pg_stat_replication")}) {
      const std::int64_t free = side.AskNumber(std::string("SELECT current_setting('") + setting +
                                               "')::bigint - (SELECT count(*) FROM " + used + ")");
      constexpr std::int64_t kNeeded = 3;  // one for what follows, two for tables that are copied
      if (free < kNeeded) {
        add(std::string(setting) + " leaves " + std::to_string(free) + " free, and 3 are needed");
      }
    }
    if (!side.HasSchema()) add("there is no such company");
    return;
  }
  if (const std::string encoding = side.Ask("SHOW server_encoding"); encoding != "UTF8") {
    add("the database has the encoding " + encoding + ", not UTF8");
  }
  if (side.AskNumber("SELECT current_setting('max_logical_replication_workers')::bigint") < 2) {
    add("max_logical_replication_workers is less than 2");
  }
}

// The new server keeps a place for each table from its copy until changes follow in it, and one for these.
void FindMissingPlaces(MoveSide& from, MoveSide& to, std::vector<std::string>& obstacles) {
  const std::int64_t needed =
      1 +
      from.AskNumber("SELECT count(*) FROM pg_class WHERE relkind = 'r' AND relnamespace = to_regnamespace(" +
                     QuotedText(QuotedName(from.schema())) + ")");
  const std::int64_t free = to.AskNumber(
      "SELECT current_setting('max_replication_slots')::bigint - (SELECT count(*) FROM "
      "pg_replication_origin_status)");
  if (free >= needed) return;
  obstacles.push_back(to.location().ToString() + ": max_replication_slots leaves " + std::to_string(free) +
                      " places for tables that are copied, and " + std::to_string(needed) + " are needed");
}

std::string PlaceOf(MoveSide& side) {
  return side.Ask(
      "SELECT (SELECT system_identifier FROM pg_control_system()) || '/' || oid FROM pg_database "
      "WHERE datname = current_database()");
}

}  // namespace

CompanyMove::CompanyMove(MovePlan plan, Tell tell)
    : state_(std::make_unique<State>(std::move(plan), std::move(tell))) {}
CompanyMove::~CompanyMove() = default;

std::vector<std::string> CompanyMove::Obstacles() {
  State& s = *state_;
  std::vector<std::string> obstacles;
  if (s.from.schema() != s.to.schema()) {
    obstacles.push_back(s.plan.to.ToString() +
                        ": a company keeps its name when it moves: company=" + s.plan.from.company());
  }
  if (s.from.schema() == s.to.schema() && PlaceOf(s.from) == PlaceOf(s.to)) {
    obstacles.push_back(s.plan.to.ToString() + ": the company is there already");
    return obstacles;
  }
  FindObstacles(s.from, true, obstacles);
  FindObstacles(s.to, false, obstacles);
  if (obstacles.empty() && !s.to.HasSchema()) FindMissingPlaces(s.from, s.to, obstacles);
  if (s.to.HasSchema() && s.to.MarkOf(s.to.schema()) != s.mark + kMarkArrives) {
    obstacles.push_back(s.plan.to.ToString() + ": there is such a company already");
  }
  if (obstacles.empty()) static_cast<void>(Database(s.plan.from));  // with the newest tables
  return obstacles;
}

bool CompanyMove::HasLeft() {
  State& s = *state_;
  if (!s.to.HasSchema()) return false;
  const std::string mark = s.to.MarkOf(s.to.schema());
  if (mark == s.mark + kMarkArrived) return true;
  return mark == s.mark + kMarkArrives && !s.from.FindMarked(s.mark + kMarkLeft).empty();
}

// --- copying ---

namespace {

std::string TruncateOf(const std::vector<std::string>& tables) {
  std::string sql;
  for (const std::string& table : tables) sql += (sql.empty() ? "TRUNCATE " : ", ") + QuotedName(table);
  return sql;
}

}  // namespace

// By the user of the address, who owns them then; they appear with the mark that keeps everybody out.
void CompanyMove::State::MakeTables() {
  if (to.HasSchema()) {
    // What another program has made there meanwhile is not this move's to write into.
    if (to.MarkOf(to.schema()) == mark + kMarkArrives) return;
    throw DatabaseError(plan.to.ToString() + ": there is such a company already");
  }
  Database::Create(plan.to, WithDemo::kNo, [&](Database& created) {
    created.Execute("COMMENT ON SCHEMA " + QuotedName(to.schema()) + " IS " +
                    QuotedText(mark + kMarkArrives));
    std::vector<std::string> tables = created.TableNames();
    tables.emplace_back("mox_verzija");
    created.Execute(TruncateOf(tables));
  });
  Say(MoveStep::kTablesMade,
      Counted(static_cast<std::int64_t>(to.Tables().size()), "tables were made there"));
}

// The slot keeps what changes from this moment on; it waits for the transactions that are under way.
void CompanyMove::State::Publish() {
  if (!HasPublication()) {
    from.Run("CREATE PUBLICATION " + name + " FOR TABLES IN SCHEMA " + QuotedName(from.schema()));
  }
  if (HasSlot()) return;
  from.Run("SELECT pg_create_logical_replication_slot(" + QuotedText(name) + ", 'pgoutput')");
  Say(MoveStep::kPublished, "changes are kept for it");
}

void CompanyMove::State::Subscribe() {
  if (HasSubscription()) return;
  const std::string reached = plan.reached.empty() ? from.address() : plan.reached;
  to.Run(TruncateOf(to.Tables()));  // of a copy that was to begin anew
  to.Run("CREATE SUBSCRIPTION " + name + " CONNECTION " + QuotedText(reached) + " PUBLICATION " + name +
         " WITH (create_slot = false, slot_name = " + QuotedText(name) + ", copy_data = true)");
  Say(MoveStep::kSubscribed, "copying begins");
}

// A table that is copied has a slot of its own, which goes when the copy has come to its end. The engine
// takes the slot away first and notes the end then; where the connection breaks between them it asks for the
// slot for ever.
bool CompanyMove::State::HasLostCopy() {
  const std::string slots = to.Ask(
      "SELECT string_agg(quote_literal('pg_' || r.srsubid || '_sync_' || r.srrelid || '_' || "
      "c.system_identifier), ', ') FROM pg_subscription_rel r JOIN pg_subscription s ON s.oid = r.srsubid, "
      "pg_control_system() c WHERE r.srsubstate = 'f' AND s.subname = " +
      QuotedText(name));
  if (slots.empty()) return false;
  return from.AskNumber("SELECT count(*) FROM unnest(ARRAY[" + slots +
                        "]) AS slot WHERE slot NOT IN (SELECT slot_name FROM pg_replication_slots)") > 0;
}

void CompanyMove::State::CopyAnew() {
  Say(MoveStep::kCopying, "a copy cannot come to its end; copying begins anew");
  Unsubscribe();
  Publish();
  Subscribe();
}

// False where the copy has lost its slot.
bool CompanyMove::State::WaitForCopy() {
  const std::string of_this =
      " FROM pg_subscription_rel r JOIN pg_subscription s ON s.oid = r.srsubid "
      "WHERE s.subname = " +
      QuotedText(name);
  const std::string errors =
      "SELECT COALESCE(sum(apply_error_count + sync_error_count), 0) FROM pg_stat_subscription_stats "
      "WHERE subname = " +
      QuotedText(name);
  const std::int64_t errors_before = to.AskNumber(errors);
  const std::int64_t all = to.AskNumber("SELECT count(*)" + of_this);
  auto told = steady_clock::now();
  int lost = 0;
  for (;;) {
    const std::int64_t rest = to.AskNumber("SELECT count(*)" + of_this + " AND r.srsubstate <> 'r'");
    if (rest == 0) break;
    if (!HasSlot()) {
      throw DatabaseError(
          plan.from.ToString() +
          ": what changed is not kept any more, as after a failover; take the move back, and begin anew");
    }
    const bool fails = to.AskNumber(errors) - errors_before >= kMostErrors;
    if (lost == kMostLost || (fails && HasLostCopy())) return false;
    if (fails) {
      throw DatabaseError(
          plan.to.ToString() +
          ": the server cannot copy; its log says why (disk, pg_hba.conf, or it does not reach " +
          plan.from.ToString() + "; --from ADDRESS names another way)");
    }
    if (steady_clock::now() - told > std::chrono::seconds(1)) {
      told = steady_clock::now();
      lost = HasLostCopy() ? lost + 1 : 0;
      Say(MoveStep::kCopying,
          std::to_string(all - rest) + " of " + Counted(all, "tables, ") +
              to.Ask("SELECT pg_size_pretty(COALESCE(sum(pg_total_relation_size(c.oid)), 0)) FROM "
                     "pg_class c WHERE c.relkind = 'r' AND c.relnamespace = "
                     "CAST(quote_ident(current_schema()) AS regnamespace)"));
    }
    std::this_thread::sleep_for(kPollCopy);
  }
  Say(MoveStep::kCopied, "all rows are there, and changes follow");
  return true;
}

void CompanyMove::Copy() {
  state_->MakeTables();
  state_->Publish();
  state_->Subscribe();
  for (int copies = 1; !state_->WaitForCopy(); ++copies) {
    if (copies == kMostCopies) {
      throw DatabaseError(state_->plan.to.ToString() + ": " + std::to_string(copies) +
                          " copies in a row could not come to their end; the log of this server and of " +
                          state_->plan.from.ToString() +
                          " say why. The same command goes on, --back takes the move back");
    }
    state_->CopyAnew();
  }
}

// --- switching ---

// What the other side confirms is on its disk. False where that takes longer.
bool CompanyMove::State::CatchUp(MoveSide& beside, milliseconds longest) {
  beside.Run("SELECT pg_logical_emit_message(true, 'mox', 'move')");
  const std::string confirmed =
      "SELECT confirmed_flush_lsn >= " + QuotedText(beside.Ask("SELECT pg_current_wal_flush_lsn()")) +
      " FROM pg_replication_slots WHERE slot_name = " + QuotedText(name);
  for (const auto begin = steady_clock::now(); beside.Ask(confirmed) != "t";) {
    if (steady_clock::now() - begin > longest) return false;
    std::this_thread::sleep_for(kPoll);
  }
  return true;
}

// Has the company alone, and the other side with all that was written. Whoever comes meanwhile waits behind
// an attempt, so each is a short one.
void CompanyMove::State::HoldAtEnd(MoveSide& beside) {
  for (int attempt = 0; attempt < kMostHolds; ++attempt) {
    if (!CatchUp(beside, kLongestLag)) {
      throw DatabaseUnavailable(plan.to.ToString() +
                                ": the server does not keep up with what is written; "
                                "the same command tries again");
    }
    held = steady_clock::now();
    from.Run(
        "BEGIN; SET LOCAL lock_timeout = '700ms'; SET LOCAL idle_in_transaction_session_timeout = '10s'");
    if (from.TryRun(std::string("SELECT ") + kCompanyLock) && CatchUp(beside, kLongestCatchUp)) return;
    from.RollBack();
    if (attempt == 5) Say(MoveStep::kCopied, "a long write is under way; waiting for its end");
    std::this_thread::sleep_for(milliseconds(500));
  }
  throw DatabaseUnavailable(plan.from.ToString() +
                            ": programs have kept the company for themselves for ten minutes");
}

// The next keys of rows. What is committed by this is on the disk with all that came before.
void CompanyMove::State::CarryKeys() {
  const auto sequences = from.AskPairs(
      "SELECT sequencename, last_value FROM pg_sequences WHERE schemaname = current_schema() "
      "AND last_value IS NOT NULL");
  std::string values;
  for (const auto& [sequence, value] : sequences) {
    values += (values.empty() ? "SELECT " : ", ");
    values += "setval(" + QuotedText(QuotedName(sequence)) + ", " + value + ")";
  }
  if (!values.empty()) to.Run(values);
}

// One transaction: either the old side is what it was, or nobody finds it any more.
std::string CompanyMove::State::Leave(bool compared) {
  std::string kept;
  for (int i = 1; kept.empty(); ++i) {
    const std::string free = "moved_" + std::to_string(i) + '_' + from.schema();
    if (from.AskNumber("SELECT count(*) FROM pg_namespace WHERE nspname = " + QuotedText(free)) == 0)
      kept = free;
  }
  from.Run("ALTER SCHEMA " + QuotedName(from.schema()) + " RENAME TO " + QuotedName(kept));
  from.Run("COMMENT ON SCHEMA " + QuotedName(kept) + " IS " +
           QuotedText(mark + (compared ? kMarkLeftCompared : kMarkLeft) + kMarkFor + plan.to.ToString()));
  from.Run("COMMIT");
  return kept;
}

// Raises DatabaseError where the sides differ.
void CompanyMove::State::RequireSame(const std::string& difference) {
  if (difference.empty()) return;
  throw DatabaseError(plan.to.ToString() + ": not the same rows as at " + plan.from.ToString() + ": " +
                      difference + "; nothing was switched: take the move back, and look into it");
}

// Up to the moment from which on the company is on the new side. Answers the two sides as they were then,
// where they are still to be compared.
std::unique_ptr<Snapshots> CompanyMove::State::SwitchOver() {
  to.Run("ALTER SUBSCRIPTION " + name + " SET (synchronous_commit = 'on')");
  // How long comparing takes is tried beside the writers.
  const auto begin = steady_clock::now();
  {
    Snapshots tried(plan);
    tried.Take();
    static_cast<void>(tried.Compare());
  }
  const bool is_quick = steady_clock::now() - begin < plan.longest_comparison;
  MoveSide beside(plan.from, plan.user);
  if (!is_quick) {
    Snapshots both(plan);
    HoldAtEnd(beside);
    both.Take();
    from.RollBack();
    RequireSame(both.Compare());
    Say(MoveStep::kCompared, "both sides were the same at one moment");
  }
  auto both = std::make_unique<Snapshots>(plan);
  try {
    HoldAtEnd(beside);
    Say(MoveStep::kHeld, "writers wait");
    both->Take();
    if (is_quick) RequireSame(both->Compare());
    CarryKeys();
    Say(MoveStep::kCarried, "everything is there");
    const std::string kept = Leave(is_quick);
    if (is_quick) {
      both.reset();
    } else {
      both->from.Run("SET search_path TO " + QuotedName(kept));
    }
  } catch (...) {
    from.RollBack();
    throw;
  }
  Say(MoveStep::kLeft, "the old side is shut");
  return both;
}

// What is different is told when the new side has taken over, and the old one stays.
void CompanyMove::State::Verify(Snapshots& both) {
  const std::string difference = both.Compare();
  const std::string old = from.FindMarked(mark + kMarkLeft);
  if (!difference.empty()) {
    throw DatabaseError(plan.to.ToString() + ": was not the same when it took over: " + difference +
                        "; the old side stays as the schema " + old);
  }
  from.Run("COMMENT ON SCHEMA " + QuotedName(old) + " IS " +
           QuotedText(mark + kMarkLeftCompared + kMarkFor + plan.to.ToString()));
  Say(MoveStep::kVerified, "both sides were the same when it was switched");
}

void CompanyMove::Switch(const std::function<void()>& name) {
  State& s = *state_;
  std::unique_ptr<Snapshots> later;
  if (!HasLeft()) later = s.SwitchOver();
  if (s.to.MarkOf(s.to.schema()) != s.mark + kMarkArrived) {
    s.to.Run("COMMENT ON SCHEMA " + QuotedName(s.to.schema()) + " IS " + QuotedText(s.mark + kMarkArrived));
    s.Say(MoveStep::kOpened, "the new side is open");
  }
  name();
  s.Say(MoveStep::kNamed, "the directory names the new side");
  if (s.held)
    s.Say(MoveStep::kSwitched, "switched; writers waited " + Seconds(steady_clock::now() - *s.held));
  if (later != nullptr) s.Verify(*later);
}

// --- after ---

// Their readers may not be gone yet.
void CompanyMove::State::DropSlots(const std::string& which) {
  from.Run(
      "SELECT pg_terminate_backend(active_pid, 5000) FROM pg_replication_slots WHERE active_pid IS NOT NULL "
      "AND " +
      which);
  from.Run("SELECT pg_drop_replication_slot(slot_name) FROM pg_replication_slots WHERE " + which);
}

// Where the source cannot be reached from there, its slots go from here.
void CompanyMove::State::Unsubscribe() {
  if (HasSubscription()) {
    try {
      to.Run("DROP SUBSCRIPTION " + name);
    } catch (const DatabaseError&) {
      const std::string copies = to.Ask(
          "SELECT quote_literal('^pg_' || s.oid || '_sync_[0-9]+_' || c.system_identifier || '$') "
          "FROM pg_subscription s, pg_control_system() c WHERE s.subname = " +
          QuotedText(name));
      to.Run("ALTER SUBSCRIPTION " + name + " DISABLE");
      to.Run("ALTER SUBSCRIPTION " + name + " SET (slot_name = NONE)");
      to.Run("DROP SUBSCRIPTION " + name);
      DropSlots("slot_name ~ " + copies);
    }
  }
  DropSlots("slot_name = " + QuotedText(name));
  from.Run("DROP PUBLICATION IF EXISTS " + name);
}

void CompanyMove::Finish() {
  State& s = *state_;
  s.Unsubscribe();
  s.Say(MoveStep::kUnsubscribed, "nothing ties the two sides together any more");
  const std::string old = s.from.FindMarked(s.mark + kMarkLeft);
  if (old.empty()) return;
  if (!s.from.MarkOf(old).starts_with(s.mark + kMarkLeftCompared)) {
    return s.Say(MoveStep::kDropped,
                 "the last comparison was interrupted: the old side stays as the schema " + old);
  }
  s.from.Run("DROP SCHEMA " + QuotedName(old) + " CASCADE");
  s.Say(MoveStep::kDropped, "the old side was dropped");
}

void CompanyMove::TakeBack() {
  State& s = *state_;
  if (HasLeft())
    throw DatabaseError(s.plan.to.ToString() +
                        ": the company has moved already; the same command ends the move");
  s.Unsubscribe();
  s.Say(MoveStep::kUnsubscribed, "nothing ties the two sides together any more");
  if (s.to.HasSchema() && s.to.MarkOf(s.to.schema()) == s.mark + kMarkArrives) {
    s.to.Run("DROP SCHEMA " + QuotedName(s.to.schema()) + " CASCADE");
  }
  s.Say(MoveStep::kDropped, "what was copied was dropped");
}

}  // namespace mox

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <map>
#include <random>
#include <set>

#include "appserver/company_server.h"
#include "mox/documents/storno.h"
#include "mox/host/memory_settings.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/how_many.h"
#include "tests/fakes/own_process.h"
#include "tests/fakes/shortened.h"

namespace mox {
namespace {

// Random days of a shop, and a model of it: plain sums in whole cents and pieces. What the company's database
// answers must be what the model has, after every day. A day that fails is shortened to the steps that
// matter.

constexpr std::int64_t kPartners = 3;
constexpr std::int64_t kArticles = 2;
const Date kDay = *MakeDate(2024, 3, 1);

enum class Act : std::uint8_t { kStock, kCashSale, kInvoice, kStorno, kPay, kImport, kUndo, kLimit, kCount };
constexpr const char* kActs[] = {"stock", "cash sale", "invoice", "storno", "pay", "import", "undo", "limit"};

struct Step {
  Act act = Act::kStock;
  std::int64_t who = 0;    // partner, article, or which document or import of those there are
  std::int64_t much = 0;   // pieces, or 5 cents
  bool otherwise = false;  // the header says another kind of pay

  std::string ToString() const {
    return std::string(kActs[static_cast<std::size_t>(act)]) + " " + std::to_string(who) + " " +
           std::to_string(much) + (otherwise ? " otherwise" : "");
  }
};
using Script = std::vector<Step>;

class Shop {
 public:
  explicit Shop(Database database) : server_(std::move(database)) {
    Database& own = server_.database();
    if (Number(own, "SELECT COUNT(*) FROM skladiste") > 0) return;
    own.Execute("INSERT INTO skladiste (sifra, naziv) VALUES ('1', 'Trgovina')");
    for (std::int64_t i = 1; i <= kPartners; ++i) {
      const std::string text = std::to_string(i);
      own.Execute("INSERT INTO par (sifra, naziv, oib, odgoda) VALUES (:sifra, :naziv, :oib, 15)",
                  {text, "Partner " + text, "1000000000" + text});
    }
    for (std::int64_t i = 1; i <= kArticles; ++i) {
      own.Execute("INSERT INTO art (sifra, naziv) VALUES (:sifra, 'Artikl')", {std::to_string(i)});
    }
  }

  Database& database() { return server_.database(); }

  // Whether the server stored it; what it says otherwise.
  bool Write(std::string_view transaction, std::initializer_list<const RecordSet*> sets) {
    return server_.WriteDataService(RequestOf(transaction, sets)) != 0;
  }
  std::string Refusal() const { return server_.WriteRefusal(); }

  // Of goods that move stock, or of a service; 4 cents a piece and 25 % of tax are 5 cents.
  bool StoreDocument(std::string_view kind, std::int64_t partner, std::int64_t article, std::int64_t pieces,
                     const char* pay) {
    const ScopedApp app({.ini = &settings_, .comunication = &server_});
    Document document(kind);
    document.SetHeader("datum", kDay);
    if (partner > 0) document.SetHeader("par_id", partner);
    if (pay != nullptr) document.SetHeader("nacin_placanja", std::string(pay));
    RecordSet* const sold = document.Goods() != nullptr ? document.Goods() : document.Services();
    if (sold == nullptr) return false;
    RecordSet& lines = *sold;
    lines.Append();
    const auto set = [&lines](const char* name, double value) {
      if (const auto field = lines.FindField(name)) lines.SetFloat(*lines.FindFieldIndex(name), value);
    };
    set("kolicina", static_cast<double>(pieces));
    for (const char* const price : {"pc", "vpc"}) set(price, 0.04);
    set("nc", 0.02);
    set("tbr_stp", 25);
    for (const char* const discount : {"rbp1", "rbp2", "rbp3"}) set(discount, 0);
    if (article > 0) lines.SetText(*lines.FindFieldIndex("sifra"), std::to_string(article));
    lines.Post();
    return document.Store();
  }
  bool Cancel(std::int64_t id) {
    const ScopedApp app({.ini = &settings_, .comunication = &server_});
    RecordSet header = MakeStornoHeader(id);
    header.Edit();
    header.SetVariant(*header.FindFieldIndex("datum"), kDay);
    header.Post();
    return StoreStorno(header);
  }
  bool Pay(std::int64_t id, Currency amount) {
    RecordSet payment = OneRecord("Uplate", "dok_id:integer,iznos:currency,datum:date", {id, amount, kDay});
    return Write("UplataInsert", {&payment});
  }
  bool Import(std::int64_t partner, Currency amount) {
    RecordSet rows =
        OneRecord("adsForDBSave",
                  "KONTO:float,SIFRA_RJ,OPIS,DATUM_PP:date,DUGUJE:float,POTRAZUJE:float,PAR_OIB,BR_DOK,"
                  "DATUM_DOK:date,DATUM_DOS:date,POZIV_NA_BR",
                  {Value(), std::string("1"), std::string("Uvoz"), kDay, amount.ToDouble(), 0.0,
                   "1000000000" + std::to_string(partner), "U" + std::to_string(++imported_), kDay, kDay,
                   std::string("1")});
    RecordSet origin = OneRecord("adsUvoz", "profil", {"OTVORENESTAVKE"});
    return Write("OtvStavkeImportInsert", {&rows, &origin});
  }
  bool Undo(std::int64_t id) {
    RecordSet request = OneRecord("adsUvoz", "id:integer", {id});
    return Write("PonistiUvoz", {&request});
  }
  bool SetLimit(std::int64_t partner, Currency limit) {
    RecordSet row = OneRecord("partneri", "sifra,limit_duga:currency", {std::to_string(partner), limit});
    return Write("KatalogUpis", {&row});
  }

  // A column of the rows of a service, by another one.
  std::map<std::string, Currency> Ask(std::string_view service, std::string_view answer, const char* by,
                                      const char* amount, bool of_a_day = false) {
    TAstaParamList request;
    for (const char* const day : {"od", "do"}) {
      if (of_a_day) request.FastAdd(day, kDay);
    }
    if (of_a_day) request.FastAdd("po", std::string("vrsta"));
    const auto answers = server_.ReportDataService(request, service);
    RecordSet rows;
    rows.CleanClone(answers->ParamByName(answer).AsDataSet());
    std::map<std::string, Currency> amounts;
    for (rows.First(); !rows.Eof(); rows.Next()) {
      amounts[rows.FieldByName(by).AsText()] += rows.FieldByName(amount).AsCurrency();
    }
    return amounts;
  }
  Currency Sum(const std::string& sql) {
    return database().Query("sum", ParseColumns("sum:currency"), sql).AsCurrency(0);
  }

 private:
  CompanyServer server_;
  MemorySettings settings_;
  int imported_ = 0;
};

// What must be so in any company's database, whatever was done to it; empty where it is.
std::string FindContradiction(Shop& shop) {
  struct Rule {
    const char* what;
    const char* sql;  // 0
  };
  constexpr Rule kRules[] = {
      {"open items are documents less payments",
       "SELECT (SELECT COALESCE(SUM(duguje - potrazuje), 0) FROM otvorene_stavke WHERE dok_id IS NOT NULL) - "
       "(SELECT COALESCE(SUM(ukupno), 0) FROM dok WHERE NOT placeno_odmah AND par_id IS NOT NULL) + "
       "(SELECT COALESCE(SUM(potrazuje), 0) FROM otvorene_stavke WHERE dok_id IS NOT NULL)"},
      {"stock is the sum of movements",
       "SELECT COUNT(*) FROM skl_stanje s WHERE s.kolicina <> (SELECT SUM(p.kolicina) FROM skl_promet p "
       "WHERE "
       "p.skl_id = s.skl_id AND p.art_id = s.art_id) OR s.vrijednost <> (SELECT SUM(p.vrijednost) FROM "
       "skl_promet p WHERE p.skl_id = s.skl_id AND p.art_id = s.art_id) OR s.kolicina < 0"},
      {"numbers have no gaps and no doubles",
       "SELECT COUNT(*) FROM (SELECT vrsta FROM dok GROUP BY vrsta, godina HAVING COUNT(DISTINCT broj) <> "
       "MAX(broj) OR COUNT(*) <> MAX(broj)) x"},
      {"documents and their stornos are 0 together",
       "SELECT COUNT(*) FROM dok d JOIN dok s ON s.stornira_id = d.id WHERE s.ukupno + d.ukupno <> 0"},
      {"headers are what their lines cost",
       "SELECT COUNT(*) FROM dok d WHERE placeno_odmah IS NOT NULL AND ROUND(ukupno, 2) <> (SELECT "
       "ROUND(SUM(s.ukupno), 2) FROM dok_stavke s WHERE s.dok_id = d.id)"}};
  for (const Rule& rule : kRules) {
    if (!shop.Sum(rule.sql).IsZero()) return rule.what;
  }
  Currency reported;
  for (const auto& [kind, amount] : shop.Ask("Izvjestaj\\Promet", "adsPromet", "vrsta", "ukupno", true)) {
    reported += amount;
  }
  if (reported != shop.Sum("SELECT COALESCE(SUM(ukupno), 0) FROM dok WHERE placeno_odmah IS NOT NULL")) {
    return "turnover is the sum of invoices";
  }
  Currency balances;
  for (const auto& [partner, amount] : shop.Ask("Izvjestaj\\Saldo", "adsSaldo", "sifra", "saldo")) {
    balances += amount;
  }
  if (balances != shop.Sum("SELECT COALESCE(SUM(duguje - potrazuje), 0) FROM otvorene_stavke")) {
    return "balances are the sum of open items";
  }
  return {};
}

class Model {
 public:
  // Does the step to both; what they disagree on, empty where nothing.
  std::string Do(const Step& step, Shop& shop) {
    const std::int64_t partner = step.who % kPartners + 1;
    const std::int64_t article = step.who % kArticles + 1;
    const Currency amount = Currency::FromScaled(step.much * 500);
    switch (step.act) {
      case Act::kStock:
        return Stored({.kind = "pocetno-stanje", .article = article, .pieces = step.much},
                      shop.StoreDocument("pocetno-stanje", 0, article, step.much, nullptr), true, shop);
      case Act::kCashSale: {
        const char* const pay = step.otherwise ? "Transakcijski račun" : nullptr;
        const Doc sale{"gotovinski-racun", partner, article, -step.much, amount, step.otherwise};
        const bool allowed = stock_[article] >= step.much && (!step.otherwise || MayOwe(partner, amount));
        return Stored(sale, shop.StoreDocument(sale.kind, partner, article, step.much, pay), allowed, shop);
      }
      case Act::kInvoice: {
        const char* const pay = step.otherwise ? "k" : nullptr;
        const Doc invoice{"racun-usluga", partner, 0, 0, amount, !step.otherwise};
        return Stored(invoice, shop.StoreDocument(invoice.kind, partner, 0, step.much, pay),
                      step.otherwise || MayOwe(partner, amount), shop);
      }
      case Act::kStorno:
        return Cancel(step, shop);
      case Act::kPay: {
        if (docs_.empty()) return {};
        const std::size_t at = static_cast<std::size_t>(step.who) % docs_.size();
        const bool allowed = docs_[at].later && !docs_[at].is_cancelled && !docs_[at].is_storno;
        if (allowed) owed_[docs_[at].partner] -= amount;
        return Agree(shop.Pay(static_cast<std::int64_t>(at) + 1, amount), allowed, shop);
      }
      case Act::kImport:
        owed_[partner] += amount;
        imports_.push_back({partner, amount});
        return Agree(shop.Import(partner, amount), true, shop);
      case Act::kUndo: {
        if (imports_.empty()) return {};
        const std::size_t at = static_cast<std::size_t>(step.who) % imports_.size();
        const bool allowed = undone_.insert(at).second;
        if (allowed) owed_[imports_[at].first] -= imports_[at].second;
        return Agree(shop.Undo(static_cast<std::int64_t>(at) + 1), allowed, shop);
      }
      default:
        limits_[partner] = amount;
        return Agree(shop.SetLimit(partner, amount), true, shop);
    }
  }

  // What the company's answers say otherwise.
  std::string Compare(Shop& shop) {
    const auto balances = shop.Ask("Izvjestaj\\Saldo", "adsSaldo", "sifra", "saldo");
    for (const auto& [partner, owed] : owed_) {
      const auto answered = balances.find(std::to_string(partner));
      const Currency balance = answered == balances.end() ? Currency() : answered->second;
      if (balance != owed)
        return "partner " + std::to_string(partner) + " owes " + balance.ToString() + ", not " +
               owed.ToString();
    }
    const auto standing = shop.Ask("StanjeSkladista", "adsStanje", "sifra", "kolicina");
    for (const auto& [article, pieces] : stock_) {
      const auto answered = standing.find(std::to_string(article));
      const Currency stands = answered == standing.end() ? Currency() : answered->second;
      if (stands != Currency::FromScaled(pieces * 10'000))
        return "of article " + std::to_string(article) + " stand " + stands.ToString() + ", not " +
               std::to_string(pieces);
    }
    return FindContradiction(shop);
  }

 private:
  struct Doc {
    const char* kind;
    std::int64_t partner = 0;
    std::int64_t article = 0;
    std::int64_t pieces = 0;  // into the warehouse
    Currency total = {};
    bool later = false;
    bool is_storno = false;
    bool is_cancelled = false;
  };

  bool MayOwe(std::int64_t partner, Currency amount) {
    const Currency limit = limits_[partner];
    return limit.IsZero() || owed_[partner] + amount <= limit;
  }

  static std::string Agree(bool stored, bool expected, const Shop& shop) {
    if (stored == expected) return {};
    return stored ? "was stored and should not be" : "was refused: " + shop.Refusal();
  }

  std::string Stored(const Doc& doc, bool stored, bool expected, const Shop& shop) {
    if (expected) {
      docs_.push_back(doc);
      stock_[doc.article] += doc.pieces;
      if (doc.later) owed_[doc.partner] += doc.total;
    }
    return Agree(stored, expected, shop);
  }

  std::string Cancel(const Step& step, Shop& shop) {
    if (docs_.empty()) return {};
    const std::size_t at = static_cast<std::size_t>(step.who) % docs_.size();
    const Doc doc = docs_[at];
    const bool expected = !doc.is_storno && !doc.is_cancelled && stock_[doc.article] - doc.pieces >= 0;
    Doc storno = doc;
    storno.kind = doc.kind == std::string_view("gotovinski-racun") ? "storno-gotovinski-racun" : doc.kind;
    storno.pieces = -doc.pieces;
    storno.total = -doc.total;
    storno.is_storno = true;
    if (expected) docs_[at].is_cancelled = true;
    return Stored(storno, shop.Cancel(static_cast<std::int64_t>(at) + 1), expected, shop);
  }

  std::vector<Doc> docs_;
  std::vector<std::pair<std::int64_t, Currency>> imports_;
  std::set<std::size_t> undone_;
  std::map<std::int64_t, Currency> owed_;
  std::map<std::int64_t, Currency> limits_;
  std::map<std::int64_t, std::int64_t> stock_;
};

Step MakeStep(std::mt19937& random) {
  return {static_cast<Act>(random() % static_cast<unsigned>(Act::kCount)),
          static_cast<std::int64_t>(random() % 97), static_cast<std::int64_t>(random() % 40 + 1),
          random() % 4 == 0};
}

// Plays the days; why one failed.
std::string Play(const Script& script, std::size_t steps_of_a_day) {
  Shop shop{Database::InMemory()};
  Model model;
  for (std::size_t i = 0; i < script.size(); ++i) {
    const std::string fault = model.Do(script[i], shop);
    if (!fault.empty()) return fault;
    const bool day_ends = (i + 1) % steps_of_a_day == 0 || i + 1 == script.size();
    if (!day_ends) continue;
    std::string contradiction = model.Compare(shop);
    if (!contradiction.empty()) return contradiction;
  }
  return {};
}

// MOX_DAYS=10000 is a longer run. A company has 50 days, so that its history stays short enough to be
// compared whole every evening.
TEST(DayModel, AnyOrderOfWorkKeepsTheSums) {
  constexpr std::int64_t kDaysOfCompany = 50;
  constexpr std::size_t kStepsOfDay = 4;
  const std::int64_t days = HowMany("MOX_DAYS", 100);
  for (std::int64_t company = 0; company * kDaysOfCompany < days; ++company) {
    std::mt19937 random(static_cast<unsigned>(company));  // NOLINT: the same days in every run
    Script script(kDaysOfCompany * kStepsOfDay);
    for (Step& step : script) step = MakeStep(random);
    if (Play(script, kStepsOfDay).empty()) continue;
    script = Shortened(std::move(script), [](const Script& fewer) { return !Play(fewer, 1).empty(); });
    std::string steps;
    for (const Step& step : script) steps += "\n  " + step.ToString();
    FAIL() << "company " << company << ": " << Play(script, 1) << " after" << steps;
  }
}

// Until it is killed.
[[noreturn]] void WorkForever(const std::string& path, unsigned seed) {
  std::mt19937 random(seed);  // NOLINT: the same steps in every run
  Shop shop{Database(path)};
  for (;;) {
    const Step step = MakeStep(random);
    const auto any = static_cast<std::int64_t>(random() % 200 + 1);
    const Currency amount = Currency::FromScaled(step.much * 500);
    const char* const pay = step.otherwise ? "Gotovina" : nullptr;
    if (step.act == Act::kStock) shop.StoreDocument("pocetno-stanje", 0, 1, step.much, nullptr);
    if (step.act == Act::kCashSale) shop.StoreDocument("gotovinski-racun", 2, 1, step.much, nullptr);
    if (step.act == Act::kInvoice) shop.StoreDocument("racun-usluga", step.who % 2 + 1, 0, step.much, pay);
    if (step.act == Act::kStorno) shop.Cancel(any);
    if (step.act == Act::kPay) shop.Pay(any, amount);
    if (step.act == Act::kImport) shop.Import(2, amount);
    if (step.act == Act::kUndo) shop.Undo(any);
  }
}

using DayModelTest = ScratchDatabase;

std::int64_t CountDocuments(const std::string& path) {
  Database database(path);
  return Number(database, "SELECT COUNT(*) FROM dok");
}

// Several programs work in one database and are killed in the middle of it, again and again.
TEST_P(DayModelTest, ProgramsAtOnceThatAreKilledKeepTheSums) {
  { Shop shop{Database(path_)}; }
  Database(path_).Execute("UPDATE par SET limit_duga = 3 WHERE id = 1");
  std::mt19937 random(5);  // NOLINT: the same steps in every run
  for (std::int64_t round = HowMany("MOX_CRASHES", 6); round > 0; --round) {
    const std::int64_t before = CountDocuments(path_);
    std::array<pid_t, 3> programs{};
    for (pid_t& program : programs) {
      program = Fork([&, seed = static_cast<unsigned>(random())] { WorkForever(path_, seed); });
    }
    constexpr int kLongest = 6000;
    for (int i = 0; i < kLongest && CountDocuments(path_) == before; ++i) ::usleep(5000);
    ::usleep(static_cast<unsigned>(random() % 200'000));
    for (const pid_t program : programs) ::kill(program, SIGKILL);
    for (const pid_t program : programs) {
      EXPECT_TRUE(WIFSIGNALED(StatusOf(program))) << "a program ended by itself";
    }
    Shop shop{Database(path_)};
    shop.database().Check();
    EXPECT_EQ(FindContradiction(shop), "") << "round " << round;
    EXPECT_LE(shop.Sum("SELECT COALESCE(SUM(duguje - potrazuje), 0) FROM otvorene_stavke WHERE par_id = 1"),
              Currency::FromScaled(30'000))
        << "the limit";
  }
  EXPECT_GE(CountDocuments(path_), HowMany("MOX_CRASHES", 6));
}

MOX_ON_EVERY_ENGINE(DayModelTest);

}  // namespace
}  // namespace mox

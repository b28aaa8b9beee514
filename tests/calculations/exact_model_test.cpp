// The riskiest calculations once more, in rational numbers and step by step as their rules say, against the
// library over random lines and documents.

#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

#include "mox/calculations/document_lines.h"
#include "mox/calculations/line_formulas.h"
#include "mox/calculations/receipt_costing.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/host/company_parameters.h"
#include "tests/calculations/line_table.h"
#include "tests/calculations/recap_members.h"
#include "tests/fakes/how_many.h"

namespace mox {
namespace {

// Of each chain and member.
std::int64_t Cases() { return HowMany("MOX_CASES", 2'000); }

using Rational = mpq_class;
using Line = std::map<std::string, Rational>;

const Rational& Decimals(int count) {
  static const std::vector<Rational> kDecimals = [] {
    std::vector<Rational> decimals = {1};
    for (int i = 0; i < 10; ++i) decimals.push_back(decimals.back() / 10);
    return decimals;
  }();
  return kDecimals.at(static_cast<std::size_t>(count));
}

// A line under calculation, and rounding without an error of its own. It remembers how near a value came to
// the point of decision.
struct Model {
  Line line;
  int d = 2;      // decimals of tax amounts
  int price = 2;  // decimals of prices
  Rational closest = 1;

  Rational& operator[](const char* name) { return line[name]; }
  Rational Nearest(const Rational& value, const Rational& unit) {
    const Rational multiples = value / unit;
    mpz_class whole;
    mpz_fdiv_q(whole.get_mpz_t(), multiples.get_num_mpz_t(), multiples.get_den_mpz_t());
    const Rational over_half = multiples - whole - Rational(1, 2);
    closest = std::min<Rational>(closest, abs(over_half) * unit);
    if (over_half > 0 || (over_half == 0 && mpz_odd_p(whole.get_mpz_t()) != 0)) ++whole;
    return whole * unit;
  }
  Rational Stored(const Rational& value) { return Nearest(value, Decimals(4)); }
  Rational Round(const Rational& value, int decimals) {
    return Stored(Nearest(value + sgn(value) * Decimals(7), Decimals(decimals)));
  }
  Rational R2(const Rational& value) { return Round(value, 2); }
  Rational Rd(const Rational& value) { return Round(value, d); }
};

// --- lines ---

void Discounts(Model& m, const char* amount) {
  m["rbi1"] = m.R2(m[amount] * m["rbp1"] / 100);
  m["rbi2"] = m.R2((m[amount] - m["rbi1"]) * m["rbp2"] / 100);
  m["rbi3"] = m.R2((m[amount] - m["rbi1"] - m["rbi2"]) * m["rbp3"] / 100);
}

template <bool IsGoods>
void CashInvoice(Model& m) {
  if (m["kolicina"] == 0) return;
  m["pci"] = m.R2(m["pc"] * m["kolicina"]);
  Discounts(m, "pci");
  Rational fee = 0;
  if (IsGoods) fee = m["pov_naki"] = m.R2(m["pov_nak"] * m["kolicina"]);
  const Rational net = m["pci"] - m["rbi1"] - m["rbi2"] - m["rbi3"];
  m["mpc"] = m.Round((net + net * m["tbr_stp"] / 100 + fee) / m["kolicina"], IsGoods ? m.price : 2);
  m["ukupno"] = m.R2(m["mpc"] * m["kolicina"]);
  m["pdvi"] = m.Rd((m["ukupno"] - fee) * m["tbr_stp"] / (m["tbr_stp"] + 100));
  m["osnovica"] = m["ukupno"] - m["pdvi"] - fee;
  m["rbi3"] += net - m["osnovica"];
  m["rabatIznos"] = m["rbi1"] + m["rbi2"] + m["rbi3"];
  m["mpci"] = m.R2(m["mpc"] * m["kolicina"]);
}

void ReceiptPurchasePrice(Model& m) {
  m["fci"] = m.R2(m["fc"] * m["kolicina"]);
  m["pov_naki"] = m.R2(m["pov_nak"] * m["kolicina"]);
  m["pot_naki"] = m.R2(m["pot_nak"] * m["kolicina"]);
  Discounts(m, "fci");
  m["nfci"] = m["fci"] - (m["rbi1"] + m["rbi2"] + m["rbi3"]) + m["pot_naki"];
  m["nci"] = m["nfci"] + m["zti"];
  if (m["kolicina"] != 0) m["nc"] = m.Round(m["nci"] / m["kolicina"], m.price);
}

void WholesaleFromMargin(Model& m) {
  ReceiptPurchasePrice(m);
  m["marza"] = m.Round(m["nci"] * m["marp"] / 100, m.price);
  m["vpci"] = m["nci"] + m["marza"];
  if (m["kolicina"] != 0) m["vpc"] = m.Round(m["vpci"] / m["kolicina"], m.price);
  const Rational difference = m.R2(m["vpci"] - m.R2(m["vpc"] * m["kolicina"]));
  m["vpci"] -= difference;
  m["marza"] -= difference;
}

void RetailFromMargin(Model& m) {
  ReceiptPurchasePrice(m);
  m["mari"] = m.Round(m["nci"] * m["marp"] / 100, m.price);
  m["mpci"] = m.R2((m["nci"] + m["mari"]) * (1 + m["tbr_stp"] / 100)) + m["pov_naki"];
  if (m["kolicina"] != 0) m["mpc"] = m.Round(m["mpci"] / m["kolicina"], m.price);
  const Rational difference = m.R2(m["mpci"] - m.R2(m["mpc"] * m["kolicina"]));
  m["mpci"] -= difference;
  m["mari"] -= m.R2(difference * 100 / (m["tbr_stp"] + 100));
  m["pdvi"] = m.Rd((m["mpci"] - m["pov_naki"]) * m["tbr_stp"] / (m["tbr_stp"] + 100));
}

void CostPurchase(RecordSet& line, int price) {
  PrimkaKalkulacija01CalcFields(line);
  calc_NC_PrimkaKalkulacija(line, price);
}

struct Chain {
  const char* name;
  void (*model)(Model&);
  void (*library)(RecordSet& line, int d, int price);
};

constexpr Chain kChains[] = {
    {"cash invoice, goods", CashInvoice<true>,
     [](RecordSet& line, int d, int) { GotovinskiRacunStavkeCalcFields(line, d); }},
    {"cash invoice, services", CashInvoice<false>,
     [](RecordSet& line, int d, int) { GotovinskiRacunUslugeCalcFields(line, d); }},
    {"wholesale price from margin", WholesaleFromMargin,
     [](RecordSet& line, int, int price) {
       CostPurchase(line, price);
       CalcVPC_Marza_PrimkaKalkulacija(line, 0, price);
     }},
    {"retail price from margin", RetailFromMargin, [](RecordSet& line, int d, int price) {
       CostPurchase(line, price);
       CalcMPC_Marza_PrimkaKalkulacija(line, 0, d, price);
     }}};

// --- recapitulations ---

// The lines of goods and of services, and the rows that come of them.
struct Document {
  std::vector<Line> goods;
  std::vector<Line> services;
  std::vector<Line> rows;
};

Line& RowOf(Document& document, const Line& key) {
  for (Line& row : document.rows) {
    if (std::all_of(key.begin(), key.end(), [&](const auto& k) { return row[k.first] == k.second; }))
      return row;
  }
  return document.rows.emplace_back(key);
}

void Add(Line& row, const Rational& base, const Rational& tax, const Rational& total) {
  row["osnovica"] += base;
  row["porez"] += tax;
  row["ukupno"] += total;
}

template <Member M>
void ByRate(Model& m, Document& document) {
  Rational carried = 0;
  for (auto* lines : {&document.goods, &document.services}) {
    const bool is_goods = lines == &document.goods;
    if (M == Member::kPovDob && !is_goods) break;
    for (Line& line : *lines) {
      const Rational rate = line["tbr_stp"];
      Rational base = line["ukupno"];
      Rational tax = 0;
      if (is_goods && M != Member::kPpom) carried = line["pov_naki"];
      if (is_goods && M != Member::kPpom && M != Member::kPovDob) carried += line["neoporezivo"];
      if (M == Member::kPovDob) tax = m.Rd(base * rate / 100);
      if (M == Member::kData || M == Member::kPpom) {
        if (M == Member::kData && is_goods) base -= carried;
        tax = m.Rd(base * rate / (rate + 100));
        base -= tax;
      }
      Add(RowOf(document, {{"stopa", rate}}), base, tax, 0);
    }
  }
  for (Line& row : document.rows) {
    if (M == Member::kIznosBezPdv) row["porez"] = row["osnovica"] * row["stopa"] / 100;
    row["porez"] = m.R2(row["porez"]);
    row["ukupno"] = row["osnovica"] + row["porez"] + carried;
  }
}

// The model counts the output-tax kinds from 0.
constexpr const char* kKinds[] = {"OPB", "OPP", "OPO", "NEO", "OSL", "???"};

template <Member M>
void SpecialProcedure(Model& m, Document& document) {
  constexpr bool margin_scheme = M == Member::kMargin;
  Rational base;
  Rational tax;
  Rational free;
  for (Line& line : document.goods) {
    const std::string_view kind = kKinds[static_cast<std::size_t>(line["vrsta"].get_d())];
    const Rational consumption = M == Member::kHotel ? line["pp_iznos"] : Rational(0);
    const Rational amount = line["ukupno"] - consumption;
    const Rational share = line["tbr_stp"] / (line["tbr_stp"] + 100);
    if (M == Member::kTravel && line["vrsta_stavke"] == 1) continue;
    if (kind == "OPB" || kind == "OPP") {
      const Rational margin = amount - line["nci"];
      tax = margin_scheme ? m.Stored(margin * share) : m.R2(margin * share);
      base = margin - tax;
      free = line["nci"];
      if (margin_scheme && base < 0 && line["ukupno"] > 0) {
        free = line["ukupno"];
        base = tax = 0;
      }
    } else if (kind == "OPO") {
      tax = m.R2(amount * share);
      base = amount - tax;
      free = 0;
    } else if (kind == "NEO" || kind == "OSL") {
      base = tax = 0;
      free = amount;
    }
    Line key = {{"stopa", line["tbr_stp"]}, {"vrsta", line["vrsta"]}};
    if (M == Member::kHotel) key["pp_stopa"] = line["pp_stopa"];
    const std::size_t rows = document.rows.size();
    Line& row = RowOf(document, key);
    Add(row, base, tax, base + free + tax + consumption);
    row["neoporezivo"] += free;
    if (M == Member::kHotel) row["pp_iznos"] += consumption;
    if (!margin_scheme) continue;
    Line rounded;
    for (const char* name : {"osnovica", "porez", "neoporezivo", "ukupno"}) {
      rounded[name] = m.R2(row[name]);
      if (rows == document.rows.size()) row[name] = rounded[name];
    }
    const Rational rest = rounded["ukupno"] - rounded["osnovica"] - rounded["porez"];
    if (rest != rounded["neoporezivo"]) row["neoporezivo"] = rest;
  }
}

struct Recapitulation {
  Member member;
  void (*model)(Model&, Document&);
};

constexpr Recapitulation kRecapitulations[] = {{Member::kData, ByRate<Member::kData>},
                                               {Member::kPpom, ByRate<Member::kPpom>},
                                               {Member::kIznosBezPdv, ByRate<Member::kIznosBezPdv>},
                                               {Member::kPovDob, ByRate<Member::kPovDob>},
                                               {Member::kMargin, SpecialProcedure<Member::kMargin>},
                                               {Member::kTravel, SpecialProcedure<Member::kTravel>},
                                               {Member::kHotel, SpecialProcedure<Member::kHotel>}};

// --- random lines and documents, and the comparison ---

// Amounts up to 10^9, most of them small; quantities and prices with up to four decimals.
class Random {
 public:
  std::int64_t Below(std::int64_t bound) {
    return static_cast<std::int64_t>(engine_() % static_cast<std::uint64_t>(bound));
  }
  bool OneIn(int chances) { return Below(chances) == 0; }

  // Draws how large the next line is, and its quantity.
  double NextQuantity() {
    price_digits_ = static_cast<int>(OneIn(4) ? Below(10) : Below(4));
    const double quantity = Decimal(static_cast<int>(Below(std::min(5, 10 - price_digits_))));
    return quantity_ = OneIn(20) ? 0 : OneIn(5) ? -quantity : quantity;
  }
  Currency Price() {
    const double price = Decimal(price_digits_);
    return Currency::FromReal(OneIn(30) ? -price : price);
  }
  Currency AmountOfLine() { return Currency::FromReal(Price().ToDouble() * quantity_); }
  double Rate() {
    static constexpr double kRates[] = {0, 5, 10, 13, 17, 22, 23, 25, 12.345};
    return kRates[Below(std::ssize(kRates))];
  }
  double Percent() {
    const double percent = OneIn(2) ? static_cast<double>(Below(101)) : Decimal(OneIn(3) ? 3 : 2);
    return OneIn(6) ? -percent : OneIn(6) ? 0 : percent;
  }

 private:
  // With at most so many digits before the point.
  double Decimal(int digits) {
    const std::int64_t bound = static_cast<std::int64_t>(std::pow(10, digits));
    const auto unit = static_cast<std::int64_t>(std::pow(10, Below(5)));
    return static_cast<double>(Below(bound * unit)) / static_cast<double>(unit);
  }

  std::mt19937_64 engine_{20'230'101};
  int price_digits_ = 0;
  double quantity_ = 0;
};

Rational Exact(const Value& value) {
  if (const auto* amount = std::get_if<Currency>(&value)) {
    return Rational(amount->scaled()) / Currency::kScale;
  }
  if (const auto* number = std::get_if<double>(&value)) return Rational(*number);
  return 0;
}

// What the current record holds other than the model.
std::string Differences(RecordSet& records, const Line& line) {
  std::string text;
  for (const auto& [name, exact] : line) {
    const Field field = records.FieldByName(name);
    const Value value = field.AsVariant();
    bool same = Exact(value) == exact;
    if (name == "vrsta") same = field.AsText() == kKinds[static_cast<std::size_t>(exact.get_d())];
    if (!same) text += " " + name + " " + Show(value) + " instead of " + exact.get_str();
  }
  return text;
}

// Runs the cases of a chain. Those that come too near to a decision for any finite precision are left out.
void ExpectNoDifferences(const std::string& chain,
                         const std::function<std::string(Random&, Model&)>& differences) {
  Random random;
  std::int64_t skipped = 0;
  const std::int64_t cases = Cases();
  for (std::int64_t i = 0; i < cases; ++i) {
    Model m;
    m.d = static_cast<int>(2 + random.Below(3));
    m.price = static_cast<int>(2 + random.Below(3));
    const std::string found = differences(random, m);
    if (m.closest < Decimals(10)) {
      ++skipped;
    } else {
      ASSERT_EQ(found, "") << chain << ", case " << i;
    }
  }
  EXPECT_LE(skipped * 100, cases) << chain;
}

void Give(RecordSet& lines, Line& copy, const std::string& name, const Value& value) {
  lines.FieldByName(name).SetVariant(value);
  copy[name] = Exact(value);
}

TEST(ExactModel, Lines) {
  TestHost host;
  RecordSet structure;
  for (const VocabularyEntry& entry : kVocabulary) structure.DefineField(entry.name, entry.kind);
  structure.Open();
  for (const Chain& chain : kChains) {
    ExpectNoDifferences(chain.name, [&](Random& random, Model& m) {
      host.settings.WriteInteger("GENERAL", "PC_CALC_DIGIT", m.price);
      RecordSet line;
      line.CleanClone(structure);
      line.Append();
      Give(line, m.line, "kolicina", random.NextQuantity());
      for (const char* name : {"pc", "fc", "nc", "vpc", "mpc", "pov_nak", "pot_nak"}) {
        Give(line, m.line, name, random.Price());
      }
      for (const char* name : {"rbp1", "rbp2", "rbp3", "marp"}) Give(line, m.line, name, random.Percent());
      Give(line, m.line, "zti", random.AmountOfLine());
      Give(line, m.line, "tbr_stp", random.Rate());
      chain.model(m);
      chain.library(line, m.d, m.price);
      return Differences(line, m.line);
    });
  }
}

// Lines of a document, with a few rates among them; now and then many of both.
std::vector<Line> GiveLines(Random& random, RecordSet& lines) {
  std::vector<Line> copies;
  const double rates[] = {random.Rate(), random.Rate(), random.Rate()};
  const bool is_long = random.OneIn(200);
  for (std::int64_t i = is_long ? 80 : random.Below(6); i > 0; --i) {
    Line& copy = copies.emplace_back();
    lines.Append();
    random.NextQuantity();
    for (const char* name : {"ukupno", "nci", "pov_naki", "neoporezivo", "pp_iznos"}) {
      Give(lines, copy, name, random.Price());
    }
    Give(lines, copy, "tbr_stp", is_long ? static_cast<double>(random.Below(40)) : rates[random.Below(3)]);
    Give(lines, copy, "pp_stopa", static_cast<double>(random.Below(2)));
    Give(lines, copy, "vrsta_stavke", static_cast<double>(random.Below(3)));
    const std::int64_t kind = random.Below(std::ssize(kKinds));
    Give(lines, copy, "kind", kKinds[kind]);
    Give(lines, copy, "shown", kKinds[kind]);
    copy["vrsta"] = kind;
    lines.Post();
  }
  return copies;
}

TEST(ExactModel, Recapitulations) {
  const TestHost host;
  const char* const fields =
      "ukupno nci pov_naki neoporezivo pp_iznos tbr_stp pp_stopa vrsta_stavke kind shown";
  for (const auto& [member, model] : kRecapitulations) {
    RecordSet goods = Records(fields);
    RecordSet services = Records(fields);
    RecordSet recap = Records("osnovica porez stopa oznaka_stope ukupno neoporezivo pp_iznos pp_stopa vrsta");
    ExpectNoDifferences("recapitulation " + std::to_string(static_cast<int>(member)),
                        [&, member = member, model = model](Random& random, Model& m) {
                          for (RecordSet* const records : {&goods, &services, &recap}) records->Clear();
                          Document document{GiveLines(random, goods), GiveLines(random, services), {}};
                          model(m, document);
                          Fill(member, goods, services, recap, m.d);
                          std::string differences =
                              recap.RecordCount() == document.rows.size() ? "" : " the count of rows";
                          recap.First();
                          for (const Line& row : document.rows) {
                            differences += Differences(recap, row);
                            recap.Next();
                          }
                          return differences;
                        });
  }
}

// The totals of a supplier's document, by either edition's rule.
void SupplierTotals(Model& m, std::vector<Line>& lines, bool bosnian, const std::string& kind) {
  const std::vector<std::string> rates = bosnian
                                             ? std::vector<std::string>{"10", "17"}
                                             : std::vector<std::string>{"5", "10", "13", "22", "23", "25"};
  const bool untaxed = kind == "RU" || (kind == "OK" && !bosnian);
  const int digits = bosnian ? 2 : m.d;
  m["roba_0"] = m["pov_nak"] = 0;
  for (const std::string& rate : rates) m[("roba_" + rate).c_str()] = m[("pdv_" + rate).c_str()] = 0;
  for (Line& line : lines) {
    const auto rate = std::find_if(rates.begin(), rates.end(), [&](const std::string& listed) {
      return line["tbr_stp"] == Rational(listed);
    });
    m[rate == rates.end() ? "roba_0" : ("roba_" + *rate).c_str()] += line["nfci"];
    if (untaxed) continue;
    if (rate != rates.end()) {
      m[("pdv_" + *rate).c_str()] += m.Round(line["nfci"] * line["tbr_stp"] / 100, digits);
    }
    m["pov_nak"] += m.R2(line["pov_nak"] * line["kolicina"]);
  }
  if (bosnian) return;
  for (const std::string& rate : rates) m[("pdv_" + rate).c_str()] = m.R2(m[("pdv_" + rate).c_str()]);
  m["pov_nak"] = m.R2(m["pov_nak"]);
}

TEST(ExactModel, SupplierTotals) {
  CompanyParameterModule company;
  const ScopedApp app({.comunication = &company});
  static constexpr double kRates[] = {0, 5, 10, 13, 17, 22, 23, 25, 12.5};
  for (const bool bosnian : {false, true}) {
    ExpectNoDifferences(bosnian ? "Bosnian totals" : "totals", [&](Random& random, Model& m) {
      RecordSet lines = Records("kolicina nfci tbr_stp pov_nak");
      std::vector<Line> copies;
      for (std::int64_t i = random.Below(8); i > 0; --i) {
        Line& copy = copies.emplace_back();
        lines.Append();
        Give(lines, copy, "kolicina", random.NextQuantity());
        for (const char* name : {"nfci", "pov_nak"}) Give(lines, copy, name, random.Price());
        Give(lines, copy, "tbr_stp", kRates[random.Below(std::ssize(kRates))]);
        lines.Post();
      }
      static constexpr const char* kKindsOfSuppliers[] = {"UR", "UR", "RU", "OK"};
      const std::string kind = kKindsOfSuppliers[random.Below(std::ssize(kKindsOfSuppliers))];
      SupplierTotals(m, copies, bosnian, kind);
      RecordSet header = bosnian ? MakeDocDobavljacaBIH() : MakeDocDobavljaca();
      if (bosnian) {
        CalcDocDobavljacaBIH(DocDobavljacaBIHFieldsOf(header), lines, kind);
      } else {
        CalcDocDobavljaca(DocDobavljacaFieldsOf(header), lines, kind, m.d);
      }
      return Differences(header, m.line);
    });
  }
}

}  // namespace
}  // namespace mox

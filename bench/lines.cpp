#include "bench/lines.h"

#include <random>
#include <string>
#include <type_traits>

#include "mox/foundation/rounding.h"

namespace mox::bench {
namespace {

struct Article {
  const char* naziv;
  const char* jm;
  double tbr_stp;
  const char* oznaka;
};

constexpr Article kArticles[] = {
    {"Kruh bijeli 500 g", "KOM", 5, "PDV5"},
    {"Mlijeko 2,8% 1 l", "KOM", 5, "PDV5"},
    {"Jogurt čvrsti 180 g", "KOM", 13, "PDV13"},
    {"Sir polutvrdi", "KG", 13, "PDV13"},
    {"Kava mljevena 250 g", "KOM", 25, "PDV25"},
    {"Voda negazirana 1,5 l", "BOC", 25, "PDV25"},
    {"Pivo svijetlo 0,5 l", "BOC", 25, "PDV25"},
    {"Sok od naranče 1 l", "BOC", 25, "PDV25"},
    {"Jabuka Idared", "KG", 5, "PDV5"},
    {"Krumpir mladi", "KG", 5, "PDV5"},
    {"Ulje suncokretovo 1 l", "KOM", 25, "PDV25"},
    {"Šećer kristal 1 kg", "KOM", 13, "PDV13"},
    {"Brašno T-550 1 kg", "KOM", 25, "PDV25"},
    {"Vijak M8x40 pocinčani", "KOM", 25, "PDV25"},
    {"Čekić 500 g", "KOM", 25, "PDV25"},
    {"Kabel PP-Y 3x1,5", "M", 25, "PDV25"},
    {"Žarulja LED 9 W", "KOM", 25, "PDV25"},
    {"Boja zidna bijela", "L", 25, "PDV25"},
    {"Cement CEM II 25 kg", "VRE", 25, "PDV25"},
    {"Knjiga, meki uvez", "KOM", 5, "PDV5"},
    {"Deterdžent 3 kg", "KOM", 25, "PDV25"},
    {"Papir A4 80 g", "PAK", 25, "PDV25"},
    {"Poštarina, univerzalna", "KOM", 0, "OSL"},
    {"Dječja hrana 125 g", "KOM", 5, "PDV5"},
};

class LineMaker {
 public:
  PlainLine Make(std::int64_t id) {
    PlainLine line;
    line.id = id;
    SetArticle(line);
    line.kolicina = Chance(70) ? Pick(12) + 1 : (Pick(4'950) + 50) / 1'000.0;
    if (Chance(2)) line.kolicina = -line.kolicina;
    line.pc = Currency::FromScaled((Chance(5) ? Pick(200'000) : Pick(5'000) + 15) * 100);
    if (Chance(20)) line.pc += Currency::FromScaled(Pick(100));
    line.rbp1 = Chance(40) ? 5 * (Pick(4) + 1) : 0;
    line.rbp2 = Chance(10) ? 3 : 0;
    line.rbp3 = Chance(3) ? 2 : 0;
    if (Chance(8)) line.pov_nak = Currency::FromScaled(700);
    if (Chance(1)) line.neoporezivo = Currency::FromScaled(5'000);
    SetPurchase(line);
    return line;
  }

 private:
  // Not a standard distribution, whose numbers differ from library to library.
  int Pick(unsigned count) { return static_cast<int>(random_() % count); }
  bool Chance(int percent) { return Pick(100) < percent; }

  void SetArticle(PlainLine& line) {
    const int number = Pick(5'000);
    const Article& article = kArticles[static_cast<std::size_t>(number) % std::size(kArticles)];
    line.sifra = std::to_string(100'000 + number);
    line.naziv = article.naziv;
    line.jm = article.jm;
    line.tbr_stp = article.tbr_stp;
    line.oznaka = article.oznaka;
  }

  static void SetPurchase(PlainLine& line) {
    line.nc = R2(line.pc * 0.7);
    line.nci = R2(line.nc * line.kolicina);
    line.vpc = line.pc;
    line.vpci = R2(line.vpc * line.kolicina);
    line.marza = line.vpci - line.nci;
    if (!line.nci.IsZero()) line.marp = (Amount(line.marza) / line.nci * 100).ToDouble();
  }

  std::mt19937 random_{20'230'101};
};

}  // namespace

FieldKind Column::Kind() const {
  return std::visit(
      []<typename T>(T PlainLine::*) {
        if constexpr (std::is_same_v<T, std::int64_t>) return FieldKind::kInteger;
        if constexpr (std::is_same_v<T, double>) return FieldKind::kFloat;
        if constexpr (std::is_same_v<T, Currency>) return FieldKind::kCurrency;
        return FieldKind::kText;
      },
      member);
}

Value Column::ValueOf(const PlainLine& line) const {
  return std::visit(
      [&](auto pointer) -> Value {
        const auto& value = line.*pointer;
        if constexpr (requires { value.view(); }) {
          return std::string(value.view());
        } else {
          return value;
        }
      },
      member);
}

const std::array<Column, kColumnCount>& Columns() {
#define COLUMN(name) \
  { #name, &PlainLine::name }
#define CALCULATED(name) \
  { #name, &PlainLine::name, true }
  static constexpr std::array<Column, kColumnCount> columns = {{
      COLUMN(id),          COLUMN(sifra),
      COLUMN(naziv),       COLUMN(jm),
      COLUMN(kolicina),    COLUMN(pc),
      CALCULATED(pci),     COLUMN(rbp1),
      CALCULATED(rbi1),    COLUMN(rbp2),
      CALCULATED(rbi2),    COLUMN(rbp3),
      CALCULATED(rbi3),    CALCULATED(rabatIznos),
      CALCULATED(mpc),     CALCULATED(mpci),
      COLUMN(pov_nak),     CALCULATED(pov_naki),
      COLUMN(neoporezivo), CALCULATED(osnovica),
      COLUMN(tbr_stp),     COLUMN(oznaka),
      CALCULATED(pdvi),    CALCULATED(ukupno),
      COLUMN(nc),          COLUMN(nci),
      COLUMN(vpc),         COLUMN(vpci),
      COLUMN(marza),       COLUMN(marp),
  }};
#undef CALCULATED
#undef COLUMN
  return columns;
}

std::vector<PlainLine> MakeLines(std::size_t count) {
  LineMaker maker;
  std::vector<PlainLine> lines;
  lines.reserve(count);
  for (std::size_t i = 0; i < count; ++i) lines.push_back(maker.Make(static_cast<std::int64_t>(i + 1)));
  return lines;
}

RecordSet MakeRecordSet(std::span<const PlainLine> lines) {
  RecordSet set("stavke");
  for (const Column& column : Columns()) {
    set.DefineField(FieldDef{.name = column.name,
                             .kind = column.Kind(),
                             .size = column.Kind() == FieldKind::kText ? std::size_t{50} : 0,
                             .calculated = column.calculated});
  }
  set.Open();
  std::vector<Value> values(kColumnCount);
  for (const PlainLine& line : lines) {
    std::transform(Columns().begin(), Columns().end(), values.begin(),
                   [&](const Column& column) { return column.ValueOf(line); });
    set.AppendRecord(values);
  }
  return set;
}

}  // namespace mox::bench

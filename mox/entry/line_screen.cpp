#include "mox/entry/line_screen.h"

#include <algorithm>
#include <string>

#include "mox/foundation/precision.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

struct Caption {
  std::string_view field;
  std::string_view text;
};

constexpr Caption kCaptions[] = {
    {"sifra", "Šifra"},
    {"naziv", "Naziv"},
    {"jm", "JM"},
    {"kolicina", "Količina"},
    {"nc", "Nabavna cijena"},
    {"nci", "Nabavni iznos"},
    {"fc", "Fakturna cijena"},
    {"fci", "Fakturni iznos"},
    {"nfci", "Neto fakturni iznos"},
    {"zti", "Zavisni troškovi"},
    {"vpc", "VPC"},
    {"vpci", "VPC iznos"},
    {"nvpc", "Nova VPC"},
    {"nvpci", "Nova VPC iznos"},
    {"mpc", "MPC"},
    {"mpci", "MPC iznos"},
    {"mpcv", "MPC vikend"},
    {"mpci_v", "MPC vikend iznos"},
    {"rbi1_v", "Rabat 1 vikend"},
    {"vpci_v", "VPC vikend iznos"},
    {"pdvi_v", "PDV vikend"},
    {"ukupno_v", "Ukupno vikend"},
    {"pc", "Cijena"},
    {"pci", "Iznos"},
    {"pc_int", "Interna cijena"},
    {"pci_int", "Interni iznos"},
    {"rbp1", "Rabat 1 %"},
    {"rbp2", "Rabat 2 %"},
    {"rbp3", "Rabat 3 %"},
    {"rbi1", "Rabat 1"},
    {"rbi2", "Rabat 2"},
    {"rbi3", "Rabat 3"},
    {"rabatiznos", "Rabat ukupno"},
    {"popust", "Popust %"},
    {"popust_iznos", "Popust"},
    {"tbr_stp", "PDV %"},
    {"pdvi", "PDV"},
    {"osnovica", "Osnovica"},
    {"porez", "Porez"},
    {"stopa", "Stopa %"},
    {"oznaka_stope", "Stopa"},
    {"ukupno", "Ukupno"},
    {"pov_nak", "Povratna naknada"},
    {"pov_naki", "Povratna naknada ukupno"},
    {"pot_nak", "Poticajna naknada"},
    {"pot_naki", "Poticajna naknada ukupno"},
    {"pdvi_dob", "PDV dobavljača"},
    {"uk_dob", "Ukupno dobavljač"},
    {"osnovicaroba", "Osnovica robe"},
    {"osnovicausluge", "Osnovica usluga"},
    {"pdviroba", "PDV robe"},
    {"pdviusluge", "PDV usluga"},
    {"marza", "Marža"},
    {"mari", "Marža"},
    {"marp", "Marža %"},
    {"razlika", "Razlika"},
    {"normativ", "Normativ"},
    {"normativ_izn", "Normativ iznos"},
    {"datum", "Datum"},
    {"datum_isporuke", "Isporuka"},
    {"datum_dospijeca", "Dospijeće"},
    {"par_id", "Partner"},
    {"par_naziv", "Partner"},
    {"skl_id", "Skladište"},
    {"nacin_placanja", "Način plaćanja"},
    {"poziv_na_br", "Poziv na broj"},
    {"opis", "Opis"},
    {"user_id", "Korisnik"},
    {"broj_dok_dob", "Broj dok. dobavljača"},
    {"datum_dok_dob", "Datum dok. dobavljača"},
    {"vrsta_dok_dob", "Vrsta dok. dobavljača"},
    {"vrsta", "Vrsta"},
    {"godina", "Godina"},
    {"broj", "Broj"},
    {"placeno", "Plaćeno"},
    {"dokumenata", "Dokumenata"},
    {"naknade", "Naknade"},
    {"gotovina", "Gotovina"},
    {"bezgotovinski", "Bezgotovinski"},
    {"strana", "Strana"},
    {"pocetno", "Početno"},
    {"duguje", "Duguje"},
    {"potrazuje", "Potražuje"},
    {"saldo", "Saldo"},
    {"skl_naziv", "Skladište"},
    {"ulaz", "Ulaz"},
    {"izlaz", "Izlaz"},
    {"stanje", "Stanje"},
    {"vrijednost", "Vrijednost"},
    {"id", "Broj"},
    {"vrijeme", "Vrijeme"},
    {"korisnik", "Korisnik"},
    {"profil", "Profil"},
    {"datoteka", "Datoteka"},
    {"redaka", "Redaka"},
    {"tablica", "Tablica"},
    {"ponisteno", "Poništeno"},
    {"ponistio", "Poništio"},
    {"otvoreno", "Otvoreno"},
};

constexpr std::string_view kAmountMask = "#,0.00;-#,0.00";
constexpr std::string_view kPercentMask = "0.####";

std::string MaskOf(const FieldDef& field) {
  const VocabularyEntry* const known = FindVocabularyEntry(field.name);
  if (known == nullptr) return field.kind == FieldKind::kCurrency ? std::string(kAmountMask) : std::string();
  switch (known->measure) {
    case Measure::kQuantity:
    case Measure::kNumber:
      return GetKolFormat();
    case Measure::kPercent:
      return std::string(kPercentMask);
    case Measure::kPrice:
      if (SameName(field.name, "nc")) return GetFieldDisplayFormat(GetNcCalcDigit());
      if (SameName(field.name, "fc")) return GetFieldDisplayFormat(GetFcCalcDigit());
      return GetFieldDisplayFormat(GetPcCalcDigit());
    case Measure::kAmount:
      return std::string(kAmountMask);
    default:
      return {};
  }
}

}  // namespace

std::string_view CaptionOf(std::string_view field) {
  const auto* const found = std::find_if(std::begin(kCaptions), std::end(kCaptions),
                                         [field](const Caption& c) { return SameName(c.field, field); });
  return found == std::end(kCaptions) ? field : found->text;
}

void PrepareLinesForScreen(RecordSet& lines) {
  for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
    const FieldDef field = lines.Definition(i);
    lines.SetDisplayName(i, std::string(CaptionOf(field.name)));
    const std::string mask = MaskOf(field);
    if (!mask.empty()) lines.SetDisplayFormat(i, mask);
    if (SameName(field.name, "naziv")) lines.SetRequired(i, true);
  }
}

std::vector<std::string_view> LineFieldsForScreen(const LineSchema& schema) {
  std::vector<std::string_view> fields = {"sifra", "naziv", "jm"};
  const auto add = [&fields](std::string_view names) {
    for (const std::string_view name : SplitNames(names)) {
      const bool known = std::any_of(fields.begin(), fields.end(),
                                     [name](std::string_view other) { return SameName(other, name); });
      if (!known) fields.push_back(name);
    }
  };
  add(schema.inputs);
  const std::vector<std::string_view> calculated = SplitNames(schema.calculated);
  if (std::find(calculated.begin(), calculated.end(), "ukupno") != calculated.end()) add("ukupno");
  add(schema.calculated);
  return fields;
}

void BecomeLineOfService(RecordSet& services, const RecordRow& service) {
  constexpr std::string_view kTaken[][2] = {
      {"sifra", "sifra"}, {"naziv", "naziv_hrv"}, {"tbr_stp", "tbr"}, {"pc", "pc"}, {"mpc", "mpc"}};
  for (const auto& [field, from] : kTaken) {
    const auto to = services.FindFieldIndex(field);
    const auto source = service.FindFieldIndex(from);
    if (!to || !source || services.Definition(*to).calculated) continue;
    services.SetVariant(*to, service.AsVariant(*source));
  }
}

}  // namespace mox

#include "appserver/import_journal.h"

// What becomes of the rows that the import grid sends: a row of a table for each, in which the keys of other
// tables' rows stand for the texts that name them. A field that is not mentioned goes to the column of its
// name.

namespace mox {
namespace {

NamedTransaction Import(std::string_view name, std::string_view summary, std::string_view table,
                        std::vector<KeyRule> keys = {}, std::vector<FieldRule> fields = {},
                        std::string_view update_by = {}) {
  TableRule rule = {.table = table,
                    .keys = std::move(keys),
                    .fields = std::move(fields),
                    .ignored = {"V_TEMP", "VALIDACIJA", "ERR_MSG"},
                    .blank_is_null = true,
                    .update_by = update_by};
  return {name,
          summary,
          {{kImportedRows, std::move(rule)}, {.name = kImportOrigin, .table = {"uvoz"}, .required = false}},
          StoreImport};
}

// A row that one text or number names.
KeyRule Key(std::string_view column, std::string_view table, std::string_view matched,
            std::string_view field) {
  return {column, table, {{matched, field}}};
}

// A post code, a place or both; of places with the same of them the first one that was stored.
KeyRule Place(std::string_view column, std::string_view ptt, std::string_view name) {
  return {column, "mjesto", {{"ptt", ptt}, {"naziv", name}}, "t.id"};
}

// A place without its post code, which is rather one of the row's own country.
KeyRule PlaceInCountry(std::string_view column, std::string_view name, std::string_view country) {
  return {.column = column,
          .table = "mjesto",
          .parts = {{"naziv", name}, {"d.oznaka", country, Fit::kPreferred}},
          .first_by = "t.id",
          .join = "LEFT JOIN drzave d ON d.id = t.drzava_id"};
}

KeyRule Country(std::string_view column, std::string_view field) {
  return Key(column, "drzave", "oznaka", field);
}

// A rate of Croatia before those of other countries, one in force before former ones.
KeyRule TaxRate() {
  return {"tbr_id",
          "tbr",
          {{"stopa", "TBR"}},
          "CASE WHEN t.drzava_id = (SELECT h.id FROM drzave h WHERE h.oznaka = 'HR') THEN 0 ELSE 1 END, "
          "CASE WHEN t.vrijedi_do IS NULL THEN 0 ELSE 1 END, t.vrijedi_od DESC, t.id"};
}

// Groups of articles within those above them.
KeyRule Subgroup() {
  return {.column = "podvrsta_id",
          .table = "podvrsta",
          .parts = {{"naziv", "PODGRUPA"}, {"v.naziv", "GRUPA", Fit::kSameOrNone}},
          .first_by = "t.id",
          .join = "LEFT JOIN vrsta v ON v.id = t.vrsta_id"};
}
KeyRule Subgroup2() {
  return {.column = "podgrupa2_id",
          .table = "podgrupa2",
          .parts = {{"naziv", "PODGRUPA2"},
                    {"p.naziv", "PODGRUPA", Fit::kSameOrNone},
                    {"v.naziv", "GRUPA", Fit::kSameOrNone}},
          .first_by = "t.id",
          .join = "LEFT JOIN podvrsta p ON p.id = t.podvrsta_id LEFT JOIN vrsta v ON v.id = p.vrsta_id"};
}

const std::vector<KeyRule> kPartnerKeys = {
    Place("mjesto_id", "PTT", "MJESTO"), Country("drzava_id", "DRZAVA"),
    Key("valuta_id", "valuta", "oznaka", "VALUTA"),
    Key("komercijalist_id", "komercijalist", "naziv", "KOMERCIJALIST")};

const std::vector<FieldRule> kPartnerFields = {{.field = "LIMIT_DUGA", .when_blank = Currency()},
                                               {.field = "tuzen", .when_blank = false},
                                               {.field = "DENY_IN_DOC", .when_blank = false},
                                               {.field = "DENY_OUT_DOC", .when_blank = false},
                                               {.field = "AKTIVAN", .when_blank = true}};

const NamedTransaction kTransactions[] = {
    // --- partners, places, employees ---

    Import("ParImportInsertPTTMje", "stores partners", "par", kPartnerKeys, kPartnerFields),
    Import("ParImportInsertPTTMjeOPZ", "stores partners with personal numbers", "par", kPartnerKeys,
           kPartnerFields),
    Import("ParUpdateEracunMail", "sets the e-invoice mail address of all partners with a personal number",
           "par", {}, {{"EMAIL", "email_eracun"}}, "OIB"),
    Import("MjestaImportInsert", "stores places", "mjesto", {Country("drzava_id", "DRZAVA")}),
    Import("KupciLunariImportInsert", "stores retail customers", "lunari_kupci",
           {PlaceInCountry("mjesto_id", "MJESTO", "DRZAVA"), Country("drzava_id", "DRZAVA")}),
    Import("ZaposleniciImportInsert", "stores employees", "zaposlenik",
           {Place("mjesto_rod_id", "PTT_MJE_ROD", "MJESTO_ROD"),
            Place("mjesto_osobna_id", "PTT_OSOBNA", "MJESTO_OSOBNA"),
            Place("mjesto_knjizica_id", "PTT_KNJIZICA", "MJESTO_KNJIZICA"),
            Place("mjesto_stanovanje_id", "PTT_STANOVANJE", "MJESTO_STANOVANJE"),
            Key("banka_id", "banke", "naziv", "BANKA"),
            Key("putni_trosak_naknada_id", "naknada_place", "naziv", "PUTNI_TROSAK_NAKNADA_NAZIV"),
            Key("radno_mjesto_id", "radno_mjesto", "naziv", "RADNO_MJESTO")},
           {{.field = "AKTIVAN", .when_blank = true}}),

    // --- articles and services ---

    Import("ArtikliImportInsert", "stores articles", "art",
           {Key("jm_id", "jm", "naziv", "JM"),
            TaxRate(),
            Key("vrsta_id", "vrsta", "naziv", "GRUPA"),
            Subgroup(),
            Subgroup2(),
            Key("rabatna_grupa_id", "rabatne_grupe", "naziv", "RABAT"),
            Key("car_tar_br_id", "car_tar_br", "sifra", "CAR_TAR_BR"),
            Key("drzava_porijekla_id", "drzave", "naziv", "DRZAVA_PORIJEKLA"),
            {.column = "dobavljac_id",
             .table = "par",
             .parts = {{"sifra", "SIFRA_DOBAVLJACA"}},
             .may_be_unknown = true}},
           {{.field = "VAGA", .when_blank = false, .yes_or_no = true},
            {.field = "KONSIGNACIJA", .when_blank = false, .yes_or_no = true},
            {.field = "NAKNADA", .when_blank = false, .yes_or_no = true},
            {"USER", "korisnik"},
            {"SIFRA_DOBAVLJACA"}}),
    Import("ArtDobImportInsert", "stores suppliers' codes and names of articles", "art_dob",
           {Key("art_id", "art", "sifra", "SIFRA_ARTIKLA_RF"),
            Key("dobavljac_id", "par", "sifra", "SIFRA_DOBAVLJACA")}),
    Import("KonverzijaArtikalaLunariImportInsert", "stores retail articles", "lunari_artikli",
           {Key("jm_id", "jm", "naziv", "JM")}),
    Import("UpdateArtikalaLunariImportInsert", "changes retail articles by their bar codes", "lunari_artikli",
           {Key("jm_id", "jm", "naziv", "JM")}, {}, "BARCODE"),
    Import(
        "UslugeIPrijevodiImportInsert", "stores services with their translated names", "usluge",
        {Key("grupa_usl_id", "grupa_usl", "naziv", "GRUPA"), Key("konto_id", "fin_kto", "konto", "KONTO")}),

    // --- accommodation ---

    Import("SmjestajnaJedImportInsert", "stores accommodation units", "apo_smjestajna_jedinica",
           {Place("mjesto_id", "PTT", "MJESTO")}),
    Import("ResursImportInsert", "stores resources of accommodation units", "resurs",
           {Key("apo_smjestajna_jedinica_id", "apo_smjestajna_jedinica", "naziv", "NAZIV"),
            Key("par_id", "par", "naziv", "NAZIV_PAR")},
           {{"NAZIV"}}),
    Import("ResursBezLookupImportInsert", "stores resources as they are written", "resurs"),
    Import("GostiHotelImportInsert", "stores hotel guests", "apo_fizickeosobeatributi",
           {PlaceInCountry("mjesto_id", "MJESTO", "DRZAVA"), Country("drzava_id", "DRZAVA"),
            PlaceInCountry("mjesto_rod_id", "MJESTO_ROD", "DRZAVA_ROD"),
            Country("drzava_rod_id", "DRZAVA_ROD"), Country("drzavljanstvo_id", "DRZAVA_DRZAVLJANSTVO")},
           {{"BROJ_ISPRAVE", "brojputneisprave"}}),
    Import("PutniciGrupaImportInsert", "stores travellers of group bookings", "apo_putnici",
           {Key("grupa_rezervacije_id", "apo_gruperezervacije", "broj", "BROJ_GR"),
            Country("drzava_id", "DRZAVA"), PlaceInCountry("mjesto_id", "MJESTO", "DRZAVA"),
            Country("drzava_rod_id", "DRZAVA_ROD"), Country("drzavljanstvo_id", "DRZAVLJANSTVO")}),
    Import("APOUplateImportInsert", "stores payments against contracts", "apo_uplate"),

    // --- accounting and fixed assets ---

    Import("VrsteKnjizenjaImportInsert", "stores booking types", "fin_vr_k"),
    Import("KontniPlanImportInsert", "stores accounts", "fin_kto"),
    Import("TemeljnicaImportInsert", "stores lines of journal vouchers", "fin_temeljnica_stavke",
           {Key("konto_id", "fin_kto", "konto", "KONTO"), Key("skl_id", "skladiste", "sifra", "SIFRA_RJ"),
            Key("vrsta_knjizenja_id", "fin_vr_k", "sifra", "VR_KNJ")}),
    Import("OtvStavkeImportInsert", "stores open items of partners", "otvorene_stavke",
           {Key("konto_id", "fin_kto", "konto", "KONTO"),
            Key("skl_id", "skladiste", "sifra", "SIFRA_RJ"),
            {"par_id", "par", {{"oib", "PAR_OIB"}, {"naziv", "PAR_NAZIV"}}}}),
    Import("OsnSredstvaImportInsert", "stores fixed assets", "osr_osnovna_sredstva",
           {Key("jm_id", "jm", "naziv", "JM"), Key("sku_dug_imv_id", "osr_sku_dug_imv", "sifra", "GRP_AM"),
            Key("gr_dug_imv_id", "osr_gr_dug_imv", "naziv", "GRP_KTO"),
            Key("mje_smj_id", "osr_mje_smj", "sifra", "SMJESTAJ"),
            Key("zaposlenik_id", "zaposlenik", "sifra", "SIFRA_ZAP"), Key("par_id", "par", "naziv", "PAR")}),
};

}  // namespace

std::span<const NamedTransaction> ImportTransactionTable() { return kTransactions; }

}  // namespace mox

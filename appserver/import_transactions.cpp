#include "appserver/import_transactions.h"

#include "appserver/import_journal.h"
#include "appserver/key_rules.h"

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
          Right::kImports,
          summary,
          {{kImportedRows, std::move(rule)},
           {kImportOrigin, {"uvoz"}, false, "profil,korisnik,datoteka,sazetak,ponovno:boolean"}},
          StoreImport};
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
  return NamedRow(column, "drzave", "oznaka", field);
}

const std::vector<KeyRule> kPartnerKeys = {
    Place("mjesto_id", "PTT", "MJESTO"), Country("drzava_id", "DRZAVA"),
    NamedRow("valuta_id", "valuta", "oznaka", "VALUTA"),
    NamedRow("komercijalist_id", "komercijalist", "naziv", "KOMERCIJALIST")};

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
            NamedRow("banka_id", "banke", "naziv", "BANKA"),
            NamedRow("putni_trosak_naknada_id", "naknada_place", "naziv", "PUTNI_TROSAK_NAKNADA_NAZIV"),
            NamedRow("radno_mjesto_id", "radno_mjesto", "naziv", "RADNO_MJESTO")},
           {{.field = "AKTIVAN", .when_blank = true}}),

    // --- articles and services ---

    Import("ArtikliImportInsert", "stores articles", "art",
           {NamedRow("jm_id", "jm", "naziv", "JM"),
            TaxRate("TBR"),
            NamedRow("vrsta_id", "vrsta", "naziv", "GRUPA"),
            Subgroup(),
            Subgroup2(),
            NamedRow("rabatna_grupa_id", "rabatne_grupe", "naziv", "RABAT"),
            NamedRow("car_tar_br_id", "car_tar_br", "sifra", "CAR_TAR_BR"),
            NamedRow("drzava_porijekla_id", "drzave", "naziv", "DRZAVA_PORIJEKLA"),
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
           {NamedRow("art_id", "art", "sifra", "SIFRA_ARTIKLA_RF"),
            NamedRow("dobavljac_id", "par", "sifra", "SIFRA_DOBAVLJACA")}),
    Import("KonverzijaArtikalaLunariImportInsert", "stores retail articles", "lunari_artikli",
           {NamedRow("jm_id", "jm", "naziv", "JM")}),
    Import("UpdateArtikalaLunariImportInsert", "changes retail articles by their bar codes", "lunari_artikli",
           {NamedRow("jm_id", "jm", "naziv", "JM")}, {}, "BARCODE"),
    Import("UslugeIPrijevodiImportInsert", "stores services with their translated names", "usluge",
           {NamedRow("grupa_usl_id", "grupa_usl", "naziv", "GRUPA"),
            NamedRow("konto_id", "fin_kto", "konto", "KONTO")}),

    // --- accommodation ---

    Import("SmjestajnaJedImportInsert", "stores accommodation units", "apo_smjestajna_jedinica",
           {Place("mjesto_id", "PTT", "MJESTO")}),
    Import("ResursImportInsert", "stores resources of accommodation units", "resurs",
           {NamedRow("apo_smjestajna_jedinica_id", "apo_smjestajna_jedinica", "naziv", "NAZIV"),
            NamedRow("par_id", "par", "naziv", "NAZIV_PAR")},
           {{"NAZIV"}}),
    Import("ResursBezLookupImportInsert", "stores resources as they are written", "resurs"),
    Import("GostiHotelImportInsert", "stores hotel guests", "apo_fizickeosobeatributi",
           {PlaceInCountry("mjesto_id", "MJESTO", "DRZAVA"), Country("drzava_id", "DRZAVA"),
            PlaceInCountry("mjesto_rod_id", "MJESTO_ROD", "DRZAVA_ROD"),
            Country("drzava_rod_id", "DRZAVA_ROD"), Country("drzavljanstvo_id", "DRZAVA_DRZAVLJANSTVO")},
           {{"BROJ_ISPRAVE", "brojputneisprave"}}),
    Import("PutniciGrupaImportInsert", "stores travellers of group bookings", "apo_putnici",
           {NamedRow("grupa_rezervacije_id", "apo_gruperezervacije", "broj", "BROJ_GR"),
            Country("drzava_id", "DRZAVA"), PlaceInCountry("mjesto_id", "MJESTO", "DRZAVA"),
            Country("drzava_rod_id", "DRZAVA_ROD"), Country("drzavljanstvo_id", "DRZAVLJANSTVO")}),
    Import("APOUplateImportInsert", "stores payments against contracts", "apo_uplate"),

    // --- accounting and fixed assets ---

    Import("VrsteKnjizenjaImportInsert", "stores booking types", "fin_vr_k"),
    Import("KontniPlanImportInsert", "stores accounts", "fin_kto"),
    Import("TemeljnicaImportInsert", "stores lines of journal vouchers", "fin_temeljnica_stavke",
           {NamedRow("konto_id", "fin_kto", "konto", "KONTO"),
            NamedRow("skl_id", "skladiste", "sifra", "SIFRA_RJ"),
            NamedRow("vrsta_knjizenja_id", "fin_vr_k", "sifra", "VR_KNJ")}),
    Import("OtvStavkeImportInsert", "stores open items of partners", "otvorene_stavke",
           {NamedRow("konto_id", "fin_kto", "konto", "KONTO"),
            NamedRow("skl_id", "skladiste", "sifra", "SIFRA_RJ"),
            {"par_id", "par", {{"oib", "PAR_OIB"}, {"naziv", "PAR_NAZIV"}}}}),
    Import("OsnSredstvaImportInsert", "stores fixed assets", "osr_osnovna_sredstva",
           {NamedRow("jm_id", "jm", "naziv", "JM"),
            NamedRow("sku_dug_imv_id", "osr_sku_dug_imv", "sifra", "GRP_AM"),
            NamedRow("gr_dug_imv_id", "osr_gr_dug_imv", "naziv", "GRP_KTO"),
            NamedRow("mje_smj_id", "osr_mje_smj", "sifra", "SMJESTAJ"),
            NamedRow("zaposlenik_id", "zaposlenik", "sifra", "SIFRA_ZAP"),
            NamedRow("par_id", "par", "naziv", "PAR")}),
};

}  // namespace

std::span<const NamedTransaction> ImportTransactionTable() { return kTransactions; }

}  // namespace mox

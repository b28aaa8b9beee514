#include "mox/import/import_profiles.h"

#include <algorithm>

#include "mox/import/import_columns_accommodation_internal.h"
#include "mox/import/import_columns_accounting_internal.h"
#include "mox/import/import_columns_articles_internal.h"
#include "mox/import/import_columns_employees_internal.h"
#include "mox/import/import_columns_partners_internal.h"
#include "mox/import/import_grid.h"

namespace mox {
namespace {

// The list of travellers is one position longer than its columns.
constexpr ImportProfile kProfiles[] = {
    {"ARTDOB", "PrepareImportArtDob", "ArtDobImportInsert", "supplier article codes", 9,
     kSupplierArticleColumns},
    {"ZAPOSLENIK", "PrepareImportZaposlenik", "ZaposleniciImportInsert", "employees", 50, kEmployeeColumns},
    {"PARTNERPTT", "PrepareImportParPTTMje", "ParImportInsertPTTMje", "partners", 38, kPartnerColumns},
    {"SMJJED", "PrepareImportSmjestajnaJed", "SmjestajnaJedImportInsert", "accommodation units", 11,
     kUnitColumns},
    {"RESURS", "PrepareImportResurs", "ResursImportInsert", "resources (linked to accommodation units)", 10,
     kResourceColumns},
    {"RESURSBEZLOOKUP", "PrepareImportResursBezLookup", "ResursBezLookupImportInsert",
     "resources without lookups", 10, kResourceColumns, kResourcesWithoutLookups},
    {"GOSTIHOTEL", "PrepareImportGostiHotel", "GostiHotelImportInsert", "hotel guests", 17,
     kHotelGuestColumns},
    {"MJESTA", "PrepareImportMjesta", "MjestaImportInsert", "places", 6, kPlaceColumns},
    {"PARTNERPTTOPZ", "PrepareImportParPTTMjeOPZ", "ParImportInsertPTTMjeOPZ",
     "partners, OPZ variant (OIB required)", 36, kPartnerColumns, kPartnersWithOib},
    {"PUTNICIGRUPA", "PrepareImportPutniciGrupa", "PutniciGrupaImportInsert", "travellers of a group booking",
     33, kTravellerColumns, kTravellersWithOib},
    {"ARTIKLI", "PrepareImportArtikala", "ArtikliImportInsert", "articles", 27, kArticleColumns},
    {"OTVORENESTAVKE", "PrepareImportOtvoreneStavke", "OtvStavkeImportInsert", "open items", 14,
     kOpenItemColumns},
    {"OTVORENESTAVKESTRANO", "PrepareImportOtvoreneStavkeStrano", "OtvStavkeImportInsert",
     "open items of foreign partners (by name)", 15, kOpenItemColumns, kForeignOpenItems},
    {"OSNOVNASREDSTVA", "PrepareImportOsnovnaSredstva", "OsnSredstvaImportInsert", "fixed assets", 20,
     kFixedAssetColumns},
    {"APOUPLATE", "PrepareImportAPOUplate", "APOUplateImportInsert", "payments against contracts", 10,
     kContractPaymentColumns},
    {"VRSTEKNJIZENJA", "PrepareImportVrsteKnjizenja", "VrsteKnjizenjaImportInsert", "booking types", 5,
     kBookingTypeColumns},
    {"KONTNIPLAN", "PrepareImportKontniPlan", "KontniPlanImportInsert", "chart of accounts", 5,
     kAccountColumns},
    {"TEMELJNICA", "PrepareImportTemeljnica", "TemeljnicaImportInsert", "journal voucher lines", 10,
     kVoucherLineColumns},
    {.key = "KONVERZIJAARTLUNARI",
     .method = "PrepareImportArtikliLunari",
     .transaction = "KonverzijaArtikalaLunariImportInsert",
     .imports = "retail articles (conversion)",
     .field_count = 48,
     .columns = kRetailArticleColumns,
     .has_article_tools = true},
    {.key = "UPDATEARTLUNARI",
     .method = "PrepareUpdateArtikliLunari",
     .transaction = "UpdateArtikalaLunariImportInsert",
     .imports = "update of retail articles",
     .field_count = 47,
     .columns = kRetailArticleColumns,
     .changes = kChangedRetailArticles,
     .has_article_tools = true},
    {"KUPCILUNARI", "PrepareImportKupciLunari", "KupciLunariImportInsert", "retail customers", 10,
     kRetailCustomerColumns},
    {.key = "PARERACMAIL",
     .method = "PrepareUpdateParEracunMail",
     .transaction = "ParUpdateEracunMail",
     .imports = "partners' e-invoice mail addresses",
     .field_count = 5,
     .columns = kPartnerMailColumns,
     .overwrites_mail = true},
    {"USLUGEIPRIJEVODI", "PrepareImportUslugeIPrijevodi", "UslugeIPrijevodiImportInsert",
     "services with translated names", 15, kServiceColumns},
};

constexpr ImportColumn kWorkingColumns[] = {
    BooleanColumn("V_TEMP", "validate temp"),
    BooleanColumn("VALIDACIJA", "Validacija"),
    TextColumn("ERR_MSG", "Greška", "200"),
};

ImportFieldDef Defined(const ImportColumn& column) {
  const auto flag = [](bool set) { return std::string(set ? "True" : "False"); };
  return {std::string(column.name),       std::string(column.caption), std::string(column.type),
          std::string(column.size),       flag(column.required),       flag(column.lookup),
          std::string(column.lookup_sql), flag(column.unique),         std::string(column.unique_sql)};
}

void Apply(const ColumnChange& change, std::vector<ImportColumn>& columns) {
  const auto at = std::find_if(columns.begin(), columns.end(),
                               [&](const ImportColumn& column) { return column.name == change.name; });
  if (!change.column) {
    columns.erase(at);
  } else if (at == columns.end()) {
    columns.push_back(*change.column);
  } else {
    *at = *change.column;
  }
}

}  // namespace

std::span<const ImportProfile> ImportProfiles() { return kProfiles; }

const ImportProfile* FindImportProfile(std::string_view key) {
  const auto* const found = std::find_if(std::begin(kProfiles), std::end(kProfiles),
                                         [&](const ImportProfile& profile) { return profile.key == key; });
  return found == std::end(kProfiles) ? nullptr : found;
}

std::vector<ImportFieldDef> ImportFieldsOf(const ImportProfile& profile, ServerSettings settings) {
  std::vector<ImportColumn> columns(std::begin(kWorkingColumns), std::end(kWorkingColumns));
  columns.insert(columns.end(), profile.columns.begin(), profile.columns.end());
  for (const ColumnChange& change : profile.changes) {
    const bool applies =
        change.applies == nullptr || (settings == ServerSettings::kAsked && change.applies());
    if (applies) Apply(change, columns);
  }
  std::vector<ImportFieldDef> fields;
  fields.reserve(profile.field_count);
  for (const ImportColumn& column : columns) fields.push_back(Defined(column));
  fields.resize(profile.field_count);
  return fields;
}

// --- the grid's methods ---

void TfrmImportGrid::PrepareProfile(std::string_view key) {
  const std::vector<ImportFieldDef> fields = ImportFieldsOf(*FindImportProfile(key), ServerSettings::kAsked);
  SetFieldCount(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const ImportFieldDef& f = fields[i];
    ImportFieldDefinition(i, f.field_name, f.caption, f.field_type, f.size, f.required, f.lookup,
                          f.lookup_sql, f.unique, f.unique_sql);
  }
  CreateGrid();
  CreateDataSetFrom();
  CreateDataSetTo();
}

void TfrmImportGrid::PrepareImportArtDob() { PrepareProfile("ARTDOB"); }
void TfrmImportGrid::PrepareImportZaposlenik() { PrepareProfile("ZAPOSLENIK"); }
void TfrmImportGrid::PrepareImportParPTTMje() { PrepareProfile("PARTNERPTT"); }
void TfrmImportGrid::PrepareImportSmjestajnaJed() { PrepareProfile("SMJJED"); }
void TfrmImportGrid::PrepareImportResurs() { PrepareProfile("RESURS"); }
void TfrmImportGrid::PrepareImportResursBezLookup() { PrepareProfile("RESURSBEZLOOKUP"); }
void TfrmImportGrid::PrepareImportGostiHotel() { PrepareProfile("GOSTIHOTEL"); }
void TfrmImportGrid::PrepareImportMjesta() { PrepareProfile("MJESTA"); }
void TfrmImportGrid::PrepareImportParPTTMjeOPZ() { PrepareProfile("PARTNERPTTOPZ"); }
void TfrmImportGrid::PrepareImportPutniciGrupa() { PrepareProfile("PUTNICIGRUPA"); }
void TfrmImportGrid::PrepareImportArtikala() { PrepareProfile("ARTIKLI"); }
void TfrmImportGrid::PrepareImportOtvoreneStavke() { PrepareProfile("OTVORENESTAVKE"); }
void TfrmImportGrid::PrepareImportOtvoreneStavkeStrano() { PrepareProfile("OTVORENESTAVKESTRANO"); }
void TfrmImportGrid::PrepareImportOsnovnaSredstva() { PrepareProfile("OSNOVNASREDSTVA"); }
void TfrmImportGrid::PrepareImportAPOUplate() { PrepareProfile("APOUPLATE"); }
void TfrmImportGrid::PrepareImportVrsteKnjizenja() { PrepareProfile("VRSTEKNJIZENJA"); }
void TfrmImportGrid::PrepareImportKontniPlan() { PrepareProfile("KONTNIPLAN"); }
void TfrmImportGrid::PrepareImportTemeljnica() { PrepareProfile("TEMELJNICA"); }
void TfrmImportGrid::PrepareImportArtikliLunari() { PrepareProfile("KONVERZIJAARTLUNARI"); }
void TfrmImportGrid::PrepareUpdateArtikliLunari() { PrepareProfile("UPDATEARTLUNARI"); }
void TfrmImportGrid::PrepareImportKupciLunari() { PrepareProfile("KUPCILUNARI"); }
void TfrmImportGrid::PrepareUpdateParEracunMail() { PrepareProfile("PARERACMAIL"); }
void TfrmImportGrid::PrepareImportUslugeIPrijevodi() { PrepareProfile("USLUGEIPRIJEVODI"); }

}  // namespace mox

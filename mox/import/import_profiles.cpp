#include "mox/import/import_profiles.h"

#include <algorithm>

#include "mox/foundation/app.h"
#include "mox/import/import_column_internal.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

using Grid = TfrmImportGrid;

constexpr ImportProfile kProfiles[] = {
    {"ARTDOB", "PrepareImportArtDob", &Grid::PrepareImportArtDob, "ArtDobImportInsert",
     "supplier article codes"},
    {"ZAPOSLENIK", "PrepareImportZaposlenik", &Grid::PrepareImportZaposlenik, "ZaposleniciImportInsert",
     "employees"},
    {"PARTNERPTT", "PrepareImportParPTTMje", &Grid::PrepareImportParPTTMje, "ParImportInsertPTTMje",
     "partners"},
    {"SMJJED", "PrepareImportSmjestajnaJed", &Grid::PrepareImportSmjestajnaJed, "SmjestajnaJedImportInsert",
     "accommodation units"},
    {"RESURS", "PrepareImportResurs", &Grid::PrepareImportResurs, "ResursImportInsert",
     "resources (linked to accommodation units)"},
    {"RESURSBEZLOOKUP", "PrepareImportResursBezLookup", &Grid::PrepareImportResursBezLookup,
     "ResursBezLookupImportInsert", "resources without lookups"},
    {"GOSTIHOTEL", "PrepareImportGostiHotel", &Grid::PrepareImportGostiHotel, "GostiHotelImportInsert",
     "hotel guests"},
    {"MJESTA", "PrepareImportMjesta", &Grid::PrepareImportMjesta, "MjestaImportInsert", "places"},
    {"PARTNERPTTOPZ", "PrepareImportParPTTMjeOPZ", &Grid::PrepareImportParPTTMjeOPZ,
     "ParImportInsertPTTMjeOPZ", "partners, OPZ variant (OIB required)"},
    {"PUTNICIGRUPA", "PrepareImportPutniciGrupa", &Grid::PrepareImportPutniciGrupa,
     "PutniciGrupaImportInsert", "travellers of a group booking"},
    {"ARTIKLI", "PrepareImportArtikala", &Grid::PrepareImportArtikala, "ArtikliImportInsert", "articles"},
    {"OTVORENESTAVKE", "PrepareImportOtvoreneStavke", &Grid::PrepareImportOtvoreneStavke,
     "OtvStavkeImportInsert", "open items"},
    {"OTVORENESTAVKESTRANO", "PrepareImportOtvoreneStavkeStrano", &Grid::PrepareImportOtvoreneStavkeStrano,
     "OtvStavkeImportInsert", "open items of foreign partners (by name)"},
    {"OSNOVNASREDSTVA", "PrepareImportOsnovnaSredstva", &Grid::PrepareImportOsnovnaSredstva,
     "OsnSredstvaImportInsert", "fixed assets"},
    {"APOUPLATE", "PrepareImportAPOUplate", &Grid::PrepareImportAPOUplate, "APOUplateImportInsert",
     "payments against contracts"},
    {"VRSTEKNJIZENJA", "PrepareImportVrsteKnjizenja", &Grid::PrepareImportVrsteKnjizenja,
     "VrsteKnjizenjaImportInsert", "booking types"},
    {"KONTNIPLAN", "PrepareImportKontniPlan", &Grid::PrepareImportKontniPlan, "KontniPlanImportInsert",
     "chart of accounts"},
    {"TEMELJNICA", "PrepareImportTemeljnica", &Grid::PrepareImportTemeljnica, "TemeljnicaImportInsert",
     "journal voucher lines"},
    {.key = "KONVERZIJAARTLUNARI",
     .method = "PrepareImportArtikliLunari",
     .prepare = &Grid::PrepareImportArtikliLunari,
     .transaction = "KonverzijaArtikalaLunariImportInsert",
     .imports = "retail articles (conversion)",
     .has_article_tools = true},
    {.key = "UPDATEARTLUNARI",
     .method = "PrepareUpdateArtikliLunari",
     .prepare = &Grid::PrepareUpdateArtikliLunari,
     .transaction = "UpdateArtikalaLunariImportInsert",
     .imports = "update of retail articles",
     .has_article_tools = true},
    {"KUPCILUNARI", "PrepareImportKupciLunari", &Grid::PrepareImportKupciLunari, "KupciLunariImportInsert",
     "retail customers"},
    {.key = "PARERACMAIL",
     .method = "PrepareUpdateParEracunMail",
     .prepare = &Grid::PrepareUpdateParEracunMail,
     .transaction = "ParUpdateEracunMail",
     .imports = "partners' e-invoice mail addresses",
     .overwrites_mail = true},
    {"USLUGEIPRIJEVODI", "PrepareImportUslugeIPrijevodi", &Grid::PrepareImportUslugeIPrijevodi,
     "UslugeIPrijevodiImportInsert", "services with translated names"},
};

// A host for a form that nobody uses.
class NoHost : public TdmComunication, public ImportGridView {
  void ShowModal(TfrmImportGrid& /*form*/) override {}
  RecordSet* CompanyParameters() override { return nullptr; }
  std::unique_ptr<TAstaParamList> ReportDataService(const TAstaParamList& /*request*/,
                                                    std::string_view /*service*/) override {
    return nullptr;
  }
  int WriteDataService(const TAstaParamList& /*request*/) override { return 0; }
};

std::string_view FlagText(bool flag) { return flag ? "True" : "False"; }

}  // namespace

std::span<const ImportProfile> ImportProfiles() { return kProfiles; }

const ImportProfile* FindImportProfile(std::string_view key) {
  const auto* const found = std::find_if(std::begin(kProfiles), std::end(kProfiles),
                                         [&](const ImportProfile& profile) { return profile.key == key; });
  return found == std::end(kProfiles) ? nullptr : found;
}

std::vector<ImportFieldDef> ImportFieldsOf(const ImportProfile& profile) {
  NoHost host;
  const ScopedApp app({.comunication = &host});
  TfrmImportGrid form(host, profile.key);
  form.OnShow();
  return {form.Fields().begin(), form.Fields().end()};
}

void TfrmImportGrid::Prepare(std::size_t field_count, std::span<const ImportColumn> columns) {
  static constexpr ImportColumn kWorkingColumns[] = {
      BooleanColumn("V_TEMP", "validate temp"),
      BooleanColumn("VALIDACIJA", "Validacija"),
      TextColumn("ERR_MSG", "Greška", "200"),
  };
  SetFieldCount(field_count);
  std::size_t position = 0;
  const auto define = [&](const ImportColumn& column) {
    ImportFieldDefinition(position++, column.name, column.caption, column.type, column.size,
                          FlagText(column.required), FlagText(column.lookup), column.lookup_sql,
                          FlagText(column.unique), column.unique_sql);
  };
  std::for_each(std::begin(kWorkingColumns), std::end(kWorkingColumns), define);
  std::for_each(columns.begin(), columns.end(), define);
  CreateGrid();
  CreateDataSetFrom();
  CreateDataSetTo();
}

}  // namespace mox

#include "mox/server/read_services.h"

#include <memory>
#include <string>
#include <utility>

#include "mox/foundation/app.h"

namespace mox {

std::optional<RecordSet> CreateDBDataSet(std::string_view service_name, std::string_view answer_name,
                                         const TAstaParamList& request) {
  const HourglassCursor cursor;
  const auto answer = App().Comunication().ReportDataService(request, service_name);
  TAstaParam* const item = answer == nullptr ? nullptr : answer->FindParam(answer_name);
  if (item == nullptr || item->IsNull()) return std::nullopt;
  RecordSet records = std::move(item->AsDataSet());
  if (!records.IsEmpty()) records.First();
  return records;
}

std::optional<RecordSet> GetSkladista() { return CreateDBDataSet("GetSkladista", "adsSkl", {}); }

std::optional<RecordSet> GetSklFromGLN(std::string_view gln) {
  return CreateDBDataSet("GetSklFromGLN", "adsSkl", {{"GLN", std::string(gln)}});
}

std::optional<RecordSet> GetCompanyIbans() { return CreateDBDataSet("GetCompanyIban", "adsIbani", {}); }

std::optional<RecordSet> GetPoslovniProstorData(std::int64_t skl_id) {
  return CreateDBDataSet("PoslProstorZaFisk", "PoslProData", {{"skl_id", skl_id}});
}

std::optional<RecordSet> GetUgoPoslovniProstorData(std::int64_t skl_id) {
  return CreateDBDataSet("UgoPoslProstorZaFisk", "PoslProData", {{"skl_id", skl_id}});
}

std::optional<RecordSet> GetVezniDocIdFromDB(std::string_view parent_table, std::string_view parent_column,
                                             std::int64_t parent_doc_id, std::string_view child_tip) {
  return CreateDBDataSet("GetVezniDocIdFromDB", "ads",
                         {{"parent_table", std::string(parent_table)},
                          {"parent_column", std::string(parent_column)},
                          {"parent_doc_id", parent_doc_id},
                          {"child_tip", std::string(child_tip)}});
}

std::optional<RecordSet> CheckIfRlistaExist(std::int64_t zap_id, Date od_datuma, Date do_datuma) {
  return CreateDBDataSet("CheckIfRlistaExist", "ads",
                         {{"zapID", zap_id}, {"od_datuma", od_datuma}, {"do_datuma", do_datuma}});
}

std::optional<RecordSet> CheckIfBrojDocDobExists(std::int64_t id, std::string_view broj_dok_dob,
                                                 Date datum_dok_dob, std::int64_t par_id) {
  return CreateDBDataSet("ProvjeraBrojaDokDobUlRac", "Zaglavlje",
                         {{"id", id},
                          {"broj_dok_dob", std::string(broj_dok_dob)},
                          {"datum_dok_dob", datum_dok_dob},
                          {"par_id", par_id}});
}

std::optional<RecordSet> AdditionalFeaturesData(std::string_view code) {
  return CreateDBDataSet("AdditionalFeaturesData", "adsAddFeatures", {{"Code", std::string(code)}});
}

bool IsAdditionalFeatureAllowed(std::string_view code) {
  std::optional<RecordSet> feature = AdditionalFeaturesData(code);
  if (feature && !feature->IsEmpty()) {
    const auto allow = feature->FindField("Allow");
    if (allow && !allow->IsNull()) return allow->AsBoolean();
  }
  const RecordSet* const settings = App().Comunication().CompanyParameters();
  const auto setting = settings == nullptr ? std::nullopt : settings->FindField(code);
  return setting && setting->AsBoolean();
}

std::optional<RecordSet> AdditionalSetupParamsData() {
  return CreateDBDataSet("Kat\\DodatniParametriPoduzeca", "adsList", {});
}

std::optional<RecordSet> WebshopSkladisteGet() {
  return CreateDBDataSet("WebshopSklGet", "adsWebshopSkl", {});
}

}  // namespace mox

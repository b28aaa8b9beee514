#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "mox/foundation/dates.h"
#include "mox/foundation/record_set.h"
#include "mox/server/param_list.h"

namespace mox {

/// The named record set in the answer of a read service, with the hourglass shown meanwhile. None when there
/// is no answer or it does not hold that record set.
std::optional<RecordSet> CreateDBDataSet(std::string_view service_name, std::string_view answer_name,
                                         const TAstaParamList& request);

// The read helpers ask one service each and answer its record set, none where it gave none.

/// All warehouses.
std::optional<RecordSet> GetSkladista();
/// The warehouse of a global location number.
std::optional<RecordSet> GetSklFromGLN(std::string_view gln);
/// The company's bank accounts.
std::optional<RecordSet> GetCompanyIbans();
/// The business premises of a warehouse, for fiscal receipts.
std::optional<RecordSet> GetPoslovniProstorData(std::int64_t skl_id);
/// The same for contracts.
std::optional<RecordSet> GetUgoPoslovniProstorData(std::int64_t skl_id);
/// The documents linked to a document, of one kind or, with an empty text, of any.
std::optional<RecordSet> GetVezniDocIdFromDB(std::string_view parent_table, std::string_view parent_column,
                                             std::int64_t parent_doc_id, std::string_view child_tip);
/// Whether an employee's list exists for a period.
std::optional<RecordSet> CheckIfRlistaExist(std::int64_t zap_id, Date od_datuma, Date do_datuma);
/// Whether another document than `id` already has the supplier's document number: field "BrojDokDobKoristen".
std::optional<RecordSet> CheckIfBrojDocDobExists(std::int64_t id, std::string_view broj_dok_dob,
                                                 Date datum_dok_dob, std::int64_t par_id);
/// Whether an additional feature is allowed: Boolean field "Allow".
std::optional<RecordSet> AdditionalFeaturesData(std::string_view code);
/// The same as a truth value. Where the server says nothing, the company parameter of that name serves;
/// without one the feature is not allowed.
bool IsAdditionalFeatureAllowed(std::string_view code);
/// The additional company parameters.
std::optional<RecordSet> AdditionalSetupParamsData();
/// The web shop's warehouse: field "webshop_rj_id".
std::optional<RecordSet> WebshopSkladisteGet();

}  // namespace mox

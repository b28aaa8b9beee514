#pragma once

#include "appserver/database.h"
#include "mox/server/param_list.h"

namespace mox {

/// The Croatian sizes of retail articles. "params1" of the request is the list of the columns
/// "vel;brend;spol;uzrast", "params2" a record set with these texts. The record set "adsList" has them as
/// they were asked for and the size `HR_Vel`, for those articles that the table of sizes knows, without
/// regard to letter case and to blanks at their ends. Raises Error for another request, DatabaseError.
RecordSet FindRetailSizes(Database& database, const TAstaParamList& request);

}  // namespace mox

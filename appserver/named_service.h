#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "appserver/company_data.h"
#include "appserver/database.h"
#include "appserver/rights.h"
#include "appserver/service_inputs.h"
#include "mox/server/param_list.h"

namespace mox {

/// Fills one record set of an answer, which is open where it has columns, where SQL alone is not enough.
using FillAnswer = void (*)(Database& database, const ServiceInputs& inputs, RecordSet& answer);

/// One record set of an answer: its SQL, whose parameters are inputs, or the function that fills it.
/// `columns` is "id:integer,naziv", or the name of a table after a '*', whose columns it has.
struct ServiceAnswer {
  std::string_view name;
  std::string_view columns;
  std::string_view sql;
  FillAnswer fill = nullptr;
};

/// The database gives the columns of its tables.
Columns AnswerColumns(const ServiceAnswer& answer, Database& database);

/// What a service does before its SQL runs: checks inputs and derives others.
using PrepareInputs = void (*)(Database& database, ServiceInputs& inputs);

/// A named read service.
struct NamedService {
  std::string_view name;
  Right right;  ///< that whoever asks must have
  std::string_view inputs;
  std::string_view summary;
  std::vector<ServiceAnswer> answers;
  PrepareInputs prepare = nullptr;
};

/// Raises DatabaseError, Error.
std::unique_ptr<TAstaParamList> RunNamedService(const NamedService& service, Database& database,
                                                const TAstaParamList& request, const CompanyData& company);

}  // namespace mox

#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/company_access.h"
#include "appserver/service_info.h"
#include "cli/command.h"
#include "cli/named_values.h"
#include "mox/server/param_list.h"

namespace mox {

/// The company that --db or --server names. Raises UsageError where neither is given.
CompanyAccess& ServerOf(const Session& session);

/// The columns of a table of the company's database; none where there is no such table.
Columns TableColumns(std::string_view table);
/// The fields of a transaction's record set, likewise.
Columns TransactionFields(std::string_view transaction, std::string_view record_set);

/// Appends for each service its name, its inputs or record sets, those that may be left out in brackets, and
/// what it is for. `value` stands for what they are given; where it is empty, their kinds do.
void ListServices(std::span<const ServiceInfo> services, std::string_view value, std::string& out);

/// Raises UsageError that suggests near names; `what` is "service" or "transaction".
const ServiceInfo& FindService(std::string_view what, std::span<const ServiceInfo> services,
                               std::string_view name);

/// The request of words NAME=VALUE, each value in the kind that the service gives the input: decimal point,
/// true or false, 2024-03-01. Raises UsageError for an unknown input, one given twice, one that is
/// missing, or a value that is not of its kind.
TAstaParamList RequestFor(const ServiceInfo& service, std::span<const std::string> words);

/// A value of an input or field in its kind. Raises UsageError naming it.
Value InputValue(const FieldDef& input, const std::string& text);

/// Words that are all NAME=VALUE. Raises UsageError for another word.
std::vector<NamedValue> NamedValues(std::span<const std::string> words);

/// Words that are values of a service's inputs, or the files of a transaction's record sets. Raises
/// UsageError for an input that it does not have, for one given twice, and for one that is required and
/// missing.
std::vector<NamedValue> ValuesFor(const ServiceInfo& service, std::span<const std::string> words);

/// The record set of a service's answer. Raises Error where the answer does not hold it.
RecordSet AnswerOf(std::string_view service, std::string_view answer_name, const TAstaParamList& request);

/// Raises Error that says why the server's last write request was refused.
void RequireStored(const CompanyAccess& server, bool stored);

}  // namespace mox

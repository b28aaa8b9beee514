#pragma once

#include <string>

#include "appserver/service_info.h"

namespace mox {

// Named services and transactions for people, as Markdown. What this program's newest schema has is shown,
// whatever database is open.

/// A read service: what it is for, its inputs, and the record sets that it answers with their columns.
void AppendReadService(const ServiceInfo& service, std::string& out);
/// A transaction: what it is for, and its record sets with the fields that are stored.
void AppendTransaction(const ServiceInfo& transaction, std::string& out);

/// All of them under a heading; together the two are docs/SERVICES.md.
void AppendReadServicePage(std::string& out);
void AppendTransactionPage(std::string& out);

}  // namespace mox

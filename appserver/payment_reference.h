#pragma once

#include <string>

#include "appserver/database.h"

namespace mox {

/// What is wrong with the reference by which the payment of a document is to be told from others, as a text
/// to go on with behind it; empty where nothing is. One of the company's payment slips takes it by its model;
/// where the company has none, some model does.
std::string PaymentReferenceFault(Database& database, const std::string& reference);

}  // namespace mox

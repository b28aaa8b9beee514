#pragma once

#include "appserver/migrations.h"

namespace mox {

/// The directory's own database: users, what they may do in which company, tokens, failed attempts, and where
/// each company's database is.
const SchemaFamily& DirectorySchema();

}  // namespace mox

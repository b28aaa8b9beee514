#include "appserver/database_location.h"

#include <gtest/gtest.h>

#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(DatabaseLocation, AnswersTables) {
  ExpectTables("locations",
               {{"locations",
                 [](const Words& row) {
                   const DatabaseLocation location(row[0]);
                   if (location.IsFile()) return location.ToString();
                   return location.ToString() + " | " + location.connection() + " | " + location.schema();
                 }}},
               "appserver");
}

}  // namespace
}  // namespace mox

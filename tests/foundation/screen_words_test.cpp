#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <bit>
#include <bitset>
#include <cmath>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

// The words that a framework of screens takes away, as its headers define them.
#define slots
#define signals public
#define emit
#define foreach for
#define forever for (;;)

#include "mox/calculations/vat_recapitulation.h"
#include "mox/foundation/app.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/line_view.h"
#include "mox/foundation/precision.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/rounding.h"

TEST(Headers, ComeAfterThoseOfAScreen) {
  mox::RecordSet set;
  set.DefineField("kolicina", mox::FieldKind::kFloat);
  set.Open();
  set.InsertRecord({1.0});
  EXPECT_TRUE(set[mox::field::kolicina] == 1);
}

#include "mox/calculations/customs.h"

#include <gtest/gtest.h>

#include "tests/calculations/line_table.h"

namespace mox {
namespace {

TEST(Customs, ClearsTheRatesOfEveryLine) {
  const struct {
    bool customs;
    bool vat;
    const char* lines;
  } rows[] = {{false, false, "5 25; 1.5 null; null 13"},
              {true, false, "0 25; 0 null; 0 13"},
              {false, true, "5 0; 1.5 0; null 0"},
              {true, true, "0 0; 0 0; 0 0"}};
  for (const auto& row : rows) {
    RecordSet lines = Records("ctb_stopa=5 tbr_stp=25; ctb_stopa=1.5; tbr_stp=13");
    int heard = 0;
    lines.SetListener([&](RecordSet&, RecordSetChange) { ++heard; });
    PonistiCarinuPdv(lines, row.customs, row.vat);
    EXPECT_TRUE(lines.Eof());
    EXPECT_EQ(lines.State(), DataSetState::kBrowse);
    EXPECT_FALSE(lines.ControlsDisabled());
    EXPECT_EQ(heard, 1);
    lines.SetListener(nullptr);
    EXPECT_EQ(Show(lines), row.lines);
  }
  // A rate that is not asked for need not be there.
  RecordSet lines = Records("tbr_stp=25; tbr_stp=5");
  PonistiCarinuPdv(lines, false, true);
  EXPECT_EQ(Show(lines), "0; 0");
  EXPECT_THROW(PonistiCarinuPdv(lines, true, false), FieldNotFound);
  EXPECT_FALSE(lines.ControlsDisabled());
}

}  // namespace
}  // namespace mox

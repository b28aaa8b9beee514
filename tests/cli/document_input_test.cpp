#include "cli/document_input.h"

#include <gtest/gtest.h>

#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"
#include "tests/documents/counted_kind.h"

namespace mox {
namespace {

// A file of the input columns.
std::string LinesOf(const LineSchema& schema, int count) {
  std::string heading;
  std::string line;
  for (const std::string_view name : SplitNames(schema.inputs)) {
    heading += (heading.empty() ? "" : ",") + std::string(name);
    line += (line.empty() ? "" : ",") + std::string(name == "tbr_stp" ? "25" : "3.36");
  }
  std::string file = heading + "\n";
  for (int i = 0; i < count; ++i) file += line + "\n";
  return file;
}

// Lines that are loaded from a file and recapitulated are calculated once, or in two passes; who prints them
// is handed sets that cannot be calculated.
TEST(DocumentInput, CalculatesEachLineOfAFileOnce) {
  constexpr int kLines = 5;
  MemorySettings settings;
  CompanyParameterModule parameters;
  const ScopedApp app({.ini = &settings, .comunication = &parameters});
  for (const DocumentKind& known : DocumentKinds()) {
    const CountedKind counted(known);
    int expected = 0;
    std::vector<FileText> files;
    for (const LineSchema* const schema : {&known.goods, &known.services}) {
      if (!schema->Exists()) continue;
      files.push_back({"stavke.csv", LinesOf(*schema, kLines)});
      expected += kLines * schema->passes;
    }
    const DocumentInput input(counted.kind, files);
    EXPECT_EQ(CountedKind::runs, expected) << known.name;
  }
}

}  // namespace
}  // namespace mox

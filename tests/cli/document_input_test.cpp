#include "cli/document_input.h"

#include <gtest/gtest.h>

#include <utility>

#include "cli/text_table.h"
#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"

namespace mox {
namespace {

int runs_of_calculators = 0;
const LineSchema* counted[2] = {};

template <std::size_t kSort>
void CountRun(RecordSet& lines, const DocumentDigits& digits) {
  ++runs_of_calculators;
  counted[kSort]->calculate(lines, digits);
}

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

// Lines that are loaded from a file, recapitulated and printed as tables are calculated once, or in two
// passes.
TEST(DocumentInput, CalculatesEachLineOfAFileOnce) {
  constexpr int kLines = 5;
  MemorySettings settings;
  CompanyParameterModule parameters;
  const ScopedApp app({.ini = &settings, .comunication = &parameters});
  for (const DocumentKind& known : DocumentKinds()) {
    DocumentKind kind = known;
    counted[0] = &known.goods;
    counted[1] = &known.services;
    if (kind.goods.Exists()) kind.goods.calculate = CountRun<0>;
    if (kind.services.Exists()) kind.services.calculate = CountRun<1>;
    int expected = 0;
    std::vector<FileText> files;
    for (const LineSchema* const schema : {&kind.goods, &kind.services}) {
      if (!schema->Exists()) continue;
      files.push_back({"stavke.csv", LinesOf(*schema, kLines)});
      expected += kLines * schema->passes;
    }
    runs_of_calculators = 0;
    DocumentInput input(kind, files);
    EXPECT_EQ(std::exchange(runs_of_calculators, 0), expected) << kind.name;
    Document& document = input.document();
    std::string printed;
    for (const RecordSet* const part :
         {document.Goods(), document.Services(), document.Recapitulation(), &document.Totals()}) {
      if (part != nullptr) AppendTable(*part, {.number_records = true, .hide_empty = true}, printed);
    }
    EXPECT_NE(printed.find("3,36"), std::string::npos) << kind.name;
    EXPECT_EQ(runs_of_calculators, 0) << kind.name;
  }
}

}  // namespace
}  // namespace mox

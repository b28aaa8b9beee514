#include "cli/document_kinds.h"

#include <gtest/gtest.h>

#include <set>

#include "cli/document.h"
#include "cli/recap_members.h"
#include "mox/foundation/error.h"
#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"

namespace mox {
namespace {

using Names = std::vector<std::string_view>;

Names Without(Names names, std::string_view left_out) {
  std::erase(names, left_out);
  return names;
}

// Calculates one line whose inputs are 2 and whose calculated fields are null, and hands out which of these
// were written. Raises what the calculator raises.
std::set<std::string_view> WrittenBy(const LineSchema& schema, const Names& inputs, const Names& calculated) {
  RecordSet lines;
  const auto define = [&lines](std::string_view name, bool is_calculated) {
    FieldDef field;
    field.name = name;
    field.kind = kVocabulary[static_cast<std::size_t>(FindInVocabulary(name).value())].kind;
    field.calculated = is_calculated;
    lines.DefineField(std::move(field));
  };
  for (const std::string_view name : inputs) define(name, false);
  for (const std::string_view name : calculated) define(name, true);
  lines.SetOnCalcFields([&](RecordSet& records) { schema.calculate(records, {}); });
  lines.Open();
  lines.Append();
  for (const std::string_view name : inputs) lines.FieldByName(name).SetFloat(2);
  lines.Post();
  std::set<std::string_view> written;
  for (const std::string_view name : calculated) {
    if (!lines.FieldByName(name).IsNull()) written.insert(name);
  }
  return written;
}

std::vector<const LineSchema*> SchemasOf(const DocumentKind& kind) {
  std::vector<const LineSchema*> schemas;
  if (kind.goods.Exists()) schemas.push_back(&kind.goods);
  if (kind.services.Exists()) schemas.push_back(&kind.services);
  return schemas;
}

// The columns that the recapitulation of a kind takes.
std::set<std::string> RecapColumns(const DocumentKind& kind) {
  std::set<std::string> columns;
  for (const std::string_view word : SplitNames(kind.recap_values)) {
    columns.insert(ParseNamedValue(word).value().value);
  }
  return columns;
}

class DocumentKindsTest : public testing::Test {
 private:
  MemorySettings settings_;
  CompanyParameterModule parameters_;
  ScopedApp app_{{.ini = &settings_, .comunication = &parameters_}};
};

// Neither a field too many nor one too few: the calculator misses every one that is taken away, may write
// those that are called calculated, and does write them.
TEST_F(DocumentKindsTest, NameJustTheFieldsOfTheirCalculators) {
  for (const DocumentKind& kind : DocumentKinds()) {
    const std::set<std::string> recap = RecapColumns(kind);
    for (const LineSchema* schema : SchemasOf(kind)) {
      const Names inputs = SplitNames(schema->inputs);
      const Names calculated = SplitNames(schema->calculated);
      EXPECT_EQ(WrittenBy(*schema, inputs, calculated),
                std::set<std::string_view>(calculated.begin(), calculated.end()))
          << kind.name;
      for (const std::string_view name : inputs) {
        if (recap.contains(std::string(name))) continue;
        EXPECT_THROW(WrittenBy(*schema, Without(inputs, name), calculated), FieldNotFound)
            << kind.name << " " << name;
      }
      for (const std::string_view name : calculated) {
        EXPECT_THROW(WrittenBy(*schema, inputs, Without(calculated, name)), FieldNotFound)
            << kind.name << " " << name;
      }
    }
  }
}

// A line at 25 % of every kind that is taxed: where the line has a tax of its own, the recapitulation finds
// the same.
TEST_F(DocumentKindsTest, RecapitulateTheTaxOfTheirLines) {
  for (const DocumentKind& kind : DocumentKinds()) {
    if (kind.recap_member.empty()) continue;
    std::vector<FileText> files;
    for (const LineSchema* schema : SchemasOf(kind)) {
      std::string header;
      std::string values;
      for (const std::string_view name : SplitNames(schema->inputs)) {
        header += std::string(name) + ",";
        values += name == "tbr_stp" ? "25," : (name.starts_with("po") ? "0," : "3.36,");
      }
      files.push_back({"f.csv", header + "x\n" + values + "x\n" + values + "x\n"});
    }
    Document document(kind, files);
    Currency of_lines;
    bool has_tax = false;
    for (RecordSet* lines : {document.Goods(), document.Services()}) {
      if (lines == nullptr) continue;
      for (const char* name : {"pdvi", "pdviroba", "pdviusluge"}) {
        // Returns from a shop have their own tax and that of the supplier, which is recapitulated.
        const auto tax = lines->FindField(lines->FindField("pdvi_dob") ? "pdvi_dob" : name);
        if (!tax || (tax->Name() == "pdvi_dob" && std::string_view(name) != "pdvi")) continue;
        has_tax = true;
        for (lines->First(); !lines->Eof(); lines->Next()) of_lines += tax->AsCurrency();
      }
    }
    document.Recap()->First();
    if (has_tax) {
      EXPECT_EQ((*document.Recap())[field::porez], of_lines) << kind.name;
    }
    EXPECT_EQ((*document.Recap())[field::stopa], 25) << kind.name;
    EXPECT_EQ(document.Recap()->RecordCount(), 1U) << kind.name;
  }
}

}  // namespace
}  // namespace mox

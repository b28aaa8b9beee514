#include <gtest/gtest.h>

#include <random>

#include "mox/documents/document_kinds.h"
#include "mox/host/company_parameters.h"
#include "mox/host/memory_settings.h"
#include "tests/foundation/case_file.h"

// What each kind of line says of its calculator, held against a calculator that always runs: random steps
// over two sets of the same lines, of which one is calculated only where the declaration lets it be.

namespace mox {
namespace {

constexpr std::size_t kMostLines = 4;
constexpr const char* kSellingDigits = "PC_CALC_DIGIT";

class LineSteps {
 public:
  LineSteps(const LineSchema& schema, CalcFieldsReads declared, unsigned seed)
      : random_(seed), fields_(LineFields(schema)), always_(schema), declared_(schema) {
    always_.reads = CalcFieldsReads::kAnything;
    declared_.reads = declared;
    for (auto [set, rules] : {std::pair(&every_run_, &always_), {&fewer_runs_, &declared_}}) {
      for (const FieldDef& field : fields_) set->DefineField(field);
      set->Open();
      CalculateByEvent(*rules, *set, DocumentDigits::OfApplication());
    }
  }

  /// What differs after some of so many steps, or nothing.
  std::string Difference(int steps) {
    for (int step = 0; step < steps; ++step) {
      const std::string done = Step();
      if (done.starts_with("differs")) return done;
      const std::string difference = DifferenceOfRows();
      if (!difference.empty()) return done + ": " + difference;
    }
    return {};
  }

 private:
  using Action = std::function<void(RecordSet& lines)>;

  std::size_t Below(std::size_t count) { return random_() % count; }

  // Does the same to both; what is raised has to be the same, too.
  std::string Both(const std::string& name, const Action& action) {
    const auto outcome = [&action](RecordSet& lines) {
      return TextOrError([&] {
        action(lines);
        return "";
      });
    };
    const std::string expected = outcome(every_run_);
    const std::string got = outcome(fewer_runs_);
    return expected == got ? name : "differs: " + name + " " + expected + " / " + got;
  }

  Value RandomValue(const FieldDef& field) {
    constexpr double kRates[] = {25, 13, 5, 0, 25, 13, -100};
    constexpr double kNumbers[] = {1, 3, 7, 0.125, -3, 3.36, 12.5, 99.99, 33.3333, 0.07, 0};
    if (Below(12) == 0) return {};
    return field.name == "tbr_stp" ? kRates[Below(std::size(kRates))] : kNumbers[Below(std::size(kNumbers))];
  }

  std::string Step() {
    const std::size_t field = Below(fields_.size());
    const Value value = RandomValue(fields_[field]);
    const std::size_t row = Below(kMostLines);
    switch (Below(14)) {
      case 0: {
        if (every_run_.RowCount() >= kMostLines) return Both("delete", [](RecordSet& s) { s.Delete(); });
        std::vector<Value> values;
        for (const FieldDef& each : fields_) values.push_back(RandomValue(each));
        return Both("append", [&values](RecordSet& s) { s.AppendRecord(values); });
      }
      case 1:
      case 2:
      case 3:
      case 4:  // what is calculated, too: it may have been stored so
        return Both("write " + fields_[field].name, [&](RecordSet& s) {
          if (s.RowCount() > 0) s.Edit(), s.SetVariant(field, value);
        });
      case 5:
        return Both("post", [](RecordSet& s) { s.PostPending(); });
      case 6:
        return Both("cancel", [](RecordSet& s) { s.Cancel(); });
      case 7:
        return Both("next", [](RecordSet& s) { s.Next(); });
      case 8:
        return Both("prior", [](RecordSet& s) { s.Prior(); });
      case 9:
        return Both("go", [row](RecordSet& s) {
          if (row < s.RowCount()) s.GoToRow(row);
        });
      case 10:
        return Both("refresh", [](RecordSet& s) { s.PostPending(), s.Refresh(); });
      case 11:
        return Both("post uncalculated", [](RecordSet& s) {
          const CalculationPause pause(s);
          s.PostPending();
        });
      case 12:
        App().Ini().WriteInteger("GENERAL", kSellingDigits, static_cast<int>(Below(6)) - 1);
        return "settings";
      default:
        return Both("copy", [](RecordSet& s) {
          s.PostPending();
          s.LoadFromString(s.SaveToString());
        });
    }
  }

  std::string DifferenceOfRows() const {
    if (every_run_.CurrentRow() != fewer_runs_.CurrentRow()) return "other rows are current";
    for (std::size_t row = 0; row < every_run_.RowCount(); ++row) {
      const RecordRow expected = every_run_.RowAt(row);
      const RecordRow got = fewer_runs_.RowAt(row);
      for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (expected.AsVariant(i) == got.AsVariant(i)) continue;
        return fields_[i].name + " " + expected.AsText(i) + " / " + got.AsText(i);
      }
    }
    return {};
  }

  std::mt19937 random_;
  std::vector<FieldDef> fields_;
  LineSchema always_;
  LineSchema declared_;
  RecordSet every_run_;
  RecordSet fewer_runs_;
};

// The first difference of some runs, or nothing.
std::string DifferenceWhenDeclared(const LineSchema& schema, CalcFieldsReads declared, int runs) {
  for (int run = 0; run < runs; ++run) {
    MemorySettings settings;
    CompanyParameterModule parameters;
    const ScopedApp app({.ini = &settings, .comunication = &parameters});
    const std::string difference = LineSteps(schema, declared, static_cast<unsigned>(run)).Difference(120);
    if (!difference.empty()) return difference;
  }
  return {};
}

TEST(SettledLines, HoldWhatTheirKindDeclaresAndDeclareNoMoreThanTheyHaveTo) {
  constexpr int kRuns = 4;
  constexpr int kRunsToFind = 20;
  using enum CalcFieldsReads;
  for (const DocumentKind& kind : DocumentKinds()) {
    for (const LineSchema* const schema : {&kind.goods, &kind.services}) {
      if (!schema->Exists()) continue;
      SCOPED_TRACE(std::string(kind.name) + (schema == &kind.goods ? " goods" : " services"));
      EXPECT_EQ(DifferenceWhenDeclared(*schema, schema->reads, kRuns), "");
      if (schema->reads == kItsInputs) continue;
      EXPECT_NE(DifferenceWhenDeclared(*schema, kItsInputs, kRunsToFind), "");
    }
  }
  // material of a service job settles only where both passes are made
  LineSchema one_pass = DocumentKindByName("gotovinski-racun-servis").goods;
  one_pass.passes = 1;
  EXPECT_NE(DifferenceWhenDeclared(one_pass, kItsInputs, kRunsToFind), "");
  EXPECT_EQ(DifferenceWhenDeclared(one_pass, kItsRecord, kRuns), "");
  // and a return of materials only where no earlier pass counts
  LineSchema with_earlier_pass = DocumentKindByName("mat-povratnica-dobavljacu").goods;
  with_earlier_pass.of_earlier_pass.reset();
  EXPECT_NE(DifferenceWhenDeclared(with_earlier_pass, kItsInputs, kRunsToFind), "");
}

}  // namespace
}  // namespace mox

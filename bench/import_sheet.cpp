#include "bench/import_sheet.h"

#include <random>
#include <stdexcept>

#include "mox/foundation/dates.h"
#include "mox/host/system_platform.h"
#include "mox/server/param_list.h"

namespace mox::bench {
namespace {

constexpr std::size_t kCountries = 250;
constexpr std::size_t kCurrencies = 170;

std::vector<std::string> Numbered(const std::string& prefix, std::size_t count, std::size_t first) {
  std::vector<std::string> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = prefix + std::to_string(first + i);
  return values;
}

// Codes of three letters.
std::vector<std::string> Codes(std::size_t count) {
  std::vector<std::string> codes;
  for (std::size_t i = 0; i < count; ++i) {
    const auto letter = [](std::size_t n) { return static_cast<char>('A' + n % 26); };
    codes.push_back({letter(i / 26), letter(i), letter(i * 7)});
  }
  return codes;
}

}  // namespace

ImportSheets::ImportSheets() {
  stored_ = {{"NAZIV", Numbered("Pohranjeni partner ", kLookupValues, 1)},
             {"PTT", Numbered("", kLookupValues, 10'000)},
             {"MJESTO", Numbered("Šišćani ", kLookupValues, 1)},
             {"DRZAVA", Codes(kCountries)},
             {"VALUTA", Codes(kCurrencies)},
             {"KOMERCIJALIST", Numbered("Komercijalist ", kLookupValues, 1)}};
  std::mt19937_64 random(20'240'301);
  const auto one_of = [&](const char* field) -> const std::string& {
    const std::vector<std::string>& values = stored_.at(field);
    return values[random() % values.size()];
  };
  ends_.push_back(0);
  for (std::size_t row = 0; row < kMostRows; ++row) {
    const std::string n = std::to_string(row);
    const std::string cells[] = {"Novi partner " + n,
                                 std::to_string(10'000'000'000 + row * 7),
                                 "Ulica kralja Zvonimira",
                                 n.substr(0, 3),
                                 "a",
                                 row % 1000 == 500 ? "nema" : one_of("PTT"),
                                 row % 1000 == 0 ? "Nigdje" : one_of("MJESTO"),
                                 "Vlasnik " + n,
                                 "01 234 567",
                                 "091 234 5678",
                                 "Gundulićeva " + n,
                                 "d.o.o.",
                                 "HR" + n,
                                 "HR1210010051863000160",
                                 "ZABAHR2X",
                                 n,
                                 one_of("DRZAVA"),
                                 one_of("VALUTA"),
                                 "01 987 654",
                                 "01 987 655",
                                 "partner" + n + "@primjer.example",
                                 "www.partner" + n + ".example",
                                 "eracun" + n + "@primjer.example",
                                 n,
                                 "Transakcijski",
                                 std::to_string(row % 5000) + ",50",
                                 std::to_string(row % 90),
                                 one_of("KOMERCIJALIST"),
                                 "0",
                                 "False",
                                 "False",
                                 "12,25",
                                 "False",
                                 "True",
                                 "Napomena o partneru " + n};
    for (const std::string& cell : cells) {
      if (&cell != cells) text_ += '\t';
      text_ += cell;
    }
    text_ += '\n';
    ends_.push_back(text_.size());
  }
}

std::string ImportSheets::Text(std::size_t rows) const { return text_.substr(0, ends_.at(rows)); }

ImportHost::ImportHost(const ImportSheets& sheets) {
  for (const auto& [field, values] : sheets.Stored()) {
    RecordSet& answer = answers_.emplace(field, RecordSet("adsList")).first->second;
    answer.DefineField(field, FieldKind::kText, 100);
    answer.Open();
    for (const std::string& value : values) answer.AppendRecord({value});
  }
}

ImportHost::~ImportHost() = default;

// The field is the only one whose name stands in "select ... as FIELD from", or just "select FIELD from".
std::unique_ptr<TAstaParamList> ImportHost::ReportDataService(const TAstaParamList& request,
                                                              std::string_view /*service*/) {
  const std::string sql = request.ParamByName("params1").AsString();
  const std::string head = sql.substr(0, sql.find(" from "));
  const auto answer = answers_.find(std::string_view(head).substr(head.rfind(' ') + 1));
  if (answer == answers_.end()) return nullptr;
  RecordSet copy;
  copy.CleanClone(answer->second);
  auto answers = std::make_unique<TAstaParamList>();
  answers->FastAdd("adsList", std::move(copy));
  return answers;
}

void ImportHost::PasteAndCheck(const std::string& text, std::size_t rows) {
  SystemPlatform platform([&text] { return text; });
  const ScopedApp app({.comunication = this, .dialogs = this, .platform = &platform});
  TfrmImportGrid form(*this, "PARTNERPTT");
  form.OnShow();
  form.GridKeyDown(U'E', {.alt = true});
  form.ProvjeraIUvozClick();
  std::size_t faults = 0;
  RecordSet& source = form.AdsForImport();
  const ControlsGuard controls(source);
  for (source.First(); !source.Eof(); source.Next()) {
    faults += source.AsBoolean(kValidacijaPosition) ? 0U : 1U;
  }
  if (faults != ImportSheets::Faults(rows) || form.AdsForDBSave().RecordCount() != rows) {
    throw std::runtime_error("the import of " + std::to_string(rows) + " rows found " +
                             std::to_string(faults) + " faulty ones, and stored " +
                             std::to_string(form.AdsForDBSave().RecordCount()));
  }
}

}  // namespace mox::bench

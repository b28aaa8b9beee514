#include "mox/codes/exchange_rates.h"

#include <gtest/gtest.h>

#include "mox/foundation/text.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

std::string Factor(const Words& row) {
  RecordingHost host;
  RecordSet parameters =
      OneRecord("", "FaktorEura:float", {row.at(1) == "none" ? Value() : ParseNumber(row.at(1))});
  host.parameters = row.at(1) == "none" ? nullptr : &parameters;
  const ScopedApp app(host.Parts());
  return ShortestNumber(GetFaktor2023KnEur(*ParseIsoDate(row.at(0))));
}

std::string Rates(const Words& row) {
  const Date date = *MakeDate(2024, 3, 1);
  const std::map<std::string, std::function<std::string()>> functions = {
      {"GetTecaj", [&] { return ShortestNumber(GetTecaj(date, 978)); }},
      {"GetTecajByOznakaValute", [&] { return ShortestNumber(GetTecajByOznakaValute(date, "USD")); }},
      {"GetInfoTecajByOznakaValute", [&]() -> std::string {
         const auto info = GetInfoTecajByOznakaValute(date, "USD");
         if (!info) return "none";
         return info->IsEmpty() ? "0 records" : info->Name();
       }}};
  RecordingHost host;
  const ScopedApp app(host.Parts());
  std::vector<Value> rates = {7.5345, 1.0};
  host.services["GetTecaj"] = [&rates](const TAstaParamList&) {
    auto answer = std::make_unique<TAstaParamList>();
    for (const char* name : {"adsInfoTecaj", "adsTecaj"}) {
      RecordSet set = EmptySet(name, "tecaj:float");
      for (const Value& rate : rates) set.AppendRecord({rate});
      answer->FastAdd(name, std::move(set));
    }
    return answer;
  };
  const auto& function = functions.at(row.at(0));
  std::string result = ", " + function();
  rates = {};
  result += ", " + function();
  host.services.clear();
  result += ", " + function();
  return host.log.at(1) + result;
}

TEST(ExchangeRates, FollowTheirTables) {
  ExpectTables(
      "exchange_rates",
      {{"currency", [](auto& row) { return std::string(GetValutaOznakaByDate(*ParseIsoDate(row.at(0)))); }},
       {"factor", Factor},
       {"rates", Rates}},
      "codes");
}

}  // namespace
}  // namespace mox

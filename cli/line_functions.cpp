#include "cli/line_functions.h"

#include <array>
#include <tuple>
#include <utility>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/calculations/customs.h"
#include "mox/calculations/document_lines.h"
#include "mox/calculations/line_formulas.h"
#include "mox/calculations/line_function_list.h"
#include "mox/calculations/receipt_costing.h"

namespace mox {
namespace {

// --- a row of the table from a function: the kinds of its arguments are those of its declaration ---

template <typename T>
struct ArgumentOf;
template <>
struct ArgumentOf<int> {
  static constexpr std::string_view kKind = "integer";
  static constexpr auto* kParse = IntegerArgument;
};
template <>
struct ArgumentOf<Currency> {
  static constexpr std::string_view kKind = "currency";
  static constexpr auto* kParse = CurrencyArgument;
};
template <>
struct ArgumentOf<bool> {
  static constexpr std::string_view kKind = "boolean";
  static constexpr auto* kParse = BooleanArgument;
};

template <typename... Args>
using Names = std::array<std::string_view, sizeof...(Args)>;

template <typename... Args, std::size_t... I>
LineFunction MakeRow(std::string_view name, void (*function)(RecordSet&, Args...), Names<Args...> names,
                     std::index_sequence<I...>) {
  LineFunction row;
  row.name = name;
  row.arguments = {{names[I], ArgumentOf<Args>::kKind}...};
  row.bind = [=]([[maybe_unused]] std::span<const std::string> texts) -> BoundLineFunction {
    const std::tuple<Args...> values{ArgumentOf<Args>::kParse(names[I], texts[I])...};
    return [function, values](RecordSet& lines) {
      std::apply([&](const Args&... args) { function(lines, args...); }, values);
    };
  };
  return row;
}

template <typename... Args>
LineFunction Row(std::string_view name, void (*function)(RecordSet&, Args...),
                 std::type_identity_t<Names<Args...>> names = {}) {
  return MakeRow(name, function, names, std::index_sequence_for<Args...>());
}

LineFunction WalkingItself(LineFunction row) {
  row.walks_itself = true;
  return row;
}

#define MOX_ROW(function, ...) Row(#function, function __VA_OPT__(, {__VA_ARGS__})),

std::vector<LineFunction> Customs() {
  std::vector<LineFunction> rows = {MOX_CUSTOMS_FUNCTIONS(MOX_ROW)};
  rows.push_back(WalkingItself(Row("PonistiCarinuPdv", PonistiCarinuPdv, {"ClearCustoms", "ClearVat"})));
  return rows;
}

}  // namespace

const std::vector<LineFunctionGroup>& LineFunctions() {
  static const std::vector<LineFunctionGroup> groups = {
      {"line formulas", {MOX_LINE_FORMULAS(MOX_ROW)}},
      {"costing of goods receipts", {MOX_COSTING_FUNCTIONS(MOX_ROW)}},
      {"lines of whole documents", {MOX_DOCUMENT_CALCULATORS(MOX_ROW)}},
      {"customs", Customs()}};
  return groups;
}

#undef MOX_ROW

const LineFunction& FindLineFunction(std::string_view name) {
  std::vector<std::string_view> names;
  for (const LineFunctionGroup& group : LineFunctions()) {
    if (const LineFunction* found = FindRow(group.functions, name)) return *found;
    for (const LineFunction& function : group.functions) names.push_back(function.name);
  }
  throw UsageError(ThereIsNo("function", name, names));
}

}  // namespace mox

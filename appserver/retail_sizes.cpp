#include "appserver/retail_sizes.h"

#include <iterator>

namespace mox {
namespace {

constexpr std::string_view kColumns = "vel;brend;spol;uzrast";
constexpr std::string_view kFields[] = {"vel", "brend", "spol", "uzrast"};

}  // namespace

RecordSet FindRetailSizes(Database& database, const TAstaParamList& request) {
  TAstaParamList inputs = TAstaParamList::FromTokenizedString(request.AsTokenizedString(false));
  if (inputs.ParamByName("params1").AsString() != kColumns) {
    throw Error("\"params1\" must be \"" + std::string(kColumns) + '"');
  }
  const RecordSet& articles = inputs.ParamByName("params2").AsDataSet();

  RecordSet sizes("adsList");
  for (const std::string_view field : kFields) sizes.DefineField(field, FieldKind::kText);
  sizes.DefineField("HR_Vel", FieldKind::kText);
  sizes.Open();
  Statement statement = database.Prepare(
      "SELECT :vel, :brend, :spol, :uzrast, hr_vel FROM velicine WHERE fold(vel) = fold(:vel) "
      "AND fold(brend) = fold(:brend) AND fold(spol) = fold(:spol) AND fold(uzrast) = fold(:uzrast) "
      "ORDER BY id LIMIT 1",
      std::vector<FieldKind>(std::size(kFields), FieldKind::kText));
  for (const RecordRow& article : articles.Rows()) {
    for (std::size_t i = 0; i < std::size(kFields); ++i) {
      statement.BindText(i, article.AsText(article.IndexOf(kFields[i])));
    }
    statement.ExecuteInto(sizes);
  }
  if (!sizes.IsEmpty()) sizes.First();
  return sizes;
}

}  // namespace mox

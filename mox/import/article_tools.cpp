#include <algorithm>
#include <array>
#include <map>
#include <utility>
#include <vector>

#include "mox/foundation/text.h"
#include "mox/foundation/write_and_post_internal.h"
#include "mox/import/import_grid.h"
#include "mox/server/param_list.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

// Makes a field of all rows the texts of two others, one after the other.
struct Joined {
  std::string_view field;
  std::string_view first;
  std::string_view second;
};

void JoinFields(RecordSet& set, const std::vector<Joined>& joins) {
  if (!set.IsActive()) return;
  std::vector<std::array<std::size_t, 3>> columns;
  columns.reserve(joins.size());
  for (const auto& [field, first, second] : joins) {
    columns.push_back({set.Table().IndexOf(field), set.Table().IndexOf(first), set.Table().IndexOf(second)});
  }
  WholeSetWalk walk(set);
  for (set.First(); !set.Eof(); set.Next()) {
    set.Edit();
    WriteAndPost(set, [&] {
      for (const auto& [field, first, second] : columns) {
        set.SetText(field, set.AsText(first) + set.AsText(second));
      }
    });
  }
  walk.Restore();
}

using SizeColumns = std::array<std::size_t, 4>;

SizeColumns ColumnsOf(const RecordTable& table, const std::array<std::string_view, 4>& names) {
  SizeColumns columns{};
  std::transform(names.begin(), names.end(), columns.begin(),
                 [&](std::string_view name) { return table.IndexOf(name); });
  return columns;
}

constexpr std::string_view kSizeService = "Lunari\\KalkulirajVelicine";
constexpr std::string_view kSizeColumns = "vel;brend;spol;uzrast";

// Size, brand, sex and age of an article, without regard to letter case and to blanks at the ends.
using SizeKey = std::vector<std::string>;

SizeKey SizeKeyOf(const RecordRow& article, const SizeColumns& columns) {
  SizeKey key;
  for (const std::size_t column : columns) key.emplace_back(TrimBlanks(FoldCase(article.AsText(column))));
  return key;
}

}  // namespace

void TfrmImportGrid::GeneriranjeSifriClick() { JoinFields(source_, {{"SIFRA", "KATALOG", "HR_VEL"}}); }

void TfrmImportGrid::WSKatalogClick() {
  JoinFields(source_, {{"KATALOG", "PATRON", "BOJA"}, {"HR_VEL", "VELICINA", "CUP"}});
}

// Asks once for each different article: "params1" is the list of columns, "params2" the record set of the
// rows in these columns. An answer row repeats them beside "HR_Vel"; an article without an answer keeps its
// size.
void TfrmImportGrid::PreracunVelicinaClick() {
  static constexpr std::array<std::string_view, 4> kAsked = {"VELICINA", "BRAND", "SPOL", "UZRAST"};
  static constexpr std::array<std::string_view, 4> kAnswered = {"vel", "brend", "spol", "uzrast"};
  if (!source_.IsActive()) return;
  const SizeColumns asked = ColumnsOf(source_.Table(), kAsked);
  const std::size_t size_column = source_.Table().IndexOf("HR_VEL");
  WholeSetWalk walk(source_);
  RecordSet articles("adsVelicine");
  for (const std::string_view column : kAnswered) articles.DefineField(column, FieldKind::kText);
  articles.Open();
  std::map<SizeKey, std::string> sizes;
  source_.PostPending();
  for (const RecordRow& article : source_.Rows()) {
    if (!sizes.try_emplace(SizeKeyOf(article, asked)).second) continue;
    articles.Append();
    for (std::size_t i = 0; i < asked.size(); ++i) articles.SetText(i, article.AsText(asked[i]));
    articles.Post();
  }
  if (articles.IsEmpty()) return walk.Restore();
  TAstaParamList request;
  request.FastAdd("params1", Value(std::string(kSizeColumns)));
  request.FastAdd("params2", std::move(articles));
  const std::optional<RecordSet> answer = CreateDBDataSet(kSizeService, "adsList", request);
  if (!answer || answer->IsEmpty()) return walk.Restore();
  sizes.clear();
  const SizeColumns answered = ColumnsOf(answer->Table(), kAnswered);
  const std::size_t answered_size = answer->Table().IndexOf("HR_Vel");
  for (const RecordRow& row : answer->Rows()) {
    sizes.try_emplace(SizeKeyOf(row, answered), row.AsText(answered_size));
  }
  for (source_.First(); !source_.Eof(); source_.Next()) {
    const auto size = sizes.find(SizeKeyOf(source_.RowAt(source_.CurrentRow()), asked));
    if (size == sizes.end()) continue;
    source_.Edit();
    WriteAndPost(source_, [&] { source_.SetText(size_column, size->second); });
  }
  walk.Restore();
}

}  // namespace mox

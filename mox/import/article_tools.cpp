#include <map>
#include <utility>
#include <vector>

#include "mox/foundation/text.h"
#include "mox/foundation/write_and_post_internal.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_walk_internal.h"
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
  const WholeSetWalk walk(set);
  for (set.First(); !set.Eof(); set.Next()) {
    set.Edit();
    WriteAndPost(set, [&] {
      for (const Joined& join : joins) {
        set.FieldByName(join.field)
            .SetText(set.FieldByName(join.first).AsText() + set.FieldByName(join.second).AsText());
      }
    });
  }
}

constexpr std::string_view kSizeService = "Lunari\\KalkulirajVelicine";
constexpr std::string_view kSizeColumns = "vel;brend;spol;uzrast";

// Size, brand, sex and age of an article, without regard to letter case and to blanks at the ends.
using SizeKey = std::vector<std::string>;

SizeKey SizeKeyOf(const RecordRow& article, const std::vector<std::string_view>& fields) {
  SizeKey key;
  for (const std::string_view field : fields) {
    key.emplace_back(TrimBlanks(FoldCase(article.AsText(article.IndexOf(field)))));
  }
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
  static const std::vector<std::string_view> kAsked = {"VELICINA", "BRAND", "SPOL", "UZRAST"};
  static const std::vector<std::string_view> kAnswered = {"vel", "brend", "spol", "uzrast"};
  if (!source_.IsActive()) return;
  const WholeSetWalk walk(source_);
  RecordSet articles("adsVelicine");
  for (const std::string_view column : kAnswered) articles.DefineField(column, FieldKind::kText);
  articles.Open();
  std::map<SizeKey, std::string> sizes;
  source_.PostPending();
  for (const RecordRow& article : source_.Rows()) {
    if (!sizes.try_emplace(SizeKeyOf(article, kAsked)).second) continue;
    articles.Append();
    for (std::size_t i = 0; i < kAsked.size(); ++i) {
      articles.SetText(i, article.AsText(article.IndexOf(kAsked[i])));
    }
    articles.Post();
  }
  if (articles.IsEmpty()) return;
  TAstaParamList request;
  request.FastAdd("params1", Value(std::string(kSizeColumns)));
  request.FastAdd("params2", std::move(articles));
  const std::optional<RecordSet> answer = CreateDBDataSet(kSizeService, "adsList", request);
  if (!answer) return;
  sizes.clear();
  for (const RecordRow& row : answer->Rows()) {
    sizes.try_emplace(SizeKeyOf(row, kAnswered), row.AsText(row.IndexOf("HR_Vel")));
  }
  for (source_.First(); !source_.Eof(); source_.Next()) {
    const auto size = sizes.find(SizeKeyOf(source_.RowAt(source_.CurrentRow()), kAsked));
    if (size == sizes.end()) continue;
    source_.Edit();
    WriteAndPost(source_, [&] { source_.FieldByName("HR_VEL").SetText(size->second); });
  }
}

}  // namespace mox

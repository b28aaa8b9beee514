#include "mox/documents/article_lines.h"

#include <algorithm>
#include <map>

#include "mox/documents/quantity.h"
#include "mox/foundation/text.h"
#include "mox/foundation/write_and_post_internal.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

// A field of lines, and the one of the article that it is taken from.
struct Taken {
  std::string_view field;
  std::string_view from;
};

constexpr Taken kDescribing[] = {{"art_id", "id"}, {"sifra", "sifra"}, {"naziv", "naziv"}, {"jm", "jm"}};
constexpr Taken kPriced[] = {
    {"tbr_stp", "tbr_stp"}, {"pc", "vpc"}, {"vpc", "vpc"}, {"mpc", "mpc"}, {"nc", "nc"}};

bool IsLeftOut(const RecordRow& line, std::size_t field) {
  if (line.IsNull(field)) return true;
  return line.Definition(field).kind == FieldKind::kText && TrimBlanks(line.AsTextView(field)).empty();
}

// Which article a line names; empty where it names none.
struct ArticleName {
  std::string code;
  std::optional<std::int64_t> key;

  bool IsEmpty() const { return code.empty() && !key; }
  friend auto operator<=>(const ArticleName&, const ArticleName&) = default;
};

class ArticleNames {
 public:
  explicit ArticleNames(const RecordSet& goods)
      : key_(goods.FindFieldIndex("art_id")), code_(goods.FindFieldIndex("sifra")) {}
  ArticleName Of(const RecordRow& line) const {
    ArticleName name;
    if (key_ && !line.IsNull(*key_)) name.key = line.AsInteger(*key_);
    if (!name.key && code_) name.code = TrimBlanks(line.AsText(*code_));
    return name;
  }

 private:
  std::optional<std::size_t> key_;
  std::optional<std::size_t> code_;
};

// Asks for each article once.
class Articles {
 public:
  explicit Articles(std::optional<std::int64_t> warehouse) : warehouse_(warehouse) {}

  // Null where there is no such article.
  const RecordSet* Find(const ArticleName& name) {
    const auto [entry, is_new] = known_.try_emplace(name);
    if (is_new) {
      TAstaParamList request;
      if (name.key) {
        request.FastAdd("art_id", *name.key);
      } else {
        request.FastAdd("sifra", Value(name.code));
      }
      if (warehouse_) request.FastAdd("skl_id", *warehouse_);
      entry->second = CreateDBDataSet("ArtiklZaStavku", "adsArtikl", request);
    }
    return entry->second && !entry->second->IsEmpty() ? &*entry->second : nullptr;
  }

 private:
  std::optional<std::int64_t> warehouse_;
  std::map<ArticleName, std::optional<RecordSet>> known_;
};

void TakeField(RecordSet& goods, const RecordRow& article, const Taken& taken) {
  const auto field = goods.FindFieldIndex(taken.field);
  if (!field || !IsLeftOut(goods.RowAt(goods.CurrentRow()), *field)) return;
  for (std::size_t i = 0; i < article.FieldCount(); ++i) {
    if (article.Definition(i).name == taken.from) goods.SetVariant(*field, article.AsVariant(i));
  }
}

}  // namespace

std::vector<std::string_view> FieldsOfArticles(const DocumentKind& kind) {
  const std::vector<std::string_view> inputs = SplitNames(kind.goods.inputs);
  std::vector<std::string_view> fields;
  for (const Taken& taken : kPriced) {
    const bool is_input = std::find(inputs.begin(), inputs.end(), taken.field) != inputs.end();
    const bool costs = taken.field == "nc" && kind.stock != StockDirection::kOut;
    if (is_input && !costs) fields.push_back(taken.field);
  }
  return fields;
}

namespace {

// What lines of goods of the kind take.
std::vector<Taken> AllTaken(const DocumentKind& kind) {
  std::vector<Taken> all(std::begin(kDescribing), std::end(kDescribing));
  for (const std::string_view field : FieldsOfArticles(kind)) {
    all.push_back(*std::find_if(std::begin(kPriced), std::end(kPriced),
                                [field](const Taken& known) { return known.field == field; }));
  }
  return all;
}

}  // namespace

std::vector<LineFault> TakeFromArticles(const DocumentKind& kind, RecordSet& goods,
                                        std::optional<std::int64_t> warehouse) {
  const std::vector<Taken> all = AllTaken(kind);
  for (const std::string_view field : FieldsOfArticles(kind)) goods.FieldByName(field);
  std::vector<LineFault> unknown;
  const ArticleNames names(goods);
  Articles articles(warehouse);
  const ControlsGuard guard(goods);
  SavedPosition position(goods);
  std::size_t number = 0;
  for (goods.First(); !goods.Eof(); goods.Next()) {
    ++number;
    const ArticleName name = names.Of(goods.RowAt(goods.Position()));
    if (name.IsEmpty()) continue;
    const RecordSet* const article = articles.Find(name);
    if (article == nullptr) {
      unknown.push_back({number, name.key ? "art_id" : "sifra",
                         name.key ? "there is no article " + std::to_string(*name.key)
                                  : "no article has the code \"" + name.code + '"'});
      continue;
    }
    goods.Edit();
    WriteAndPost(goods, [&] {
      for (const Taken& taken : all) TakeField(goods, article->RowAt(0), taken);
    });
  }
  position.Restore();
  return unknown;
}

bool BecomeLineOf(const DocumentKind& kind, RecordSet& goods, std::string_view code,
                  std::optional<std::int64_t> warehouse) {
  Articles articles(warehouse);
  const RecordSet* const article = articles.Find({std::string(code), std::nullopt});
  if (article == nullptr) return false;
  for (const Taken& taken : AllTaken(kind)) {
    const auto field = goods.FindFieldIndex(taken.field);
    if (!field) continue;
    goods.SetNull(*field);
    TakeField(goods, article->RowAt(0), taken);
  }
  return true;
}

std::vector<LineFault> FindMissingOfArticles(const DocumentKind& kind, const RecordSet& goods,
                                             const std::vector<std::string_view>& required,
                                             const std::vector<LineFault>& unknown) {
  std::vector<LineFault> missing;
  auto untold = unknown.begin();  // in the order of the lines
  const ArticleNames names(goods);
  std::size_t number = 0;
  for (const RecordRow& line : goods.Rows()) {
    ++number;
    const ArticleName name = names.Of(line);
    while (untold != unknown.end() && untold->line < number) ++untold;
    const bool is_unknown = untold != unknown.end() && untold->line == number;
    const std::string why = is_unknown ? untold->message : "no article says it";
    for (const std::string_view field : FieldsOfArticles(kind)) {
      const bool has_to = std::find(required.begin(), required.end(), field) != required.end();
      if ((name.IsEmpty() && !has_to) || !line.IsNull(*goods.FindFieldIndex(field))) continue;
      missing.push_back({number, std::string(field), "is empty, and " + why});
    }
  }
  return missing;
}

std::optional<std::int64_t> OnlyWarehouse() {
  const std::optional<RecordSet> all = GetSkladista();
  if (!all) return std::nullopt;
  std::vector<std::int64_t> in_use;
  for (const RecordRow& row : all->Rows()) {
    if (row.AsBoolean(*all->FindFieldIndex("aktivan")))
      in_use.push_back(row.AsInteger(*all->FindFieldIndex("id")));
  }
  return in_use.size() == 1 ? std::optional(in_use.front()) : std::nullopt;
}

RecordSet StockTaken(const DocumentKind& kind, const RecordSet& goods, std::int64_t warehouse) {
  RecordSet taken("Lager");
  taken.DefineField("art_id", FieldKind::kInteger);
  taken.DefineField("sifra", FieldKind::kText);
  taken.DefineField("kolicina", FieldKind::kFloat);
  taken.DefineField("stanje", FieldKind::kFloat);
  taken.Open();
  const auto key = goods.FindFieldIndex("art_id");
  const auto quantity = goods.FindFieldIndex("kolicina");
  if (kind.stock == StockDirection::kNone || !key || !quantity) return taken;
  const double sign = kind.stock == StockDirection::kIn ? 1 : -1;
  const auto code = goods.FindFieldIndex("sifra");
  std::map<std::int64_t, double> moved;  // in whole millionths, so that sums are exact
  std::map<std::int64_t, std::string> codes;
  for (const RecordRow& line : goods.Rows()) {
    if (line.IsNull(*key)) continue;
    const std::int64_t article = line.AsInteger(*key);
    moved[article] += sign * static_cast<double>(CountedQuantity(line.AsFloat(*quantity)));
    if (code && !line.IsNull(*code)) codes[article] = line.AsText(*code);
  }
  for (const auto& [article, millionths] : moved) {
    if (millionths >= 0) continue;
    const std::optional<RecordSet> stock =
        CreateDBDataSet("StanjeSkladista", "adsStanje", {{"skl_id", warehouse}, {"art_id", article}});
    const bool stands = stock && !stock->IsEmpty();
    const std::string& named = codes[article];
    const Value unmoved = named.empty() ? Value() : Value(named);
    taken.AppendRecord({article,
                        stands ? Value(stock->RowAt(0).AsText(*stock->FindFieldIndex("sifra"))) : unmoved,
                        millionths / static_cast<double>(kQuantityScale),
                        stands ? stock->RowAt(0).AsFloat(*stock->FindFieldIndex("kolicina")) : 0.0});
  }
  return taken;
}

}  // namespace mox

#include "appserver/stock.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

#include "appserver/dialect.h"
#include "appserver/fold.h"
#include "mox/documents/quantity.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

constexpr double kMostUnits = 1e9;  // in one movement

// --- which articles lines name ---

// Finds articles by their codes. Few articles are read at once, of many only those that are asked for.
class ArticleCodes {
 public:
  ArticleCodes(Database& database, std::size_t lines)
      : asked_(database.Prepare("SELECT id FROM art WHERE fold(sifra) = :sifra ORDER BY id LIMIT 1",
                                {FieldKind::kText})) {
    const std::int64_t count =
        database.Query("broj", ParseColumns("broj:integer"), "SELECT COUNT(*) FROM art").AsInteger(0);
    knows_all_ = count <= static_cast<std::int64_t>(4 * lines);
    if (!knows_all_) return;
    const RecordSet all =
        database.Query("art", ParseColumns("id:integer,sifra"), "SELECT id, sifra FROM art ORDER BY id");
    for (const RecordRow& row : all.Rows()) known_.emplace(FoldKey(row.AsTextView(1)), row.AsInteger(0));
  }

  std::optional<std::int64_t> Find(std::string_view code) {
    std::string key = FoldKey(code);
    const auto known = known_.find(key);
    if (known != known_.end()) return known->second;
    if (knows_all_) return std::nullopt;
    asked_.BindText(0, key);
    RecordSet found("art");
    found.DefineField("id", FieldKind::kInteger);
    found.Open();
    asked_.ExecuteInto(found);
    std::optional<std::int64_t> id;
    if (!found.IsEmpty()) id = found.RowAt(0).AsInteger(0);
    return known_.emplace(std::move(key), id).first->second;
  }

 private:
  Statement asked_;
  bool knows_all_ = false;
  std::unordered_map<std::string, std::optional<std::int64_t>> known_;
};

WriteRefused RefusedLine(std::size_t row, std::string field, std::string message) {
  return WriteRefused({"", "Stavke", row, std::move(field), std::move(message)});
}

}  // namespace

LineArticles::LineArticles(Database& database, const RecordSet* goods) {
  if (goods == nullptr) return;
  const auto key = goods->FindFieldIndex("art_id");
  const auto code = goods->FindFieldIndex("sifra");
  if (!key && !code) return;
  std::optional<ArticleCodes> codes;
  std::size_t row = 0;
  for (const RecordRow& line : goods->Rows()) {
    ++row;
    const bool has_key = key && !line.IsNull(*key);
    const std::string text = code ? line.AsText(*code) : std::string();
    const bool has_code = !TrimBlanks(text).empty();
    if (!has_code) {
      if (has_key) lines_.push_back({row, line.AsInteger(*key), false});
      continue;
    }
    if (!codes) codes.emplace(database, goods->RowCount());
    const std::optional<std::int64_t> found = codes->Find(text);
    if (found && has_key && *found != line.AsInteger(*key)) {
      throw RefusedLine(row, "sifra", InQuotes(text) + " is not the code of article " + line.AsText(*key));
    }
    if (found) {
      lines_.push_back({row, *found, !has_key});
    } else if (has_key) {
      throw RefusedLine(row, "sifra", InQuotes(text) + " is not the code of article " + line.AsText(*key));
    } else if (!unknown_) {
      unknown_ = {"", "Stavke", row, "sifra", "no article has the code " + InQuotes(text)};
    }
  }
}

void LineArticles::RequireKnown() const {
  if (unknown_) throw WriteRefused(*unknown_);
}

void LineArticles::StoreKeys(Database& database, std::int64_t doc_id) const {
  std::optional<Statement> update;
  for (const Line& line : lines_) {
    if (!line.by_code) continue;
    if (!update) {
      update = database.Prepare("UPDATE dok_stavke SET art_id = :art_id WHERE dok_id = :dok_id AND rb = :rb",
                                {FieldKind::kInteger, FieldKind::kInteger, FieldKind::kInteger});
    }
    update->Bind(0, line.article);
    update->Bind(1, doc_id);
    update->Bind(2, static_cast<std::int64_t>(line.row));
    update->Execute();
  }
}

std::optional<std::int64_t> WarehouseOf(Database& database, const DocumentKind& kind,
                                        const LineArticles& articles, std::optional<std::int64_t> named) {
  if (kind.stock == StockDirection::kNone) return std::nullopt;
  if (!named && !articles.HasArticles()) return std::nullopt;
  articles.RequireKnown();
  if (named || !articles.HasArticles()) return named;
  const RecordSet warehouses = database.Query("skladiste", ParseColumns("id:integer"),
                                              "SELECT id FROM skladiste WHERE aktivan ORDER BY id LIMIT 2");
  if (warehouses.RowCount() == 1) return warehouses.AsInteger(0);
  throw WriteRefused({"", "Zaglavlje", 1, "skl_id",
                      "must not be empty: the lines move stock, and the company has " +
                          std::string(warehouses.IsEmpty() ? "no warehouse" : "several warehouses")});
}

namespace {

// --- what moves ---

struct Balance {
  std::int64_t quantity = 0;  // millionths
  std::int64_t value = 0;     // ten-thousandths
  std::int64_t price = 0;     // the last average of a unit, in ten-thousandths
  std::int64_t before = 0;    // the quantity before the document
  std::int64_t last_line = 0;
};

// "-0.5" of millionths.
std::string QuantityText(std::int64_t quantity) {
  std::string digits = std::to_string(quantity < 0 ? -quantity : quantity);
  if (digits.size() < 7) digits.insert(0, 7 - digits.size(), '0');
  digits.insert(digits.size() - 6, ".");
  digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.ends_with('.')) digits.pop_back();
  return (quantity < 0 ? "-" : "") + digits;
}

std::int64_t Rounded(long double number) { return static_cast<std::int64_t>(std::roundl(number)); }

// What a quantity that goes out, or comes back, is worth of what stands there.
std::int64_t ShareOf(const Balance& balance, std::int64_t quantity) {
  const auto at_price = [&](std::int64_t units) {
    return Rounded(static_cast<long double>(units) * static_cast<long double>(balance.price) /
                   kQuantityScale);
  };
  if (quantity <= 0 || balance.quantity <= 0) return at_price(quantity);
  if (quantity >= balance.quantity) return balance.value + at_price(quantity - balance.quantity);
  return Rounded(static_cast<long double>(balance.value) * static_cast<long double>(quantity) /
                 static_cast<long double>(balance.quantity));
}

// What stands in warehouses while a document moves it.
class Ledger {
 public:
  Ledger(Database& database, std::int64_t doc_id)
      : database_(database),
        doc_id_(doc_id),
        insert_(database.Prepare("INSERT INTO skl_promet (dok_id, rb, skl_id, art_id, kolicina, vrijednost) "
                                 "VALUES (:dok_id, :rb, :skl_id, :art_id, :kolicina, :vrijednost)",
                                 std::vector<FieldKind>(6, FieldKind::kInteger))) {}

  Balance& Of(std::int64_t warehouse, std::int64_t article) {
    const auto [entry, is_new] = balances_.try_emplace({warehouse, article});
    if (!is_new) return entry->second;
    const RecordSet row = database_.Query(
        "stanje", ParseColumns("kolicina:integer,vrijednost:integer,nc:integer"),
        "SELECT kolicina, vrijednost, nc FROM skl_stanje WHERE skl_id = :skl_id AND art_id = :art_id",
        {warehouse, article});
    if (!row.IsEmpty()) {
      entry->second = {.quantity = row.AsInteger(0),
                       .value = row.AsInteger(1),
                       .price = row.AsInteger(2),
                       .before = row.AsInteger(0)};
    }
    return entry->second;
  }

  void Move(std::int64_t warehouse, std::int64_t article, std::int64_t line, std::int64_t quantity,
            std::int64_t value) {
    Balance& balance = Of(warehouse, article);
    balance.quantity += quantity;
    balance.value += value;
    balance.last_line = line;
    if (balance.quantity > 0 && balance.value > 0) {
      balance.price = Rounded(static_cast<long double>(balance.value) * kQuantityScale /
                              static_cast<long double>(balance.quantity));
    }
    const std::int64_t values[] = {doc_id_, line, warehouse, article, quantity, value};
    for (std::size_t i = 0; i < std::size(values); ++i) insert_.Bind(i, values[i]);
    insert_.Execute();
  }

  // Writes what stands there now.
  void Finish(bool may_be_negative) {
    for (const auto& [place, balance] : balances_) {
      if (balance.last_line == 0) continue;
      if (!may_be_negative && balance.quantity < 0 && balance.quantity < balance.before) {
        RefuseShortage(place.first, place.second, balance);
      }
      database_.Execute(
          "INSERT INTO skl_stanje (skl_id, art_id, kolicina, vrijednost, nc) "
          "VALUES (:skl_id, :art_id, :kolicina, :vrijednost, :nc) "
          "ON CONFLICT (skl_id, art_id) DO UPDATE SET kolicina = excluded.kolicina, "
          "vrijednost = excluded.vrijednost, nc = excluded.nc",
          {place.first, place.second, balance.quantity, balance.value, balance.price});
    }
  }

 private:
  [[noreturn]] void RefuseShortage(std::int64_t warehouse, std::int64_t article, const Balance& balance) {
    const RecordSet names = database_.Query("nazivi", ParseColumns("skladiste,artikl"),
                                            "SELECT s.sifra, a.sifra FROM skladiste s, art a "
                                            "WHERE s.id = :skl_id AND a.id = :art_id",
                                            {warehouse, article});
    throw RefusedLine(static_cast<std::size_t>(balance.last_line), "kolicina",
                      "article " + names.AsText(1) + " would stand at " + QuantityText(balance.quantity) +
                          " in warehouse " + names.AsText(0) + ", which has " + QuantityText(balance.before) +
                          "; " + std::string(kStockMayBeNegative) + " of Zaglavlje says that it may");
  }

  Database& database_;
  std::int64_t doc_id_;
  Statement insert_;
  std::map<std::pair<std::int64_t, std::int64_t>, Balance> balances_;
};

// How lines of a kind of document say what they are worth at purchase prices.
class Worth {
 public:
  explicit Worth(const DocumentKind& kind) : is_receipt_(kind.is == DocumentClass::kGoodsReceipt) {
    const std::vector<std::string_view> calculated = SplitNames(kind.goods.calculated);
    reads_value_ = is_receipt_ || std::find(calculated.begin(), calculated.end(), "nci") != calculated.end();
  }

  // None where they say nothing. A receipt that was not costed is worth what the supplier charges for it and
  // what it cost to get it here.
  std::optional<std::int64_t> Of(const RecordRow& line, std::size_t nci, std::size_t nfci,
                                 std::size_t zti) const {
    if (reads_value_ && !line.IsNull(nci) && !(is_receipt_ && line.AsCurrency(nci).IsZero())) {
      return line.AsCurrency(nci).scaled();
    }
    if (!is_receipt_ || line.IsNull(nfci)) return std::nullopt;
    return (line.AsCurrency(nfci) + line.AsCurrency(zti)).scaled();
  }

 private:
  bool is_receipt_;
  bool reads_value_;
};

std::int64_t MovedQuantity(const RecordRow& line, std::size_t field, std::int64_t number) {
  const double quantity = line.AsFloat(field);
  if (std::fabs(quantity) <= kMostUnits) return CountedQuantity(quantity);
  throw RefusedLine(static_cast<std::size_t>(number), "kolicina",
                    line.AsText(field) + " is too much to be counted");
}

// Nobody else is to move them until the document is stored.
void ClaimArticles(Database& database, const RecordSet& lines) {
  const std::size_t article = *lines.FindFieldIndex("art_id");
  std::vector<std::string> names;
  for (const RecordRow& line : lines.Rows()) names.push_back("art/" + line.AsText(article));
  if (!names.empty()) database.Claim(std::move(names));
}

}  // namespace

std::string CountedQuantitySql(const Dialect& dialect, const std::string& quantity) {
  return dialect.Nearest(quantity + " * " + std::to_string(kQuantityScale));
}

void MoveStock(Database& database, const DocumentKind& kind, std::int64_t doc_id, std::int64_t warehouse,
               bool may_be_negative) {
  if (kind.stock == StockDirection::kNone) return;
  const std::int64_t sign = kind.stock == StockDirection::kIn ? 1 : -1;
  const RecordSet lines = database.Query(
      "stavke",
      ParseColumns("rb:integer,art_id:integer,kolicina:float,nci:currency,nfci:currency,zti:currency"),
      "SELECT rb, art_id, kolicina, nci, nfci, zti FROM dok_stavke "
      "WHERE dok_id = :dok_id AND sorta = 'roba' AND art_id IS NOT NULL ORDER BY rb",
      {doc_id});
  const Worth worth(kind);
  ClaimArticles(database, lines);
  Ledger ledger(database, doc_id);
  for (const RecordRow& line : lines.Rows()) {
    const std::int64_t number = line.AsInteger(0);
    const std::int64_t article = line.AsInteger(1);
    const std::int64_t quantity = MovedQuantity(line, 2, number);
    if (quantity == 0) continue;
    const std::optional<std::int64_t> said = worth.Of(line, 3, 4, 5);
    const std::int64_t value =
        said ? sign * *said : -ShareOf(ledger.Of(warehouse, article), -sign * quantity);
    ledger.Move(warehouse, article, number, sign * quantity, value);
  }
  ledger.Finish(may_be_negative);
}

void MoveStockBack(Database& database, std::int64_t cancelled_id, std::int64_t storno_id,
                   bool may_be_negative) {
  const RecordSet moved = database.Query(
      "promet", ParseColumns("rb:integer,skl_id:integer,art_id:integer,kolicina:integer,vrijednost:integer"),
      "SELECT rb, skl_id, art_id, kolicina, vrijednost FROM skl_promet WHERE dok_id = :dok_id ORDER BY rb",
      {cancelled_id});
  if (moved.IsEmpty()) return;
  ClaimArticles(database, moved);
  Ledger ledger(database, storno_id);
  for (const RecordRow& line : moved.Rows()) {
    ledger.Move(line.AsInteger(1), line.AsInteger(2), line.AsInteger(0), -line.AsInteger(3),
                -line.AsInteger(4));
  }
  ledger.Finish(may_be_negative);
}

}  // namespace mox

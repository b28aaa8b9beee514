#include "mox/documents/document.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "mox/calculations/supplier_totals.h"
#include "mox/codes/exchange_rates.h"
#include "mox/documents/document_header_internal.h"
#include "mox/documents/storno.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/text.h"
#include "mox/foundation/write_and_post_internal.h"
#include "mox/server/credit_limit.h"
#include "mox/server/read_services.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

RecordSet MakeHeader(const DocumentKind& kind) {
  RecordSet header("Zaglavlje");
  DefineHeaderFields(header);
  header.Open();
  header.Append();
  header.FieldByName("vrsta").SetText(kind.name);
  header.FieldByName("datum").SetDate(Today());
  header.Post();
  return header;
}

RecordSet MakeRecapitulation() {
  RecordSet recap("Rekapitulacija");
  for (const auto& name : {field::osnovica, field::porez}) {
    recap.DefineField(name.text, FieldKind::kCurrency);
  }
  recap.DefineField(field::stopa.text, FieldKind::kFloat);
  recap.DefineField(field::oznaka_stope.text, FieldKind::kText);
  recap.DefineField(field::ukupno.text, FieldKind::kCurrency);
  recap.Open();
  return recap;
}

RecordSet MakeTotals() {
  RecordSet totals("Ukupno");
  totals.DefineField("izvor", FieldKind::kText);
  totals.DefineField("polje", FieldKind::kText);
  totals.DefineField("iznos", FieldKind::kCurrency);
  totals.Open();
  return totals;
}

bool Has(const std::vector<std::string_view>& names, std::string_view name) {
  return std::any_of(names.begin(), names.end(),
                     [name](std::string_view known) { return SameName(known, name); });
}

// What a recapitulation would take out of the tax base of every line that has it.
bool HasForeignDeductions(const LineSchema& schema, const RecordSet& lines) {
  const std::vector<std::string_view> calculated = SplitNames(schema.calculated);
  const auto is_foreign = [&](std::string_view name) {
    return lines.FindFieldIndex(name).has_value() && !Has(calculated, name);
  };
  return is_foreign(field::pov_naki.text) || is_foreign(field::neoporezivo.text);
}

// A copy of the lines with the columns that the schema knows.
RecordSet ColumnsOfSchema(const LineSchema& schema, const RecordSet& lines) {
  const std::vector<FieldDef> known = LineFields(schema);
  RecordSet narrow(lines.Name());
  for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
    const FieldDef& column = lines.Definition(i);
    const auto same = [&column](const FieldDef& field) { return SameName(field.name, column.name); };
    if (std::any_of(known.begin(), known.end(), same)) narrow.DefineField(column);
  }
  narrow.Open();
  narrow.DataTransfer(lines);
  return narrow;
}

struct Sum {
  std::string field;
  Currency amount;
};

// Of the columns that count, by their names.
template <typename Counts>
void AddAmounts(const RecordSet& records, Counts counts, std::vector<Sum>& sums) {
  std::vector<std::pair<std::size_t, std::size_t>> columns;  // index of the field, of the sum
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    if (!IsAmountField(field) || !counts(field.name)) continue;
    const auto sum = std::find_if(sums.begin(), sums.end(),
                                  [&](const Sum& known) { return SameName(known.field, field.name); });
    columns.emplace_back(i, static_cast<std::size_t>(sum - sums.begin()));
    if (sum == sums.end()) sums.push_back({field.name, Currency()});
  }
  for (const RecordRow& row : records.Rows()) {
    for (const auto& [index, sum] : columns) sums[sum].amount += row.AsCurrency(index);
  }
}

}  // namespace

// Reading a document does not calculate it anew, and Calculate() calculates each line once. An event of the
// caller's own sees the walks.
class Document::CalculationPauses {
 public:
  explicit CalculationPauses(Document& document) {
    if (document.goods_ && document.goods_->HasEvent()) goods_.emplace(document.goods_->records);
    if (document.services_ && document.services_->HasEvent()) services_.emplace(document.services_->records);
  }

 private:
  std::optional<CalculationPause> goods_;
  std::optional<CalculationPause> services_;
};

Document::Document(const DocumentKind& kind)
    : kind_(&kind),
      digits_(DocumentDigits::OfApplication()),
      header_(MakeHeader(kind)),
      totals_(MakeTotals()) {
  if (kind.goods.Exists()) goods_ = MakeLines(kind.goods, "Stavke");
  if (kind.services.Exists()) services_ = MakeLines(kind.services, "Usluge");
  if (kind.recap.Exists()) recap_ = MakeRecapitulation();
  if (HasSupplierTotals(kind)) supplier_totals_ = MakeDocDobavljaca();
}

Document::Document(const DocumentKind& kind, std::optional<RecordSet> goods,
                   std::optional<RecordSet> services)
    : Document(kind) {
  const auto take = [&](const LineSchema& schema, std::optional<RecordSet> records) {
    if (records && !schema.Exists()) {
      throw Error(records->Name() + ": " + std::string(kind.name) + " has no such lines");
    }
    return records ? std::optional(TakeLines(schema, std::move(*records))) : std::nullopt;
  };
  goods_ = take(kind.goods, std::move(goods));
  services_ = take(kind.services, std::move(services));
}

Document::Lines Document::MakeLines(const LineSchema& schema, const char* name) const {
  Lines lines{&schema, RecordSet(name), std::make_shared<bool>(false)};
  lines.records.DefineField("art_id", FieldKind::kInteger);
  for (const char* const text : {"sifra", "naziv", "jm"}) lines.records.DefineField(text, FieldKind::kText);
  for (FieldDef& field : LineFields(schema)) lines.records.DefineField(std::move(field));
  // Dependent costs belong to what is received, also where its calculator does not read them.
  const bool takes_costs = kind_->is == DocumentClass::kGoodsReceipt && &schema == &kind_->goods;
  if (takes_costs && !lines.records.FindFieldIndex(field::zti.text)) {
    lines.records.DefineField(std::string(field::zti.text), FieldKind::kCurrency);
  }
  lines.records.Open();
  CalculateByEvent(schema, lines.records, digits_, lines.is_calculated);
  return lines;
}

Document::Lines Document::TakeLines(const LineSchema& schema, RecordSet records) const {
  records.PostPending();
  std::string missing;
  for (const std::string_view name : SplitNames(schema.inputs)) {
    if (!records.FindFieldIndex(name)) missing += (missing.empty() ? "" : ", ") + std::string(name);
  }
  if (!missing.empty()) throw Error(records.Name() + ": columns are missing: " + missing);

  std::vector<FieldDef> fields;
  for (std::size_t i = 0; i < records.FieldCount(); ++i) fields.push_back(records.Definition(i));
  const std::size_t given = fields.size();
  AddLineFields(schema, fields);
  if (fields.size() == given) return {&schema, std::move(records)};
  RecordSet whole(records.Name());
  for (FieldDef& field : fields) whole.DefineField(std::move(field));
  whole.Open();
  whole.DataTransfer(records);
  return {&schema, std::move(whole)};
}

void Document::SetHeader(std::string_view field, const Value& value) {
  header_.PostPending();
  header_.First();
  header_.Edit();
  WriteAndPost(header_, [&] { header_.FieldByName(field).SetVariant(value); });
}

std::size_t Document::LineCount() const {
  return (goods_ ? goods_->records.RecordCount() : 0) + (services_ ? services_->records.RecordCount() : 0);
}

// Of lines that were handed over, what came with them of an earlier pass counts.
void Document::CalculateCurrent(const Lines& lines, RecordSet& records) const {
  const auto calculate = lines.HasEvent() ? CalculateEnteredLine : CalculateLine;
  calculate(*lines.schema, records, digits_);
}

void Document::CalculateEach(Lines& lines) const {
  RecordSet& records = lines.records;
  const ControlsGuard guard(records);
  SavedPosition position(records);
  for (records.First(); !records.Eof(); records.Next()) {
    records.Edit();
    if (lines.HasEvent()) {
      PostCalculated(lines);
    } else {
      WriteAndPost(records, [&] { CalculateCurrent(lines, records); });
    }
  }
  position.Restore();
}

// Of a pause only the post is free, so that its event settles the line which was calculated just before.
void Document::PostCalculated(Lines& lines) const {
  RecordSet& records = lines.records;
  struct Post {
    explicit Post(Lines& of) : lines(of) {
      *lines.is_calculated = true;
      lines.records.ResumeCalculation();
    }
    ~Post() {
      *lines.is_calculated = false;
      lines.records.PauseCalculation();
    }
    Post(const Post&) = delete;
    Post& operator=(const Post&) = delete;
    Lines& lines;
  };
  std::optional<Post> post;
  WriteAndPost(records, [&] {
    CalculateCurrent(lines, records);
    post.emplace(lines);
  });
}

const Document::Lines& Document::LinesOf(const RecordSet& records) const {
  if (goods_ && &goods_->records == &records) return *goods_;
  if (services_ && &services_->records == &records) return *services_;
  throw Error(records.Name() + ": no lines of this document");
}

// Calculators leave fields as they were, so each begins with what the line had before its edit, as the event
// of posting does.
void Document::PreviewLine(RecordSet& records) const {
  const Lines& lines = LinesOf(records);
  if (records.State() != DataSetState::kEdit && records.State() != DataSetState::kInsert) return;
  TakeBackPreview(records);
  CalculateCurrent(lines, records);
}

void Document::TakeBackPreview(RecordSet& records) const {
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    if (records.Definition(i).calculated) records.SetVariant(i, records.OldVariant(i));
  }
}

void Document::Calculate() {
  const CalculationPauses pauses(*this);
  if (goods_) CalculateEach(*goods_);
  if (services_) CalculateEach(*services_);
}

void Document::Recapitulate() {
  for (RecordSet* const lines : {Goods(), Services()}) {
    if (lines == nullptr) continue;
    if (lines->IsFiltered()) {
      throw StateError(lines->Name() + ": the lines are filtered, and a document is summed as a whole");
    }
    lines->PostPending();
  }
  SettleLines();
  const CalculationPauses pauses(*this);
  if (recap_) FillRecapitulation();
  FillTotals();
}

// A walk runs the event of lines that are not settled, and of no other. The row that was current stays so.
void Document::SettleLines() {
  for (std::optional<Lines>* const lines : {&goods_, &services_}) {
    if (!*lines || !(*lines)->HasEvent() || (*lines)->records.IsEmpty()) continue;
    RecordSet& records = (*lines)->records;
    const ControlsGuard guard(records);
    SavedPosition position(records);
    try {
      for (records.First(); !records.Eof(); records.Next()) {
      }
    } catch (const Error& error) {
      throw Error(records.Name() + ": row " + std::to_string(records.Position() + 1) + ": " + error.what());
    }
    position.Restore();
  }
}

void Document::FillRecapitulation() {
  const DocumentRecap& rule = kind_->recap;
  const bool has_both_sorts = kind_->goods.Exists() && kind_->services.Exists();
  recap_->Clear();
  // Goods come first, unless the kind has services alone; the member takes deductions from the first set.
  Lines* first =
      goods_ || has_both_sorts ? (goods_ ? &*goods_ : nullptr) : (services_ ? &*services_ : nullptr);
  std::optional<RecordSet> narrow;
  RecapFields fields;
  if (first != nullptr) {
    RecordSet* lines = &first->records;
    if (HasForeignDeductions(*first->schema, *lines)) {
      lines = &narrow.emplace(ColumnsOfSchema(*first->schema, *lines));
    }
    fields.amount1 = lines->FieldByName(rule.first.amount.text);
    fields.rate1 = lines->FieldByName(rule.first.rate.text);
    if (rule.second && !has_both_sorts) {
      fields.amount2 = lines->FieldByName(rule.second->amount.text);
      fields.rate2 = lines->FieldByName(rule.second->rate.text);
    }
  }
  if (rule.second && has_both_sorts && services_) {
    fields.amount2 = services_->records.FieldByName(rule.second->amount.text);
    fields.rate2 = services_->records.FieldByName(rule.second->rate.text);
  }
  if (!fields.amount1 && !fields.amount2) return;
  rule.fill(fields, *recap_, rule.digits != 0 ? rule.digits : digits_.vat);
}

void Document::FillTotals() {
  std::vector<Sum> sums;
  for (const std::optional<Lines>* const lines : {&goods_, &services_}) {
    if (!*lines) continue;
    const LineSchema& schema = *(*lines)->schema;
    const auto is_of_kind = [&schema](std::string_view name) {
      return Has(SplitNames(schema.inputs), name) || Has(SplitNames(schema.calculated), name);
    };
    AddAmounts((*lines)->records, is_of_kind, sums);
  }
  std::vector<Sum> recap_sums;
  if (recap_)
    AddAmounts(
        *recap_, [](std::string_view) { return true; }, recap_sums);

  totals_.Clear();
  for (const Sum& sum : sums) totals_.AppendRecord({std::string("stavke"), sum.field, sum.amount});
  for (const Sum& sum : recap_sums) {
    totals_.AppendRecord({std::string("rekapitulacija"), sum.field, sum.amount});
  }
}

DocumentSets Document::Sets() const {
  return {Goods(), Services(), recap_ ? &*recap_ : nullptr,
          header_.AsText(*header_.FindFieldIndex("vrsta_dok_dob"))};
}

void Document::FillSupplierTotals() {
  if (!supplier_totals_ || !goods_) return;
  mox::FillSupplierTotals(*supplier_totals_, goods_->records,
                          {.supplier_document = Sets().supplier_document,
                           .digits = digits_.vat,
                           .costs_count = IsAdditionalFeatureAllowed(kCostsCountFeature)});
}

std::vector<RecordSet*> Document::StoreRequest() {
  Recapitulate();
  if (LineCount() == 0) throw Error("the document has no lines, so it is not stored");
  CheckFigures(*kind_, Sets());
  header_.PostPending();
  if (const auto total = ToBePaid()) SetHeader("ukupno", *total);
  std::vector<RecordSet*> request = {&header_};
  const auto add = [&request](RecordSet* records, const char* name) {
    if (records == nullptr || records->IsEmpty()) return;
    records->SetName(name);
    request.push_back(records);
  };
  add(Goods(), "Stavke");
  add(Services(), "Usluge");
  add(Recapitulation(), "Rekapitulacija");
  FillSupplierTotals();
  add(SupplierTotals(), "DokDobavljaca");
  if (confirmed_) add(&*confirmed_, "Potvrde");
  return request;
}

// Limits and balances are in euros. Where no exchange rate is known storing asks for it.
Currency Document::InEuros(Currency amount) const {
  const RecordRow header = header_.RowAt(0);
  const std::size_t day = header.IndexOf("datum");
  if (header.IsNull(day)) return amount;
  const Date date = header.AsDate(day);
  if (const std::size_t currency = header.IndexOf("valuta_id"); !header.IsNull(currency)) {
    const std::size_t entered = header.IndexOf("tecaj");
    const double rate =
        header.IsNull(entered) ? GetTecaj(date, header.AsInteger(currency)) : header.AsFloat(entered);
    if (rate > 0) amount = InCurrencyOfDate(amount, date, rate);
  }
  return GetValutaOznakaByDate(date) == "HRK" ? EurosOfKunas(amount) : amount;
}

bool Document::ConfirmCredit() {
  const RecordRow header = header_.RowAt(0);
  const std::size_t partner = *header_.FindFieldIndex("par_id");
  std::optional<Currency> amount = ToBePaid();
  if (header.IsNull(partner) || !amount) return true;
  amount = InEuros(*amount);
  const std::optional<CreditFigures> figures = CreditFigures::Read(header.AsInteger(partner));
  if (!figures) return true;
  if (!mox::ConfirmCredit(*figures, *amount)) return false;
  confirmed_.emplace("Potvrde");
  confirmed_->DefineField("saldo", FieldKind::kCurrency);
  confirmed_->Open();
  confirmed_->AppendRecord({figures->balance});
  return true;
}

bool Document::Store() {
  return ConfirmQuantities(*this) && ExecuteTransaction("DokumentInsert", StoreRequest());
}

}  // namespace mox

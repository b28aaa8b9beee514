#include "mox/calculations/special_procedures.h"

#include "mox/calculations/line_formulas_internal.h"
#include "mox/calculations/walks_internal.h"
#include "mox/foundation/app.h"
#include "mox/foundation/rounding.h"

namespace mox {

using namespace formulas;

namespace {

// How the members of the special procedures differ.
struct Procedure {
  bool skips_item_kind_1 = false;
  bool rounds_margin_tax = false;
  bool frees_negative_margin = false;  // a line whose margin is negative becomes non-taxable as a whole
  bool rounds_sums = false;
  bool balances = false;
  bool has_consumption_tax = false;
};

constexpr Procedure kMarginScheme{.frees_negative_margin = true, .rounds_sums = true, .balances = true};
constexpr Procedure kTravelArrangement{.skips_item_kind_1 = true, .rounds_margin_tax = true};
constexpr Procedure kHotel{.rounds_margin_tax = true, .has_consumption_tax = true};

// The amounts of a line as its kind divides them.
struct Split {
  Currency base;
  Currency tax;
  Currency non_taxable;
};

// The columns of the lines, and what a row is made from.
struct LineFields {
  Field sale;
  Field purchase;
  Field rate;
  Field kind;        // decides how the line is taxed
  Field kind_value;  // stands in the recapitulation
  std::optional<Field> consumption_tax_rate;
};

struct Line {
  double rate = 0;
  double consumption_tax_rate = 0;
  Currency consumption_tax;
  std::string kind_value;
};

bool IsMargin(std::string_view kind) { return kind == "OPB" || kind == "OPP"; }

Split SplitMargin(const Procedure& procedure, Currency sale, Currency consumption_tax, Currency purchase,
                  Real rate) {
  const Currency margin = sale - consumption_tax - purchase;
  const Amount exact = ContainedTax(margin, rate);
  Split split;
  split.tax = procedure.rounds_margin_tax ? R2(exact) : Stored(exact);
  split.base = margin - split.tax;
  split.non_taxable = purchase;
  if (procedure.frees_negative_margin && split.base < Currency() && sale > Currency()) {
    split = {Currency(), Currency(), purchase + split.base + split.tax};
  }
  return split;
}

// Divides a line by its kind; an unknown one is reported and keeps the amounts of the line before.
void SplitLine(const Procedure& procedure, const LineFields& fields, const Line& line, Split& split) {
  const std::string kind = fields.kind.AsText();
  const Currency sale = fields.sale.AsCurrency();
  const Currency amount = sale - line.consumption_tax;
  if (IsMargin(kind)) {
    split = SplitMargin(procedure, sale, line.consumption_tax, fields.purchase.AsCurrency(), line.rate);
  } else if (kind == "OPO") {
    const Currency tax = R2(ContainedTax(amount, line.rate));
    split = {amount - tax, tax, Currency()};
  } else if (kind == "NEO" || kind == "OSL") {
    split = {Currency(), Currency(), amount};
  } else {
    ShowVelorDialog(TVCustomDialogType::kError, "Nepravilni podaci", "Raspodjela PDV-a",
                    "Oznaka vrste izlaznog poreza nije podržana");
  }
}

bool LocateRow(RecordSet& recap, const Procedure& procedure, const Line& line) {
  const LocateOptions options{.case_insensitive = true};
  if (procedure.has_consumption_tax && recap.Has(pp_stopa)) {
    return recap.Locate("stopa;pp_stopa;vrsta", {line.rate, line.consumption_tax_rate, line.kind_value},
                        options);
  }
  return recap.Locate("stopa;vrsta", {line.rate, line.kind_value}, options);
}

// Adds the line to its row, which becomes current, or appends one.
void AddToRow(RecordSet& recap, const Procedure& procedure, const Line& line, const Split& split) {
  const bool found = LocateRow(recap, procedure, line);
  const auto add = [&](CurrencyName name, Currency amount) {
    const Currency sum = found ? recap[name] + amount : amount;
    recap.Set(name, found && procedure.rounds_sums ? R2(sum) : sum);
  };
  if (found) {
    recap.Edit();
  } else {
    recap.Append();
  }
  WriteAndPost(recap, [&] {
    add(osnovica, split.base);
    add(porez, split.tax);
    add(ukupno, split.base + split.non_taxable + split.tax + line.consumption_tax);
    add(neoporezivo, split.non_taxable);
    if (procedure.has_consumption_tax && recap.Has(pp_iznos)) add(pp_iznos, line.consumption_tax);
    if (found) return;
    recap.Set(vrsta, line.kind_value);
    recap.Set(stopa, line.rate);
    recap.Set(oznaka_stope, RateText(line.rate));
    if (procedure.has_consumption_tax && recap.Has(pp_stopa)) recap.Set(pp_stopa, line.consumption_tax_rate);
  });
}

// The non-taxable part absorbs the rounding difference of the row.
void Balance(RecordSet& recap) {
  const Currency base = R2(recap[osnovica]);
  const Currency tax = R2(recap[porez]);
  const Currency total = R2(recap[ukupno]);
  if (base + tax + R2(recap[neoporezivo]) == total) return;
  recap.Edit();
  WriteAndPost(recap, [&] { recap.Set(neoporezivo, total - base - tax); });
}

void FillSpecial(const Procedure& procedure, const LineFields& fields, RecordSet& recap) {
  RecordSet& lines = fields.sale.DataSet();
  Split split;
  WalkToEnd(lines, [&] {
    if (procedure.skips_item_kind_1 && lines.Has(vrsta_stavke) && lines[vrsta_stavke] == 1) return;
    Line line;
    line.rate = fields.rate.AsFloat();
    line.kind_value = fields.kind_value.AsText();
    if (procedure.has_consumption_tax) {
      line.consumption_tax = lines.Optional(pp_iznos);
      line.consumption_tax_rate = fields.consumption_tax_rate->AsFloat();
    }
    SplitLine(procedure, fields, line, split);
    AddToRow(recap, procedure, line, split);
    if (procedure.balances) Balance(recap);
  });
}

void FillUnlessAbsent(const Procedure& procedure, const std::optional<Field>& sale,
                      const std::optional<Field>& purchase, const Field& rate, const Field& kind_value,
                      const std::optional<Field>& consumption_tax_rate, RecordSet& recap,
                      std::string_view kind_field_name) {
  recap.Clear();
  if (!sale || !purchase) return;
  const Field kind = sale->DataSet().FieldByName(kind_field_name);
  FillSpecial(procedure, {*sale, *purchase, rate, kind, kind_value, consumption_tax_rate}, recap);
}

}  // namespace

void FillPDVDataPosebniPostupak(const std::optional<Field>& sale_amount_field,
                                const std::optional<Field>& purchase_amount_field, const Field& rate_field,
                                const Field& kind_value_field, RecordSet& recap,
                                std::string_view kind_field_name) {
  FillUnlessAbsent(kMarginScheme, sale_amount_field, purchase_amount_field, rate_field, kind_value_field,
                   std::nullopt, recap, kind_field_name);
}

void FillPDVDataAranzmanPosebniPostupak(const std::optional<Field>& sale_amount_field,
                                        const std::optional<Field>& purchase_amount_field,
                                        const Field& rate_field, const Field& kind_value_field,
                                        RecordSet& recap, std::string_view kind_field_name) {
  FillUnlessAbsent(kTravelArrangement, sale_amount_field, purchase_amount_field, rate_field, kind_value_field,
                   std::nullopt, recap, kind_field_name);
}

void FillPDVDataHTLPosebniPostupakPP(const std::optional<Field>& sale_amount_field,
                                     const std::optional<Field>& purchase_amount_field,
                                     const Field& rate_field, const Field& consumption_tax_rate_field,
                                     const Field& kind_value_field, RecordSet& recap,
                                     std::string_view kind_field_name) {
  FillUnlessAbsent(kHotel, sale_amount_field, purchase_amount_field, rate_field, kind_value_field,
                   consumption_tax_rate_field, recap, kind_field_name);
}

}  // namespace mox

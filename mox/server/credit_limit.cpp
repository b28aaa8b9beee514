#include "mox/server/credit_limit.h"

#include <string>

#include "mox/foundation/app.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

struct Notice {
  const char* heading;
  const char* message;
};

constexpr Notice kLimit = {"Prekoračenje kreditnog limita", "Kreditni limit partnera je prekoračen."};
constexpr Notice kDays = {"Prekoračenje dana kašnjenja", "Dani kašnjenja partnera su prekoračeni."};
constexpr Notice kBoth = {"Prekoračenje kreditnog limita i dana kašnjenja",
                          "Kreditni limit i dani kašnjenja partnera su prekoračeni."};

constexpr const char* kCaption = "Upozorenje!";

int Ask(const Notice& notice) {
  return ShowVelorDialog(TVCustomDialogType::kConfirmation, kCaption, notice.heading,
                         std::string(notice.message) + "\r\nNastavak rada?");
}

bool Refuse(const Notice& notice) {
  ShowVelorDialog(TVCustomDialogType::kError, kCaption, notice.heading, notice.message);
  return false;
}

bool IsExceeded(const CreditFigures& figures, Currency amount) {
  return !figures.limit.IsZero() && figures.balance + amount > figures.limit;
}

bool IsOverdue(const CreditFigures& figures) { return figures.days > 0 && figures.is_overdue; }

}  // namespace

std::optional<CreditFigures> CreditFigures::Of(const RecordSet& answer) {
  if (answer.IsEmpty()) return std::nullopt;
  const RecordRow row = answer.RowAt(0);
  const auto index = [&answer](std::string_view name) {
    if (const auto field = answer.FindFieldIndex(name)) return *field;
    throw FieldNotFound(name, answer.Name());
  };
  return CreditFigures{.limit = row.AsCurrency(index("limit")),
                       .days = row.AsInteger(index("DaniKasnjenja")),
                       .balance = row.AsCurrency(index("saldo")),
                       .is_overdue = row.AsInteger(index("PostojiKasnjenje")) > 0,
                       .always = row.AsBoolean(index("fakturiranje_limit_duga")),
                       .once = row.AsBoolean(index("faktur_limit_duga_once"))};
}

std::optional<CreditFigures> CreditFigures::Read(std::int64_t partner_id) {
  const auto answer = CreateDBDataSet("KreditniLimitPartnera", "KreditniLimit", {{"par_id", partner_id}});
  return answer ? Of(*answer) : std::nullopt;
}

CreditVerdict JudgeCredit(const CreditFigures& figures, Currency amount) {
  using enum CreditVerdict;
  const bool has_limit = !figures.limit.IsZero();
  const bool exceeded = IsExceeded(figures, amount);
  const bool overdue = IsOverdue(figures);
  if (has_limit && figures.days > 0 ? !exceeded || !overdue : !exceeded && !overdue) return kAllowed;
  // Without a limit of the amount only the first of the flags counts.
  const bool ask = has_limit ? figures.always != figures.once : figures.always;
  return ask ? kAsk : kRefused;
}

bool ConfirmCredit(const CreditFigures& figures, Currency amount) {
  const CreditVerdict verdict = JudgeCredit(figures, amount);
  if (verdict == CreditVerdict::kAllowed) return true;
  const bool has_limit = !figures.limit.IsZero();
  const bool has_both = has_limit && figures.days > 0;
  const Notice& notice = has_both ? kBoth : has_limit ? kLimit : kDays;
  if (verdict == CreditVerdict::kRefused) return Refuse(notice);
  // No to the first question lets work go on, no to the second stops it: so on purpose.
  if (has_both) return Ask(kLimit) != kDialogYes || Ask(kDays) == kDialogYes;
  return Ask(notice) != kDialogNo;
}

bool CheckKreditniLimitPartnera(std::int64_t partner_id, Currency amount) {
  const std::optional<CreditFigures> figures = CreditFigures::Read(partner_id);
  return !figures || ConfirmCredit(*figures, amount);
}

}  // namespace mox

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

bool AskOrRefuse(bool ask, const Notice& notice) { return ask ? Ask(notice) != kDialogNo : Refuse(notice); }

}  // namespace

bool CheckKreditniLimitPartnera(std::int64_t partner_id, Currency amount) {
  std::optional<RecordSet> answer =
      CreateDBDataSet("KreditniLimitPartnera", "KreditniLimit", {{"par_id", partner_id}});
  if (!answer || answer->IsEmpty()) return true;

  const auto field = [&answer](std::string_view name) { return answer->FieldByName(name); };
  const Currency limit = field("limit").AsCurrency();
  const bool has_limit = !limit.IsZero();
  const bool has_days = field("DaniKasnjenja").AsInteger() > 0;
  const bool exceeded = has_limit && field("saldo").AsCurrency() + amount > limit;
  const bool overdue = has_days && field("PostojiKasnjenje").AsInteger() > 0;
  const bool always = field("fakturiranje_limit_duga").AsBoolean();
  const bool once = field("faktur_limit_duga_once").AsBoolean();
  const bool ask = always != once;

  if (has_limit && has_days) {
    if (!exceeded || !overdue) return true;
    if (!ask) return Refuse(kBoth);
    // No to the first question lets work go on, no to the second stops it: so on purpose.
    return Ask(kLimit) != kDialogYes || Ask(kDays) == kDialogYes;
  }
  if (has_limit) return !exceeded || AskOrRefuse(ask, kLimit);
  return !overdue || AskOrRefuse(always, kDays);
}

}  // namespace mox

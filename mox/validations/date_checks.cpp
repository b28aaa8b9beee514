#include <cstdint>
#include <optional>

#include "mox/foundation/clock.h"
#include "mox/foundation/rounding.h"
#include "mox/validations/dialogs_internal.h"
#include "mox/validations/validations.h"

namespace mox {
namespace {

constexpr std::int32_t kLongestPaymentTerm = 360;  // days

constexpr std::string_view kOutsideWorkingYear = "Datum mora biti unutar odabrane radne godine";
constexpr std::string_view kDueTooEarly =
    "Datum dospijeća dokumenta dobavljača mora biti veći od datuma dokumenta dobavljača!";

// None where the value is no date.
std::optional<Date> DateOf(const ConstField& field) {
  try {
    return field.AsDate();
  } catch (const Error&) {
    return std::nullopt;
  }
}

bool IsOverridden() {
  const RecordSet* const parameters = App().Comunication().CompanyParameters();
  if (parameters == nullptr) return false;
  const auto override_constraints = parameters->FindField("override_constraints");
  return override_constraints && override_constraints->AsBoolean();
}

// The year of the date is the working year or at most so many after it.
bool IsInWorkingYear(const ConstField& date, int years_ahead = 0) {
  return Holds([&] {
    const int ahead = ToCivil(date.AsDate()).year - App().Company().WorkingYear();
    return ahead >= 0 && ahead <= years_ahead;
  });
}

template <typename T>
bool IsAllowed(T value, T related, bool earlier, bool later, bool equal) {
  return (related < value && earlier) || (related > value && later) || (related == value && equal);
}

bool WantsToGoOn(std::string_view question) {
  return ShowVelorDialog(TVCustomDialogType::kConfirmation, kWarning, "Mogući krivi unos podataka!",
                         question) == kDialogYes;
}

bool AreDatesOfPrimka(Date document, Date supplier, Date due) {
  if (ToCivil(document).month != ToCivil(supplier).month &&
      !WantsToGoOn(
          "Datum dokumenta je u različitom mjesecu od datuma dokumenta dobavljača! Nastavak rada?")) {
    return false;
  }
  if (ToCivil(document).year != ToCivil(supplier).year &&
      !WantsToGoOn(
          "Datum dokumenta i datum dokumenta dobavljača nisu u istoj radnoj godini! Nastavak rada?")) {
    return false;
  }
  if (document < supplier &&
      !WantsToGoOn("Datum dokumenta mora biti veći od datuma dokumenta dobavljača! Nastavak rada?")) {
    return false;
  }
  if (due < supplier) return Warn(kBadEntry, kDueTooEarly);
  if (due.days - supplier.days > kLongestPaymentTerm) {
    return Warn(kBadEntry, "Datum dospijeća dobavljača je prevelik u odnosu na datum dokumenta dobavljača!");
  }
  return true;
}

}  // namespace

bool CheckDateForward(const ConstField& date) {
  if (Holds([&] { return date.AsDateTime() <= LocalNow(); })) return true;
  Warn(kBadEntry, "Datum ne smije biti kasniji od tekućeg!");
  return Holds(IsOverridden);
}

bool CheckDate(const ConstField& date) {
  return IsInWorkingYear(date) || Warn(kBadEntry, kOutsideWorkingYear);
}

bool CheckDateActiveAndNextYear(const ConstField& date, std::string_view text) {
  if (IsInWorkingYear(date, 1)) return true;
  return Warn(kBadEntry, text.empty() ? "Datum mora biti unutar odabrane ili sljedeće radne godine" : text);
}

bool CheckDateOnRelatedDate(const ConstField& date, const ConstField& related, std::string_view message,
                            bool allow_earlier, bool allow_later, bool allow_equal) {
  return Holds([&] {
           return IsAllowed(date.AsDateTime(), related.AsDateTime(), allow_earlier, allow_later, allow_equal);
         }) ||
         Warn(kBadEntry, message);
}

bool CheckFieldOnRelatedField(const ConstField& field, const ConstField& related, std::string_view message,
                              bool allow_earlier, bool allow_later, bool allow_equal) {
  return Holds([&] {
           return IsAllowed(MyRound(field.AsFloat(), -6), MyRound(related.AsFloat(), -6), allow_earlier,
                            allow_later, allow_equal);
         }) ||
         Warn(kBadEntry, message);
}

bool CheckDatesOnPrimka(const ConstField& document_date, const ConstField& supplier_document_date,
                        const ConstField& supplier_due_date) {
  const std::optional<Date> document = DateOf(document_date);
  if (!document) return Warn(kBadEntry, kOutsideWorkingYear);
  const std::optional<Date> supplier = DateOf(supplier_document_date);
  const std::optional<Date> due = DateOf(supplier_due_date);
  if (!supplier || !due) return Warn(kBadEntry, kDueTooEarly);
  return AreDatesOfPrimka(*document, *supplier, *due);
}

}  // namespace mox

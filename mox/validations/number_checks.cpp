#include <cmath>

#include "mox/validations/dialogs_internal.h"
#include "mox/validations/validations.h"

namespace mox {

constinit thread_local bool FWorkWithLagerNegative = false;

void SetConstraintsOnLager() {
  FWorkWithLagerNegative = App().Ini().ReadInteger("GENERAL", "LAGERNEGATIVE", 0) == 1;
}

namespace {

// Values are read where the check is made.
template <typename Quantity, typename Stock>
bool IsCovered(const Quantity& quantity, const Stock& stock) {
  return FWorkWithLagerNegative || Holds([&] { return quantity() <= stock(); }) ||
         Warn(kBadEntry, "Upisana količina je veća od količine na lageru!");
}

}  // namespace

bool CheckLagerNegative(const ConstField& quantity, const ConstField& stock) {
  return IsCovered([&] { return -quantity.AsFloat(); }, [&] { return stock.AsFloat(); });
}

bool CheckLagerNegative(double quantity, double stock) {
  return IsCovered([=] { return -quantity; }, [=] { return stock; });
}

bool CheckLager(const ConstField& quantity, const ConstField& stock) {
  return IsCovered([&] { return std::nearbyint(quantity.AsFloat()); }, [&] { return stock.AsFloat(); });
}

bool CheckLagerValue(std::span<const ConstField> fields, const ConstField& stock, std::size_t index) {
  if (FWorkWithLagerNegative) return true;
  for (std::size_t i = index; i < fields.size(); ++i) {
    if (!Holds([&] { return fields[i].AsFloat() <= stock.AsFloat(); })) {
      return Warn(kBadEntry,
                  "Polje " + fields[i].DisplayName() + " ima veću vrijednost od vrijednosti na lageru");
    }
  }
  return true;
}

bool CheckLagerZero(const ConstField& stock) {
  return Holds([&] { return stock.AsFloat() > 0; }) ||
         Warn("Nedozvoljena promjena", "Stanje na lageru mora biti 0");
}

bool CheckIfZero(std::span<const ConstField> fields) {
  Lines lines;
  for (const ConstField& field : fields) {
    if (!Holds([&] { return field.AsFloat() != 0; }))
      lines.Add("Polje " + field.DisplayName() + " ne smije biti 0");
  }
  return lines.NoneOrWarn(kBadEntry);
}

bool CheckIfGreaterThenZero(std::span<const ConstField> fields, bool allow_zero) {
  const bool any_but_zero = FWorkWithLagerNegative && !allow_zero;
  Lines lines;
  for (const ConstField& field : fields) {
    const bool passes = Holds([&] {
      const double value = field.AsFloat();
      return any_but_zero ? value != 0 : allow_zero ? value >= 0 : value > 0;
    });
    if (passes) continue;
    lines.Add("Polje " + field.DisplayName() +
              (any_but_zero ? " mora biti različito od 0" : " mora biti veće od 0"));
  }
  return lines.NoneOrWarn(kBadEntry);
}

}  // namespace mox

#include "mox/foundation/precision.h"

#include <algorithm>
#include <array>
#include <limits>

#include "mox/foundation/app.h"

namespace mox {
namespace {

constexpr std::string_view kSection = "GENERAL";

// The two keys of a kind of price.
struct PriceKeys {
  std::string_view digits;
  std::string_view mask;
};

constexpr PriceKeys kPurchase{"NC_CALC_DIGIT", "NC_CALC_MASK"};
constexpr PriceKeys kSelling{"PC_CALC_DIGIT", "PC_CALC_MASK"};
constexpr PriceKeys kInvoice{"FC_CALC_DIGIT", "FC_CALC_MASK"};

// Line calculators ask for every line, so a setting is looked up once for each version of the settings.
template <const PriceKeys& kKeys>
int ReadDigits() {
  thread_local std::uint64_t version = 0;  // of none
  thread_local int digits = 0;
  if (const std::uint64_t now = SettingsVersion(); now == 0 || now != version) [[unlikely]] {
    digits = App().Ini().ReadInteger(kSection, kKeys.digits, 2);
    version = now;
  }
  return digits;
}
void WriteDigits(const PriceKeys& keys, int decimals) {
  App().Ini().WriteInteger(kSection, keys.digits, decimals);
}
template <const PriceKeys& kKeys>
void RefreshMask() {
  App().Ini().WriteString(kSection, kKeys.mask, GetFieldDisplayFormat(ReadDigits<kKeys>()));
}

}  // namespace

int GetPdviCalcDigit() {
  const RecordSet* const parameters = App().Comunication().CompanyParameters();
  if (parameters == nullptr) return 2;
  const auto field = parameters->FindField("PdviCalcDigit");
  if (!field) return 2;
  return static_cast<int>(std::clamp<std::int64_t>(field->AsInteger(), 2, std::numeric_limits<int>::max()));
}

int GetKolDecimalPlaces() { return App().Ini().ReadInteger(kSection, "KOL_NUM", 2); }
std::string GetKolFormat() { return App().Ini().ReadString(kSection, "KOL_MASK", "#,0.00;-#,0.00"); }

int GetNcCalcDigit() { return ReadDigits<kPurchase>(); }
int GetPcCalcDigit() { return ReadDigits<kSelling>(); }
int GetFcCalcDigit() { return ReadDigits<kInvoice>(); }

void SetNcCalcDigit(int decimals) { WriteDigits(kPurchase, decimals); }
void SetPcCalcDigit(int decimals) { WriteDigits(kSelling, decimals); }
void SetFcCalcDigit(int decimals) { WriteDigits(kInvoice, decimals); }

void SetNcCalcMask() { RefreshMask<kPurchase>(); }
void SetPcCalcMask() { RefreshMask<kSelling>(); }
void SetFcCalcMask() { RefreshMask<kInvoice>(); }

std::string GetFieldDisplayFormat(int digits) {
  const std::string zeros(digits > 0 ? static_cast<std::size_t>(digits) : 0, '0');
  return "#,0." + zeros + ";-#,0." + zeros;
}

std::string FormatMask(int digits) { return GetFieldDisplayFormat(digits); }

void SetCurrencyFieldFormat(RecordSet& record_set) {
  for (std::size_t i = 0; i < record_set.FieldCount(); ++i) {
    Field field = record_set.FieldAt(i);
    if (field.Kind() == FieldKind::kCurrency) field.SetDisplayFormat("#,0.00;-#,0.00");
  }
}

void SetSystemCurrencySymbol(std::string_view symbol) { App().Locale().SetCurrencySymbol(symbol); }

std::string DataSetStateToStr(DataSetState state) {
  static constexpr std::array<const char*, 13> kNames = {
      "dsInactive", "dsBrowse",   "dsEdit",     "dsInsert",    "dsSetKey",       "dsCalcFields", "dsFilter",
      "dsNewValue", "dsOldValue", "dsCurValue", "dsBlockRead", "dsInternalCalc", "dsOpening"};
  const auto index = static_cast<std::size_t>(state);
  return index < kNames.size() ? kNames[index] : "Unknown";
}

}  // namespace mox

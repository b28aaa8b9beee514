#pragma once

#include <algorithm>

#include "mox/calculations/special_procedures.h"
#include "mox/calculations/vat_recapitulation.h"

namespace mox {

enum class Member : std::uint8_t { kData, kPpom, kIznosBezPdv, kPovDob, kMargin, kTravel, kHotel };

inline Member MemberOf(std::string_view name) {
  constexpr std::string_view kNames[] = {"FillPDVData",
                                         "FillPDVDataPPOM",
                                         "FillPDVDataIznosBezPDV",
                                         "FillPDVDataPovDob",
                                         "FillPDVDataPosebniPostupak",
                                         "FillPDVDataAranzmanPosebniPostupak",
                                         "FillPDVDataHTLPosebniPostupakPP"};
  return static_cast<Member>(std::find(std::begin(kNames), std::end(kNames), name) - std::begin(kNames));
}

/// Calls a member of the recapitulations over lines whose columns have these names: ukupno the amount, nci
/// the purchase amount, tbr_stp the rate, pp_stopa that of consumption tax, kind the output-tax kind, shown
/// what the recapitulation shows of it. A set without an amount stands for an absent one.
inline void Fill(Member member, RecordSet& goods, RecordSet& services, RecordSet& recap, int digits) {
  const auto amount1 = goods.FindField("ukupno");
  const auto amount2 = services.FindField("ukupno");
  const auto rate1 = goods.FindField("tbr_stp");
  const auto rate2 = services.FindField("tbr_stp");
  const auto purchase = goods.FindField("nci");
  const auto shown = goods.FindField("shown");
  switch (member) {
    case Member::kData:
      return FillPDVData(amount1, amount2, rate1, rate2, recap, digits);
    case Member::kPpom:
      return FillPDVDataPPOM(amount1, amount2, rate1, rate2, recap, digits);
    case Member::kIznosBezPdv:
      return FillPDVDataIznosBezPDV(amount1, amount2, rate1, rate2, recap);
    case Member::kPovDob:
      return FillPDVDataPovDob(rate1.value(), amount1.value(), recap, digits);
    case Member::kMargin:
      return FillPDVDataPosebniPostupak(amount1, purchase, rate1.value(), shown.value(), recap, "KIND");
    case Member::kTravel:
      return FillPDVDataAranzmanPosebniPostupak(amount1, purchase, rate1.value(), shown.value(), recap,
                                                "KIND");
    case Member::kHotel:
      return FillPDVDataHTLPosebniPostupakPP(amount1, purchase, rate1.value(), goods.FieldByName("pp_stopa"),
                                             shown.value(), recap, "KIND");
  }
}

}  // namespace mox

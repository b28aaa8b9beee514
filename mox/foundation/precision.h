#pragma once

#include <string>
#include <string_view>

#include "mox/foundation/record_set.h"
#include "mox/foundation/rounding.h"

namespace mox {

// The decimals of quantities, prices and tax amounts, and the display masks built from them. All but the tax
// decimals live in the settings file, section "GENERAL"; a missing key has its default.

/// Decimals of tax amounts: the company parameter "PdviCalcDigit", and 2 where it is missing or smaller.
int GetPdviCalcDigit();

/// Decimals of quantities, "KOL_NUM", default 2.
int GetKolDecimalPlaces();
/// Display mask of quantities, "KOL_MASK", default "#,0.00;-#,0.00".
std::string GetKolFormat();

/// Decimals of purchase, selling and invoice prices: "NC_CALC_DIGIT", "PC_CALC_DIGIT", "FC_CALC_DIGIT", each
/// with default 2 and returned as read, also when it is negative.
int GetNcCalcDigit();
int GetPcCalcDigit();
int GetFcCalcDigit();

void SetNcCalcDigit(int decimals);
void SetPcCalcDigit(int decimals);
void SetFcCalcDigit(int decimals);

/// Write the mask of the current digit setting under "NC_CALC_MASK", "PC_CALC_MASK", "FC_CALC_MASK". A
/// settings screen stores the digits first and then refreshes the mask.
void SetNcCalcMask();
void SetPcCalcMask();
void SetFcCalcMask();

/// "#,0.00;-#,0.00" for 2 digits; no zeros after the points for 0 or a negative count. Both names give the
/// same mask.
std::string GetFieldDisplayFormat(int digits);
std::string FormatMask(int digits);

/// Gives every currency field the display format "#,0.00;-#,0.00", whatever the settings say.
void SetCurrencyFieldFormat(RecordSet& record_set);

/// Sets the currency symbol of the user's default locale.
void SetSystemCurrencySymbol(std::string_view symbol);

/// "dsInactive", "dsBrowse", ...; "Unknown" for a value outside the enumeration.
std::string DataSetStateToStr(DataSetState state);

}  // namespace mox

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// The currency of a date in Croatia: "EUR" from the year 2023 on, "HRK" before.
std::string_view GetValutaOznakaByDate(Date date);

/// What kunas are in euros: at the fixed conversion rate of 7.53450 kunas for one euro (Council Regulation
/// (EU) 2022/1208), once and by all of its digits, to the nearest cent, as the law on the introduction of the
/// euro has it. A sum of kunas is converted, and not what it is the sum of.
Currency EurosOfKunas(Currency kunas);

/// What an amount in another currency is in that of the date, to hundredths: until 2022 `rate` is kunas for
/// one unit of the currency, from 2023 on units of the currency for one euro, as the national bank's list has
/// it. Raises Error for a rate that is not above 0.
Currency InCurrencyOfDate(Currency amount, Date date, double rate);

/// What is wrong with an exchange rate, as a text to go on with behind it; empty where nothing is. It is
/// above 0, and from 0.00001 to 10000000, wider than any list ever had one.
std::string RateFault(double rate);

/// The company parameter "FaktorEura"; 1 divided by it for dates before 13 July 1905, the day 2021 of the
/// calendar that counts from 30 December 1899. Kept on purpose. Raises Error where the host keeps no company
/// parameters, FieldNotFound without the parameter, DivisionByZero.
double GetFaktor2023KnEur(Date date);

/// The exchange rate of a currency on a date, the last one on or before it; 0 where the server has none.
double GetTecaj(Date date, std::int64_t val_id);
double GetTecajByOznakaValute(Date date, std::string_view val_ozn);
/// The whole exchange-rate record (`datum`, `val_id`, `val_ozn`, `tecaj`); none where the server gave none.
std::optional<RecordSet> GetInfoTecajByOznakaValute(Date date, std::string_view val_ozn);

}  // namespace mox

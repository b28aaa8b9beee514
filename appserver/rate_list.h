#pragma once

#include <string>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

/// Reads the national bank's list of exchange rates as it publishes it: JSON, an array of objects, or the
/// same columns as CSV, separated by semicolons or commas. Of the columns `datum_primjene`, `valuta` and
/// `srednji_tecaj` (a text with a decimal comma) are needed; `jedinica` is for how many units of the currency
/// a rate in kunas is, 1 where it is not given. Other columns do not count.
///
/// Answers the record set "Tecajevi" of the transactions: datum, val_ozn, tecaj, which is kunas for one unit
/// of the currency until 2022 and units of the currency for one euro from 2023 on. `label` names the list in
/// errors: raises Error that says at which row and column the list is faulty, with the value.
RecordSet ReadRateList(std::string_view text, const std::string& label);

}  // namespace mox

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/database.h"
#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"

namespace mox {

// Books are kept in the currency of the country, kunas until 2022 and euros from 2023 on. A document in
// another currency counts in them by its own exchange rate (tecaj), to hundredths.

/// Whether a document (d) charges no tax, as SQL: a supplier who charges none has his taxes by rate stored,
/// and they count nowhere.
const std::string& IsUnchargedSql();

/// An amount of a document (d) in whole ten-thousandths of the currency of the books, as SQL. Where
/// `last_in_euros`, kunas become euros too, at the fixed rate.
std::string WholeInBooks(std::string_view amount, bool last_in_euros = false);

/// What a document (d) is to be paid, likewise: base and tax of each rate and the rest, each converted by
/// itself, as TotalInCurrencyOfDate has it; the tax only where it is charged.
std::string WholeTotalInBooks(bool last_in_euros = false);

/// The first day of books in euros.
Date FirstDayOfEuro();

/// Whether a date is one of books in kunas, as SQL; not where there is none.
std::string IsInKunas(std::string_view date);

/// EurosOfKunas of whole ten-thousandths, as SQL.
std::string WholeEurosOfKunas(std::string_view kunas);
/// The same at another rate, kunas for one euro, where that is not null.
std::string WholeEurosOfKunas(std::string_view kunas, std::string_view rate);

/// Whether a period has both currencies, so that its sums are in euros.
bool HasBothCurrencies(Date first, Date last);

/// What a stored document is in the currency of the books.
Currency AmountInBooks(Database& database, std::int64_t doc_id, Currency amount);

/// What is wrong with the exchange rate of a document in a currency, as a text to go on with behind the
/// field; empty where nothing is. That of the books has none but 1, kunas beside euros only the fixed one.
std::string RateInBooksFault(std::string_view currency, Date date, double rate);

/// The exchange rate that a document in a currency has where its header names none: that of the rate list on
/// its day. None for a document in the currency of the books. Raises Error where there is no such rate.
std::optional<double> RateForBooks(Database& database, std::int64_t valuta_id, Date date);

}  // namespace mox

#include "paper/page_check.h"

#include "mox/foundation/locale_text.h"
#include "mox/foundation/rounding.h"
#include "paper/page_tables.h"

namespace mox {
namespace {

// The number that a text of the page is, as people read it.
Currency ReadAmount(std::string text, const LocaleSettings& locale) {
  for (std::size_t at = 0; (at = text.find(locale.thousands_separator, at)) != std::string::npos;) {
    text.erase(at, locale.thousands_separator.size());
  }
  const auto amount = ParseLocaleCurrency(text, locale);
  if (!amount) throw Error("the page shows \"" + text + "\" where an amount belongs");
  return *amount;
}

[[noreturn]] void RefuseSum(const DocumentPage& page, const std::string& what, Currency shown, Currency sum) {
  throw Error("document " + std::to_string(page.id) + ": the page does not add up: " + what + " is " +
              shown.ToString() + ", what stands above it comes to " + sum.ToString());
}

}  // namespace

void CheckPage(const DocumentPage& page, const LocaleSettings& locale) {
  Currency to_be_paid;
  std::size_t counted = 0;  // tables that show what their lines cost
  for (const PageTable& table : page.tables) {
    const std::vector<std::string> sums = table.SumCells(table.sums, locale);
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
      if (!table.columns[i].column->IsSummed()) continue;
      Currency sum;
      for (const PageTable::Row& row : table.rows) {
        if (!row.cells[i].empty()) sum += ReadAmount(row.cells[i], locale);
      }
      const Currency shown = ReadAmount(sums[i], locale);
      if (shown != sum) RefuseSum(page, table.columns[i].heading, shown, sum);
      if (table.columns[i].column->name != table.to_be_paid) continue;
      to_be_paid += sum;
      ++counted;
    }
  }
  if (page.total && counted > 0 && counted == page.tables.size() && R2(to_be_paid) != *page.total) {
    RefuseSum(page, "the total", *page.total, to_be_paid);
  }
  Currency base;
  Currency tax;
  for (std::size_t i = 0; i < page.taxes.size(); ++i) {
    const PageTaxRow& row = page.taxes[i];
    const Currency total = ReadAmount(row.total, locale);
    if (ReadAmount(row.base, locale) + ReadAmount(row.tax, locale) != total) {
      RefuseSum(page, "the tax of " + row.rate, total,
                ReadAmount(row.base, locale) + ReadAmount(row.tax, locale));
    }
    const bool is_sum = page.taxes.size() > 1 && i + 1 == page.taxes.size();
    if (is_sum && total != base + tax) RefuseSum(page, "the tax of all rates", total, base + tax);
    base += ReadAmount(row.base, locale);
    tax += ReadAmount(row.tax, locale);
  }
  Currency sum;
  for (const PageSum& row : page.sums) {
    const Currency amount = ReadAmount(row.amount, locale);
    if (!row.strong) {
      sum += amount;
    } else if (page.sums.size() > 1 && amount != sum) {
      RefuseSum(page, row.label, amount, sum);
    } else if (page.total && amount != *page.total) {
      RefuseSum(page, row.label, amount, *page.total);
    }
  }
}

}  // namespace mox

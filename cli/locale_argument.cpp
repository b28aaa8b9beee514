#include "cli/locale_argument.h"

#include "cli/command.h"
#include "cli/suggestions.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

struct NamedLocale {
  std::string_view name;
  std::string_view decimal_separator;
  std::string_view short_date;
};

constexpr NamedLocale kLocales[] = {
    {"hr", ",", "dd.MM.yyyy"},  {"sl", ",", "d. M. yyyy"},    {"de", ",", "dd.MM.yyyy"},
    {"it", ",", "dd/MM/yyyy"},  {"en-GB", ".", "dd/MM/yyyy"}, {"en-US", ".", "M/d/yyyy"},
    {"iso", ".", "yyyy-MM-dd"},
};

LocaleSettings SettingsOf(std::string_view decimal_separator, std::string_view short_date) {
  LocaleSettings settings;
  settings.decimal_separator = decimal_separator;
  settings.thousands_separator = decimal_separator == "." ? "," : ".";
  settings.short_date = short_date;
  return settings;
}

// A date is written with all its parts and read back.
bool IsShortDate(const LocaleSettings& settings) {
  const Date day = *MakeDate(2024, 11, 23);
  const auto read = ParseLocaleDate(DateToText(day, settings), settings);
  return read && *read == day;
}

}  // namespace

LocaleSettings LocaleArgument(const std::string& word) {
  if (const NamedLocale* const named = FindRow(kLocales, word)) {
    return SettingsOf(named->decimal_separator, named->short_date);
  }
  if (word.starts_with(',') || word.starts_with('.')) {
    LocaleSettings settings = SettingsOf(word.substr(0, 1), TrimBlanks(std::string_view(word).substr(1)));
    if (IsShortDate(settings)) return settings;
  }
  throw UsageError("--locale: \"" + word +
                   "\" is neither a name (hr, sl, de, it, en-GB, en-US, iso) nor a decimal separator with a "
                   "short date, \". MM/dd/yyyy\"");
}

}  // namespace mox

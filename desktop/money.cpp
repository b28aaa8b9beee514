#include "desktop/money.h"

#include <QRegularExpression>

#include "desktop/qt_text.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"

namespace mox {

QString MoneyText(Currency amount) { return ToQt(FormatFloat("#,0.00;-#,0.00", amount, CurrentLocale())); }

std::optional<Currency> ReadMoney(const QString& text) {
  try {
    const auto amount = ParseLocaleCurrency(WithoutGroups(text.trimmed()), CurrentLocale());
    if (!amount) return std::nullopt;
    const std::string cents = FormatFloat("0.00;-0.00", *amount, CurrentLocale());
    return ParseLocaleCurrency(cents, CurrentLocale()) == amount ? amount : std::nullopt;
  } catch (const Error&) {
    return std::nullopt;
  }
}

std::string WithoutGroups(const QString& typed) {
  const QString group = ToQt(CurrentLocale().thousands_separator);
  if (group.isEmpty() || !typed.contains(group)) return FromQt(typed);
  const QRegularExpression grouped(
      QStringLiteral("^[+-]?\\d{1,3}(?:(?:%1\\d{3})+%2\\d*|(?:%1\\d{3}){2,})$")
          .arg(QRegularExpression::escape(group),
               QRegularExpression::escape(ToQt(CurrentLocale().decimal_separator))));
  return FromQt(grouped.match(typed).hasMatch() ? QString(typed).remove(group) : typed);
}

}  // namespace mox

#include "desktop/keys.h"

#include <QShortcut>
#include <QStringList>
#include <QWidget>
#include <algorithm>

#include "desktop/dialogs.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr KeyRow kRows[] = {
    {"Enter", u"uzima ćeliju i ide na sljedeću"},
    {"Esc", u"vraća ćeliju, pa redak; prekida dugi posao"},
    {"Ins; Down", u"novi redak (strelicom u zadnjem retku)"},
    {"Ctrl+Del", u"briše redak"},
    {"Del", u"prazni ćelije"},
    {"F2", u"mijenja ćeliju"},
    {"Alt+Up; Alt+Down", u"redoslijed po stupcu ćelije: uzlazno, silazno"},
    {"F4", u"otvara šifarnik ćelije ili polja"},
    {"Ctrl+C; Ctrl+V", u"kopira i lijepi ćelije iz tablica"},
    {"F5", u"čita stranicu iznova"},
    {"F9", u"pohranjuje dokument, pohranjeni prikazuje"},
    {"Ctrl+Return; Ctrl+Enter", u"u popisu: otvara dokument"},
    {"Ctrl+P; Ctrl+U; Ctrl+T", u"ispis, uplata i storno pohranjenog dokumenta"},
    {"Ctrl+E; Ctrl+K; Ctrl+M", u"eRačun, kodovi i pošta pohranjenog dokumenta"},
    {"Ctrl+G", u"u artiklima: slika artikla"},
    {"Ctrl+L", u"u tečajevima: učitava tečajnu listu"},
    {"Alt+E", u"u uvozu: lijepi retke iz međuspremnika"},
    {"F8", u"u uvozu: samo neispravni redci"},
    {"Ctrl+O", u"u uvozu, slici i ispisu: otvara datoteku"},
    {"Ctrl+S", u"u slici i ispisu: sprema datoteku"},
};

QList<QKeySequence> KeysOf(const KeyRow& row) {
  return QKeySequence::listFromString(QString::fromUtf8(row.keys), QKeySequence::PortableText);
}

}  // namespace

QString KeyRow::Text() const {
  QStringList texts;
  for (const QKeySequence& key : KeysOf(*this)) texts.append(key.toString(QKeySequence::NativeText));
  return texts.join(QStringLiteral(", "));
}

std::span<const KeyRow> KeyRows() { return kRows; }

QShortcut* MakeShortcut(QWidget* page, const QKeySequence& key, std::function<void()> action) {
  const bool listed = std::any_of(std::begin(kRows), std::end(kRows),
                                  [&key](const KeyRow& row) { return KeysOf(row).contains(key); });
  if (!listed) throw Error(FromQt(key.toString()) + " is not in the list of keys");
  auto* const shortcut = new QShortcut(key, page);
  QObject::connect(shortcut, &QShortcut::activated, page, [action = std::move(action)] { Guarded(action); });
  return shortcut;
}

}  // namespace mox

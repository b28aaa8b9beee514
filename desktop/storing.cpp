#include "desktop/storing.h"

#include "appserver/database_location.h"
#include "desktop/croatian.h"
#include "desktop/qt_text.h"
#include "mox/foundation/error.h"

namespace mox {

void StoreWhatIsShown(const std::function<void()>& store) {
  try {
    store();
  } catch (const DatabaseError& error) {
    QString told = InCroatian(error.what());
    if (!told.endsWith(u'.')) told += u'.';
    throw Error(FromQt(told + QStringLiteral(" Upisano je i dalje na zaslonu.")));
  }
}

void ReadAfter(const QString& done, const std::function<void()>& read,
               const std::function<void(const QString&)>& note) {
  try {
    read();
    note(done);
  } catch (const Abort&) {
    note(done + QStringLiteral(" Čitanje je prekinuto."));
  } catch (const Error& error) {
    note(done + QStringLiteral(" Prikaz nije osvježen: ") + InCroatian(error.what()));
  }
}

}  // namespace mox

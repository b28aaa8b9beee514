#include "mox/calculations/customs.h"

#include "mox/calculations/walks_internal.h"
#include "mox/foundation/rounding.h"

namespace mox {

using namespace field;

void CarIzlazRaspodjelaTezinaPoKolicini(RecordSet& lines) {
  const Real lot = lines[lgr_kol];
  const Real leaving = lines[kolicina];
  if (lot == 0) return;
  if (lot > leaving) {
    // Multiplied first: a half package stays an exact half.
    const auto share = [&](FloatName of_lot) { return lines[of_lot] * leaving / lot; };
    lines.Set(koleta, Real(std::rint(share(lgr_koleta).value())));
    lines.Set(bruto, MyRound(share(lgr_bruto).ToDouble(), -2));
    lines.Set(neto, MyRound(share(lgr_neto).ToDouble(), -2));
  } else if (lot == leaving) {
    lines.Set(koleta, lines[lgr_koleta]);
    lines.Set(bruto, lines[lgr_bruto]);
    lines.Set(neto, lines[lgr_neto]);
  }
}

void PonistiCarinuPdv(RecordSet& lines, bool clear_customs, bool clear_vat) {
  WalkToEnd(lines, [&] {
    lines.Edit();
    WriteAndPost(lines, [&] {
      if (clear_vat) lines.Set(tbr_stp, 0);
      if (clear_customs) lines.Set(ctb_stopa, 0);
    });
  });
}

}  // namespace mox

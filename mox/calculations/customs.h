#pragma once

#include "mox/foundation/record_set.h"

namespace mox {

/// Part of a stored lot leaves a customs warehouse: koleta (whole packages, nearest, ties to even), bruto and
/// neto (hundredths) of the current line are the lot's in proportion to kolicina / lgr_kol. When the whole
/// lot leaves they are copied as they are; when the lot is empty or smaller than kolicina nothing is changed.
/// The caller holds the record in edit mode.
void CarIzlazRaspodjelaTezinaPoKolicini(RecordSet& lines);

/// Sets the customs rate ctb_stopa and the tax rate tbr_stp of all lines to 0, each where asked for. Leaves
/// the lines at their end.
void PonistiCarinuPdv(RecordSet& lines, bool clear_customs, bool clear_vat);

}  // namespace mox

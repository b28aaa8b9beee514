#include "mox/foundation/real.h"

namespace mox {

void ThrowDivisionByZero() { throw DivisionByZero(); }

}  // namespace mox

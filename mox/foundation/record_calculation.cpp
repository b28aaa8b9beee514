#include "mox/foundation/record_calculation.h"

#include "mox/foundation/app.h"

namespace mox {

void RecordCalculation::NoticeSettings() {
  const std::uint64_t now = SettingsVersion();
  if (now == settings_) return;
  settings_ = now;
  settled_.Clear();
}

}  // namespace mox

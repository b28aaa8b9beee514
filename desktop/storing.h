#pragma once

#include <QString>
#include <functional>

namespace mox {

/// Runs what stores what is on the screen. Where the company's database fails, the error says that it is
/// there still.
void StoreWhatIsShown(const std::function<void()>& store);

/// After something was done: reads what it changed, and tells in `note` what was done. Where that cannot be
/// read, it tells also why the screen does not show it, so that nobody does it again.
void ReadAfter(const QString& done, const std::function<void()>& read,
               const std::function<void(const QString&)>& note);

}  // namespace mox

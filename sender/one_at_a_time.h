#pragma once

#include <string>

namespace mox {

/// Waits until no other sender of this folder posts an invoice, and keeps others waiting until this program
/// ends, however it ends. A second attempt while the first is still at work so finds the first one's answer
/// instead of posting the invoice again. Raises Error.
void WaitForOtherSenders(const std::string& folder);

}  // namespace mox

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "moxd/settings.h"

namespace mox {

/// What of the things that settings name would keep a server from serving; everything, a line each.
struct CheckedSettings {
  std::vector<std::string> faults;
  std::size_t companies = 0;  ///< that the directory has
};
CheckedSettings CheckThingsNamed(const ServerSettings& settings);

/// Lets this process open as many files as the settings may come to ask for. Answers what is wrong where the
/// system does not let it; empty where nothing is.
std::string TakeDescriptors(const ServerSettings& settings);

/// Raises Error where there is no directory of companies, and DatabaseUnavailable where it is only away.
void RequireDirectory(const std::string& location);

}  // namespace mox

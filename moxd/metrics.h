#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace mox {

/// Counts and times of requests, in the text form that Prometheus collects.
class Metrics {
 public:
  /// `route` and `code` are of fixed sets, so that their number is bounded; `code` is empty where all went
  /// well.
  void Count(std::string_view route, unsigned status, std::string_view code, double seconds);
  /// Appends all, each with its `# TYPE`.
  void Append(std::string& out) const;

  /// Appends one value with its type and help.
  static void AppendValue(std::string_view name, std::string_view type, std::string_view help, double value,
                          std::string& out);

 private:
  static constexpr std::array kBounds = {0.001, 0.005, 0.02, 0.1, 0.5, 2.0, 10.0};
  struct Times {
    std::array<std::uint64_t, kBounds.size() + 1> below{};
    double sum = 0;
    std::uint64_t count = 0;
  };
  mutable std::mutex mutex_;
  std::map<std::pair<std::string, std::string>, std::uint64_t> requests_;  // by route and code
  std::map<std::string, Times, std::less<>> times_;                        // by route
};

}  // namespace mox

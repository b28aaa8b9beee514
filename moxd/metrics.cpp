#include "moxd/metrics.h"

#include <cstdio>

namespace mox {
namespace {

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

void AppendHead(std::string_view name, std::string_view type, std::string_view help, std::string& out) {
  out.append("# HELP ").append(name).append(" ").append(help).append("\n# TYPE ");
  out.append(name).append(" ").append(type).append("\n");
}

}  // namespace

void Metrics::AppendValue(std::string_view name, std::string_view type, std::string_view help, double value,
                          std::string& out) {
  AppendHead(name, type, help, out);
  out.append(name).append(" ").append(Number(value)).append("\n");
}

void Metrics::Count(std::string_view route, unsigned status, std::string_view code, double seconds) {
  std::size_t bucket = 0;
  while (bucket < kBounds.size() && seconds > kBounds[bucket]) ++bucket;
  const std::scoped_lock lock(mutex_);
  ++requests_[{std::string(route), code.empty() ? std::to_string(status) : std::string(code)}];
  auto times = times_.find(route);
  if (times == times_.end()) times = times_.emplace(std::string(route), Times()).first;
  ++times->second.below[bucket];
  ++times->second.count;
  times->second.sum += seconds;
}

void Metrics::Append(std::string& out) const {
  const std::scoped_lock lock(mutex_);
  AppendHead("moxd_requests_total", "counter", "requests by route and what became of them", out);
  for (const auto& [key, count] : requests_) {
    out += "moxd_requests_total{route=\"" + key.first + "\",code=\"" + key.second + "\"} " +
           std::to_string(count) + "\n";
  }
  AppendHead("moxd_request_seconds", "histogram",
             "from the first byte of a request to the last of its answer", out);
  for (const auto& [route, times] : times_) {
    const std::string label = "{route=\"" + route + "\"";
    std::uint64_t below = 0;
    for (std::size_t i = 0; i <= kBounds.size(); ++i) {
      below += times.below[i];
      const std::string bound = i < kBounds.size() ? Number(kBounds[i]) : "+Inf";
      out += "moxd_request_seconds_bucket" + label + ",le=\"" + bound + "\"} " + std::to_string(below) + "\n";
    }
    out += "moxd_request_seconds_sum" + label + "} " + Number(times.sum) + "\n";
    out += "moxd_request_seconds_count" + label + "} " + std::to_string(times.count) + "\n";
  }
}

}  // namespace mox

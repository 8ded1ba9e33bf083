#include "kit/timing.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "kit/clock.h"

namespace velk::sandbox {
namespace {

using namespace std::chrono;

constexpr std::array<std::string_view, kPhases> kNames{"connect",     "tls",  "head",    "upstreamConnect",
                                                       "upstreamTls", "body", "service", "reply"};

// To the microsecond.
double Rounded(Timing::Clock::duration time) {
  return static_cast<double>(duration_cast<microseconds>(time).count()) / 1000;
}

}  // namespace

Timing::Timing(Clock::time_point first)
    : began_(system_clock::now() - duration_cast<system_clock::duration>(Clock::now() - first)) {}

std::optional<double> Timing::Milliseconds(Phase phase) const {
  const auto& time = phases_.at(static_cast<std::size_t>(phase));
  if (!time) return std::nullopt;
  return Rounded(*time);
}

std::string Timing::Began() const {
  const auto second = floor<seconds>(began_);
  char fraction[8];
  std::snprintf(fraction, sizeof fraction, ".%03dZ",
                static_cast<int>(duration_cast<milliseconds>(began_ - second).count()));
  return FormatTime(system_clock::to_time_t(second), "%Y-%m-%dT%H:%M:%S") + fraction;
}

double Timing::Total() const {
  Clock::duration total{};
  for (const auto& time : phases_) total += time.value_or(Clock::duration::zero());
  return Rounded(total);
}

boost::json::object Timing::ToJson() const {
  boost::json::object times;
  for (std::size_t i = 0; i < kPhases; ++i) {
    if (phases_.at(i)) times[kNames.at(i)] = Rounded(*phases_.at(i));
  }
  return times;
}

}  // namespace velk::sandbox

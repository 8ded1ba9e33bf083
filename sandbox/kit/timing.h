// When an exchange began, and how long each of its phases took.
#pragma once

#include <array>
#include <boost/json/object.hpp>
#include <chrono>
#include <optional>
#include <string>

namespace velk::sandbox {

// The phases of an exchange, in their order. The first two are those of the tunnel, which only the first
// request inside it has: from the first byte of the CONNECT to the end of its reply, and the TLS handshake.
// Those of the upstream are the connection to the real service, which only the first request over it has.
enum class Phase { kConnect, kTls, kHead, kUpstreamConnect, kUpstreamTls, kBody, kService, kReply };
constexpr std::size_t kPhases = 8;

class Timing {
 public:
  using Clock = std::chrono::steady_clock;

  // Takes the point in time at which the first byte was there.
  explicit Timing(Clock::time_point first);

  void Set(Phase phase, Clock::duration time) { phases_.at(static_cast<std::size_t>(phase)) = time; }
  std::optional<double> Milliseconds(Phase phase) const;  // none for a phase that did not end
  std::string Began() const;                              // UTC, as in "2026-01-31T12:00:00.000Z"
  double Total() const;                                   // the sum of all phases, in milliseconds
  boost::json::object ToJson() const;                     // milliseconds by name

 private:
  std::chrono::system_clock::time_point began_;
  std::array<std::optional<Clock::duration>, kPhases> phases_;
};

}  // namespace velk::sandbox

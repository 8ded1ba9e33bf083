// One exchange: a request, its reply, their times, and why the request was refused.
#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kit/intake.h"
#include "kit/timing.h"
#include "kit/why.h"
#include "net/head.h"

namespace velk::sandbox {

// The connection that carried requests. It is open until the sandbox has seen its end.
struct Connection {
  explicit Connection(std::uint64_t number) : id(number) {}

  const std::uint64_t id;
  std::atomic<bool> open{true};
};

// A reply as it was sent: a cut one ends where it was cut. Of a body above 64 KiB, size and hash are known.
struct SentReply {
  std::string head;
  std::shared_ptr<const Content> body;
};

// What is known of an exchange at one point in time. What is not known yet is empty or null.
struct Progress {
  std::shared_ptr<const Received> received;
  SentReply reply;
  Timing timing;
  Why why;
  int script = 0;                        // the one that applied
  std::vector<std::string> faults = {};  // of the script, that took effect
};

// The head of the request never changes. The rest is filled in while the request is served.
class Entry {
 public:
  Entry(Head requestHead, std::string requestScheme, std::string tunnelHead,
        std::shared_ptr<const Connection> requestConnection, const Timing& timing)
      : head(std::move(requestHead)),
        scheme(std::move(requestScheme)),
        connectHead(std::move(tunnelHead)),
        connection(std::move(requestConnection)),
        progress_{.received = {}, .reply = {}, .timing = timing, .why = {}} {}

  const Head head;
  const std::string scheme;
  const std::string connectHead;
  const std::shared_ptr<const Connection> connection;
  std::atomic<std::uint64_t> bodyReceived{0};
  std::atomic<int> status{0};  // of the reply; 0 while there is none, or when none was sent
  std::atomic<bool> ended{false};

  void Update(const std::function<void(Progress&)>& change);
  Progress Snapshot() const;

  std::string Url() const;
  boost::json::object ToJson(std::uint64_t id) const;   // its strings may hold any bytes
  boost::json::object Summary(std::uint64_t id) const;  // the same, without heads and bodies

 private:
  mutable std::mutex mutex_;
  Progress progress_;
};

}  // namespace velk::sandbox

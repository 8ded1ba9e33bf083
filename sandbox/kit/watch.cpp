#include "kit/watch.h"

#include <chrono>

#include "kit/control_reply.h"

namespace velk::sandbox {
namespace {

using namespace std::chrono_literals;

// Several events in one go cost the watcher less than each by itself.
constexpr auto kPause = 30ms;
constexpr int kPausesBetweenSigns = 60;  // of life, by which a watcher that left is noticed

std::string StartOfStream() {
  const Reply reply = Hardened({.headers = {"Content-Type: text/event-stream", "Connection: close"}});
  return SerializeHead(reply, true) + "retry: 500\n\n";
}

}  // namespace

awaitable<void> ServeEvents(Stream& stream, World& world, const Head& head) {
  const auto watch = world.events.Watch();
  std::uint64_t seen = world.events.NumberOf(head.Header("Last-Event-ID"));
  const std::string start = StartOfStream();
  co_await stream.Write(start);
  for (int pauses = 0;; ++pauses) {
    Events::Batch batch = world.events.After(seen);
    seen = batch.last;
    if (batch.missed) batch.text = "id: " + world.events.Id(seen) + "\nevent: resync\ndata: {}\n\n";
    if (batch.text.empty() && pauses >= kPausesBetweenSigns) batch.text = ":\n\n";
    if (!batch.text.empty()) {
      co_await stream.Write(batch.text);
      pauses = 0;
    }
    co_await stream.Sleep(kPause);
  }
}

}  // namespace velk::sandbox

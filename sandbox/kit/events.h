// What happens in the sandbox, in order, for those who watch it.
#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace velk::sandbox {

// Holds the newest events, for all watchers together. A slow one makes nobody wait, and needs no memory of
// its own: it misses events, and a resync event reports that.
class Events {
 public:
  Events();

  struct Batch {
    std::string text;  // in the form of text/event-stream; empty when there is nothing new
    std::uint64_t last = 0;
    bool missed = false;  // some events since then are no longer there
  };

  // The description is made only while somebody watches. It must lock nothing that is locked where another
  // event is published.
  void Publish(std::string_view name, const std::function<boost::json::object()>& describe);
  // The events after that number, at most some 64 KiB of them.
  Batch After(std::uint64_t number) const;
  std::uint64_t Last() const;

  // The identifier of an event, which no other run of the sandbox uses, and the reverse. A number of another
  // run, or none, is one that missed events.
  std::string Id(std::uint64_t number) const;
  std::uint64_t NumberOf(std::string_view id) const;

  // Events are collected while at least one of these exists.
  std::shared_ptr<const void> Watch();

 private:
  std::string Text(std::uint64_t number, std::string_view name, const boost::json::object& data) const;

  const std::string run_;
  mutable std::mutex mutex_;
  std::deque<std::string> texts_;  // the last ones
  std::uint64_t last_ = 0;
  std::size_t bytes_ = 0;
  std::size_t watchers_ = 0;
};

}  // namespace velk::sandbox

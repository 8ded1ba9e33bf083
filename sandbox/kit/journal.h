// Every exchange, in order, as the control URL returns it.
#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kit/entry.h"
#include "kit/events.h"

namespace velk::sandbox {

// Which exchanges a reader requests. Strings are patterns, in which '*' means any bytes. Empty is any.
struct Selection {
  std::string host = {}, method = {}, path = {}, status = {};
  std::uint64_t since = 0;  // those with a greater number
  std::uint64_t limit = 0;  // the newest ones; 0 is all
  bool brief = false;       // without heads and bodies
};

struct NumberedEntry {
  std::uint64_t id;  // counts from 1 since the last reset
  std::shared_ptr<const Entry> entry;
};

// Holds the newest exchanges, and counts all since the last reset.
class Journal {
 public:
  Journal(std::size_t limit, Events& events) : limit_(limit), events_(events) {}

  std::uint64_t Add(std::shared_ptr<Entry> entry);  // returns its number
  // Publishes what is known of the exchange now, unless the journal no longer holds it.
  void Publish(std::uint64_t id, const Entry& entry) const;
  void CountBytes(std::uint64_t bytes) { bytes_ += bytes; }
  std::vector<NumberedEntry> Entries() const;                 // those that it holds, in order
  std::shared_ptr<const Entry> Find(std::uint64_t id) const;  // null when it does not hold it
  std::string ToJson(const Selection& selection) const;       // an array, complete as text
  boost::json::object Totals() const;
  void Clear();

 private:
  std::uint64_t FirstId() const { return total_ - entries_.size() + 1; }

  const std::size_t limit_;
  Events& events_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<Entry>> entries_;
  std::uint64_t total_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
};

}  // namespace velk::sandbox

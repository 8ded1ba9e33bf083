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

#include "kit/entry.h"

namespace velk::sandbox {

// Holds the newest exchanges, and counts all since the last reset.
class Journal {
 public:
  explicit Journal(std::size_t limit) : limit_(limit) {}

  void Add(std::shared_ptr<Entry> entry);
  void CountBytes(std::uint64_t bytes) { bytes_ += bytes; }
  std::string ToJson() const;  // an array, complete as text
  boost::json::object Totals() const;
  void Clear();

 private:
  const std::size_t limit_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<Entry>> entries_;
  std::uint64_t total_ = 0;
  std::atomic<std::uint64_t> bytes_ = 0;
};

}  // namespace velk::sandbox

#include "kit/journal.h"

#include <boost/json/serialize.hpp>

#include "kit/byte_strings.h"

namespace velk::sandbox {

namespace json = boost::json;

void Journal::Add(std::shared_ptr<Entry> entry) {
  const std::lock_guard lock(mutex_);
  ++total_;
  entries_.push_back(std::move(entry));
  if (entries_.size() > limit_) entries_.pop_front();
}

// Entries are serialized one by one: all of them as one tree would take several times the memory of the text.
std::string Journal::ToJson() const {
  std::unique_lock lock(mutex_);
  const auto entries = entries_;
  std::uint64_t id = total_ - entries.size();
  lock.unlock();
  std::string text = "[";
  for (const auto& entry : entries) {
    if (text.size() > 1) text += ',';
    text += json::serialize(ToText(entry->ToJson(++id)));
  }
  return text += ']';
}

json::object Journal::Totals() const {
  const std::lock_guard lock(mutex_);
  return {{"requests", total_}, {"kept", entries_.size()}, {"bodyBytes", bytes_.load()}};
}

void Journal::Clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
  total_ = 0;
  bytes_ = 0;
}

}  // namespace velk::sandbox

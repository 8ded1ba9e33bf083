#include "kit/events.h"

#include <boost/json/serialize.hpp>
#include <utility>

#include "kit/byte_strings.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kMostBytes = 8 * 1024 * 1024;
constexpr std::size_t kLargestBatch = 64 * 1024;
constexpr std::uint64_t kUnknown = ~std::uint64_t{0};

}  // namespace

Events::Events() : run_(RandomName(8)) {}

void Events::Publish(std::string_view name, const std::function<boost::json::object()>& describe) {
  const std::lock_guard lock(mutex_);
  ++last_;
  if (watchers_ == 0) return;
  texts_.push_back(Text(last_, name, describe()));
  bytes_ += texts_.back().size();
  for (; bytes_ > kMostBytes; texts_.pop_front()) bytes_ -= texts_.front().size();
}

std::string Events::Text(std::uint64_t number, std::string_view name, const boost::json::object& data) const {
  return "id: " + Id(number) + "\nevent: " + std::string(name) +
         "\ndata: " + boost::json::serialize(ToText(data)) + "\n\n";
}

Events::Batch Events::After(std::uint64_t number) const {
  const std::lock_guard lock(mutex_);
  const std::uint64_t first = last_ - texts_.size();  // the event before the oldest one that is there
  if (number > last_ || number < first) return {.text = {}, .last = last_, .missed = true};
  Batch batch{.text = {}, .last = number};
  while (batch.last < last_ && batch.text.size() < kLargestBatch)
    batch.text += texts_.at(static_cast<std::size_t>(batch.last++ - first));
  return batch;
}

std::uint64_t Events::Last() const {
  const std::lock_guard lock(mutex_);
  return last_;
}

std::string Events::Id(std::uint64_t number) const { return run_ + '.' + std::to_string(number); }

std::uint64_t Events::NumberOf(std::string_view id) const {
  const bool isOwn = id.starts_with(run_ + '.');
  return isOwn ? ToNumber(id.substr(run_.size() + 1)).value_or(kUnknown) : kUnknown;
}

// What nobody collected is missing, so that no number may lead over it.
std::shared_ptr<const void> Events::Watch() {
  const std::lock_guard lock(mutex_);
  ++watchers_;
  return {this, [this](const void*) {
            const std::lock_guard releasing(mutex_);
            if (--watchers_ > 0) return;
            texts_.clear();
            bytes_ = 0;
          }};
}

}  // namespace velk::sandbox

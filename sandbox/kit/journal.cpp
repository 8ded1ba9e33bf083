#include "kit/journal.h"

#include <algorithm>
#include <boost/json/serialize.hpp>

#include "kit/byte_strings.h"
#include "kit/match.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

bool Fits(const std::string& pattern, const std::string& text) {
  return pattern.empty() || FitsPattern(pattern, text);
}

bool Selects(const Selection& selection, const NumberedEntry& numbered) {
  const Entry& entry = *numbered.entry;
  return numbered.id > selection.since && Fits(selection.host, entry.head.host) &&
         Fits(selection.method, entry.head.method) && Fits(selection.path, entry.head.Path()) &&
         Fits(selection.status, std::to_string(entry.status));
}

}  // namespace

std::uint64_t Journal::Add(std::shared_ptr<Entry> entry) {
  const std::lock_guard lock(mutex_);
  const std::uint64_t id = ++total_;
  entries_.push_back(std::move(entry));
  events_.Publish("exchange", [&] { return entries_.back()->Summary(id); });
  if (entries_.size() > limit_) entries_.pop_front();
  return id;
}

void Journal::Publish(std::uint64_t id, const Entry& entry) const {
  const std::lock_guard lock(mutex_);
  const bool isHeld = id >= FirstId() && id <= total_;
  // After a reset, another exchange can have the number.
  if (!isHeld || entries_.at(static_cast<std::size_t>(id - FirstId())).get() != &entry) return;
  events_.Publish("exchange", [&] { return entry.Summary(id); });
}

std::vector<NumberedEntry> Journal::Entries() const {
  const std::lock_guard lock(mutex_);
  std::vector<NumberedEntry> numbered;
  std::uint64_t id = FirstId();
  for (const auto& entry : entries_) numbered.push_back({id++, entry});
  return numbered;
}

std::shared_ptr<const Entry> Journal::Find(std::uint64_t id) const {
  const std::lock_guard lock(mutex_);
  if (id < FirstId() || id > total_) return nullptr;
  return entries_.at(static_cast<std::size_t>(id - FirstId()));
}

// Entries are serialized one by one: all of them as one tree would take several times the memory of the text.
std::string Journal::ToJson(const Selection& selection) const {
  std::vector<NumberedEntry> selected = Entries();
  std::erase_if(selected, [&](const NumberedEntry& numbered) { return !Selects(selection, numbered); });
  const std::size_t shown =
      selection.limit == 0 ? selected.size() : static_cast<std::size_t>(selection.limit);
  std::string text = "[";
  for (std::size_t i = selected.size() - std::min(selected.size(), shown); i < selected.size(); ++i) {
    const auto& [id, entry] = selected[i];
    if (text.size() > 1) text += ',';
    text += json::serialize(ToText(selection.brief ? entry->Summary(id) : entry->ToJson(id)));
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

// A hash table of named objects: entities, declared attributes and child elements.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::xml {

inline size_t HashOf(std::string_view name) { return std::hash<std::string_view>{}(name); }

// Finds values by their Key(). Owns neither the values nor the keys.
//
// The names come from the network, so an attacker may choose names with equal hashes. A hash therefore leads
// to a window of kWindow slots. If the window is full, the name goes to an ordered map. A lookup then takes
// logarithmic time, never linear.
template <class Value>
class NameTable {
 public:
  using Key = decltype(std::declval<const Value&>().Key());

  Value* Find(const Key& key) const {
    if (slots_.empty()) return nullptr;
    const size_t hash = HashOf(key);
    for (size_t i = 0; i < kWindow; ++i) {
      const Slot& slot = slots_[(hash + i) & (slots_.size() - 1)];
      if (!slot.value) break;
      if (slot.hash == hash && slot.value->Key() == key) return slot.value;
    }
    if (crowded_.empty()) return nullptr;
    const auto found = crowded_.find(key);
    return found == crowded_.end() ? nullptr : found->second;
  }

  // The key must not be in the table.
  void Add(Value* value) {
    if (2 * ++size_ > slots_.size()) Grow();
    Place({HashOf(value->Key()), value});
  }

 private:
  static constexpr size_t kWindow = 16;
  struct Slot {
    size_t hash = 0;
    Value* value = nullptr;
  };

  void Place(const Slot& added) {
    for (size_t i = 0; i < kWindow; ++i) {
      Slot& slot = slots_[(added.hash + i) & (slots_.size() - 1)];
      if (slot.value) continue;
      slot = added;
      return;
    }
    crowded_.emplace(added.value->Key(), added.value);
  }

  void Grow() {
    std::vector<Slot> smaller(slots_.empty() ? kWindow : 2 * slots_.size());
    slots_.swap(smaller);
    for (const Slot& slot : smaller) {
      if (slot.value) Place(slot);
    }
  }

  std::vector<Slot> slots_;  // the size is a power of two; at most half are used
  size_t size_ = 0;
  std::map<Key, Value*> crowded_;
};

}  // namespace velk::xml

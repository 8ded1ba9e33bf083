// What the services hold, and what became of each object: for people who look at what was published.
#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "kit/events.h"

namespace velk::sandbox {

// Remembers each object from its first change, also after it was deleted, until a reset. When there are too
// many, those that changed the longest time ago are forgotten.
class Objects {
 public:
  explicit Objects(Events& events) : events_(events) {}

  struct Change {
    std::string service, kind, id;               // which object
    std::optional<boost::json::object> members;  // none: it is gone
    std::uint64_t exchange = 0;                  // that changed it; 0 is none of this run
  };
  // Does nothing when the object is as it was.
  void Note(Change change);

  // Those that changed after that number, in the order of their last change.
  std::string ToJson(std::uint64_t since) const;
  void Clear();

 private:
  struct Object {
    std::string service, kind, id;
    boost::json::object members;
    boost::json::array history;
    bool deleted = false;
    std::uint64_t first = 0, number = 0;  // of its first and last change
  };
  static boost::json::object Describe(const Object& object);
  static bool Apply(Object& object, Change& change);
  void Forget();

  Events& events_;
  mutable std::mutex mutex_;
  std::map<std::uint64_t, Object> objects_;  // by the number of the last change
  std::map<std::string, std::uint64_t, std::less<>> numbers_;
  std::uint64_t last_ = 0;
};

}  // namespace velk::sandbox

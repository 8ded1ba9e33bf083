// Prepared replies and faults for the next requests that match, and the account of what they did.
#pragma once

#include <atomic>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kit/service.h"

namespace velk::sandbox {

// A script as it was posted; control.h describes each member.
struct ScriptText {
  std::string host;
  std::string method;
  std::string path;
  bool kept = false;
  std::uint64_t times = 1;
  Reply reply;
  std::optional<std::uint64_t> bodySize;
  bool passThrough = false;
  std::uint64_t delayMs = 0;
  bool answerEarly = false;
  std::optional<std::uint64_t> cutAfter;
  std::optional<std::uint64_t> cutBodyAfter;
  bool reset = false;
  std::optional<std::uint64_t> stopReadingAfter;
  std::uint64_t readSlowly = 0;
  bool neverAnswer = false;
  bool noContentLength = false;
  bool hangUp = false;
  std::string certificateName;
  bool refuseConnect = false;  // its status is the reply's
};

// Throws std::invalid_argument, naming the member, on what is unknown or of the wrong type.
ScriptText ParseScript(const boost::json::object& posted);

class Script : public ScriptText {
 public:
  Script(int id, ScriptText text) : ScriptText(std::move(text)), id_(id) {}

  int Id() const { return id_; }  // 0: not posted, but what applies without a script
  bool IsPosted() const { return id_ != 0; }
  bool Matches(const Head& head, bool kept) const;
  bool Take();  // false when it has been used up
  void Fired(const char* fault);
  boost::json::object Report() const;

  // Whether it ends the exchange after the part of the body that it reads.
  bool BreaksOff() const { return answerEarly || reset || cutAfter || cutBodyAfter; }

 private:
  const int id_;
  mutable std::mutex mutex_;
  std::uint64_t matched_ = 0;
  std::set<std::string> fired_;
};

class Scripts {
 public:
  int Add(ScriptText text);
  // `kept` states whether the request comes over a connection that is kept from an earlier one. Without a
  // match, the script passes the request through to the service and does nothing else.
  std::shared_ptr<Script> Take(const Head& head, bool kept);
  boost::json::array Report() const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<Script>> scripts_;
};

}  // namespace velk::sandbox

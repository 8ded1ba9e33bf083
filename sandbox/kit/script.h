// Prepared replies and faults for the next requests that match, and the account of what they did.
#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "kit/events.h"
#include "kit/intake.h"
#include "kit/reply.h"
#include "kit/script_members.h"
#include "net/head.h"

namespace velk::sandbox {

// The request for which a script is chosen. The body is null until it is complete.
struct Chosen {
  const Head& head;
  bool kept;  // over a connection that is kept from an earlier one
  const Received* received = nullptr;
};

class Script : public ScriptText {
 public:
  Script(int id, ScriptText text) : ScriptText(std::move(text)), id_(id) {}

  int Id() const { return id_; }  // 0: not posted, but what applies without a script
  bool IsPosted() const { return id_ != 0; }
  // Whether it holds the place of one that cannot be chosen before the body is complete.
  bool AwaitsBody() const { return awaitsBody_; }
  bool Matches(const Chosen& request) const;
  bool IsUsedUp() const;
  void Take();
  void Fired(const std::string& fault);
  boost::json::object Report() const;
  Reply PreparedReply() const;

  // Whether it ends the exchange after the part of the body that it reads.
  bool BreaksOff() const { return answerEarly || reset || cutAfter || cutBodyAfter; }

 private:
  friend class Scripts;

  const int id_;
  bool awaitsBody_ = false;
  mutable std::mutex mutex_;
  std::uint64_t matched_ = 0;
  std::map<std::string, std::uint64_t> fired_;
};

class Scripts {
 public:
  explicit Scripts(Events& events) : events_(events) {}

  int Add(ScriptText text);
  bool Replace(int id, ScriptText text);  // in its place, and unused again; false without that script
  bool Remove(int id);
  // Returns the first script that matches and is not used up. Without one, the returned script passes the
  // request through to the service and does nothing else. So does the one that stands in until the body is
  // complete.
  std::shared_ptr<Script> Take(const Chosen& request);
  void Fired(Script& script, const std::string& fault);
  boost::json::array Report() const;
  std::optional<boost::json::object> Report(int id) const;
  void Clear();

 private:
  using List = std::vector<std::shared_ptr<Script>>;
  List::const_iterator Find(int id) const;
  void Publish(const Script& script) const;

  Events& events_;
  mutable std::mutex mutex_;
  List scripts_;
  int lastId_ = 0;
};

}  // namespace velk::sandbox

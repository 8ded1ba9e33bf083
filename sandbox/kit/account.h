// What is recorded of one exchange, and the line about it on the standard error stream. In front of the real
// services, what it records has no secrets.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kit/arrival.h"
#include "kit/script.h"
#include "kit/secrets.h"
#include "kit/world.h"

namespace velk::sandbox {

class Account {
 public:
  Account(World& world, const Arrival& arrival, const std::shared_ptr<Script>& script);

  void Publish() { number_ = world_.journal.Add(entry_); }
  std::uint64_t Number() const { return number_; }  // in the journal; 0 for what is not recorded
  void Apply(std::shared_ptr<Script> script);       // in the place of the one before
  void CountBody(std::size_t bytes);
  std::uint64_t BodyReceived() const { return entry_->bodyReceived; }
  void SetReceived(const Head& head, std::shared_ptr<const Received> received);
  void SetStatus(int status) { entry_->status = status; }
  // Takes a reply as it was sent. Returns the part of its body that is kept, without secrets.
  std::string SetReply(std::string_view head, const BodyText& body);

  void Fire(const char* fault);
  void Explain(Why why);
  void Fail(int status, const std::string& why);
  void EndPhase(Phase phase);  // does nothing when a later one has ended
  void SetPhase(Phase phase, Timing::Clock::duration time);
  void Complete();  // all of the reply was sent
  void Conclude();  // the exchange is over

  std::string ScriptWhy(int status) const;

 private:
  void ReportProgress();

  World& world_;
  Secrets secrets_;
  const std::shared_ptr<Entry> entry_;
  std::uint64_t number_ = 0;
  std::shared_ptr<Script> script_;
  std::vector<std::string> faults_;
  bool hasBody_ = false;
  bool isComplete_ = false;
  Phase lastPhase_ = Phase::kHead;
  Timing::Clock::time_point phaseBegan_;
  Timing::Clock::time_point reported_;  // when its progress was last published
};

}  // namespace velk::sandbox

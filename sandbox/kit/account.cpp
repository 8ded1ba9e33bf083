#include "kit/account.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

#include "net/standard_error.h"

namespace velk::sandbox {
namespace {

using Clock = Timing::Clock;

constexpr std::chrono::milliseconds kBetweenReports(100);  // of the progress of one exchange

std::shared_ptr<Entry> NewEntry(const Arrival& arrival, Secrets& secrets) {
  Timing timing(arrival.began);
  timing.Set(Phase::kHead, Clock::now() - arrival.began);
  const bool isFirst = arrival.tunnel && !arrival.kept;
  if (isFirst) timing.Set(Phase::kConnect, arrival.tunnel->connect);
  if (isFirst) timing.Set(Phase::kTls, arrival.tunnel->tls);
  return std::make_shared<Entry>(secrets.Hide(arrival.head), arrival.tunnel ? "https" : "http",
                                 arrival.tunnel ? secrets.HideHead(arrival.tunnel->head) : std::string(),
                                 arrival.connection, timing);
}

}  // namespace

Account::Account(World& world, const Arrival& arrival, const std::shared_ptr<Script>& script)
    : world_(world),
      secrets_(world.upstreams && !world.options.showSecrets),
      entry_(NewEntry(arrival, secrets_)),
      phaseBegan_(Clock::now()),
      reported_(phaseBegan_) {
  Apply(script);
}

void Account::Apply(std::shared_ptr<Script> script) {
  script_ = std::move(script);
  entry_->Update([this](Progress& progress) { progress.script = script_->Id(); });
}

void Account::CountBody(std::size_t bytes) {
  entry_->bodyReceived += bytes;
  world_.journal.CountBytes(bytes);
  ReportProgress();
}

void Account::ReportProgress() {
  const Clock::time_point now = Clock::now();
  if (now - reported_ < kBetweenReports) return;
  reported_ = now;
  world_.journal.Publish(number_, *entry_);
}

void Account::SetReceived(const Head& head, std::shared_ptr<const Received> received) {
  hasBody_ = true;
  const auto shown = secrets_.Hide(world_.store, head, std::move(received));
  entry_->Update([&](Progress& progress) { progress.received = shown; });
}

std::string Account::SetReply(std::string_view head, const BodyText& body) {
  std::shared_ptr<const Content> content;
  const std::string shownHead = secrets_.HideHead(head);  // first, since the body can repeat its secrets
  if (world_.upstreams) {
    content = secrets_.Hide(world_.store, HeaderLines(head), body);
  } else {
    const bool counts = world_.store.LargeContents() == Large::kCountOnly;
    Content whole(world_.store, counts ? Large::kCountOnly : Large::kHashOnly);
    whole.Append(body.bytes);
    whole.Finish();
    content = std::make_shared<Content>(std::move(whole));
  }
  entry_->Update([&](Progress& progress) { progress.reply = {shownHead, content}; });
  return content->Load();
}

void Account::Fire(const char* fault) {
  world_.scripts.Fired(*script_, fault);
  if (std::ranges::find(faults_, fault) == faults_.end()) faults_.emplace_back(fault);
  entry_->Update([this](Progress& progress) { progress.faults = faults_; });
}

void Account::Explain(Why why) {
  why.text = secrets_.Hide(why.text);
  entry_->Update([&](Progress& progress) { progress.why = std::move(why); });
}

void Account::Fail(int status, const std::string& why) {
  SetStatus(status);
  Explain({why, {}});
}

void Account::EndPhase(Phase phase) {
  if (phase <= lastPhase_) return;
  lastPhase_ = phase;
  const Clock::time_point now = Clock::now();
  entry_->Update([&](Progress& progress) { progress.timing.Set(phase, now - phaseBegan_); });
  phaseBegan_ = now;
}

void Account::SetPhase(Phase phase, Clock::duration time) {
  entry_->Update([&](Progress& progress) { progress.timing.Set(phase, time); });
  phaseBegan_ = Clock::now();
}

void Account::Complete() {
  isComplete_ = true;
  EndPhase(Phase::kReply);
  if (!world_.options.verbose) return;
  const bool isConnect = entry_->head.method == "CONNECT";
  PrintError(entry_->head.method + ' ' + OneLine(entry_->head.host + (isConnect ? "" : entry_->head.target)) +
             " (" + std::to_string(entry_->bodyReceived) + " bytes) -> " + std::to_string(entry_->status));
}

std::string Account::ScriptWhy(int status) const {
  std::string why = "script " + std::to_string(script_->Id());
  for (const std::string& fault : faults_) why += (&fault == &faults_.front() ? ": " : ", ") + fault;
  if (status != 0) why += " (status " + std::to_string(status) + ')';
  return why;
}

// A script explains what went wrong, unless its service has done so. The line is printed once the exchange is
// over, so that it names every fault. A client that left is no refusal, but the reader of the journal
// wonders.
void Account::Conclude() {
  if (!isComplete_)
    EndPhase(lastPhase_ == Phase::kHead ? Phase::kBody : Phase{static_cast<int>(lastPhase_) + 1});
  const int status = entry_->status;
  std::string reason = entry_->Snapshot().why.text;
  const bool explains = script_->IsPosted() && (!script_->passThrough || reason.empty());
  if (explains && (IsRefusal(status) || !isComplete_)) reason = ScriptWhy(status);
  if (reason.empty() && !isComplete_) {
    reason = hasBody_ ? "the client ended the connection before the end of the reply"
                      : "the client ended the connection after " + std::to_string(entry_->bodyReceived) +
                            " bytes of the body";
  } else if (!reason.empty()) {
    PrintError("velk-sandbox: " + std::to_string(status) + ' ' + OneLine(entry_->head.method) + ' ' +
               OneLine(entry_->Url().substr(0, entry_->Url().find('?'))) + ": " + OneLine(reason));
  }
  entry_->Update([&](Progress& progress) { progress.why.text = reason; });
  entry_->ended = true;
  world_.journal.Publish(number_, *entry_);
}

}  // namespace velk::sandbox

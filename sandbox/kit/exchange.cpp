#include "kit/exchange.h"

#include <algorithm>
#include <boost/system/system_error.hpp>
#include <chrono>
#include <cstdio>
#include <system_error>

#include "kit/failure.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLargestPiece = 128 * 1024;
constexpr std::chrono::milliseconds kBetweenReports(100);  // of the progress of one exchange

std::shared_ptr<Entry> NewEntry(Arrival& arrival) {
  Timing timing(arrival.began);
  timing.Set(Phase::kHead, Timing::Clock::now() - arrival.began);
  const bool isFirst = arrival.tunnel && !arrival.kept;
  if (isFirst) timing.Set(Phase::kConnect, arrival.tunnel->connect);
  if (isFirst) timing.Set(Phase::kTls, arrival.tunnel->tls);
  return std::make_shared<Entry>(std::move(arrival.head), arrival.tunnel ? "https" : "http",
                                 arrival.tunnel ? arrival.tunnel->head : std::string(),
                                 std::move(arrival.connection), timing);
}

}  // namespace

Exchange::Exchange(Stream& stream, Input& input, World& world, Arrival arrival)
    : stream_(stream),
      input_(input),
      world_(world),
      entry_(NewEntry(arrival)),
      kept_(arrival.kept),
      script_(world.scripts.Take({entry_->head, kept_})),
      body_(entry_->head),
      began_(arrival.began),
      phaseBegan_(Clock::now()),
      reported_(phaseBegan_) {}

// A tunnel that opens as requested is part of the request that goes through it. Only one that does not is
// recorded by itself.
void Exchange::Record() {
  entry_->Update([this](Progress& progress) { progress.script = script_->Id(); });
  const bool opens = IsConnect() && world_.services.Simulates(Request().host) && script_->passThrough;
  if (!opens) number_ = world_.journal.Add(entry_);
}

void Exchange::ChooseByBody() {
  script_ = world_.scripts.Take({Request(), kept_, received_.get()});
  entry_->Update([this](Progress& progress) { progress.script = script_->Id(); });
}

awaitable<bool> Exchange::Serve() {
  Record();
  const bool readsBody = !script_->answerEarly || script_->stopReadingAfter;
  if (Request().expectsContinue && readsBody) co_await stream_.Write(kContinue);
  if (script_->answerEarly) co_return co_await ServeEarly();
  co_await Receive(script_->stopReadingAfter);
  if (received_ && script_->AwaitsBody()) ChooseByBody();
  if (!received_) {
    Fire("stopReadingAfter");
    PassPartOn();
    if (!script_->BreaksOff()) {
      co_await stream_.WaitUntilGone();
      EndConnection();
    }
  }
  const bool goesOn = co_await Respond();
  if (!goesOn) co_await stream_.End();
  co_return goesOn;
}

// The client of a reply without a length waits for the end, so that end must not wait for the body.
awaitable<bool> Exchange::ServeEarly() {
  co_await Receive(script_->stopReadingAfter.value_or(0));
  if (!received_) Fire("answerEarly");
  const bool goesOn = co_await Respond();
  if (!script_->noContentLength) co_await Receive(std::nullopt);
  if (!goesOn) co_await stream_.End();
  co_return goesOn;
}

std::size_t Exchange::PieceSize(std::optional<std::uint64_t> limit) const {
  std::uint64_t size = kLargestPiece;
  const std::uint64_t rate = script_->readSlowly;
  if (rate > 0) size = std::clamp<std::uint64_t>(rate / 20, 1, size);
  if (limit) size = std::min(size, *limit - entry_->bodyReceived);
  return static_cast<std::size_t>(size);
}

awaitable<void> Exchange::Receive(std::optional<std::uint64_t> limit) {
  if (received_) co_return;
  if (limit || script_->readSlowly > 0) stream_.ShrinkWindow();
  try {
    if (!intake_) intake_.emplace(world_.store, Request());
    while (!body_.Complete()) {
      const std::size_t size = PieceSize(limit);
      if (size == 0) co_return;
      co_await ReceivePiece(size);
    }
    received_ = intake_->Finish();
  } catch (const boost::system::system_error&) {
    PassPartOn();
    throw;
  } catch (const BadRequest& bad) {
    Fail(bad.status, bad.why);
    throw;
  } catch (const std::system_error& error) {
    Fail(kStoreIsFull, error.what());
    throw;
  }
  EndPhase(Phase::kBody);
  entry_->Update([this](Progress& progress) { progress.received = received_; });
}

awaitable<void> Exchange::ReceivePiece(std::size_t size) {
  const std::string_view piece = co_await input_.ReadContent(body_, size);
  intake_->Append(piece);
  entry_->bodyReceived += piece.size();
  world_.journal.CountBytes(piece.size());
  ReportProgress();
  if (script_->readSlowly == 0) co_return;
  co_await stream_.Sleep(std::chrono::microseconds(1'000'000 * piece.size() / script_->readSlowly));
  Fire("readSlowly");
}

void Exchange::ReportProgress() {
  const Clock::time_point now = Clock::now();
  if (now - reported_ < kBetweenReports) return;
  reported_ = now;
  world_.journal.Publish(number_, *entry_);
}

// A service keeps what has arrived of an upload, so that the client can resume it.
void Exchange::PassPartOn() {
  if (script_->passThrough && !IsConnect())
    world_.services.TakePartial(Request(), intake_->FinishPart(), number_);
}

Reply Exchange::ServiceReply() try {
  return world_.services.Handle(Request(), received_, number_);
} catch (const std::system_error& error) {
  Fail(kStoreIsFull, error.what());
  throw;
} catch (const std::exception& error) {
  Reply reply = JsonReply(500, {{"error", error.what()}});
  reply.why.text = std::string("the simulated service failed: ") + error.what();
  return reply;
}

Reply Exchange::MakeReply() {
  if (!script_->passThrough || !received_) return script_->PreparedReply();
  if (!IsConnect()) return ServiceReply();
  if (world_.services.Simulates(Request().host)) return {.status = 200, .reason = "Connection established"};
  Reply reply = JsonReply(502, {{"error", "this proxy reaches only the simulated services"}});
  reply.why.text = "the sandbox simulates no host of this name, and it reaches no other host";
  return reply;
}

// Returns whether the connection can take another request.
awaitable<bool> Exchange::Respond() {
  if (script_->delayMs > 0) {
    co_await stream_.Sleep(std::chrono::milliseconds(script_->delayMs));
    Fire("delayMs");
  }
  if (script_->neverAnswer) {
    Fire("neverAnswer");
    co_await stream_.WaitUntilGone();
    EndConnection();
  }
  const Reply reply = MakeReply();
  EndPhase(Phase::kService);
  const bool isScripted = script_->IsPosted() && (!script_->passThrough || !received_);
  entry_->Update([&](Progress& progress) {
    progress.why = reply.why;
    if (isScripted && IsRefusal(reply.status)) progress.why.text = ScriptWhy(reply.status);
  });
  co_await Deliver(reply);
  isComplete_ = true;
  EndPhase(Phase::kReply);
  if (world_.options.verbose) {
    std::fprintf(stderr, "%s %s%s (%llu bytes) -> %d\n", Request().method.c_str(), Request().host.c_str(),
                 IsConnect() ? "" : Request().target.c_str(),
                 static_cast<unsigned long long>(entry_->bodyReceived), reply.status);
  }
  NoteTunnel(reply);
  if (script_->hangUp) Fire("hangUp");
  if (script_->hangUp) co_return false;
  co_return opened_ || (!IsConnect() && Request().keepAlive && !script_->noContentLength);
}

std::size_t Exchange::CutPoint(std::size_t headSize, std::size_t size) const {
  if (script_->cutAfter) size = static_cast<std::size_t>(std::min<std::uint64_t>(size, *script_->cutAfter));
  if (!script_->cutBodyAfter) return size;
  return static_cast<std::size_t>(std::min<std::uint64_t>(size, headSize + *script_->cutBodyAfter));
}

awaitable<void> Exchange::Deliver(const Reply& reply) {
  const bool counted = !script_->noContentLength && !(IsConnect() && reply.status / 100 == 2);
  const std::string head = SerializeHead(reply, !counted);
  const std::string whole = head + reply.body;
  const bool mayCut = script_->cutAfter || script_->cutBodyAfter;
  const std::size_t end = script_->reset && !mayCut ? 0 : CutPoint(head.size(), whole.size());
  RecordReply(std::string_view(head).substr(0, end),
              std::string_view(reply.body).substr(0, end - std::min(end, head.size())));
  if (end > 0) entry_->status = reply.status;
  if (end > 0 && script_->noContentLength) Fire("noContentLength");
  if (end > 0 && script_->refuseConnect != 0) Fire("refuseConnect");
  co_await stream_.Write(std::string_view(whole).substr(0, end));
  if (mayCut && end < whole.size()) Fire(script_->cutAfter ? "cutAfter" : "cutBodyAfter");
  if (script_->reset) {
    Fire("reset");
    co_await stream_.Reset();
  }
  if (end == whole.size()) co_return;
  co_await stream_.Cut();
  EndConnection();
}

void Exchange::NoteTunnel(const Reply& reply) {
  if (!IsConnect() || reply.status / 100 != 2) return;
  if (!script_->certificateName.empty()) Fire("certificateName");
  opened_ = Tunnel{Request().host, Request().raw, script_->certificateName, Clock::now() - began_};
}

// ---- The record ----

void Exchange::RecordReply(std::string_view head, std::string_view body) {
  const bool counts = world_.store.LargeContents() == Large::kCountOnly;
  const auto content = std::make_shared<Content>(world_.store, counts ? Large::kCountOnly : Large::kHashOnly);
  content->Append(body);
  content->Finish();
  entry_->Update([&](Progress& progress) { progress.reply = {std::string(head), content}; });
}

void Exchange::Fire(const char* fault) {
  world_.scripts.Fired(*script_, fault);
  if (std::ranges::find(faults_, fault) == faults_.end()) faults_.emplace_back(fault);
  entry_->Update([this](Progress& progress) { progress.faults = faults_; });
}

void Exchange::Fail(int status, const std::string& why) {
  entry_->status = status;
  entry_->Update([&](Progress& progress) { progress.why.text = why; });
}

void Exchange::EndPhase(Phase phase) {
  const Clock::time_point now = Clock::now();
  entry_->Update([&](Progress& progress) { progress.timing.Set(phase, now - phaseBegan_); });
  phaseBegan_ = now;
}

std::string Exchange::ScriptWhy(int status) const {
  std::string why = "script " + std::to_string(script_->Id());
  for (const std::string& fault : faults_) why += (&fault == &faults_.front() ? ": " : ", ") + fault;
  if (status != 0) why += " (status " + std::to_string(status) + ')';
  return why;
}

// A script explains what went wrong, unless its service has done so. The line is printed once the exchange is
// over, so that it names every fault. A client that left is no refusal, but the reader of the journal
// wonders.
void Exchange::Conclude() {
  const int status = entry_->status;
  std::string reason = entry_->Snapshot().why.text;
  const bool explains = script_->IsPosted() && (!script_->passThrough || reason.empty());
  if (explains && (IsRefusal(status) || !isComplete_)) reason = ScriptWhy(status);
  if (reason.empty() && !isComplete_) {
    reason = received_ ? "the client ended the connection before the end of the reply"
                       : "the client ended the connection after " + std::to_string(entry_->bodyReceived) +
                             " bytes of the body";
  } else if (!reason.empty()) {
    std::fprintf(stderr, "velk-sandbox: %d %s %s: %s\n", status, OneLine(Request().method).c_str(),
                 OneLine(entry_->Url().substr(0, entry_->Url().find('?'))).c_str(), OneLine(reason).c_str());
  }
  entry_->Update([&](Progress& progress) { progress.why.text = reason; });
  entry_->ended = true;
  world_.journal.Publish(number_, *entry_);
}

}  // namespace velk::sandbox

#include "kit/forwarding.h"

#include <algorithm>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include "kit/forwarded_head.h"
#include "kit/service_reason.h"

namespace velk::sandbox {
namespace {

constexpr char kNotShown[] = "the service's reply is not text or larger than 64 KiB: its reason is not known";

using namespace asio::experimental::awaitable_operators;
using namespace std::chrono_literals;
using boost::system::system_error;

constexpr auto kLongestConnect = 10s;
constexpr auto kWatchInterval = 20ms;
constexpr auto kIdleInterval = 100ms;
constexpr auto kLongestIdle = 2000ms;
constexpr std::size_t kPiece = 128 * 1024;

Why Reason(std::string text) { return {std::move(text), {}}; }

}  // namespace

Forwarding::Forwarding(Stream& client, World& world, const Head& request, const Script& script,
                       Account& account, std::unique_ptr<Upstream>& upstream)
    : client_(client),
      world_(world),
      request_(request),
      script_(script),
      account_(account),
      upstream_(upstream) {}

awaitable<void> Forwarding::Wait(Timing::Clock::duration time) {
  asio::steady_timer timer(co_await asio::this_coro::executor, time);
  co_await timer.async_wait(asio::use_awaitable);
}

awaitable<void> Forwarding::WaitUntilClientLeft() {
  while (!client_.IsGone()) co_await Wait(kWatchInterval);
}

awaitable<void> Forwarding::WaitUntilAbandoned() {
  for (auto idle = 0ms; idle < kLongestIdle && client_.IsOpen();) {
    const std::uint64_t before = sent_;
    co_await Wait(kIdleInterval);
    idle = client_.IsGone() && sent_ == before ? idle + kIdleInterval : 0ms;
  }
}

// ---- The request ----

awaitable<std::string> Forwarding::Reach(bool secure) {
  const Endpoint endpoint = world_.upstreams->Find(request_.host, secure);
  if (upstream_ && upstream_->CanServe(endpoint)) co_return std::string();
  upstream_ = std::make_unique<Upstream>(endpoint);
  const auto first =
      co_await (upstream_->Open(world_.upstreams->Trust()) || WaitUntilClientLeft() || Wait(kLongestConnect));
  if (first.index() == 1) EndConnection();
  if (upstream_->ConnectTime()) account_.SetPhase(Phase::kUpstreamConnect, *upstream_->ConnectTime());
  if (upstream_->TlsTime()) account_.SetPhase(Phase::kUpstreamTls, *upstream_->TlsTime());
  const bool isLate = first.index() == 2;
  std::string why = isLate ? "no connection to " + request_.host + " within 10 s" : std::get<0>(first);
  if (!why.empty()) upstream_.reset();
  if (upstream_) upstream_->Connection().UseBatches();
  client_.UseBatches();
  co_return why;
}

awaitable<void> Forwarding::SendHead() {
  const std::string head = ForwardedHead(request_);
  co_await Send(head);
}

awaitable<void> Forwarding::Send(std::string_view raw) {
  if (takesNoMore_) co_return;
  isSending_ = true;
  try {
    co_await upstream_->Connection().Write(raw);
    sent_ += raw.size();
  } catch (const system_error& error) {
    takesNoMore_ = true;
    wasReset_ = error.code() == asio::error::connection_reset ||
                error.code() == asio::error::connection_aborted;  // so Windows calls a second one
  }
  isSending_ = false;
}

// ---- The reply ----

awaitable<Relayed> Forwarding::RelayReply() {
  try {
    co_return co_await RelayWell();
  } catch (const BadRequest& bad) {
    account_.Explain(Reason("the service's reply is malformed: " + bad.why));
    co_return Relayed::kCut;
  }
}

awaitable<Relayed> Forwarding::RelayWell() {
  ReplyHead head;
  do {
    if (!co_await RelayHead(head)) co_return co_await WhenCut();
  } while (head.IsInterim());
  if (!co_await RelayBody(head)) co_return co_await WhenCut();
  account_.Complete();
  isWhole_ = true;
  RecordReply();
  if (script_.reset) account_.Fire("reset");
  if (script_.reset) co_return Relayed::kReset;
  if (!head.keepAlive || script_.noContentLength) co_return Relayed::kEnds;
  while (!bodyHasEnded_) co_await Wait(kWatchInterval);
  co_return Relayed::kGoesOn;
}

// Why the reply did not arrive as a whole. The system reports a reset once, to whatever sends or receives
// next.
awaitable<Relayed> Forwarding::WhenCut() {
  for (int i = 0; i < 10 && isSending_; ++i) co_await Wait(10ms);
  const char* const where = head_ ? "inside its reply" : "before its reply";
  RecordReply();
  if (stopped_) co_return *stopped_;
  if (wasReset_) ending_ = Ending::kReset;
  static constexpr const char* kHow[] = {"ended", "cut", "reset"};
  account_.Explain(Reason(std::string("the service ") + kHow[static_cast<std::size_t>(ending_)] +
                          " the connection " + where));
  if (ending_ == Ending::kOrderly) co_return Relayed::kEnds;
  co_return ending_ == Ending::kCut ? Relayed::kCut : Relayed::kReset;
}

awaitable<bool> Forwarding::ReadHead(HeadReader& reader) {
  try {
    co_return co_await upstream_->Replies().ReadHead(reader);
  } catch (const system_error& error) {
    NoteEnding(error.code());
    co_return false;
  }
}

// A head that was cut reaches the client cut.
awaitable<bool> Forwarding::RelayHead(ReplyHead& head) {
  HeadReader reader;
  const bool isWhole = co_await ReadHead(reader);
  std::string raw = reader.Take();
  if (!isWhole) {
    if (!raw.empty()) co_await Put(raw);
    co_return false;
  }
  head = ParseReplyHead(std::move(raw), request_.method);
  if (head.IsInterim()) co_return co_await Put(head.raw);
  account_.EndPhase(Phase::kBody);
  account_.EndPhase(Phase::kService);
  if (script_.noContentLength) {
    account_.Fire("noContentLength");
    head.raw = WithoutFraming(head);
  }
  head_ = head;
  co_await Pause();
  SetLimit(head.raw.size());
  if (limit_.value_or(1) > 0) account_.SetStatus(head.status);
  co_return co_await Put(head.raw);
}

awaitable<void> Forwarding::Pause() {
  if (script_.delayMs > 0) {
    co_await Wait(std::chrono::milliseconds(script_.delayMs));
    account_.Fire("delayMs");
  }
  if (!script_.neverAnswer) co_return;
  account_.Fire("neverAnswer");
  for (;;) co_await Wait(1h);  // until the client leaves
}

void Forwarding::SetLimit(std::size_t headSize) {
  if (script_.cutAfter) limit_ = *script_.cutAfter;
  if (script_.cutBodyAfter) limit_ = std::min(limit_.value_or(~0ULL), headSize + *script_.cutBodyAfter);
  if (script_.reset && !limit_) limit_ = 0;
}

awaitable<Framed> Forwarding::ReadBody(const ReplyHead& head, BodyDecoder& decoder) {
  try {
    if (!head.endsWithConnection) co_return co_await upstream_->Replies().ReadFramed(decoder, kPiece);
    const std::string_view piece = co_await upstream_->Replies().ReadSome(kPiece);
    co_return Framed{piece, piece};
  } catch (const system_error& error) {
    NoteEnding(error.code());
    co_return Framed{};
  }
}

// Returns whether all of it has been relayed.
awaitable<bool> Forwarding::RelayBody(const ReplyHead& head) {
  BodyDecoder decoder = head.Body();
  while (head.endsWithConnection || !decoder.Complete()) {
    const Framed piece = co_await ReadBody(head, decoder);
    if (piece.raw.empty()) co_return head.endsWithConnection&& ending_ == Ending::kOrderly;
    Keep(piece.content);
    if (!co_await Put(script_.noContentLength ? piece.content : piece.raw)) co_return false;
  }
  co_return true;
}

// Returns whether the client got all of the bytes.
awaitable<bool> Forwarding::Put(std::string_view bytes) {
  const std::size_t size =
      limit_ ? static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), *limit_)) : bytes.size();
  if (limit_) *limit_ -= size;
  hasReplied_ = true;
  try {
    co_await client_.Write(bytes.substr(0, size));
  } catch (const system_error&) {
    stopped_ = Relayed::kClientLeft;
    co_return false;
  }
  if (size == bytes.size()) co_return true;
  if (script_.cutAfter || script_.cutBodyAfter) account_.Fire(script_.cutAfter ? "cutAfter" : "cutBodyAfter");
  if (script_.reset) account_.Fire("reset");
  stopped_ = script_.reset ? Relayed::kReset : Relayed::kCut;
  co_return false;
}

// ---- The record ----

void Forwarding::Keep(std::string_view content) {
  kept_.size += content.size();
  if (kept_.size > kLargestInMemory)
    kept_.bytes.clear();
  else
    kept_.bytes += content;
}

// What a fault cut off is part of the record: it is what the service replied.
void Forwarding::RecordReply() {
  if (!head_) return;
  const std::string shown = account_.SetReply(head_->raw, kept_);
  const bool isShown = !shown.empty() || kept_.size == 0;
  // Of a reply that was cut before its body, nobody knows whether it has a reason.
  if (IsRefusal(head_->status) && (isWhole_ || kept_.size > 0))
    account_.Explain(Reason(isShown ? ServiceReason(*head_, shown) : kNotShown));
  head_.reset();
}

}  // namespace velk::sandbox

#include "kit/exchange.h"

#include <algorithm>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/system/system_error.hpp>
#include <chrono>
#include <system_error>
#include <utility>

#include "kit/failure.h"
#include "kit/why.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLargestPiece = 128 * 1024;
constexpr int kBadGateway = 502;

Reply GatewayReply(const std::string& why) {
  Reply reply = JsonReply(kBadGateway, {{"error", why}});
  reply.why.text = why;
  return reply;
}

}  // namespace

Exchange::Exchange(Stream& stream, Input& input, World& world, const Arrival& arrival)
    : stream_(stream),
      input_(input),
      world_(world),
      head_(arrival.head),
      isSecure_(arrival.tunnel.has_value()),
      kept_(arrival.kept),
      upstream_(arrival.upstream),
      script_(world.scripts.Take({head_, kept_})),
      account_(world, arrival, script_),
      body_(head_),
      began_(arrival.began) {}

Exchange::~Exchange() {
  forwarding_.reset();  // it still records
  account_.Conclude();
}

// A tunnel that opens as requested is part of the request that goes through it. Only one that does not is
// recorded by itself.
void Exchange::Record() {
  const bool opens = IsConnect() && script_->passThrough && !IsRefusal(ConnectReply().status);
  if (!opens) account_.Publish();
}

void Exchange::ChooseByBody(const Received* received) {
  script_ = world_.scripts.Take({Request(), kept_, received});
  account_.Apply(script_);
}

awaitable<bool> Exchange::Serve() {
  Record();
  if (!IsForwarded()) co_return co_await ServeHere();
  const std::string why = WhyUnreachable();
  if (!why.empty()) co_return co_await Refuse(why);
  if (script_->AwaitsBody()) co_await HoldBody();
  if (script_->passThrough) co_return co_await Forward();
  held_.reset();
  if (!received_) co_return co_await ServeHere();
  const bool goesOn = co_await Respond();
  if (!goesOn) co_await stream_.End();
  co_return goesOn;
}

awaitable<bool> Exchange::ServeHere() {
  const bool readsBody = !script_->answerEarly || script_->stopReadingAfter;
  if (Request().expectsContinue && readsBody && !intake_) co_await stream_.Write(kContinue);
  if (script_->answerEarly) co_return co_await ServeEarly();
  co_await Receive(script_->stopReadingAfter);
  if (received_ && script_->AwaitsBody()) ChooseByBody(received_.get());
  if (!received_) {
    account_.Fire("stopReadingAfter");
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
  if (!received_) account_.Fire("answerEarly");
  const bool goesOn = co_await Respond();
  if (!script_->noContentLength) co_await Receive(std::nullopt);
  if (!goesOn) co_await stream_.End();
  co_return goesOn;
}

std::size_t Exchange::PieceSize(std::optional<std::uint64_t> limit) const {
  std::uint64_t size = kLargestPiece;
  const std::uint64_t rate = script_->readSlowly;
  if (rate > 0) size = std::clamp<std::uint64_t>(rate / 20, 1, size);
  // A script that was chosen late can state less than what has arrived.
  if (limit) size = std::min(size, *limit - std::min(*limit, account_.BodyReceived()));
  return static_cast<std::size_t>(size);
}

// Before a real service, a malformed form is for the service to refuse.
Intake& Exchange::Body() {
  using enum Intake::Form;
  if (!intake_) intake_.emplace(world_.store, Request(), world_.upstreams ? kLenient : kStrict);
  return *intake_;
}

awaitable<void> Exchange::Receive(std::optional<std::uint64_t> limit) {
  if (received_) co_return;
  if (limit || script_->readSlowly > 0) stream_.ShrinkWindow();
  try {
    Body();
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
    account_.Fail(bad.status, bad.why);
    throw;
  } catch (const std::system_error& error) {
    account_.Fail(kStoreIsFull, error.what());
    throw;
  }
  account_.EndPhase(Phase::kBody);
  account_.SetReceived(Request(), received_);
}

awaitable<void> Exchange::ReceivePiece(std::size_t size) {
  const Framed piece = co_await input_.ReadFramed(body_, size);
  if (piece.raw.empty()) EndConnection();
  if (forwarding_) co_await forwarding_->Send(piece.raw);
  if (held_) *held_ += piece.raw;
  Body().Append(piece.content);
  account_.CountBody(piece.content.size());
  if (script_->readSlowly == 0) co_return;
  co_await stream_.Sleep(std::chrono::microseconds(1'000'000 * piece.content.size() / script_->readSlowly));
  account_.Fire("readSlowly");
}

// A service keeps what has arrived of an upload, so that the client can resume it.
void Exchange::PassPartOn() {
  const bool isForService = script_->passThrough && !IsConnect() && !world_.upstreams;
  if (isForService) world_.services.TakePartial(Request(), intake_->FinishPart(), account_.Number());
}

Reply Exchange::ServiceReply() try {
  return world_.services.Handle(Request(), received_, account_.Number());
} catch (const std::system_error& error) {
  account_.Fail(kStoreIsFull, error.what());
  throw;
} catch (const std::exception& error) {
  Reply reply = JsonReply(500, {{"error", error.what()}});
  reply.why.text = std::string("the simulated service failed: ") + error.what();
  return reply;
}

// Whoever reaches the proxy must not reach other hosts through it, or other programs of these hosts.
std::string Exchange::WhyUnreachable() const {
  if (!world_.services.Simulates(Request().host))
    return "this proxy reaches the hosts of the services alone, and " + Quoted(Request().host) +
           " is none of them";
  if (world_.upstreams && Request().namesHttps)
    return "--forward takes a URL of https only through a tunnel that CONNECT opens";
  const std::string_view usual = IsConnect() ? "443" : "80";
  const bool isOther = !isSecure_ && !Request().port.empty() && Request().port != usual;
  if (!world_.upstreams || !isOther) return {};
  return "--forward reaches " + Request().host + " at port " + std::string(usual) + " alone, and not at " +
         Quoted(Request().port);
}

Reply Exchange::ConnectReply() const {
  const std::string why = WhyUnreachable();
  return why.empty() ? Reply{.status = 200, .reason = "Connection established"} : GatewayReply(why);
}

Reply Exchange::MakeReply() {
  if (script_->passThrough && received_) return IsConnect() ? ConnectReply() : ServiceReply();
  Reply reply = script_->PreparedReply();
  if (script_->IsPosted() && IsRefusal(reply.status)) reply.why.text = account_.ScriptWhy(reply.status);
  return reply;
}

// Returns whether the connection can take another request.
awaitable<bool> Exchange::Respond() {
  if (script_->delayMs > 0) {
    co_await stream_.Sleep(std::chrono::milliseconds(script_->delayMs));
    account_.Fire("delayMs");
  }
  if (script_->neverAnswer) {
    account_.Fire("neverAnswer");
    co_await stream_.WaitUntilGone();
    EndConnection();
  }
  const Reply reply = MakeReply();
  co_return co_await Respond(reply);
}

awaitable<bool> Exchange::Respond(const Reply& reply) {
  account_.EndPhase(Phase::kService);
  account_.Explain(reply.why);
  co_await Deliver(reply);
  account_.Complete();
  NoteTunnel(reply);
  if (script_->hangUp) account_.Fire("hangUp");
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
  const std::string whole = Request().method == "HEAD" ? head : head + reply.body;
  const bool mayCut = script_->cutAfter || script_->cutBodyAfter;
  const std::size_t end = script_->reset && !mayCut ? 0 : CutPoint(head.size(), whole.size());
  const std::string sent = reply.body.substr(0, end - std::min(end, head.size()));
  account_.SetReply(std::string_view(head).substr(0, end), {sent, sent.size()});
  if (end > 0) account_.SetStatus(reply.status);
  if (end > 0 && script_->noContentLength) account_.Fire("noContentLength");
  if (end > 0 && script_->refuseConnect != 0) account_.Fire("refuseConnect");
  co_await stream_.Write(std::string_view(whole).substr(0, end));
  if (mayCut && end < whole.size()) account_.Fire(script_->cutAfter ? "cutAfter" : "cutBodyAfter");
  if (script_->reset) {
    account_.Fire("reset");
    co_await stream_.Reset();
  }
  if (end == whole.size()) co_return;
  co_await stream_.Cut();
  EndConnection();
}

void Exchange::NoteTunnel(const Reply& reply) {
  if (!IsConnect() || reply.status / 100 != 2) return;
  if (!script_->certificateName.empty()) account_.Fire("certificateName");
  opened_ =
      Tunnel{Request().host, Request().raw, script_->certificateName, Timing::Clock::now() - began_, {}};
}

// ---- In front of the real services ----

bool Exchange::IsForwarded() const { return world_.upstreams && !IsConnect() && script_->passThrough; }

// A script that depends on the body can replace what the service would reply, so the service gets nothing
// before the script is chosen. A body that is too large for memory fits none of these scripts, and the ones
// after them apply.
awaitable<void> Exchange::HoldBody() {
  if (Request().expectsContinue) co_await stream_.Write(kContinue);
  held_.emplace();
  while (!body_.Complete() && held_->size() < kLargestInMemory) co_await ReceivePiece(kLargestInMemory);
  if (body_.Complete()) {
    co_await Receive(std::nullopt);
    co_return ChooseByBody(received_.get());
  }
  Content unread(world_.store, Large::kCountOnly);
  unread.Count(kLargestInMemory + 1);
  const Received tooLarge{std::move(unread), {}};
  ChooseByBody(&tooLarge);
}

// The body of the request remains unread.
awaitable<bool> Exchange::Refuse(const std::string& why) {
  Reply reply = GatewayReply(why);
  reply.headers.emplace_back("Connection: close");
  co_await Respond(reply);
  co_await stream_.End();
  co_return false;
}

awaitable<bool> Exchange::Forward() {
  using namespace asio::experimental::awaitable_operators;
  forwarding_.emplace(stream_, world_, head_, *script_, account_, upstream_);
  const std::string why = co_await forwarding_->Reach(isSecure_);
  if (!why.empty()) co_return co_await Refuse(why);
  const auto first = co_await (forwarding_->RelayReply() || Feed() || forwarding_->WaitUntilAbandoned());
  if (first.index() == 0) co_return co_await EndAs(std::get<0>(first));
  co_return co_await EndAs(first.index() == 1 ? std::get<1>(first) : Fed::kClientReset);
}

// Returns only when there is a reason not to wait for the reply any more.
awaitable<Exchange::Fed> Exchange::Feed() {
  try {
    co_await forwarding_->SendHead();
    const std::string held = std::exchange(held_, std::nullopt).value_or("");
    if (!held.empty()) co_await forwarding_->Send(held);
    co_await Receive(script_->stopReadingAfter);
  } catch (const BadRequest& bad) {
    refused_ = bad;
  } catch (const boost::system::system_error& error) {
    co_return error.code() == asio::error::connection_reset ? Fed::kClientReset : Fed::kClientLeft;
  } catch (const std::system_error& error) {
    refused_ = BadRequest{kStoreIsFull, error.what()};
  }
  if (refused_) co_return Fed::kRefused;
  if (!received_) co_return Fed::kLimit;
  forwarding_->EndBody();
  co_await forwarding_->WaitUntilClientLeft();
  co_return Fed::kClientLeft;
}

awaitable<bool> Exchange::EndAs(Relayed how) {
  if (script_->hangUp) account_.Fire("hangUp");
  const bool goesOn = how == Relayed::kGoesOn && Request().keepAlive && !script_->hangUp;
  if (!goesOn) upstream_.reset();
  if (how == Relayed::kClientLeft) EndConnection();
  if (how == Relayed::kReset) co_await stream_.Reset();
  if (how == Relayed::kCut) {
    co_await stream_.Cut();
    EndConnection();
  }
  if (!goesOn) co_await stream_.End();
  co_return goesOn;
}

// The service gets no more of the request than the client sent, or than a fault lets through.
awaitable<bool> Exchange::EndAs(Fed how) {
  if (how == Fed::kClientReset && upstream_) upstream_->Connection().Abort();
  upstream_.reset();
  if (how == Fed::kRefused && !forwarding_->HasReplied()) throw *refused_;
  if (how != Fed::kLimit) EndConnection();
  account_.Fire("stopReadingAfter");
  const bool goesOn = co_await Respond();
  if (!goesOn) co_await stream_.End();
  co_return goesOn;
}

}  // namespace velk::sandbox

#include "kit/exchange.h"

#include <algorithm>
#include <boost/system/system_error.hpp>
#include <chrono>
#include <cstdio>
#include <system_error>

#include "kit/failure.h"
#include "net/input.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLargestPiece = 128 * 1024;

// How a connection became a tunnel: the host that its CONNECT named, and its head.
struct Tunnel {
  std::string host;
  std::string head;
  std::string certificateName;  // empty for the sandbox's own certificate
};

// One request, from its head to its reply.
class Exchange {
 public:
  Exchange(Stream& stream, Input& input, World& world, Head head, const std::optional<Tunnel>& tunnel,
           std::shared_ptr<const Connection> connection, bool kept)
      : stream_(stream),
        input_(input),
        world_(world),
        entry_(std::make_shared<Entry>(std::move(head), tunnel ? "https" : "http",
                                       tunnel ? tunnel->head : std::string(), std::move(connection))),
        script_(world.scripts.Take(entry_->head, kept)),
        body_(entry_->head),
        intake_(world.store, entry_->head) {}

  awaitable<bool> Serve();  // returns whether the connection goes on
  std::optional<Tunnel> Opened() const;

 private:
  const Head& Request() const { return entry_->head; }
  bool IsConnect() const { return Request().method == "CONNECT"; }
  void Record();
  awaitable<void> Receive(std::optional<std::uint64_t> limit);
  awaitable<void> ReceivePiece(std::size_t size);
  void PassPartOn();
  std::size_t PieceSize(std::optional<std::uint64_t> limit) const;
  awaitable<bool> ServeEarly();
  awaitable<bool> Respond();
  Reply ServiceReply();
  Reply MakeReply();
  std::size_t CutPoint(std::size_t headSize, std::size_t size) const;
  awaitable<void> Deliver(const Reply& reply);

  Stream& stream_;
  Input& input_;
  World& world_;
  const std::shared_ptr<Entry> entry_;
  const std::shared_ptr<Script> script_;
  BodyDecoder body_;
  Intake intake_;
  std::shared_ptr<const Received> received_;  // once the body is complete
  bool opensTunnel_ = false;
};

// A tunnel that opens as requested is part of the request that goes through it. Only one that does not is
// recorded by itself.
void Exchange::Record() {
  entry_->scripted = script_->IsPosted();
  const bool opens = IsConnect() && world_.services.Simulates(Request().host) && script_->passThrough;
  if (!opens) world_.journal.Add(entry_);
}

awaitable<bool> Exchange::Serve() {
  Record();
  const bool readsBody = !script_->answerEarly || script_->stopReadingAfter;
  if (Request().expectsContinue && readsBody) co_await stream_.Write(kContinue);
  if (script_->answerEarly) co_return co_await ServeEarly();
  co_await Receive(script_->stopReadingAfter);
  if (!received_) {
    script_->Fired("stopReadingAfter");
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
  if (!received_) script_->Fired("answerEarly");
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
    while (!body_.Complete()) {
      const std::size_t size = PieceSize(limit);
      if (size == 0) co_return;
      co_await ReceivePiece(size);
    }
    received_ = intake_.Finish();
  } catch (const boost::system::system_error&) {
    PassPartOn();
    throw;
  } catch (const BadRequest& bad) {
    entry_->status = bad.status;
    throw;
  } catch (const std::system_error&) {
    entry_->status = kStoreIsFull;
    throw;
  }
  entry_->SetReceived(received_);
}

awaitable<void> Exchange::ReceivePiece(std::size_t size) {
  const std::string_view piece = co_await input_.ReadContent(body_, size);
  intake_.Append(piece);
  entry_->bodyReceived += piece.size();
  world_.journal.CountBytes(piece.size());
  if (script_->readSlowly == 0) co_return;
  co_await stream_.Sleep(std::chrono::microseconds(1'000'000 * piece.size() / script_->readSlowly));
  script_->Fired("readSlowly");
}

// A service keeps what has arrived of an upload, so that the client can resume it.
void Exchange::PassPartOn() {
  if (script_->passThrough && !IsConnect()) world_.services.TakePartial(Request(), intake_.FinishPart());
}

Reply Exchange::ServiceReply() try {
  return world_.services.Handle(Request(), received_);
} catch (const std::system_error&) {
  throw;  // the store cannot take the content
} catch (const std::exception& error) {
  std::fprintf(stderr, "velk-sandbox: %s %s failed: %s\n", Request().method.c_str(), Request().target.c_str(),
               error.what());
  return JsonReply(500, {{"error", error.what()}});
}

Reply Exchange::MakeReply() {
  if (!script_->passThrough || !received_) return script_->reply;
  if (!IsConnect()) return ServiceReply();
  if (world_.services.Simulates(Request().host)) return {.status = 200, .reason = "Connection established"};
  return JsonReply(502, {{"error", "this proxy reaches only the simulated services"}});
}

// Returns whether the connection can take another request.
awaitable<bool> Exchange::Respond() {
  if (script_->delayMs > 0) {
    co_await stream_.Sleep(std::chrono::milliseconds(script_->delayMs));
    script_->Fired("delayMs");
  }
  if (script_->neverAnswer) {
    script_->Fired("neverAnswer");
    co_await stream_.WaitUntilGone();
    EndConnection();
  }
  const Reply reply = MakeReply();
  co_await Deliver(reply);
  if (world_.options.verbose) {
    std::fprintf(stderr, "%s %s%s (%llu bytes) -> %d\n", Request().method.c_str(), Request().host.c_str(),
                 IsConnect() ? "" : Request().target.c_str(),
                 static_cast<unsigned long long>(entry_->bodyReceived), reply.status);
  }
  opensTunnel_ = IsConnect() && reply.status / 100 == 2;
  if (script_->hangUp) script_->Fired("hangUp");
  if (script_->hangUp) co_return false;
  co_return opensTunnel_ || (!IsConnect() && Request().keepAlive && !script_->noContentLength);
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
  if (end > 0) entry_->status = reply.status;
  if (end > 0 && script_->noContentLength) script_->Fired("noContentLength");
  if (end > 0 && script_->refuseConnect) script_->Fired("refuseConnect");
  co_await stream_.Write(std::string_view(whole).substr(0, end));
  if (mayCut && end < whole.size()) script_->Fired(script_->cutAfter ? "cutAfter" : "cutBodyAfter");
  if (script_->reset) {
    script_->Fired("reset");
    co_await stream_.Reset();
  }
  if (end == whole.size()) co_return;
  co_await stream_.Cut();
  EndConnection();
}

std::optional<Tunnel> Exchange::Opened() const {
  if (!opensTunnel_) return std::nullopt;
  if (!script_->certificateName.empty()) script_->Fired("certificateName");
  return Tunnel{Request().host, Request().raw, script_->certificateName};
}

awaitable<void> ServeRequests(Stream& stream, World& world, std::shared_ptr<Connection> connection) {
  Input input(stream);
  std::optional<Tunnel> tunnel;
  std::optional<asio::ssl::context> otherTls;  // for a certificate that a script requests
  bool kept = false;                           // a request was served before
  while (auto head = co_await input.ReadHead()) {
    if (tunnel && head->method == "CONNECT") throw BadRequest();
    if (tunnel) head->host = tunnel->host;
    Exchange exchange(stream, input, world, std::move(*head), tunnel, connection, kept);
    if (!co_await exchange.Serve()) co_return;
    kept = true;
    if (tunnel || !(tunnel = exchange.Opened())) continue;
    kept = false;
    const std::string_view name = tunnel->certificateName;
    if (!name.empty()) otherTls = Authority().MakeContext({&name, 1});
    co_await stream.AcceptTls(otherTls ? *otherTls : world.tls);
  }
  co_await stream.End();
}

}  // namespace

awaitable<void> ServeProxy(Stream& stream, World& world) {
  const auto connection = std::make_shared<Connection>(++world.connections);
  const std::shared_ptr<void> end(nullptr, [&](void*) { connection->open = false; });
  co_await ReplyToFailure(stream, ServeRequests(stream, world, connection));
}

}  // namespace velk::sandbox

// Serves a connection's requests one after the other, each by its service or as a script says.
#include "kit/exchange.h"

#include <algorithm>
#include <boost/beast/http/status.hpp>
#include <chrono>
#include <cstdio>

namespace velk::sandbox {
namespace {

namespace http = boost::beast::http;

constexpr std::size_t kLargestPiece = 512 * 1024;

// How a connection came to be a tunnel: what its CONNECT named, and its head.
struct Tunnel {
  std::string host;
  std::string head;
  std::string certificateName;  // empty for the sandbox's own certificate
};

bool IsFinal(int status) { return status >= 200 && status != 204 && status != 304; }

// One request, from its head to its answer.
class Exchange {
 public:
  Exchange(Stream& stream, Input& input, World& world, Head head, const std::optional<Tunnel>& tunnel,
           std::shared_ptr<const Connection> connection, bool kept)
      : stream_(stream),
        world_(world),
        entry_(std::make_shared<Entry>(std::move(head), tunnel ? "https" : "http",
                                       tunnel ? tunnel->head : std::string(), std::move(connection))),
        script_(world.scripts.Take(entry_->head, kept)),
        reader_(input, entry_->head),
        intake_(world.store, entry_->head) {}

  bool Serve();  // whether the connection goes on
  std::optional<Tunnel> Opened() const;

 private:
  const Head& Asked() const { return entry_->head; }
  bool IsConnect() const { return Asked().method == "CONNECT"; }
  void Record();
  void Receive(std::optional<std::uint64_t> limit);
  std::size_t Room(std::optional<std::uint64_t> limit) const;
  bool ServeEarly();
  bool Answer();
  Reply MakeReply();
  std::size_t CutPoint(std::size_t headSize, std::size_t size) const;
  void Deliver(const Reply& reply);
  void Sleep(std::chrono::microseconds time);

  Stream& stream_;
  World& world_;
  const std::shared_ptr<Entry> entry_;
  const std::shared_ptr<Script> script_;
  BodyReader reader_;
  Intake intake_;
  std::shared_ptr<const Received> received_;  // once the body is complete
  bool opensTunnel_ = false;
};

// A tunnel that opens as asked is part of the request that goes through it; only one that does not is
// on record by itself.
void Exchange::Record() {
  entry_->scripted = script_->IsPosted();
  const bool opens = IsConnect() && IsServiceHost(Asked().host) && script_->passThrough;
  if (!opens) world_.journal.Add(entry_);
}

bool Exchange::Serve() {
  Record();
  const bool wantsBody = !script_->answerEarly || script_->stopReadingAfter;
  if (Asked().expectsContinue && wantsBody) stream_.Write("HTTP/1.1 100 Continue\r\n\r\n");
  if (script_->answerEarly) return ServeEarly();
  Receive(script_->stopReadingAfter);
  if (!received_) {
    script_->Fired("stopReadingAfter");
    if (!script_->BreaksOff()) {
      stream_.WaitUntilGone();
      throw ConnectionGone();
    }
  }
  if (Answer()) return true;
  stream_.End();
  return false;
}

// An uncounted reply has its client wait for the end, so that end must not wait for the body.
bool Exchange::ServeEarly() {
  Receive(script_->stopReadingAfter.value_or(0));
  if (!received_) script_->Fired("answerEarly");
  const bool goesOn = Answer();
  if (!script_->noContentLength) Receive(std::nullopt);
  if (!goesOn) stream_.End();
  return goesOn;
}

std::size_t Exchange::Room(std::optional<std::uint64_t> limit) const {
  std::uint64_t room = kLargestPiece;
  if (script_->readSlowly > 0) room = std::clamp<std::uint64_t>(script_->readSlowly / 20, 1, room);
  if (limit) room = std::min(room, *limit - entry_->bodyReceived);
  return static_cast<std::size_t>(room);
}

void Exchange::Receive(std::optional<std::uint64_t> limit) try {
  if (received_) return;
  if (limit || script_->readSlowly > 0) stream_.ShrinkWindow();
  while (!reader_.Complete()) {
    const std::size_t room = Room(limit);
    if (room == 0) return;
    const std::string_view piece = reader_.Next(room);
    intake_.Append(piece);
    entry_->bodyReceived += piece.size();
    if (script_->readSlowly > 0) {
      Sleep(std::chrono::microseconds(1'000'000 * piece.size() / script_->readSlowly));
      script_->Fired("readSlowly");
    }
  }
  received_ = intake_.Finish();
  entry_->SetReceived(received_);
} catch (const BadRequest& bad) {
  entry_->status = bad.status;
  throw;
}

void Exchange::Sleep(std::chrono::microseconds time) {
  if (!world_.proxy.Sleep(time)) throw ConnectionGone();
}

Reply Exchange::MakeReply() {
  if (!script_->passThrough) return script_->reply;
  if (!IsConnect()) return world_.services.Handle(Asked(), *received_);
  if (IsServiceHost(Asked().host)) return {.status = 200, .reason = "Connection established"};
  return JsonReply(502, {{"error", "this proxy only reaches the stand-in services"}});
}

// Tells whether the connection can take another request.
bool Exchange::Answer() {
  if (script_->delayMs > 0) {
    Sleep(std::chrono::milliseconds(script_->delayMs));
    script_->Fired("delayMs");
  }
  if (script_->neverAnswer) {
    script_->Fired("neverAnswer");
    stream_.WaitUntilGone();
    throw ConnectionGone();
  }
  const Reply reply = MakeReply();
  Deliver(reply);
  if (world_.verbose) {
    std::fprintf(stderr, "%s %s%s (%llu bytes) -> %d\n", Asked().method.c_str(), Asked().host.c_str(),
                 IsConnect() ? "" : Asked().target.c_str(),
                 static_cast<unsigned long long>(entry_->bodyReceived), reply.status);
  }
  opensTunnel_ = IsConnect() && reply.status / 100 == 2;
  if (script_->hangUp) script_->Fired("hangUp");
  if (script_->hangUp) return false;
  return opensTunnel_ || (!IsConnect() && Asked().keepAlive && !script_->noContentLength);
}

std::size_t Exchange::CutPoint(std::size_t headSize, std::size_t size) const {
  if (script_->cutAfter) size = static_cast<std::size_t>(std::min<std::uint64_t>(size, *script_->cutAfter));
  if (!script_->cutBodyAfter) return size;
  return static_cast<std::size_t>(std::min<std::uint64_t>(size, headSize + *script_->cutBodyAfter));
}

void Exchange::Deliver(const Reply& reply) {
  const bool counted = !script_->noContentLength && !(IsConnect() && reply.status / 100 == 2);
  const std::string head = SerializeHead(reply, !counted);
  const std::string whole = head + reply.body;
  const bool mayCut = script_->cutAfter || script_->cutBodyAfter;
  const std::size_t end = script_->reset && !mayCut ? 0 : CutPoint(head.size(), whole.size());
  if (end > 0) entry_->status = reply.status;
  if (end > 0 && script_->noContentLength) script_->Fired("noContentLength");
  if (end > 0 && script_->refuseConnect) script_->Fired("refuseConnect");
  stream_.Write(std::string_view(whole).substr(0, end));
  if (mayCut && end < whole.size()) script_->Fired(script_->cutAfter ? "cutAfter" : "cutBodyAfter");
  if (script_->reset) {
    script_->Fired("reset");
    stream_.Reset();
  }
  if (end == whole.size()) return;
  stream_.Cut();
  throw ConnectionGone();
}

std::optional<Tunnel> Exchange::Opened() const {
  if (!opensTunnel_) return std::nullopt;
  if (!script_->certificateName.empty()) script_->Fired("certificateName");
  return Tunnel{Asked().host, Asked().raw, script_->certificateName};
}

void RefuseAndEnd(Stream& stream, int status) {
  const Reply reply = JsonReply(status, {{"error", "not a proper HTTP request"}});
  stream.Write(SerializeHead(reply, false) + reply.body);
  stream.End();
}

}  // namespace

std::string SerializeHead(const Reply& reply, bool noContentLength) {
  const std::string_view usual = http::obsolete_reason(static_cast<http::status>(reply.status));
  std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                     (reply.reason.empty() ? std::string(usual) : reply.reason) + "\r\n";
  bool framed = noContentLength || !IsFinal(reply.status);
  for (const std::string& line : reply.headers) {
    const std::string_view name = std::string_view(line).substr(0, line.find(':'));
    framed = framed || SameName(name, "Content-Length") || SameName(name, "Transfer-Encoding");
    head += line + "\r\n";
  }
  if (!framed) head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
  return head + "\r\n";
}

void ServeProxy(Stream& stream, World& world) try {
  const auto connection = std::make_shared<Connection>(++world.connections);
  const std::shared_ptr<void> end(nullptr, [&](void*) { connection->open = false; });
  Input input(stream);
  std::optional<Tunnel> tunnel;
  TlsContext otherTls;  // for a certificate that a script asks for
  bool kept = false;    // a request was served before
  while (auto head = ReadHead(input)) {
    if (tunnel && head->method == "CONNECT") throw BadRequest();
    if (tunnel) head->host = tunnel->host;
    Exchange exchange(stream, input, world, std::move(*head), tunnel, connection, kept);
    if (!exchange.Serve()) return;
    kept = true;
    if (tunnel || !(tunnel = exchange.Opened())) continue;
    kept = false;
    if (!tunnel->certificateName.empty()) otherTls = MakeTlsContext({{tunnel->certificateName}});
    stream.AcceptTls(otherTls ? *otherTls : *world.tls);
  }
  stream.End();
} catch (const BadRequest& bad) {
  RefuseAndEnd(stream, bad.status);
}

void ServePlainly(Stream& stream,
                  const std::function<Reply(const Head&, const std::string& body)>& handler) try {
  Input input(stream);
  while (const auto head = ReadHead(input)) {
    if (head->expectsContinue) stream.Write("HTTP/1.1 100 Continue\r\n\r\n");
    std::string body;
    for (BodyReader reader(input, *head); !reader.Complete();) body += reader.Next(kLargestPiece);
    const Reply reply = handler(*head, body);
    stream.Write(SerializeHead(reply, false) + reply.body);
    if (!head->keepAlive) break;
  }
  stream.End();
} catch (const BadRequest& bad) {
  RefuseAndEnd(stream, bad.status);
}

}  // namespace velk::sandbox

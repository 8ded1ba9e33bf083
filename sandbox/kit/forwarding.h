// One request on its way to the real service, and its reply on the way back. Both stream: of what the client
// has not sent and the service has not taken, no more than a piece is in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kit/account.h"
#include "net/reply_head.h"
#include "net/upstream.h"

namespace velk::sandbox {

// How the exchange goes on for the client: as its service has it, or as a fault does.
enum class Relayed { kGoesOn, kEnds, kCut, kReset, kClientLeft };

class Forwarding {
 public:
  // Its connection to the service stays in `upstream`, for the next request.
  Forwarding(Stream& client, World& world, const Head& request, const Script& script, Account& account,
             std::unique_ptr<Upstream>& upstream);
  ~Forwarding() { RecordReply(); }
  Forwarding(const Forwarding&) = delete;
  Forwarding& operator=(const Forwarding&) = delete;

  // Connects, unless an earlier request did. Returns why that failed, or an empty string.
  awaitable<std::string> Reach(bool secure);

  // The request. When the service takes no more of it, these do nothing: its reply states how it goes on.
  awaitable<void> SendHead();
  awaitable<void> Send(std::string_view raw);
  void EndBody() { bodyHasEnded_ = true; }
  bool HasReplied() const { return hasReplied_; }  // the client got a part of the reply

  awaitable<Relayed> RelayReply();  // also waits for the end of the request, when the connection goes on
  awaitable<void> WaitUntilClientLeft();
  // What a client sent before it left goes on to the service, as without a sandbox. Returns once the client
  // has left and the service takes nothing for a while, or when the client's connection was dropped here.
  awaitable<void> WaitUntilAbandoned();

 private:
  awaitable<Relayed> RelayWell();  // throws BadRequest for what is no reply
  awaitable<bool> RelayHead(ReplyHead& head);
  awaitable<bool> ReadHead(HeadReader& reader);
  awaitable<bool> RelayBody(const ReplyHead& head);
  awaitable<Framed> ReadBody(const ReplyHead& head, BodyDecoder& decoder);
  awaitable<bool> Put(std::string_view bytes);
  awaitable<void> Pause();
  awaitable<void> Wait(Timing::Clock::duration time);
  void SetLimit(std::size_t headSize);
  void Keep(std::string_view content);
  awaitable<Relayed> WhenCut();
  void NoteEnding(const boost::system::error_code& error) { ending_ = EndingOf(error); }
  void RecordReply();

  Stream& client_;
  World& world_;
  const Head& request_;
  const Script& script_;
  Account& account_;
  std::unique_ptr<Upstream>& upstream_;
  bool takesNoMore_ = false;  // the service
  std::uint64_t sent_ = 0;
  bool isSending_ = false;
  bool wasReset_ = false;  // by the service, while the request was sent
  bool bodyHasEnded_ = false;
  bool hasReplied_ = false;
  bool isWhole_ = false;  // the reply was relayed up to its end

  std::optional<ReplyHead> head_;       // once it is known
  BodyText kept_;                       // of the reply's body
  std::optional<std::uint64_t> limit_;  // bytes until a fault cuts the reply
  std::optional<Relayed> stopped_;      // by a fault, or by the client's end
  Ending ending_ = Ending::kOrderly;    // of the service's connection
};

}  // namespace velk::sandbox

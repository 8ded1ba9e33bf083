// Serves one request, by its service or as a script states, and records it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/entry.h"
#include "kit/script.h"
#include "kit/world.h"
#include "net/body.h"
#include "net/input.h"
#include "net/stream.h"

namespace velk::sandbox {

// How a connection became a tunnel: the host that its CONNECT named, its head, and the time that it took.
struct Tunnel {
  std::string host;
  std::string head;
  std::string certificateName;  // empty for the sandbox's own certificate
  Timing::Clock::duration connect, tls = {};
};

// The head of a request, and the connection over which it came.
struct Arrival {
  Head head;
  const std::optional<Tunnel>& tunnel;
  std::shared_ptr<const Connection> connection;
  Timing::Clock::time_point began;
  bool kept;  // after an earlier request
};

// One request, from its head to its reply.
class Exchange {
 public:
  Exchange(Stream& stream, Input& input, World& world, Arrival arrival);
  ~Exchange() { Conclude(); }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  awaitable<bool> Serve();  // returns whether the connection goes on
  const std::optional<Tunnel>& Opened() const { return opened_; }

 private:
  using Clock = Timing::Clock;

  const Head& Request() const { return entry_->head; }
  bool IsConnect() const { return Request().method == "CONNECT"; }
  void Record();
  void ChooseByBody();
  awaitable<void> Receive(std::optional<std::uint64_t> limit);
  awaitable<void> ReceivePiece(std::size_t size);
  void ReportProgress();
  void PassPartOn();
  std::size_t PieceSize(std::optional<std::uint64_t> limit) const;
  awaitable<bool> ServeEarly();
  awaitable<bool> Respond();
  Reply ServiceReply();
  Reply MakeReply();
  std::size_t CutPoint(std::size_t headSize, std::size_t size) const;
  awaitable<void> Deliver(const Reply& reply);
  void RecordReply(std::string_view head, std::string_view body);
  void NoteTunnel(const Reply& reply);

  void Fire(const char* fault);
  void Fail(int status, const std::string& why);
  void EndPhase(Phase phase);
  std::string ScriptWhy(int status) const;
  void Conclude();

  Stream& stream_;
  Input& input_;
  World& world_;
  const std::shared_ptr<Entry> entry_;
  std::uint64_t number_ = 0;  // in the journal; 0 for what is not recorded
  const bool kept_;
  std::shared_ptr<Script> script_;
  BodyDecoder body_;
  std::optional<Intake> intake_;              // once the body is read
  std::shared_ptr<const Received> received_;  // once the body is complete
  std::optional<Tunnel> opened_;
  std::vector<std::string> faults_;
  bool isComplete_ = false;  // all of the reply was sent
  const Clock::time_point began_;
  Clock::time_point phaseBegan_;
  Clock::time_point reported_;  // when its progress was last published
};

}  // namespace velk::sandbox

// Serves one request, by its service or as a script states, and records it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/account.h"
#include "kit/arrival.h"
#include "kit/forwarding.h"
#include "kit/world.h"
#include "net/body.h"
#include "net/input.h"
#include "net/stream.h"

namespace velk::sandbox {

// One request, from its head to its reply.
class Exchange {
 public:
  Exchange(Stream& stream, Input& input, World& world, const Arrival& arrival);
  ~Exchange();
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  awaitable<bool> Serve();  // returns whether the connection goes on
  const std::optional<Tunnel>& Opened() const { return opened_; }

 private:
  // Why the request ends before its last byte has reached the service.
  enum class Fed { kClientLeft, kClientReset, kLimit, kRefused };

  const Head& Request() const { return head_; }
  bool IsConnect() const { return Request().method == "CONNECT"; }
  void Record();
  void ChooseByBody(const Received* received);
  Intake& Body();
  awaitable<void> Receive(std::optional<std::uint64_t> limit);
  awaitable<void> ReceivePiece(std::size_t size);
  void PassPartOn();
  std::size_t PieceSize(std::optional<std::uint64_t> limit) const;
  awaitable<bool> ServeHere();
  awaitable<bool> ServeEarly();
  awaitable<bool> Respond();
  awaitable<bool> Respond(const Reply& reply);
  Reply ServiceReply();
  std::string WhyUnreachable() const;  // empty when it is not
  Reply ConnectReply() const;
  Reply MakeReply();
  std::size_t CutPoint(std::size_t headSize, std::size_t size) const;
  awaitable<void> Deliver(const Reply& reply);
  void NoteTunnel(const Reply& reply);

  // In front of the real services:
  bool IsForwarded() const;
  awaitable<void> HoldBody();
  awaitable<bool> Forward();
  awaitable<bool> Refuse(const std::string& why);
  awaitable<Fed> Feed();
  awaitable<bool> EndAs(Relayed how);
  awaitable<bool> EndAs(Fed how);

  Stream& stream_;
  Input& input_;
  World& world_;
  const Head head_;
  const bool isSecure_, kept_;
  std::unique_ptr<Upstream>& upstream_;
  std::shared_ptr<Script> script_;
  Account account_;
  BodyDecoder body_;
  std::optional<Intake> intake_;              // once the body is read
  std::shared_ptr<const Received> received_;  // once the body is complete
  std::optional<std::string> held_;           // of the body, until the script is chosen
  std::optional<Forwarding> forwarding_;
  std::optional<BadRequest> refused_;
  std::optional<Tunnel> opened_;
  const Timing::Clock::time_point began_;
};

}  // namespace velk::sandbox

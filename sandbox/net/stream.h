// One connection, plain or under TLS, with every way to end it that a fault needs.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "net/batching_socket.h"
#include "net/paced_socket.h"

namespace velk::sandbox {

using asio::awaitable;

// Throws what ends a connection's coroutine when there is nobody left to reply to.
[[noreturn]] void EndConnection();

// Its functions run on the socket's executor, which has one thread. They throw boost::system::system_error
// when the connection fails or is dropped.
class Stream : public std::enable_shared_from_this<Stream> {
 public:
  // Reads at most `rate` bytes a second. 0 is no limit.
  Stream(asio::ip::tcp::socket socket, std::uint64_t rate);

  // Takes what the peer has sent of its handshake, if that was read before.
  awaitable<void> AcceptTls(asio::ssl::context& context, std::string_view start = {});
  std::string RequestedHost();  // the one that the peer named in its handshake; empty if none

  // Verifies the peer's certificate and its host name. Sends nothing but the handshake before.
  awaitable<void> ConnectTls(asio::ssl::context& context, const std::string& host);
  std::string WhyUntrusted();  // empty when it was not the certificate that made the handshake fail
  void UseBatches();           // for much that passes through; reads more from the socket than is requested
  awaitable<std::size_t> Read(std::span<char> to);  // returns 0 at the peer's orderly end
  awaitable<void> Write(std::string_view bytes);
  awaitable<void> Sleep(std::chrono::steady_clock::duration time);

  awaitable<void> End();            // with TLS's closing notice, as a well-behaved server does
  awaitable<void> Cut();            // orderly for TCP, but without the notice
  awaitable<void> Reset();          // RST, once what was written has arrived
  awaitable<void> WaitUntilGone();  // reads nothing; returns when the peer ends the connection
  void ShrinkWindow();              // so that an unread body soon stops the sender
  void Drop();                      // ends every call in progress; callable from any thread
  void Abort();                     // RST at once
  bool IsOpen() { return Socket().is_open(); }
  bool IsGone();  // the peer ended the connection, or this end was dropped

 private:
  awaitable<std::size_t> ReadTls(std::span<char> to);
  awaitable<void> DiscardUntilEnd();

  asio::ip::tcp::socket& Socket() { return transport_.lowest_layer(); }

  PacedSocket transport_;
  asio::steady_timer timer_;
  BatchingSocket batches_{transport_};
  bool isBatching_ = false;
  std::optional<asio::ssl::stream<BatchingSocket&>> tls_;
};

}  // namespace velk::sandbox

// One accepted connection, plain or under TLS, with every way to end it that a fault needs.
#pragma once

#include <openssl/ssl.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "net/descriptor.h"

namespace velk::sandbox {

// Thrown when the peer has gone, or when the sandbox drops the connection: nobody is left to answer.
struct ConnectionGone {};

// Works on the descriptor itself: TLS records are read straight into our buffers, and an end without TLS's
// closing notice, or a reset, is exactly that on the wire.
class Stream {
 public:
  explicit Stream(Descriptor socket) : socket_(std::move(socket)) {}

  void AcceptTls(SSL_CTX& context);
  bool UnderTls() const { return tls_ != nullptr; }
  std::size_t Read(char* to, std::size_t room);  // 0 at the peer's end
  void Write(std::string_view bytes);

  void End();            // with TLS's closing notice, as a well-behaved server does
  void Cut();            // orderly for TCP, but without the notice
  void Reset();          // RST, once what was written has arrived
  void WaitUntilGone();  // returns when the peer or the sandbox ends the connection
  void ShrinkWindow();   // so that an unread body soon holds the sender up
  void Drop() noexcept;  // from another thread: every call in progress ends

 private:
  struct FreeTls {
    void operator()(SSL* tls) const { SSL_free(tls); }
  };
  Descriptor socket_;
  std::unique_ptr<SSL, FreeTls> tls_;
};

// Reads a stream through a buffer, so that a head can end anywhere in what was read.
class Input {
 public:
  explicit Input(Stream& stream) : stream_(stream), buffer_(512 * 1024) {}

  // The bytes not consumed yet; when there are none, at most so many fresh ones. Empty at the end.
  std::string_view Peek(std::size_t most);
  void Consume(std::size_t count) { begin_ += count; }

 private:
  Stream& stream_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace velk::sandbox

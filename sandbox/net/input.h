// Reads HTTP messages from a stream: heads, and the content of bodies.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/body.h"
#include "net/head.h"
#include "net/stream.h"

namespace velk::sandbox {

// A piece of a body as it came, and its content without the framing.
struct Framed {
  std::string_view raw, content;
};

class Input {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit Input(Stream& stream) : stream_(stream), buffer_(128 * 1024) {}

  // Returns the first bytes of a TLS handshake when the peer starts with one. Otherwise it returns nothing,
  // and consumes nothing.
  awaitable<std::string> TakeTlsStart();

  // Returns nothing when the peer ended the connection before a head. Throws BadRequest.
  awaitable<std::optional<Head>> ReadHead();
  // Returns whether the reader has a whole head. At the peer's end, it has a part or nothing.
  awaitable<bool> ReadHead(HeadReader& reader);
  Time HeadBegan() const { return headBegan_; }  // when the first byte of the last head was there

  // What both return stays valid until the next call. They read at most `most` bytes from the stream.
  awaitable<std::string_view> ReadSome(std::size_t most);             // empty at the peer's end
  awaitable<Framed> ReadFramed(BodyDecoder& body, std::size_t most);  // the same; throws BadRequest

  // Returns at most `most` bytes of the body's content, which stay valid until the next call; none once it is
  // complete. Reads no more than that from the stream. Throws BadRequest.
  awaitable<std::string_view> ReadContent(BodyDecoder& body, std::size_t most);

 private:
  awaitable<std::string_view> Peek(std::size_t most);

  Stream& stream_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // of the bytes that were read from the stream, but not consumed
  std::size_t end_ = 0;
  Time headBegan_;
};

}  // namespace velk::sandbox

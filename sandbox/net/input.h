// Reads requests from a stream: heads, and the content of bodies.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "net/body.h"
#include "net/head.h"
#include "net/stream.h"

namespace velk::sandbox {

class Input {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit Input(Stream& stream) : stream_(stream), buffer_(128 * 1024) {}

  // Returns nothing when the peer ended the connection before a head. Throws BadRequest.
  awaitable<std::optional<Head>> ReadHead();
  Time HeadBegan() const { return headBegan_; }  // when the first byte of the last head was there

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

// Removes the framing from a body, counted or chunked, while it arrives.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "net/head.h"

namespace velk::sandbox {

class BodyDecoder {
 public:
  explicit BodyDecoder(const Head& head) : BodyDecoder(head.chunked, head.length.value_or(0)) {}
  BodyDecoder(bool chunked, std::uint64_t length);  // the length is that of a counted body

  bool Complete() const { return place_ == Place::kEnd; }

  // Takes bytes from the front of the input, up to the end of the next piece of content, and returns that
  // piece. Returns an empty one when the input ends before it, or the body. Throws BadRequest on broken
  // framing.
  std::string_view Decode(std::string_view& input);

 private:
  enum class Place { kContent, kAfterChunk, kChunkSize, kTrailers, kEnd };

  std::string_view DecodeContent(std::string_view& input);
  bool CompleteLine(std::string_view& input);
  void EndLine();

  const bool chunked_;
  Place place_;
  std::uint64_t left_;  // of the body, or of the current chunk
  std::string line_;    // of the framing, as far as it has arrived
};

}  // namespace velk::sandbox

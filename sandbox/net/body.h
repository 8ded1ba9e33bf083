// Takes the framing off a request's body, counted or chunked, piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "net/head.h"
#include "net/stream.h"

namespace velk::sandbox {

class BodyReader {
 public:
  BodyReader(Input& input, const Head& head);

  bool Complete() const { return complete_; }
  // The next bytes of content, at most so many; empty once the body is complete. They stay valid until the
  // next call. Throws BadRequest on broken framing and ConnectionGone when the sender stopped.
  std::string_view Next(std::size_t most);

 private:
  std::string Line();
  void StartChunk();

  Input& input_;
  bool chunked_;
  bool insideChunks_ = false;
  bool complete_;
  std::uint64_t left_;  // of the body, or of the chunk in hand
};

}  // namespace velk::sandbox

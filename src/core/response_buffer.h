// The body of one HTTP reply, collected in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velk {

// No service sends a reply this long. The limit bounds the memory that a hostile peer can use, and the time
// spent copying a growing reply.
inline constexpr uint64_t kLongestReply = uint64_t{4} << 20;

struct ResponseBuffer {
  // Starts as an empty string. If memory runs out, data is null and the first append allocates.
  ResponseBuffer() noexcept;
  ~ResponseBuffer();
  ResponseBuffer(const ResponseBuffer&) = delete;
  ResponseBuffer& operator=(const ResponseBuffer&) = delete;

  std::string_view Bytes() const noexcept { return {data, data ? static_cast<size_t>(size) : 0}; }
  // The reply as string functions see it: up to its first NUL.
  const char* Text() const noexcept { return data ? data : ""; }

  char* data;         // size bytes, then a NUL
  uint64_t size = 0;  // without the NUL
};

// The CURLOPT_WRITEFUNCTION of every request; `buffer` is a ResponseBuffer. Returns the number of bytes
// appended. Returns size_t(-1) if `buffer` is null, memory runs out or the reply exceeds kLongestReply. The
// buffer is then unchanged, and libcurl fails the transfer.
size_t ResponseBufferAppend(char* bytes, size_t itemSize, size_t itemCount, void* buffer) noexcept;

}  // namespace velk

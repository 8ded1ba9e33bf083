// The body of one HTTP reply, collected in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velk {

// No service sends a reply of this many bytes. The limit bounds what a hostile peer costs: memory, and the time
// that the copies of a growing reply take.
inline constexpr uint64_t kLongestReply = uint64_t{4} << 20;

struct ResponseBuffer {
  // Starts as an empty text. Without memory for it data is null, and the first append allocates.
  ResponseBuffer() noexcept;
  ~ResponseBuffer();
  ResponseBuffer(const ResponseBuffer&) = delete;
  ResponseBuffer& operator=(const ResponseBuffer&) = delete;

  std::string_view Bytes() const noexcept { return {data, data ? static_cast<size_t>(size) : 0}; }
  // What string functions see: the bytes up to the first NUL.
  const char* Text() const noexcept { return data ? data : ""; }

  char* data;         // size bytes and a NUL
  uint64_t size = 0;  // without that NUL
};

// The CURLOPT_WRITEFUNCTION of every request; the buffer is a ResponseBuffer. Answers how many bytes it took;
// without a buffer, without memory or beyond kLongestReply -1, at which libcurl fails the transfer, and the
// buffer is unchanged.
size_t ResponseBufferAppend(char* bytes, size_t itemSize, size_t itemCount, void* buffer) noexcept;

}  // namespace velk

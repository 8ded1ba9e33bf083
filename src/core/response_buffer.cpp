// Every append allocates a new block. Replies are small and arrive in few pieces, so a growth policy would
// not pay.
#include "core/response_buffer.h"

#include <cstdlib>
#include <cstring>

namespace velk {

ResponseBuffer::ResponseBuffer() noexcept : data(static_cast<char*>(std::calloc(1, 1))) {}

ResponseBuffer::~ResponseBuffer() { std::free(data); }

size_t ResponseBufferAppend(char* bytes, size_t itemSize, size_t itemCount, void* buffer) noexcept {
  constexpr auto kRefused = static_cast<size_t>(-1);
  auto* reply = static_cast<ResponseBuffer*>(buffer);
  if (!reply) return kRefused;
  const size_t added = itemSize * itemCount;
  const std::string_view held = reply->Bytes();
  if (added > kLongestReply - held.size()) return kRefused;
  auto* block = static_cast<char*>(std::malloc(held.size() + added + 1));
  if (!block) return kRefused;
  if (!held.empty()) std::memcpy(block, held.data(), held.size());
  std::free(reply->data);
  if (added != 0) std::memcpy(block + held.size(), bytes, added);
  block[held.size() + added] = '\0';
  reply->data = block;
  reply->size = held.size() + added;
  return added;
}

}  // namespace velk

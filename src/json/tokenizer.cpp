// The tokenizer's public functions, and the fast path that most bytes take.
#include <algorithm>
#include <cstdlib>

#include "json/token_actions.h"

namespace velk {
namespace {

constexpr uint32_t kDefaultBufferSize = 4096;
constexpr uint32_t kDefaultStackSize = 256;

// Handles a byte that needs no action, no decoding and no larger buffer. Most bytes are of this kind.
// Otherwise changes nothing and returns false.
inline bool TakePlain(JsonParser& parser, tokenizer::Transition transition, char byte) {
  const JsonParserState current = parser.state;
  if (transition.IsStoringMove()) {
    const uint32_t position = parser.bufferPosition;
    if (position + 1 >= parser.bufferSize) return false;
    parser.buffer[position] = byte;
    parser.bufferPosition = position + 1;
  } else if (!transition.IsMove()) {
    return false;
  }
  // Skipping a redundant store lets the next byte read the state without waiting for it.
  const JsonParserState next = transition.NextState();
  if (next != current) parser.state = next;
  return true;
}

}  // namespace

int JsonParserInit(JsonParser* parser, const JsonConfig* config, JsonTokenCallback callback,
                   void* userData) noexcept {
  *parser = {};
  if (config) parser->config = *config;
  parser->callback = callback;
  parser->userData = userData;
  parser->stackSize = parser->config.maxNesting ? parser->config.maxNesting : kDefaultStackSize;
  parser->bufferSize =
      parser->config.initialBufferSize ? parser->config.initialBufferSize : kDefaultBufferSize;
  const uint32_t limit = parser->config.maxData;
  if (limit != 0) parser->bufferSize = std::min(parser->bufferSize, limit);

  auto* allocate = parser->config.allocateZeroed ? parser->config.allocateZeroed : std::calloc;
  parser->stack = static_cast<uint8_t*>(allocate(parser->stackSize, 1));
  if (!parser->stack) return kJsonOutOfMemory;
  parser->buffer = static_cast<char*>(allocate(parser->bufferSize, 1));
  if (parser->buffer) return 0;
  JsonParserFree(parser);
  return kJsonOutOfMemory;
}

int JsonParserFeed(JsonParser* parser, const char* bytes, uint32_t length, uint32_t* processed) noexcept {
  // The library feeds single bytes. Each exit of this path is a tail call or no call, so no register must be
  // saved. The slow path is in another file to keep it from being inlined.
  if (length == 1) {
    const tokenizer::Transition transition = tokenizer::TransitionFor(*parser, *bytes);
    if (TakePlain(*parser, transition, *bytes)) {
      if (processed) *processed = 1;
      return 0;
    }
    if (!processed) return tokenizer::TakeByte(*parser, transition, *bytes);
  }
  return tokenizer::TakeBytes(*parser, bytes, length, processed);
}

bool JsonParserIsDone(const JsonParser* parser) noexcept {
  return parser->stackDepth == 0 && parser->state != JsonParserState::kStart;
}

void JsonParserFree(JsonParser* parser) noexcept {
  if (!parser) return;
  std::free(parser->stack);
  std::free(parser->buffer);
  parser->stack = nullptr;
  parser->buffer = nullptr;
}

}  // namespace velk

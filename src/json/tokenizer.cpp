// The tokenizer: one loop over the bytes. The table gives each byte a transition: what to store, and the next
// state or the action to run.
#include <algorithm>
#include <cstdlib>
#include <limits>

#include "core/utf8.h"
#include "json/transitions.h"

namespace velk {
namespace tokenizer {
namespace {

constexpr uint32_t kDefaultBufferSize = 4096;
constexpr uint32_t kDefaultStackSize = 256;
constexpr uint8_t kArray = 0;
constexpr uint8_t kObject = 1;

// ---- Buffer and stack ----

// Doubles a block of `size` bytes, up to `limit` if that is not 0. New bytes are not cleared.
template <typename Byte>
int DoubleBlock(const JsonConfig& config, uint32_t limit, Byte*& block, uint32_t& size) {
  uint64_t newSize = uint64_t{size} * 2;
  if (limit != 0) newSize = std::min<uint64_t>(newSize, limit);
  if (newSize > std::numeric_limits<uint32_t>::max()) return kJsonOutOfMemory;
  auto* reallocate = config.reallocate ? config.reallocate : std::realloc;
  void* newBlock = reallocate(block, static_cast<size_t>(newSize));
  if (!newBlock) return kJsonOutOfMemory;
  block = static_cast<Byte*>(newBlock);
  size = static_cast<uint32_t>(newSize);
  return 0;
}

int DoubleBuffer(JsonParser& parser) {
  const uint32_t limit = parser.config.maxData;
  if (limit != 0 && parser.bufferSize == limit) return kJsonDataLimit;
  return DoubleBlock(parser.config, limit, parser.buffer, parser.bufferSize);
}

int StoreByte(JsonParser& parser, char byte) {
  // Reserve one byte for a terminator.
  if (parser.bufferPosition + 1 >= parser.bufferSize) [[unlikely]] {
    if (int error = DoubleBuffer(parser)) return error;
  }
  parser.buffer[parser.bufferPosition++] = byte;
  return 0;
}

int Push(JsonParser& parser, uint8_t kind) {
  if (parser.stackDepth >= parser.stackSize) {
    if (parser.config.maxNesting != 0) return kJsonNestingLimit;
    if (int error = DoubleBlock(parser.config, 0, parser.stack, parser.stackSize)) return error;
  }
  parser.stack[parser.stackDepth++] = kind;
  return 0;
}

int Pop(JsonParser& parser, uint8_t kind) {
  if (parser.stackDepth == 0) return kJsonCloseWithoutOpen;
  if (parser.stack[parser.stackDepth - 1] != kind) return kJsonCloseMismatch;
  --parser.stackDepth;
  return 0;
}

// ---- Reports to the callback ----

int ReportBracket(JsonParser& parser, JsonTokenType type) {
  return parser.callback ? parser.callback(parser.userData, type, nullptr, 0) : 0;
}

int ReportText(JsonParser& parser, JsonTokenType type) {
  if (!parser.callback) return 0;
  parser.buffer[parser.bufferPosition] = '\0';
  return parser.callback(parser.userData, type, parser.buffer, parser.bufferPosition);
}

// Reports the number or literal, if any, that the current byte ends.
int FlushPending(JsonParser& parser) {
  if (parser.tokenType >= JsonTokenType::kInteger) {
    if (int stop = ReportText(parser, parser.tokenType)) return stop;
  }
  parser.bufferPosition = 0;
  return 0;
}

// ---- Actions ----

int Enter(JsonParser& parser, JsonParserState state, JsonTokenType type = JsonTokenType::kNone) {
  parser.tokenType = type;
  parser.state = state;
  return 0;
}

int Separate(JsonParser& parser) {
  if (int error = FlushPending(parser)) return error;
  if (parser.stackDepth == 0) return kJsonCommaOutside;
  if (parser.stack[parser.stackDepth - 1] == kArray) return Enter(parser, kValue);
  parser.expectingKey = 1;
  return Enter(parser, kNextKey);
}

int Open(JsonParser& parser, uint8_t kind) {
  const bool object = kind == kObject;
  const JsonTokenType type = object ? JsonTokenType::kObjectBegin : JsonTokenType::kArrayBegin;
  if (int error = ReportBracket(parser, type)) return error;
  if (int error = Push(parser, kind)) return error;
  if (object) parser.expectingKey = 1;
  return Enter(parser, object ? kObjectStart : kArrayStart);
}

int Close(JsonParser& parser, uint8_t kind) {
  const bool object = kind == kObject;
  const JsonTokenType type = object ? JsonTokenType::kObjectEnd : JsonTokenType::kArrayEnd;
  if (int error = FlushPending(parser)) return error;
  if (int error = ReportBracket(parser, type)) return error;
  if (int error = Pop(parser, kind)) return error;
  if (object) parser.expectingKey = 0;
  return Enter(parser, kAfterValue);
}

int BeginComment(JsonParser& parser, int32_t allowed, JsonParserState inside) {
  if (int error = FlushPending(parser)) return error;
  if (!allowed) return kJsonCommentNotAllowed;
  parser.savedState = parser.state;
  return Enter(parser, inside);
}

int EndComment(JsonParser& parser) {
  // The comment ended any number before it, since BeginComment flushed the text.
  return Enter(parser, parser.savedState < kInString ? parser.savedState : kAfterValue);
}

int EndString(JsonParser& parser) {
  const bool key = parser.expectingKey != 0;
  if (int error = ReportText(parser, key ? JsonTokenType::kKey : JsonTokenType::kString)) return error;
  parser.bufferPosition = 0;
  parser.expectingKey = 0;
  return Enter(parser, key ? kAfterKey : kAfterValue);
}

int HexValue(char byte) {
  if (byte >= '0' && byte <= '9') return byte - '0';
  if (byte >= 'a' && byte <= 'f') return byte - 'a' + 10;
  if (byte >= 'A' && byte <= 'F') return byte - 'A' + 10;
  return -1;
}

int StoreUtf8(JsonParser& parser, char32_t codePoint) {
  char bytes[4];
  const char* const end = EncodeUtf8(codePoint, bytes);
  for (const char* byte = bytes; byte != end; ++byte)
    if (int error = StoreByte(parser, *byte)) return error;
  return 0;
}

// Replaces the last four hex digits in the buffer with the character that they encode.
int DecodeUnicode(JsonParser& parser) {
  // If the caller continues after an error here, fewer than four digits may remain.
  if (parser.bufferPosition < 4) return kJsonUnexpectedByte;
  uint32_t value = 0;
  for (uint32_t index = parser.bufferPosition - 4; index < parser.bufferPosition; ++index) {
    const int digit = HexValue(parser.buffer[index]);
    if (digit < 0) return kJsonUnexpectedByte;
    value = value << 4 | static_cast<uint32_t>(digit);
  }
  parser.bufferPosition -= 4;

  const bool high = value >> 10 == 0b110110;
  const bool low = value >> 10 == 0b110111;
  if (parser.pendingHighSurrogate != 0) {
    if (!low) return kJsonHighSurrogateAlone;
    value = ((parser.pendingHighSurrogate & 0x3FFU) << 10) + (value & 0x3FF) + 0x10000;
    parser.pendingHighSurrogate = 0;
  } else if (low) {
    return kJsonLowSurrogateAlone;
  } else if (high) {
    parser.pendingHighSurrogate = static_cast<uint16_t>(value);
    return Enter(parser, kAfterHighSurrogate);
  }
  if (int error = StoreUtf8(parser, value)) return error;
  return Enter(parser, kInString);
}

int RunAction(JsonParser& parser, Action action) {
  switch (action) {
    case Action::kUnexpectedByte:
      return kJsonUnexpectedByte;
    case Action::kUnknownByte:
      return kJsonUnknownByte;
    case Action::kKeySeparator:
      return Enter(parser, kValue);
    case Action::kSeparator:
      return Separate(parser);
    case Action::kArrayBegin:
      return Open(parser, kArray);
    case Action::kArrayEnd:
      return Close(parser, kArray);
    case Action::kObjectBegin:
      return Open(parser, kObject);
    case Action::kObjectEnd:
      return Close(parser, kObject);
    case Action::kCommentBegin:
      return BeginComment(parser, parser.config.allowComments, kAfterSlash);
    case Action::kYamlCommentBegin:
      return BeginComment(parser, parser.config.allowYamlComments, kInYamlComment);
    case Action::kCommentEnd:
      return EndComment(parser);
    case Action::kFalse:
      return Enter(parser, kAfterValue, JsonTokenType::kFalse);
    case Action::kTrue:
      return Enter(parser, kAfterValue, JsonTokenType::kTrue);
    case Action::kNull:
      return Enter(parser, kAfterValue, JsonTokenType::kNull);
    case Action::kFloatByExponent:
      return Enter(parser, kAfterExponent, JsonTokenType::kFloat);
    case Action::kFloatByPoint:
      return Enter(parser, kAfterPoint, JsonTokenType::kFloat);
    case Action::kStringEnd:
      return EndString(parser);
    case Action::kIntegerByMinus:
      return Enter(parser, kAfterMinus, JsonTokenType::kInteger);
    case Action::kIntegerByZero:
      return Enter(parser, kAfterZero, JsonTokenType::kInteger);
    case Action::kIntegerByDigit:
      return Enter(parser, kInInteger, JsonTokenType::kInteger);
    case Action::kUnicode:
      return DecodeUnicode(parser);
  }
  return kJsonUnexpectedByte;
}

// ---- One byte ----

char DecodedEscape(char letter) {
  switch (letter) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return letter;
  }
}

int TakeByte(JsonParser& parser, char byte) {
  const Transition transition = TransitionFor(parser.state, byte);
  if (transition.Stored() != StoreRule::kNothing) {
    const bool decode = transition.Stored() == StoreRule::kDecodedEscape;
    if (int error = StoreByte(parser, decode ? DecodedEscape(byte) : byte)) return error;
  }
  if (transition.IsAction()) return RunAction(parser, transition.NextAction());
  parser.state = transition.NextState();
  return 0;
}

}  // namespace
}  // namespace tokenizer

int JsonParserInit(JsonParser* parser, const JsonConfig* config, JsonTokenCallback callback,
                   void* userData) noexcept {
  *parser = {};
  if (config) parser->config = *config;
  parser->callback = callback;
  parser->userData = userData;
  const auto orDefault = [](uint32_t size, uint32_t otherwise) { return size != 0 ? size : otherwise; };
  parser->stackSize = orDefault(parser->config.maxNesting, tokenizer::kDefaultStackSize);
  parser->bufferSize = orDefault(parser->config.initialBufferSize, tokenizer::kDefaultBufferSize);
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
  int error = 0;
  uint32_t taken = 0;
  while (taken < length) {
    error = tokenizer::TakeByte(*parser, bytes[taken]);
    if (error != 0) break;
    ++taken;
  }
  if (processed) *processed = taken;
  return error;
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

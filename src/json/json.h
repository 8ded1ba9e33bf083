// Extracts single values from JSON replies: a push tokenizer, a walker built on it, and the extractors.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace velk {

// ---- Tokenizer -----------------------------------------------------------------------------------------

struct JsonConfig {
  uint32_t initialBufferSize = 0;  // 0: 4096
  uint32_t maxNesting = 0;         // 0: starts at 256 levels and grows; otherwise a hard limit
  uint32_t maxData = 0;            // 0: no limit; otherwise the token buffer's maximum size
  int32_t allowComments = 0;       // slash-star comments
  int32_t allowYamlComments = 0;   // from a hash to the end of the line
  void* (*allocateZeroed)(size_t count, size_t size) = nullptr;  // null: calloc; blocks are freed with free()
  void* (*reallocate)(void* block, size_t size) = nullptr;       // null: realloc
};

enum class JsonTokenType : uint32_t {
  kNone,
  kArrayBegin,
  kObjectBegin,
  kArrayEnd,
  kObjectEnd,
  kInteger,
  kFloat,
  kString,
  kKey,
  kTrue,
  kFalse,
  kNull,
};

// The numbers matter: the transition table is indexed by them, and the extractors compare ranges of them.
enum class JsonParserState : uint8_t {
  kStart = 0,
  kAfterValue = 1,
  kObjectStart = 2,
  kNextKey = 3,  // after a comma in an object
  kAfterKey = 4,
  kValue = 5,  // after a colon, or after a comma in an array
  kArrayStart = 6,
  kInString = 7,
  kEscape = 8,  // after a backslash in a string
  kHex1 = 9,    // kHexN expects the N-th hex digit of a \u escape
  kHex2 = 10,
  kHex3 = 11,
  kHex4 = 12,
  kAfterMinus = 13,
  kAfterZero = 14,
  kInInteger = 15,
  kAfterPoint = 16,
  kInFraction = 17,
  kAfterExponent = 18,
  kAfterExponentSign = 19,
  kInExponent = 20,
  kAfterT = 21,
  kAfterTr = 22,
  kAfterTru = 23,
  kAfterF = 24,
  kAfterFa = 25,
  kAfterFal = 26,
  kAfterFals = 27,
  kAfterN = 28,
  kAfterNu = 29,
  kAfterNul = 30,
  kAfterSlash = 31,
  kInComment = 32,
  kCommentStar = 33,  // after a star in a slash-star comment
  kInYamlComment = 34,
  kAfterHighSurrogate = 35,
  kSurrogateEscape = 36,  // after the backslash that follows a high surrogate
};

enum JsonError : int {
  kJsonOutOfMemory = 1,
  kJsonUnknownByte = 2,  // a control byte that is invalid everywhere
  kJsonCloseWithoutOpen = 3,
  kJsonCloseMismatch = 4,
  kJsonNestingLimit = 5,
  kJsonDataLimit = 6,
  kJsonCommentNotAllowed = 7,
  kJsonUnexpectedByte = 8,  // a byte that is invalid in the current state
  kJsonHighSurrogateAlone = 9,
  kJsonLowSurrogateAlone = 10,
  kJsonCommaOutside = 11,  // a comma outside any array or object
};

// Receives one token; `text` is null for brackets. A result other than 0 stops the feed, which returns it.
using JsonTokenCallback = int (*)(void* userData, JsonTokenType type, const char* text, uint32_t length);

struct JsonParser {
  JsonConfig config;
  JsonTokenCallback callback;
  void* userData;
  JsonParserState state;
  JsonParserState savedState;     // state before a comment
  uint8_t expectingKey;           // 1 if the next string is a key
  uint16_t pendingHighSurrogate;  // 0: none
  JsonTokenType tokenType;        // of the current token
  uint8_t* stack;                 // open brackets: 0 array, 1 object
  uint32_t stackDepth;
  uint32_t stackSize;
  char* buffer;  // token text; terminated only for a callback
  uint32_t bufferSize;
  uint32_t bufferPosition;  // reset to 0 after a token; later bytes are unchanged
};

// `config` and `callback` may be null. Returns 0 or kJsonOutOfMemory; after the latter there is nothing to
// free.
int JsonParserInit(JsonParser* parser, const JsonConfig* config, JsonTokenCallback callback,
                   void* userData) noexcept;

// Processes bytes up to the first error. Returns 0, a JsonError or the callback's result. `processed` may be
// null; it receives the number of bytes before the failing one. On an error `state` is unchanged, but the
// token text may be lost.
int JsonParserFeed(JsonParser* parser, const char* bytes, uint32_t length, uint32_t* processed) noexcept;

// True if the parser has left kStart and no bracket is open.
bool JsonParserIsDone(const JsonParser* parser) noexcept;

// Accepts null and a parser that was already freed.
void JsonParserFree(JsonParser* parser) noexcept;

// ---- Walker --------------------------------------------------------------------------------------------

// Follows a reply byte by byte and reports where a string ends or an escape interrupts it.
class JsonWalker {
 public:
  JsonWalker() noexcept;
  ~JsonWalker() { JsonParserFree(&parser_); }
  JsonWalker(const JsonWalker&) = delete;
  JsonWalker& operator=(const JsonWalker&) = delete;

  // False if memory ran out. No other member may be called then.
  bool Ok() const noexcept { return initResult_ == 0; }

  // Returns 0 or a JsonError. The queries below refer to the last byte fed.
  int Feed(char byte) noexcept {
    if (keepPrevious_) {
      keepPrevious_ = false;
    } else {
      previous_ = parser_.state;
    }
    // The tokenizer writes a byte at its position before the feed. The last digit of a \u escape also
    // rewrites the escape's earlier digits.
    writtenBegin_ = std::min(writtenBegin_, parser_.bufferPosition);
    writtenEnd_ = std::max(writtenEnd_, parser_.bufferPosition + 1);
    const uint32_t sizeBefore = parser_.bufferSize;
    const int error = JsonParserFeed(&parser_, &byte, 1, nullptr);
    if (parser_.bufferSize != sizeBefore) ClearFrom(sizeBefore);
    return error;
  }

  JsonParserState State() const noexcept { return parser_.state; }
  JsonParserState PreviousState() const noexcept { return previous_; }

  // True if the byte left the inside of a string. It is then the closing quote or any backslash in the
  // string.
  bool StringEvent() const noexcept {
    return previous_ == JsonParserState::kInString && State() != JsonParserState::kInString;
  }

  // Continues the string: after the next byte, PreviousState() still returns its current value.
  void PassOver() noexcept { keepPrevious_ = true; }

  // True if PassOver was called for the last byte.
  bool PassedOver() const noexcept { return keepPrevious_; }

  // The token buffer up to its first NUL. A remnant of an earlier token may follow the current one.
  std::string_view TokenText() const noexcept;

  // The length of the current token within that text.
  uint32_t TokenLength() const noexcept { return parser_.bufferPosition; }

  // Zeroes the token buffer. The write position is unchanged, so TokenText does not return text after an
  // escape: it follows NULs. Only bytes written since the last call are zeroed. Otherwise a string made only
  // of escapes would take time quadratic in its length.
  void ClearToken() noexcept;

 private:
  // The tokenizer does not clear new memory, but the text in it must end at a NUL.
  void ClearFrom(uint32_t offset) noexcept;

  JsonParser parser_;
  int initResult_;
  uint32_t writtenBegin_ = 0;  // outside these two, the buffer is all zeros
  uint32_t writtenEnd_ = 0;
  JsonParserState previous_ = JsonParserState::kStart;
  bool keepPrevious_ = false;
};

// ---- Extractors ----------------------------------------------------------------------------------------
//
// The extractors ignore nesting. They find the first string equal to the name, whether key or value, and
// return the value after it. A string in the reply is compared only up to its first escape.
//
// Each returns 0 and writes the terminated value to `output`, cut to its size. Otherwise each returns 1, with
// `output` unchanged: there is no value, the reply is malformed before it, or memory ran out.

// The next string after the one equal to `key`, up to its first backslash.
int JsonGetStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept;

// The same with simple escapes decoded. A \u escape ends the value.
int JsonGetEscapedStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept;

// The integer part of the first number after "expires_in". At least one byte must follow it. `key` is
// ignored.
int JsonGetExpiresIn(std::string_view reply, const char* key, std::span<char> output) noexcept;

// The next string after "email" with escapes decoded. A surrogate pair ends the value, which then includes
// the four digits of the high surrogate. `key` is ignored.
int JsonGetEmail(std::string_view reply, const char* key, std::span<char> output) noexcept;

// Splits `reply` in place at its double quotes; adjacent quotes count as one. Copies the piece that follows
// the one equal to `key`. A piece that is only a colon is skipped. Copies at most one byte less than the size
// of `output`, and no terminator.
//
// Returns kReplySplit even if nothing was found: pass a zeroed `output` and check whether it is still empty.
// Returns -2 if an argument is null.
inline constexpr int kReplySplit = 0;
int QuotedTokenAfter(char* reply, const char* key, std::span<char> output) noexcept;

}  // namespace velk

// Reads single values out of JSON replies: a push tokenizer, a walker over it and the extractors.
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
  uint32_t maxNesting = 0;         // 0: starts at 256 levels and grows; else a hard limit
  uint32_t maxData = 0;            // 0: no limit; else the token buffer's largest size
  int32_t allowComments = 0;       // slash-star comments
  int32_t allowYamlComments = 0;   // from a hash to the end of its line
  void* (*allocateZeroed)(size_t count, size_t size) = nullptr;  // null: calloc; its blocks go to free()
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

// The numbers are an interface of their own: the walkers follow a document by them.
enum class JsonParserState : uint8_t {
  kStart = 0,
  kAfterValue = 1,
  kObjectStart = 2,
  kNextKey = 3,  // after a comma inside an object
  kAfterKey = 4,
  kValue = 5,  // after a colon, or after a comma inside an array
  kArrayStart = 6,
  kInString = 7,
  kEscape = 8,  // after a backslash inside a string
  kHex1 = 9,    // kHexN: the N-th hex digit of a \u escape is expected
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
  kCommentStar = 33,  // after a star inside a slash-star comment
  kInYamlComment = 34,
  kAfterHighSurrogate = 35,
  kSurrogateEscape = 36,  // after the backslash that follows a high surrogate
};

enum JsonError : int {
  kJsonOutOfMemory = 1,
  kJsonUnknownByte = 2,  // a control byte that no part of a document may hold
  kJsonCloseWithoutOpen = 3,
  kJsonCloseMismatch = 4,
  kJsonNestingLimit = 5,
  kJsonDataLimit = 6,
  kJsonCommentNotAllowed = 7,
  kJsonUnexpectedByte = 8,  // a byte that the current state does not take
  kJsonHighSurrogateAlone = 9,
  kJsonLowSurrogateAlone = 10,
  kJsonCommaOutside = 11,  // a comma outside of any array or object
};

// Receives one token; `text` is null for the brackets. A value other than 0 stops the feed, which returns it.
using JsonTokenCallback = int (*)(void* userData, JsonTokenType type, const char* text, uint32_t length);

struct JsonParser {
  JsonConfig config;
  JsonTokenCallback callback;
  void* userData;
  JsonParserState state;
  JsonParserState savedState;     // where a comment began
  uint8_t expectingKey;           // 1 while the next string is a key
  uint16_t pendingHighSurrogate;  // 0: none
  JsonTokenType tokenType;        // of the token being collected
  uint8_t* stack;                 // open brackets: 0 array, 1 object
  uint32_t stackDepth;
  uint32_t stackSize;
  char* buffer;  // the token's text; only a callback makes the tokenizer terminate it
  uint32_t bufferSize;
  uint32_t bufferPosition;  // rewound after a token; the bytes behind it stay as they were
};

// `config` and `callback` may be null. 0, or kJsonOutOfMemory with nothing left to free.
int JsonParserInit(JsonParser* parser, const JsonConfig* config, JsonTokenCallback callback,
                   void* userData) noexcept;

// Takes bytes in order up to the first error. Returns 0, a JsonError or the callback's value; `processed`
// (may be null) receives the number of bytes taken before the failing one. An error leaves the state
// as it was.
int JsonParserFeed(JsonParser* parser, const char* bytes, uint32_t length, uint32_t* processed) noexcept;

// True when everything that was opened is closed again.
bool JsonParserIsDone(const JsonParser* parser) noexcept;

// Null is accepted, and so is a parser freed before.
void JsonParserFree(JsonParser* parser) noexcept;

// ---- Walker --------------------------------------------------------------------------------------------

// Follows a reply byte by byte and tells when a string in it ends or is interrupted by an escape.
class JsonWalker {
 public:
  JsonWalker() noexcept;
  ~JsonWalker() { JsonParserFree(&parser_); }
  JsonWalker(const JsonWalker&) = delete;
  JsonWalker& operator=(const JsonWalker&) = delete;

  // False when memory ran out: nothing else may be called then.
  bool Ok() const noexcept { return initResult_ == 0; }

  // 0 or a JsonError. The queries below speak of the byte fed last.
  int Feed(char byte) noexcept {
    if (keepPrevious_) {
      keepPrevious_ = false;
    } else {
      previous_ = parser_.state;
    }
    // A byte is written at the position before it. One that ends a \u escape also rewrites the escape's digits,
    // which were written before it.
    writtenBegin_ = std::min(writtenBegin_, parser_.bufferPosition);
    writtenEnd_ = std::max(writtenEnd_, parser_.bufferPosition + 1);
    const uint32_t sizeBefore = parser_.bufferSize;
    const int error = JsonParserFeed(&parser_, &byte, 1, nullptr);
    if (parser_.bufferSize != sizeBefore) ClearFrom(sizeBefore);
    return error;
  }

  JsonParserState State() const noexcept { return parser_.state; }
  JsonParserState PreviousState() const noexcept { return previous_; }

  // The byte led out of the inside of a string: its closing quote, or any backslash within it.
  bool StringEvent() const noexcept {
    return previous_ == JsonParserState::kInString && State() != JsonParserState::kInString;
  }

  // Lets the string go on: after the next byte PreviousState() is still what it is now.
  void PassOver() noexcept { keepPrevious_ = true; }

  // The token buffer up to its first NUL; text left by an earlier token may follow the current one's.
  std::string_view TokenText() const noexcept;

  // How much of it belongs to the token that is being collected.
  uint32_t TokenLength() const noexcept { return parser_.bufferPosition; }

  // Zeroes the token buffer. The write position stays, so text that follows an escape begins behind NULs. Only what
  // was written since the last time is touched: a text of nothing but escapes would else cost the square of its length.
  void ClearToken() noexcept;

 private:
  // The tokenizer leaves new memory as it comes; a text in it must still end at a NUL.
  void ClearFrom(uint32_t offset) noexcept;

  JsonParser parser_;
  int initResult_;
  uint32_t writtenBegin_ = 0;  // outside of these two every byte of the buffer is zero
  uint32_t writtenEnd_ = 0;
  JsonParserState previous_ = JsonParserState::kStart;
  bool keepPrevious_ = false;
};

// ---- Extractors ----------------------------------------------------------------------------------------
//
// They know no nesting: the first string equal to the name counts wherever it stands, key or value, and the
// result is what comes after it. Each returns 0 with the terminated value in `output`, cut to its size, or 1
// with `output` untouched when there is no value, the reply is malformed before it, or memory ran out.

// The next string after the one equal to `key`, up to its first backslash.
int JsonGetStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept;

// The same with simple escapes decoded; a \u escape ends the value.
int JsonGetEscapedStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept;

// The first integer after "expires_in" that a further byte follows. `key` is ignored.
int JsonGetExpiresIn(std::string_view reply, const char* key, std::span<char> output) noexcept;

// The next string after "email", escapes decoded; a surrogate pair ends it. `key` is ignored.
int JsonGetEmail(std::string_view reply, const char* key, std::span<char> output) noexcept;

// Cuts a text in place at its double quotes, runs of which count as one.
class QuoteSplitter {
 public:
  explicit QuoteSplitter(char* text) noexcept : rest_(text) {}

  // The next piece, terminated where its quote stood, or null behind the last one.
  char* Next() noexcept;

 private:
  char* rest_;
};

// Splits `reply` in place at its quotes and copies what follows the piece equal to `key`, skipping a bare
// colon, without a terminator and to at most one byte less than `output` holds. Returns -2 when an argument
// is null, else 0 whether found or not: pass a zeroed output and test whether it is still empty.
int QuotedTokenAfter(char* reply, const char* key, std::span<char> output) noexcept;

}  // namespace velk

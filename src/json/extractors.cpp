#include <algorithm>
#include <cstring>
#include <optional>

#include "core/text.h"
#include "json/json.h"

namespace velk {

// ---- Walker ----

JsonWalker::JsonWalker() noexcept {
  const JsonConfig config = {.allowComments = 1, .allowYamlComments = 1};
  initResult_ = JsonParserInit(&parser_, &config, nullptr, nullptr);
}

std::string_view JsonWalker::TokenText() const noexcept {
  const std::string_view whole(parser_.buffer, parser_.bufferSize);
  return whole.substr(0, whole.find('\0'));
}

void JsonWalker::ClearFrom(uint32_t offset) noexcept {
  std::memset(parser_.buffer + offset, 0, parser_.bufferSize - offset);
}

void JsonWalker::ClearToken() noexcept {
  if (writtenBegin_ < writtenEnd_)
    std::memset(parser_.buffer + writtenBegin_, 0, writtenEnd_ - writtenBegin_);
  writtenBegin_ = writtenEnd_ = parser_.bufferPosition;
}

// ---- Extractors ----

namespace {

constexpr int kFound = 0;
constexpr int kNotFound = 1;
constexpr int kMissingArgument = -2;

using Value = std::optional<std::string_view>;

// Feeds the reply and runs the rule after each byte. Copies the first value that the rule returns. A byte
// that the rule passes over may fail: the string then continues despite the error.
template <typename Rule>
int Extract(std::string_view reply, std::span<char> output, Rule rule) {
  JsonWalker walker;
  if (!walker.Ok()) return kNotFound;
  for (const char byte : reply) {
    const int error = walker.Feed(byte);
    if (const Value value = rule(walker)) {
      CopyText(*value, output);
      return kFound;
    }
    if (error != 0 && !walker.PassedOver()) return kNotFound;
  }
  return kNotFound;
}

// At the end of a string, returns whether it is the name. Clears it, so that no remnant follows the next
// string.
bool TakeName(JsonWalker& walker, std::string_view name) {
  const bool same = walker.TokenText() == name;
  walker.ClearToken();
  return same;
}

bool Between(JsonParserState state, JsonParserState first, JsonParserState last) {
  return state >= first && state <= last;
}

}  // namespace

int JsonGetStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept {
  bool found = false;
  return Extract(reply, output, [&](JsonWalker& walker) -> Value {
    if (!walker.StringEvent()) return {};
    if (found) return walker.TokenText();
    found = TakeName(walker, key);
    return {};
  });
}

int JsonGetEscapedStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept {
  using enum JsonParserState;
  bool found = false;
  bool pendingValue = false;
  return Extract(reply, output, [&](JsonWalker& walker) -> Value {
    if (walker.StringEvent()) {
      if (found && walker.State() != kEscape) return walker.TokenText();
      if (found) {
        walker.PassOver();
      } else {
        found = TakeName(walker, key);
      }
    } else if (walker.PreviousState() == kAfterKey && walker.State() == kValue) {
      pendingValue = true;
    } else if (walker.State() == kNextKey && pendingValue) {
      // The value may have been a number. Its digits would otherwise follow a shorter key in the buffer.
      walker.ClearToken();
      pendingValue = false;
    }
    return {};
  });
}

int JsonGetExpiresIn(std::string_view reply, const char* /*key*/, std::span<char> output) noexcept {
  using enum JsonParserState;
  bool found = false;
  uint32_t digits = 0;  // with the sign; a point, an exponent or a remnant of an older token may follow
  return Extract(reply, output, [&](JsonWalker& walker) -> Value {
    if (!found) {
      if (walker.StringEvent()) found = TakeName(walker, "expires_in");
    } else if (Between(walker.State(), kAfterZero, kInInteger)) {
      digits = walker.TokenLength();
    } else if (Between(walker.PreviousState(), kAfterZero, kInInteger)) {
      return walker.TokenText().substr(0, digits);
    }
    return {};
  });
}

int JsonGetEmail(std::string_view reply, const char* /*key*/, std::span<char> output) noexcept {
  using enum JsonParserState;
  bool found = false;
  return Extract(reply, output, [&](JsonWalker& walker) -> Value {
    if (!walker.StringEvent()) return {};
    if (!found) {
      found = TakeName(walker, "email");
    } else if (Between(walker.State(), kEscape, kHex4)) {
      walker.PassOver();
    } else {
      return walker.TokenText();
    }
    return {};
  });
}

// ---- Splitting at quotes ----

namespace {

// Splits a string in place at its double quotes. Adjacent quotes count as one.
class QuoteSplitter {
 public:
  explicit QuoteSplitter(char* text) : rest_(text) {}

  // Returns the next piece, terminated in place of its closing quote. Returns null after the last piece.
  char* Next() {
    char* const piece = rest_ + std::strspn(rest_, "\"");
    char* const end = piece + std::strcspn(piece, "\"");
    rest_ = end;
    if (piece == end) return nullptr;
    if (*end != '\0') {
      *end = '\0';
      rest_ = end + 1;
    }
    return piece;
  }

 private:
  char* rest_;
};

}  // namespace

int QuotedTokenAfter(char* reply, const char* key, std::span<char> output) noexcept {
  if (!reply || !key || !output.data()) return kMissingArgument;
  QuoteSplitter splitter(reply);
  const char* piece = splitter.Next();
  while (piece && std::strcmp(piece, key) != 0) piece = splitter.Next();
  const char* value = piece ? splitter.Next() : nullptr;
  if (value && std::strcmp(value, ":") == 0) value = splitter.Next();
  if (value && !output.empty()) std::string_view(value).copy(output.data(), output.size() - 1);
  return kReplySplit;
}

}  // namespace velk

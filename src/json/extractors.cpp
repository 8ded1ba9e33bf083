// The walker and the extractors that pull one value out of a reply.
#include <algorithm>
#include <cstring>

#include "json/json.h"

namespace velk {

// ---- Walker ----

JsonWalker::JsonWalker() noexcept {
  JsonConfig config{};
  config.allowComments = 1;
  config.allowYamlComments = 1;
  initResult_ = JsonParserInit(&parser_, &config, nullptr, nullptr);
}

int JsonWalker::Feed(char byte) noexcept {
  if (keepPrevious_) {
    keepPrevious_ = false;
  } else {
    previous_ = parser_.state;
  }
  // A byte reaches no further than the position before it, also when it completes a \u escape and is rewound.
  if (parser_.bufferPosition >= written_) written_ = parser_.bufferPosition + 1;
  const uint32_t sizeBefore = parser_.bufferSize;
  const int error = JsonParserFeed(&parser_, &byte, 1, nullptr);
  if (parser_.bufferSize != sizeBefore) {
    // The tokenizer leaves new memory as it comes; a text in it must still end at a NUL.
    std::memset(parser_.buffer + sizeBefore, 0, parser_.bufferSize - sizeBefore);
  }
  return error;
}

std::string_view JsonWalker::TokenText() const noexcept {
  const std::string_view whole(parser_.buffer, parser_.bufferSize);
  return whole.substr(0, whole.find('\0'));
}

void JsonWalker::ClearToken() noexcept {
  std::memset(parser_.buffer, 0, written_);
  written_ = 0;
}

// ---- Extractors ----

namespace {

constexpr int kFound = 0;
constexpr int kNotFound = 1;
constexpr int kMissingArgument = -2;

enum class Step { kGoOn, kPassOver, kResult };

// Feeds the reply until the rule, asked after each byte, tells that the walker's token text is the result. A
// byte that the rule passes over may fail: the string is then followed in spite of it.
template <typename Rule>
bool Find(JsonWalker& walker, std::string_view reply, Rule rule) {
  if (!walker.Ok()) return false;
  for (char byte : reply) {
    const int error = walker.Feed(byte);
    switch (rule()) {
      case Step::kResult:
        return true;
      case Step::kPassOver:
        walker.PassOver();
        break;
      case Step::kGoOn:
        if (error != 0) return false;
    }
  }
  return false;
}

// At the end of a string: is it the wanted name? Clears it, so that no rest of it follows the next string.
bool TakeName(JsonWalker& walker, std::string_view name) {
  const bool same = walker.TokenText() == name;
  walker.ClearToken();
  return same;
}

int PutTerminated(std::string_view value, std::span<char> output) {
  if (output.empty()) return kFound;
  const size_t length = value.copy(output.data(), output.size() - 1);
  output[length] = '\0';
  return kFound;
}

// The sign and digits that a text starts with: a point, an exponent or an older token's rest may follow them.
std::string_view LeadingInteger(std::string_view text) {
  const size_t sign = text.starts_with('-') ? 1 : 0;
  return text.substr(0, text.find_first_not_of("0123456789", sign));
}

bool Between(JsonParserState state, JsonParserState first, JsonParserState last) {
  return state >= first && state <= last;
}

}  // namespace

int JsonGetStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept {
  JsonWalker walker;
  bool found = false;
  const bool done = Find(walker, reply, [&] {
    if (!walker.StringEvent()) return Step::kGoOn;
    if (found) return Step::kResult;
    found = TakeName(walker, key);
    return Step::kGoOn;
  });
  return done ? PutTerminated(walker.TokenText(), output) : kNotFound;
}

int JsonGetEscapedStringValue(std::string_view reply, const char* key, std::span<char> output) noexcept {
  using enum JsonParserState;
  JsonWalker walker;
  bool found = false;
  bool pendingValue = false;
  const bool done = Find(walker, reply, [&] {
    if (walker.StringEvent()) {
      if (found) return walker.State() == kEscape ? Step::kPassOver : Step::kResult;
      found = TakeName(walker, key);
    } else if (walker.PreviousState() == kAfterKey && walker.State() == kValue) {
      pendingValue = true;
    } else if (walker.State() == kNextKey && pendingValue) {
      // The value may have been a number, whose digits would else follow a shorter key.
      walker.ClearToken();
      pendingValue = false;
    }
    return Step::kGoOn;
  });
  return done ? PutTerminated(walker.TokenText(), output) : kNotFound;
}

int JsonGetExpiresIn(std::string_view reply, const char* /*key*/, std::span<char> output) noexcept {
  using enum JsonParserState;
  JsonWalker walker;
  bool found = false;
  const bool done = Find(walker, reply, [&] {
    if (!found) {
      if (walker.StringEvent()) found = TakeName(walker, "expires_in");
      return Step::kGoOn;
    }
    const JsonParserState previous = walker.PreviousState();
    const bool inInteger = Between(previous, kAfterZero, kInInteger);
    return inInteger && walker.State() != previous ? Step::kResult : Step::kGoOn;
  });
  return done ? PutTerminated(LeadingInteger(walker.TokenText()), output) : kNotFound;
}

int JsonGetEmail(std::string_view reply, const char* /*key*/, std::span<char> output) noexcept {
  using enum JsonParserState;
  JsonWalker walker;
  bool found = false;
  const bool done = Find(walker, reply, [&] {
    if (!walker.StringEvent()) return Step::kGoOn;
    if (found) return Between(walker.State(), kEscape, kHex4) ? Step::kPassOver : Step::kResult;
    found = TakeName(walker, "email");
    return Step::kGoOn;
  });
  return done ? PutTerminated(walker.TokenText(), output) : kNotFound;
}

// ---- Splitting at quotes ----

char* QuoteSplitter::Next() noexcept {
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

int QuotedTokenAfter(char* reply, const char* key, std::span<char> output) noexcept {
  if (!reply || !key || !output.data()) return kMissingArgument;
  QuoteSplitter splitter(reply);
  const char* piece = splitter.Next();
  while (piece && std::strcmp(piece, key) != 0) piece = splitter.Next();
  if (!piece) return 0;
  const char* value = splitter.Next();
  if (value && std::strcmp(value, ":") == 0) value = splitter.Next();
  if (!value) return 0;
  if (!output.empty()) std::string_view(value).copy(output.data(), output.size() - 1);
  return 0;
}

}  // namespace velk

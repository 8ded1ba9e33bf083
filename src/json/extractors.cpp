#include <algorithm>
#include <cstring>

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

enum class Step { kGoOn, kPassOver, kResult };

// Feeds the reply until the rule returns kResult, and runs the rule after each byte. The result is then the
// token text of the walker. A byte for which the rule returns kPassOver may fail. The string then continues
// despite the error.
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
  JsonWalker walker;
  bool found = false;
  const bool done = Find(walker, reply, [&] {
    if (!walker.StringEvent()) return Step::kGoOn;
    if (found) return Step::kResult;
    found = TakeName(walker, key);
    return Step::kGoOn;
  });
  if (done) CopyText(walker.TokenText(), output);
  return done ? kFound : kNotFound;
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
      // The value may have been a number. Its digits would otherwise follow a shorter key in the buffer.
      walker.ClearToken();
      pendingValue = false;
    }
    return Step::kGoOn;
  });
  if (done) CopyText(walker.TokenText(), output);
  return done ? kFound : kNotFound;
}

int JsonGetExpiresIn(std::string_view reply, const char* /*key*/, std::span<char> output) noexcept {
  using enum JsonParserState;
  JsonWalker walker;
  bool found = false;
  uint32_t digits = 0;  // with the sign; a point, an exponent or a remnant of an older token may follow
  const bool done = Find(walker, reply, [&] {
    if (!found) {
      if (walker.StringEvent()) found = TakeName(walker, "expires_in");
      return Step::kGoOn;
    }
    if (Between(walker.State(), kAfterZero, kInInteger)) {
      digits = walker.TokenLength();
      return Step::kGoOn;
    }
    return Between(walker.PreviousState(), kAfterZero, kInInteger) ? Step::kResult : Step::kGoOn;
  });
  if (done) CopyText(walker.TokenText().substr(0, digits), output);
  return done ? kFound : kNotFound;
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
  if (done) CopyText(walker.TokenText(), output);
  return done ? kFound : kNotFound;
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

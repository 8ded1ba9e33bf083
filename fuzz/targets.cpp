// Feeds a reader with hostile bytes; exact-size copies let the sanitizers see a read beyond them.
#include "fuzz/targets.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "json/json.h"
#include "youtube/youtube.h"

namespace velk::fuzz {
namespace {

void Demand(bool holds) {
  if (!holds) std::abort();
}

// The bytes with a NUL behind them and nothing more, as a reply stands in memory.
std::vector<char> Text(std::string_view input) {
  std::vector<char> text(input.begin(), input.end());
  text.push_back('\0');
  text.shrink_to_fit();
  return text;
}

// In pieces and at once a text must lead to the same state and error.
void Tokenizer(std::string_view input) {
  JsonConfig config;
  config.maxNesting = 64;
  config.maxData = 256;
  config.initialBufferSize = 16;
  config.allowComments = 1;
  JsonParser whole;
  JsonParser pieces;
  Demand(JsonParserInit(&whole, &config, nullptr, nullptr) == 0);
  Demand(JsonParserInit(&pieces, &config, nullptr, nullptr) == 0);
  uint32_t processed = 0;
  const int error = JsonParserFeed(&whole, input.data(), static_cast<uint32_t>(input.size()), &processed);
  int pieceError = 0;
  uint32_t taken = 0;
  for (; taken < input.size() && pieceError == 0; ++taken)
    pieceError = JsonParserFeed(&pieces, &input[taken], 1, nullptr);
  Demand(error == pieceError);
  Demand(processed == taken - (pieceError != 0 ? 1 : 0));
  Demand(whole.state == pieces.state && whole.bufferPosition == pieces.bufferPosition);
  JsonParserFree(&whole);
  JsonParserFree(&pieces);
}

using Extractor = int (*)(std::string_view, const char*, std::span<char>) noexcept;

// A value stays inside the room given and is terminated there; not found leaves it alone.
template <Extractor extractor, const char* key>
void Extract(std::string_view input) {
  const std::vector<char> text = Text(input);
  std::array<char, 24> room;
  room.fill('#');
  const int outcome = extractor({text.data(), input.size()}, key, std::span(room).first(16));
  Demand(outcome == 0 || outcome == 1);
  Demand(outcome == 0 ? std::memchr(room.data(), '\0', 16) != nullptr : room[0] == '#');
  Demand(std::all_of(room.begin() + 16, room.end(), [](char letter) { return letter == '#'; }));
}

void QuotedToken(std::string_view input) {
  std::vector<char> text = Text(input);
  std::array<char, 16> room{};
  Demand(QuotedTokenAfter(text.data(), "name", room) == 0);
  Demand(room.back() == '\0');
}

void LocationHeader(std::string_view input) {
  const std::string address = FindLocationHeader(input);
  Demand(address.find_first_of("\r\n") == std::string::npos);
}

constexpr char kId[] = "id";
constexpr char kState[] = "state";
constexpr char kEmail[] = "email";
constexpr char kExpiresIn[] = "expires_in";

constexpr Target kTargets[] = {
    {"tokenizer", Tokenizer},
    {"string_value", Extract<JsonGetStringValue, kId>},
    {"escaped_value", Extract<JsonGetEscapedStringValue, kState>},
    {"expires_in", Extract<JsonGetExpiresIn, kExpiresIn>},
    {"email", Extract<JsonGetEmail, kEmail>},
    {"quoted_token", QuotedToken},
    {"location", LocationHeader},
};

}  // namespace

std::span<const Target> Targets() noexcept { return kTargets; }

}  // namespace velk::fuzz

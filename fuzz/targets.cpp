// Feeds the parsers of the library with hostile bytes. The inputs are copied to blocks of their exact size,
// so that the sanitizers detect reads past the end.
#include "fuzz/targets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "facebook/facebook.h"
#include "fuzz/sandbox_targets.h"
#include "json/json.h"
#include "twitter/twitter.h"
#include "xml/xml.h"
#include "youtube/youtube.h"

namespace velk::fuzz {
namespace {

// Returns the input followed by exactly one NUL, as a reply is stored in memory.
std::vector<char> Text(std::string_view input) {
  std::vector<char> text(input.begin(), input.end());
  text.push_back('\0');
  text.shrink_to_fit();
  return text;
}

// Feeding an input at once and byte by byte must lead to the same state and error.
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

// A value must be terminated within the output, with nothing written past it. Without a value, the output
// must be unchanged.
template <Extractor extractor, const char* key>
void Extract(std::string_view input) {
  const std::vector<char> text = Text(input);
  std::array<char, 24> output;
  output.fill('#');
  const int outcome = extractor({text.data(), input.size()}, key, std::span(output).first(16));
  Demand(outcome == 0 || outcome == 1);
  Demand(outcome == 0 ? std::memchr(output.data(), '\0', 16) != nullptr : output[0] == '#');
  Demand(std::all_of(output.begin() + 16, output.end(), [](char letter) { return letter == '#'; }));
}

void QuotedToken(std::string_view input) {
  std::vector<char> text = Text(input);
  std::array<char, 16> output{};
  Demand(QuotedTokenAfter(text.data(), "name", output) == kReplySplit);
  Demand(output.back() == '\0');
}

void LocationHeader(std::string_view input) {
  const std::string url = youtube::FindLocationHeader(input);
  Demand(url.find_first_of("\r\n") == std::string::npos);
}

void Pages(std::string_view input) {
  const std::vector<char> text = Text(input);
  FacebookPage* pages = nullptr;
  int32_t count = -1;
  const int32_t result = facebook::ListPages({text.data(), input.size()}, &pages, count);
  Demand(result == VELK_OK ? pages && count > 0 : !pages);
  for (int32_t page = 0; pages && page < count; ++page)
    Demand(std::memchr(pages[page].id, '\0', sizeof pages->id) &&
           std::memchr(pages[page].name, '\0', sizeof pages->name));
  FreeFacebookUserPagesList(&pages);
  Demand(!pages);
}

void RequestToken(std::string_view input) {
  std::string_view token;
  int32_t needed = -1;
  const int32_t result = twitter::ReadRequestToken(input, token, needed);
  Demand(result == VELK_OK || result == VELK_NO_IDENTIFIER);
  Demand(token.size() <= input.size());
}

void AccessToken(std::string_view input) {
  TwitterAccessToken token{};
  const int32_t result = twitter::ReadAccessToken(input, token);
  Demand(result == VELK_OK || result == VELK_NO_IDENTIFIER);
  Demand(std::memchr(token.screenName, '\0', sizeof token.screenName) != nullptr);
}

// Walks the tree along its links, without recursion. Every string must be terminated and every link
// consistent.
void Xml(std::string_view input) {
  std::vector<char> document(input.begin(), input.end());
  document.shrink_to_fit();
  const XmlTree root(XmlParseString(document.data(), document.size()));
  if (!root) return;
  Demand(std::strlen(XmlError(root.get())) < 128);
  size_t bytes = 0;
  for (const XmlNode* node = root.get(); node;) {
    bytes += std::strlen(node->name) + std::strlen(node->text);
    for (auto attribute = node->attributes; *attribute; ++attribute) bytes += std::strlen(*attribute);
    for (const XmlNode* same : {node->next, node->sibling, node->ordered})
      Demand(!same || same->parent == node->parent);
    if (node->child) {
      Demand(node->child->parent == node && XmlChild(node, node->child->name) == node->child);
      node = node->child;
      continue;
    }
    while (node && !node->ordered) node = node->parent;
    if (node) node = node->ordered;
  }
  Demand(bytes <= 64 * (input.size() + 1024) + (64U << 20));
}

void TokenReply(std::string_view input) {
  const std::vector<char> text = Text(input);
  std::string url;
  std::string token;
  const int32_t result = youtube::ParseUploadTokenReply(text.data(), input.size(), &url, &token);
  Demand(result == VELK_OK || result == VELK_UNEXPECTED_REPLY ||
         (input.empty() && result == VELK_MISSING_ARGUMENT));
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
    {"pages", Pages},
    {"request_token", RequestToken},
    {"access_token", AccessToken},
    {"xml", Xml},
    {"token_reply", TokenReply},
    {"sandbox_head", SandboxHead},
    {"sandbox_body", SandboxBody},
    {"sandbox_form", SandboxForm},
    {"sandbox_query", SandboxQuery},
    {"sandbox_json", SandboxJson},
    {"sandbox_fields", SandboxFields},
    {"sandbox_reply", SandboxReply},
    {"sandbox_strings", SandboxStrings},
};

}  // namespace

std::span<const Target> Targets() noexcept { return kTargets; }

}  // namespace velk::fuzz

// The tokenizer byte by byte: states, errors, the token buffer, reported tokens, limits and memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "json/json.h"

namespace velk {
namespace {

// A parser that accepts both kinds of comments by default.
struct Parser : JsonParser {
  explicit Parser(JsonConfig settings = {.allowComments = 1, .allowYamlComments = 1},
                  JsonTokenCallback onToken = nullptr, void* data = nullptr)
      : initResult(JsonParserInit(this, &settings, onToken, data)) {}
  ~Parser() { JsonParserFree(this); }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  int Feed(std::string_view text, uint32_t* processed = nullptr) {
    return JsonParserFeed(this, text.data(), static_cast<uint32_t>(text.size()), processed);
  }
  int FeedSingly(std::string_view text, uint32_t* processed) {
    for (*processed = 0; *processed < text.size(); ++*processed) {
      if (int error = Feed(text.substr(*processed, 1))) return error;
    }
    return 0;
  }
  int StateNumber() const { return static_cast<int>(state); }

  int initResult;
};

using NextStates = std::vector<std::pair<std::string_view, int>>;

// The next state for each byte in a state. A negative number is an error.
struct StateRow {
  int state;
  std::string_view prefix;  // leads to the state
  NextStates next;
  int others = -kJsonUnexpectedByte;
};

const std::string_view kWhite = " \n\t\r", kDigits = "0123456789", kHex = "0123456789abcdefABCDEF";

// The transitions at the start of a value, and after a number in an array.
const NextStates kValueStart = {{"\"", 7}, {"{", 2},  {"[", 6},  {"-", 13}, {"0", 14}, {"123456789", 15},
                                {"t", 21}, {"f", 24}, {"n", 28}, {"/", 31}, {"#", 34}};
const NextStates kNumberEnd = {{kWhite, 1}, {",", 5}, {"]", 1}, {"}", -4}, {"/", 31}, {"#", 34}};

NextStates With(NextStates own, const NextStates& shared) {
  own.insert(own.end(), shared.begin(), shared.end());
  return own;
}

TEST(JsonTokenizer, AcceptsExactlyTheBytesOfEachState) {
  const StateRow rows[] = {
      {0, "", {{kWhite, 0}, {"{", 2}, {"[", 6}, {"/", 31}, {"#", 34}}},
      {1, "[1 ", {{kWhite, 1}, {",", 5}, {"]", 1}, {"}", -4}, {"/", 31}, {"#", 34}}},
      {1, "{\"a\":1 ", {{kWhite, 1}, {",", 3}, {"}", 1}, {"]", -4}, {"/", 31}, {"#", 34}}},
      {1, "[]", {{kWhite, 1}, {",", -11}, {"}", -3}, {"]", -3}, {"/", 31}, {"#", 34}}},
      {2, "{", {{kWhite, 2}, {"\"", 7}, {"}", 1}, {"/", 31}, {"#", 34}}},
      {3, "{\"a\":1,", {{kWhite, 3}, {"\"", 7}, {"/", 31}, {"#", 34}}},
      {4, "{\"a\"", {{kWhite, 4}, {":", 5}, {"/", 31}, {"#", 34}}},
      {5, "[1,", With({{kWhite, 5}}, kValueStart)},
      {6, "[", With({{kWhite, 6}, {"]", 1}}, kValueStart)},
      {7, "[\"", {{"\"", 1}, {"\\", 8}, {"\n\t\r", -8}}, 7},
      {7, "{\"", {{"\"", 4}, {"\\", 8}, {"\n\t\r", -8}}, 7},
      {8, "[\"\\", {{"\"\\/bfnrt", 7}, {"u", 9}}},
      {9, "[\"\\u", {{kHex, 10}}},
      {10, "[\"\\u0", {{kHex, 11}}},
      {11, "[\"\\u00", {{kHex, 12}}},
      {12, "[\"\\u000", {{kHex, 7}}},
      {12, "[\"\\ud80", {{kHex, 35}}},
      {13, "[-", {{"0", 14}, {"123456789", 15}}},
      {14, "[0", With({{".", 16}}, kNumberEnd)},
      {15, "[1", With({{".", 16}, {"eE", 18}, {kDigits, 15}}, kNumberEnd)},
      {16, "[1.", {{kDigits, 17}}},
      {17, "[1.2", With({{"eE", 18}, {kDigits, 17}}, kNumberEnd)},
      {18, "[1e", {{"+-", 19}, {kDigits, 20}}},
      {19, "[1e+", {{kDigits, 20}}},
      {20, "[1e2", {{kWhite, 1}, {",", 5}, {"]", 1}, {"}", -4}, {kDigits, 20}}},
      {21, "[t", {{"r", 22}}},
      {22, "[tr", {{"u", 23}}},
      {23, "[tru", {{"e", 1}}},
      {24, "[f", {{"a", 25}}},
      {25, "[fa", {{"l", 26}}},
      {26, "[fal", {{"s", 27}}},
      {27, "[fals", {{"e", 1}}},
      {28, "[n", {{"u", 29}}},
      {29, "[nu", {{"l", 30}}},
      {30, "[nul", {{"l", 1}}},
      {31, "[/", {{"*", 32}}},
      {32, "[/*", {{"*", 33}}, 32},
      {33, "[/**", {{"*", 33}, {"/", 6}}, 32},
      {34, "[#", {{"\n", 6}}, 34},
      {35, "[\"\\ud800", {{"\\", 36}}},
      {36, R"(["\ud800\)", {{"u", 9}}},
  };
  for (const StateRow& row : rows) {
    for (int value = 0; value < 256; ++value) {
      const char byte = static_cast<char>(value);
      SCOPED_TRACE(testing::Message() << "after '" << row.prefix << "' byte " << value);
      const bool control = value < 32 && kWhite.find(byte) == std::string_view::npos;
      int expected = control ? -kJsonUnknownByte : row.others;
      for (const auto& [bytes, state] : row.next) {
        if (bytes.find(byte) != std::string_view::npos) expected = state;
      }
      Parser parser;
      ASSERT_EQ(parser.Feed(row.prefix), 0);
      ASSERT_EQ(parser.StateNumber(), row.state);
      const int error = parser.Feed({&byte, 1});
      EXPECT_EQ(error != 0 ? -error : parser.StateNumber(), expected);
      if (error != 0) {
        EXPECT_EQ(parser.StateNumber(), row.state);
      }
    }
  }
}

TEST(JsonTokenizer, FillsAndRewindsTheTokenBuffer) {
  const struct {
    const char* name;
    std::string_view input;
    int state, error;
    uint32_t processed, position;
    std::string_view buffer;  // up to its first NUL
  } rows[] = {
      {"bare number", "1", 0, 8, 0, 0, ""},
      {"closed object", R"({"a":1})", 1, 0, 7, 0, "1"},
      {"digits left after a shorter token", R"({"n":12345,"id")", 4, 0, 15, 0, "id345"},
      {"white space leaves the number pending", "[12 ", 1, 0, 4, 2, "12"},
      {"every character of a number", "[-1.5E+3", 20, 0, 8, 7, "-1.5E+3"},
      {"letters of literals are not stored", "[true,false,null", 1, 0, 16, 0, ""},
      {"simple escapes", R"(["\"\\\/\b\f\n\r\t)", 7, 0, 18, 8, "\"\\/\b\f\n\r\t"},
      {"digits of \\u remain after one byte", R"(["a\u0041)", 7, 0, 9, 2, "aA041"},
      {"\\u as two bytes", R"(["\u00e9)", 7, 0, 8, 2, "\u00E9e9"},
      {"\\u first of two bytes", R"(["\u0080)", 7, 0, 8, 2, "\u008080"},
      {"\\u as three bytes", R"(["\u0800\u20AC)", 7, 0, 14, 6, "\u0800\u20ACC"},
      {"surrogate pair as four bytes", R"(["\uD83D\uDE00x)", 7, 0, 15, 5, "\xF0\x9F\x98\x80x"},
      {"surrogate pair before another escape", R"(["\uD83D\uDE00\u0041x)", 7, 0, 21, 6, "\U0001F600Ax41"},
      {"high surrogate before another", R"(["\ud83d\ud83d)", 12, 9, 13, 0, "d83d"},
      {"high surrogate before plain text", R"(["\ud83dx)", 35, 8, 8, 0, "d83d"},
      {"lone low surrogate", R"(["\udc00)", 12, 10, 7, 0, "dc00"},
      {"raw bytes from 127 up", "[\"\x7F\x80\xFF", 7, 0, 5, 3, "\x7F\x80\xFF"},
      {"comment interrupts a number", "[1/**/2", 1, 8, 6, 0, "1"},
      {"line comment resumes its state", "{#\x01", 34, 2, 2, 0, ""},
      {"comments between tokens", "{/***/\"a\"#x\n:/*/*/1", 15, 0, 19, 1, "1"},
      {"wrong close", R"({"a":[1})", 15, 4, 7, 0, "1"},
  };
  for (const auto& row : rows) {
    for (const bool singly : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.name << (singly ? ", byte by byte" : ", at once"));
      Parser parser;
      uint32_t processed = 99;
      const int error =
          singly ? parser.FeedSingly(row.input, &processed) : parser.Feed(row.input, &processed);
      EXPECT_EQ(error, row.error);
      EXPECT_EQ(processed, row.processed);
      EXPECT_EQ(parser.StateNumber(), row.state);
      EXPECT_EQ(parser.bufferPosition, row.position);
      EXPECT_EQ(parser.buffer, row.buffer);
    }
  }
}

TEST(JsonTokenizer, NeverReadsBeforeTheBufferWhenFedAfterAnError) {
  Parser parser;
  EXPECT_EQ(parser.Feed(R"(["\udc00)"), kJsonLowSurrogateAlone);
  for (const char* digit : {"a", "b", "c"}) EXPECT_EQ(parser.Feed(digit), kJsonUnexpectedByte);
  EXPECT_EQ(parser.Feed("d\""), 0);
  EXPECT_STREQ(parser.buffer, "\uABCDd");
}

TEST(JsonTokenizer, AcceptsCommentsOnlyWhenAllowed) {
  const JsonConfig slashOnly = {.allowComments = 1}, hashOnly = {.allowYamlComments = 1};
  EXPECT_EQ(Parser(slashOnly).Feed("/*#*/[#"), kJsonCommentNotAllowed);
  EXPECT_EQ(Parser(hashOnly).Feed("#/*\n[/"), kJsonCommentNotAllowed);
}

TEST(JsonTokenizer, IsDoneOnceEverythingIsClosed) {
  const std::pair<const char*, bool> rows[] = {
      {"", false}, {" ", false}, {"{", false}, {"[[]", false}, {"{}", true}};
  for (const auto& [text, done] : rows) {
    Parser parser;
    EXPECT_EQ(parser.Feed(text), 0);
    EXPECT_EQ(JsonParserIsDone(&parser), done) << text;
  }
}

// What a callback received: each token as "type:text/length". Stops the parser after `remaining` tokens.
struct TokenLog {
  ptrdiff_t remaining;
  std::string tokens = "";
};
int LogToken(void* userData, JsonTokenType type, const char* text, uint32_t length) {
  auto& log = *static_cast<TokenLog*>(userData);
  log.tokens += std::to_string(static_cast<uint32_t>(type)) + ':' + (text ? text : "-") + '/' +
                std::to_string(length) + ' ';
  return --log.remaining == 0 ? 77 : 0;
}

TEST(JsonTokenizer, ReportsTokensAndStopsAtAnyOnRequest) {
  const std::string all =
      "2:-/0 8:k/1 7:long\n/5 8:a/1 1:-/0 5:-12/3 6:1.5/3 6:2e3/3 9:/0 10:/0 11:/0 2:-/0 4:-/0 7:s/1 3:-/0 "
      "4:-/0 ";
  const ptrdiff_t reports = std::ranges::count(all, ' ');
  for (ptrdiff_t requested = 1; requested <= reports + 1; ++requested) {
    TokenLog log{requested};
    Parser parser({.allowComments = 1}, LogToken, &log);
    const int result = parser.Feed(R"({"k":"long\n","a":[-12 ,1.5/**/,2e3,true,false,null,{},"s"]})");
    EXPECT_EQ(result, requested > reports ? 0 : 77);
    EXPECT_EQ(log.remaining, requested > reports ? 1 : 0);
    EXPECT_TRUE(all.starts_with(log.tokens)) << log.tokens;
  }
}

TEST(JsonTokenizer, GrowsWithinItsLimits) {
  const std::string text(4095, 'x');
  Parser growing({.reallocate = [](void* block, size_t size) {
    block = std::realloc(block, size);
    std::memset(static_cast<char*>(block) + size / 2, '?', size / 2);
    return block;
  }});
  EXPECT_EQ(growing.Feed("[\"" + text), 0);
  EXPECT_EQ(growing.bufferSize, 4096U);
  EXPECT_EQ(growing.Feed("y"), 0);
  EXPECT_EQ(growing.bufferSize, 8192U);
  EXPECT_EQ(std::string(growing.buffer + 4094, 4), "xy??") << "the new half is not initialized";

  Parser limited({.initialBufferSize = 3, .maxData = 5});
  EXPECT_EQ(limited.Feed("[\"abcd"), 0);
  EXPECT_EQ(limited.bufferSize, 5U);
  EXPECT_EQ(limited.Feed("e"), kJsonDataLimit);
  EXPECT_EQ(Parser({.maxData = 5}).bufferSize, 5U);

  TokenLog log{1000};
  EXPECT_EQ(Parser({.maxNesting = 2}, LogToken, &log).Feed("[{\"k\":["), kJsonNestingLimit);
  EXPECT_EQ(log.tokens, "1:-/0 2:-/0 8:k/1 1:-/0 ")
      << "a bracket is reported before its nesting level is checked";
  Parser deep;
  EXPECT_EQ(deep.Feed(std::string(1000, '[') + std::string(1000, ']')), 0);
  EXPECT_TRUE(JsonParserIsDone(&deep));
}

TEST(JsonTokenizer, ReportsFailedAllocations) {
  const auto none = [](size_t, size_t) -> void* { return nullptr; };
  const auto stackOnly = [](size_t count, size_t size) -> void* {
    return count == 7 ? std::calloc(count, size) : nullptr;
  };
  const auto noGrowth = [](void*, size_t) -> void* { return nullptr; };
  EXPECT_EQ(Parser({.allocateZeroed = none}).initResult, kJsonOutOfMemory);
  const Parser halfway({.maxNesting = 7, .allocateZeroed = stackOnly});
  EXPECT_EQ(halfway.initResult, kJsonOutOfMemory);
  EXPECT_EQ(halfway.stack, nullptr) << "freed, as the leak checker confirms";
  EXPECT_EQ(Parser({.initialBufferSize = 2, .reallocate = noGrowth}).Feed("[\"ab"), kJsonOutOfMemory);
  EXPECT_EQ(Parser({.reallocate = noGrowth}).Feed(std::string(257, '[')), kJsonOutOfMemory);
  JsonParserFree(nullptr);
}

}  // namespace
}  // namespace velk

// What the extractors find in a reply, including the effects of their shallow parsing.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <string>
#include <vector>

#include "json/json.h"

namespace velk {
namespace {

using Extractor = int (*)(std::string_view, const char*, std::span<char>) noexcept;

struct Extraction {
  const char* name;
  Extractor extract;
  const char* key;
  std::string_view reply;
  const char* value;  // null: not found
};

constexpr Extractor kString = JsonGetStringValue, kEscaped = JsonGetEscapedStringValue,
                    kExpiresIn = JsonGetExpiresIn, kEmail = JsonGetEmail;

const Extraction kExtractions[] = {
    {"plain value", kString, "id", R"({"id":"123"})", "123"},
    {"empty value", kString, "id", R"({"id":"","b":"c"})", ""},
    {"number value: the next string", kString, "id", R"({"id":123,"name":"x"})", "name"},
    {"number value: its digits remain after a shorter string", kString, "id", R"({"id":12345,"b":"v"})",
     "b2345"},
    {"literal and nested value: the next string", kString, "id", R"({"id":[null,{"x":1}]})", "x"},
    {"value equal to the key", kString, "id", R"({"a":"id","b":"v"})", "b"},
    {"first match wins at any depth", kString, "id", R"({"from":{"id":"1"},"id":"2"})", "1"},
    {"backslash ends the value", kString, "link", R"({"link":"a\/b"})", "a"},
    {"key followed by an escape", kString, "id", R"({"id\n":"v"})", ""},
    {"key after an escape", kString, "id", R"({"x\nid":"v"})", nullptr},
    {"digits left after the key", kString, "id", R"({"n":12345,"id":"9"})", nullptr},
    {"digits overwritten by the key", kString, "id", R"({"n":12,"id":"9"})", "9"},
    {"no digit of a \\u escape left after the key", kString, "abc", R"(["\u0041","abc","v"])", "v"},
    {"no string after the key", kString, "id", R"({"id":5})", nullptr},
    {"malformed before the value", kString, "id", R"({"a":tru,"id":"1"})", nullptr},
    {"malformed inside the value", kString, "id", "{\"id\":\"1\t2\"}", nullptr},
    {"malformed after the value", kString, "id", R"({"id":"1"]]]})", "1"},
    {"comments of both kinds", kString, "id", "{/*\"id\"*/\"id\"#\"x\"\n:\"1\"}", "1"},

    {"simple escapes are decoded", kEscaped, "k", R"({"k":"\"\\\/\b\f\n\r\t."})", "\"\\/\b\f\n\r\t."},
    {"\\u ends the value", kEscaped, "state", R"({"state":"x\u0041y"})", "x"},
    {"number before the key is cleared", kEscaped, "id", R"({"n":12345,"id":"9"})", "9"},
    {"number as the value is cleared", kEscaped, "id", R"({"id":12345,"b":"v"})", "b"},
    {"number that closes an object is not cleared", kEscaped, "id", R"([{"n":12345},{"id":"9"}])", nullptr},
    {"unknown escape inside the value is skipped", kEscaped, "k", R"({"k":"a\xn b"})", "a\n b"},
    {"unknown escape elsewhere is malformed", kEscaped, "k", R"({"a":"\x","k":"v"})", nullptr},
    {"escape in the key", kEscaped, "id", R"({"id\n":"v"})", ""},

    {"integer", kExpiresIn, "", R"({"access_token":"t","expires_in":5183999})", "5183999"},
    {"negative", kExpiresIn, "", R"({"expires_in":-5})", "-5"},
    {"zero", kExpiresIn, "", R"({"expires_in":0 })", "0"},
    {"fraction", kExpiresIn, "", R"({"expires_in":12.75})", "12"},
    {"zero and a fraction", kExpiresIn, "", R"({"expires_in":0.75})", "0"},
    {"exponent", kExpiresIn, "", R"({"expires_in":12e3})", "12"},
    {"interrupted by a comment", kExpiresIn, "", R"({"expires_in":60/**/})", "60"},
    {"string value", kExpiresIn, "", R"({"expires_in":"60"})", nullptr},
    {"later integer over leftover text", kExpiresIn, "", R"({"expires_in":"abc","x":{"y":7}})", "7"},
    {"later integer over leftover digits", kExpiresIn, "", R"({"expires_in":"60","x":7})", "7"},
    {"earlier integer", kExpiresIn, "", R"({"n":5,"expires_in":"x"})", nullptr},
    {"longer number before the name", kExpiresIn, "", R"({"n":12345678901,"expires_in":60})", nullptr},
    {"end of the input", kExpiresIn, "", R"({"expires_in":60)", nullptr},

    {"simple escapes", kEmail, "", R"({"email":"a\/b\n@c"})", "a/b\n@c"},
    {"\\u escape with overwritten digits", kEmail, "", R"({"email":"a\u0040b.c"})", "a@b.c"},
    {"\\u escape at the end", kEmail, "", R"({"email":"a\u0041"})", "aA041"},
    {"\\u escape of two bytes near the end", kEmail, "", R"({"email":"a\u00e9z"})", "a\xC3\xA9z9"},
    {"surrogate pair ends the value", kEmail, "", R"({"email":"a\ud83d\ude00b"})", "ad83d"},
    {"lone high surrogate ends the value", kEmail, "", R"({"email":"a\ud83db","x":"y"})", "ad83d"},
    {"high surrogate before another escape", kEmail, "", R"({"email":"a\ud83d\u0041b"})", "ad83d"},
    {"continues after a low surrogate", kEmail, "", R"({"email":"\udc00abcd"})", "\uABCDd"},
    {"no value after a low surrogate", kEmail, "", R"({"email":"\udc00","x":"y"})", nullptr},
    {"the next string", kEmail, "", R"({"email":null,"name":"x"})", "name"},
};

TEST(JsonExtractors, FindTheValueOrLeaveTheOutputUnchanged) {
  for (const Extraction& row : kExtractions) {
    SCOPED_TRACE(row.name);
    std::array<char, 64> output;
    output.fill('#');
    EXPECT_EQ(row.extract(row.reply, row.key, output), row.value ? 0 : 1);
    if (row.value) {
      EXPECT_STREQ(output.data(), row.value);
    } else {
      EXPECT_EQ(std::count(output.begin(), output.end(), '#'), 64);
    }
  }
}

TEST(JsonExtractors, TruncateAtTheOutputAndGrowTheTokenBuffer) {
  const std::string value(5000, 'x');
  const std::string reply = R"([")" + value + R"(","id",")" + value + R"("])";
  std::string output(6000, '#');
  EXPECT_EQ(JsonGetStringValue(reply, "id", output), 0);
  EXPECT_EQ(output, value + '\0' + std::string(999, '#'));

  std::array<char, 4> small = {'#', '#', '#', '#'};
  EXPECT_EQ(JsonGetStringValue(reply, "id", std::span(small).first(3)), 0);
  EXPECT_EQ(std::string(small.data(), 4), std::string("xx\0#", 4));
  EXPECT_EQ(JsonGetStringValue(reply, "id", {}), 0);
}

// Input of the largest reply size takes a few hundredths of a second. Quadratic work would take 20 seconds,
// even with these cheap steps.
TEST(JsonExtractors, ReadHostileInputInLinearTime) {
  const auto repeat = [](std::string_view piece) {
    std::string text;
    while (text.size() < 1 << 20) text += piece;
    return text;
  };
  const struct {
    const char* name;
    std::string reply;
    std::vector<Extractor> extractors;
  } rows[] = {
      {"escapes in a value", R"({"k":")" + repeat("\\n") + "\"}", {kString, kEscaped, kExpiresIn, kEmail}},
      {"escapes in a key", R"({")" + repeat("\\u0041") + R"(":"v"})", {kString}},
      {"many numbers", R"({"k":")" + repeat("x") + R"(",)" + repeat(R"("a":1,)") + R"("b":2})", {kEscaped}},
      {"many strings", "[" + repeat(R"("s",)") + "1]", {kString}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    for (const Extractor extractor : row.extractors) {
      std::array<char, 8> output;
      const std::clock_t began = std::clock();
      EXPECT_EQ(extractor(row.reply, "absent", output), 1);
      EXPECT_LT(std::clock() - began, 5 * CLOCKS_PER_SEC);
    }
  }
}

TEST(QuotedTokenAfter, SplitsInPlaceAndCopies) {
  const struct {
    const char* name;
    std::string reply;
    std::string_view after;  // the reply afterwards, with | for a NUL
    const char* value;
  } rows[] = {
      {"quoted", R"({"name":"Bob","x":"y"})", R"({|name|:|Bob|,"x":"y"})", "Bob"},
      {"space after the colon", R"({"name": "Bob"})", R"({|name|: |Bob"})", ": "},
      {"unquoted", R"({"name":123,"x":1})", R"({|name|:123,|x":1})", ":123,"},
      {"empty value", R"({"name":"","b":1})", R"({|name|:|",|b":1})", ","},
      {"escapes are kept", R"("name":"a\/b")", R"("name|:|a\/b|)", "a\\/b"},
      {"key as a value", R"({"a":"name","b":1})", R"({|a|:|name|,|b":1})", ","},
      {"truncated at the output", R"({"name":"Robert"})", R"({|name|:|Robert|})", "Rober"},
      {"key last", R"(""name)", R"(""name)", ""},
      {"colon last", R"("name":)", R"("name|:)", ""},
      {"no such key", R"({"Name":"x"})", R"({|Name|:|x|})", ""},
      {"only quotes", R"("")", R"("")", ""},
      {"empty", "", "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::string reply = row.reply;
    std::array<char, 6> output{};
    EXPECT_EQ(QuotedTokenAfter(reply.data(), "name", output), kReplySplit);
    EXPECT_STREQ(output.data(), row.value);
    std::replace(reply.begin(), reply.end(), '\0', '|');
    EXPECT_EQ(reply, row.after);
  }
}

TEST(QuotedTokenAfter, RequiresItsArgumentsAndAddsNoTerminator) {
  char reply[] = R"("name":"Bob")";
  std::array<char, 8> output;
  output.fill('#');
  EXPECT_EQ(QuotedTokenAfter(nullptr, "name", output), -2);
  EXPECT_EQ(QuotedTokenAfter(reply, nullptr, output), -2);
  EXPECT_EQ(QuotedTokenAfter(reply, "name", {}), -2);
  EXPECT_EQ(QuotedTokenAfter(reply, "name", output), kReplySplit);
  EXPECT_EQ(std::string(output.data(), output.size()), "Bob#####");
}

}  // namespace
}  // namespace velk
